// The provider keeps what it found in the application in front until that
// application reports a change: these are the changes that leave the window
// title as it was, so only the application's own events can tell the next
// tick that the page or folder moved.

#include <QDir>
#include <QUrl>

#include <functional>
#include <vector>

#include "ExtractionDesktopSupport.h"

namespace {

bool press(const QString& keys) { return g_desktop->pressKeys(keys); }

// Types into the location bar of the window in front and goes there.
bool goTo(const QString& location) {
    return press(QStringLiteral("ctrl+l")) &&
           g_desktop->run(QStringLiteral("xdotool"),
                          {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), location}) &&
           press(QStringLiteral("Return"));
}

bool recorded(const Tick& tick, const QString& documentPath) {
    return tick.completed && tick.completed->activity.documentPath() == documentPath;
}

// Three pages titled alike; the first goes on to the second by itself, in
// the same tab, a few seconds after it showed.
QString sameTitledPage(const char* name) {
    static const QUrl site = [] {
        for (const char* page : {"same-a", "same-b", "same-c"}) {
            const QByteArray next = qstrcmp(page, "same-a") == 0
                                        ? "<meta http-equiv=\"refresh\" content=\"6;url=same-b.html\">"
                                        : "";
            g_desktop->writeFile(QStringLiteral("site/%1.html").arg(QLatin1String(page)),
                                 "<html><head><title>same title</title>" + next + "</head><body></body></html>");
        }
        return g_desktop->testSite();
    }();
    return site.resolved(QUrl(QLatin1String(name) + QStringLiteral(".html"))).toString();
}

struct Step final {
    const char* what;
    std::function<bool()> act;
    QString page;
};

void expectEachStepRecorded(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        ASSERT_TRUE(step.act());
        Tick last;
        EXPECT_TRUE(waitForTick([&](const Tick& t) { return recorded(t, step.page); }, kPageTimeoutMs, &last))
            << qPrintable(describe(last));
    }
}

}  // namespace

TEST(FollowingChangesOnDesktop, ChromiumPagesWithTheSameTitleAreToldApart) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    const qint64 pid = startInFront([] { return g_desktop->startChromium(sameTitledPage("same-a")); });
    ASSERT_GT(pid, 0);
    expectEachStepRecorded({
        {"first page", [] { return true; }, sameTitledPage("same-a")},
        {"a navigation in the tab", [] { return true; }, sameTitledPage("same-b")},
        {"a new tab", [] { return g_desktop->openChromiumTab(sameTitledPage("same-c")); }, sameTitledPage("same-c")},
        {"back to the first tab", [] { return press(QStringLiteral("ctrl+1")); }, sameTitledPage("same-b")},
        {"to the second tab", [] { return press(QStringLiteral("ctrl+2")); }, sameTitledPage("same-c")},
    });
    g_desktop->stopProgram(pid);
}

TEST(FollowingChangesOnDesktop, FirefoxTabsWithTheSameTitleAreToldApart) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    const qint64 pid = startInFront(
        [] { return g_desktop->startFirefox({sameTitledPage("same-b"), sameTitledPage("same-c")}); });
    ASSERT_GT(pid, 0);
    expectEachStepRecorded({
        {"first tab", [] { return true; }, sameTitledPage("same-b")},
        {"to the second tab", [] { return press(QStringLiteral("alt+2")); }, sameTitledPage("same-c")},
        {"back to the first tab", [] { return press(QStringLiteral("alt+1")); }, sameTitledPage("same-b")},
    });
    g_desktop->stopProgram(pid);
}

TEST(FollowingChangesOnDesktop, FileManagerFollowsAFolderChangeThatKeepsTheTitle) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("thunar");
    // Both folders are named "march": Thunar's title stays "march - Thunar".
    const QString first = QDir::homePath() + QStringLiteral("/invoices/2025/march");
    const QString second = QDir::homePath() + QStringLiteral("/invoices/2026/march");
    ASSERT_TRUE(QDir().mkpath(first) && QDir().mkpath(second));
    const auto url = [](const QString& path) { return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded); };
    const qint64 pid = startInFront([&] { return g_desktop->startProgram(QStringLiteral("thunar"), {first}); });
    ASSERT_GT(pid, 0);
    Tick last;
    ASSERT_TRUE(waitForTick([&](const Tick& t) { return recorded(t, url(first)); }, kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    ASSERT_TRUE(goTo(second));
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return recorded(t, url(second)); }, kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    g_desktop->stopProgram(pid);
}
