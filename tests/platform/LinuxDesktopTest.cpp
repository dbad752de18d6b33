// The Linux platform layer against a real X server, window manager,
// accessibility bus and real applications, on a disposable desktop.
// One desktop per test process; each browser test starts its browser once
// and checks everything about it in that one run.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <signal.h>

#include "AtspiAccessibility.h"
#include "AtspiScriptingTargets.h"
#include "DisposableDesktop.h"
#include "LinuxRunningApplications.h"
#include "XcbWindowSystem.h"

namespace {

constexpr int kWindowTimeoutMs = 20000;
constexpr int kPageTimeoutMs = 30000;

std::unique_ptr<DisposableDesktop> g_desktop;
QString g_whyNoDesktop;

// Pages served from 127.0.0.1 for the browser tests.
QUrl site() {
    static QUrl url;
    if (!url.isEmpty()) return url;
    const QString folder = g_desktop->stateDir() + QStringLiteral("/site");
    QDir().mkpath(folder);
    for (const char* page : {"one", "two", "three", "four"}) {
        QFile file(folder + QLatin1Char('/') + QLatin1String(page) + QStringLiteral(".html"));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(QByteArray("<html><head><title>page ") + page + "</title></head><body><p>" +
                       page + "</p></body></html>");
        }
    }
    url = g_desktop->startHttpServer(folder);
    return url;
}

QString page(const char* name) {
    return site().resolved(QUrl(QLatin1String(name) + QStringLiteral(".html"))).toString();
}

#define REQUIRE_DESKTOP()                                                                \
    do {                                                                                 \
        if (!g_desktop) GTEST_SKIP() << "no disposable desktop: " << qPrintable(g_whyNoDesktop); \
    } while (false)

}  // namespace

namespace {

XcbWindowSystem& windows() {
    static XcbWindowSystem instance;
    return instance;
}

AtspiAccessibilityProvider& accessibility() {
    static AtspiAccessibilityProvider instance;
    return instance;
}

qint64 startTitledXterm(const QString& title) {
    return g_desktop->startXterm({QStringLiteral("-T"), title, QStringLiteral("-e"),
                                  QStringLiteral("sleep"), QStringLiteral("600")});
}

bool waitForFrontProcess(qint64 pid) {
    return DisposableDesktop::waitUntil(
        [pid] { return windows().frontProcessIdentifier() == std::optional<qint32>(qint32(pid)); },
        5000);
}

std::vector<qint32> listedProcesses() {
    std::vector<qint32> pids;
    for (const WindowInfo& info : windows().windowList()) pids.push_back(info.ownerProcessIdentifier);
    return pids;
}

qsizetype positionOf(const std::vector<qint32>& pids, qint64 pid) {
    const auto at = std::find(pids.begin(), pids.end(), qint32(pid));
    return at == pids.end() ? -1 : qsizetype(at - pids.begin());
}

}  // namespace

TEST(XcbWindowSystemTest, FrontWindowOfXtermHasItsTitleClassAndProcess) {
    REQUIRE_DESKTOP();
    ASSERT_TRUE(windows().isAvailable());
    const qint64 pid = startTitledXterm(QStringLiteral("vorlix title check"));
    const auto window = g_desktop->waitForWindowOfProcess(pid, kWindowTimeoutMs);
    ASSERT_TRUE(window);
    ASSERT_TRUE(g_desktop->activateWindow(*window));
    ASSERT_TRUE(waitForFrontProcess(pid));

    const auto front = windows().frontWindow();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->windowId, *window);
    EXPECT_EQ(front->processIdentifier, pid);
    EXPECT_EQ(front->name, QStringLiteral("vorlix title check"));
    EXPECT_EQ(front->instance, QStringLiteral("xterm"));
    EXPECT_EQ(front->className, QStringLiteral("XTerm"));
    EXPECT_EQ(windows().activeWindow(), std::optional<quint64>(*window));
    g_desktop->stopProgram(pid);
}

