#include "ExtractionDesktopSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cstdio>

#include "app/PlatformObjects.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRSerialQueue.h"

TRExtractionContext g_context;
TRInfoExtractor* g_extractor = nullptr;

namespace {

TRSerialQueue* g_worker = nullptr;

void submitWorkerStep(WorkerStep& step) {
    g_worker->async([&step] {
        QElapsedTimer timer;
        timer.start();
        step.extractor = g_extractor->callInfoExtractorForActivity(step.activity).name();
        step.wallMs = double(timer.nsecsElapsed()) / 1e6;
    });
}

}  // namespace

WorkerStep runWorkerStep(const TRActivity& activity) {
    WorkerStep step{activity, {}, 0};
    submitWorkerStep(step);
    g_worker->sync();
    return step;
}

void runOnWorker(const std::function<void()>& task) {
    g_worker->async(task);
    g_worker->sync();
}

Tick tick() {
    Tick t{g_extractor->currentActivity(), std::nullopt};
    if (t.front) t.completed = runWorkerStep(*t.front);
    return t;
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

QString describe(const Tick& tick) {
    if (!tick.front) return QStringLiteral("no activity (excluded application)");
    const TRActivity& activity = tick.completed ? tick.completed->activity : *tick.front;
    const RunningApplication* application = activity.runningApplication();
    QString text = application ? application->description() : QStringLiteral("no application");
    text += QStringLiteral("; window list title \"%1\"; title \"%2\"; document \"%3\"")
                .arg(tick.front->windowTitle(), activity.windowTitle(), activity.documentPath());
    if (activity.pathComponents()) {
        text += QStringLiteral("; components \"%1\"").arg(activity.pathComponents()->join(u'|'));
    }
    if (tick.completed) text += QStringLiteral("; extractor ") + tick.completed->extractor;
    return text;
}

BlockedRun runWhileBlocked(qint64 pid, int mainRounds) {
    BlockedRun run;
    const std::optional<TRActivity> front = g_extractor->currentActivity();
    EXPECT_TRUE(front && front->runningApplication());
    if (!front) return run;
    run.first.activity = *front;
    submitWorkerStep(run.first);
    for (int i = 0; i < mainRounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        const std::optional<TRActivity> again = g_extractor->currentActivity();
        run.slowestMainMs = std::max(run.slowestMainMs, double(timer.nsecsElapsed()) / 1e6);
        EXPECT_TRUE(again && again->processIdentifier() == pid);
        QThread::msleep(20);
    }
    g_worker->sync();
    run.second = runWorkerStep(*front);
    std::printf("currentActivity slowest %.3f ms; worker step %.1f ms, then %.1f ms\n",
                run.slowestMainMs, run.first.wallMs, run.second.wallMs);
    ::testing::Test::RecordProperty("current_activity_slowest_us", int(run.slowestMainMs * 1000));
    ::testing::Test::RecordProperty("worker_step_first_ms", int(run.first.wallMs));
    ::testing::Test::RecordProperty("worker_step_second_ms", int(run.second.wallMs));
    return run;
}

qint64 startInFront(const std::function<qint64()>& start) {
    return g_context.windowSystem ? startInFront(*g_context.windowSystem, start) : -1;
}

const RunningApplication* applicationOf(const Tick& tick) {
    return tick.front ? tick.front->runningApplication() : nullptr;
}

bool completedFor(const Tick& tick, qint64 pid) {
    const RunningApplication* application = applicationOf(tick);
    return application != nullptr && application->processIdentifier == pid && tick.completed;
}

QString copyOfXterm(const QString& fileName) {
    const QString folder = g_desktop->stateDir() + QStringLiteral("/programs");
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + fileName;
    if (!QFile::exists(path) && !QFile::copy(QStringLiteral("/usr/bin/xterm"), path)) return {};
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] {
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
            // read "off" for a whole test once a GTK program had started.
            if (platform.accessibility) runOnWorker([&platform] { platform.accessibility->enable(); });
            g_context = platform.context();
        }
        const int status = RUN_ALL_TESTS();
        g_context = {};
        g_extractor = nullptr;
        releaseWorkerObjects(platform, &worker);
        g_worker = nullptr;
        return status;
    });
}
