#pragma once
// TRCodaInfoExtractor: the file of the current editor of the front document.
//
// Terms: document 1 'docu', its current editor 'doce', that editor's file path
// 'PTpa'; a string becomes the document path. No string: the details stay as
// the front-window step left them. Not running: the details are removed.
//
// On Linux no web editor answers these terms today (no ids in
// TRExtractorTables); the desktop's editors are read from their titles by
// TRTitledEditorInfoExtractor.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRCodaInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRCodaInfoExtractor& instance();
};