TEST(XcbWindowSystemTest, FrontProcessFollowsAWindowSwitch) {
    REQUIRE_DESKTOP();
    const qint64 first = startTitledXterm(QStringLiteral("vorlix first"));
    const qint64 second = startTitledXterm(QStringLiteral("vorlix second"));
    const auto firstWindow = g_desktop->waitForWindowOfProcess(first, kWindowTimeoutMs);
    const auto secondWindow = g_desktop->waitForWindowOfProcess(second, kWindowTimeoutMs);
    ASSERT_TRUE(firstWindow && secondWindow);

    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(g_desktop->activateWindow(*firstWindow));
        EXPECT_TRUE(waitForFrontProcess(first));
        ASSERT_TRUE(g_desktop->activateWindow(*secondWindow));
        EXPECT_TRUE(waitForFrontProcess(second));
    }
    g_desktop->stopProgram(first);
    g_desktop->stopProgram(second);
}

TEST(XcbWindowSystemTest, WindowListRunsFrontToBackAndLeavesOutMinimisedWindows) {
    REQUIRE_DESKTOP();
    const qint64 back = startTitledXterm(QStringLiteral("vorlix back"));
    const qint64 front = startTitledXterm(QStringLiteral("vorlix front"));
    const auto backWindow = g_desktop->waitForWindowOfProcess(back, kWindowTimeoutMs);
    const auto frontWindow = g_desktop->waitForWindowOfProcess(front, kWindowTimeoutMs);
    ASSERT_TRUE(backWindow && frontWindow);
    ASSERT_TRUE(g_desktop->activateWindow(*backWindow));
    ASSERT_TRUE(g_desktop->activateWindow(*frontWindow));
    ASSERT_TRUE(waitForFrontProcess(front));

    std::vector<qint32> pids = listedProcesses();
    EXPECT_EQ(positionOf(pids, front), 0);
    EXPECT_GT(positionOf(pids, back), 0);
    for (const WindowInfo& info : windows().windowList()) {
        if (info.ownerProcessIdentifier == front) {
            EXPECT_EQ(info.name, QStringLiteral("vorlix front"));
        }
        EXPECT_EQ(info.sharingState, 1);
    }

    ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"),
                               {QStringLiteral("windowminimize"), QStringLiteral("--sync"),
                                QString::number(*frontWindow)}));
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return positionOf(listedProcesses(), front) == -1; }, 5000));
    EXPECT_GE(positionOf(listedProcesses(), back), 0);
    g_desktop->stopProgram(front);
    g_desktop->stopProgram(back);
}

// Window managers write 0 for an instant between two focus changes.
TEST(XcbWindowSystemTest, ActiveWindowOfZeroIsAGapNotAProcess) {
    REQUIRE_DESKTOP();
    const qint64 pid = startTitledXterm(QStringLiteral("vorlix gap"));
    const auto window = g_desktop->waitForWindowOfProcess(pid, kWindowTimeoutMs);
    ASSERT_TRUE(window);
    ASSERT_TRUE(g_desktop->activateWindow(*window));
    ASSERT_TRUE(waitForFrontProcess(pid));
    ASSERT_TRUE(g_desktop->run(QStringLiteral("xprop"),
                               {QStringLiteral("-root"), QStringLiteral("-f"),
                                QStringLiteral("_NET_ACTIVE_WINDOW"), QStringLiteral("32x"),
                                QStringLiteral("-set"), QStringLiteral("_NET_ACTIVE_WINDOW"),
                                QStringLiteral("0")}));
    EXPECT_EQ(windows().activeWindow(), std::nullopt);
    EXPECT_EQ(windows().frontProcessIdentifier(), std::nullopt);
    EXPECT_FALSE(windows().frontWindow().has_value());
    g_desktop->stopProgram(pid);
}

namespace {

struct IdentityCase final {
    const char* name;
    std::function<qint64()> start;
    QString bundleIdentifier;  // null: no application id
    QString identifier;
    QString localizedName;
};

}  // namespace

