#include "platform/linux/DesktopSession.h"

namespace {

bool desktopIs(const QString& desktops, const char* name) {
    for (const QString& desktop : desktops.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        if (desktop.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) return true;
    }
    return false;
}

}  // namespace

DesktopSession DesktopSession::fromEnvironment(const QProcessEnvironment& environment) {
    DesktopSession session;
    const QString type = environment.value(QStringLiteral("XDG_SESSION_TYPE"));
    session.wayland = type == QLatin1String("wayland") ||
                      ((type.isEmpty() || type == QLatin1String("tty")) &&
                       !environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty());
    session.desktop = environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"));
    session.swaySocket = environment.value(QStringLiteral("SWAYSOCK"));
    return session;
}

DesktopSession::WindowSource DesktopSession::windowSource() const {
    if (!wayland) return WindowSource::X11;
    if (!swaySocket.isEmpty()) return WindowSource::Sway;
    if (desktopIs(desktop, "KDE")) return WindowSource::KWin;
    if (desktopIs(desktop, "GNOME")) return WindowSource::GnomeShell;
    return WindowSource::WaylandOther;
}

QString DesktopSession::advice() const {
    switch (windowSource()) {
        case WindowSource::X11:
            return {};
        case WindowSource::Sway:
            return QStringLiteral("restart the helper from this sway session (its IPC socket, "
                                  "SWAYSOCK, does not answer)");
        case WindowSource::KWin:
            return QStringLiteral("make sure KWin's scripting is available (org.kde.KWin "
                                  "/Scripting on the session bus), or log in to Plasma (X11)");
        case WindowSource::GnomeShell:
            return QStringLiteral("enable the helper's GNOME Shell extension: gnome-extensions "
                                  "enable vorlix-focused-window@mallowby.info (installed with "
                                  "the helper; log out and in after installing it)");
        case WindowSource::WaylandOther:
            break;
    }
    if (desktopIs(desktop, "sway")) {
        return QStringLiteral("start the helper from sway itself (its SWAYSOCK must be set)");
    }
    return QStringLiteral("use sway or another wlroots compositor that lists its windows to "
                          "task bars (Hyprland, river, Wayfire, labwc), or log in to an X11 "
                          "session; this Wayland desktop does not show this helper the front "
                          "window");
}
