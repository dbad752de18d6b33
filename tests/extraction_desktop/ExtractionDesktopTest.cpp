// What the extraction makes of real applications on a real X desktop:
// terminals, editors, window switches, the desktop's own agents and
// programs without a desktop entry, through the helper's own platform
// objects, and what `vorlix-helper inspect --once` prints.

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <algorithm>
#include <cstdio>
#include <functional>

#include <signal.h>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"
#include "tracking/TRInfoExtractor.h"

namespace {

const QString kGeneric = QStringLiteral("TRGenericInfoExtractor");
const QString kTerminal = QStringLiteral("TRTerminalInfoExtractor");
const QString kTitledEditor = QStringLiteral("TRTitledEditorInfoExtractor");

const RunningApplication* applicationOf(const Tick& tick) {
    return tick.front ? tick.front->runningApplication() : nullptr;
}

bool hasNetWmName(quint64 window) {
    QByteArray out;
    g_desktop->run(QStringLiteral("xprop"),
                   {QStringLiteral("-id"), QString::number(window), QStringLiteral("_NET_WM_NAME")},
                   &out);
    return !out.contains("not found");
}

QString writeHomeFile(const QString& name) {
    const QString path = g_desktop->stateDir() + QStringLiteral("/home/") + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return {};
    file.write("a few lines to work on\n");
    return path;
}

}  // namespace

TEST(ExtractionOnDesktop, XtermInFrontIsItsApplicationWithTheTitleFromWmName) {
    REQUIRE_DESKTOP();
    const QString title = QStringLiteral("notes on the desk");
    const qint64 pid = startInFront([&] { return startTitledXterm(title); });
    ASSERT_GT(pid, 0);
    // Only WM_NAME carries the title: xterm sets no _NET_WM_NAME of its own.
    const auto window = g_desktop->waitForWindowOfProcess(pid, kWindowTimeoutMs);
    ASSERT_TRUE(window);
    EXPECT_FALSE(hasNetWmName(*window));

    Tick last;
    ASSERT_TRUE(waitForTick([](const Tick& t) { return applicationOf(t) != nullptr; }, 5000, &last))
        << qPrintable(describe(last));
    const RunningApplication* application = applicationOf(last);
    EXPECT_EQ(application->processIdentifier, pid);
    EXPECT_EQ(application->bundleIdentifier, QStringLiteral("debian-xterm"));
    EXPECT_EQ(application->localizedName, QStringLiteral("XTerm"));
    EXPECT_EQ(QFileInfo(application->executablePath).fileName(), QStringLiteral("xterm"));
    EXPECT_EQ(last.front->windowTitle(), title);
    ASSERT_TRUE(last.completed);
    // xterm has no accessibility tree: the window list's title stays.
    EXPECT_EQ(last.completed->activity.windowTitle(), title);
    // No directory in the title: the one session's folder from /proc.
    EXPECT_TRUE(last.completed->activity.documentPath().startsWith(QStringLiteral("file:///")));
    EXPECT_EQ(last.completed->extractor, kTerminal);
    g_desktop->stopProgram(pid);
}

TEST(ExtractionOnDesktop, FrontApplicationFollowsAWindowSwitchByXdotool) {
    REQUIRE_DESKTOP();
    const qint64 left = startInFront([] { return startTitledXterm(QStringLiteral("left")); });
    const qint64 right = startInFront([] { return startTitledXterm(QStringLiteral("right")); });
    ASSERT_GT(left, 0);
    ASSERT_GT(right, 0);
    const auto leftWindow = g_desktop->waitForWindowOfProcess(left, kWindowTimeoutMs);
    const auto rightWindow = g_desktop->waitForWindowOfProcess(right, kWindowTimeoutMs);
    ASSERT_TRUE(leftWindow && rightWindow);

    struct Switch {
        const char* to;
        quint64 window;
        qint64 pid;
    };
    const Switch switches[] = {
        {"left", *leftWindow, left}, {"right", *rightWindow, right}, {"left", *leftWindow, left}};
    for (const Switch& step : switches) {
        SCOPED_TRACE(step.to);
        ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"),
                                                               QString::number(step.window)}));
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return applicationOf(t) && applicationOf(t)->processIdentifier == step.pid;
            },
            5000, &last))
            << qPrintable(describe(last));
        ASSERT_TRUE(last.completed);
        EXPECT_EQ(last.completed->activity.windowTitle(), QLatin1String(step.to));
    }
    g_desktop->stopProgram(left);
    g_desktop->stopProgram(right);
}

