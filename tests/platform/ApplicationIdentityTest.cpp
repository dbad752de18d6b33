// Which application a process is: ids in cgroups, the resolution order over real .desktop files
// that GIO reads from a temporary XDG_DATA_HOME and XDG_DATA_DIRS, the per-process cache over a
// fake /proc, and an application installed while its process runs.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <map>

#include "harness/DisposableDesktop.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/XdgAutostartLoginItems.h"

namespace {

void writeFile(const QString& path, const QByteArray& text, QFile::Permissions permissions = {}) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(text);
    if (permissions) file.setPermissions(permissions);
}

// "first/" and "second/" are the applications folders of XDG_DATA_DIRS in that order, "home/"
// that of XDG_DATA_HOME, "@/" the temporary folder. The programs are installed there ("bin" is on
// PATH): GIO skips an entry whose program is missing.
const char* const kEntries[][2] = {
    {"first/overridden", "Name=User Overridden\nExec=overridden --user"},
    {"first/hidden-by-user", "Name=User hides it\nHidden=true"},
    {"second/overridden", "Name=System Overridden\nExec=overridden"},
    {"second/hidden-by-user", "Name=System copy\nExec=overridden"},
    {"second/Terminal", "Name=Terminal\nExec=env TERM=xterm-256color LANG=C example-terminal"},
    {"second/notes", "Name=Notes\\sand\\sIdeas\nExec=notes-app"},
    {"second/org.x.Editor", "Name=Editor\n"
     "Exec=example-editor %U\nStartupWMClass=EditorWindow\n[Desktop Action new]\nName=New\nExec=example-editor -n"},
    {"second/org.x.EditorSettings", "Name=Settings\nExec=example-editor --prefs\nNoDisplay=true"},
    {"second/viewer", "Name=Viewer\nExec=\"@/Example Viewer/viewer\" --open %f"},
    {"second/script", "Name=Script\nExec=sh /usr/share/tool/tool.sh"},
    {"second/kde4/konsole", "Name=Old Konsole\nExec=konsole"},
    {"second/uninstalled", "Name=Uninstalled\nExec=no-such-program-anywhere"},
};
const char* const kPrograms[] = {"overridden", "example-terminal", "notes-app", "example-editor",
                                 "konsole",    "late-program",     "../Example Viewer/viewer"};

void writeEntry(const QString& root, QString name, const QByteArray& text) {
    name.insert(name.indexOf(QLatin1Char('/')), QStringLiteral("/applications"));
    QByteArray content = "[Desktop Entry]\nType=Application\n" + text + '\n';
    writeFile(root + '/' + name + ".desktop", content.replace("@/", root.toUtf8() + '/'));
}

// GLib reads these variables once per process: every test calls this before anything reads
// desktop entries, and the first call installs them.
QString installedApplications() {
    static QTemporaryDir dir;
    static const QString root = [] {
        const QString r = dir.path();
        for (const auto& [name, text] : kEntries) writeEntry(r, QLatin1String(name), text);
        for (const char* program : kPrograms) {
            writeFile(r + "/bin/" + program, "#!/bin/sh\n", QFile::ReadOwner | QFile::ExeOwner);
        }
        qputenv("XDG_DATA_HOME", (r + QStringLiteral("/home")).toUtf8());
        qputenv("XDG_DATA_DIRS", (r + QStringLiteral("/first:") + r + QStringLiteral("/second")).toUtf8());
        qputenv("PATH", (r + QStringLiteral("/bin:")).toUtf8() + qgetenv("PATH"));
        qunsetenv("LANGUAGE");
        qputenv("LC_ALL", "C.UTF-8");
        return r;
    }();
    return root;
}

WindowHints hints(const char* instance, const char* className, const char* gtk = "", const char* kde = "") {
    return {QLatin1String(instance), QLatin1String(className), QLatin1String(gtk), QLatin1String(kde)};
}

}  // namespace

