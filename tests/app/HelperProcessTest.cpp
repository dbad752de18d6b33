// The vorlix-helper process as a user runs it: one per user, ended cleanly
// by SIGTERM and SIGINT. Each test runs the real binary in its own XDG
// folders with no display and no reachable bus, so nothing here depends on
// the desktop or on the store.

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <memory>

#include "harness/LogindMock.h"
#include "harness/PrivateDBus.h"
#include "fakes/QtTestPrinters.h"
#include "harness/XvfbServer.h"

namespace {

class Helper final {
public:
    explicit Helper(const QProcessEnvironment& environment) {
        m_process.setProcessEnvironment(environment);
    }
    ~Helper() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }

    void start(const QStringList& arguments = {},
               const QString& program = QStringLiteral(VORLIX_HELPER_PATH)) {
        m_process.start(program, arguments);
    }
    qint64 processId() const { return m_process.processId(); }
    // Waits until stderr holds `text` at least `times` times.
    bool waitForOutput(const QString& text, int times = 1, int timeoutMs = 10000) {
        QDeadlineTimer deadline(timeoutMs);
        while (errors().count(text) < times) {
            if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning) {
                return false;
            }
            m_process.waitForReadyRead(50);
        }
        return true;
    }
    bool waitForExit(int timeoutMs = 10000) { return m_process.waitForFinished(timeoutMs); }
    void signal(int signalNumber) {
        ::kill(static_cast<pid_t>(m_process.processId()), signalNumber);
    }

    QString errors() {
        m_errors += QString::fromUtf8(m_process.readAllStandardError());
        return m_errors;
    }
    QString output() { return QString::fromUtf8(m_process.readAllStandardOutput()); }
    int exitCode() const { return m_process.exitCode(); }
    bool crashed() const { return m_process.exitStatus() != QProcess::NormalExit; }

private:
    QProcess m_process;
    QString m_errors;
};

class HelperProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_home.isValid());
        QDir home(m_home.path());
        for (const char* folder : {"runtime", "config", "data", "cache"}) {
            ASSERT_TRUE(home.mkpath(QString::fromLatin1(folder)));
        }
        QFile::setPermissions(
            home.filePath(QStringLiteral("runtime")),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        // Both start-up questions answered for good, so a helper on a display
        // goes straight to tracking.
        ASSERT_TRUE(home.mkpath(QStringLiteral("config/info.mallowby.Vorlix")));
        QFile conf(home.filePath(QStringLiteral("config/info.mallowby.Vorlix/VorlixHelper.conf")));
        ASSERT_TRUE(conf.open(QIODevice::WriteOnly));
        conf.write(
            "[General]\ndontAskToLaunchAtLogin=true\n"
            "dontNotifyAboutDisabledAccessibilityAPI=true\n");
        conf.close();
        m_environment = QProcessEnvironment::systemEnvironment();
        for (const char* name :
             {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_ID", "QT_LOGGING_RULES"}) {
            m_environment.remove(QString::fromLatin1(name));
        }
        const QString noBus =
            QStringLiteral("unix:path=") + home.filePath(QStringLiteral("no-bus"));
        m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), noBus);
        m_environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), noBus);
        m_environment.insert(QStringLiteral("HOME"), home.path());
        m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"),
                             home.filePath(QStringLiteral("runtime")));
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                             home.filePath(QStringLiteral("config")));
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"),
                             home.filePath(QStringLiteral("data")));
        m_environment.insert(QStringLiteral("XDG_CACHE_HOME"),
                             home.filePath(QStringLiteral("cache")));
    }

    std::unique_ptr<Helper> startTracking() {
        auto helper = std::make_unique<Helper>(m_environment);
        helper->start();
        EXPECT_TRUE(helper->waitForOutput(QStringLiteral("tracking started")))
            << helper->errors().toStdString();
        return helper;
    }

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
};

TEST_F(HelperProcessTest, SecondStartSaysSoAndExitsNonZero) {
    auto first = startTracking();
    Helper second(m_environment);
    second.start();
    ASSERT_TRUE(second.waitForExit());
    EXPECT_EQ(second.exitCode(), 1);
    EXPECT_TRUE(second.errors().contains(QStringLiteral("already running")))
        << second.errors().toStdString();
    EXPECT_FALSE(second.errors().contains(QStringLiteral("tracking started")));
}

TEST_F(HelperProcessTest, TerminationSignalEndsTrackingAndSaves) {
    const struct {
        const char* name;
        int signalNumber;
    } cases[] = {{"SIGTERM", SIGTERM}, {"SIGINT", SIGINT}, {"SIGHUP", SIGHUP}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto helper = startTracking();
        helper->signal(c.signalNumber);
        ASSERT_TRUE(helper->waitForExit());
        EXPECT_FALSE(helper->crashed());
        EXPECT_EQ(helper->exitCode(), 0);
        const QString errors = helper->errors();
        const qsizetype stopped = errors.indexOf(QStringLiteral("tracking stopped; store saved"));
        EXPECT_GT(stopped, errors.indexOf(QStringLiteral("received signal")))
            << errors.toStdString();
        EXPECT_GT(errors.indexOf(QStringLiteral("terminating")), stopped);
    }
}

