#include "tracking/TRFirefoxInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRBrowserRequests.h"

QString TRFirefoxInfoExtractor::name() const {
    return QStringLiteral("TRFirefoxInfoExtractor");
}

const TRFirefoxInfoExtractor& TRFirefoxInfoExtractor::instance() {
    static const TRFirefoxInfoExtractor extractor;
    return extractor;
}

void TRFirefoxInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                     const TRExtractionContext& context) const {
    using namespace TRBrowserRequests;
    const std::unique_ptr<ScriptingTarget> target = runningTarget(activity, context);
    if (!target) return removeDetails(activity, "not running");
    const ScriptValue mode = frontWindowMode(*target);
    const QString* modeName = mode.string();
    if (modeName == nullptr || *modeName != QLatin1String("normal")) {
        return removeDetails(activity, modeName ? "private window" : "window mode unreadable");
    }
    const ScriptValue url = activeTabURL(*target);
    const QString* address = url.string();
    if (address == nullptr) return removeDetails(activity, "no active tab address");
    activity.setDocumentPath(*address);
}
