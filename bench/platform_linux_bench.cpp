// What one look at the desktop costs: the front-window poll (active window,
// its process, title and class, /proc/PID/exe), the window list, a cached
// identity lookup, and one accessibility page-address query. Starts its own
// disposable desktop with an xterm and a Chromium on a local page.
//
// Prints "name: value unit" lines, medians. "spaced" figures are taken one
// call every `--spacing-ms` (default 1000, as the helper polls), which is
// what a real tick costs; "back_to_back" ones in a tight loop, which caches
// make several times cheaper. The X server's share of a poll is measured
// over the back-to-back loop (its CPU time is counted in 10 ms steps).

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>
#include <functional>
#include <vector>

#include "platform/linux/AtspiAccessibility.h"
#include "harness/DisposableDesktop.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/XcbWindowSystem.h"

namespace {

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

// User plus system time of a process so far, in milliseconds (10 ms steps).
double processCpuMs(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return 0;
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(11).toDouble() + fields.value(12).toDouble();  // utime, stime
    return ticks * 1000.0 / double(sysconf(_SC_CLK_TCK));
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Figures final {
    double wallMs = 0;
    double cpuMs = 0;
};

Figures measure(const std::function<void()>& call, int samples, int spacingMs) {
    std::vector<double> wall;
    std::vector<double> cpu;
    for (int i = 0; i < samples; ++i) {
        if (spacingMs > 0) QThread::msleep(ulong(spacingMs));
        QElapsedTimer timer;
        const double cpuStart = threadCpuMs();
        timer.start();
        call();
        wall.push_back(double(timer.nsecsElapsed()) / 1e6);
        cpu.push_back(threadCpuMs() - cpuStart);
    }
    return {median(wall), median(cpu)};
}

void print(const char* name, const Figures& figures) {
    std::printf("%s_wall: %.4f ms\n%s_cpu: %.4f ms\n", name, figures.wallMs, name, figures.cpuMs);
    std::fflush(stdout);
}

QString pageAddress(AtspiAccessibilityProvider& accessibility, qint64 pid) {
    const AccessibilityElementRef app = accessibility.applicationElement(qint32(pid));
    if (!app) return {};
    const auto window = app->copyAttributeValue(QStringLiteral("AXMainWindow"));
    const auto* element = window ? std::get_if<AccessibilityElementRef>(&*window) : nullptr;
    if (element == nullptr || !*element) return {};
    const auto document = (*element)->copyAttributeValue(QStringLiteral("AXDocument"));
    const QString* text = document ? std::get_if<QString>(&*document) : nullptr;
    return text ? *text : QString();
}

}  // namespace

int main(int argc, char** argv) {
    int spacingMs = 1000;
    int samples = 15;
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--spacing-ms") == 0) spacingMs = QByteArray(argv[i + 1]).toInt();
        if (qstrcmp(argv[i], "--samples") == 0) samples = QByteArray(argv[i + 1]).toInt();
    }
    QString whyNot;
    std::unique_ptr<DisposableDesktop> desktop = DisposableDesktop::start(&whyNot);
    if (!desktop) {
        std::fprintf(stderr, "no disposable desktop: %s\n", qPrintable(whyNot));
        return 77;
    }
    desktop->applyToThisProcess();
    QCoreApplication application(argc, argv);

    const qint64 xterm = desktop->startXterm(QStringLiteral("bench"));
    const auto xtermWindow = desktop->waitForWindowOfProcess(xterm, 20000);
    if (!xtermWindow || !desktop->activateWindow(*xtermWindow)) return 1;

    XcbWindowSystem windows;
    LinuxRunningApplications applications(windows);
    const auto poll = [&windows] {
        const auto front = windows.frontWindow();
        if (front) QFileInfo(QStringLiteral("/proc/%1/exe").arg(front->processIdentifier)).symLinkTarget();
    };
    print("front_window_poll_spaced", measure(poll, samples, spacingMs));
    const double xBefore = processCpuMs(desktop->xServerProcessIdentifier());
    print("front_window_poll_back_to_back", measure(poll, 5000, 0));
    std::printf("front_window_poll_x_server_cpu: %.4f ms\n",
                (processCpuMs(desktop->xServerProcessIdentifier()) - xBefore) / 5000.0);
    print("window_list_spaced", measure([&] { windows.windowList(); }, samples, spacingMs / 4));
    print("running_application_cached",
          measure([&] { applications.runningApplication(qint32(xterm)); }, 2000, 0));

    const QString site = desktop->stateDir() + QStringLiteral("/site");
    QDir().mkpath(site);
    QFile page(site + QStringLiteral("/page.html"));
    page.open(QIODevice::WriteOnly);
    page.write("<html><head><title>bench</title></head><body><p>bench</p></body></html>");
    page.close();
    const QString url = desktop->startHttpServer(site).resolved(QUrl(QStringLiteral("page.html"))).toString();
    const qint64 chromium = desktop->startChromium(url);
    const auto chromiumWindow = desktop->waitForWindowOfProcess(chromium, 30000);
    if (!chromiumWindow || !desktop->activateWindow(*chromiumWindow)) return 1;
    AtspiAccessibilityProvider accessibility;
    if (!DisposableDesktop::waitUntil([&] { return pageAddress(accessibility, chromium) == url; }, 30000, 200)) {
        std::fprintf(stderr, "the page address never arrived\n");
        return 1;
    }
    print("atspi_page_address_spaced",
          measure([&] { pageAddress(accessibility, chromium); }, samples, spacingMs));
    print("atspi_page_address_back_to_back",
          measure([&] { pageAddress(accessibility, chromium); }, 200, 0));
    return 0;
}
