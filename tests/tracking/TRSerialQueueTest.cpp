// The loop's worker: tasks run one at a time, in order, off the caller's
// thread; sync() returns only after everything submitted before it ran.

#include <gtest/gtest.h>

#include <QString>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "tracking/TRSerialQueue.h"

TEST(TRSerialQueueTest, RunsTasksInOrderOneAtATime) {
    TRSerialQueue queue(QStringLiteral("info.mallowby.VorlixHelper"));
    std::vector<int> order;  // touched only by the worker until sync() returns
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<bool> ranOnCaller{false};
    for (int i = 0; i < 200; ++i) {
        queue.async([&, i] {
            if (running.fetch_add(1) != 0) {
                ++overlaps;
            }
            if (std::this_thread::get_id() == caller) {
                ranOnCaller = true;
            }
            order.push_back(i);
            running.fetch_sub(1);
        });
    }
    queue.sync();
    ASSERT_EQ(order.size(), 200u);
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
    }
    EXPECT_EQ(overlaps.load(), 0);
    EXPECT_FALSE(ranOnCaller.load());
}

TEST(TRSerialQueueTest, SyncWaitsForSlowTask) {
    TRSerialQueue queue(QStringLiteral("worker"));
    std::atomic<bool> finished{false};
    queue.async([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        finished = true;
    });
    queue.sync();
    EXPECT_TRUE(finished.load());
}

TEST(TRSerialQueueTest, DestructionRunsQueuedTasks) {
    std::atomic<int> ran{0};
    {
        auto queue = std::make_unique<TRSerialQueue>(QStringLiteral("worker"));
        for (int i = 0; i < 20; ++i) {
            queue->async([&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                ++ran;
            });
        }
    }
    EXPECT_EQ(ran.load(), 20);
}
