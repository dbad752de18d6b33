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

    std::optional<RunningApplication> runningApplication(qint32 processIdentifier) override {
        if (m_failing) return std::nullopt;
        const auto found = m_applications.constFind(processIdentifier);
        if (found == m_applications.cend()) return std::nullopt;
        return *found;
    }

private:
    QHash<qint32, RunningApplication> m_applications;
    bool m_failing = false;
};
