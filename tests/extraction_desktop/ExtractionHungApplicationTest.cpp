// An application that is running but no longer answers (its main loop is
// blocked): unlike a stopped one, nothing in /proc tells, so the worker's
// first question to it waits for the accessibility timeout. The main thread
// never asks it anything.

#include <QElapsedTimer>
#include <QFile>
#include <algorithm>
#include <cstdio>

#include "platform/AccessibilityElement.h"
#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRInfoExtractor.h"

namespace {

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

// What the tree says about the process, asked directly on the worker
// (without the extraction code), for messages when the tick disagrees.
QString whatTheTreeSays(qint64 pid) {
    QString said;
    runOnWorker([&] {
        AccessibilityProvider* provider = g_context.accessibility;
        said = provider->isEnabled() ? QStringLiteral("accessibility on; ")
                                     : QStringLiteral("accessibility off; ");
        const AccessibilityElementRef application = provider->applicationElement(qint32(pid));
        const auto main = application
                              ? application->copyAttributeValue(QStringLiteral("AXMainWindow"))
                              : std::nullopt;
        const auto* window = main ? std::get_if<AccessibilityElementRef>(&*main) : nullptr;
        const auto title = window && *window
                               ? (*window)->copyAttributeValue(QStringLiteral("AXTitle"))
                               : std::nullopt;
        const QString* text = title ? std::get_if<QString>(&*title) : nullptr;
        said += !application ? QStringLiteral("no application element")
                : text       ? QStringLiteral("main window titled \"%1\"").arg(*text)
                             : QStringLiteral("no main window title");
    });
    return said;
}

}  // namespace

TEST(ExtractionOnDesktop, HungApplicationDelaysOneWorkerStepByAboutItsTimeout) {
    REQUIRE_DESKTOP();
    const QString script = g_desktop->stateDir() + QStringLiteral("/busy.py");
    const QString flag = g_desktop->stateDir() + QStringLiteral("/block-now");
    {
        QFile file(script);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(kBusyProgram);
    }
    // Accessibility on from the start, as the harness does for the browsers:
    // on a loaded machine the toolkit's own question may come back too late.
    const qint64 pid = startInFront([&] {
        return g_desktop->startProgram(QStringLiteral("/usr/bin/env"),
                                       {QStringLiteral("GNOME_ACCESSIBILITY=1"),
                                        QStringLiteral("/usr/bin/python3"), script, flag});
    });
    ASSERT_GT(pid, 0);
    // Only an application the tree answers for can keep the worker waiting:
    // if the ticks never get the tree's title, say what asking directly
    // gives (and whether accessibility is on) and skip.
    Tick last;
    if (!waitForTick(
            [](const Tick& t) {
                return t.completed &&
                       t.completed->activity.windowTitle() == QLatin1String("busy accessible");
            },
            kWindowTimeoutMs, &last)) {
        GTEST_SKIP() << "the tick never got the tree's title: " << qPrintable(describe(last))
                     << "; asked directly: " << qPrintable(whatTheTreeSays(pid));
    }

    {
        QFile block(flag);
        ASSERT_TRUE(block.open(QIODevice::WriteOnly));
    }
    DisposableDesktop::waitUntil([] { return false; }, 300);  // the loop notices within 20 ms
    std::optional<TRActivity> front = g_extractor->currentActivity();
    ASSERT_TRUE(front && front->runningApplication());

    WorkerStep first{*front, {}, 0};
    submitWorkerStep(first);
    double slowestMainMs = 0;
    for (int i = 0; i < 10; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::optional<TRActivity> again = g_extractor->currentActivity();
        slowestMainMs = std::max(slowestMainMs, double(timer.nsecsElapsed()) / 1e6);
        ASSERT_TRUE(again && again->runningApplication());
        EXPECT_EQ(again->runningApplication()->processIdentifier, pid);
        DisposableDesktop::waitUntil([] { return false; }, 20);
    }
    waitForWorker();
    const WorkerStep second = runWorkerStep(*front);
    std::printf(
        "hung application: currentActivity slowest %.3f ms; worker step %.1f ms, "
        "then %.1f ms\n",
        slowestMainMs, first.wallMs, second.wallMs);
    RecordProperty("current_activity_slowest_us", int(slowestMainMs * 1000));
    RecordProperty("worker_step_first_ms", int(first.wallMs));
    RecordProperty("worker_step_second_ms", int(second.wallMs));
    EXPECT_LT(slowestMainMs, 200);
    EXPECT_LT(first.wallMs, 2000);
    // The application is left alone for a while: no second wait.
    EXPECT_LT(second.wallMs, 100);
    // Nothing from the tree: the window list's title stands.
    EXPECT_EQ(first.activity.windowTitle(), QStringLiteral("busy window"));
    EXPECT_EQ(second.activity.windowTitle(), QStringLiteral("busy window"));
    g_desktop->stopProgram(pid);
}
