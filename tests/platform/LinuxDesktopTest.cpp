// The window system, application identity and accessibility against a real
// X server, window manager and real applications. Each browser or editor
// starts once and is checked for everything in that one run.

#include <QElapsedTimer>
#include <functional>

#include <signal.h>

#include "harness/DesktopTest.h"
#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/XcbWindowSystem.h"

namespace {

XcbWindowSystem& windows() {
    static XcbWindowSystem instance;
    return instance;
}

AtspiAccessibilityProvider& accessibility() {  // the test's main thread only
    static AtspiAccessibilityProvider instance;
    return instance;
}

qsizetype listPosition(qint64 pid) {
    qsizetype position = 0;
    for (const WindowInfo& info : windows().windowList()) {
        if (info.ownerProcessIdentifier == pid) return position;
        ++position;
    }
    return -1;
}

QString windowListName(qint64 pid) {
    for (const WindowInfo& info : windows().windowList()) {
        if (info.ownerProcessIdentifier == pid) return info.name;
    }
    return {};
}

std::optional<AccessibilityValue> windowAttribute(qint64 pid, const char* window,
                                                  const char* attribute) {
    AccessibilityElementRef app = accessibility().applicationElement(qint32(pid));
    const auto value = app ? app->copyAttributeValue(QLatin1String(window)) : std::nullopt;
    const auto* element = value ? std::get_if<AccessibilityElementRef>(&*value) : nullptr;
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
    return DisposableDesktop::waitUntil([&] { return pageAddress(pid) == address; }, kPageTimeoutMs,
                                        200);
}

bool run(const char* program, const QStringList& arguments) {
    return g_desktop->run(QLatin1String(program), arguments);
}

}  // namespace

TEST(XcbWindowSystemTest, FrontFollowsSwitchesAndListRunsFrontToBackWithoutMinimisedWindows) {
    REQUIRE_DESKTOP();
    const qint64 back = g_desktop->startXterm(QStringLiteral("vorlix back"));
    const qint64 front = g_desktop->startXterm(QStringLiteral("vorlix front"));
    const auto backWindow = g_desktop->waitForWindowOfProcess(back, kWindowTimeoutMs);
    const auto frontWindow = g_desktop->waitForWindowOfProcess(front, kWindowTimeoutMs);
    ASSERT_TRUE(backWindow && frontWindow);
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(g_desktop->activateWindow(*backWindow));
        EXPECT_TRUE(waitForFrontProcess(windows(), back));
        ASSERT_TRUE(g_desktop->activateWindow(*frontWindow));
        ASSERT_TRUE(waitForFrontProcess(windows(), front));
    }
    EXPECT_EQ(listPosition(front), 0);
    EXPECT_GT(listPosition(back), 0);
    EXPECT_EQ(windowListName(front), QStringLiteral("vorlix front"));
    for (const WindowInfo& info : windows().windowList()) EXPECT_EQ(info.sharingState, 1);

    ASSERT_TRUE(run("xdotool", {QStringLiteral("windowminimize"), QStringLiteral("--sync"),
                                QString::number(*frontWindow)}));
    EXPECT_TRUE(DisposableDesktop::waitUntil([&] { return listPosition(front) == -1; }, 5000));
    EXPECT_GE(listPosition(back), 0);
    // The window manager hands the focus on after a minimise: let it finish
    // before playing its in-between state below.
    EXPECT_TRUE(waitForFrontProcess(windows(), back));

    // Window managers write 0 for an instant between two focus changes.
    ASSERT_TRUE(run("xprop", {QStringLiteral("-root"), QStringLiteral("-f"),
                              QStringLiteral("_NET_ACTIVE_WINDOW"), QStringLiteral("32x"),
                              QStringLiteral("-set"), QStringLiteral("_NET_ACTIVE_WINDOW"),
                              QStringLiteral("0")}));
    EXPECT_EQ(windows().activeWindow(), std::nullopt);
    EXPECT_EQ(windows().frontProcessIdentifier(), std::nullopt);
    g_desktop->stopProgram(front);
    g_desktop->stopProgram(back);
}

