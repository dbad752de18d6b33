// Real browsers' pages: with an incognito or private window in front the
// time is the browser's and nothing about the page is kept, in English and
// in German, while the normal window behind still gives its page; Firefox's
// address follows its tabs; a browser started before accessibility was on
// keeps its time and says so.

#include <QThread>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"
#include "tracking/bridge/ScriptingTarget.h"

namespace {

QString page(const char* name) { return g_desktop->testPage(name); }

bool showsPage(const Tick& t, qint64 pid, const QString& address) {
    return completedFor(t, pid) && t.completed->activity.documentPath() == address;
}

void expectPage(qint64 pid, const QString& address) {
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, pid, address); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
}

qint64 startChromiumInFront(const QString& url, const ChromiumOptions& options = {}) {
    return startInFront([&] { return g_desktop->startChromium(url, options); });
}

// What the front window's mode reads as: the details must be gone because
// the window is private, not because nothing could be read.
QString frontWindowMode(qint64 pid) {
    QString mode;
    runOnWorker([&] {
        const ScriptValue value = g_context.scriptingTargets->targetForProcess(qint32(pid))
                                      ->get({ScriptStep::element(QStringLiteral("cwin"), 1),
                                             ScriptStep::property(QStringLiteral("mode"))});
        if (const QString* text = value.string()) mode = *text;
    });
    return mode;
}

// Brings the window named `title` to the front; every tick for a while then
// keeps the browser's time and nothing of the page, neither address nor title.
void expectPrivateWindowKeepsOnlyTheBrowser(qint64 pid, const QString& title) {
    const auto window = g_desktop->waitForWindowNamed(title, kWindowTimeoutMs);
    ASSERT_TRUE(window && g_desktop->activateWindow(*window));
    Tick t;
    ASSERT_TRUE(waitForTick(
        [&](const Tick& x) { return completedFor(x, pid) && x.front->windowTitle().contains(title); },
        kPageTimeoutMs, &t));
    for (int i = 0; i < 6; ++i, QThread::msleep(kTickSpacingMs), t = tick()) {
        ASSERT_TRUE(completedFor(t, pid)) << qPrintable(describe(t));
        EXPECT_FALSE(t.completed->activity.details().has_value()) << qPrintable(describe(t));
    }
    EXPECT_EQ(frontWindowMode(pid), QStringLiteral("incognito"));
}

bool switchAccessibility(bool on) {
    return g_desktop->run(QStringLiteral("gdbus"),
                          QStringLiteral("call --session --dest org.a11y.Bus --object-path "
                                         "/org/a11y/bus --method "
                                         "org.freedesktop.DBus.Properties.Set org.a11y.Status "
                                         "IsEnabled")
                                  .split(QLatin1Char(' ')) +
                              QStringList{QLatin1String(on ? "<true>" : "<false>")});
}

}  // namespace

TEST(BrowserPrivacy, ChromiumIncognitoWindowInFrontOfANormalOneKeepsOnlyTheBrowserInAnyLanguage) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    for (const char* language : {"en", "de"}) {
        SCOPED_TRACE(language);
        ChromiumOptions inLanguage;
        inLanguage.language = QLatin1String(language);
        const qint64 pid = startChromiumInFront(page("one"), inLanguage);
        ASSERT_GT(pid, 0);
        expectPage(pid, page("one"));
        ASSERT_TRUE(g_desktop->openChromiumTab(page("two"), {QStringLiteral("--incognito")}));
        expectPrivateWindowKeepsOnlyTheBrowser(pid, QStringLiteral("page two"));
        const auto normal = g_desktop->waitForWindowNamed(QStringLiteral("page one"), kWindowTimeoutMs);
        ASSERT_TRUE(normal && g_desktop->activateWindow(*normal));
        expectPage(pid, page("one"));
        g_desktop->stopProgram(pid);
    }
}

// The page address follows Firefox's tabs, and a private window keeps only
// the browser.
TEST(BrowserPrivacy, FirefoxPrivateWindowKeepsOnlyTheBrowser) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    const qint64 pid = startInFront([] { return g_desktop->startFirefox({page("three"), page("four")}); });
    ASSERT_GT(pid, 0);
    for (const auto& [keys, name] : {std::pair{"alt+1", "three"}, std::pair{"alt+2", "four"}}) {
        SCOPED_TRACE(keys);
        ASSERT_TRUE(g_desktop->pressKeys(QLatin1String(keys)));
        expectPage(pid, page(name));
    }
    ASSERT_TRUE(g_desktop->run(
        QStringLiteral("firefox-esr"),
        {QStringLiteral("--profile"), g_desktop->stateDir() + QStringLiteral("/firefox-profile"),
         QStringLiteral("--private-window"), page("one")},
        nullptr, 15000));
    expectPrivateWindowKeepsOnlyTheBrowser(pid, QStringLiteral("page one"));
    g_desktop->stopProgram(pid);
}

// Chromium reads the accessibility switch once, at its start.
TEST(BrowserPrivacy, ChromiumStartedBeforeAccessibilityKeepsItsTimeAndSaysSo) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    REQUIRE_TOOL("gdbus");
    ASSERT_TRUE(switchAccessibility(false));
    ChromiumOptions asksTheDesktop;
    asksTheDesktop.forceAccessibility = false;
    const qint64 pid = startChromiumInFront(page("one"), asksTheDesktop);
    ASSERT_TRUE(switchAccessibility(true));
    ASSERT_GT(pid, 0);
    Tick last;
    bool said = false;
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) {
            if (completedFor(t, pid)) {
                runOnWorker(
                    [&] { said = g_extractor->startedBeforeAccessibility(t.completed->activity); });
            }
            return said;
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    ASSERT_TRUE(last.completed.has_value());
    EXPECT_FALSE(last.completed->activity.details().has_value()) << qPrintable(describe(last));
    g_desktop->stopProgram(pid);
}
