// Private windows on real browsers: with an incognito or private window in
// front, the time is the browser's and nothing about the page is kept, in
// English and in German; the normal window behind it still gives its page,
// and undocked developer tools stand for the page they inspect.

#include <QDir>
#include <QFile>
#include <QThread>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"
#include "tracking/bridge/ScriptingTarget.h"

namespace {

constexpr int kPrivateTicks = 6;

// A Chromium of its own (profile, language and flags), so the test can open
// windows in it and choose the language of its interface.
struct Chromium final {
    QString profile;
    QString language;
    qint64 pid = -1;
    // Off: the browser asks the desktop at its start, as it does for users.
    bool forceAccessibility = true;

    QStringList command(const QStringList& more) const {
        QStringList arguments{QStringLiteral("LANGUAGE=") + language,
                              QStringLiteral("ACCESSIBILITY_ENABLED=") +
                                  QLatin1String(forceAccessibility ? "1" : "0"),
                              QStringLiteral("chromium"),
                              QStringLiteral("--no-sandbox"),
                              QStringLiteral("--disable-gpu"),
                              QStringLiteral("--no-first-run"),
                              QStringLiteral("--disable-background-networking"),
                              QStringLiteral("--disable-component-update"),
                              QStringLiteral("--disable-sync"),
                              QStringLiteral("--proxy-server=127.0.0.1:9"),
                              QStringLiteral("--user-data-dir=") + profile};
        if (forceAccessibility) arguments.append(QStringLiteral("--force-renderer-accessibility"));
        return arguments + more;
    }
    bool start(const QStringList& more) {
        pid = startInFront(
            [&] { return g_desktop->startProgram(QStringLiteral("env"), command(more)); });
        return pid > 0;
    }
    // Another window of the running browser.
    bool open(const QStringList& more) const {
        return g_desktop->run(QStringLiteral("env"), command(more), nullptr, 15000);
    }
    ~Chromium() {
        if (pid > 0) g_desktop->stopProgram(pid);
    }
};

QString freshProfile(const char* name) {
    const QString profile = g_desktop->stateDir() + QStringLiteral("/privacy-") + QLatin1String(name);
    QDir().mkpath(profile + QStringLiteral("/Default"));
    return profile;
}

bool isProcess(const Tick& t, qint64 pid) {
    const RunningApplication* application =
        t.front ? t.front->runningApplication() : nullptr;
    return application != nullptr && application->processIdentifier == pid;
}

bool showsPage(const Tick& t, qint64 pid, const QString& address) {
    return isProcess(t, pid) && t.completed && t.completed->activity.documentPath() == address;
}

// The mode the browser's front window reads as: the details must have gone
// because the window is private, not because nothing could be read.
QString frontWindowMode(qint64 pid) {
    QString mode;
    runOnWorker([&] {
        const auto target = g_context.scriptingTargets->targetForProcess(qint32(pid));
        const ScriptValue value = target->get({ScriptStep::element(QStringLiteral("cwin"), 1),
                                               ScriptStep::property(QStringLiteral("mode"))});
        if (const QString* text = value.string()) mode = *text;
    });
    return mode;
}

// Brings the window named `title` to the front, then expects every tick for
// a while to keep the browser's time and nothing about the page: not its
// address and not its title.
void expectPrivateWindowKeepsOnlyTheBrowser(qint64 pid, const QString& title) {
    const auto window = g_desktop->waitForWindowNamed(title, kWindowTimeoutMs);
    ASSERT_TRUE(window.has_value()) << "no window " << title.toStdString();
    ASSERT_TRUE(g_desktop->activateWindow(*window));
    Tick last;
    ASSERT_TRUE(waitForTick(
        [&](const Tick& t) { return isProcess(t, pid) && t.front->windowTitle().contains(title); },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    for (int i = 0; i < kPrivateTicks; ++i) {
        SCOPED_TRACE(i);
        const Tick t = i == 0 ? last : tick();
        ASSERT_TRUE(isProcess(t, pid)) << qPrintable(describe(t));
        ASSERT_TRUE(t.completed.has_value());
        EXPECT_FALSE(t.completed->activity.details().has_value()) << qPrintable(describe(t));
        QThread::msleep(kTickSpacingMs);
    }
    EXPECT_EQ(frontWindowMode(pid), QStringLiteral("incognito"));
}

void checkIncognitoInFrontOfNormal(const char* language) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    Chromium browser{freshProfile(language), QLatin1String(language)};
    ASSERT_TRUE(browser.start({page("one")}));
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, browser.pid, page("one")); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    bool restartNeeded = true;
    runOnWorker([&] { restartNeeded = g_extractor->startedBeforeAccessibility(*last.front); });
    EXPECT_FALSE(restartNeeded) << "a browser that shows its tree needs no restart";
    ASSERT_TRUE(browser.open({QStringLiteral("--incognito"), page("two")}));
    expectPrivateWindowKeepsOnlyTheBrowser(browser.pid, QStringLiteral("page two"));
    // The normal window is read again as soon as it is back in front.
    const auto normal = g_desktop->waitForWindowNamed(QStringLiteral("page one"), kWindowTimeoutMs);
    ASSERT_TRUE(normal && g_desktop->activateWindow(*normal));
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, browser.pid, page("one")); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
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
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return showsPage(t, pid, page("three")); },
                            kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    // The running browser opens the private window.
    ASSERT_TRUE(g_desktop->run(QStringLiteral("firefox-esr"),
                               {QStringLiteral("--profile"),
                                g_desktop->stateDir() + QStringLiteral("/firefox-profile"),
                                QStringLiteral("--private-window"), page("four")},
                               nullptr, 15000));
    expectPrivateWindowKeepsOnlyTheBrowser(pid, QStringLiteral("page four"));
    g_desktop->stopProgram(pid);
}

