#pragma once
// FakeRunningApplications: a table of processes for unit tests.
//
// add() a RunningApplication; setFailing(true) makes every lookup answer
// nothing (an identity resolver that cannot read /proc). Main thread, like the real one.

#include <QHash>

#include "platform/RunningApplications.h"

class FakeRunningApplications final : public RunningApplications {
public:
    void add(const RunningApplication& application) {
        m_applications.insert(application.processIdentifier, application);
    }
    void setFailing(bool failing) { m_failing = failing; }
    // The application a window without process names.
    void addWindow(quint64 window, const RunningApplication& application) {
        m_windows.insert(window, application);
    }

    std::optional<RunningApplication> runningApplication(qint32 processIdentifier) override {
        if (m_failing) return std::nullopt;
        const auto found = m_applications.constFind(processIdentifier);
        if (found == m_applications.cend()) return std::nullopt;
        return *found;
    }

    std::optional<RunningApplication> applicationOfWindow(quint64 window) override {
        const auto found = m_windows.constFind(window);
        if (found == m_windows.cend()) return std::nullopt;
        return *found;
    }

private:
    QHash<qint32, RunningApplication> m_applications;
    QHash<quint64, RunningApplication> m_windows;
    bool m_failing = false;
};
