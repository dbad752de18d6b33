#include "tracking/TRInfoExtractor.h"

#include "platform/AccessibilityElement.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "platform/ProcessSource.h"
#include "platform/RunningApplications.h"
#include "core/StringAdditions.h"
#include "tracking/TRDummyInfoExtractor.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRExtractorTables.h"
#include "tracking/TRGenericInfoExtractor.h"
#include "tracking/TRInfoExtractorAccessibility.h"
#include "core/TRLocations.h"
#include "platform/WindowSystem.h"

namespace {

// Asked every tick; the process keeps its number for its whole life.
qint64 ownProcessIdentifier() {
    static const qint64 own = QCoreApplication::applicationPid();
    return own;
}

// A browser joins the accessibility tree within a second or two of its
// start; one that has run longer without joining never will.
constexpr double kSecondsToJoinTheTree = 10.0;

// Auxiliary windows named this way never stand for what the user works on;
// the process's next window does.
constexpr char kIgnoredWindowNamePrefix[] = "Activity window for";

// The first window of the process, front to back, that is shared and has a
// name not starting with the ignored prefix; an empty name counts.
void fillWindowTitleFromWindowList(TRActivity& activity, qint32 processIdentifier,
                                   const std::vector<WindowInfo>& windows) {
    const QString ignoredPrefix = QString::fromLatin1(kIgnoredWindowNamePrefix);
    for (const WindowInfo& window : windows) {
        if (window.ownerProcessIdentifier != processIdentifier) continue;
        if (window.sharingState == 0 || window.name.isNull()) continue;
        if (StringAdditions::startsWith(window.name, ignoredPrefix)) continue;
        activity.setWindowTitle(window.name);
        return;
    }
}

// The title of one window of the list; null when it is not listed.
QString titleOfWindow(quint64 windowId, const std::vector<WindowInfo>& windows) {
    for (const WindowInfo& window : windows) {
        if (window.windowId == windowId) return window.name;
    }
    return {};
}

// A source that names no process: no accessibility tree, /proc or
// application interface can be asked, so the activity keeps what the window
// said (application and title).
bool namesNoProcess(const TRActivity& activity) {
    const RunningApplication* application = activity.runningApplication();
    return application != nullptr && application->processIdentifier <= 0;
}

}  // namespace

TRInfoExtractor::TRInfoExtractor(const TRExtractionContext& context,
                                 const TRExtractorRegistry& registry)
    : m_context(context), m_registry(registry) {}