TEST_F(HelperProcessTest, KilledHelperDoesNotBlockNextStart) {
    auto first = startTracking();
    first->signal(SIGKILL);
    ASSERT_TRUE(first->waitForExit());
    auto second = startTracking();
    second->signal(SIGTERM);
    ASSERT_TRUE(second->waitForExit());
    EXPECT_EQ(second->exitCode(), 0);
}

TEST_F(HelperProcessTest, HelpAndVersionAnswerAndExit) {
    const struct {
        const char* argument;
        const char* expected;
    } cases[] = {{"--help", "Usage:"}, {"--version", "vorlix-helper 0.1"}, {"-h", "--version"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.argument);
        Helper helper(m_environment);
        helper.start({QString::fromLatin1(c.argument)});
        ASSERT_TRUE(helper.waitForExit());
        EXPECT_EQ(helper.exitCode(), 0);
        EXPECT_TRUE(helper.output().contains(QString::fromLatin1(c.expected)));
        EXPECT_FALSE(helper.errors().contains(QStringLiteral("tracking started")));
    }
}

// The X server ends before the helper (a crashed or closed session): the
// helper saves and leaves cleanly, and the next start is not blocked. With
// its icon on the display (xcb) Qt notices first; without (offscreen) the
// helper's own check does.
TEST_F(HelperProcessTest, LostDisplayEndsTrackingAndSaves) {
    for (const char* platform : {"offscreen", "xcb"}) {
        SCOPED_TRACE(platform);
        XvfbServer xvfb;
        QString whyNot;
        if (!xvfb.start(&whyNot)) GTEST_SKIP() << whyNot.toStdString();
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QString::fromLatin1(platform));
        m_environment.insert(QStringLiteral("DISPLAY"), xvfb.display());
        auto helper = startTracking();
        xvfb.stop();
        ASSERT_TRUE(helper->waitForExit(15000)) << helper->errors().toStdString();
        EXPECT_FALSE(helper->crashed());
        EXPECT_EQ(helper->exitCode(), 0);
        const QString errors = helper->errors();
        EXPECT_GT(errors.indexOf(QStringLiteral("tracking stopped; store saved")),
                  errors.indexOf(QStringLiteral("lost the connection to the X display")))
            << errors.toStdString();
        m_environment.remove(QStringLiteral("DISPLAY"));
        m_environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        auto next = startTracking();
        next->signal(SIGTERM);
        ASSERT_TRUE(next->waitForExit());
        EXPECT_EQ(next->exitCode(), 0);
    }
}

// An update replaces the helper's files: the running helper saves, leaves,
// and its replacement starts 15 s later. Run on a copy in its own folder.
TEST_F(HelperProcessTest, ReplacedExecutableRestartsTheHelper) {
    const QString folder = m_home.filePath(QStringLiteral("lib/vorlix"));
    const QString copy = folder + QStringLiteral("/vorlix-helper");
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(QFile::copy(QStringLiteral(VORLIX_HELPER_PATH), copy));
    Helper helper(m_environment);
    helper.start({}, copy);
    ASSERT_TRUE(helper.waitForOutput(QStringLiteral("tracking started")))
        << helper.errors().toStdString();
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
    QFile lock(m_home.filePath(QStringLiteral("runtime/info.mallowby.VorlixHelper.lock")));
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
    ::kill(static_cast<pid_t>(nextPid), SIGTERM);
    for (QDeadlineTimer gone(10000); runsCopy(nextPid) && !gone.hasExpired();) QThread::msleep(50);
}

TEST_F(HelperProcessTest, SleepAndWakeReachRunningHelper) {
    PrivateDBus bus(PrivateDBus::Type::System);
    XvfbServer xvfb;
    QString whyNot;
    if (!xvfb.start(&whyNot) || !bus.start(&whyNot) ||
        !LogindMock::start(bus, QStringLiteral("c1"), true, &whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    const auto inhibitors = [&bus] {
        return LogindMock::sleepDelayInhibitors(bus, QStringLiteral("VorlixHelper"));
    };
    m_environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
    m_environment.insert(QStringLiteral("DISPLAY"), xvfb.display());
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
        SCOPED_TRACE(step.goingToSleep ? "PrepareForSleep(true)" : "PrepareForSleep(false)");
        ASSERT_TRUE(LogindMock::emitPrepareForSleep(bus, step.goingToSleep));
        EXPECT_TRUE(helper->waitForOutput(QString::fromLatin1(step.logLine)))
            << helper->errors().toStdString();
        QDeadlineTimer deadline(5000);
        while (inhibitors() != step.inhibitorsAfter && !deadline.hasExpired()) {
            QThread::msleep(20);
        }
        EXPECT_EQ(inhibitors(), step.inhibitorsAfter);
    }
    EXPECT_TRUE(helper->waitForOutput(QStringLiteral("tracking started"), 2))
        << "tracking resumed after the wake";
    helper->signal(SIGTERM);
    ASSERT_TRUE(helper->waitForExit());
    EXPECT_EQ(helper->exitCode(), 0);
}

}  // namespace
