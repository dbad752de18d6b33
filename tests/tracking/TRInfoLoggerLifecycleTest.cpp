// Starting and stopping the tracking loop: stop, a tick in flight, private
// mode, sleep, session switches and an unannounced jump of the clock.

#include <chrono>
#include <thread>

#include "TrackingTestFixture.h"

TEST_F(TrackingTest, StopStoresIntervalOnlyFromOneSecond) {
    struct Case {
        double afterSeconds;
        bool stored;
    };
    const Case cases[] = {{0.5, false}, {0.999, false}, {1.0, true}, {5.0, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(
            QStringLiteral("stop %1 s after the interval began").arg(c.afterSeconds).toStdString());
        restart();
        startOn(appA());
        const QDateTime start = clock.now();
        clock.advance(c.afterSeconds);
        logger->endTracking();
        ASSERT_EQ(recorder.stored().size(), c.stored ? 1u : 0u);
        if (c.stored) {
            expectInterval(0, 101, start, clock.now());
        }
        EXPECT_EQ(recorder.saves(), 1) << "stopping always saves";
        EXPECT_FALSE(logger->isTracking());
        EXPECT_TRUE(logger->userWasIdle());
        EXPECT_FALSE(logger->previousActivity().has_value());
    }
}

TEST_F(TrackingTest, StopWhileIdleStoresNothingMore) {
    startOn(appA());
    activeSeconds(5);
    idleSeconds(200);
    ASSERT_EQ(recorder.stored().size(), 1u);
    logger->endTracking();
    EXPECT_EQ(recorder.stored().size(), 1u);
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
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 101, lateStart, clock.now());
}

TEST_F(TrackingTest, PrivateModeStoresRunningIntervalAndStaysOff) {
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(5);
    logger->setShouldTrack(false);
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 101, start, clock.now());
    EXPECT_FALSE(logger->isTracking());

    const struct {
        const char* name;
        std::function<void()> poke;
    } pokes[] = {
        {"begin", [this] { logger->beginTracking(); }},
        {"wake", [this] { events.didWake(); }},
        {"session back", [this] { events.sessionActive(true); }},
        {"private mode again", [this] { logger->setShouldTrack(false); }},
    };
    for (const auto& p : pokes) {
        SCOPED_TRACE(p.name);
        p.poke();
        EXPECT_FALSE(logger->isTracking());
        EXPECT_EQ(recorder.stored().size(), 1u);
    }
    logger->setShouldTrack(true);
    EXPECT_TRUE(logger->isTracking());
    EXPECT_TRUE(logger->userWasIdle());
}

TEST_F(TrackingTest, BeginTrackingTwiceKeepsRunningInterval) {
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(3);
    logger->beginTracking();
    logger->setShouldTrack(true);
    EXPECT_EQ(logger->previousActivityStartDate(), start);
    EXPECT_FALSE(logger->userWasIdle());
}

TEST_F(TrackingTest, SleepStoresAndSavesBeforeLettingMachineSleep) {
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(30);
    ASSERT_EQ(events.observer(), logger.get());

    int savesAtRelease = -1;
    EXPECT_TRUE(events.willSleep([&] { savesAtRelease = recorder.saves(); }));
    EXPECT_EQ(savesAtRelease, 1) << "stored and saved before the machine may sleep";
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 101, start, clock.now());
    EXPECT_FALSE(logger->isTracking());

    clock.suspend(3600.0);
    events.didWake();
    EXPECT_TRUE(logger->isTracking());
    clock.advance(1.0);
    idle.touch();
    tick();
    EXPECT_EQ(logger->previousActivityStartDate(), clock.now());
    EXPECT_EQ(recorder.stored().size(), 1u) << "nothing credited for the night";
}

TEST_F(TrackingTest, SessionSwitchStopsAndRestartsTracking) {
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(10);
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round == 0 ? "first switch" : "repeated event");
        events.sessionActive(false);
        EXPECT_FALSE(logger->isTracking());
    }
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 101, start, clock.now());
    clock.advance(600.0);
    events.sessionActive(true);
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
        ASSERT_EQ(recorder.stored().size(), 1u);
        expectInterval(0, 101, start, lastTick);
        EXPECT_EQ(logger->userWasIdle(), !c.inputAfter);
        if (c.inputAfter) {
            EXPECT_EQ(logger->previousActivityStartDate(), clock.now());
        }
    }
}

// An unannounced suspend: the interval after it starts at the first tick
// after the gap, so not one second of the sleep is credited.
TEST_F(TrackingTest, ReturnAfterClockJumpIsNotBackdatedIntoTheGap) {
    setSetting(QStringLiteral("idleTimeThresholdForSuspendingTracking"), 3600.0);
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
