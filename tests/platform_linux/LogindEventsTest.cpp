// Sleep, wake and session switches from a mocked logind on a private system
// bus, through the real Linux source into the tracking loop.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <functional>

#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "fakes/FakeIdleTimeSource.h"
#include "harness/LogindMock.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "harness/PrivateDBus.h"
#include "fakes/QtTestPrinters.h"
#include "fakes/SimulatedClock.h"
#include "tracking/TRInfoLogger.h"

namespace {

const QString kSessionPath = QStringLiteral("/org/freedesktop/login1/session/c1");

PrivateDBus* gBus = nullptr;
QString gSkipReason;

int inhibitorCount() {
    return LogindMock::sleepDelayInhibitors(*gBus, QStringLiteral("VorlixHelper"));
}

bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
    return true;
}

void emitPrepareForSleep(bool goingToSleep) {
    ASSERT_TRUE(LogindMock::emitPrepareForSleep(*gBus, goingToSleep));
}

void setSessionActive(bool active) {
    ASSERT_TRUE(LogindMock::setSessionActive(*gBus, QStringLiteral("c1"), active));
}

// A recorder that, at every save, asks logind whether our inhibitor is
// still held: the save must come before the machine may sleep.
class InhibitorCheckingRecorder final : public TRActivityRecorder {
public:
    void storeActivity(const TRActivity& activity, const QDateTime& start,
                       const QDateTime& stop) override {
        inner.storeActivity(activity, start, stop);
    }
    void save() override {
        inner.save();
        inhibitorsAtSave.push_back(inhibitorCount());
    }
    bool applescriptTrackingDisabled(const RunningApplication& application) override {
        return inner.applescriptTrackingDisabled(application);
    }

    FakeActivityRecorder inner;
    std::vector<int> inhibitorsAtSave;
};

}  // namespace

class LogindEventsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        gBus = new PrivateDBus(PrivateDBus::Type::System);
        if (!gBus->start(&gSkipReason) ||
            !LogindMock::start(*gBus, QStringLiteral("c1"), true, &gSkipReason)) {
            return;
        }
        gSkipReason.clear();
    }
    static void TearDownTestSuite() {
        delete gBus;
        gBus = nullptr;
    }

    void SetUp() override {
        if (!gSkipReason.isEmpty()) {
            GTEST_SKIP() << gSkipReason.toStdString();
        }
        setSessionActive(true);
        events = std::make_unique<LogindPowerAndSessionEvents>(gBus->connection());
        ASSERT_TRUE(events->start());
        ASSERT_EQ(events->sessionPath(), kSessionPath);

        TRInfoLoggerDependencies dependencies;
        dependencies.activitySource = &source;
        dependencies.recorder = &recorder;
        dependencies.idleTimeSource = &idle;
        dependencies.clock = &clock;
        dependencies.powerAndSessionEvents = events.get();
        dependencies.settings = &settings;
        dependencies.runTimers = false;
        logger = std::make_unique<TRInfoLogger>(std::move(dependencies));
        source.setFront(FakeActivitySource::activityFor(101, QStringLiteral("xterm")));
        logger->setShouldTrack(true);
        runActiveSeconds(30);
    }

    void TearDown() override {
        logger.reset();
        events.reset();
        // Our inhibitor goes with the source; wait so the next test starts clean.
        if (gBus && gSkipReason.isEmpty()) {
            EXPECT_TRUE(waitUntil([] { return inhibitorCount() == 0; }));
        }
    }

    void runActiveSeconds(int count) {
        for (int i = 0; i < count; ++i) {
            clock.advance(1.0);
            idle.touch();
            logger->trackingHandler();
            ASSERT_TRUE(waitUntil([this] { return !logger->isTickInFlight(); }));
        }
    }

    TRSettings settings{QString()};
    SimulatedClock clock;
    FakeIdleTimeSource idle{clock};
    FakeActivitySource source;
    InhibitorCheckingRecorder recorder;
    std::unique_ptr<LogindPowerAndSessionEvents> events;
    std::unique_ptr<TRInfoLogger> logger;
};

TEST_F(LogindEventsTest, SleepStoresAndSavesBeforeInhibitorIsReleased) {
    const QDateTime start = clock.at(-29);
    emitPrepareForSleep(true);
    ASSERT_TRUE(waitUntil([this] { return recorder.inner.saves() > 0; }));
    ASSERT_EQ(recorder.inner.stored().size(), 1u);
    EXPECT_EQ(recorder.inner.stored()[0].start, start);
    EXPECT_EQ(recorder.inner.stored()[0].stop, clock.now());
    ASSERT_EQ(recorder.inhibitorsAtSave.size(), 1u);
    EXPECT_EQ(recorder.inhibitorsAtSave[0], 1) << "held while running, still held at the save";
    EXPECT_TRUE(waitUntil([] { return inhibitorCount() == 0; })) << "released after the save";
    EXPECT_FALSE(events->holdsSleepInhibitor());
    EXPECT_FALSE(logger->isTracking());
}

TEST_F(LogindEventsTest, WakeStartsTrackingAndRetakesInhibitor) {
    emitPrepareForSleep(true);
    ASSERT_TRUE(waitUntil([] { return inhibitorCount() == 0; }));
    emitPrepareForSleep(false);
    ASSERT_TRUE(waitUntil([this] { return logger->isTracking(); }));
    EXPECT_TRUE(events->holdsSleepInhibitor());
    EXPECT_EQ(inhibitorCount(), 1);
    runActiveSeconds(3);
    EXPECT_FALSE(logger->userWasIdle());
}

TEST_F(LogindEventsTest, SessionSwitchStopsAndRestartsTracking) {
    const QDateTime start = clock.at(-29);
    setSessionActive(false);
    ASSERT_TRUE(waitUntil([this] { return !logger->isTracking(); }));
    ASSERT_EQ(recorder.inner.stored().size(), 1u);
    EXPECT_EQ(recorder.inner.stored()[0].start, start);
    EXPECT_EQ(recorder.inner.saves(), 1);

    clock.advance(300.0);
    setSessionActive(true);
    ASSERT_TRUE(waitUntil([this] { return logger->isTracking(); }));
    runActiveSeconds(2);
    EXPECT_EQ(logger->previousActivityStartDate(), clock.at(-1));
    EXPECT_EQ(recorder.inner.stored().size(), 1u) << "nothing credited while switched out";
}
