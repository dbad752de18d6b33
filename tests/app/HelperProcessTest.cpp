// The vorlix-helper process as a user runs it: one per user, ended cleanly
// by signals, a lost display, sleep and wake, refused without a display.
// Each test runs the real binary in its own XDG folders with no reachable
// bus, on the display of a desktop of its own.

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QThread>
#include <csignal>
#include <memory>
#include <string>

#include "harness/DisposableDesktop.h"
#include "harness/HelperProcess.h"
#include "harness/PrivateDBus.h"
#include "harness/StoredActivity.h"

namespace {

using Helper = HelperProcess;

class HelperProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        m_desktop = DisposableDesktop::start(&whyNot);
        if (!m_desktop) GTEST_SKIP() << whyNot.toStdString();
        m_environment = Helper::isolated(m_desktop->environment());
        m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                             m_environment.value(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS")));
        ASSERT_TRUE(Helper::writeSettings(folder("config")));
    }

    QString folder(const char* name) const { return m_desktop->stateDir() + '/' + QLatin1String(name); }
    double storedSeconds() const { return totalSeconds(readStoredPaths(activityStoreIn(folder("data")))); }

    std::unique_ptr<Helper> startTracking() {
        auto helper = std::make_unique<Helper>(m_environment);
        EXPECT_TRUE(helper->waitForOutput(QStringLiteral("tracking started")))
            << helper->errors().toStdString();
        return helper;
    }

    std::unique_ptr<DisposableDesktop> m_desktop;
    QProcessEnvironment m_environment;
};

// Without an X display nothing could be recorded: one line says so and the
// helper exits 1 at once, while the commands that need no display answer.
TEST_F(HelperProcessTest, WithoutXDisplaySaysSoAndExitsOne) {
    const struct {
        const char* display;
        QStringList arguments;
        int exitCode;
        const char* says;
    } cases[] = {
        {nullptr, {}, 1, "vorlix-helper: no X display (DISPLAY is not set); nothing to track\n"},
        {":4095", {}, 1, "vorlix-helper: cannot open the X display :4095; nothing to track\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.display ? c.display : "no DISPLAY");
        m_environment.remove(QStringLiteral("DISPLAY"));
        if (c.display) m_environment.insert(QStringLiteral("DISPLAY"), QLatin1String(c.display));
        Helper helper(m_environment, c.arguments);
        ASSERT_TRUE(helper.waitForExit());
        EXPECT_EQ(helper.exitCode(), c.exitCode);
        EXPECT_EQ(helper.errors(), QLatin1String(c.says));
    }
}

TEST_F(HelperProcessTest, SecondStartSaysSoAndExitsNonZero) {
    auto first = startTracking();
    Helper second(m_environment);
    ASSERT_TRUE(second.waitForExit());
    EXPECT_EQ(second.exitCode(), 1);
    EXPECT_TRUE(second.errors().contains(QStringLiteral("already running")))
        << second.errors().toStdString();
    EXPECT_FALSE(second.errors().contains(QStringLiteral("tracking started")));
}

// Logout: the session's processes get SIGTERM and, at once, SIGHUP.
TEST_F(HelperProcessTest, TerminationSignalEndsTrackingAndSaves) {
    for (const int signalNumber : {SIGTERM, SIGHUP, 0}) {
        SCOPED_TRACE(signalNumber ? std::to_string(signalNumber) : "SIGTERM then SIGHUP");
        auto helper = startTracking();
        if (signalNumber == 0) helper->signal(SIGTERM);
        ASSERT_TRUE(helper->stopsCleanlyOn(signalNumber ? signalNumber : SIGHUP))
            << helper->errors().toStdString();
        const QString errors = helper->errors();
        const qsizetype stopped = errors.indexOf(QStringLiteral("tracking stopped; store saved"));
        EXPECT_GT(stopped, errors.indexOf(QStringLiteral("received signal"))) << errors.toStdString();
        EXPECT_GT(errors.indexOf(QStringLiteral("terminating")), stopped);
    }
}

// Logout while the first-start question is still on screen: nothing was
// tracked yet, and the question must not keep the session waiting.
TEST_F(HelperProcessTest, TerminationDuringTheFirstStartQuestionEndsAtOnce) {
    ASSERT_TRUE(QFile::remove(folder("config/info.mallowby.Vorlix/VorlixHelper.conf")));
    m_environment.remove(QStringLiteral("QT_QPA_PLATFORM"));  // questions need a real screen
    Helper helper(m_environment);
    ASSERT_TRUE(helper.waitForOutput(QStringLiteral("idle time from"))) << helper.errors().toStdString();
    EXPECT_TRUE(helper.stopsCleanlyOn(SIGTERM)) << helper.errors().toStdString();
    EXPECT_FALSE(helper.errors().contains(QStringLiteral("tracking started")));
}

TEST_F(HelperProcessTest, KilledHelperDoesNotBlockNextStart) {
    auto first = startTracking();
    first->signal(SIGKILL);
    ASSERT_TRUE(first->waitForExit());
    EXPECT_TRUE(startTracking()->stopsCleanlyOn(SIGTERM));
}

// The X server ends before the helper (a crashed or closed session): the
// helper saves and leaves cleanly, and the next start is not blocked. With
// its icon on the display (xcb) Qt notices first; without (offscreen) the
// helper's own check does.
TEST_F(HelperProcessTest, LostDisplayEndsTrackingAndSaves) {
    for (const char* platform : {"offscreen", "xcb"}) {
        SCOPED_TRACE(platform);
        QString whyNot;
        const auto desktop = DisposableDesktop::start(&whyNot);
        if (!desktop) GTEST_SKIP() << whyNot.toStdString();
        m_environment.insert(QStringLiteral("DISPLAY"), desktop->display());
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QLatin1String(platform));
        // A terminal in front and the user at it: an interval is running.
        const auto window = desktop->waitForWindowOfProcess(desktop->startXterm(QStringLiteral("build")), 20000);
        ASSERT_TRUE(window && desktop->activateWindow(*window));
        const double storedBefore = storedSeconds();
        auto helper = startTracking();
        ASSERT_TRUE(desktop->movePointer(5, 5));
        QThread::msleep(3000);
        ::kill(pid_t(desktop->xServerProcessIdentifier()), SIGTERM);
        ASSERT_TRUE(helper->waitForExit(15000)) << helper->errors().toStdString();
        EXPECT_FALSE(helper->crashed());
        EXPECT_EQ(helper->exitCode(), 0);
        const QString errors = helper->errors();
        EXPECT_GT(errors.indexOf(QStringLiteral("tracking stopped; store saved")),
                  errors.indexOf(QStringLiteral("lost the connection to the X display")))
            << errors.toStdString();
        EXPECT_GE(storedSeconds(), storedBefore + 1.0) << "the running interval was not stored";
        m_environment.insert(QStringLiteral("DISPLAY"), m_desktop->display());
        m_environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        EXPECT_TRUE(startTracking()->stopsCleanlyOn(SIGTERM));
    }
}

