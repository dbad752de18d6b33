// The default projects offered for a new store: eleven categories of
// well-known applications, each with a colour. Each row keeps the ids the
// main application uses on every desktop and adds the desktop-entry ids of
// the same or equivalent Linux applications (Flatpak ids included); only the
// installed ones end up in a project, and a category without any is left out.
#include <QCoreApplication>

#include "store/project/TRProjectStore.h"

namespace {

struct SampleProject {
    const char* name;
    TRPSColor color;
    QStringList identifiers;
};

QStringList ids(std::initializer_list<const char*> list) {
    QStringList result;
    for (const char* id : list) result.append(QString::fromLatin1(id));
    return result;
}

const std::vector<SampleProject>& sampleProjects() {
    static const std::vector<SampleProject> kProjects = {
        {QT_TRANSLATE_NOOP("TRProjectStore", "Web Browsing"), TRPSColor::orangeColor(),
         ids({"com.apple.Safari", "org.mozilla.firefox", "com.google.Chrome",
              "org.chromium.Chromium", "com.operasoftware.Opera",
              // Linux
              "firefox", "firefox-esr", "chromium", "chromium-browser", "google-chrome",
              "org.gnome.Epiphany", "epiphany", "opera", "brave-browser", "com.brave.Browser",
              "vivaldi-stable", "org.qutebrowser.qutebrowser", "falkon", "org.kde.falkon",
              "org.kde.konqueror"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Media"), TRPSColor::redColor(),
         ids({"com.apple.DVDPlayer", "com.apple.frontrow", "com.apple.iTunes",
              "com.apple.QuickTimePlayer", "com.apple.QuickTimePlayerX", "org.m0k.handbrake",
              "com.teamxbmc.xbmc", "org.videolan.vlc", "org.niltsh.MPlayerX",
              // Linux
              "vlc", "org.videolan.VLC", "mpv", "io.mpv.Mpv", "org.gnome.Totem", "totem",
              "kodi", "tv.kodi.Kodi", "fr.handbrake.ghb", "ghb", "org.kde.elisa",
              "org.gnome.Rhythmbox3", "rhythmbox", "audacious", "smplayer", "celluloid",
              "io.github.celluloid_player.Celluloid", "org.kde.dragonplayer", "spotify",
              "com.spotify.Client"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Communication"), TRPSColor::greenColor(),
         ids({"com.apple.mail", "com.apple.AddressBook", "com.apple.iChat", "com.apple.FaceTime",
              "com.adiumX.adiumX", "com.skype.skype", "info.colloquy", "com.teamspeak.TeamSpeak3",
              "nl.savvy.TeamSpeex",
              // Linux
              "thunderbird", "org.mozilla.Thunderbird", "net.thunderbird.Thunderbird",
              "org.gnome.Evolution", "evolution", "org.kde.kmail2", "org.gnome.Contacts",
              "org.kde.kaddressbook", "pidgin", "im.pidgin.Pidgin", "org.gnome.Polari",
              "hexchat", "io.github.Hexchat", "org.kde.konversation", "skypeforlinux",
              "com.skype.Client", "teamspeak3", "com.teamspeak.TeamSpeak", "org.telegram.desktop",
              "signal-desktop", "org.signal.Signal", "element-desktop", "im.riot.Riot",
              "discord", "com.discordapp.Discord", "geary", "org.gnome.Geary"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Office"), TRPSColor::lightGrayColor(),
         ids({"com.apple.TextEdit", "com.apple.iCal", "com.apple.iWork.Pages",
              "com.apple.iWork.Numbers", "com.apple.iWork.Keynote", "com.marinersoftware.write",
              "com.SevenYearsDreaming.Bean", "edu.ucsd.cs.mmccrack.bibdesk",
              "fr.chachatelier.pierre.LaTeXiT", "TeXShop", "org.tug.texworks",
              "com.adobe.Acrobat", "org.openoffice.script", "org.libreoffice.script",
              "com.microsoft.Word", "com.microsoft.Excel", "com.microsoft.Powerpoint",
              "com.microsoft.Outlook",
              // Linux
              "org.gnome.gedit", "gedit", "org.gnome.TextEditor", "mousepad",
              "org.xfce.mousepad", "org.kde.kwrite", "org.gnome.Calendar", "org.kde.korganizer",
              "libreoffice-writer", "libreoffice-calc", "libreoffice-impress",
              "libreoffice-startcenter", "org.libreoffice.LibreOffice", "abiword", "gnumeric",
              "texworks", "texstudio", "org.texstudio.TeXstudio", "org.kde.kile", "lyx",
              "org.lyx.LyX", "jabref", "org.jabref.jabref", "onlyoffice-desktopeditors",
              "org.onlyoffice.desktopeditors"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Reading"), TRPSColor::orangeColor(),
         ids({"com.apple.Preview", "com.tsst.simplecomic", "org.djvu.DjView",
              "net.sourceforge.skim-app.skim", "stanza", "net.kovidgoyal.calibre",
              "com.adobe.AcrobatReader", "org.andrew.zhezherun.macdjview",
              // Linux
              "org.gnome.Evince", "evince", "org.kde.okular", "okularApplication_pdf",
              "org.pwmt.zathura", "zathura", "djview4", "calibre-gui", "com.calibre_ebook.calibre",
              "org.gnome.Papers", "xreader", "atril", "mcomix", "org.kde.peruse",
              "com.github.johnfactotum.Foliate"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "File Management"), TRPSColor::whiteColor(),
         ids({"ch.sudo.cyberduck", "com.apple.finder",
              // Linux
              "org.gnome.Nautilus", "nautilus", "org.kde.dolphin", "thunar", "org.xfce.thunar",
              "pcmanfm", "pcmanfm-qt", "nemo", "caja", "filezilla", "org.filezillaproject.Filezilla",
              "org.kde.krusader", "doublecmd"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "iLife"), TRPSColor::lightPurpleColor(),
         ids({"com.apple.garageband", "com.apple.iPhoto", "com.apple.iDVD", "com.apple.iWeb",
              "com.apple.iMovie", "com.apple.iMovie7", "com.apple.iMovie8", "com.apple.iMovie9",
              // Linux
              "org.gnome.Shotwell", "shotwell", "org.kde.digikam", "org.kde.kdenlive",
              "org.openshot.OpenShot", "openshot-qt", "org.pitivi.Pitivi", "org.ardour.Ardour",
              "org.audacityteam.Audacity", "audacity", "org.kde.gwenview", "lmms",
              "io.lmms.LMMS"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Image Editing"), TRPSColor::blueColor(),
         ids({"com.pixelmatorteam.pixelmator", "com.flyingmeat.Acorn",
              "com.adobe.PhotoshopElements", "com.adobe.Photoshop", "com.adobe.Illustrator",
              "com.adobe.Fireworks", "com.apple.iPhoto",
              // Linux
              "gimp", "org.gimp.GIMP", "inkscape", "org.inkscape.Inkscape", "krita",
              "org.kde.krita", "darktable", "org.darktable.Darktable", "rawtherapee",
              "com.rawtherapee.RawTherapee", "pinta", "com.github.PintaProject.Pinta",
              "mypaint", "org.mypaint.MyPaint", "shotwell", "org.gnome.Shotwell"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Development"), TRPSColor::blueColor(),
         ids({"com.apple.dt.Xcode", "com.apple.dt.IDE.Cocoa-Simulator", "com.apple.Xcode",
              "com.apple.InterfaceBuilder3", "org.fraise.Fraise", "nl.frim.GitX",
              "com.barebones.textwrangler", "org.editra.Editra", "com.google.code.sequel-pro",
              "net.pornel.ImageOptim", "com.apple.Terminal", "com.mrFridge.Tincta",
              "com.github.GitHub", "com.panic.Coda", "se.hunch.kod",
              // Linux
              "code", "com.visualstudio.code", "codium", "com.vscodium.codium",
              "org.gnome.Builder", "org.kde.kdevelop", "org.qt-project.qtcreator",
              "org.qt-project.QtCreator", "emacs", "org.gnu.emacs", "gvim", "org.vim.Vim",
              "geany", "org.geany.Geany", "org.kde.kate", "gitg", "org.gnome.gitg", "gitk",
              "git-cola", "org.gnome.Terminal", "org.kde.konsole", "xfce4-terminal",
              "org.xfce.terminal", "xterm", "debian-xterm", "uxterm", "debian-uxterm",
              "terminator", "tilix", "com.gexperts.Tilix", "alacritty", "kitty",
              "org.wezfurlong.wezterm", "org.gnome.Console", "io.elementary.terminal",
              "mate-terminal", "lxterminal", "dbeaver", "io.dbeaver.DBeaverCommunity",
              "jetbrains-idea-ce", "com.jetbrains.IntelliJ-IDEA-Community",
              "com.jetbrains.PyCharm-Community", "org.eclipse.Java", "eclipse",
              "sublime_text", "com.sublimetext.three"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Finance"), TRPSColor::yellowColor(),
         ids({"com.ideaswarm.AppViz", "com.ideaswarm.AppViz2", "com.damabia.appstar",
              // Linux
              "gnucash", "org.gnucash.GnuCash", "org.kde.kmymoney", "homebank",
              "fr.free.Homebank", "org.gnome.Money"})},
        {QT_TRANSLATE_NOOP("TRProjectStore", "Games"), TRPSColor::redColor(),
         ids({"com.apple.Chess", "com.activision.rtcw_et", "com.epicgames.ut2004",
              "com.dot3labs.sauerbraten", "com.transgaming.cider.leagueoflegends",
              "com.ghost4mac.Genie", "com.blizzard.WarcraftIII",
              "com.blizzard.warcraft3.thefrozenthrone", "com.valvesoftware.steam",
              "com.Frozenbyte.TrineSteam", "com.Frozenbyte.TrineSteamLauncher",
              "com.blizzard.BNUpdate",
              // Linux
              "org.gnome.Chess", "gnome-chess", "org.kde.knights", "steam",
              "com.valvesoftware.Steam", "sauerbraten", "etlegacy", "com.etlegacy.ETLegacy",
              "net.lutris.Lutris", "lutris", "org.gnome.Mines", "org.gnome.Sudoku",
              "org.kde.kpat", "supertuxkart", "net.supertuxkart.SuperTuxKart",
              "org.wesnoth.Wesnoth", "org.libretro.RetroArch"})},
    };
    return kProjects;
}

}  // namespace

void TRProjectStore::createSampleProjects() {
    for (const SampleProject& sample : sampleProjects()) {
        createProjectWithName(QCoreApplication::translate("TRProjectStore", sample.name),
                              sample.identifiers, sample.color);
    }
}
