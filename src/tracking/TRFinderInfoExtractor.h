#pragma once
// TRFinderInfoExtractor: the folder shown in the file manager's front window,
// or the desktop folder when the user has clicked on the desktop.
//
// Terms: URL 'pURL' of the target 'fvtg' of file-manager window 1 'brow';
// insertion location 'pins'. When the insertion location is the folder named
// as the desktop folder (a named element with that name) and the window's URL
// does not end with "/" and that name, the desktop folder's file URL is the
// document path; otherwise the window's URL. Not running, or no URL: the
// details are removed.
//
// On Linux (ids in TRExtractorTables: Thunar, Nautilus, Nemo, Caja, PCManFM,
// Dolphin) the scripting bridge answers the window's URL from the front
// window's location (the title where it carries a full path) and the
// insertion location from the desktop window; the desktop folder is the XDG
// user directory DESKTOP (what `xdg-user-dir DESKTOP` prints), read by Qt.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/bridge/ScriptingTarget.h"

class TRFinderInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRFinderInfoExtractor& instance();

    // The desktop rule on its own: the document path for a window showing
    // `windowUrl` when the insertion location is `insertionLocation`.
    static QString documentPathFor(const QString& windowUrl, const ScriptValue& insertionLocation,
                                   const QString& desktopFolder);
};
