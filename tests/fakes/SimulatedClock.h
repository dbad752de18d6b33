#pragma once
// SimulatedClock: a wall clock and a monotonic clock that move only when the
// test says so. advance() moves both (time passing normally); suspend()
// moves only the wall clock, as an unannounced sleep or a changed time does.

#include <QDateTime>
#include <cmath>

#include "tracking/TRClock.h"

class SimulatedClock final : public TRClock {
public:
    explicit SimulatedClock(QDateTime start = QDateTime(QDate(2026, 3, 2), QTime(9, 0), Qt::UTC))
        : m_now(std::move(start)) {}

    QDateTime now() const override { return m_now; }
    qint64 monotonicMilliseconds() const override { return m_monotonicMs; }

    void advance(double seconds) {
        const qint64 ms = std::llround(seconds * 1000.0);
        m_now = m_now.addMSecs(ms);
        m_monotonicMs += ms;
    }
    void suspend(double seconds) { m_now = m_now.addMSecs(std::llround(seconds * 1000.0)); }

    // Seconds relative to the clock's current wall time, for expectations.
    QDateTime at(double secondsFromNow) const {
        return m_now.addMSecs(std::llround(secondsFromNow * 1000.0));
    }

private:
    QDateTime m_now;
    qint64 m_monotonicMs = 1'000'000;
};
