#pragma once
// What the extraction desktop tests share: the disposable desktop, the
// helper's real platform objects bound to it and installed as the
// extraction context, and the tracking worker.
//
// The two steps of a tick run where the tracking loop runs them:
// currentActivity() on the test's main thread, the worker step
// (callInfoExtractorForActivity) on one worker thread for the whole process,
// since the accessibility provider serves a single thread.

#include <QString>
#include <functional>
#include <optional>

#include "core/TRActivity.h"
#include "harness/DesktopTest.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRInfoExtractor.h"

inline constexpr int kTickSpacingMs = 200;

extern TRExtractionContext g_context;
extern TRInfoExtractor* g_extractor;

struct WorkerStep final {
    TRActivity activity;
    QString extractor;  // the extractor that ran
    double wallMs = 0;  // time spent in the step on the worker
};
// Any work that must run on the worker, waited for.
void runOnWorker(const std::function<void()>& task);

// The worker step for `activity`, waited for.
WorkerStep runWorkerStep(const TRActivity& activity);

// One tick: currentActivity() here, then the worker step when there is an
// activity.
struct Tick final {
    std::optional<TRActivity> front;  // what currentActivity() answered
    std::optional<WorkerStep> completed;
};
Tick tick();
// Ticks every kTickSpacingMs until `done` holds; the last tick is left in
// `last` either way.
bool waitForTick(const std::function<bool(const Tick&)>& done, int timeoutMs, Tick* last);
// A printable account of a tick, for failure messages.
QString describe(const Tick& tick);

// With the application in front no longer answering: one worker step runs
// while the main thread asks for the current activity `mainRounds` times,
// then a second worker step.
struct BlockedRun final {
    double slowestMainMs = 0;
    WorkerStep first;
    WorkerStep second;
};
BlockedRun runWhileBlocked(qint64 pid, int mainRounds);

// Starts a program and brings it to the front; -1 on failure.
qint64 startInFront(const std::function<qint64()>& start);
// The application the tick found in front, if any.
const RunningApplication* applicationOf(const Tick& tick);
// Whether the worker step ran with the process `pid` in front.
bool completedFor(const Tick& tick, qint64 pid);
// A copy of the xterm executable under another file name (a copy, since the
// executable's path is read from /proc/PID/exe, which resolves links).
QString copyOfXterm(const QString& fileName);
