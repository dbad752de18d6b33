#pragma once
// TRMarsEditInfoExtractor: the selected blog's name and the selected post's
// title, each only when it is a string; the list may stay empty.
//
// Terms: selected blog 'SeWb' and its name 'pnam'; selected post 'SePo' and
// its title 'Titl'. Not running: the details are removed.
//
// On Linux no blog editor answers these terms today (no ids in
// TRExtractorTables); the extractor stays for its original id.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRMarsEditInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRMarsEditInfoExtractor& instance();
};
