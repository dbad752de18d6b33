// The window system and the accessibility switch against a real X server
// and window manager. (Identity, page addresses and the accessibility tree
// of real applications are checked through the extraction, in
// tests/extraction_desktop.)

#include <QCoreApplication>

#include <functional>

#include "harness/DesktopTest.h"
#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/XWaylandWindowSystem.h"
#include "platform/linux/XcbWindowSystem.h"

#include <xcb/xcb.h>

namespace {

XcbWindowSystem& windows() {
    static XcbWindowSystem instance;
    return instance;
}

// Where the process's first window stands in the window list, -1 when absent.
qsizetype listPosition(qint64 pid, QString* name = nullptr) {
    const std::vector<WindowInfo> list = windows().windowList();
    for (std::size_t position = 0; position < list.size(); ++position) {
        if (list[position].ownerProcessIdentifier != pid) continue;
        if (name) *name = list[position].name;
        return qsizetype(position);
    }
    return -1;
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
    QString frontName;
    EXPECT_EQ(listPosition(front, &frontName), 0);
    EXPECT_EQ(frontName, QStringLiteral("vorlix front"));
    EXPECT_GT(listPosition(back), 0);
    for (const WindowInfo& info : windows().windowList()) EXPECT_EQ(info.sharingState, 1);

    ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("windowminimize"), QStringLiteral("--sync"),
                                                           QString::number(*frontWindow)}));
    EXPECT_TRUE(DisposableDesktop::waitUntil([&] { return listPosition(front) == -1; }, 5000));
    EXPECT_GE(listPosition(back), 0);
    // The window manager hands the focus on after a minimise: let it finish
    // before playing its in-between state below.
    EXPECT_TRUE(waitForFrontProcess(windows(), back));

    // Window managers write 0 for an instant between two focus changes.
    ASSERT_TRUE(g_desktop->run(QStringLiteral("xprop"),
                               QStringLiteral("-root -f _NET_ACTIVE_WINDOW 32x -set _NET_ACTIVE_WINDOW 0")
                                   .split(QLatin1Char(' '))));
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
        return g_desktop->run(QStringLiteral("xprop"),
                              {QStringLiteral("-id"), QString::number(window), QStringLiteral("-f"),
                               QStringLiteral("WM_NAME"), QStringLiteral("8s"),
                               QStringLiteral("-set"), QStringLiteral("WM_NAME"),
                               QLatin1String(title)});
    };
    auto listName = [](qint64 pid) {
        QString name;
        listPosition(pid, &name);
        return name;
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
            [&] { return listName(s.renamed) == QLatin1String(s.title); }, 5000));
        const WindowSystem::FrontLook look = windows().lookAtFront();
        EXPECT_EQ(look.frontProcessIdentifier, std::optional<qint32>(qint32(s.front)));
        EXPECT_EQ(nameIn(look, s.renamed), QLatin1String(s.title));
    }
    g_desktop->stopProgram(one);
    g_desktop->stopProgram(two);
}

// As the X11 fallback on a Wayland desktop: _NET_ACTIVE_WINDOW left naming
// an X11 window while the keyboard is elsewhere (there, in a native window
// X cannot see; here, in another xterm) credits nobody, where the plain X11
// source would credit the named one.
TEST(XWaylandWindowSystemTest, TheActiveWindowCountsOnlyWhileItHasTheKeyboard) {
    REQUIRE_DESKTOP();
    const qint64 named = g_desktop->startXterm(QStringLiteral("vorlix named"));
    const qint64 typing = g_desktop->startXterm(QStringLiteral("vorlix typing"));
    const auto namedWindow = g_desktop->waitForWindowOfProcess(named, kWindowTimeoutMs);
    const auto typingWindow = g_desktop->waitForWindowOfProcess(typing, kWindowTimeoutMs);
    ASSERT_TRUE(namedWindow && typingWindow);
    ASSERT_TRUE(g_desktop->activateWindow(*typingWindow));
    ASSERT_TRUE(waitForFrontProcess(windows(), typing));
    XWaylandWindowSystem xwayland(std::make_unique<XcbWindowSystem>());
    // As a compositor's window manager writes it (xprop would write a CARDINAL).
    const auto nameActive = [](quint64 window) {
        xcb_connection_t* c = xcb_connect(qPrintable(g_desktop->display()), nullptr);
        xcb_intern_atom_reply_t* atom =
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, 18, "_NET_ACTIVE_WINDOW"), nullptr);
        const auto id = uint32_t(window);
        const bool written =
            atom != nullptr &&
            xcb_request_check(c, xcb_change_property_checked(
                                     c, XCB_PROP_MODE_REPLACE,
                                     xcb_setup_roots_iterator(xcb_get_setup(c)).data->root,
                                     atom->atom, XCB_ATOM_WINDOW, 32, 1, &id)) == nullptr;
        free(atom);
        xcb_disconnect(c);
        return written;
    };
    const struct {
        const char* name;
        quint64 active;
        std::optional<qint32> wantFront;
        std::optional<qint32> wantPlainX11;
    } cases[] = {
        {"the named window has the keyboard", *typingWindow, qint32(typing), qint32(typing)},
        {"the keyboard is elsewhere", *namedWindow, std::nullopt, qint32(named)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(nameActive(c.active));
        EXPECT_EQ(xwayland.lookAtFront().frontProcessIdentifier, c.wantFront);
        EXPECT_EQ(xwayland.frontProcessIdentifier(), c.wantFront);
        EXPECT_EQ(windows().frontProcessIdentifier(), c.wantPlainX11);
    }
    ASSERT_TRUE(nameActive(*typingWindow));
    g_desktop->stopProgram(named);
    g_desktop->stopProgram(typing);
}

TEST(AtspiAccessibilityTest, DesktopSwitchReportsAndTurnsAccessibilityOn) {
    REQUIRE_DESKTOP();
    AtspiAccessibilityProvider accessibility;
    EXPECT_TRUE(accessibility.isEnabled());
    ASSERT_TRUE(g_desktop->run(QStringLiteral("gdbus"),
                               QStringLiteral("call --session --dest org.a11y.Bus --object-path /org/a11y/bus "
                                              "--method org.freedesktop.DBus.Properties.Set org.a11y.Status "
                                              "IsEnabled <false>")
                                   .split(QLatin1Char(' '))));
    // Seen from the bus launcher's announcement, not from asking again
    // (which, while the switch is on, waits for a safety-net minute).
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            QCoreApplication::processEvents();
            return !accessibility.isEnabled();
        },
        8000, 50));
    EXPECT_TRUE(accessibility.enable());
    EXPECT_TRUE(accessibility.isEnabled());
}

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}
