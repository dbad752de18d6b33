// A locked screen is not time at the computer: the lock, from logind's
// LockedHint or the desktop's screen saver, ends the running interval at
// the lock, also with a media player in front, and unlocking is a return
// that starts no earlier than the unlock.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QThread>
#include <functional>

#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "fakes/FakeIdleTimeSource.h"
#include "fakes/QtTestPrinters.h"
#include "harness/LogindMock.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "tracking/TRInfoLogger.h"

namespace {

const QString kMock = QStringLiteral("org.freedesktop.DBus.Mock");
const QString kSaver = QStringLiteral("org.freedesktop.ScreenSaver");

// Lets the D-Bus signals and the worker's decisions arrive.
void waitFor(const std::function<bool()>& done) {
    for (QDeadlineTimer deadline(5000); !done() && !deadline.hasExpired(); QThread::msleep(1)) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

}  // namespace

TEST(ScreenLockTest, LockEndsTheIntervalAtTheLockAndUnlockIsAReturn) {
    PrivateDBus system(PrivateDBus::Type::System), session(PrivateDBus::Type::Session);
    QString whyNot;
    if (!system.start(&whyNot) || !LogindMock::start(system, QStringLiteral("s1"), true, &whyNot) ||
        !session.start(&whyNot) ||
        !session.startMock(kSaver, {QStringLiteral("--template"),
                                    QStringLiteral(VORLIX_TEST_HARNESS_DIR "/freedesktop_screensaver.py")},
                           &whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    const auto setLocked = [&](bool viaScreenSaver, bool locked) {
        const QDBusMessage reply =
            viaScreenSaver
                ? session.call(kSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), kMock, QStringLiteral("EmitSignal"),
                               {kSaver, QStringLiteral("ActiveChanged"), QStringLiteral("b"),
                                QVariant::fromValue(QVariantList{locked})})
                : system.call(QString::fromLatin1(LogindMock::kService), LogindMock::sessionPath(QStringLiteral("s1")),
                              kMock, QStringLiteral("UpdateProperties"),
                              {QStringLiteral("org.freedesktop.login1.Session"),
                               QVariantMap{{QStringLiteral("LockedHint"), locked}}});
        return reply.type() == QDBusMessage::ReplyMessage;
    };
    const struct {
        const char* name;
        const char* front;
        bool viaScreenSaver;
        int returnDelay;  // a player is never idle: it returns at the first tick after the unlock
    } cases[] = {
        {"logind's LockedHint", "xterm", false, 0},
        {"a media player in front", "vlc", false, 1},
        {"the screen saver's ActiveChanged", "xterm", true, 0},
    };
    constexpr int kLockSecond = 10, kUnlockSecond = 40;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LogindPowerAndSessionEvents events(system.connection());
        ASSERT_TRUE(events.start());
        events.followScreenSaver(session.connection());
        SimulatedClock clock;
        FakeIdleTimeSource idle{clock};
        FakeActivitySource source;
        FakeActivityRecorder recorder;
        TRSettings settings{QString()};
        TRInfoLoggerDependencies dependencies{.activitySource = &source, .recorder = &recorder,
                                              .idleTimeSource = &idle, .clock = &clock,
                                              .powerAndSessionEvents = &events, .settings = &settings,
                                              .runTimers = false};
        TRInfoLogger logger(std::move(dependencies));
        source.setFront(FakeActivitySource::activityFor(101, QLatin1String(c.front)));
        logger.setShouldTrack(true);

        const QDateTime start = clock.at(1);
        QDateTime lockedAt, unlockedAt;
        for (int s = 1; s <= 45; ++s) {
            SCOPED_TRACE("second " + std::to_string(s));
            clock.advance(1.0);
            if (s <= kLockSecond || s > kUnlockSecond + 1) idle.touch();  // nobody types while locked
            logger.trackingHandler();
            waitFor([&] { return !logger.isTickInFlight(); });
            if (s == kLockSecond || s == kUnlockSecond) {
                const bool locking = s == kLockSecond;
                ASSERT_TRUE(setLocked(c.viaScreenSaver, locking));
                waitFor([&] { return logger.screenLocked() == locking; });
                (locking ? lockedAt : unlockedAt) = clock.now();
            }
            EXPECT_EQ(logger.userWasIdle(), s >= kLockSecond && s <= kUnlockSecond);
            ASSERT_EQ(recorder.stored().size(), s >= kLockSecond ? 1u : 0u);
        }
        logger.setShouldTrack(false);
        ASSERT_EQ(recorder.stored().size(), 2u);
        EXPECT_EQ(recorder.stored()[0].start, start);
        EXPECT_EQ(recorder.stored()[0].stop, lockedAt);
        EXPECT_EQ(recorder.stored()[1].start, unlockedAt.addSecs(c.returnDelay)) << "not backdated into the lock";
    }
}
