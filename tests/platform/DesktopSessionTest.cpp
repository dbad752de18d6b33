// The session kinds that pick the window source. (Sway's own window list is
// followed on a real headless sway in SwayTrackingTest.cpp.)

#include <gtest/gtest.h>

#include "platform/linux/DesktopSession.h"

namespace {

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
        {"wayland", "wayland-0", "KDE", "", Source::KWin},
        {"wayland", "wayland-0", "ubuntu:GNOME", "", Source::GnomeShell},
        {"", "", "", "", Source::X11},
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
