// Programs in their own pid namespace (Flatpak applications, containers)
// write their namespace's pid, often 1 or 2, into _NET_WM_PID. Two such
// programs must still be two applications, each known by its real pid.

#include <QFile>
#include <QFileInfo>

#include "ExtractionDesktopSupport.h"

namespace {

// The program `unshare --fork` started: its only child.
qint64 onlyChildOf(qint64 pid) {
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(pid));
    if (!children.open(QIODevice::ReadOnly)) return -1;
    bool ok = false;
    const qint64 child = children.readAll().trimmed().split(' ').value(0).toLongLong(&ok);
    return ok ? child : -1;
}

}  // namespace

TEST(ExtractionOnDesktop, ProgramsInTheirOwnPidNamespaceAreKnownByTheirRealPid) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("unshare");
    struct Sandboxed {
        QString title;
        qint64 pid = -1;  // as this machine sees it
        std::optional<quint64> window;
    };
    Sandboxed sandboxes[] = {{QStringLiteral("first sandbox"), -1, std::nullopt},
                             {QStringLiteral("second sandbox"), -1, std::nullopt}};
    std::vector<qint64> started;
    for (Sandboxed& s : sandboxes) {
        const qint64 unshare = g_desktop->startProgram(
            QStringLiteral("unshare"),
            QStringList{QStringLiteral("--pid"), QStringLiteral("--fork"), QStringLiteral("--mount-proc"),
                        QStringLiteral("xterm")} + xtermArguments(s.title));
        ASSERT_GT(unshare, 0);
        started.push_back(unshare);
        s.window = g_desktop->waitForWindowNamed(s.title, kWindowTimeoutMs);
        s.pid = onlyChildOf(unshare);
        ASSERT_TRUE(s.window && s.pid > 0) << qPrintable(s.title);
    }
    for (const Sandboxed& s : sandboxes) {
        SCOPED_TRACE(qPrintable(s.title));
        ASSERT_TRUE(g_desktop->activateWindow(*s.window));
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) { return t.front && t.front->windowTitle() == s.title; }, 5000, &last))
            << qPrintable(describe(last));
        const RunningApplication* application = last.front ? last.front->runningApplication() : nullptr;
        ASSERT_NE(application, nullptr);
        EXPECT_EQ(application->processIdentifier, s.pid);
        EXPECT_EQ(QFileInfo(application->executablePath).fileName(), QStringLiteral("xterm"));
    }
    for (qint64 pid : started) g_desktop->stopProgram(pid);
}
