#pragma once
// What the desktop tests share: one disposable desktop per test process
// (CTest runs each test in its own), started in main() before anything
// connects to X or a bus, and stopped after the last test.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "harness/DisposableDesktop.h"
#include "platform/WindowSystem.h"

inline constexpr int kWindowTimeoutMs = 20000;
inline constexpr int kPageTimeoutMs = 30000;

extern std::unique_ptr<DisposableDesktop> g_desktop;  // null when none could start
extern QString g_whyNoDesktop;

// main() of a desktop test binary: the desktop (not for test discovery),
// this process in its environment, a QCoreApplication, then `runTests`
// (which calls RUN_ALL_TESTS and may set up and release objects around it).
int runOnDesktop(int argc, char** argv, const std::function<int()>& runTests);

// Starts a program, waits for its window, activates it and waits until
// `windows` reports it in front. -1 when any of that failed.
qint64 startInFront(WindowSystem& windows, const std::function<qint64()>& start);
bool waitForFrontProcess(WindowSystem& windows, qint64 pid);
// A process's state letter from /proc (R, S, T, Z...), '?' when it is gone.
char processState(qint64 pid);

#define REQUIRE_DESKTOP()                                                                        \
    do {                                                                                         \
        if (!g_desktop) GTEST_SKIP() << "no disposable desktop: " << qPrintable(g_whyNoDesktop); \
    } while (false)

#define REQUIRE_TOOL(tool)                                                     \
    do {                                                                       \
        if (!DisposableDesktop::missingTool({QStringLiteral(tool)}).isEmpty()) \
            GTEST_SKIP() << "no " tool;                                        \
    } while (false)
