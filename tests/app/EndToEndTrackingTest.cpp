// The real vorlix-helper, as a user runs it, on a throw-away desktop: a
// terminal, a browser on a local page and a text editor take turns in front
// while the user keeps typing, then the user walks away. After SIGTERM the
// activity store on disk must hold each application with the path it showed
// and the seconds the test itself measured, and nothing for the time past the
// idle threshold.
//
// Phase times come from the test's own clock around each switch; the helper
// notices a switch at its next 1 s tick, so each figure may be off by about
// a second either way (kToleranceSeconds).

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QThread>
#include <csignal>
#include <memory>

#include "harness/DesktopTest.h"
#include "harness/HelperProcess.h"
#include "harness/StoredActivity.h"

namespace {

constexpr double kToleranceSeconds = 2.0;
constexpr int kIdleThresholdSeconds = 5;
constexpr int kIdleWaitSeconds = 12;

// Seconds on the test's monotonic clock.
QElapsedTimer g_clock;
double now() {
    return double(g_clock.nsecsElapsed()) / 1e9;
}

class EndToEndTrackingTest : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_DESKTOP();
        const QString missing =
            DisposableDesktop::missingTool({QStringLiteral("xterm"), QStringLiteral("chromium"),
                                            QStringLiteral("mousepad"), QStringLiteral("python3")});
        if (!missing.isEmpty()) GTEST_SKIP() << qPrintable(missing) << " is not installed";
        g_clock.start();
    }

    void TearDown() override {
        m_helper.reset();
        for (const qint64 pid : m_programs) g_desktop->stopProgram(pid);
    }

    // The page the browser shows, served from this machine with the test site.
    QUrl startSite() {
        g_desktop->writeFile(QStringLiteral("site/reports/2026/summary.html"),
                             "<html><head><title>Yearly summary</title></head><body><p>Figures</p></body></html>");
        return g_desktop->testSite().resolved(QUrl(QStringLiteral("reports/2026/summary.html")));
    }

    std::optional<quint64> startAndWait(qint64 pid) {
        if (pid < 0) return std::nullopt;
        m_programs.push_back(pid);
        return g_desktop->waitForWindowOfProcess(pid, 30000);
    }

    // The user does something: resets the X server's idle counter. Returns
    // the test's time just after the input reached the server. The pointer
    // moves in the screen's corner, away from the applications: key presses
    // would keep the editor busy with accessibility events of its own.
    double userInput() {
        m_pointerAtCorner = !m_pointerAtCorner;
        g_desktop->movePointer(1 + m_pointerAtCorner, 1 + m_pointerAtCorner);
        return now();
    }

    // Brings the window to the front and keeps the user busy there for
    // `seconds`; returns the time of the switch. `lastInput` gets the time of
    // the last input.
    double activePhase(std::optional<quint64> window, double seconds, double* lastInput) {
        if (window) g_desktop->activateWindow(*window);
        const double start = now();
        *lastInput = userInput();
        while (now() - start < seconds) {
            QThread::msleep(std::min<qint64>(700, qint64((seconds - (now() - start)) * 1000) + 1));
            *lastInput = userInput();
        }
        return start;
    }

    void startHelper() {
        QProcessEnvironment environment = HelperProcess::isolated(g_desktop->environment());
        // Interval times (never titles) and a clock, for the failure report.
        environment.insert(
            QStringLiteral("QT_LOGGING_RULES"),
            QStringLiteral("vorlix.tracking.debug=true\nvorlix.platform.linux.atspi.debug=true"));
        environment.insert(QStringLiteral("QT_MESSAGE_PATTERN"),
                           QStringLiteral("%{time process} %{message}"));
        m_helper = std::make_unique<HelperProcess>(environment);
    }

    bool m_pointerAtCorner = false;
    std::unique_ptr<HelperProcess> m_helper;
    std::vector<qint64> m_programs;
};