// An update replaces the helper's files: the running helper saves, leaves,
// and its replacement starts 15 s later. Run on a copy in its own folder.
TEST_F(HelperProcessTest, ReplacedExecutableRestartsTheHelper) {
    const QString copy = folder("lib/vorlix-helper");
    ASSERT_TRUE(QDir().mkpath(folder("lib")));
    ASSERT_TRUE(QFile::copy(QStringLiteral(VORLIX_HELPER_PATH), copy));
    Helper helper(m_environment, {}, copy);
    ASSERT_TRUE(helper.waitForOutput(QStringLiteral("tracking started"))) << helper.errors().toStdString();
    const qint64 firstPid = helper.processId();

    // The update: a new executable renamed over the old one.
    ASSERT_TRUE(QFile::copy(copy, copy + QStringLiteral(".new")));
    ASSERT_EQ(::rename(QFile::encodeName(copy + QStringLiteral(".new")).constData(),
                       QFile::encodeName(copy).constData()),
              0);

    ASSERT_TRUE(helper.waitForExit(15000)) << helper.errors().toStdString();
    EXPECT_EQ(helper.exitCode(), 0);
    EXPECT_LT(helper.errors().indexOf(QStringLiteral("starting again in 15 s")),
              helper.errors().indexOf(QStringLiteral("tracking stopped; store saved")))
        << helper.errors().toStdString();

    // The replacement runs the copy and holds the single-instance lock.
    QFile lock(folder("runtime/info.mallowby.VorlixHelper.lock"));
    const auto runsCopy = [&](qint64 pid) {
        return QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).symLinkTarget() == copy;
    };
    qint64 nextPid = 0;
    for (QDeadlineTimer deadline(40000); !deadline.hasExpired(); QThread::msleep(200)) {
        nextPid = lock.open(QIODevice::ReadOnly) ? lock.readAll().trimmed().toLongLong() : 0;
        lock.close();
        if (nextPid != firstPid && runsCopy(nextPid)) break;
    }
    ASSERT_NE(nextPid, firstPid);
    ASSERT_TRUE(runsCopy(nextPid));
    ::kill(pid_t(nextPid), SIGTERM);
    for (QDeadlineTimer gone(10000); runsCopy(nextPid) && !gone.hasExpired();) QThread::msleep(50);
}

TEST_F(HelperProcessTest, SleepAndWakeReachRunningHelper) {
    PrivateDBus bus(PrivateDBus::Type::System);
    QString whyNot;
    if (!bus.start(&whyNot) || !LogindMock::start(bus, QStringLiteral("c1"), true, &whyNot))
        GTEST_SKIP() << whyNot.toStdString();
    const auto inhibitors = [&bus] {
        return LogindMock::sleepDelayInhibitors(bus, QStringLiteral("VorlixHelper"));
    };
    m_environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
    auto helper = startTracking();
    EXPECT_TRUE(helper->errors().contains(QStringLiteral("idle time from the X screen saver")))
        << helper->errors().toStdString();
    EXPECT_EQ(inhibitors(), 1);

    const struct {
        bool goingToSleep;
        const char* logLine;
        int inhibitorsAfter;
    } steps[] = {{true, "tracking stopped; store saved", 0}, {false, "machine woke up", 1}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.logLine);
        ASSERT_TRUE(LogindMock::emitPrepareForSleep(bus, step.goingToSleep));
        EXPECT_TRUE(helper->waitForOutput(QLatin1String(step.logLine))) << helper->errors().toStdString();
        EXPECT_TRUE(DisposableDesktop::waitUntil([&] { return inhibitors() == step.inhibitorsAfter; },
                                                 5000));
    }
    EXPECT_TRUE(helper->waitForOutput(QStringLiteral("tracking started"), 2))
        << "tracking resumed after the wake";
    EXPECT_TRUE(helper->stopsCleanlyOn(SIGTERM));
}

}  // namespace
