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
#include <sqlite3.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <csignal>
#include <memory>

#include "harness/DesktopTest.h"
#include "harness/HelperProcess.h"

namespace {

constexpr double kToleranceSeconds = 2.0;
constexpr int kIdleThresholdSeconds = 5;
constexpr int kIdleWaitSeconds = 12;

// Seconds on the test's monotonic clock.
QElapsedTimer g_clock;
double now() {
    return double(g_clock.nsecsElapsed()) / 1e9;
}

// One path of the store with the seconds of all its hourly events.
struct StoredPath {
    QString application;
    QStringList components;
    double seconds = 0;
};

// Reads every hourly event of the store file, summed per application and
// component chain (an interval may have been split at a clock hour): each
// event's chain is walked up from its last component to the application's
// root, whose parent is none.
std::vector<StoredPath> readStore(const QString& file, QString* error) {
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    const char* sql = R"(
        WITH RECURSIVE up(event, node, components, duration) AS (
            SELECT rowid, lastPathComponent, '', duration FROM HourlyEvent
            UNION ALL
            SELECT up.event, p.pathParent, p.value || char(31) || up.components, up.duration
            FROM up JOIN PathComponent p ON p.id = up.node WHERE IFNULL(p.pathParent, 0) != 0)
        SELECT a.bundleIdentifier, up.components, SUM(up.duration) FROM up
        JOIN PathComponent root ON root.id = up.node AND IFNULL(root.pathParent, 0) = 0
        JOIN Application a ON a.id = root.application
        GROUP BY a.bundleIdentifier, up.components)";
    std::vector<StoredPath> paths;
    if (sqlite3_open_v2(QFile::encodeName(file).constData(), &db, SQLITE_OPEN_READONLY, nullptr) !=
            SQLITE_OK ||
        sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) {
        *error = QString::fromUtf8(sqlite3_errmsg(db));
    }
    while (statement && sqlite3_step(statement) == SQLITE_ROW) {
        const auto text = [&](int column) {
            return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
        };
        paths.push_back({text(0), text(1).split(QChar(31), Qt::SkipEmptyParts),
                         sqlite3_column_double(statement, 2)});
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return paths;
}

QString describe(const std::vector<StoredPath>& paths) {
    QString text;
    for (const StoredPath& path : paths) {
        text += QStringLiteral("  %1 [%2] %3 s\n")
                    .arg(path.application, path.components.join(QStringLiteral(" | ")))
                    .arg(path.seconds, 0, 'f', 2);
    }
    return text;
}

// A file or folder as stored: one component per path segment.
QStringList pathComponents(const QString& path) {
    QStringList components;
    for (const QString& part : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        components.append(QLatin1Char('/') + part);
    return components;
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

    QString environmentValue(const char* name) const {
        return g_desktop->environment().value(QString::fromLatin1(name));
    }

    // The helper's settings file (XDG_CONFIG_HOME is config/): a short idle
    // threshold, and the start-up questions answered for good (on a display
    // they would wait for a user).
    void writeSettings() {
        ASSERT_FALSE(g_desktop
                         ->writeFile(QStringLiteral("config/info.mallowby.Vorlix/VorlixHelper.conf"),
                                     "[General]\nidleTimeThresholdForSuspendingTracking=" +
                                         QByteArray::number(kIdleThresholdSeconds) +
                                         "\ndontAskToLaunchAtLogin=true\n"
                                         "dontNotifyAboutDisabledAccessibilityAPI=true\n")
                         .isEmpty());
    }

    // The page the browser shows, served from this machine.
    QUrl startSite() {
        g_desktop->writeFile(QStringLiteral("site/reports/2026/summary.html"),
                             "<html><head><title>Yearly summary</title></head><body><p>Figures</p>"
                             "</body></html>");
        const QUrl root = g_desktop->startHttpServer(g_desktop->stateDir() + QStringLiteral("/site"));
        return root.isEmpty() ? root : root.resolved(QUrl(QStringLiteral("reports/2026/summary.html")));
    }

    std::optional<quint64> startAndWait(qint64 pid) {
        if (pid < 0) return std::nullopt;
        m_programs.push_back(pid);
        return g_desktop->waitForWindowOfProcess(pid, 30000);
    }

    // What the helper's own inspection sees with the window in front.
    QString inspect() const {
        QByteArray output;
        g_desktop->run(QStringLiteral(VORLIX_HELPER_PATH),
                       {QStringLiteral("inspect"), QStringLiteral("--once")}, &output, 10000);
        return QString::fromUtf8(output);
    }

    // The user does something: resets the X server's idle counter. Returns
    // the test's time just after the input reached the server. The pointer
    // moves in the screen's corner, away from the applications: key presses
    // would keep the editor busy with accessibility events of its own.
    double userInput() {
        m_pointerAtCorner = !m_pointerAtCorner;
        const QString position = QString::number(m_pointerAtCorner ? 1 : 2);
        g_desktop->run(QStringLiteral("xdotool"),
                       {QStringLiteral("mousemove"), position, position});
        return now();
    }

    // Brings the window to the front and keeps the user busy there for
    // `seconds`; returns the time of the switch. `lastInput` gets the time of
    // the last key press.
    double activePhase(quint64 window, double seconds, double* lastInput) {
        g_desktop->activateWindow(window);
        const double start = now();
        *lastInput = userInput();
        while (now() - start < seconds) {
            QThread::msleep(std::min<qint64>(700, qint64((seconds - (now() - start)) * 1000) + 1));
            *lastInput = userInput();
        }
        return start;
    }

    void startHelper() {
        QProcessEnvironment environment = g_desktop->environment();
        // Never the machine's own logind.
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                           QStringLiteral("unix:path=") + g_desktop->stateDir() +
                               QStringLiteral("/no-system-bus"));
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
    writeSettings();
    const QUrl page = startSite();
    ASSERT_FALSE(page.isEmpty());
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
    // page address is visible, as the helper would see it, so the timed
    // phase measures the page alone.
    ASSERT_TRUE(g_desktop->activateWindow(*browser));
    QString seen;
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            seen = inspect();
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

    // The user comes back to the terminal: the first interval goes back to
    // this input.
    const double started = userInput();
    double lastInput = 0;
    const double terminalSeconds = 4.0, browserSeconds = 6.0, editorSeconds = 5.0,
                 backSeconds = 4.0;
    // The terminal phase lasts from the start to the first switch.
    while (now() - started < terminalSeconds) {
        QThread::msleep(500);
        lastInput = userInput();
    }
    const double toBrowser = activePhase(*browser, browserSeconds, &lastInput);
    const double toEditor = activePhase(*editor, editorSeconds, &lastInput);
    const double backToTerminal = activePhase(*terminal, backSeconds, &lastInput);
    // The user walks away: nothing counts after the last key press.
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
    const std::vector<StoredPath> stored =
        readStore(environmentValue("XDG_DATA_HOME") +
                      QStringLiteral("/info.mallowby.Vorlix/ActivityStore.db"),
                  &error);
    ASSERT_TRUE(error.isEmpty()) << error.toStdString();
    SCOPED_TRACE("stored:\n" + describe(stored).toStdString());

    const QString host = page.host() + QLatin1Char(':') + QString::number(page.port());
    const struct {
        const char* what;
        QString application;
        QStringList components;
        double seconds;
    } expected[] = {
        {"terminal (two phases)",
         QStringLiteral("debian-xterm"),
         pathComponents(buildFolder),
         (toBrowser - started) + (lastInput - backToTerminal)},
        {"browser",
         QStringLiteral("chromium"),
         {host, QStringLiteral("/reports"), QStringLiteral("/2026"),
          QStringLiteral("/summary.html")},
         // The whole visit, less the first tick or two before its tree
         // answers: then the browser keeps the time without details (never
         // a page it could not check for privacy), counted here too.
         toEditor - toBrowser},
        {"editor", QStringLiteral("org.xfce.mousepad"), pathComponents(document),
         backToTerminal - toEditor},
    };
    double total = 0;
    for (const StoredPath& path : stored) total += path.seconds;
    for (const auto& row : expected) {
        SCOPED_TRACE(row.what);
        const auto found = std::find_if(stored.begin(), stored.end(), [&](const StoredPath& path) {
            return path.application == row.application && path.components == row.components;
        });
        ASSERT_NE(found, stored.end())
            << row.application.toStdString() << " ["
            << row.components.join(QStringLiteral(" | ")).toStdString() << "] not stored";
        double seconds = found->seconds;
        for (const StoredPath& path : stored) {
            if (row.application == QStringLiteral("chromium") && path.application == row.application &&
                path.components.isEmpty())
                seconds += path.seconds;
        }
        EXPECT_NEAR(seconds, row.seconds, kToleranceSeconds);
    }
    // Everything stored is the active time: the idle stretch after the last
    // key press (longer than the threshold) counts for nothing.
    EXPECT_NEAR(total, lastInput - started, kToleranceSeconds);
}

}  // namespace

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}
