// How often an application that stopped answering is asked again, over 100
// ticks, one a second.

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "platform/linux/AnswerBackoff.h"

namespace {

enum class Outcome { Answer, Timeout, Stopped };

std::vector<int> seconds(int from, int to, std::vector<int> more = {}) {
    for (int s = from; s < to; ++s) more.push_back(s);
    return more;
}

TEST(AnswerBackoffTest, HungApplicationIsAskedOnceEveryHalfMinuteAndAnAnswerEndsTheSeries) {
    const struct {
        const char* name;
        std::function<Outcome(int)> at;  // what the application does in that second
        std::vector<int> asked;          // the seconds in which it is asked
    } cases[] = {
        {"hung for good", [](int) { return Outcome::Timeout; }, {0, 1, 7, 18, 39, 70}},
        {"answers again after a minute",
         [](int s) { return s < 60 ? Outcome::Timeout : Outcome::Answer; },
         seconds(70, 100, {0, 1, 7, 18, 39})},
        {"hung again after answering",
         [](int s) { return s < 6 || s > 9 ? Outcome::Timeout : Outcome::Answer; },
         {0, 1, 7, 8, 9, 10, 11, 17, 28, 49, 80}},
        {"stopped for five seconds", [](int s) { return s >= 5 && s < 10 ? Outcome::Stopped : Outcome::Answer; },
         seconds(10, 100, {0, 1, 2, 3, 4})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AnswerBackoff backoff;
        std::vector<int> asked;
        for (int second = 0; second < 100; ++second) {
            SCOPED_TRACE(second);
            const qint64 now = qint64(second) * 1000 + 20;
            const Outcome outcome = c.at(second);
            backoff.noteStopped(outcome == Outcome::Stopped);
            if (!backoff.mayAsk(now)) continue;
            asked.push_back(second);
            // A timeout is noticed a quarter of a second after the question.
            if (outcome == Outcome::Timeout) backoff.noteTimeout(now + 250);
            else backoff.noteAnswer();
        }
        EXPECT_EQ(asked, c.asked);
    }
}

}  // namespace
