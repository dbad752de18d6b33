#include "platform/linux/LinuxRunningApplications.h"

LinuxRunningApplications::LinuxRunningApplications(WindowHintSource& windows, QString procRoot)
    : m_windows(windows), m_procRoot(std::move(procRoot)) {}

void LinuxRunningApplications::dropCacheIfEntriesChanged() {
    const quint64 generation = m_entries.generation();
    if (generation == m_generation) return;
    m_cache.clear();
    m_byWindowClass.clear();
    m_generation = generation;
}

const LinuxRunningApplications::CachedIdentity* LinuxRunningApplications::confirmedByFrontWindow(
    qint32 processIdentifier, std::optional<quint64> frontWindow) const {
    const auto cached = m_cache.constFind(processIdentifier);
    if (!frontWindow || cached == m_cache.constEnd() || cached->frontWindow != *frontWindow) {
        return nullptr;
    }
    return &*cached;
}

std::optional<RunningApplication> LinuxRunningApplications::runningApplication(
    qint32 processIdentifier) {
    if (processIdentifier <= 0) return std::nullopt;
    dropCacheIfEntriesChanged();
    // The same window in front as at the last confirmation: the same
    // process, alive, without reading /proc (once a tick otherwise).
    const std::optional<quint64> frontWindow = m_windows.lastFrontWindowOf(processIdentifier);
    if (const CachedIdentity* known = confirmedByFrontWindow(processIdentifier, frontWindow)) {
        return known->application;
    }
    const ProcessFacts alive = ProcessFacts::readLiveness(processIdentifier, m_procRoot);
    if (!alive.exists) {
        m_cache.remove(processIdentifier);
        return std::nullopt;
    }
    const auto cached = m_cache.find(processIdentifier);
    if (cached != m_cache.end() && cached->startTime == alive.startTime) {
        cached->frontWindow = frontWindow.value_or(0);
        return cached->application;
    }
    const ProcessFacts process = ProcessFacts::read(processIdentifier, m_procRoot);
    if (!process.exists) return std::nullopt;  // ended just now

    const std::optional<WindowHints> hints = m_windows.windowHintsForProcess(processIdentifier);
    const ApplicationIdentity identity =
        ApplicationIdentityRules::resolve(process, hints, m_entries);
    RunningApplication application;
    application.processIdentifier = processIdentifier;
    application.bundleIdentifier = identity.applicationId;
    application.executablePath = process.executablePath;
    application.localizedName = identity.localizedName;
    if (hints || !identity.applicationId.isEmpty()) {
        m_cache.insert(processIdentifier, {process.startTime, frontWindow.value_or(0), application});
    }
    return application;
}

std::optional<RunningApplication> LinuxRunningApplications::applicationOfWindow(quint64 windowId) {
    const std::optional<WindowHints> hints = m_windows.windowHintsForWindow(windowId);
    if (!hints) return std::nullopt;
    dropCacheIfEntriesChanged();
    const auto cached = m_byWindowClass.constFind(hints->className);
    if (cached != m_byWindowClass.constEnd()) return *cached;
    const ApplicationIdentity identity =
        ApplicationIdentityRules::resolve(ProcessFacts{}, hints, m_entries);
    RunningApplication application;
    application.bundleIdentifier = identity.applicationId;
    application.localizedName = identity.localizedName;
    m_byWindowClass.insert(hints->className, application);
    return application;
}
