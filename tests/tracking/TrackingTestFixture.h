#pragma once
// A tracking loop on a simulated clock with fake sources, driven tick by
// tick: second() moves the clock one second and runs one whole tick (main
// part, extractor on the worker, decision back on the main thread).

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <memory>

#include "core/TRSettings.h"
#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "fakes/FakeIdleTimeSource.h"
#include "fakes/FakePowerAndSessionEvents.h"
#include "fakes/FakeStatusMenu.h"
#include "fakes/QtTestPrinters.h"
#include "fakes/SimulatedClock.h"
#include "tracking/TRInfoLogger.h"

using namespace Qt::Literals::StringLiterals;

class TrackingTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A fresh loop with fresh fakes and no settings, for table rows.
    void restart();
    void setSetting(const QString& key, const QVariant& value);
    // One tick at the clock's current time; returns once its decision ran.
    void tick();
    void waitForDecision();
    // The clock moves one second, then a tick runs.
    void second() {
        clock.advance(1.0);
        tick();
    }
    // Seconds of user input: each second the user touches a key, then ticks.
    void activeSeconds(int count);
    void idleSeconds(int count) {
        for (int i = 0; i < count; ++i) second();
    }
    // Starts tracking on `activity` with input now, and runs the first tick.
    void startOn(const TRActivity& activity);
    // Checks one stored interval by process, start and stop.
    void expectInterval(size_t index, qint32 pid, const QDateTime& start, const QDateTime& stop);
    struct Interval {
        qint32 pid;
        QDateTime start, stop;
    };
    // Checks that exactly these intervals were stored, in this order.
    void expectStored(std::initializer_list<Interval> intervals);

    static TRActivity appA() { return FakeActivitySource::activityFor(101, u"xterm"_s); }
    static TRActivity appB() { return FakeActivitySource::activityFor(202, u"chromium"_s); }
    static TRActivity appC() { return FakeActivitySource::activityFor(303, u"mousepad"_s); }

    QTemporaryDir settingsDir;
    std::unique_ptr<TRSettings> settings;
    SimulatedClock clock;
    FakeIdleTimeSource idle{clock};
    FakeActivitySource source;
    FakeActivityRecorder recorder;
    FakeStatusMenu menu;
    FakePowerAndSessionEvents events;
    std::unique_ptr<TRInfoLogger> logger;
};
