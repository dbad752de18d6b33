#pragma once
// TREvernoteInfoExtractor: the one selected note as notebook and title.
//
// Terms: selection 'EV15'; of the note: notebook 'EV22' and its name 'pnam',
// title 'EVet'; each written only when it is a string. Not running, or not
// exactly one note selected: the details are removed.
//
// On Linux no notes program answers these terms today (no ids in
// TRExtractorTables); the extractor stays for its original id.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TREvernoteInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TREvernoteInfoExtractor& instance();
};
