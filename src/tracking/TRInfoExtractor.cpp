#include "tracking/TRInfoExtractor.h"

#include "platform/AccessibilityElement.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "platform/RunningApplications.h"
#include "core/StringAdditions.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRExtractorTables.h"
#include "tracking/TRGenericInfoExtractor.h"
#include "tracking/TRInfoExtractorAccessibility.h"
#include "core/TRLocations.h"
#include "platform/WindowSystem.h"

namespace {

// Auxiliary windows named this way never stand for what the user works on;
// the process's next window does.
constexpr char kIgnoredWindowNamePrefix[] = "Activity window for";

// The process in front on the last tick, kept across one tick without an
// active window. Main thread only.
struct FrontProcessMemory final {
    quint64 generation = 0;
    std::optional<qint32> processIdentifier;
    bool bridgedGap = false;
};

FrontProcessMemory g_front;

std::optional<qint32> frontProcessBridgingGap(WindowSystem& windowSystem) {
    const quint64 generation = TRExtractionContext::generation();
    if (g_front.generation != generation) g_front = FrontProcessMemory{generation, {}, false};
    const std::optional<qint32> front = windowSystem.frontProcessIdentifier();
    if (front) {
        g_front.processIdentifier = front;
        g_front.bridgedGap = false;
        return front;
    }
    if (g_front.processIdentifier && !g_front.bridgedGap) {
        g_front.bridgedGap = true;
        return g_front.processIdentifier;
    }
    g_front.processIdentifier.reset();
    return std::nullopt;
}

// The first window of the process, front to back, that is shared and has a
// name not starting with the ignored prefix; an empty name counts.
void fillWindowTitleFromWindowList(TRActivity& activity, qint32 processIdentifier,
                                   WindowSystem& windowSystem) {
    const QString ignoredPrefix = QString::fromLatin1(kIgnoredWindowNamePrefix);
    for (const WindowInfo& window : windowSystem.windowList()) {
        if (window.ownerProcessIdentifier != processIdentifier) continue;
        if (window.sharingState == 0 || window.name.isNull()) continue;
        if (StringAdditions::startsWith(window.name, ignoredPrefix)) continue;
        activity.setWindowTitle(window.name);
        return;
    }
}

}  // namespace

bool TRInfoExtractor::isExcludedApplication(const RunningApplication& application) {
    if (application.processIdentifier == QCoreApplication::applicationPid()) return true;
    const QString& id = application.bundleIdentifier;
    const QString executable = application.executablePath.isEmpty()
                                   ? QString()
                                   : QFileInfo(application.executablePath).fileName();
    if (!id.isEmpty()) {
        if (id == QLatin1String(TRLocations::kHelperBundleIdentifier)) return true;
        if (TRExtractorTables::excludedBundleIdentifiers().contains(id)) return true;
        if (TRExtractorTables::linuxDesktopAgentNames().contains(id)) return true;
    }
    if (!executable.isEmpty()) {
        if (TRExtractorTables::excludedExecutableNames().contains(executable)) return true;
        if (TRExtractorTables::linuxDesktopAgentNames().contains(executable)) return true;
    }
    return false;
}

std::optional<TRActivity> TRInfoExtractor::currentActivity() {
    const TRExtractionContext& context = TRExtractionContext::shared();
    TRActivity activity;
    if (context.windowSystem == nullptr || !context.windowSystem->isAvailable()) return activity;
    const std::optional<qint32> front = frontProcessBridgingGap(*context.windowSystem);
    if (!front) return activity;
    if (*front == QCoreApplication::applicationPid()) return std::nullopt;
    if (context.runningApplications != nullptr) {
        if (auto application = context.runningApplications->runningApplication(*front)) {
            if (isExcludedApplication(*application)) return std::nullopt;
            activity.setApplication(*application);
        }
    }
    fillWindowTitleFromWindowList(activity, *front, *context.windowSystem);
    return activity;
}

