// What sway's IPC says about the windows, read into front-to-back order, and
// the session kinds that pick the window source. Pure logic at the platform
// boundary: the trees and events are written the way sway 1.7 sends them.

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonObject>

#include "platform/linux/DesktopSession.h"
#include "platform/linux/SwayWindowModel.h"

namespace {

QJsonObject window(qint64 id, qint32 pid, const char* appId, const char* title,
                   const char* x11Class = nullptr) {
    QJsonObject node{{"id", id},       {"type", "con"},        {"pid", pid},
                     {"name", title},  {"focused", false},     {"nodes", QJsonArray()},
                     {"app_id", appId ? QJsonValue(appId) : QJsonValue()}};
    if (x11Class) node.insert("window_properties", QJsonObject{{"class", x11Class}});
    return node;
}

QJsonObject container(qint64 id, const char* type, const char* name, QJsonArray children,
                      QJsonArray focus) {
    return {{"id", id}, {"type", type}, {"name", name}, {"nodes", children}, {"focus", focus}};
}

// Workspace 1 holds foot (5, focused) and an xterm (6) focused before it;
// workspace 2 a browser last seen before both; the scratchpad a hidden one.
QJsonObject tree() {
    QJsonObject foot = window(5, 500, "foot", "~/src");
    foot.insert("focused", true);
    const QJsonArray workspaces = {
        container(10, "workspace", "1", {window(6, 600, nullptr, "make", "XTerm"), foot}, {5, 6}),
        container(11, "workspace", "2", {window(7, 700, "firefox", "Mail")}, {7})};
    const QJsonArray outputs = {
        container(3, "output", "HEADLESS-1", workspaces, {10, 11}),
        container(2, "output", "__i3",
                  {container(12, "workspace", "__i3_scratch", {window(8, 800, "notes", "x")}, {8})},
                  {12})};
    return container(1, "root", "root", outputs, {3});
}

QStringList titles(const SwayWindowModel& model) {
    QStringList names;
    for (const SwayWindow& w : model.frontToBack()) names << w.name;
    return names;
}

// The tree read in focus order without the scratchpad, then window events
// applied without asking for it again.
TEST(SwayWindowModelTest, ReadsTheTreeInFocusOrderAndFollowsWindowEvents) {
    using Follow = SwayWindowModel::Follow;
    const struct {
        const char* change;
        QJsonObject container;
        std::optional<qint32> wantFront;
        QStringList wantTitles;
        Follow wantFollow;
    } steps[] = {
        {"focus", window(6, 600, nullptr, "make", "XTerm"), 600, {"make", "~/src", "Mail"},
         Follow::Nothing},
        {"title", window(5, 500, "foot", "~/src/app"), 600, {"make", "~/src/app", "Mail"},
         Follow::Nothing},
        {"new", window(9, 900, "foot", "new"), 600, {"make", "~/src/app", "Mail", "new"},
         Follow::Nothing},
        // The front window closes: nobody is in front until the next focus,
        // rather than its time going to the closed one.
        {"close", window(6, 600, nullptr, "make", "XTerm"), std::nullopt,
         {"~/src/app", "Mail", "new"}, Follow::Nothing},
        {"move", window(7, 700, "firefox", "Mail"), std::nullopt, {"~/src/app", "Mail", "new"},
         Follow::RereadTree},
    };
    SwayWindowModel model;
    model.resetFromTree(tree());
    ASSERT_EQ(model.focused().value_or(SwayWindow()).appId, QStringLiteral("foot"));
    EXPECT_EQ(titles(model), (QStringList{"~/src", "make", "Mail"}));
    for (const auto& step : steps) {
        SCOPED_TRACE(step.change);
        const Follow follow = model.applyWindowEvent(
            QJsonObject{{"change", step.change}, {"container", step.container}});
        EXPECT_EQ(follow, step.wantFollow);
        const auto front = model.focused();
        EXPECT_EQ(front ? std::optional<qint32>(front->processIdentifier) : std::nullopt,
                  step.wantFront);
        EXPECT_EQ(titles(model), step.wantTitles);
    }
    // A switch to an empty workspace sends no window event.
    EXPECT_EQ(SwayWindowModel::followWorkspaceEvent(QJsonObject{{"change", "focus"}}),
              Follow::RereadTree);
}

TEST(DesktopSessionTest, ChoosesTheWindowSourceFromTheSession) {
    using Source = DesktopSession::WindowSource;
    const struct {
        const char* type;
        const char* waylandDisplay;
        const char* desktop;
        const char* swaySocket;
        Source want;
    } rows[] = {
        {"x11", "", "XFCE", "", Source::X11},
        // A nested compositor inside an X11 session: still X11.
        {"x11", "wayland-1", "XFCE", "", Source::X11},
        {"wayland", "wayland-0", "sway", "/run/user/1000/sway-ipc.sock", Source::Sway},
        // Started from sway without a login manager: no session type.
        {"", "wayland-1", "", "/tmp/sway-ipc.sock", Source::Sway},
        {"tty", "wayland-1", "sway", "", Source::WaylandOther},
        {"wayland", "wayland-0", "KDE", "", Source::KWin},
        {"wayland", "wayland-0", "ubuntu:GNOME", "", Source::GnomeShell},
        {"wayland", "wayland-0", "Hyprland", "", Source::WaylandOther},
        {"", "", "", "", Source::X11},
        {"x11", "", "KDE", "", Source::X11},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.type) + "/" + row.waylandDisplay + "/" + row.desktop);
        QProcessEnvironment environment;
        environment.insert("XDG_SESSION_TYPE", row.type);
        environment.insert("WAYLAND_DISPLAY", row.waylandDisplay);
        environment.insert("XDG_CURRENT_DESKTOP", row.desktop);
        environment.insert("SWAYSOCK", row.swaySocket);
        const DesktopSession session = DesktopSession::fromEnvironment(environment);
        EXPECT_EQ(session.windowSource(), row.want);
        // Every Wayland case says what would help when its source is missing.
        EXPECT_EQ(session.advice().isEmpty(), row.want == Source::X11);
    }
}

}  // namespace
