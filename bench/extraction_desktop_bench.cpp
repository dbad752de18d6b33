// What the two extraction steps of a tick cost on a real desktop, with the
// helper's own platform objects: g_dispatch->currentActivity() on the
// main thread and the worker step (callInfoExtractorForActivity: the
// accessibility tree, then the extractor) on one worker thread, as the
// tracking loop runs them. Starts its own disposable desktop; measures with
// an xterm in front (no accessibility tree; its folder from /proc), Thunar on
// a folder (the location bar from the tree), then Chromium and Firefox on a
// local page in front (the page address and the window's private mode come
// from the tree, through the browsers' own extractors).
//
// `--only NAME` measures one of them (xterm, thunar, chromium, firefox).
// Prints "name: value unit" lines, medians over `--samples` ticks (default
// 30) spaced `--spacing-ms` apart (default 1000, as the helper ticks): back
// to back, caches make every figure several times cheaper than a real tick.
// CPU is the calling thread's own; what the X server, the accessibility bus
// and the application spend answering is not included.

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <vector>

#include "platform/AccessibilityElement.h"
#include "harness/DisposableDesktop.h"
#include "app/PlatformObjects.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"
#include "tracking/TRSerialQueue.h"

namespace {

// The dispatch over the helper's platform objects, for the whole run.
TRInfoExtractor* g_dispatch = nullptr;


double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Samples final {
    std::vector<double> wallMs;
    std::vector<double> cpuMs;
};

// Runs `call` and adds its wall and CPU time, on the calling thread.
template <class Call>
void sample(Samples& samples, Call&& call) {
    QElapsedTimer timer;
    const double cpuStart = threadCpuMs();
    timer.start();
    call();
    samples.wallMs.push_back(double(timer.nsecsElapsed()) / 1e6);
    samples.cpuMs.push_back(threadCpuMs() - cpuStart);
}

void print(const QString& name, const Samples& samples) {
    std::printf("%s_wall: %.4f ms\n%s_cpu: %.4f ms\n", qPrintable(name), median(samples.wallMs),
                qPrintable(name), median(samples.cpuMs));
    std::fflush(stdout);
}

struct Options final {
    int samples = 30;
    int spacingMs = 1000;
    QString only;  // "xterm", "thunar", "chromium" or "firefox": that one alone
    bool wants(const char* name) const { return only.isEmpty() || only == QLatin1String(name); }
};

// Ticks as the loop does, one every spacing, and prints the medians of each
// step under `name`.
void measureTicks(const QString& name, TRSerialQueue& worker, const Options& options) {
    Samples current;
    Samples step;
    Samples enabledCheck;
    for (int i = 0; i < options.samples; ++i) {
        QThread::msleep(ulong(options.spacingMs));
        std::optional<TRActivity> activity;
        sample(current, [&] { activity = g_dispatch->currentActivity(); });
        if (!activity) continue;
        worker.async([&] {
            sample(step, [&] { g_dispatch->callInfoExtractorForActivity(*activity); });
            sample(enabledCheck, [] {
                if (auto* provider = g_dispatch->context().accessibility)
                    provider->isEnabled();
            });
        });
        worker.sync();
    }
    print(name + QStringLiteral("_current_activity"), current);
    print(name + QStringLiteral("_worker_step"), step);
    print(name + QStringLiteral("_accessibility_enabled_check"), enabledCheck);
}

// The worker step's answer for the front application, for readiness checks.
QString documentPathNow(TRSerialQueue& worker) {
    std::optional<TRActivity> activity = g_dispatch->currentActivity();
    if (!activity) return {};
    worker.async([&] { g_dispatch->callInfoExtractorForActivity(*activity); });
    worker.sync();
    return activity->documentPath();
}

QString servePage(DisposableDesktop& desktop) {
    const QString site = desktop.stateDir() + QStringLiteral("/site");
    QDir().mkpath(site);
    QFile page(site + QStringLiteral("/page.html"));
    if (!page.open(QIODevice::WriteOnly)) return {};
    page.write("<html><head><title>bench</title></head><body><p>bench</p></body></html>");
    page.close();
    return desktop.startHttpServer(site).resolved(QUrl(QStringLiteral("page.html"))).toString();
}

bool bringToFront(DisposableDesktop& desktop, qint64 pid) {
    const auto window = desktop.waitForWindowOfProcess(pid, 30000);
    return window && desktop.activateWindow(*window);
}

int runBench(DisposableDesktop& desktop, TRSerialQueue& worker, const Options& options) {
    if (options.wants("xterm")) {
        const qint64 xterm = desktop.startXterm(QStringLiteral("bench"));
        if (!bringToFront(desktop, xterm)) return 1;
        // The terminal extractor: no directory in the title "bench", so the
        // one shell's working directory from /proc.
        measureTicks(QStringLiteral("xterm"), worker, options);
        desktop.stopProgram(xterm);
    }

    // The file manager extractor: Thunar's location bar from the tree.
    if (options.wants("thunar") && DisposableDesktop::missingTool({QStringLiteral("thunar")}).isEmpty()) {
        const QString folder = desktop.stateDir() + QStringLiteral("/home/bench/folder");
        QDir().mkpath(folder);
        const qint64 thunar = desktop.startProgram(QStringLiteral("thunar"), {folder});
        if (!bringToFront(desktop, thunar)) return 1;
        const QString want = QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded);
        if (!DisposableDesktop::waitUntil([&] { return documentPathNow(worker) == want; }, 30000, 200)) {
            std::fprintf(stderr, "the file manager's folder never arrived\n");
            return 1;
        }
        measureTicks(QStringLiteral("thunar"), worker, options);
        desktop.stopProgram(thunar);
    }