bool TRInfoExtractor::isExcludedApplication(const RunningApplication& application) {
    if (application.processIdentifier == ownProcessIdentifier()) return true;
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

std::optional<qint32> TRInfoExtractor::frontProcessBridgingGap(std::optional<qint32> front) {
    if (front) {
        m_front = FrontProcessMemory{front, false};
        return front;
    }
    if (m_front.processIdentifier && !m_front.bridgedGap) {
        m_front.bridgedGap = true;
        return m_front.processIdentifier;
    }
    m_front = FrontProcessMemory{};
    return std::nullopt;
}

std::optional<TRActivity> TRInfoExtractor::currentActivity() {
    TRActivity activity;
    if (m_context.windowSystem == nullptr || !m_context.windowSystem->isAvailable()) return activity;
    WindowSystem::FrontLook look = m_context.windowSystem->lookAtFront();
    const std::optional<qint32> front = frontProcessBridgingGap(look.frontProcessIdentifier);
    if (!front && look.frontWindowWithoutProcess) {
        return activityOfWindowWithoutProcess(*look.frontWindowWithoutProcess, look.windows);
    }
    if (!front) return activity;
    if (*front == ownProcessIdentifier()) return std::nullopt;
    if (m_context.runningApplications != nullptr) {
        if (auto application = m_context.runningApplications->runningApplication(*front)) {
            if (isExcludedApplication(*application)) return std::nullopt;
            activity.setApplication(*application);
        }
    }
    fillWindowTitleFromWindowList(activity, *front, look.windows);
    return activity;
}

std::optional<TRActivity> TRInfoExtractor::activityOfWindowWithoutProcess(
    quint64 windowId, const std::vector<WindowInfo>& windows) const {
    TRActivity activity;
    if (m_context.runningApplications != nullptr) {
        if (auto application = m_context.runningApplications->applicationOfWindow(windowId)) {
            if (isExcludedApplication(*application)) return std::nullopt;
            activity.setApplication(*application);
        }
    }
    const QString title = titleOfWindow(windowId, windows);
    if (!title.isNull()) activity.setWindowTitle(title);
    return activity;
}

// An application that misses a query's timeout is left alone for a few
// seconds; while the window list still shows the same window of the same
// process, that is not a change of what the user looks at, so the last
// answer stands instead of splitting one page into two entries.
bool TRInfoExtractor::applyLastTreeAnswer(TRActivity& activity, qint32 processIdentifier) const {
    AccessibilityProvider* provider = m_context.accessibility;
    const std::optional<LastTreeAnswer>& last = m_lastTreeAnswer;
    if (provider == nullptr || !last || activity.windowTitle().isNull()) return false;
    if (last->processIdentifier != processIdentifier || last->listTitle != activity.windowTitle()) {
        return false;
    }
    if (!provider->isEnabled()) return false;
    activity.setWindowTitle(last->windowTitle);
    activity.setDocumentPath(last->documentPath);
    return true;
}

void TRInfoExtractor::completeActivityFromAccessibility(TRActivity& activity) {
    const RunningApplication* application = activity.runningApplication();
    if (application == nullptr || namesNoProcess(activity)) return;
    const qint32 pid = application->processIdentifier;
    if (m_context.accessibility != nullptr) {
        m_context.accessibility->noteFrontWindowTitle(pid, activity.windowTitle());
    }
    const std::optional<TRActivityDetails> found =
        TRInfoExtractorAccessibility::detailsOfFrontWindows(
            m_context.accessibility, pid);
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
    m_lastTreeAnswer = LastTreeAnswer{pid, listTitle, merged.windowTitle(), merged.documentPath()};
}

void TRInfoExtractor::callInfoExtractorForActivity(TRActivity* activity,
                                                   bool scriptedExtractionDisabled) {
    if (activity == nullptr) return;
    if (scriptedExtractionDisabled) {
        completeActivityFromAccessibility(*activity);
    } else {
        callInfoExtractorForActivity(*activity);
    }
}

const TRApplicationInfoExtractor& TRInfoExtractor::callInfoExtractorForActivity(
    TRActivity& activity) {
    if (namesNoProcess(activity)) return TRDummyInfoExtractor::instance();
    completeActivityFromAccessibility(activity);
    const TRApplicationInfoExtractor& extractor = extractorForActivity(activity);
    extractor.writeDetailsForActivity(activity, m_context);
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
    const TRActivity& activity) const {
    const RunningApplication* application = activity.runningApplication();
    const QString id = application != nullptr ? application->bundleIdentifier : QString();
    if (const auto* registered = m_registry.extractorForBundleIdentifier(id)) return *registered;
    return TRGenericInfoExtractor::instance();
}

bool TRInfoExtractor::startedBeforeAccessibility(const TRActivity& activity) const {
    const RunningApplication* application = activity.runningApplication();
    AccessibilityProvider* provider = m_context.accessibility;
    if (application == nullptr || provider == nullptr || m_context.processes == nullptr ||
        namesNoProcess(activity)) {
        return false;
    }
    if (!extractorForActivity(activity).needsAccessibilityTree()) return false;
    if (!provider->isEnabled()) return false;
    const std::optional<double> running =
        m_context.processes->secondsRunning(application->processIdentifier);
    if (!running || *running < kSecondsToJoinTheTree) return false;
    return provider->applicationElement(application->processIdentifier) == nullptr;
}
