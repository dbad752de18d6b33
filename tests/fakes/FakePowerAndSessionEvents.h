#pragma once
// FakePowerAndSessionEvents: the test plays the desktop and sends the four
// events by hand. willSleep() returns whether the observer released the
// permit before returning, and runs onRelease at the release.

#include <functional>

#include "platform/PowerAndSessionEvents.h"

class FakePowerAndSessionEvents final : public PowerAndSessionEvents {
public:
    void setObserver(PowerAndSessionObserver* observer) override { m_observer = observer; }
    PowerAndSessionObserver* observer() const { return m_observer; }

    bool willSleep(const std::function<void()>& onRelease) {
        bool released = false;
        m_observer->workspaceWillSleep(SleepPermit([&released, onRelease] {
            released = true;
            onRelease();
        }));
        return released;
    }
    void didWake() { m_observer->workspaceDidWake(); }
    void sessionActive(bool active) {
        if (active)
            m_observer->sessionDidBecomeActive();
        else
            m_observer->sessionDidResignActive();
    }

private:
    PowerAndSessionObserver* m_observer = nullptr;
};