TEST(LinuxRunningApplicationsTest, IdentifiesRealApplicationsByTheirDesktopEntries) {
    REQUIRE_DESKTOP();
    const QString file = g_desktop->stateDir() + QStringLiteral("/home/notes.txt");
    QFile notes(file);
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("some notes\n");
    notes.close();

    const std::vector<IdentityCase> cases = {
        {"xterm", [] { return startTitledXterm(QStringLiteral("vorlix identity")); },
         QStringLiteral("debian-xterm"), QStringLiteral("debian-xterm"), QStringLiteral("XTerm")},
        {"mousepad", [&] { return g_desktop->startMousepad(file); }, QStringLiteral("org.xfce.mousepad"),
         QStringLiteral("org.xfce.mousepad"), QStringLiteral("Mousepad")},
        {"gedit", [&] { return g_desktop->startGedit(file); }, QStringLiteral("org.gnome.gedit"),
         QStringLiteral("org.gnome.gedit"), QStringLiteral("gedit")},
        {"xmessage (no desktop entry)",
         [] { return g_desktop->startProgram(QStringLiteral("xmessage"), {QStringLiteral("vorlix")}); },
         QString(), QStringLiteral("xmessage"), QStringLiteral("Xmessage")},
    };
    LinuxRunningApplications applications(windows());
    for (const IdentityCase& c : cases) {
        SCOPED_TRACE(c.name);
        const qint64 pid = c.start();
        if (pid <= 0) {
            ADD_FAILURE() << "could not start";
            continue;
        }
        ASSERT_TRUE(DisposableDesktop::waitUntil(
            [&] { return windows().windowHintsForProcess(qint32(pid)).has_value(); }, kWindowTimeoutMs));
        const std::optional<RunningApplication> application =
            applications.runningApplication(qint32(pid));
        ASSERT_TRUE(application);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(application->bundleIdentifier, c.bundleIdentifier);
        EXPECT_EQ(application->bundleIdentifier.isNull(), c.bundleIdentifier.isNull());
        EXPECT_EQ(application->identifier(), c.identifier);
        EXPECT_EQ(application->localizedName, c.localizedName);
        EXPECT_FALSE(application->executablePath.isEmpty());
    }
}

TEST(LinuxRunningApplicationsTest, GoneProcessHasNoApplication) {
    REQUIRE_DESKTOP();
    LinuxRunningApplications applications(windows());
    const qint64 pid = startTitledXterm(QStringLiteral("vorlix gone"));
    ASSERT_TRUE(g_desktop->waitForWindowOfProcess(pid, kWindowTimeoutMs));
    ASSERT_TRUE(applications.runningApplication(qint32(pid)));
    g_desktop->stopProgram(pid);
    EXPECT_EQ(applications.runningApplication(qint32(pid)), std::nullopt);
}

namespace {

std::optional<AccessibilityValue> windowAttribute(qint64 pid, const char* windowAttributeName,
                                                  const char* attribute) {
    AccessibilityElementRef app = accessibility().applicationElement(qint32(pid));
    if (!app) return std::nullopt;
    const auto window = app->copyAttributeValue(QLatin1String(windowAttributeName));
    if (!window) return std::nullopt;
    const auto* element = std::get_if<AccessibilityElementRef>(&*window);
    if (element == nullptr || !*element) return std::nullopt;
    return (*element)->copyAttributeValue(QLatin1String(attribute));
}

QString stringOf(const std::optional<AccessibilityValue>& value) {
    const QString* text = value ? std::get_if<QString>(&*value) : nullptr;
    return text ? *text : QString();
}

QString pageAddress(qint64 pid) {
    return stringOf(windowAttribute(pid, "AXMainWindow", "AXDocument"));
}

bool waitForPageAddress(qint64 pid, const QString& address) {
    return DisposableDesktop::waitUntil([&] { return pageAddress(pid) == address; }, kPageTimeoutMs, 200);
}

void expectIdentity(qint64 pid, const QString& id, const QString& name) {
    LinuxRunningApplications applications(windows());
    const std::optional<RunningApplication> application = applications.runningApplication(qint32(pid));
    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, id);
    EXPECT_EQ(application->localizedName, name);
}