    if (!options.wants("chromium") && !options.wants("firefox")) return 0;
    const QString url = servePage(desktop);
    if (url.isEmpty()) return 1;
    const struct {
        const char* name;
        std::function<qint64()> start;
    } browsers[] = {
        {"chromium", [&] { return desktop.startChromium(url); }},
        {"firefox", [&] { return desktop.startFirefox({url}); }},
    };
    for (const auto& browser : browsers) {
        if (!options.wants(browser.name)) continue;
        const qint64 pid = browser.start();
        if (!bringToFront(desktop, pid)) return 1;
        if (!DisposableDesktop::waitUntil([&] { return documentPathNow(worker) == url; }, 30000,
                                          200)) {
            std::fprintf(stderr, "%s: the page address never arrived\n", browser.name);
            return 1;
        }
        measureTicks(QLatin1String(browser.name), worker, options);
        desktop.stopProgram(pid);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--spacing-ms") == 0)
            options.spacingMs = QByteArray(argv[i + 1]).toInt();
        if (qstrcmp(argv[i], "--samples") == 0) options.samples = QByteArray(argv[i + 1]).toInt();
        if (qstrcmp(argv[i], "--only") == 0) options.only = QString::fromLocal8Bit(argv[i + 1]);
    }
    QString whyNot;
    std::unique_ptr<DisposableDesktop> desktop = DisposableDesktop::start(&whyNot);
    if (!desktop) {
        std::fprintf(stderr, "no disposable desktop: %s\n", qPrintable(whyNot));
        return 77;
    }
    desktop->applyToThisProcess();
    QCoreApplication application(argc, argv);
    int status = 0;
    {
        TRSerialQueue worker(QStringLiteral("extraction"));
        PlatformObjects platform = createPlatformObjects(&worker);
        // On for the session, as in the desktop tests.
        if (platform.accessibility) {
            worker.async([&platform] { platform.accessibility->enable(); });
            worker.sync();
        }
        const TRExtractionContext context = platform.context();
        const TRExtractorRegistry registry = TRExtractorRegistry::withDefaultExtractors();
        TRInfoExtractor dispatch(context, registry);
        g_dispatch = &dispatch;
        status = platform.windowSystem ? runBench(*desktop, worker, options) : 1;
        g_dispatch = nullptr;
        releaseWorkerObjects(platform, &worker);
    }
    return status;
}
