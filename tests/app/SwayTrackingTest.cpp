// The real vorlix-helper on a headless sway: two windows of a native Wayland
// terminal (foot) and an X11 one under XWayland (xterm) take turns in front,
// switched with sway's own focus command while the user types. At each
// switch the helper's inspection names the application and the title in
// front; after SIGTERM the store holds each application's time as the test
// measured it, and nothing for the idle stretch after the last key press
// (the compositor's idle notification). Once through sway's IPC, once
// without it (no SWAYSOCK), as on a wlroots compositor that only lists its
// windows to task bars. Skipped when sway cannot start here.

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QThread>
#include <csignal>
#include <map>
#include <ostream>

#include "harness/DesktopTest.h"
#include "harness/HeadlessSway.h"
#include "harness/HelperProcess.h"
#include "harness/StoredActivity.h"

namespace {

constexpr double kToleranceSeconds = 2.0;
constexpr int kIdleThresholdSeconds = 3;
constexpr int kIdleWaitSeconds = 8;

struct WindowSource final {
    const char* name;
    bool withSwaySocket;
    const char* wantDescription;
};

// Names the case in the test's name.
void PrintTo(const WindowSource& source, std::ostream* out) {
    *out << source.name;
}

class SwayTrackingTest : public ::testing::TestWithParam<WindowSource> {
protected:
    void SetUp() override {
        REQUIRE_DESKTOP();
        QString whyNot = DisposableDesktop::missingTool({QStringLiteral("foot"), QStringLiteral("xterm")});
        if (whyNot.isEmpty()) m_sway = HeadlessSway::start(*g_desktop, &whyNot);
        if (!m_sway) GTEST_SKIP() << qPrintable(whyNot);
        m_environment = HelperProcess::isolated(m_sway->environment());
        if (!GetParam().withSwaySocket) m_environment.remove(QStringLiteral("SWAYSOCK"));
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        m_clock.start();
    }

    double now() const { return double(m_clock.nsecsElapsed()) / 1e9; }

    QString inspect() const {
        return HelperProcess::run(m_environment, {QStringLiteral("inspect"), QStringLiteral("--once")}).out;
    }

    std::unique_ptr<HeadlessSway> m_sway;
    QProcessEnvironment m_environment;
    std::unique_ptr<HelperProcess> m_helper;
    QElapsedTimer m_clock;
};

TEST_P(SwayTrackingTest, RecordsTheWindowInFrontAtEachSwitchAndNothingWhileIdle) {
    ASSERT_TRUE(HelperProcess::writeSettings(
        m_environment.value(QStringLiteral("XDG_CONFIG_HOME")),
        "idleTimeThresholdForSuspendingTracking=" + QByteArray::number(kIdleThresholdSeconds) + '\n'));
    ASSERT_TRUE(m_sway->command(QStringLiteral("exec foot -T 'Notes on foot' sleep 600")));
    ASSERT_TRUE(m_sway->command(QStringLiteral("exec foot -T 'Mail on foot' sleep 600")));
    ASSERT_TRUE(m_sway->waitForWindows(QStringLiteral("foot"), 2, kWindowTimeoutMs));
    ASSERT_TRUE(m_sway->command(QStringLiteral("exec xterm -T 'Build in xterm' -e sleep 600")));
    ASSERT_TRUE(m_sway->waitForWindows(QStringLiteral("XTerm"), 1, kWindowTimeoutMs));

    m_helper = std::make_unique<HelperProcess>(m_environment);
    ASSERT_TRUE(m_helper->waitForOutput(QStringLiteral("tracking started")))
        << m_helper->errors().toStdString();
    const struct {
        const char* criteria;
        const char* wantId;
        const char* wantTitle;
        double seconds;
    } phases[] = {
        {"[title=\"Notes on foot\"]", "foot", "Notes on foot", 5},
        {"[class=XTerm]", "debian-xterm", "Build in xterm", 6},
        {"[title=\"Mail on foot\"]", "foot", "Mail on foot", 4},
    };
    std::map<QString, double> measured;
    double lastInput = 0;
    for (const auto& phase : phases) {
        SCOPED_TRACE(phase.criteria);
        ASSERT_TRUE(m_sway->command(QString::fromLatin1(phase.criteria) + QStringLiteral(" focus")));
        const double start = now();
        const QString seen = inspect();
        EXPECT_TRUE(seen.contains(QStringLiteral("id: ") + QLatin1String(phase.wantId)))
            << seen.toStdString();
        EXPECT_TRUE(seen.contains(QStringLiteral("window title: ") + QLatin1String(phase.wantTitle)))
            << seen.toStdString();
        EXPECT_TRUE(seen.contains(QStringLiteral("window source: ") +
                                  QLatin1String(GetParam().wantDescription)))
            << seen.toStdString();
        // The user keeps typing in the window.
        while (now() - start < phase.seconds) {
            ASSERT_TRUE(m_sway->pressShift());
            lastInput = now();
            QThread::msleep(600);
        }
        measured[QLatin1String(phase.wantId)] += now() - start;
    }
    // The user walks away from the last window: its time ends at the last key.
    measured[QStringLiteral("foot")] -= now() - lastInput;
    QThread::msleep(kIdleWaitSeconds * 1000);
    EXPECT_TRUE(m_helper->stopsCleanlyOn(SIGTERM)) << m_helper->errors().toStdString();

    const std::vector<StoredPath> stored =
        readStoredPaths(activityStoreIn(m_environment.value(QStringLiteral("XDG_DATA_HOME"))));
    SCOPED_TRACE(m_helper->errors().toStdString() + "stored:\n" + describe(stored).toStdString());
    for (const StoredPath& path : stored) EXPECT_EQ(measured.count(path.application), 1u);
    for (const auto& [application, seconds] : measured) {
        SCOPED_TRACE(application.toStdString());
        EXPECT_NEAR(secondsOf(stored, application), seconds, kToleranceSeconds);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, SwayTrackingTest,
    ::testing::Values(WindowSource{"SwayIpc", true, "sway IPC"},
                      WindowSource{"ToplevelList", false, "wlroots toplevel list"}),
    [](const ::testing::TestParamInfo<WindowSource>& source) { return source.param.name; });

}  // namespace

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}
