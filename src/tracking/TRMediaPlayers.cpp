#include "tracking/TRMediaPlayers.h"

#include <QSet>

namespace TRMediaPlayers {

namespace {

const QSet<QString>& mediaPlayers() {
    static const QSet<QString> kPlayers = {
        // The players' ids on the desktop the helper first ran on.
        QStringLiteral("com.apple.DVDPlayer"),
        QStringLiteral("com.apple.frontrow"),
        QStringLiteral("com.apple.QuickTimePlayer"),
        QStringLiteral("com.apple.QuickTimePlayerX"),
        QStringLiteral("com.teamxbmc.xbmc"),
        QStringLiteral("org.videolan.vlc"),
        QStringLiteral("org.niltsh.MPlayerX"),
        // The same or equivalent players as Linux desktop entries name them.
        QStringLiteral("vlc"),
        QStringLiteral("org.videolan.VLC"),
        QStringLiteral("mpv"),
        QStringLiteral("io.mpv.Mpv"),
        QStringLiteral("totem"),
        QStringLiteral("org.gnome.Totem"),
        QStringLiteral("kodi"),
        QStringLiteral("tv.kodi.Kodi"),
        QStringLiteral("smplayer"),
        QStringLiteral("info.smplayer.SMPlayer"),
        QStringLiteral("mplayer"),
        QStringLiteral("celluloid"),
        QStringLiteral("io.github.celluloid_player.Celluloid"),
        QStringLiteral("org.kde.dragonplayer"),
        QStringLiteral("com.github.rafostar.Clapper"),
        QStringLiteral("parole"),
        QStringLiteral("org.xfce.Parole"),
    };
    return kPlayers;
}

}  // namespace

bool isMediaPlayer(const QString& bundleIdentifier) {
    return !bundleIdentifier.isEmpty() && mediaPlayers().contains(bundleIdentifier);
}

}  // namespace TRMediaPlayers
