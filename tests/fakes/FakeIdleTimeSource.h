#pragma once
// FakeIdleTimeSource: idle time measured on a SimulatedClock from the last
// simulated input. touch() is a key press now; lastInputAt() sets the moment
// directly.

#include <QDateTime>

#include "platform/IdleTimeSource.h"
#include "SimulatedClock.h"

class FakeIdleTimeSource final : public IdleTimeSource {
public:
    explicit FakeIdleTimeSource(const SimulatedClock& clock)
        : m_clock(clock), m_lastInput(clock.now()) {}

    void touch() { m_lastInput = m_clock.now(); }
    void setLastInput(const QDateTime& when) { m_lastInput = when; }

    double secondsSinceLastInput() override {
        return static_cast<double>(m_lastInput.msecsTo(m_clock.now())) / 1000.0;
    }
    bool isAvailable() const override { return true; }

private:
    const SimulatedClock& m_clock;
    QDateTime m_lastInput;
};