namespace {

// The accessibility tree's last answer for a process, with the window list's
// title it came with. An application that misses a query's timeout is left
// alone for a few seconds; while the window list still shows the same window
// of the same process, that is not a change of what the user looks at, so
// the last answer stands instead of splitting one page into two entries.
// Worker thread only.
struct LastTreeAnswer final {
    quint64 generation = 0;
    qint32 processIdentifier = 0;
    QString listTitle;
    QString windowTitle;
    QString documentPath;
};

std::optional<LastTreeAnswer>& lastTreeAnswer() {
    static std::optional<LastTreeAnswer> answer;
    return answer;
}

bool applyLastTreeAnswer(TRActivity& activity, qint32 processIdentifier) {
    AccessibilityProvider* provider = TRExtractionContext::shared().accessibility;
    const std::optional<LastTreeAnswer>& last = lastTreeAnswer();
    if (provider == nullptr || !last || activity.windowTitle().isNull()) return false;
    if (last->generation != TRExtractionContext::generation() ||
        last->processIdentifier != processIdentifier || last->listTitle != activity.windowTitle()) {
        return false;
    }
    if (!provider->isEnabled()) return false;
    activity.setWindowTitle(last->windowTitle);
    activity.setDocumentPath(last->documentPath);
    return true;
}

}  // namespace

void TRInfoExtractor::completeActivityFromAccessibility(TRActivity& activity) {
    const RunningApplication* application = activity.runningApplication();
    if (application == nullptr) return;
    const qint32 pid = application->processIdentifier;
    const std::optional<TRActivityDetails> found =
        TRInfoExtractorAccessibility::detailsOfFrontWindows(
            TRExtractionContext::shared().accessibility, pid);
    if (!found) {
        applyLastTreeAnswer(activity, pid);
        return;
    }
    const QString listTitle = activity.windowTitle();
    TRActivityDetails merged = *found;
    // Only a non-empty title or document from the tree outranks the window
    // list; otherwise the window list's title (when it had one) stays.
    const bool treeAnswered = !merged.documentPath().isEmpty() || !merged.windowTitle().isEmpty();
    if (!treeAnswered && !activity.windowTitle().isNull()) {
        merged.setWindowTitle(activity.windowTitle());
    }
    activity.setWindowTitle(merged.windowTitle());
    activity.setDocumentPath(merged.documentPath());
    lastTreeAnswer() = LastTreeAnswer{TRExtractionContext::generation(), pid, listTitle,
                                      merged.windowTitle(), merged.documentPath()};
}

const TRApplicationInfoExtractor& TRInfoExtractor::callInfoExtractorForActivity(
    TRActivity& activity) {
    completeActivityFromAccessibility(activity);
    const TRApplicationInfoExtractor& extractor = extractorForActivity(activity);
    extractor.writeDetailsForActivity(activity);
    return extractor;
}

const TRApplicationInfoExtractor* TRInfoExtractor::completeActivity(
    std::optional<TRActivity>& activity, bool scriptedTrackingDisabled) {
    if (!activity) return nullptr;
    if (scriptedTrackingDisabled) {
        completeActivityFromAccessibility(*activity);
        return nullptr;
    }
    return &callInfoExtractorForActivity(*activity);
}

const TRApplicationInfoExtractor& TRInfoExtractor::extractorForActivity(
    const TRActivity& activity) {
    const RunningApplication* application = activity.runningApplication();
    const QString id = application != nullptr ? application->bundleIdentifier : QString();
    if (const auto* registered = TRExtractorRegistry::shared().extractorForBundleIdentifier(id)) {
        return *registered;
    }
    return TRGenericInfoExtractor::instance();
}

void TRInfoExtractor::addApplicationInfoExtractor(const TRApplicationInfoExtractor* extractor,
                                                  const QString& bundleIdentifier) {
    TRExtractorRegistry::shared().addApplicationInfoExtractor(extractor, bundleIdentifier);
}