TEST(ProcessIdentityTest, ReadsIdsOutOfCgroups) {
    const char* const cases[][5] = {  // name, cgroup, flatpak id, snap name, scope id
        {"flatpak scope", "0::/app-flatpak-org.gnome.Gedit-81234.scope\n", "org.gnome.Gedit", "", "org.gnome.Gedit"},
        {"launcher scope, escaped dash", "0::/app-gnome-org.x.My\\x2dApp-2201.scope\n", "", "", "org.x.My-App"},
        {"scope without launcher", "0::/app.slice/app-firefox\\x2desr-991.scope\n", "", "", "firefox-esr"},
        {"service with random part", "0::/app-gnome-org.gnome.Terminal@3f2a.service\n", "", "", "org.gnome.Terminal"},
        {"plain service", "0::/app.slice/app-org.kde.konsole.service\n", "", "", "org.kde.konsole"},
        {"snap", "0::/user.slice/app.slice/snap.firefox.firefox-1b2c.scope\n", "", "firefox", ""},
        {"cgroup v1 lines", "12:pids:/user.slice\n1:name=systemd:/app-gnome-gedit-55.scope\n", "", "", "gedit"},
        {"session scope is no application", "0::/user.slice/user-1000.slice/session-2.scope\n", "", "", ""},
    };
    for (const auto& [name, cgroup, flatpak, snap, scope] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ProcessIdentity::flatpakIdFromCgroup(cgroup), QLatin1String(flatpak));
        EXPECT_EQ(ProcessIdentity::snapNameFromCgroup(cgroup), QLatin1String(snap));
        EXPECT_EQ(ProcessIdentity::scopeIdFromCgroup(cgroup), QLatin1String(scope));
    }
}

TEST(ApplicationIdentityTest, ResolvesInTheDocumentedOrder) {
    const char* flatpak = "0::/app.slice/app-flatpak-org.x.Flat-12.scope\n";
    const struct {
        const char* name;
        const char* executable;  // "@/" is the temporary folder
        const char* cgroup;
        std::optional<WindowHints> hints;
        const char* expectedId;  // nullptr: no id
        const char* expectedName;
    } cases[] = {
        {"flatpak beats every hint", "/app/bin/ed", flatpak, hints("v", "Viewer", "org.x.Gtk"), "org.x.Flat", "Viewer"},
        {"snap name", "/snap/code/1/code", "0::/snap.code.code.4d1e.scope\n", hints("c", "Code"), "code", "Code"},
        {"gtk application id beats WM_CLASS", "/x", "", hints("viewer", "Viewer", "org.x.Editor"),
         "org.x.Editor", "Editor"},
        {"kde desktop file", "/x", "", hints("x", "X", "", "/usr/share/applications/viewer.desktop"), "viewer",
         "Viewer"},
        {"the first data folder wins", "/x", "", hints("x", "X", "overridden"), "overridden", "User Overridden"},
        {"and its Hidden entry hides later ones", "/x", "", hints("x", "X", "hidden-by-user"), "hidden-by-user", "X"},
        {"nor is an entry whose program is missing", "/x", "", hints("x", "X", "uninstalled"), "uninstalled", "X"},
        {"sub-folders joined by '-'", "/x", "", hints("x", "X", "kde4-konsole"), "kde4-konsole", "Old Konsole"},
        {"StartupWMClass = class", "/x", "", hints("ed", "EditorWindow"), "org.x.Editor", "Editor"},
        {"id = class, any case", "/x", "", hints("x", "VIEWER"), "viewer", "Viewer"},
        {"Exec: beats a NoDisplay entry", "/usr/bin/example-editor", "", {}, "org.x.Editor", "Editor"},
        {"Exec: same quoted path", "@/Example Viewer/viewer", "", hints("v", "V"), "viewer", "Viewer"},
        {"Exec: after env assignments", "/usr/bin/example-terminal", "", {}, "Terminal", "Terminal"},
        {"Exec: escapes undone", "/usr/bin/notes-app", "", {}, "notes", "Notes and Ideas"},
        {"launcher scope last", "/x", "0::/app-gnome-org.x.Scoped-7.scope\n", hints("u", "U"), "org.x.Scoped", "U"},
        {"nothing: WM_CLASS class names it", "/usr/bin/xmessage", "", hints("xm", "Xmessage"), nullptr, "Xmessage"},
        {"nothing, no window: the executable names it", "/usr/local/bin/tool", "", {}, nullptr, "tool"},
        {"an interpreter is not its script", "/bin/sh", "", hints("tool.sh", "Tool.sh"), nullptr, "Tool.sh"},
    };
    const QString root = installedApplications();
    DesktopEntryIndex index;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ProcessFacts facts;
        facts.exists = true;
        facts.executablePath = QString::fromUtf8(c.executable).replace(QStringLiteral("@/"), root + '/');
        facts.cgroup = c.cgroup;
        const ApplicationIdentity identity = ApplicationIdentityRules::resolve(facts, c.hints, index);
        EXPECT_EQ(identity.applicationId, c.expectedId ? QLatin1String(c.expectedId) : QString());
        EXPECT_EQ(identity.applicationId.isNull(), c.expectedId == nullptr);
        EXPECT_EQ(identity.localizedName, QLatin1String(c.expectedName));
    }
}

