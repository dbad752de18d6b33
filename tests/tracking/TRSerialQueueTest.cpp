// The loop's worker: tasks run one at a time, in order, off the caller's
// thread; sync() returns only after everything submitted before it ran, and
// destruction runs what is still queued.

#include <gtest/gtest.h>

#include <QString>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tracking/TRSerialQueue.h"

TEST(TRSerialQueueTest, RunsTasksInOrderOneAtATimeOffTheCallersThread) {
    std::vector<int> order;  // touched only by the worker until sync() returns
    std::atomic<int> running{0}, overlaps{0}, onCaller{0};
    const std::thread::id caller = std::this_thread::get_id();
    {
        TRSerialQueue queue(QStringLiteral("info.mallowby.VorlixHelper"));
        for (int i = 0; i < 200; ++i) {
            queue.async([&, i] {
                if (running.fetch_add(1) != 0) ++overlaps;
                if (std::this_thread::get_id() == caller) ++onCaller;
                if (i % 50 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
                order.push_back(i);
                running.fetch_sub(1);
            });
        }
        queue.sync();
        EXPECT_EQ(order.size(), 200u) << "sync waited for every task before it";
        for (int i = 0; i < 20; ++i) queue.async([&, i] { order.push_back(200 + i); });
    }
    ASSERT_EQ(order.size(), 220u) << "destruction ran the queued tasks";
    for (int i = 0; i < 220; ++i) ASSERT_EQ(order[size_t(i)], i);
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_EQ(onCaller.load(), 0);
}
