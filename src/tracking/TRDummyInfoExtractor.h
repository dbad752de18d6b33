#pragma once
// TRDummyInfoExtractor: an extractor that adds nothing.
//
// For applications that must not be asked anything (a full-screen media
// centre): their activity keeps what the front-window step found, and no
// request at all is sent to them, not even the generic extractor's.
// Stateless; any thread.

#include "tracking/TRApplicationInfoExtractor.h"

class TRDummyInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRDummyInfoExtractor& instance();
};
