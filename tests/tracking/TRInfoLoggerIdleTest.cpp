// Idle handling of the tracking loop, second by second on a simulated clock.

#include "TrackingTestFixture.h"

namespace {

std::string secondTrace(int second) {
    return "second " + std::to_string(second);
}

}  // namespace

TEST_F(TrackingTest, FirstTickAfterStartIsBackdatedToLastInput) {
    setSetting(u"askAfterIdle"_s, true);
    source.setFront(appA());
    logger->setShouldTrack(true);
    EXPECT_TRUE(logger->userWasIdle()) << "idle until the first tick has run";

    clock.advance(1.0);
    idle.setLastInput(clock.at(-40));
    const QDateTime firstTick = clock.now();
    tick();

    EXPECT_FALSE(logger->userWasIdle());
    EXPECT_EQ(logger->previousActivityStartDate(), firstTick.addSecs(-40));
    EXPECT_EQ(menu.windowsRequested, 0) << "no idle period to offer yet";
    EXPECT_EQ(menu.resets, 1);

    activeSeconds(5);
    source.setFront(appB());
    second();
    expectStored({{101, firstTick.addSecs(-40), clock.now()}});
}

TEST_F(TrackingTest, GoingIdleEndsIntervalAtLastInput) {
    struct Case {
        const char* name;
        QVariant threshold;  // invalid: the setting is absent
        double effectiveThreshold;
        int lastInputSecond;
    };
    const Case cases[] = {
        {"default threshold", QVariant(), 150.0, 30},
        {"short threshold", QVariant(20.0), 20.0, 10},
        {"unreadable value falls back to the default", QVariant(u"soon"_s), 150.0, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        restart();
        if (c.threshold.isValid()) {
            setSetting(u"idleTimeThresholdForSuspendingTracking"_s, c.threshold);
        }
        startOn(appA());
        const QDateTime start = clock.now();
        activeSeconds(c.lastInputSecond - 1);
        const QDateTime lastInput = clock.now();
        const int idleLimit = c.lastInputSecond + static_cast<int>(c.effectiveThreshold) + 3;
        for (int s = c.lastInputSecond + 1; s <= idleLimit; ++s) {
            SCOPED_TRACE(secondTrace(s));
            second();
            const double idleFor = static_cast<double>(lastInput.msecsTo(clock.now())) / 1000.0;
            const bool shouldBeIdle = idleFor > c.effectiveThreshold;
            EXPECT_EQ(logger->userWasIdle(), shouldBeIdle);
            ASSERT_EQ(recorder.stored().size(), shouldBeIdle ? 1u : 0u);
            if (shouldBeIdle) {
                expectInterval(0, 101, start, lastInput);
                EXPECT_EQ(logger->idleStartDate(), lastInput);
                EXPECT_FALSE(logger->previousActivityStartDate().isValid());
            }
        }
        EXPECT_EQ(menu.resets, 2) << "first tick and going idle, nothing while idle";
        logger->endTracking();
        EXPECT_EQ(recorder.stored().size(), 1u) << "stopping while idle stores nothing more";
    }
}

// Nobody types while a film plays, nor where the user switched suspending
// upon idle off: ten minutes without input stay one interval.
TEST_F(TrackingTest, NoIdleWithAMediaPlayerInFrontOrSuspendingOff) {
    const struct {
        const char* name;
        TRActivity front;
        bool suspendingOff = false;
    } cases[] = {
        {"org.videolan.vlc", FakeActivitySource::activityFor(77, u"org.videolan.vlc"_s)},
        {"suspending upon idle switched off", appA(), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        restart();
        if (c.suspendingOff) {
            setSetting(u"shouldSuspendTrackingUponIdle"_s, false);
            setSetting(u"idleTimeThresholdForSuspendingTracking"_s, 5.0);
        }
        startOn(c.front);
        const QDateTime start = clock.now();
        for (int s = 2; s <= 600; ++s) {
            SCOPED_TRACE(secondTrace(s));
            second();
            ASSERT_FALSE(logger->userWasIdle());
            ASSERT_TRUE(recorder.stored().empty());
        }
        EXPECT_EQ(menu.resets, 1);
        source.setFront(appB());
        second();
        expectStored({{c.front.processIdentifier(), start, clock.now()}});
    }
}

TEST_F(TrackingTest, ReturnFromIdleOffersTimeAwayUnderOneDay) {
    const struct {
        const char* name;
        double away;
        bool askAfterIdle;
        bool offered;
        bool windowShown = true;
    } cases[] = {
        {"ten minutes", 600.0, true, true},
        {"one second short of a day", 86399.0, true, true},
        {"exactly a day", 86400.0, true, false},
        {"asking switched off", 600.0, false, false},
        {"no window could be shown", 600.0, true, true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        restart();
        setSetting(u"askAfterIdle"_s, c.askAfterIdle);
        menu.offersWindow = c.windowShown;
        startOn(appA());
        const QDateTime lastInput = clock.now();
        idleSeconds(151);
        ASSERT_TRUE(logger->userWasIdle());
        // Ticks while away change nothing; the clock runs on without a jump.
        clock.advance(c.away - 152.0);
        tick();
        clock.advance(1.0);
        idle.touch();
        tick();
        ASSERT_FALSE(logger->userWasIdle());
        EXPECT_EQ(logger->previousActivityStartDate(), clock.now());
        EXPECT_EQ(menu.windowsRequested, c.offered ? 1 : 0);
        if (c.offered && c.windowShown) {
            EXPECT_EQ(menu.controller.startDate, lastInput);
            ASSERT_TRUE(menu.controller.duration.has_value());
            EXPECT_DOUBLE_EQ(*menu.controller.duration, c.away);
        }
    }
}

TEST_F(TrackingTest, SwitchWhileIdleStartsNewIntervalAtReturn) {
    startOn(appA());
    activeSeconds(9);
    const QDateTime lastInput = clock.now();
    idleSeconds(151);
    ASSERT_EQ(recorder.stored().size(), 1u);

    source.setFront(appB());
    for (int s = 1; s <= 40; ++s) {
        SCOPED_TRACE(secondTrace(s));
        second();
        EXPECT_EQ(recorder.stored().size(), 1u) << "nothing stored while idle";
    }
    ASSERT_TRUE(logger->previousActivity().has_value());
    EXPECT_EQ(logger->previousActivity()->processIdentifier(), 202);

    clock.advance(0.5);
    idle.touch();
    const QDateTime returned = clock.now();
    clock.advance(0.5);
    tick();
    EXPECT_EQ(logger->previousActivityStartDate(), returned);

    activeSeconds(10);
    source.setFront(appC());
    second();
    expectStored({{101, lastInput.addSecs(-9), lastInput}, {202, returned, clock.now()}});
}

// The worker held for a whole session (a first accessibility connection
// under load): the user's return and departure are still seen on time, so
// the session is recorded, not taken for time away.
TEST_F(TrackingTest, StuckExtractorDoesNotHideTheUsersReturn) {
    setSetting(u"idleTimeThresholdForSuspendingTracking"_s, 5.0);
    source.setFront(appA());
    idle.setLastInput(clock.at(-60));
    logger->setShouldTrack(true);
    source.closeGate();
    QDateTime returned, lastInput;
    for (int s = 1; s <= 30; ++s) {
        SCOPED_TRACE(secondTrace(s));
        clock.advance(1.0);
        if (s >= 4 && s <= 20) {
            idle.touch();
            if (!returned.isValid()) returned = clock.now();
            lastInput = clock.now();
        }
        logger->trackingHandler();
        EXPECT_EQ(logger->userWasIdle(), s < 4 || s > 25);
    }
    source.openGate();
    waitForDecision();
    logger->endTracking();
    expectStored({{101, returned, lastInput}});
}
