#pragma once
// TRClock: every "now" of the tracking loop, injected so that tests can run
// the loop second by second on a simulated clock.
//
// now() is the wall clock (UTC); monotonicMilliseconds() is a clock that
// never jumps and stands still while the machine sleeps. The loop compares
// the two between consecutive ticks to notice a suspend that nobody
// announced. Any thread.

#include <QDateTime>
#include <QElapsedTimer>

class TRClock {
public:
    virtual ~TRClock() = default;

    virtual QDateTime now() const = 0;
    virtual qint64 monotonicMilliseconds() const = 0;
};

// The machine's clocks. QElapsedTimer reads CLOCK_MONOTONIC on Linux, which
// does not advance during suspend.
class TRSystemClock final : public TRClock {
public:
    TRSystemClock() { m_elapsed.start(); }

    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
    qint64 monotonicMilliseconds() const override { return m_elapsed.elapsed(); }

private:
    QElapsedTimer m_elapsed;
};