TEST_F(EndToEndTrackingTest, RecordsEachApplicationsPathAndTimeAndNothingWhileIdle) {
    ASSERT_TRUE(HelperProcess::writeSettings(
        g_desktop->environment().value(QStringLiteral("XDG_CONFIG_HOME")),
        "idleTimeThresholdForSuspendingTracking=" + QByteArray::number(kIdleThresholdSeconds) + '\n'));
    const QUrl page = startSite();
    ASSERT_FALSE(page.host().isEmpty());
    const QString document = g_desktop->writeFile(QStringLiteral("notes/plan.txt"), "first step\n");
    // All three start together: the browser is the slow one.
    // The title names no folder: the terminal's one session's folder counts.
    const QString buildFolder = g_desktop->stateDir() + QStringLiteral("/builds/nightly");
    QDir().mkpath(buildFolder);
    const qint64 terminalPid = g_desktop->startProgram(
        QStringLiteral("xterm"),
        {QStringLiteral("-xrm"), QStringLiteral("*wmTimeout: 100"), QStringLiteral("-T"),
         QStringLiteral("Build log - nightly"), QStringLiteral("-e"), QStringLiteral("sh"),
         QStringLiteral("-c"), QStringLiteral("cd \"$0\" && exec sleep 600"), buildFolder});
    const qint64 browserPid = g_desktop->startChromium(page.toString());
    const qint64 editorPid = g_desktop->startMousepad(document);
    const auto terminal = startAndWait(terminalPid);
    const auto browser = startAndWait(browserPid);
    const auto editor = startAndWait(editorPid);
    ASSERT_TRUE(terminal && browser && editor);

    // A browser answers its first accessibility query after start with an
    // empty page, and the query that builds its tree is slow: wait until the
    // helper's own inspection sees the page address, so the timed phase
    // measures the page alone.
    ASSERT_TRUE(g_desktop->activateWindow(*browser));
    QString seen;
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            seen = HelperProcess::run(g_desktop->environment(),
                                      {QStringLiteral("inspect"), QStringLiteral("--once")})
                       .out;
            return seen.contains(QStringLiteral("document path: ") + page.toString());
        },
        30000, 250))
        << seen.toStdString();

    // The helper starts while the user is away (no input since the desktop
    // came up, longer than the threshold ago) and the windows change in
    // front of it: switching windows is no input, so none of this counts.
    ASSERT_TRUE(DisposableDesktop::waitUntil([] { return now() > kIdleThresholdSeconds + 1.5; },
                                             10000, 50));
    startHelper();
    ASSERT_TRUE(m_helper->waitForOutput(QStringLiteral("tracking started")))
        << m_helper->errors().toStdString();
    const double helperStarted = now();
    for (const quint64 window : {*editor, *browser, *terminal}) {
        ASSERT_TRUE(g_desktop->activateWindow(window));
        QThread::msleep(1500);
    }

    // The user comes back to the terminal (the first interval goes back to
    // this input), then works in each window in turn.
    double lastInput = 0;
    const double started = activePhase(std::nullopt, 4.0, &lastInput);
    const double toBrowser = activePhase(browser, 6.0, &lastInput);
    const double toEditor = activePhase(editor, 5.0, &lastInput);
    const double backToTerminal = activePhase(terminal, 4.0, &lastInput);
    // The user walks away: nothing counts after the last input.
    QThread::msleep(kIdleWaitSeconds * 1000);
    EXPECT_TRUE(m_helper->stopsCleanlyOn(SIGTERM)) << m_helper->errors().toStdString();

    // On failure: when the test switched, on the helper's clock, and the
    // helper's log of what it stored when.
    SCOPED_TRACE(QStringLiteral("switches after the helper's start: browser %1 s, editor %2 s, "
                                "terminal %3 s, last input %4 s; helper log:\n%5")
                     .arg(toBrowser - helperStarted, 0, 'f', 3)
                     .arg(toEditor - helperStarted, 0, 'f', 3)
                     .arg(backToTerminal - helperStarted, 0, 'f', 3)
                     .arg(lastInput - helperStarted, 0, 'f', 3)
                     .arg(m_helper->errors())
                     .toStdString());
    QString error;
    const std::vector<StoredPath> stored = readStoredPaths(
        activityStoreIn(g_desktop->environment().value(QStringLiteral("XDG_DATA_HOME"))), &error);
    ASSERT_TRUE(error.isEmpty()) << error.toStdString();
    SCOPED_TRACE("stored:\n" + describe(stored).toStdString());

    const QString host = page.host() + QLatin1Char(':') + QString::number(page.port());
    const struct {
        const char* what;
        QString application;
        QStringList components;
        bool orNone;  // the application's time without details counts too
        double seconds;
    } expected[] = {
        {"terminal (two phases)", QStringLiteral("debian-xterm"), pathComponents(buildFolder),
         false, (toBrowser - started) + (lastInput - backToTerminal)},
        // The whole visit, less the first tick or two before its tree
        // answers: then the browser keeps the time without details (never a
        // page it could not check for privacy).
        {"browser", QStringLiteral("chromium"),
         QStringList{host} + pathComponents(QStringLiteral("/reports/2026/summary.html")), true,
         toEditor - toBrowser},
        {"editor", QStringLiteral("org.xfce.mousepad"), pathComponents(document), false,
         backToTerminal - toEditor},
    };
    for (const auto& row : expected) {
        SCOPED_TRACE(row.what);
        double seconds = 0;
        bool found = false;
        for (const StoredPath& path : stored) {
            if (path.application != row.application) continue;
            found = found || path.components == row.components;
            if (path.components == row.components || (row.orNone && path.components.isEmpty()))
                seconds += path.seconds;
        }
        EXPECT_TRUE(found) << qPrintable(row.components.join(QStringLiteral(" | "))) << " not stored";
        EXPECT_NEAR(seconds, row.seconds, kToleranceSeconds);
    }
    // Everything stored is the active time: the idle stretch after the last
    // input (longer than the threshold) counts for nothing.
    EXPECT_NEAR(totalSeconds(stored), lastInput - started, kToleranceSeconds);
}

}  // namespace

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}
