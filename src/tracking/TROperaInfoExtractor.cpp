#include "tracking/TROperaInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRBrowserRequests.h"

QString TROperaInfoExtractor::name() const {
    return QStringLiteral("TROperaInfoExtractor");
}

const TROperaInfoExtractor& TROperaInfoExtractor::instance() {
    static const TROperaInfoExtractor extractor;
    return extractor;
}

void TROperaInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                   const TRExtractionContext& context) const {
    using namespace TRBrowserRequests;
    if (const std::unique_ptr<ScriptingTarget> target = runningTarget(activity, context)) {
        const ScriptValue url = target->get({ScriptStep::element(QStringLiteral("cwin"), 1),
                                             ScriptStep::property(QStringLiteral("url "))});
        if (const QString* address = url.string()) {
            activity.setDocumentPath(*address);
            return;
        }
    }
    removeDetails(activity, "no alternative URL");
}