// An agent is recognised by its executable's file name, whatever window
// class or desktop entry it claims: these copies still say "XTerm".
TEST(ExtractionOnDesktop, DesktopAgentsInFrontAreNotTracked) {
    REQUIRE_DESKTOP();
    const qint64 ordinary =
        startInFront([] { return startTitledXterm(QStringLiteral("ordinary")); });
    ASSERT_GT(ordinary, 0);
    const auto ordinaryWindow = g_desktop->waitForWindowOfProcess(ordinary, kWindowTimeoutMs);
    ASSERT_TRUE(ordinaryWindow);

    for (const char* agent : {"dunst", "ccc_helper", "xfce4-panel"}) {
        SCOPED_TRACE(agent);
        const QString program = copyOfXterm(QLatin1String(agent));
        ASSERT_FALSE(program.isEmpty());
        const qint64 pid = startInFront(
            [&] { return g_desktop->startProgram(program, xtermArguments(QLatin1String(agent))); });
        ASSERT_GT(pid, 0);
        for (int i = 0; i < 3; ++i) EXPECT_FALSE(g_extractor->currentActivity());

        // Back to an ordinary program: tracked again.
        ASSERT_TRUE(g_desktop->activateWindow(*ordinaryWindow));
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return applicationOf(t) && applicationOf(t)->processIdentifier == ordinary;
            },
            5000, &last))
            << qPrintable(describe(last));
        g_desktop->stopProgram(pid);
    }
    g_desktop->stopProgram(ordinary);
}

// A copy of xterm under another name: with a window class of its own it
// matches no desktop entry and is known by its executable; keeping xterm's
// class, it is xterm by the entry's StartupWMClass.
TEST(ExtractionOnDesktop, ProgramWithoutDesktopEntryIsKnownByItsExecutable) {
    REQUIRE_DESKTOP();
    const QString program = copyOfXterm(QStringLiteral("myterm"));
    ASSERT_FALSE(program.isEmpty());
    struct Case {
        const char* name;
        QStringList arguments;
        QString id;
        QString identifier;
        QString shownName;
    };
    const Case cases[] = {
        {"own window class",
         {QStringLiteral("-class"), QStringLiteral("Myterm")},
         QString(),
         QStringLiteral("myterm"),
         QStringLiteral("Myterm")},
        {"xterm's window class",
         {},
         QStringLiteral("debian-xterm"),
         QStringLiteral("debian-xterm"),
         QStringLiteral("XTerm")},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        const qint64 pid = startInFront([&] {
            return g_desktop->startProgram(
                program, xtermArguments(QStringLiteral("my own terminal"), item.arguments));
        });
        ASSERT_GT(pid, 0);
        Tick last;
        ASSERT_TRUE(
            waitForTick([&](const Tick& t) { return applicationOf(t) != nullptr; }, 5000, &last))
            << qPrintable(describe(last));
        const RunningApplication* application = applicationOf(last);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(application->bundleIdentifier.isNull(), item.id.isNull());
        EXPECT_EQ(application->bundleIdentifier, item.id);
        EXPECT_EQ(application->identifier(), item.identifier);
        EXPECT_EQ(application->localizedName, item.shownName);
        EXPECT_EQ(application->executablePath, program);
        EXPECT_EQ(last.completed->activity.windowTitle(), QStringLiteral("my own terminal"));
        EXPECT_EQ(last.completed->extractor, item.id.isNull() ? kGeneric : kTerminal);
        g_desktop->stopProgram(pid);
    }
}

TEST(ExtractionOnDesktop, EditorWithAFileOpenHasTheFileInItsWindowTitle) {
    REQUIRE_DESKTOP();
    const QString file = writeHomeFile(QStringLiteral("letter.txt"));
    ASSERT_FALSE(file.isEmpty());
    struct Editor {
        const char* tool;
        std::function<qint64()> start;
        QString id;
        QString title;
    };
    const Editor editors[] = {
        {"mousepad", [&] { return g_desktop->startMousepad(file); },
         QStringLiteral("org.xfce.mousepad"), file + QStringLiteral(" - Mousepad")},
        {"gedit", [&] { return g_desktop->startGedit(file); }, QStringLiteral("org.gnome.gedit"),
         QStringLiteral("letter.txt (~) - gedit")},
    };
    for (const Editor& editor : editors) {
        SCOPED_TRACE(editor.tool);
        if (!DisposableDesktop::missingTool({QLatin1String(editor.tool)}).isEmpty()) continue;
        const qint64 pid = startInFront(editor.start);
        ASSERT_GT(pid, 0);
        Tick last;
        // The title arrives once the file is loaded; the tree then agrees.
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return t.completed && t.front->windowTitle() == editor.title &&
                       t.completed->activity.windowTitle() == editor.title;
            },
            kWindowTimeoutMs, &last))
            << qPrintable(describe(last));
        ASSERT_NE(applicationOf(last), nullptr);
        EXPECT_EQ(applicationOf(last)->bundleIdentifier, editor.id);
        EXPECT_EQ(applicationOf(last)->processIdentifier, pid);
        EXPECT_EQ(last.completed->extractor, kTitledEditor);
        g_desktop->stopProgram(pid);
    }
}

