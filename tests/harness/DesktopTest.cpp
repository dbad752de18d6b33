#include "harness/DesktopTest.h"

#include <QCoreApplication>
#include <QFile>

std::unique_ptr<DisposableDesktop> g_desktop;
QString g_whyNoDesktop;

int runOnDesktop(int argc, char** argv, const std::function<int()>& runTests) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!::testing::GTEST_FLAG(list_tests)) {
        g_desktop = DisposableDesktop::start(&g_whyNoDesktop);
        if (g_desktop) g_desktop->applyToThisProcess();
    }
    QCoreApplication application(argc, argv);
    const int status = runTests();
    g_desktop.reset();
    return status;
}

bool waitForFrontProcess(WindowSystem& windows, qint64 pid) {
    return DisposableDesktop::waitUntil(
        [&] { return windows.frontProcessIdentifier() == std::optional<qint32>(qint32(pid)); },
        5000);
}

qint64 startInFront(WindowSystem& windows, const std::function<qint64()>& start) {
    const qint64 pid = start();
    if (pid <= 0) return -1;
    const auto window = g_desktop->waitForWindowOfProcess(pid, kPageTimeoutMs);
    if (!window || !g_desktop->activateWindow(*window) || !waitForFrontProcess(windows, pid))
        return -1;
    return pid;
}

char processState(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return '?';
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && close + 2 < text.size() ? text.at(close + 2) : '?';
}
