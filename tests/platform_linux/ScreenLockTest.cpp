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
#include "fakes/SimulatedClock.h"
#include "harness/LogindMock.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "tracking/TRInfoLogger.h"

namespace {

const QString kMock = QStringLiteral("org.freedesktop.DBus.Mock");
const QString kSaver = QStringLiteral("org.freedesktop.ScreenSaver");

bool waitUntil(const std::function<bool()>& condition) {
    QDeadlineTimer deadline(5000);
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return condition();
}

bool succeeded(const QDBusMessage& reply) { return reply.type() == QDBusMessage::ReplyMessage; }

}  // namespace

class ScreenLockTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        if (!m_system.start(&whyNot) || !LogindMock::start(m_system, QStringLiteral("s1"), true, &whyNot) ||
            !m_session.start(&whyNot) ||
            !m_session.startMock(kSaver, {QStringLiteral("--template"),
                                          QStringLiteral(VORLIX_TEST_HARNESS_DIR "/freedesktop_screensaver.py")},
                                 &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
    }

    // Locks or unlocks through logind's LockedHint or the screen saver.
    bool setLocked(bool viaScreenSaver, bool locked) {
        if (viaScreenSaver) {
            return succeeded(m_session.call(kSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), kMock,
                                            QStringLiteral("EmitSignal"),
                                            {kSaver, QStringLiteral("ActiveChanged"), QStringLiteral("b"),
                                             QVariant::fromValue(QVariantList{locked})}));
        }
        return succeeded(m_system.call(QString::fromLatin1(LogindMock::kService),
                                       LogindMock::sessionPath(QStringLiteral("s1")), kMock,
                                       QStringLiteral("UpdateProperties"),
                                       {QStringLiteral("org.freedesktop.login1.Session"),
                                        QVariantMap{{QStringLiteral("LockedHint"), locked}}}));
    }

    PrivateDBus m_system{PrivateDBus::Type::System};
    PrivateDBus m_session{PrivateDBus::Type::Session};
};

TEST_F(ScreenLockTest, LockEndsTheIntervalAtTheLockAndUnlockIsAReturn) {
    const struct {
        const char* name;
        TRActivity front;
        bool viaScreenSaver;
        // Seconds from the unlock to the return: the first tick for a player
        // (never idle), else the unlock itself (the last input was earlier).
        int returnDelay;
    } cases[] = {
        {"logind's LockedHint", FakeActivitySource::activityFor(101, QStringLiteral("xterm")),
         false, 0},
        {"a media player in front", FakeActivitySource::activityFor(77, QStringLiteral("vlc")),
         false, 1},
        {"the screen saver's ActiveChanged", FakeActivitySource::activityFor(101, QStringLiteral("xterm")),
         true, 0},
    };
    constexpr int kLockSecond = 10, kUnlockSecond = 40, kLastSecond = 45;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LogindPowerAndSessionEvents events(m_system.connection());
        ASSERT_TRUE(events.start());
        events.followScreenSaver(m_session.connection());
        SimulatedClock clock;
        FakeIdleTimeSource idle{clock};
        FakeActivitySource source;
        FakeActivityRecorder recorder;
        TRSettings settings{QString()};
        TRInfoLoggerDependencies dependencies;
        dependencies.activitySource = &source;
        dependencies.recorder = &recorder;
        dependencies.idleTimeSource = &idle;
        dependencies.clock = &clock;
        dependencies.powerAndSessionEvents = &events;
        dependencies.settings = &settings;
        dependencies.runTimers = false;
        TRInfoLogger logger(std::move(dependencies));
        source.setFront(c.front);
        logger.setShouldTrack(true);

        const QDateTime start = clock.at(1);
        QDateTime lockedAt, unlockedAt;
        for (int s = 1; s <= kLastSecond; ++s) {
            SCOPED_TRACE("second " + std::to_string(s));
            clock.advance(1.0);
            if (s <= kLockSecond || s > kUnlockSecond + 1) idle.touch();  // nobody types while locked
            logger.trackingHandler();
            ASSERT_TRUE(waitUntil([&] { return !logger.isTickInFlight(); }));
            if (s == kLockSecond || s == kUnlockSecond) {
                const bool locking = s == kLockSecond;
                ASSERT_TRUE(setLocked(c.viaScreenSaver, locking));
                ASSERT_TRUE(waitUntil([&] { return logger.screenLocked() == locking; }));
                (locking ? lockedAt : unlockedAt) = clock.now();
            }
            const bool away = s >= kLockSecond && s <= kUnlockSecond;
            EXPECT_EQ(logger.userWasIdle(), away);
            ASSERT_EQ(recorder.stored().size(), s >= kLockSecond ? 1u : 0u);
            if (!away) continue;
            EXPECT_EQ(recorder.stored()[0].start, start);
            EXPECT_EQ(recorder.stored()[0].stop, lockedAt);
        }
        const QDateTime returned = unlockedAt.addSecs(c.returnDelay);
        EXPECT_EQ(logger.previousActivityStartDate(), returned) << "not backdated into the lock";
        logger.setShouldTrack(false);
        ASSERT_EQ(recorder.stored().size(), 2u);
        EXPECT_EQ(recorder.stored()[1].start, returned);
        EXPECT_EQ(recorder.stored()[1].stop, clock.now());
    }
}
