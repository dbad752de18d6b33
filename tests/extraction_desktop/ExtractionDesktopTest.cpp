// What the extraction makes of real applications on a real X desktop, with
// the helper's own platform objects: terminals, programs without a desktop
// entry, a browser and applications that stop answering. (What `inspect`
// prints is read by the end-to-end and sway tests.)

#include <QFile>
#include <QFileInfo>

#include <signal.h>

#include <functional>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"

namespace {

const QString kGeneric = QStringLiteral("TRGenericInfoExtractor");
const QString kTerminal = QStringLiteral("TRTerminalInfoExtractor");

bool titled(const Tick& tick, const QString& title) {
    return tick.completed && tick.completed->activity.windowTitle() == title;
}

}  // namespace

// xterm has no accessibility tree and only WM_NAME carries its title; a copy
// under another name with a window class of its own matches no desktop
// entry and is known by its executable; keeping xterm's class, it is xterm
// by the entry's StartupWMClass.
TEST(ExtractionOnDesktop, TerminalInFrontIsKnownByItsDesktopEntryOrItsExecutable) {
    REQUIRE_DESKTOP();
    const QString copy = copyOfXterm(QStringLiteral("myterm"));
    const struct {
        const char* name;
        QString program;
        QStringList arguments;
        QString id;
        QString identifier;
        QString shownName;
    } cases[] = {
        {"xterm", QStringLiteral("/usr/bin/xterm"), {}, QStringLiteral("debian-xterm"),
         QStringLiteral("debian-xterm"), QStringLiteral("XTerm")},
        {"a copy with its own window class", copy, {QStringLiteral("-class"), QStringLiteral("Myterm")},
         QString(), QStringLiteral("myterm"), QStringLiteral("Myterm")},
        {"a copy with xterm's window class", copy, {}, QStringLiteral("debian-xterm"),
         QStringLiteral("debian-xterm"), QStringLiteral("XTerm")},
    };
    const QString title = QStringLiteral("notes on the desk");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const qint64 pid = startInFront([&] {
            return g_desktop->startProgram(c.program, DisposableDesktop::xtermArguments(title, c.arguments));
        });
        ASSERT_GT(pid, 0);
        Tick last;
        ASSERT_TRUE(waitForTick([&](const Tick& t) { return completedFor(t, pid); }, 5000, &last))
            << qPrintable(describe(last));
        const RunningApplication* application = applicationOf(last);
        EXPECT_EQ(application->bundleIdentifier.isNull(), c.id.isNull());
        EXPECT_EQ(application->bundleIdentifier, c.id);
        EXPECT_EQ(application->identifier(), c.identifier);
        EXPECT_EQ(application->localizedName, c.shownName);
        EXPECT_EQ(QFileInfo(application->executablePath).fileName(), QFileInfo(c.program).fileName());
        EXPECT_EQ(last.front->windowTitle(), title);
        EXPECT_EQ(last.completed->activity.windowTitle(), title) << "the window list's title stays";
        // xterm's title names no folder: its one session's folder from /proc.
        EXPECT_EQ(last.completed->activity.documentPath().startsWith(QStringLiteral("file:///")),
                  !c.id.isNull());
        EXPECT_EQ(last.completed->extractor, c.id.isNull() ? kGeneric : kTerminal);
        g_desktop->stopProgram(pid);
    }
}

// After the worker step the page address is the activity's document path,
// and it follows new tabs and tab switches. The first answers after a start
// may be empty, so every check polls ticks.
TEST(ExtractionOnDesktop, ChromiumPageAddressIsTheDocumentPathAndFollowsTabs) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    const QString one = g_desktop->testPage("one"), two = g_desktop->testPage("two");
    const qint64 pid = startInFront([&] { return g_desktop->startChromium(one); });
    ASSERT_GT(pid, 0);
    const struct {
        const char* what;
        std::function<bool()> act;
        QString page;
    } steps[] = {
        {"first page", [] { return true; }, one},
        {"a new tab", [&] { return g_desktop->openChromiumTab(two); }, two},
        {"back to the first tab", [] { return g_desktop->pressKeys(QStringLiteral("ctrl+1")); }, one},
        {"to the second tab", [] { return g_desktop->pressKeys(QStringLiteral("ctrl+2")); }, two},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        ASSERT_TRUE(step.act());
        // The browser renames its window a moment after it shows the other
        // tab's document: the two agree by the next tick.
        const QString pageTitle = QStringLiteral("page ") + QFileInfo(step.page).baseName();
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return t.completed && t.completed->activity.documentPath() == step.page &&
                       t.completed->activity.windowTitle().contains(pageTitle);
            },
            kPageTimeoutMs, &last))
            << qPrintable(describe(last));
        ASSERT_TRUE(completedFor(last, pid));
        EXPECT_EQ(applicationOf(last)->bundleIdentifier, QStringLiteral("chromium"));
        EXPECT_EQ(last.completed->extractor, QStringLiteral("TRChromeInfoExtractor"));
    }
    g_desktop->stopProgram(pid);
}