// What the accessibility registry lists, for failure messages.
QString registeredApplications() {
    QByteArray address;
    g_desktop->run(QStringLiteral("gdbus"),
                   {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                    QStringLiteral("org.a11y.Bus"), QStringLiteral("--object-path"), QStringLiteral("/org/a11y/bus"),
                    QStringLiteral("--method"), QStringLiteral("org.a11y.Bus.GetAddress")},
                   &address);
    const QByteArray bus = address.mid(address.indexOf('\'') + 1).split('\'').value(0);
    QByteArray children;
    g_desktop->run(QStringLiteral("gdbus"),
                   {QStringLiteral("call"), QStringLiteral("--address"), QString::fromLatin1(bus),
                    QStringLiteral("--dest"), QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("--object-path"),
                    QStringLiteral("/org/a11y/atspi/accessible/root"), QStringLiteral("--method"),
                    QStringLiteral("org.a11y.atspi.Accessible.GetChildren")},
                   &children);
    return QStringLiteral(" registry: ") + QString::fromLatin1(children);
}

char processState(qint64 pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) return '?';
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && close + 2 < text.size() ? text.at(close + 2) : '?';
}

qint64 startAndActivate(const std::function<qint64()>& start) {
    const qint64 pid = start();
    if (pid <= 0) return -1;
    const auto window = g_desktop->waitForWindowOfProcess(pid, kPageTimeoutMs);
    if (!window || !g_desktop->activateWindow(*window)) return -1;
    return pid;
}

}  // namespace

TEST(AtspiAccessibilityTest, ChromiumPageAddressIsTheDocumentAndFollowsANewTab) {
    REQUIRE_DESKTOP();
    if (!DisposableDesktop::missingTool({QStringLiteral("chromium")}).isEmpty()) GTEST_SKIP() << "no chromium";
    ASSERT_FALSE(site().isEmpty());
    const qint64 pid = startAndActivate([] { return g_desktop->startChromium(page("one")); });
    ASSERT_GT(pid, 0);
    expectIdentity(pid, QStringLiteral("chromium"), QStringLiteral("Chromium Web Browser"));

    EXPECT_TRUE(waitForPageAddress(pid, page("one"))) << qPrintable(pageAddress(pid));
    EXPECT_EQ(stringOf(windowAttribute(pid, "AXMainWindow", "AXRole")), QStringLiteral("AXWindow"));
    ASSERT_TRUE(g_desktop->openChromiumTab(page("two")));
    EXPECT_TRUE(waitForPageAddress(pid, page("two"))) << qPrintable(pageAddress(pid));
    g_desktop->stopProgram(pid);
}