namespace {

class FakeWindowHints final : public WindowHintSource {
public:
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override {
        const auto found = hints.find(processIdentifier);
        return found == hints.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<quint64> lastFrontWindowOf(qint32 processIdentifier) override {
        const auto found = frontWindows.find(processIdentifier);
        return found == frontWindows.end() ? std::nullopt : std::optional(found->second);
    }
    std::map<qint32, WindowHints> hints;
    std::map<qint32, quint64> frontWindows;  // the latest look at the front
};

// A /proc folder in which processes can be started, replaced and ended.
class FakeProc final {
public:
    void run(qint32 pid, quint64 startTime, const QString& exe, char state = 'S', const QByteArray& flatpak = {}) {
        end(pid);
        writeFile(dir(pid) + QStringLiteral("/stat"), QByteArray::number(pid) + " (a (weird) name) " + state +
                                                          " 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 " +
                                                          QByteArray::number(startTime) + " 1 1\n");
        if (!flatpak.isEmpty()) writeFile(dir(pid) + QStringLiteral("/root/.flatpak-info"), flatpak);
        QFile::link(exe, dir(pid) + QStringLiteral("/exe"));
    }
    void end(qint32 pid) { QDir(dir(pid)).removeRecursively(); }
    QString path() const { return m_dir.path(); }

private:
    QString dir(qint32 pid) const { return m_dir.path() + QLatin1Char('/') + QString::number(pid); }
    QTemporaryDir m_dir;
};

}  // namespace

TEST(LinuxRunningApplicationsCacheTest, ResolvesOncePerProcessAgainForAReusedPidAndUntilAWindowShows) {
    installedApplications();
    FakeProc proc;
    FakeWindowHints windows;
    windows.hints[100] = hints("editor", "EditorWindow");
    proc.run(100, 1000, QStringLiteral("/usr/bin/example-editor"));
    proc.run(200, 1, QStringLiteral("/usr/bin/unknown-program"));
    proc.run(300, 1, QStringLiteral("/app/bin/flat"), 'S', "[Instance]\nname=no\n[Application]\nname=org.x.Flat\n");
    proc.run(400, 1, QStringLiteral("/usr/bin/gone"), 'Z');
    LinuxRunningApplications applications(windows, proc.path());

    const auto first = applications.runningApplication(100);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->bundleIdentifier, QStringLiteral("org.x.Editor"));
    EXPECT_EQ(first->executablePath, QStringLiteral("/usr/bin/example-editor"));
    windows.hints[100] = hints("viewer", "Viewer");  // cached: the window is not asked again
    EXPECT_EQ(applications.runningApplication(100), first);
    proc.run(100, 2000, QStringLiteral("/usr/bin/viewer"));  // the same pid, a later start
    EXPECT_EQ(applications.runningApplication(100)->bundleIdentifier, QStringLiteral("viewer"));
    proc.end(100);
    for (qint32 pid : {100, 400, -5}) EXPECT_EQ(applications.runningApplication(pid), std::nullopt) << pid;