// A GTK window whose accessible name differs from its X title (so an answer
// from the tree can be told apart; set from the main loop, since showing the
// window may name it after its title again), and whose main loop blocks for
// a minute once the flag file exists.
constexpr char kBusyProgram[] = R"(import gi, os, sys, time
gi.require_version("Gtk", "3.0")
from gi.repository import Gtk, GLib
window = Gtk.Window(title="busy window")
window.connect("destroy", Gtk.main_quit)
window.show_all()
def look():
    accessible = window.get_accessible()
    if accessible.get_name() != "busy accessible":
        accessible.set_name("busy accessible")
    if os.path.exists(sys.argv[1]):
        time.sleep(60)
    return True
GLib.timeout_add(20, look)
Gtk.main()
)";

// An application that stops answering never holds up the main thread (it
// asks only the X server) and keeps the tree's last answer while the window
// list shows the same window, so one visit is not split between the tree's
// title (or a browser's address) and the window list's. Stopped (SIGSTOP),
// /proc tells at once; hung (its main loop blocked), nothing tells, so the
// worker's first question waits for the accessibility timeout, and the
// application is then left alone.
TEST(ExtractionOnDesktop, ApplicationThatStopsAnsweringKeepsTheTreesLastAnswer) {
    REQUIRE_DESKTOP();
    const QString script = g_desktop->writeFile(QStringLiteral("busy.py"), kBusyProgram);
    const QString flag = g_desktop->stateDir() + QStringLiteral("/block-now");
    const QString treeTitle = QStringLiteral("busy accessible");
    const struct {
        const char* name;
        std::function<void(qint64)> silence;
    } cases[] = {
        {"stopped",
         [](qint64 pid) {
             ASSERT_EQ(kill(pid_t(pid), SIGSTOP), 0);
             // Every thread stopped, as a program stopped for real has long
             // been by the next tick.
             DisposableDesktop::waitUntil([pid] { return processState(pid) == 'T'; }, 2000, 5);
         }},
        {"hung",
         [](qint64) {
             ASSERT_FALSE(g_desktop->writeFile(QStringLiteral("block-now"), "").isEmpty());
             DisposableDesktop::waitUntil([] { return false; }, 300);  // noticed within 20 ms
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(flag);
        // Accessibility on from the start, as the harness does for the
        // browsers: on a loaded machine the toolkit's own question may come
        // back too late.
        const qint64 pid = startInFront([&] {
            return g_desktop->startProgram(QStringLiteral("/usr/bin/env"),
                                           {QStringLiteral("GNOME_ACCESSIBILITY=1"),
                                            QStringLiteral("/usr/bin/python3"), script, flag});
        });
        ASSERT_GT(pid, 0);
        Tick last;
        if (!waitForTick([&](const Tick& t) { return titled(t, treeTitle); }, kWindowTimeoutMs,
                         &last)) {
            GTEST_SKIP() << "the tick never got the tree's title: " << qPrintable(describe(last));
        }
        c.silence(pid);
        const BlockedRun run = runWhileBlocked(pid, 10);
        kill(pid_t(pid), SIGCONT);
        EXPECT_LT(run.slowestMainMs, 200);
        EXPECT_LT(run.first.wallMs, 2000) << "one bounded wait";
        EXPECT_LT(run.second.wallMs, 100) << "no second wait";
        EXPECT_EQ(run.first.activity.windowTitle(), treeTitle);
        EXPECT_EQ(run.second.activity.windowTitle(), treeTitle);
        g_desktop->stopProgram(pid);
    }
}
