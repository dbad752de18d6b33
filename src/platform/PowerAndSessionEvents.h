#pragma once
// PowerAndSessionEvents: the moments at which tracking stops or resumes.
//
// The machine is about to sleep / has woken up; the user's login session was
// switched out / back in; the screen was locked / unlocked. A source
// delivers them to one observer on the main thread, in the order they
// happened; the same event may arrive twice, so the observer must be
// idempotent.
//
// Before sleeping, the source holds off the suspend (on Linux with a logind
// "delay" inhibitor) and hands the observer a SleepPermit. The machine may
// sleep once the permit is released, explicitly or by destruction: the
// observer releases it after the interval in progress has been stored and
// saved. On wake the source takes its hold again for the next sleep.

#include <functional>
#include <utility>

class SleepPermit final {
public:
    SleepPermit() = default;
    explicit SleepPermit(std::function<void()> onRelease) : m_onRelease(std::move(onRelease)) {}
    SleepPermit(SleepPermit&& other) noexcept : m_onRelease(std::exchange(other.m_onRelease, {})) {}
    SleepPermit& operator=(SleepPermit&& other) noexcept {
        if (this != &other) {
            release();
            m_onRelease = std::exchange(other.m_onRelease, {});
        }
        return *this;
    }
    SleepPermit(const SleepPermit&) = delete;
    SleepPermit& operator=(const SleepPermit&) = delete;
    ~SleepPermit() { release(); }

    // Lets the machine sleep now. Safe to call more than once.
    void release() {
        if (auto onRelease = std::exchange(m_onRelease, {})) {
            onRelease();
        }
    }

private:
    std::function<void()> m_onRelease;
};

class PowerAndSessionObserver {
public:
    virtual ~PowerAndSessionObserver() = default;

    virtual void workspaceWillSleep(SleepPermit permit) = 0;
    virtual void workspaceDidWake() = 0;
    virtual void sessionDidBecomeActive() = 0;
    virtual void sessionDidResignActive() = 0;
    // The screen was locked / unlocked. A source that cannot tell never
    // calls them; one that can also reports a lock already in place when
    // the observer is set.
    virtual void screenDidLock() {}
    virtual void screenDidUnlock() {}
};

class PowerAndSessionEvents {
public:
    virtual ~PowerAndSessionEvents() = default;

    // One observer at a time; nullptr detaches. Setting the same observer
    // again changes nothing. The observer must outlive its registration.
    virtual void setObserver(PowerAndSessionObserver* observer) = 0;
};
