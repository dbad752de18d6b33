#pragma once
// FakePowerAndSessionEvents: the test plays the desktop and sends wake and
// session events by hand.

#include "platform/PowerAndSessionEvents.h"

class FakePowerAndSessionEvents final : public PowerAndSessionEvents {
public:
    void setObserver(PowerAndSessionObserver* observer) override { m_observer = observer; }
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
