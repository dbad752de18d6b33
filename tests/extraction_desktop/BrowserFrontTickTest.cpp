// A browser that comes back to the front gives its page address from the
// first or second tick, as the tracking loop ticks: once a second, the
// worker step right after the front-window step. A miss here is a whole
// visit recorded without its page.

#include <QThread>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"

namespace {

constexpr int kSwitches = 4;
constexpr int kLoopTickMs = 1000;

bool showsPage(const Tick& t, qint64 pid, const QString& address) {
    const RunningApplication* application = t.front ? t.front->runningApplication() : nullptr;
    return application != nullptr && application->processIdentifier == pid && t.completed &&
           t.completed->activity.documentPath() == address;
}

// Switches between a terminal and the browser; after each return to the
// browser, one of the next two ticks must carry the page address.
void checkAddressAfterComingToFront(qint64 browser, const QString& address) {
    Tick last;
    ASSERT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, browser, address); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    const qint64 terminal = startInFront([] { return startTitledXterm(QStringLiteral("elsewhere")); });
    ASSERT_GT(terminal, 0);
    const auto terminalWindow = g_desktop->waitForWindowOfProcess(terminal, kWindowTimeoutMs);
    const auto browserWindow = g_desktop->waitForWindowOfProcess(browser, kWindowTimeoutMs);
    ASSERT_TRUE(terminalWindow && browserWindow);
    for (int i = 0; i < kSwitches; ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(g_desktop->activateWindow(*terminalWindow));
        tick();
        QThread::msleep(kLoopTickMs);
        tick();
        // The user comes back somewhere within the loop's second.
        QThread::msleep(kLoopTickMs / kSwitches * i);
        ASSERT_TRUE(g_desktop->activateWindow(*browserWindow));
        QThread::msleep(kLoopTickMs - kLoopTickMs / kSwitches * i);
        const Tick first = tick();
        QThread::msleep(kLoopTickMs);
        const Tick second = tick();
        EXPECT_TRUE(showsPage(first, browser, address) || showsPage(second, browser, address))
            << "first tick: " << qPrintable(describe(first))
            << "\nsecond tick: " << qPrintable(describe(second));
    }
    g_desktop->stopProgram(terminal);
}

}  // namespace

TEST(BrowserFrontTick, ChromiumGivesItsPageFromTheFirstOrSecondTick) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startInFront([] { return g_desktop->startChromium(page("one")); });
    ASSERT_GT(pid, 0);
    checkAddressAfterComingToFront(pid, page("one"));
    g_desktop->stopProgram(pid);
}

TEST(BrowserFrontTick, FirefoxGivesItsPageFromTheFirstOrSecondTick) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startInFront([] { return g_desktop->startFirefox({page("two")}); });
    ASSERT_GT(pid, 0);
    checkAddressAfterComingToFront(pid, page("two"));
    g_desktop->stopProgram(pid);
}
