#pragma once
// What the desktop tests share: one disposable desktop per test process
// (CTest runs each test in its own process), the platform objects under
// test bound to it, and pages served from 127.0.0.1.

#include <gtest/gtest.h>

#include <QString>
#include <QUrl>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/AtspiAccessibility.h"
#include "harness/DisposableDesktop.h"
#include "platform/linux/XcbWindowSystem.h"

inline constexpr int kWindowTimeoutMs = 20000;
inline constexpr int kPageTimeoutMs = 30000;

extern std::unique_ptr<DisposableDesktop> g_desktop;  // null when none could start
extern QString g_whyNoDesktop;

XcbWindowSystem& windows();
AtspiAccessibilityProvider& accessibility();  // used on the test's main thread only
QUrl site();                                  // pages one..four.html, served once
QString page(const char* name);               // the address of "<name>.html"
qint64 startTitledXterm(const QString& title);
bool waitForFrontProcess(qint64 pid);
// A process's state letter from /proc (R, S, T, Z...), '?' when it is gone.
char processState(qint64 pid);
// For failure messages: each process's state letter and the desktop's
// windows with their pids.
QString processSummary(const std::vector<qint64>& pids);
// Starts an xterm titled `title`, brings its window to the front and
// returns its pid and window (no window when that failed).
std::pair<qint64, std::optional<quint64>> startFrontXterm(const QString& title);

#define REQUIRE_DESKTOP()                                                                          \
    do {                                                                                           \
        if (!g_desktop) GTEST_SKIP() << "no disposable desktop: " << qPrintable(g_whyNoDesktop); \
    } while (false)