// A tick's look keeps its last answer until the X server announces a change.
// Each step waits until a direct question to the server sees the change
// (its event is then already queued for us) and takes a single look: a
// missed event would show there, not be papered over by looking again.
TEST(XcbWindowSystemTest, TickLookSeesTitleChangesAndSwitchesWithoutAskingEachTime) {
    REQUIRE_DESKTOP();
    const qint64 one = g_desktop->startXterm(QStringLiteral("vorlix one"));
    const qint64 two = g_desktop->startXterm(QStringLiteral("vorlix two"));
    const auto oneWindow = g_desktop->waitForWindowOfProcess(one, kWindowTimeoutMs);
    const auto twoWindow = g_desktop->waitForWindowOfProcess(two, kWindowTimeoutMs);
    ASSERT_TRUE(oneWindow && twoWindow);
    auto rename = [](quint64 window, const char* title) {
        return run("xprop", {QStringLiteral("-id"), QString::number(window), QStringLiteral("-f"),
                             QStringLiteral("WM_NAME"), QStringLiteral("8s"),
                             QStringLiteral("-set"), QStringLiteral("WM_NAME"),
                             QLatin1String(title)});
    };
    auto nameIn = [](const WindowSystem::FrontLook& look, qint64 pid) {
        for (const WindowInfo& info : look.windows) {
            if (info.ownerProcessIdentifier == pid) return info.name;
        }
        return QString();
    };
    const struct {
        const char* step;
        std::function<bool()> act;
        qint64 front;
        qint64 renamed;
        const char* title;
    } steps[] = {
        {"the first in front", [&] { return g_desktop->activateWindow(*oneWindow); }, one, one,
         "vorlix one"},
        {"the front window renames itself", [&] { return rename(*oneWindow, "vorlix renamed"); },
         one, one, "vorlix renamed"},
        {"a switch", [&] { return g_desktop->activateWindow(*twoWindow); }, two, two, "vorlix two"},
        {"a window behind renames itself", [&] { return rename(*oneWindow, "vorlix behind"); }, two,
         one, "vorlix behind"},
        {"a switch back", [&] { return g_desktop->activateWindow(*oneWindow); }, one, one,
         "vorlix behind"},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.step);
        ASSERT_TRUE(s.act());
        ASSERT_TRUE(waitForFrontProcess(windows(), s.front));
        ASSERT_TRUE(DisposableDesktop::waitUntil(
            [&] { return windowListName(s.renamed) == QLatin1String(s.title); }, 5000));
        const WindowSystem::FrontLook look = windows().lookAtFront();
        EXPECT_EQ(look.frontProcessIdentifier, std::optional<qint32>(qint32(s.front)));
        EXPECT_EQ(nameIn(look, s.renamed), QLatin1String(s.title));
    }
    g_desktop->stopProgram(one);
    g_desktop->stopProgram(two);
}

TEST(LinuxRunningApplicationsTest, IdentifiesRealApplicationsByTheirDesktopEntries) {
    REQUIRE_DESKTOP();
    const QString file = g_desktop->writeFile(QStringLiteral("home/notes.txt"), "some notes\n");
    const struct {
        const char* name;
        std::function<qint64()> start;
        QString bundleIdentifier;  // null: no application id
        QString identifier;
        QString localizedName;
        QString titleContains;  // what the window list's name must contain
    } cases[] = {
        {"mousepad", [&] { return g_desktop->startMousepad(file); },
         QStringLiteral("org.xfce.mousepad"), QStringLiteral("org.xfce.mousepad"),
         QStringLiteral("Mousepad"), QStringLiteral("notes.txt - Mousepad")},
        {"gedit", [&] { return g_desktop->startGedit(file); }, QStringLiteral("org.gnome.gedit"),
         QStringLiteral("org.gnome.gedit"), QStringLiteral("gedit"),
         QStringLiteral("notes.txt (~) - gedit")},
        {"xmessage (no desktop entry)",
         [] { return g_desktop->startProgram(QStringLiteral("xmessage"), {QStringLiteral("vorlix")}); },
         QString(), QStringLiteral("xmessage"), QStringLiteral("Xmessage"), QString()},
    };
    LinuxRunningApplications applications(windows());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const qint64 pid = c.start();
        ASSERT_GT(pid, 0);
        ASSERT_TRUE(DisposableDesktop::waitUntil(
            [&] { return windows().windowHintsForProcess(qint32(pid)).has_value(); },
            kWindowTimeoutMs));
        const std::optional<RunningApplication> application =
            applications.runningApplication(qint32(pid));
        ASSERT_TRUE(application);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(application->bundleIdentifier, c.bundleIdentifier);
        EXPECT_EQ(application->bundleIdentifier.isNull(), c.bundleIdentifier.isNull());
        EXPECT_EQ(application->identifier(), c.identifier);
        EXPECT_EQ(application->localizedName, c.localizedName);
        EXPECT_FALSE(application->executablePath.isEmpty());
        EXPECT_TRUE(DisposableDesktop::waitUntil(
            [&] { return windowListName(pid).contains(c.titleContains); }, kWindowTimeoutMs))
            << qPrintable(windowListName(pid));
        g_desktop->stopProgram(pid);
        EXPECT_EQ(applications.runningApplication(qint32(pid)), std::nullopt) << "a gone process";
    }
}

