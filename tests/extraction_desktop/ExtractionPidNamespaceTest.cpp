// Programs in their own pid namespace (Flatpak applications, containers)
// write their namespace's pid, often 1 or 2, into _NET_WM_PID. Two such
// programs must still be two applications, each known by its real pid.

#include <QFile>
#include <QFileInfo>

#include "ExtractionDesktopSupport.h"

TEST(ExtractionOnDesktop, ProgramsInTheirOwnPidNamespaceAreKnownByTheirRealPid) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("unshare");
    std::vector<qint64> started;
    for (const QString& title : {QStringLiteral("first sandbox"), QStringLiteral("second sandbox")}) {
        SCOPED_TRACE(qPrintable(title));
        const QStringList unshare = {QStringLiteral("--pid"), QStringLiteral("--fork"), QStringLiteral("--mount-proc"),
                                     QStringLiteral("xterm")};
        started.push_back(g_desktop->startProgram(QStringLiteral("unshare"), unshare + DisposableDesktop::xtermArguments(title)));
        const auto window = g_desktop->waitForWindowNamed(title, kWindowTimeoutMs);
        ASSERT_TRUE(window && g_desktop->activateWindow(*window));
        // The xterm is unshare's only child; this is its pid as the machine sees it.
        QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(started.back()));
        ASSERT_TRUE(children.open(QIODevice::ReadOnly));
        const qint64 pid = children.readAll().trimmed().toLongLong();
        Tick last;
        EXPECT_TRUE(waitForTick([&](const Tick& t) { return t.front && t.front->windowTitle() == title; }, 5000, &last))
            << qPrintable(describe(last));
        const RunningApplication* application = last.front ? last.front->runningApplication() : nullptr;
        ASSERT_NE(application, nullptr);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(QFileInfo(application->executablePath).fileName(), QStringLiteral("xterm"));
    }
    for (qint64 pid : started) g_desktop->stopProgram(pid);
}
