#include "tracking/TRChromeInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRBrowserRequests.h"

namespace {

// The developer tools' own pages: the older scheme and today's.
constexpr const char* kDeveloperToolsSchemes[] = {"chrome-devtools://", "devtools://"};

bool isDeveloperToolsAddress(const QString& url) {
    for (const char* scheme : kDeveloperToolsSchemes) {
        if (url.startsWith(QLatin1String(scheme))) return true;
    }
    return false;
}

}  // namespace

QString TRChromeInfoExtractor::name() const {
    return QStringLiteral("TRChromeInfoExtractor");
}

const TRChromeInfoExtractor& TRChromeInfoExtractor::instance() {
    static const TRChromeInfoExtractor extractor;
    return extractor;
}

void TRChromeInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                    const TRExtractionContext& context) const {
    using namespace TRBrowserRequests;
    const std::unique_ptr<ScriptingTarget> target = runningTarget(activity, context);
    if (!target) return removeDetails(activity);
    // A mode that cannot be read may be an incognito window's: nothing about
    // the page is recorded then either.
    const ScriptValue mode = frontWindowMode(*target);
    const QString* modeName = mode.string();
    if (modeName == nullptr || *modeName == QLatin1String("incognito")) {
        return removeDetails(activity);
    }
    const ScriptValue url = activeTabURL(*target);
    const QString* address = url.string();
    if (address == nullptr) return removeDetails(activity);
    // The developer tools in front: their window title names the page they
    // inspect, from its first "http" to the end.
    const QString title = activity.windowTitle();
    const qsizetype http = title.indexOf(QLatin1String("http"));
    if (isDeveloperToolsAddress(*address) && http >= 0) {
        activity.setDocumentPath(title.mid(http));
        return;
    }
    activity.setDocumentPath(*address);
}
