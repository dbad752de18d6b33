#pragma once
// TRXcodeInfoExtractor: the file of the document the window title names.
//
// The title reads "project - file" (or with " — ", blank em dash blank);
// the document named as the part after the first separator is asked for its
// file ('docu' by name, 'file'); a URL or file reference becomes the
// document path with "." and ".." resolved. Anything missing: the details
// stay as the front-window step left them. Not running: unchanged too.
//
// On Linux no IDE answers these terms today (no ids in TRExtractorTables);
// the desktop's IDEs are read from their titles by TRTitledEditorInfoExtractor.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRXcodeInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRXcodeInfoExtractor& instance();
};
