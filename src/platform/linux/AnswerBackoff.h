#pragma once
// AnswerBackoff: when to ask an application's accessibility tree again after
// it stopped answering.
//
// A call that times out leaves the application alone for a while; every
// further timeout without an answer in between lengthens the pause, up to
// kPausesMs' last step, and an answer ends the series. So a browser that is
// busy for one moment (just brought to the front on a loaded machine, half
// a second for one answer) loses only that tick, while a program whose
// main loop hangs for good costs one bounded call every half minute, not one
// every few seconds. A stopped process (SIGSTOP, a debugger) is not asked at
// all while it stays stopped, and is asked again as soon as it runs: being
// stopped is a fact read from the process table, not a guess from a timeout.
//
// Times are milliseconds of a monotonic clock, given by the caller, so the
// policy is tested without waiting. Pure logic; not thread-safe (one per
// application, used on the accessibility thread).

#include <QtGlobal>
#include <algorithm>
#include <array>

class AnswerBackoff final {
public:
    // The pause after the first, second, ... and any further timeout in a
    // row: half a minute only once an application has not answered for more
    // than half a minute, so one that is busy for a few seconds (starting,
    // on a loaded machine) is asked again soon.
    static constexpr std::array<qint64, 5> kPausesMs = {500, 5000, 10000, 20000, 30000};

    // Whether the application may be asked at `nowMs`.
    bool mayAsk(qint64 nowMs) const {
        if (m_stopped) return false;
        return m_timeoutsInARow == 0 || nowMs - m_lastTimeoutMs >= pauseMs();
    }
    // A question timed out; noticed at `nowMs`. The first pause only has to
    // cover the rest of the step: the next tick asks again.
    void noteTimeout(qint64 nowMs) {
        ++m_timeoutsInARow;
        m_lastTimeoutMs = nowMs;
    }
    // The application answered a question asked afresh (not from a cache).
    void noteAnswer() { m_timeoutsInARow = 0; }
    void noteStopped(bool stopped) { m_stopped = stopped; }

    qint64 pauseMs() const {
        const size_t step = size_t(std::max(m_timeoutsInARow, 1)) - 1;
        return kPausesMs[std::min(step, kPausesMs.size() - 1)];
    }

private:
    int m_timeoutsInARow = 0;
    qint64 m_lastTimeoutMs = 0;
    bool m_stopped = false;
};
