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
    return WindowSource::WaylandOther;
}

QString DesktopSession::advice() const {
    if (windowSource() != WindowSource::WaylandOther) return {};
    if (desktopIs(desktop, "sway")) {
        return QStringLiteral("start the helper from sway itself (its SWAYSOCK must be set)");
    }
    if (desktopIs(desktop, "KDE") || desktopIs(desktop, "GNOME")) {
        return QStringLiteral("log in to an X11 session of this desktop (Plasma or GNOME "
                              "on Xorg); its Wayland session does not show this helper "
                              "the front window yet");
    }
    return QStringLiteral("use sway, or log in to an X11 session; this Wayland desktop does "
                          "not show this helper the front window");
}