// Everything about Firefox in one run: its identity, the page address and a
// tab switch, the scripting target's terms, and a stopped Firefox.
TEST(AtspiAccessibilityTest, FirefoxPageAddressFollowsTabsAndAStoppedFirefoxCostsOneTimeout) {
    REQUIRE_DESKTOP();
    if (!DisposableDesktop::missingTool({QStringLiteral("firefox-esr")}).isEmpty()) GTEST_SKIP() << "no firefox-esr";
    ASSERT_FALSE(site().isEmpty());
    // Asking before Firefox has registered checks that a later look finds it.
    const qint64 pid = startAndActivate([] {
        const qint64 started = g_desktop->startFirefox({page("three"), page("four")});
        EXPECT_EQ(accessibility().applicationElement(qint32(started)), nullptr);
        return started;
    });
    ASSERT_GT(pid, 0);
    expectIdentity(pid, QStringLiteral("firefox-esr"), QStringLiteral("Firefox ESR"));

    const auto pressKeys = [](const char* keys) {
        return g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("key"), QLatin1String(keys)});
    };
    QString seen;
    ASSERT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            seen = pageAddress(pid);
            return seen.startsWith(site().toString());
        },
        kPageTimeoutMs, 200))
        << qPrintable(seen) << qPrintable(registeredApplications());
    ASSERT_TRUE(pressKeys("alt+1"));
    EXPECT_TRUE(waitForPageAddress(pid, page("three"))) << qPrintable(pageAddress(pid));
    ASSERT_TRUE(pressKeys("alt+2"));
    EXPECT_TRUE(waitForPageAddress(pid, page("four"))) << qPrintable(pageAddress(pid));

    {
        SCOPED_TRACE("scripting target");
        AtspiScriptingTargets targets(accessibility());
        const auto target = targets.targetForProcess(qint32(pid));
        EXPECT_TRUE(target->isRunning());
        const ScriptStep current = ScriptStep::property(QStringLiteral("pADc"));
        EXPECT_TRUE(target->get({current}).objectReference() != nullptr);
        const ScriptValue url = target->get({current, ScriptStep::property(QStringLiteral("pURL"))});
        ASSERT_TRUE(std::holds_alternative<QUrl>(url.value));
        EXPECT_EQ(std::get<QUrl>(url.value), QUrl(page("four")));
        const ScriptValue name = target->get({current, ScriptStep::property(QStringLiteral("pnam"))});
        ASSERT_TRUE(name.string());
        EXPECT_EQ(*name.string(), QStringLiteral("page four"));
        const ScriptValue windowName = target->get({ScriptStep::element(QStringLiteral("cwin"), 1),
                                                    ScriptStep::property(QStringLiteral("pnam"))});
        ASSERT_TRUE(windowName.string());
        EXPECT_TRUE(windowName.string()->contains(QStringLiteral("page four")));
        EXPECT_TRUE(target->get({current, ScriptStep::property(QStringLiteral("ppth"))}).isMissing());
    }

    {
        SCOPED_TRACE("stopped application");
        ASSERT_EQ(kill(pid_t(pid), SIGSTOP), 0);
        // Let every thread reach the stopped state, as a program stopped
        // for real has long before the next tick.
        DisposableDesktop::waitUntil([pid] { return processState(pid) == 'T'; }, 2000, 5);
        QElapsedTimer timer;
        timer.start();
        const QString whileStopped = pageAddress(pid);
        const qint64 firstQueryMs = timer.elapsed();
        timer.restart();
        pageAddress(pid);
        const qint64 secondQueryMs = timer.elapsed();
        kill(pid_t(pid), SIGCONT);
        RecordProperty("stopped_first_query_ms", int(firstQueryMs));
        RecordProperty("stopped_second_query_ms", int(secondQueryMs));
        std::printf("stopped application: first query %lld ms, second %lld ms\n",
                    static_cast<long long>(firstQueryMs), static_cast<long long>(secondQueryMs));
        EXPECT_LT(firstQueryMs, 2000);
        EXPECT_LT(secondQueryMs, 2000);
        EXPECT_TRUE(whileStopped.isEmpty());
        EXPECT_TRUE(waitForPageAddress(pid, page("four")));  // answers again once resumed
    }
    g_desktop->stopProgram(pid);
}

TEST(AtspiAccessibilityTest, GtkEditorWindowTitleIsItsAccessibleName) {
    REQUIRE_DESKTOP();
    if (!DisposableDesktop::missingTool({QStringLiteral("gedit")}).isEmpty()) GTEST_SKIP() << "no gedit";
    const QString file = g_desktop->stateDir() + QStringLiteral("/home/letter.txt");
    QFile letter(file);
    ASSERT_TRUE(letter.open(QIODevice::WriteOnly));
    letter.write("dear reader\n");
    letter.close();
    const qint64 pid = startAndActivate([&] { return g_desktop->startGedit(file); });
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return stringOf(windowAttribute(pid, "AXMainWindow", "AXTitle")).contains(QStringLiteral("letter.txt")); },
        kPageTimeoutMs, 200))
        << qPrintable(stringOf(windowAttribute(pid, "AXMainWindow", "AXTitle")));
    EXPECT_EQ(stringOf(windowAttribute(pid, "AXFocusedWindow", "AXRole")), QStringLiteral("AXWindow"));
    g_desktop->stopProgram(pid);
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Test discovery only lists the tests: no desktop for that.
    if (!::testing::GTEST_FLAG(list_tests)) {
        g_desktop = DisposableDesktop::start(&g_whyNoDesktop);
        if (g_desktop) g_desktop->applyToThisProcess();
    }
    QCoreApplication application(argc, argv);
    const int status = RUN_ALL_TESTS();
    g_desktop.reset();
    return status;
}