    EXPECT_EQ(applications.runningApplication(300)->bundleIdentifier, QStringLiteral("org.x.Flat"));
    EXPECT_EQ(applications.runningApplication(200)->identifier(), QStringLiteral("unknown-program"));
    windows.hints[200] = hints("viewer", "Viewer");  // not cached while it had no window
    EXPECT_EQ(applications.runningApplication(200)->bundleIdentifier, QStringLiteral("viewer"));

    // While the same window of it stays in front, the window system vouches
    // for the process: /proc is read again only for another window.
    windows.frontWindows[300] = 7;
    EXPECT_TRUE(applications.runningApplication(300));
    proc.end(300);
    EXPECT_EQ(applications.runningApplication(300)->bundleIdentifier, QStringLiteral("org.x.Flat"));
    windows.frontWindows[300] = 8;
    EXPECT_EQ(applications.runningApplication(300), std::nullopt);
}

TEST(LinuxRunningApplicationsCacheTest, AnApplicationInstalledLaterIdentifiesItsRunningProcess) {
    const QString root = installedApplications();
    FakeProc proc;
    FakeWindowHints windows;
    windows.hints[300] = hints("late", "LateWindow");
    proc.run(300, 1, QStringLiteral("/usr/bin/late-program"));
    LinuxRunningApplications applications(windows, proc.path());
    const auto becomes = [&](const QString& id) {  // GIO reports changes through the GLib main context
        return DisposableDesktop::waitWithEvents(
            [&] { return applications.runningApplication(300).value_or(RunningApplication{}).bundleIdentifier == id; });
    };
    EXPECT_TRUE(becomes(QString()));
    // XDG_DATA_HOME/applications does not exist before this either.
    writeEntry(root, QStringLiteral("home/org.x.Late"), "Name=Late\nExec=late-program\nStartupWMClass=LateWindow");
    EXPECT_TRUE(becomes(QStringLiteral("org.x.Late")));
    QFile::remove(root + QStringLiteral("/home/applications/org.x.Late.desktop"));
    EXPECT_TRUE(becomes(QString()));
}

// The helper's login entry for a program whose path holds the entry format's special characters
// names that program for the helper and for GIO (what the session starts it with).
TEST(LoginEntryTest, NamesItsProgramForTheHelperAndForGio) {
    const QString root = installedApplications();
    XdgAutostartLoginItems loginItems(root + QStringLiteral("/home/applications"));
    DesktopEntryIndex index;
    const char* const names[] = {"with space", "quote\"d", "back\\slash", "cost$HOME",
                                 "line\nbreak", "caf\u00e9", "100%"};
    for (const char* name : names) {
        SCOPED_TRACE(name);
        const QString program = root + QStringLiteral("/Programs/") + QString::fromUtf8(name);
        writeFile(program, "#!/bin/sh\n", QFile::ReadOwner | QFile::ExeOwner);
        loginItems.setStartItemAtLogin(program, true);
        EXPECT_TRUE(loginItems.willItemStartAtLogin(program));
        // GIO looks for the program with "%%" as written, though it starts it with "%".
        if (!program.contains(QLatin1Char('%'))) {
            EXPECT_TRUE(DisposableDesktop::waitWithEvents([&] {
                const DesktopEntry* entry = index.entryForExecutable(program);
                return entry && entry->id == QStringLiteral("info.mallowby.VorlixHelper");
            }));
        }
        loginItems.setStartItemAtLogin(program, false);
    }
}
