#pragma once
// TRTitledEditorInfoExtractor: the file an editor shows, read from its window
// title, for the desktop's editors and IDEs that name the file only there.
//
// Each row of the title table (in the .cpp) is one title shape: gedit's
// "NAME (DIR) - gedit", Mousepad's "PATH - Mousepad", Kate's "PATH — Kate",
// VS Code's "file — folder — Visual Studio Code", Geany's "NAME - DIR -
// Geany", a JetBrains IDE's "project – file", GNOME Text Editor's "NAME
// (DIR)"; a leading "*" or "●" (unsaved) is dropped. The pieces are resolved
// against the editor process's working directory and the home folder ("~" is
// the home folder), and the first candidate that is an existing file becomes
// the document path (its file URL). A title of no known shape, or naming no
// existing file: the generic extractor runs instead, so an editor that
// exposes its document in the accessibility tree still gives it. A document
// path found before (the accessibility tree's) is kept.
//
// Linux only (ids in TRExtractorTables); the working directory comes from
// ProcessSource.
//
// Stateless. Thread: the tracking worker.

#include <QStringList>

#include "tracking/TRApplicationInfoExtractor.h"

class TRTitledEditorInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRTitledEditorInfoExtractor& instance();

    // The files a title may name, most likely first; empty when the title has
    // no known shape. `workingDirectory` may be null.
    static QStringList candidateFiles(const QString& title, const QString& workingDirectory,
                                      const QString& homeDirectory);
};
