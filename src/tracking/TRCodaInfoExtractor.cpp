#include "tracking/TRCodaInfoExtractor.h"

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

void TRCodaInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                  const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    if (!target->isRunning()) {
        removeDetails(activity);
        return;
    }
    const QString path =
        stringOf(target->get({element("docu", 1), property("doce"), property("PTpa")}));
    if (!path.isNull()) activity.setDocumentPath(path);
}

QString TRCodaInfoExtractor::name() const {
    return QStringLiteral("TRCodaInfoExtractor");
}

const TRCodaInfoExtractor& TRCodaInfoExtractor::instance() {
    static const TRCodaInfoExtractor extractor;
    return extractor;
}
