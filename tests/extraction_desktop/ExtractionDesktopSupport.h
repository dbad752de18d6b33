#pragma once
// What the extraction desktop tests share: one disposable desktop per test
// process (CTest runs each test in its own process), the helper's real
// platform objects bound to it and installed as the extraction context, and
// the tracking worker.
//
// The two steps of a tick run where the tracking loop runs them:
// currentActivity() on the test's main thread, the worker step
// (callInfoExtractorForActivity) on one worker thread for the whole process,
// since the accessibility provider serves a single thread.

#include <gtest/gtest.h>

#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>

#include "harness/DisposableDesktop.h"
#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRInfoExtractor.h"

inline constexpr int kWindowTimeoutMs = 20000;
inline constexpr int kPageTimeoutMs = 30000;
inline constexpr int kTickSpacingMs = 200;

extern std::unique_ptr<DisposableDesktop> g_desktop;  // null when none could start
extern QString g_whyNoDesktop;
// The helper's platform objects on the desktop, and the dispatch over them.
extern TRExtractionContext g_context;
extern TRInfoExtractor* g_extractor;

// The worker step on the worker thread, waited for.
struct WorkerStep final {
    TRActivity activity;
    QString extractor;  // the extractor that ran
    double wallMs = 0;  // time spent in the step on the worker
};
WorkerStep runWorkerStep(const TRActivity& activity);
// The same in two halves, so the main thread can go on meanwhile: `step`
// (its activity set) must live until waitForWorker() has returned.
void submitWorkerStep(WorkerStep& step);
void waitForWorker();
// Any other work that must run on the worker, waited for.
void runOnWorker(const std::function<void()>& task);

// One tick: currentActivity() here, then the worker step when there is an
// activity.
struct Tick final {
    std::optional<TRActivity> front;  // what currentActivity() answered
    std::optional<WorkerStep> completed;
};
Tick tick();

// Ticks every kTickSpacingMs until `done` holds for a completed tick; the
// last tick is left in `last` either way.
bool waitForTick(const std::function<bool(const Tick&)>& done, int timeoutMs, Tick* last);

// Pages "one".."four" served from 127.0.0.1.
QUrl site();
QString page(const char* name);

// Starts a program, waits for its window, activates it and waits until the
// window system reports it in front. -1 when any of that failed.
qint64 startInFront(const std::function<qint64()>& start);
bool waitForFrontProcess(qint64 pid);
// An xterm whose window is named `title` and that stays open, and the
// arguments that make any xterm so.
qint64 startTitledXterm(const QString& title, const QStringList& moreArguments = {});
QStringList xtermArguments(const QString& title, const QStringList& moreArguments = {});
// A copy of the xterm executable under another file name (a copy, since the
// executable's path is read from /proc/PID/exe, which resolves links).
QString copyOfXterm(const QString& fileName);

// A printable account of a tick, for failure messages.
QString describe(const Tick& tick);

#define REQUIRE_DESKTOP()                                                                        \
    do {                                                                                         \
        if (!g_desktop) GTEST_SKIP() << "no disposable desktop: " << qPrintable(g_whyNoDesktop); \
    } while (false)

#define REQUIRE_TOOL(tool)                                                     \
    do {                                                                       \
        if (!DisposableDesktop::missingTool({QStringLiteral(tool)}).isEmpty()) \
            GTEST_SKIP() << "no " tool;                                        \
    } while (false)
