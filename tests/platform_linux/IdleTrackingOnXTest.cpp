// The loop on the real X idle counter and the real clock: a short idle
// threshold, one key press, then nothing. The interval must end at the key
// press, not when the loop noticed.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "platform/linux/LinuxIdleTimeSource.h"
#include "fakes/QtTestPrinters.h"
#include "tracking/TRClock.h"
#include "tracking/TRInfoLogger.h"
#include "harness/XvfbServer.h"

namespace {

constexpr qint64 kToleranceMs = 300;

void tickAndWait(TRInfoLogger& logger) {
    logger.trackingHandler();
    QDeadlineTimer deadline(5000);
    while (logger.isTickInFlight() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

}  // namespace

TEST(IdleTrackingOnXTest, IntervalEndsAtLastKeyPress) {
    XvfbServer xvfb;
    QString whyNot;
    if (!xvfb.start(&whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    const QString xdotool = QStandardPaths::findExecutable(QStringLiteral("xdotool"));
    if (xdotool.isEmpty()) {
        GTEST_SKIP() << "xdotool is not installed";
    }
    TRSettings settings{QString()};
    settings.setValue(TRSettingKey::idleTimeThresholdForSuspendingTracking, 1.0);
    LinuxIdleTimeSource idle(xvfb.display().toUtf8());
    ASSERT_TRUE(idle.isAvailable());
    TRSystemClock clock;
    FakeActivitySource source;
    FakeActivityRecorder recorder;
    source.setFront(FakeActivitySource::activityFor(101, QStringLiteral("xterm")));
    TRInfoLoggerDependencies dependencies;
    dependencies.activitySource = &source;
    dependencies.recorder = &recorder;
    dependencies.idleTimeSource = &idle;
    dependencies.clock = &clock;
    dependencies.settings = &settings;
    dependencies.runTimers = false;
    TRInfoLogger logger(std::move(dependencies));

    const auto press = [&] {
        EXPECT_TRUE(xvfb.run(xdotool, {QStringLiteral("key"), QStringLiteral("shift")}));
        return clock.now();
    };
    press();
    logger.setShouldTrack(true);
    tickAndWait(logger);
    ASSERT_FALSE(logger.userWasIdle());
    const QDateTime start = logger.previousActivityStartDate();
    QThread::msleep(300);
    const QDateTime lastPress = press();

    QDeadlineTimer deadline(5000);
    while (!logger.userWasIdle() && !deadline.hasExpired()) {
        QThread::msleep(200);
        tickAndWait(logger);
    }
    ASSERT_TRUE(logger.userWasIdle());
    ASSERT_EQ(recorder.stored().size(), 1u);
    EXPECT_EQ(recorder.stored()[0].start, start);
    EXPECT_LE(std::abs(recorder.stored()[0].stop.msecsTo(lastPress)), kToleranceMs)
        << "stored up to " << recorder.stored()[0].stop.toString(Qt::ISODateWithMs).toStdString()
        << ", last key press " << lastPress.toString(Qt::ISODateWithMs).toStdString();

    press();
    tickAndWait(logger);
    EXPECT_FALSE(logger.userWasIdle()) << "a key press brings the user back";
}
