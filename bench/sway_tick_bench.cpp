// What one tick's look at the desktop costs on sway: the front process, the
// window list (the title) and the cached identity of the front application,
// as the tracking loop asks them, from SwayWindowSystem over a headless sway
// with foot in front; then the same through the compositor's toplevel list
// (ForeignToplevelWindowSystem, as on a wlroots compositor without sway's
// IPC: the application found by app_id). Compare with platform_linux_bench's
// X11 poll.
//
// Prints "name: value unit" lines, medians. "spaced" figures are taken one
// tick every `--spacing-ms` (default 1000, as the helper polls), and with a
// focus switch between two foot windows before each tick (a window event to
// read); "back_to_back"
// ones in a tight loop with nothing new on the socket.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

#include "harness/DisposableDesktop.h"
#include "harness/HeadlessSway.h"
#include "platform/linux/ForeignToplevelWindowSystem.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/SwayWindowSystem.h"

namespace {

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

struct Figures final {
    double wallMs = 0;
    double cpuMs = 0;
};

Figures measure(const std::function<void()>& between, const std::function<void()>& call,
                int samples, int spacingMs) {
    std::vector<double> wall, cpu;
    for (int i = 0; i < samples; ++i) {
        between();
        if (spacingMs > 0) QThread::msleep(ulong(spacingMs));
        QElapsedTimer timer;
        const double cpuStart = threadCpuMs();
        timer.start();
        call();
        wall.push_back(double(timer.nsecsElapsed()) / 1e6);
        cpu.push_back(threadCpuMs() - cpuStart);
    }
    std::sort(wall.begin(), wall.end());
    std::sort(cpu.begin(), cpu.end());
    return {wall[wall.size() / 2], cpu[cpu.size() / 2]};
}

void print(const char* name, const Figures& figures) {
    std::printf("%s_wall: %.4f ms\n%s_cpu: %.4f ms\n", name, figures.wallMs, name, figures.cpuMs);
    std::fflush(stdout);
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
    std::unique_ptr<HeadlessSway> sway = desktop ? HeadlessSway::start(*desktop, &whyNot) : nullptr;
    if (!sway) {
        std::fprintf(stderr, "no headless sway: %s\n", qPrintable(whyNot));
        return 77;
    }
    QCoreApplication application(argc, argv);
    if (!sway->command(QStringLiteral("exec foot -T bench-a sleep 600")) ||
        !sway->command(QStringLiteral("exec foot -T bench-b sleep 600")) ||
        !sway->waitForWindows(QStringLiteral("foot"), 2, 20000)) {
        std::fprintf(stderr, "foot did not come up\n");
        return 1;
    }
    SwayWindowSystem windows(sway->environment().value(QStringLiteral("SWAYSOCK")));
    LinuxRunningApplications applications(windows);
    const auto tick = [&] {
        const auto pid = windows.frontProcessIdentifier();
        if (pid) applications.runningApplication(*pid);
        windows.windowList();
    };
    bool first = false;
    const auto switchWindows = [&] {
        first = !first;
        sway->command(first ? QStringLiteral("[title=bench-a] focus")
                            : QStringLiteral("[title=bench-b] focus"));
    };
    print("sway_tick_spaced", measure(switchWindows, tick, samples, spacingMs));
    print("sway_tick_back_to_back", measure([] {}, tick, 5000, 0));

    const QProcessEnvironment environment = sway->environment();
    ForeignToplevelWindowSystem toplevels(
        QFile::encodeName(environment.value(QStringLiteral("XDG_RUNTIME_DIR")) + QLatin1Char('/') +
                          environment.value(QStringLiteral("WAYLAND_DISPLAY"))));
    LinuxRunningApplications byAppId(toplevels);
    const auto toplevelTick = [&] {
        const WindowSystem::FrontLook look = toplevels.lookAtFront();
        if (const auto front = look.frontWindowWithoutProcess) byAppId.applicationOfWindow(*front);
    };
    if (!toplevels.isAvailable()) {
        std::fprintf(stderr, "the toplevel list is not offered\n");
        return 1;
    }
    print("toplevel_tick_spaced", measure(switchWindows, toplevelTick, samples, spacingMs));
    print("toplevel_tick_back_to_back", measure([] {}, toplevelTick, 5000, 0));
    return 0;
}