TEST(ExtractionOnDesktop, InspectOncePrintsTheFrontApplicationAndExitsCleanly) {
    REQUIRE_DESKTOP();
    const qint64 pid = startInFront([] { return startTitledXterm(QStringLiteral("inspected")); });
    ASSERT_GT(pid, 0);
    QProcess inspect;
    inspect.setProcessEnvironment(g_desktop->environment());
    inspect.start(QStringLiteral(VORLIX_HELPER_PATH),
                  {QStringLiteral("inspect"), QStringLiteral("--once")});
    ASSERT_TRUE(inspect.waitForFinished(15000));
    const QString out = QString::fromUtf8(inspect.readAllStandardOutput());
    const QString err = QString::fromUtf8(inspect.readAllStandardError());
    EXPECT_EQ(inspect.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(inspect.exitCode(), 0) << qPrintable(err);
    for (const QString& line :
         {QStringLiteral("application: XTerm\n"), QStringLiteral("id: debian-xterm\n"),
          QStringLiteral("pid: %1\n").arg(pid), QStringLiteral("window title: inspected\n"),
          QStringLiteral("extractor: TRTerminalInfoExtractor\n")}) {
        EXPECT_TRUE(out.contains(line)) << qPrintable(line) << " not in:\n" << qPrintable(out);
    }
    // Nothing complains on the way out (GLib reports misuse on stderr).
    EXPECT_TRUE(err.isEmpty()) << qPrintable(err);
    g_desktop->stopProgram(pid);
}

namespace {

char processState(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return '?';
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && close + 2 < text.size() ? text.at(close + 2) : '?';
}

// Lets a stopped process go on whatever the test's outcome.
struct ResumeOnExit final {
    qint64 pid;
    ~ResumeOnExit() { kill(pid_t(pid), SIGCONT); }
};

}  // namespace

// The main thread asks only the X server, so a stopped application cannot
// hold it up; the worker's accessibility questions to it are bounded.
TEST(ExtractionOnDesktop, StoppedApplicationNeverHoldsUpCurrentActivityAndDelaysTheWorkerBriefly) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("gedit");
    const QString file = writeHomeFile(QStringLiteral("paused.txt"));
    const QString title = QStringLiteral("paused.txt (~) - gedit");
    const qint64 pid = startInFront([&] { return g_desktop->startGedit(file); });
    ASSERT_GT(pid, 0);
    Tick last;
    ASSERT_TRUE(waitForTick(
        [&](const Tick& t) { return t.completed && t.completed->activity.windowTitle() == title; },
        kWindowTimeoutMs, &last))
        << qPrintable(describe(last));

    ASSERT_EQ(kill(pid_t(pid), SIGSTOP), 0);
    const ResumeOnExit resume{pid};
    // Every thread stopped, as a program stopped for real has long been by
    // the next tick.
    DisposableDesktop::waitUntil([pid] { return processState(pid) == 'T'; }, 2000, 5);
    std::optional<TRActivity> front = g_extractor->currentActivity();
    ASSERT_TRUE(front && front->runningApplication());

    WorkerStep first{*front, {}, 0};
    submitWorkerStep(first);
    double slowestMainMs = 0;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::optional<TRActivity> again = g_extractor->currentActivity();
        slowestMainMs = std::max(slowestMainMs, double(timer.nsecsElapsed()) / 1e6);
        ASSERT_TRUE(again && again->runningApplication());
        EXPECT_EQ(again->runningApplication()->processIdentifier, pid);
    }
    waitForWorker();
    const WorkerStep second = runWorkerStep(*front);
    std::printf(
        "stopped application: currentActivity slowest %.3f ms; worker step %.1f ms, "
        "then %.1f ms\n",
        slowestMainMs, first.wallMs, second.wallMs);
    RecordProperty("current_activity_slowest_us", int(slowestMainMs * 1000));
    RecordProperty("worker_step_first_ms", int(first.wallMs));
    RecordProperty("worker_step_second_ms", int(second.wallMs));
    EXPECT_LT(slowestMainMs, 200);
    EXPECT_LT(first.wallMs, 2000);
    EXPECT_LT(second.wallMs, 2000);
    // Nothing from the tree: the window list's title stands.
    EXPECT_EQ(first.activity.windowTitle(), title);
    EXPECT_EQ(first.extractor, kTitledEditor);

    kill(pid_t(pid), SIGCONT);
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) { return t.completed && t.completed->activity.windowTitle() == title; },
        kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    g_desktop->stopProgram(pid);
}
