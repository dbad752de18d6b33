#include "tracking/TRExtractorTables.h"

#include <iterator>

namespace TRExtractorTables {
namespace {

constexpr Origin O = Origin::Original;
constexpr Origin L = Origin::Linux;

// Extractor classes by name. Only TRDummyInfoExtractor exists today; the
// browser extractors (Safari, Chrome, Opera) and the other scripted
// extractors (Mail, Postbox, Finder, Terminal, Xcode, Evernote, MarsEdit,
// Coda) arrive with their own issues, and their entries wait until then.
constexpr char kSafari[] = "TRSafariInfoExtractor";
constexpr char kChrome[] = "TRChromeInfoExtractor";
constexpr char kOpera[] = "TROperaInfoExtractor";
constexpr char kMail[] = "TRMailInfoExtractor";
constexpr char kPostbox[] = "TRPostboxInfoExtractor";
constexpr char kFinder[] = "TRFinderInfoExtractor";
constexpr char kTerminal[] = "TRTerminalInfoExtractor";
constexpr char kXcode[] = "TRXcodeInfoExtractor";
constexpr char kEvernote[] = "TREvernoteInfoExtractor";
constexpr char kMarsEdit[] = "TRMarsEditInfoExtractor";
constexpr char kCoda[] = "TRCodaInfoExtractor";
constexpr char kDummy[] = "TRDummyInfoExtractor";

constexpr RegistryEntry kRegistry[] = {
    {"com.apple.Safari", kSafari, O},
    {"com.google.Chrome", kChrome, O},
    {"com.google.Chrome.canary", kChrome, O},
    {"org.chromium.Chromium", kChrome, O},
    {"com.operasoftware.Opera", kOpera, O},
    {"com.apple.mail", kMail, O},
    {"com.postbox-inc.postbox", kPostbox, O},
    {"com.apple.finder", kFinder, O},
    {"com.apple.Terminal", kTerminal, O},
    {"com.googlecode.iterm2", kTerminal, O},
    {"com.apple.dt.Xcode", kXcode, O},
    {"com.evernote.Evernote", kEvernote, O},
    {"com.red-sweater.marsedit", kMarsEdit, O},
    {"com.panic.Coda", kCoda, O},
    {"com.apple.frontrow", kDummy, O},

    // Linux: the same browsers under their desktop entry and Flatpak ids; the
    // desktop's WebKit browser stands with the WebKit one.
    {"chromium", kChrome, L},
    {"chromium-browser", kChrome, L},
    {"google-chrome", kChrome, L},
    {"google-chrome-beta", kChrome, L},
    {"google-chrome-unstable", kChrome, L},
    {"opera", kOpera, L},
    {"com.opera.Opera", kOpera, L},
    {"org.gnome.Epiphany", kSafari, L},
    // Mail: the desktop's mail client, and the family Postbox is built on.
    {"org.gnome.Evolution", kMail, L},
    {"thunderbird", kPostbox, L},
    {"org.mozilla.Thunderbird", kPostbox, L},
    {"net.thunderbird.Thunderbird", kPostbox, L},
    // File managers.
    {"org.gnome.Nautilus", kFinder, L},
    {"nautilus", kFinder, L},
    {"thunar", kFinder, L},
    {"org.xfce.Thunar", kFinder, L},
    {"pcmanfm", kFinder, L},
    {"pcmanfm-qt", kFinder, L},
    {"org.kde.dolphin", kFinder, L},
    {"caja", kFinder, L},
    {"nemo", kFinder, L},
    // Terminals (Debian names xterm's entries "debian-xterm"/"debian-uxterm").
    {"xterm", kTerminal, L},
    {"uxterm", kTerminal, L},
    {"debian-xterm", kTerminal, L},
    {"debian-uxterm", kTerminal, L},
    {"org.gnome.Terminal", kTerminal, L},
    {"org.gnome.Console", kTerminal, L},
    {"org.kde.konsole", kTerminal, L},
    {"xfce4-terminal", kTerminal, L},
    {"lxterminal", kTerminal, L},
    {"mate-terminal", kTerminal, L},
    {"qterminal", kTerminal, L},
    {"terminator", kTerminal, L},
    {"com.gexperts.Tilix", kTerminal, L},
    {"kitty", kTerminal, L},
    {"Alacritty", kTerminal, L},
    {"rxvt-unicode", kTerminal, L},
    // The full-screen media centre.
    {"kodi", kDummy, L},
    {"tv.kodi.Kodi", kDummy, L},
};

constexpr const char* kExcludedBundleIdentifiers[] = {
    "com.apple.loginwindow",
    "com.apple.securityagent",
    "com.apple.UnmountAssistantAgent",
    "com.apple.UserNotificationCenter",
    "com.apple.systemuiserver",
    "com.apple.ScreenSaver.Engine",
    "com.apple.coreservices.uiagent",
    "com.apple.WebKit.PluginHost",
    "com.apple.AutomatorRunner",
    "com.apple.ProblemReporter",
    "com.apple.frameworks.diskimages.uiagent",
    "com.apple.iCal.helper",
    "com.apple.dock",
    "com.apple.dashboard.client",
    "com.apple.dock.syncclient",
    "com.apple.dashboard.installer",
    "com.apple.dashboard.widgetadvisory",
    "com.apple.FontRegistryUIAgent",
    "com.apple.eap8021x.eaptlstrust",
    "com.apple.NetAuthAgent",
    "com.apple.airport.helper",
};

constexpr DesktopAgent kDesktopAgents[] = {
    {"xscreensaver", "lock screen"},
    {"xscreensaver-auth", "lock screen"},
    {"light-locker", "lock screen"},
    {"gnome-screensaver", "lock screen"},
    {"i3lock", "lock screen"},
    {"xfce4-screensaver", "lock screen"},
    {"xfce4-screensaver-dialog", "lock screen"},
    {"kscreenlocker_greet", "lock screen"},
    {"mate-screensaver", "lock screen"},
    {"cinnamon-screensaver", "lock screen"},
    {"xsecurelock", "lock screen"},
    {"slock", "lock screen"},
    {"polkit-gnome-authentication-agent-1", "polkit agent"},
    {"polkit-kde-authentication-agent-1", "polkit agent"},
    {"org.kde.polkit-kde-authentication-agent-1", "polkit agent"},
    {"polkit-mate-authentication-agent-1", "polkit agent"},
    {"mate-polkit", "polkit agent"},
    {"lxpolkit", "polkit agent"},
    {"lxqt-policykit-agent", "polkit agent"},
    {"xfce-polkit", "polkit agent"},
    {"org.gnome.Shell", "desktop shell"},
    {"gnome-shell", "desktop shell"},
    {"notification-daemon", "notification daemon"},
    {"dunst", "notification daemon"},
    {"xfce4-notifyd", "notification daemon"},
    {"mate-notification-daemon", "notification daemon"},
    {"lxqt-notificationd", "notification daemon"},
    {"notify-osd", "notification daemon"},
    {"xfce4-panel", "panel or dock"},
    {"lxpanel", "panel or dock"},
    {"lxqt-panel", "panel or dock"},
    {"mate-panel", "panel or dock"},
    {"plank", "panel or dock"},
    {"tint2", "panel or dock"},
    {"trayer", "panel or dock"},
    {"cairo-dock", "panel or dock"},
    {"polybar", "panel or dock"},
    {"plasmashell", "panel or dock"},
    {"org.kde.plasmashell", "panel or dock"},
    {"xfdesktop", "desktop window"},
    {"nautilus-desktop", "desktop window"},
    {"gcr-prompter", "password prompt"},
    {"ssh-askpass", "password prompt"},
    {"x11-ssh-askpass", "password prompt"},
    {"ksshaskpass", "password prompt"},
};

QSet<QString> toSet(std::span<const char* const> names) {
    QSet<QString> set;
    for (const char* name : names) set.insert(QString::fromLatin1(name));
    return set;
}

}  // namespace

std::span<const RegistryEntry> registryEntries() {
    return kRegistry;
}

const QSet<QString>& excludedBundleIdentifiers() {
    static const QSet<QString> set = toSet(kExcludedBundleIdentifiers);
    return set;
}

const QSet<QString>& excludedExecutableNames() {
    static const QSet<QString> set{QStringLiteral("ccc_helper")};
    return set;
}

const QSet<QString>& linuxDesktopAgentNames() {
    static const QSet<QString> set = [] {
        QSet<QString> names;
        for (const DesktopAgent& agent : kDesktopAgents)
            names.insert(QString::fromLatin1(agent.name));
        return names;
    }();
    return set;
}

}  // namespace TRExtractorTables
