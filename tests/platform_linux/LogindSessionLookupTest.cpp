// Finding our own logind session when GetSessionByPID cannot answer (a
// process outside any session's cgroup): $XDG_SESSION_ID, else one of our
// user's graphical sessions (none here).

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include "harness/LogindMock.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "harness/PrivateDBus.h"

namespace {

class RecordingObserver final : public PowerAndSessionObserver {
public:
    void workspaceWillSleep(SleepPermit) override { events << QStringLiteral("sleep"); }
    void workspaceDidWake() override { events << QStringLiteral("wake"); }
    void sessionDidBecomeActive() override { events << QStringLiteral("active"); }
    void sessionDidResignActive() override { events << QStringLiteral("resign"); }
    QStringList events;
};

class LogindSessionLookupTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        if (!m_bus.start(&whyNot) ||
            !LogindMock::start(m_bus, QStringLiteral("c7"), false, &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
        m_savedSessionId = qgetenv("XDG_SESSION_ID");
    }
    void TearDown() override { qputenv("XDG_SESSION_ID", m_savedSessionId); }

    PrivateDBus m_bus{PrivateDBus::Type::System};
    QByteArray m_savedSessionId;
};

}  // namespace

TEST_F(LogindSessionLookupTest, FallsBackToSessionIdFromEnvironment) {
    const struct {
        const char* name;
        const char* sessionId;  // nullptr: unset
        const char* expectedPath;
    } cases[] = {
        {"XDG_SESSION_ID set", "c7", "/org/freedesktop/login1/session/c7"},
        {"XDG_SESSION_ID unset", nullptr, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.sessionId) {
            qputenv("XDG_SESSION_ID", c.sessionId);
        } else {
            qunsetenv("XDG_SESSION_ID");
        }
        LogindPowerAndSessionEvents events(m_bus.connection());
        EXPECT_TRUE(events.start()) << "sleep handling works without a session";
        EXPECT_EQ(events.sessionPath().toStdString(), c.expectedPath);
        EXPECT_TRUE(events.holdsSleepInhibitor());
    }
}

TEST_F(LogindSessionLookupTest, ReportsOnlyChangesOfActive) {
    qputenv("XDG_SESSION_ID", "c7");
    LogindPowerAndSessionEvents events(m_bus.connection());
    RecordingObserver observer;
    events.setObserver(&observer);
    ASSERT_TRUE(events.start());
    for (const bool active : {true, false, false, true}) {
        ASSERT_TRUE(LogindMock::setSessionActive(m_bus, QStringLiteral("c7"), active));
    }
    QDeadlineTimer deadline(5000);
    while (observer.events.size() < 2 && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
    EXPECT_EQ(observer.events, QStringList({QStringLiteral("resign"), QStringLiteral("active")}));
}
