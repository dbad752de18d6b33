// Private windows on real browsers: with an incognito or private window in
// front the time is the browser's and nothing about the page is kept, in
// English and in German, while the normal window behind still gives its
// page; undocked developer tools stand for the page they inspect; a browser
// started before accessibility was on keeps its time and says so.

#include <QDir>
#include <QFile>
#include <QThread>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"
#include "tracking/bridge/ScriptingTarget.h"

namespace {

QUrl site() { return g_desktop->testSite(); }
QString page(const char* name) { return g_desktop->testPage(name); }

// One tick: the front activity, then the worker step when there is one.
Tick tick() {
    Tick t{g_extractor->currentActivity(), std::nullopt};
    if (t.front) t.completed = runWorkerStep(*t.front);
    return t;
}

// A Chromium of its own, so a test can choose its language, open windows in
// it, and leave the accessibility switch to the desktop.
struct Chromium final {
    QString profile;
    QString language = QStringLiteral("en");
    bool forceAccessibility = true;  // off: asks the desktop at its start
    qint64 pid = -1;

    QStringList command(const QStringList& more) const {
        return QStringList{QStringLiteral("LANGUAGE=") + language,
                           QStringLiteral("ACCESSIBILITY_ENABLED=%1").arg(int(forceAccessibility)),
                           QStringLiteral("chromium"),
                           QStringLiteral("--user-data-dir=") + profile} +
               QStringLiteral(
                   "--no-sandbox --disable-gpu --no-first-run --disable-sync "
                   "--disable-background-networking --disable-component-update "
                   "--proxy-server=127.0.0.1:9")
                   .split(QLatin1Char(' ')) +
               (forceAccessibility ? QStringList{QStringLiteral("--force-renderer-accessibility")}
                                   : QStringList{}) +
               more;
    }
    bool start(const QStringList& more) {
        QDir().mkpath(profile + QStringLiteral("/Default"));
        pid = startInFront(
            [&] { return g_desktop->startProgram(QStringLiteral("env"), command(more)); });
        return pid > 0;
    }
    bool open(const QStringList& more) const {  // another window of the running browser
        return g_desktop->run(QStringLiteral("env"), command(more), nullptr, 15000);
    }
    ~Chromium() { g_desktop->stopProgram(pid); }
};

QString profile(const char* name) {
    return g_desktop->stateDir() + QStringLiteral("/privacy-") + QLatin1String(name);
}

bool isProcess(const Tick& t, qint64 pid) {
    const RunningApplication* application = t.front ? t.front->runningApplication() : nullptr;
    return application != nullptr && application->processIdentifier == pid && t.completed;
}

bool showsPage(const Tick& t, qint64 pid, const QString& address) {
    return isProcess(t, pid) && t.completed->activity.documentPath() == address;
}

void expectPage(qint64 pid, const QString& address) {
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, pid, address); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
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
        [&](const Tick& x) { return isProcess(x, pid) && x.front->windowTitle().contains(title); },
        kPageTimeoutMs, &t));
    for (int i = 0; i < 6; ++i, QThread::msleep(kTickSpacingMs), t = tick()) {
        ASSERT_TRUE(isProcess(t, pid)) << qPrintable(describe(t));
        EXPECT_FALSE(t.completed->activity.details().has_value()) << qPrintable(describe(t));
    }
    EXPECT_EQ(frontWindowMode(pid), QStringLiteral("incognito"));
}

void checkIncognitoInFrontOfNormal(const char* language) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    Chromium browser{profile(language), QLatin1String(language)};
    ASSERT_TRUE(browser.start({page("one")}));
    expectPage(browser.pid, page("one"));
    ASSERT_TRUE(browser.open({QStringLiteral("--incognito"), page("two")}));
    expectPrivateWindowKeepsOnlyTheBrowser(browser.pid, QStringLiteral("page two"));
    const auto normal = g_desktop->waitForWindowNamed(QStringLiteral("page one"), kWindowTimeoutMs);
    ASSERT_TRUE(normal && g_desktop->activateWindow(*normal));
    expectPage(browser.pid, page("one"));
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

TEST(BrowserPrivacy, ChromiumIncognitoWindowInFrontOfANormalOneKeepsOnlyTheBrowser) {
    checkIncognitoInFrontOfNormal("en");
}

TEST(BrowserPrivacy, ChromiumIncognitoWindowKeepsOnlyTheBrowserInGerman) {
    checkIncognitoInFrontOfNormal("de");
}

TEST(BrowserPrivacy, FirefoxPrivateWindowKeepsOnlyTheBrowser) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startInFront([] { return g_desktop->startFirefox({page("three")}); });
    ASSERT_GT(pid, 0);
    expectPage(pid, page("three"));
    ASSERT_TRUE(g_desktop->run(
        QStringLiteral("firefox-esr"),
        {QStringLiteral("--profile"), g_desktop->stateDir() + QStringLiteral("/firefox-profile"),
         QStringLiteral("--private-window"), page("four")},
        nullptr, 15000));
    expectPrivateWindowKeepsOnlyTheBrowser(pid, QStringLiteral("page four"));
    g_desktop->stopProgram(pid);
}

TEST(BrowserPrivacy, UndockedDeveloperToolsStandForTheInspectedPage) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    Chromium browser{profile("tools")};
    QDir().mkpath(browser.profile + QStringLiteral("/Default"));
    QFile preferences(browser.profile + QStringLiteral("/Default/Preferences"));
    ASSERT_TRUE(preferences.open(QIODevice::WriteOnly));
    preferences.write(R"({"devtools":{"preferences":{"currentDockState":"\"undocked\""}}})");
    preferences.close();
    ASSERT_TRUE(browser.start({QStringLiteral("--auto-open-devtools-for-tabs"), page("one")}));
    const auto tools = g_desktop->waitForWindowNamed(QStringLiteral("DevTools"), kWindowTimeoutMs);
    ASSERT_TRUE(tools && g_desktop->activateWindow(*tools));
    Tick last;
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) {
            return showsPage(t, browser.pid, page("one")) &&
                   t.completed->activity.windowTitle().startsWith(QLatin1String("DevTools"));
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
}

// Chromium reads the accessibility switch once, at its start.
TEST(BrowserPrivacy, ChromiumStartedBeforeAccessibilityKeepsItsTimeAndSaysSo) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    REQUIRE_TOOL("gdbus");
    ASSERT_FALSE(site().isEmpty());
    ASSERT_TRUE(switchAccessibility(false));
    Chromium browser{profile("late")};
    browser.forceAccessibility = false;
    const bool started = browser.start({page("one")});
    ASSERT_TRUE(switchAccessibility(true));
    ASSERT_TRUE(started);
    Tick last;
    bool said = false;
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) {
            if (isProcess(t, browser.pid)) {
                runOnWorker(
                    [&] { said = g_extractor->startedBeforeAccessibility(t.completed->activity); });
            }
            return said;
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    ASSERT_TRUE(last.completed.has_value());
    EXPECT_FALSE(last.completed->activity.details().has_value()) << qPrintable(describe(last));
}
