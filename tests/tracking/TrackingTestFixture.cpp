#include "TrackingTestFixture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QSettings>
#include <chrono>
#include <thread>

void TrackingTest::SetUp() {
    TRInfoLoggerDependencies dependencies;
    dependencies.activitySource = &source;
    dependencies.recorder = &recorder;
    dependencies.idleTimeSource = &idle;
    dependencies.clock = &clock;
    dependencies.statusMenu = &menu;
    dependencies.powerAndSessionEvents = &events;
    settings = std::make_unique<TRSettings>(settingsDir.filePath(u"VorlixHelper.conf"_s));
    dependencies.settings = settings.get();
    dependencies.runTimers = false;
    logger = std::make_unique<TRInfoLogger>(std::move(dependencies));
}

void TrackingTest::TearDown() {
    source.openGate();
    logger.reset();
}

void TrackingTest::restart() {
    TearDown();
    QFile::remove(settingsDir.filePath(u"VorlixHelper.conf"_s));
    recorder = FakeActivityRecorder();
    menu = FakeStatusMenu();
    source.reset();
    SetUp();
}

void TrackingTest::setSetting(const QString& key, const QVariant& value) {
    QSettings file(settingsDir.filePath(u"VorlixHelper.conf"_s), QSettings::IniFormat);
    file.setValue(key, value);
    file.sync();
    // Two writes within the file's time stamp resolution look unchanged.
    settings->reload();
}

void TrackingTest::tick() {
    logger->trackingHandler();
    waitForDecision();
}

void TrackingTest::waitForDecision() {
    QDeadlineTimer deadline(10000);
    while (logger->isTickInFlight() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        if (logger->isTickInFlight()) std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    ASSERT_FALSE(logger->isTickInFlight()) << "the tick's decision never ran";
}

void TrackingTest::activeSeconds(int count) {
    for (int i = 0; i < count; ++i) {
        clock.advance(1.0);
        idle.touch();
        tick();
    }
}

void TrackingTest::startOn(const TRActivity& activity) {
    source.setFront(activity);
    logger->setShouldTrack(true);
    activeSeconds(1);
}

void TrackingTest::expectInterval(size_t index, qint32 pid, const QDateTime& start,
                                  const QDateTime& stop) {
    ASSERT_GT(recorder.stored().size(), index);
    const StoredInterval& interval = recorder.stored()[index];
    EXPECT_EQ(interval.activity.processIdentifier(), pid);
    EXPECT_EQ(interval.start, start);
    EXPECT_EQ(interval.stop, stop);
}

void TrackingTest::expectStored(std::initializer_list<Interval> intervals) {
    ASSERT_EQ(recorder.stored().size(), intervals.size());
    size_t index = 0;
    for (const Interval& interval : intervals)
        expectInterval(index++, interval.pid, interval.start, interval.stop);
}
