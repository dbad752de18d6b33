// Starting and stopping the tracking loop: stop, a tick in flight, private
// mode and an unannounced jump of the clock. Sleep and session
// switches, with the real logind signals, are in the platform tests.

#include <chrono>
#include <thread>

#include "TrackingTestFixture.h"

TEST_F(TrackingTest, StopStoresIntervalOnlyFromOneSecond) {
    const struct {
        double afterSeconds;
        bool stored;
    } cases[] = {{0.999, false}, {1.0, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(u"stop %1 s after the interval began"_s.arg(c.afterSeconds).toStdString());
        restart();
        startOn(appA());
        const QDateTime start = clock.now();
        clock.advance(c.afterSeconds);
        logger->endTracking();
        if (c.stored)
            expectStored({{101, start, clock.now()}});
        else
            EXPECT_TRUE(recorder.stored().empty());
        EXPECT_EQ(recorder.saves(), 1) << "stopping always saves";
        EXPECT_FALSE(logger->isTracking());
        EXPECT_TRUE(logger->userWasIdle());
        EXPECT_FALSE(logger->previousActivity().has_value());
    }
}

TEST_F(TrackingTest, StopWithTickInFlightStoresNothingForRunningInterval) {
    startOn(appA());
    activeSeconds(10);
    const QDateTime lastInput = clock.now();
    source.closeGate();
    clock.advance(1.0);
    logger->trackingHandler();
    ASSERT_TRUE(logger->isTickInFlight());

    std::thread opener([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        source.openGate();
    });
    logger->endTracking();
    EXPECT_FALSE(source.extractorInFlight()) << "stopping waited for the extractor in flight";
    opener.join();
    EXPECT_TRUE(recorder.stored().empty());
    EXPECT_EQ(recorder.saves(), 1);
    EXPECT_FALSE(logger->isTracking());

    // The late decision runs against the reset state: it starts an interval
    // that a later stop (at quit) stores, timers or not, backdated to the
    // last input.
    clock.advance(0.25);
    waitForDecision();
    EXPECT_FALSE(logger->userWasIdle());
    const QDateTime lateStart = logger->previousActivityStartDate();
    EXPECT_EQ(lateStart, lastInput);
    clock.advance(5.0);
    logger->endTracking();
    expectStored({{101, lateStart, clock.now()}});
}

TEST_F(TrackingTest, PrivateModeStoresRunningIntervalAndStaysOff) {
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(3);
    // Asking to track while tracking keeps the running interval.
    logger->beginTracking();
    logger->setShouldTrack(true);
    EXPECT_EQ(logger->previousActivityStartDate(), start);
    activeSeconds(2);
    logger->setShouldTrack(false);
    expectStored({{101, start, clock.now()}});
    EXPECT_FALSE(logger->isTracking());

    const std::pair<const char*, std::function<void()>> pokes[] = {
        {"begin", [this] { logger->beginTracking(); }},
        {"wake", [this] { events.didWake(); }},
        {"session back", [this] { events.sessionActive(true); }},
        {"private mode again", [this] { logger->setShouldTrack(false); }},
    };
    for (const auto& [name, poke] : pokes) {
        SCOPED_TRACE(name);
        poke();
        EXPECT_FALSE(logger->isTracking());
        EXPECT_EQ(recorder.stored().size(), 1u);
    }
    logger->setShouldTrack(true);
    EXPECT_TRUE(logger->isTracking());
    EXPECT_TRUE(logger->userWasIdle());
}

TEST_F(TrackingTest, ClockJumpEndsIntervalAtLastTick) {
    struct Case {
        const char* name;
        double wallJump;  // wall-clock seconds that pass without the monotonic clock
        bool inputAfter;
        bool jumpDetected;
    };
    const Case cases[] = {
        {"unannounced suspend of an hour", 3600.0, true, true},
        {"suspend, nobody back yet", 3600.0, false, true},
        {"clock set back an hour", -3600.0, true, true},
        {"small adjustment", 5.0, true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        restart();
        startOn(appA());
        const QDateTime start = clock.now();
        activeSeconds(20);
        const QDateTime lastTick = clock.now();
        clock.suspend(c.wallJump);
        clock.advance(1.0);
        if (c.inputAfter) {
            idle.touch();
        }
        tick();
        if (!c.jumpDetected) {
            EXPECT_TRUE(recorder.stored().empty());
            EXPECT_EQ(logger->previousActivityStartDate(), start);
            continue;
        }
        expectStored({{101, start, lastTick}});
        EXPECT_EQ(logger->userWasIdle(), !c.inputAfter);
        if (c.inputAfter) {
            EXPECT_EQ(logger->previousActivityStartDate(), clock.now());
        }
    }
}

// An unannounced suspend: the interval after it starts at the first tick
// after the gap, so not one second of the sleep is credited.
TEST_F(TrackingTest, ReturnAfterClockJumpIsNotBackdatedIntoTheGap) {
    setSetting(u"idleTimeThresholdForSuspendingTracking"_s, 3600.0);
    startOn(appA());
    activeSeconds(5);
    const QDateTime lastTick = clock.now();
    clock.suspend(600.0);
    clock.advance(1.0);
    const QDateTime firstTickAfter = clock.now();
    // An idle counter that ran on through the suspend: the last input was
    // 3 s before the last tick, which already belongs to the stored interval.
    idle.setLastInput(lastTick.addSecs(-3));
    tick();
    EXPECT_FALSE(logger->userWasIdle());
    EXPECT_EQ(logger->previousActivityStartDate(), firstTickAfter);
    activeSeconds(10);
    logger->endTracking();
    ASSERT_EQ(recorder.stored().size(), 2u);
    expectInterval(1, 101, firstTickAfter, clock.now());
}