TEST(BrowserPrivacy, UndockedDeveloperToolsStandForTheInspectedPage) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    ASSERT_FALSE(site().isEmpty());
    const QString profile = freshProfile("tools");
    {
        QFile preferences(profile + QStringLiteral("/Default/Preferences"));
        ASSERT_TRUE(preferences.open(QIODevice::WriteOnly));
        preferences.write(R"({"devtools":{"preferences":{"currentDockState":"\"undocked\""}}})");
    }
    Chromium browser{profile, QStringLiteral("en")};
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

// Chromium reads the accessibility switch once, at its start: one started
// while it was off never shows its tree. Its time is still the browser's,
// and the dispatch says that it must be restarted.
TEST(BrowserPrivacy, ChromiumStartedBeforeAccessibilityKeepsItsTimeAndSaysSo) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("chromium");
    REQUIRE_TOOL("gdbus");
    ASSERT_FALSE(site().isEmpty());
    const auto switchAccessibility = [](bool on) {
        return g_desktop->run(
            QStringLiteral("gdbus"),
            {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
             QStringLiteral("org.a11y.Bus"), QStringLiteral("--object-path"),
             QStringLiteral("/org/a11y/bus"), QStringLiteral("--method"),
             QStringLiteral("org.freedesktop.DBus.Properties.Set"),
             QStringLiteral("org.a11y.Status"), QStringLiteral("IsEnabled"),
             QLatin1String(on ? "<true>" : "<false>")});
    };
    ASSERT_TRUE(switchAccessibility(false));
    Chromium browser{freshProfile("late"), QStringLiteral("en")};
    browser.forceAccessibility = false;
    const bool started = browser.start({page("one")});
    ASSERT_TRUE(switchAccessibility(true));
    ASSERT_TRUE(started);
    Tick last;
    bool said = false;
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) {
            if (!isProcess(t, browser.pid) || !t.completed) return false;
            runOnWorker([&] { said = g_extractor->startedBeforeAccessibility(t.completed->activity); });
            return said;
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    ASSERT_TRUE(last.completed.has_value());
    EXPECT_FALSE(last.completed->activity.details().has_value()) << qPrintable(describe(last));
}