// Everything about Firefox in one run: the page address follows a tab
// switch, the window's document source, and a stopped Firefox.
TEST(AtspiAccessibilityTest, FirefoxPageAddressFollowsTabsAndAStoppedFirefoxCostsOneTimeout) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("firefox-esr");
    const QString three = g_desktop->testPage("three"), four = g_desktop->testPage("four");
    // Asking before Firefox has registered checks that a later look finds it.
    const qint64 pid = startInFront(windows(), [&] {
        const qint64 started = g_desktop->startFirefox({three, four});
        EXPECT_EQ(accessibility().applicationElement(qint32(started)), nullptr);
        return started;
    });
    ASSERT_GT(pid, 0);
    ASSERT_TRUE(DisposableDesktop::waitUntil(
        [&] { return pageAddress(pid).startsWith(g_desktop->testSite().toString()); },
        kPageTimeoutMs, 200))
        << qPrintable(pageAddress(pid));
    for (const auto& [keys, page] : {std::pair{"alt+1", three}, std::pair{"alt+2", four}}) {
        ASSERT_TRUE(run("xdotool", {QStringLiteral("key"), QLatin1String(keys)}));
        EXPECT_TRUE(waitForPageAddress(pid, page)) << qPrintable(pageAddress(pid));
    }
    const auto document = accessibility().document(qint32(pid), 1);
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(QUrl(document->address), QUrl(four));
    EXPECT_TRUE(document->name.isEmpty()) << "with an address, the name is not asked for";
    EXPECT_TRUE(accessibility().windowName(qint32(pid), 1).value_or(QString()).contains(
        QStringLiteral("page four")));

    ASSERT_EQ(kill(pid_t(pid), SIGSTOP), 0);
    // Every thread stopped, as a program stopped for real has long before
    // the next tick.
    DisposableDesktop::waitUntil([pid] { return processState(pid) == 'T'; }, 2000, 5);
    QElapsedTimer timer;
    timer.start();
    const QString whileStopped = pageAddress(pid);
    const qint64 firstQueryMs = timer.restart();
    pageAddress(pid);
    const qint64 secondQueryMs = timer.elapsed();
    kill(pid_t(pid), SIGCONT);
    RecordProperty("stopped_first_query_ms", int(firstQueryMs));
    RecordProperty("stopped_second_query_ms", int(secondQueryMs));
    EXPECT_LT(firstQueryMs, 2000);
    EXPECT_LT(secondQueryMs, 2000);
    EXPECT_TRUE(whileStopped.isEmpty());
    EXPECT_TRUE(waitForPageAddress(pid, four)) << "answers again once resumed";
    g_desktop->stopProgram(pid);
}

TEST(AtspiAccessibilityTest, GtkEditorTitleSizeAndSheetComeFromItsAccessibles) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("gedit");
    const QString file = g_desktop->writeFile(QStringLiteral("home/letter.txt"), "dear reader\n");
    const qint64 pid = startInFront(windows(), [&] { return g_desktop->startGedit(file); });
    ASSERT_GT(pid, 0);
    const auto title = [pid] { return stringOf(windowAttribute(pid, "AXMainWindow", "AXTitle")); };
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return title().contains(QStringLiteral("letter.txt")); }, kPageTimeoutMs, 200))
        << qPrintable(title());
    EXPECT_EQ(stringOf(windowAttribute(pid, "AXFocusedWindow", "AXRole")), QStringLiteral("AXWindow"));
    const auto size = windowAttribute(pid, "AXMainWindow", "AXSize");
    ASSERT_TRUE(size && std::holds_alternative<AXSize>(*size));
    EXPECT_GT(std::get<AXSize>(*size).width, 100);
    EXPECT_GT(std::get<AXSize>(*size).height, 100);
    const auto position = windowAttribute(pid, "AXMainWindow", "AXPosition");
    EXPECT_TRUE(position && std::holds_alternative<AXPoint>(*position));

    // The open dialog is a sheet on the document window.
    ASSERT_TRUE(run("xdotool", {QStringLiteral("key"), QStringLiteral("ctrl+o")}));
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            return stringOf(windowAttribute(pid, "AXMainWindow", "AXRole")) ==
                   QStringLiteral("AXSheet");
        },
        kPageTimeoutMs, 100));
    const auto parentTitle = [pid] {
        const auto parent = windowAttribute(pid, "AXMainWindow", "AXParent");
        const auto* element = parent ? std::get_if<AccessibilityElementRef>(&*parent) : nullptr;
        return element && *element ? stringOf((*element)->copyAttributeValue(QStringLiteral("AXTitle")))
                                   : QString();
    };
    // Asked until it answers: on a loaded machine one call may go unanswered.
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return parentTitle().contains(QStringLiteral("letter.txt")); }, kPageTimeoutMs, 100))
        << qPrintable(parentTitle());
    g_desktop->stopProgram(pid);
}

TEST(AtspiAccessibilityTest, DesktopSwitchReportsAndTurnsAccessibilityOn) {
    REQUIRE_DESKTOP();
    EXPECT_TRUE(accessibility().isEnabled());
    ASSERT_TRUE(run("gdbus", {QStringLiteral("call"), QStringLiteral("--session"),
                              QStringLiteral("--dest"), QStringLiteral("org.a11y.Bus"),
                              QStringLiteral("--object-path"), QStringLiteral("/org/a11y/bus"),
                              QStringLiteral("--method"),
                              QStringLiteral("org.freedesktop.DBus.Properties.Set"),
                              QStringLiteral("org.a11y.Status"), QStringLiteral("IsEnabled"),
                              QStringLiteral("<false>")}));
    // The switch is re-read every few seconds, not on every call.
    EXPECT_TRUE(DisposableDesktop::waitUntil([] { return !accessibility().isEnabled(); }, 8000, 250));
    EXPECT_TRUE(accessibility().enable());
    EXPECT_TRUE(accessibility().isEnabled());
}

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}
