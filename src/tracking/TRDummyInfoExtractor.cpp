#include "tracking/TRDummyInfoExtractor.h"

void TRDummyInfoExtractor::writeDetailsForActivity(TRActivity& /*activity*/,
                                                   const TRExtractionContext& /*context*/) const {}

QString TRDummyInfoExtractor::name() const {
    return QStringLiteral("TRDummyInfoExtractor");
}

const TRDummyInfoExtractor& TRDummyInfoExtractor::instance() {
    static const TRDummyInfoExtractor extractor;
    return extractor;
}
