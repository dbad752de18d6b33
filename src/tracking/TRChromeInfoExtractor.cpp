#include "tracking/TRChromeInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRBrowserRequests.h"

namespace {

// The developer tools' own pages: the older scheme and today's.
constexpr const char* kDeveloperToolsSchemes[] = {"chrome-devtools://", "devtools://"};

// How many of the browser's other windows are searched for the page the
// developer tools inspect.
constexpr int kMaximumInspectedWindows = 8;

bool isDeveloperToolsAddress(const QString& url) {
    for (const char* scheme : kDeveloperToolsSchemes) {
        if (url.startsWith(QLatin1String(scheme))) return true;
    }
    return false;
}

QStringView withoutScheme(QStringView address) {
    const qsizetype separator = address.indexOf(QLatin1String("://"));
    return separator < 0 ? address : address.mid(separator + 3);
}

// Today's tools name their window after the inspected page without its
// scheme ("DevTools - 127.0.0.1:8080/a.html"): the page itself is the active
// tab of another of the browser's windows whose address reads the same.
std::optional<QString> inspectedPageAddress(ScriptingTarget& target, const QString& title) {
    const qsizetype label = title.indexOf(QLatin1String(" - "));
    if (label < 0) return std::nullopt;
    const QStringView inspected = QStringView(title).mid(label + 3);
    if (inspected.isEmpty()) return std::nullopt;
    for (int window = 2; window <= kMaximumInspectedWindows; ++window) {
        const ScriptValue url = target.get({ScriptStep::element(QStringLiteral("cwin"), window),
                                            ScriptStep::property(QStringLiteral("acTa")),
                                            ScriptStep::property(QStringLiteral("URL "))});
        const QString* address = url.string();
        // Windows without a page (the address bar's pop-ups) answer nothing.
        if (address != nullptr && !isDeveloperToolsAddress(*address) &&
            withoutScheme(*address) == inspected) {
            return *address;
        }
    }
    return std::nullopt;
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
    if (!target) return removeDetails(activity, "not running");
    // A mode that cannot be read may be an incognito window's: nothing about
    // the page is recorded then either.
    const ScriptValue mode = frontWindowMode(*target);
    const QString* modeName = mode.string();
    if (modeName == nullptr) return removeDetails(activity, "window mode unreadable");
    if (*modeName == QLatin1String("incognito")) {
        return removeDetails(activity, "incognito window");
    }
    const ScriptValue url = activeTabURL(*target);
    const QString* address = url.string();
    if (address == nullptr) return removeDetails(activity, "no active tab address");
    // The developer tools in front: their window title names the page they
    // inspect, from its first "http" to the end.
    const QString title = activity.windowTitle();
    const qsizetype http = title.indexOf(QLatin1String("http"));
    if (isDeveloperToolsAddress(*address) && http >= 0) {
        activity.setDocumentPath(title.mid(http));
        return;
    }
    if (isDeveloperToolsAddress(*address) && !title.isEmpty()) {
        if (const std::optional<QString> page = inspectedPageAddress(*target, title)) {
            activity.setDocumentPath(*page);
            return;
        }
    }
    activity.setDocumentPath(*address);
}
