// Browsers on pages served from 127.0.0.1: after the worker step the page
// address is the activity's document path, and it follows new tabs and tab
// switches. Each browser starts once and is checked in that one run. The
// first answers after a start may be empty, so every check polls ticks.

#include <functional>
#include <vector>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"

namespace {

struct TabStep final {
    const char* what;
    std::function<bool()> act;  // what the user does
    QString page;               // the address that must follow
};

bool pressKeys(const char* keys) {
    return g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("key"), QLatin1String(keys)});
}

// Every step in turn; each must bring its page's address as document path,
// still for the browser's own process and with the page in the title.
void followTabs(qint64 pid, const QString& id, const QString& extractor,
                const std::vector<TabStep>& steps) {
    for (const TabStep& step : steps) {
        SCOPED_TRACE(step.what);
        ASSERT_TRUE(step.act());
        // The browser renames its window a moment after it shows the other
        // tab's document, so one tick may see the new address with the old
        // title: the two agree by the next.
        const QString pageTitle =
            QStringLiteral("page ") +
            step.page.section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, 0);
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return t.completed && t.completed->activity.documentPath() == step.page &&
                       t.completed->activity.windowTitle().contains(pageTitle);
            },
            kPageTimeoutMs, &last))
            << qPrintable(describe(last));
        if (!last.completed) continue;
        const RunningApplication* application = last.front->runningApplication();
        ASSERT_NE(application, nullptr);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(application->bundleIdentifier, id);
        EXPECT_EQ(last.completed->extractor, extractor);
    }
}

}  // namespace

TEST(ExtractionInBrowsers, ChromiumPageAddressIsTheDocumentPathAndFollowsTabs) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startInFront([] { return g_desktop->startChromium(page("one")); });
    ASSERT_GT(pid, 0);
    followTabs(pid, QStringLiteral("chromium"), QStringLiteral("TRChromeInfoExtractor"),
               {{"first page", [] { return true; }, page("one")},
                {"a new tab", [] { return g_desktop->openChromiumTab(page("two")); }, page("two")},
                {"back to the first tab", [] { return pressKeys("ctrl+1"); }, page("one")},
                {"to the second tab", [] { return pressKeys("ctrl+2"); }, page("two")}});
    g_desktop->stopProgram(pid);
}

TEST(ExtractionInBrowsers, FirefoxPageAddressIsTheDocumentPathAndFollowsTabs) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startInFront([] {
        return g_desktop->startFirefox({page("three"), page("four")});
    });
    ASSERT_GT(pid, 0);
    // Keys reach the tabs only once a page is showing.
    Tick last;
    ASSERT_TRUE(waitForTick(
        [](const Tick& t) {
            return t.completed &&
                   t.completed->activity.documentPath().startsWith(site().toString());
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    followTabs(pid, QStringLiteral("firefox-esr"), QStringLiteral("TRFirefoxInfoExtractor"),
               {{"first tab", [] { return pressKeys("alt+1"); }, page("three")},
                {"second tab", [] { return pressKeys("alt+2"); }, page("four")},
                {"first tab again", [] { return pressKeys("alt+1"); }, page("three")}});
    g_desktop->stopProgram(pid);
}
