// The desktop tests' shared objects and main(): the desktop starts before
// anything connects to X or a bus, and stops after the last test.

#include "DesktopTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

std::unique_ptr<DisposableDesktop> g_desktop;
QString g_whyNoDesktop;

XcbWindowSystem& windows() {
    static XcbWindowSystem instance;
    return instance;
}

AtspiAccessibilityProvider& accessibility() {
    static AtspiAccessibilityProvider instance;
    return instance;
}

QUrl site() { return g_desktop->testSite(); }

QString page(const char* name) { return g_desktop->testPage(name); }

qint64 startTitledXterm(const QString& title) {
    return g_desktop->startXterm({QStringLiteral("-T"), title, QStringLiteral("-e"),
                                  QStringLiteral("sleep"), QStringLiteral("600")});
}

bool waitForFrontProcess(qint64 pid) {
    return DisposableDesktop::waitUntil(
        [pid] { return windows().frontProcessIdentifier() == std::optional<qint32>(qint32(pid)); },
        5000);
}

std::pair<qint64, std::optional<quint64>> startFrontXterm(const QString& title) {
    const qint64 pid = startTitledXterm(title);
    const auto window = g_desktop->waitForWindowOfProcess(pid, kWindowTimeoutMs);
    if (!window || !g_desktop->activateWindow(*window) || !waitForFrontProcess(pid))
        return {pid, std::nullopt};
    return {pid, window};
}

char processState(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return '?';
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && close + 2 < text.size() ? text.at(close + 2) : '?';
}

QString processSummary(const std::vector<qint64>& pids) {
    QString summary;
    for (qint64 pid : pids)
        summary += QStringLiteral(" %1:%2").arg(pid).arg(QLatin1Char(processState(pid)));
    for (const WindowInfo& info : windows().windowList()) {
        summary += QStringLiteral(" [window %1 pid %2]")
                       .arg(info.windowId)
                       .arg(info.ownerProcessIdentifier);
    }
    return summary;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Test discovery only lists the tests: no desktop for that.
    if (!::testing::GTEST_FLAG(list_tests)) {
        g_desktop = DisposableDesktop::start(&g_whyNoDesktop);
        if (g_desktop) g_desktop->applyToThisProcess();
    }
    QCoreApplication application(argc, argv);
    const int status = RUN_ALL_TESTS();
    g_desktop.reset();
    return status;
}
