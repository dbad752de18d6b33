// The extraction desktop tests' shared objects and main(): the desktop
// starts before anything connects to X or a bus, the platform objects are
// the helper's own, and the worker thread is the only one that ever touches
// the accessibility provider (it also releases it).

#include "ExtractionDesktopSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include "app/PlatformObjects.h"
#include "platform/RunningApplications.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"
#include "tracking/TRSerialQueue.h"
#include "platform/WindowSystem.h"

std::unique_ptr<DisposableDesktop> g_desktop;
QString g_whyNoDesktop;
TRExtractionContext g_context;
TRInfoExtractor* g_extractor = nullptr;

namespace {

TRSerialQueue* g_worker = nullptr;

}  // namespace

void submitWorkerStep(WorkerStep& step) {
    g_worker->async([&step] {
        QElapsedTimer timer;
        timer.start();
        step.extractor = g_extractor->callInfoExtractorForActivity(step.activity).name();
        step.wallMs = double(timer.nsecsElapsed()) / 1e6;
    });
}

void runOnWorker(const std::function<void()>& task) {
    g_worker->async(task);
    g_worker->sync();
}

void waitForWorker() {
    g_worker->sync();
}

WorkerStep runWorkerStep(const TRActivity& activity) {
    WorkerStep step{activity, {}, 0};
    submitWorkerStep(step);
    waitForWorker();
    return step;
}

Tick tick() {
    Tick result;
    result.front = g_extractor->currentActivity();
    if (result.front) result.completed = runWorkerStep(*result.front);
    return result;
}

bool waitForTick(const std::function<bool(const Tick&)>& done, int timeoutMs, Tick* last) {
    QElapsedTimer timer;
    timer.start();
    while (true) {
        *last = tick();
        if (done(*last)) return true;
        if (timer.elapsed() >= timeoutMs) return false;
        QThread::msleep(kTickSpacingMs);
    }
}

QUrl site() { return g_desktop->testSite(); }

QString page(const char* name) { return g_desktop->testPage(name); }

bool waitForFrontProcess(qint64 pid) {
    WindowSystem* windows = g_context.windowSystem;
    return windows != nullptr &&
           DisposableDesktop::waitUntil(
               [&] {
                   return windows->frontProcessIdentifier() == std::optional<qint32>(qint32(pid));
               },
               5000);
}

qint64 startInFront(const std::function<qint64()>& start) {
    const qint64 pid = start();
    if (pid <= 0) return -1;
    const auto window = g_desktop->waitForWindowOfProcess(pid, kPageTimeoutMs);
    if (!window || !g_desktop->activateWindow(*window) || !waitForFrontProcess(pid)) return -1;
    return pid;
}

// xterm's toolkit waits for the window manager to confirm its size hints,
// by default for up to 5 s, and openbox now and then never answers: a
// tenth of a second is plenty on this desktop.
QStringList xtermArguments(const QString& title, const QStringList& moreArguments) {
    return QStringList{QStringLiteral("-xrm"), QStringLiteral("*wmTimeout: 100"),
                       QStringLiteral("-T"), title} +
           moreArguments +
           QStringList{QStringLiteral("-e"), QStringLiteral("sleep"), QStringLiteral("600")};
}

qint64 startTitledXterm(const QString& title, const QStringList& moreArguments) {
    return g_desktop->startXterm(xtermArguments(title, moreArguments));
}

QString copyOfXterm(const QString& fileName) {
    const QString folder = g_desktop->stateDir() + QStringLiteral("/programs");
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + fileName;
    if (!QFile::exists(path) && !QFile::copy(QStringLiteral("/usr/bin/xterm"), path)) return {};
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

QString describe(const Tick& tick) {
    if (!tick.front) return QStringLiteral("no activity (excluded application)");
    const TRActivity& activity = tick.completed ? tick.completed->activity : *tick.front;
    const RunningApplication* application = activity.runningApplication();
    QString text = application ? application->description() : QStringLiteral("no application");
    text += QStringLiteral("; window list title \"%1\"; title \"%2\"; document \"%3\"")
                .arg(tick.front->windowTitle(), activity.windowTitle(), activity.documentPath());
    if (tick.completed) text += QStringLiteral("; extractor ") + tick.completed->extractor;
    return text;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Test discovery only lists the tests: no desktop for that.
    if (!::testing::GTEST_FLAG(list_tests)) {
        g_desktop = DisposableDesktop::start(&g_whyNoDesktop);
        if (g_desktop) g_desktop->applyToThisProcess();
    }
    QCoreApplication application(argc, argv);
    int status = 0;
    {
        PlatformObjects platform;
        TRSerialQueue worker(QStringLiteral("extraction"));
        g_worker = &worker;
        const TRExtractorRegistry registry = TRExtractorRegistry::withDefaultExtractors();
        TRInfoExtractor extractor(g_context, registry);
        g_extractor = &extractor;
        if (g_desktop) {
            platform = createPlatformObjects(&worker);
            // Switched on over the bus, as the desktop's settings do: with the
            // launcher's command-line switch alone the switch now and then
            // read "off" for a whole test once a GTK program had started
            // (likely the settings of the fresh home taking over).
            if (platform.accessibility) runOnWorker([&platform] { platform.accessibility->enable(); });
            g_context = platform.context();
        }
        status = RUN_ALL_TESTS();
        g_context = {};
        g_extractor = nullptr;
        releaseWorkerObjects(platform, &worker);
        g_worker = nullptr;
    }
    g_desktop.reset();
    return status;
}
