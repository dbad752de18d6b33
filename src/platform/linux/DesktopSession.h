#pragma once
// DesktopSession: what kind of graphical session the helper runs in, and so
// which source can tell it the front window.
//
// Read once at start from the session's environment: XDG_SESSION_TYPE (set
// by the login manager), WAYLAND_DISPLAY (a compositor to talk to; it
// decides when the login manager said nothing), XDG_CURRENT_DESKTOP (which
// desktop, colon-separated) and SWAYSOCK (sway's IPC socket). An X11
// session, or one that names no type and no compositor, is X11 as before.
//
// Pure; any thread.

#include <QProcessEnvironment>
#include <QString>

struct DesktopSession final {
    enum class WindowSource {
        X11,           // _NET_ACTIVE_WINDOW from the window manager
        Sway,          // sway's IPC
        KWin,          // a KWin script on KDE Plasma
        GnomeShell,    // our GNOME Shell extension
        WaylandOther,  // a Wayland desktop without a source of ours: X11 windows only
    };

    bool wayland = false;
    QString desktop;        // XDG_CURRENT_DESKTOP as given
    QString swaySocket;     // SWAYSOCK, empty when absent

    static DesktopSession fromEnvironment(
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());

    WindowSource windowSource() const;
    // In a Wayland session, what the user could do when the session's source
    // does not answer, or (a desktop without one) to see native windows at
    // all; empty on X11.
    QString advice() const;
};
