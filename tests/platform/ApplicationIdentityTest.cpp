// Which application a process is: /proc facts, the resolution order over
// installed desktop entries, the per-process cache and its reset when an
// application is installed.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <map>

#include "harness/DisposableDesktop.h"
#include "platform/TestApplications.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/LinuxRunningApplications.h"

namespace {

const char kStatPrefix[] = "4242 (a (weird) name) S 1 4242 4242 0 -1 4194560 100 0 0 0 5 3 0 0 20 0 1 0 ";

}  // namespace

TEST(ProcessIdentityTest, ReadsIdsOutOfCgroupsAndFlatpakInfo) {
    const struct {
        const char* name;
        const char* cgroup;
        const char* flatpak;
        const char* snap;
        const char* scope;
    } cases[] = {
        {"flatpak scope",
         "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-flatpak-org.gnome.Gedit-81234.scope\n",
         "org.gnome.Gedit", "", "org.gnome.Gedit"},
        {"launcher scope with escaped dash",
         "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-gnome-org.example.My\\x2dApp-2201.scope\n",
         "", "", "org.example.My-App"},
        {"scope without launcher", "0::/user.slice/app.slice/app-firefox\\x2desr-991.scope\n", "", "", "firefox-esr"},
        {"service with random part", "0::/app.slice/app-gnome-org.gnome.Terminal@3f2a.service\n", "", "",
         "org.gnome.Terminal"},
        {"plain service", "0::/app.slice/app-org.kde.konsole.service\n", "", "", "org.kde.konsole"},
        {"snap", "0::/user.slice/user-1000.slice/user@1000.service/app.slice/snap.firefox.firefox-1b2c.scope\n",
         "", "firefox", ""},
        {"snap with dotted random", "0::/snap.code.code.4d1e7a.scope\n", "", "code", ""},
        {"cgroup v1 lines", "12:pids:/user.slice\n1:name=systemd:/user.slice/app-gnome-gedit-55.scope\n", "",
         "", "gedit"},
        {"session scope is no application", "0::/user.slice/user-1000.slice/session-2.scope\n", "", "", ""},
        {"empty", "", "", "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(ProcessIdentity::flatpakIdFromCgroup(c.cgroup), QLatin1String(c.flatpak));
        EXPECT_EQ(ProcessIdentity::snapNameFromCgroup(c.cgroup), QLatin1String(c.snap));
        EXPECT_EQ(ProcessIdentity::scopeIdFromCgroup(c.cgroup), QLatin1String(c.scope));
    }
    EXPECT_EQ(ProcessIdentity::flatpakIdFromInfo("[Instance]\nname=wrong\n[Application]\nname=org.gnome.Maps\n"
                                                 "runtime=runtime/org.gnome.Platform\n"),
              QStringLiteral("org.gnome.Maps"));
    EXPECT_EQ(ProcessIdentity::flatpakIdFromInfo("[Instance]\nname=wrong\n"), QString());
}

TEST(ProcessIdentityTest, StatFieldsSurviveParenthesesInTheCommandName) {
    EXPECT_EQ(ProcessIdentity::startTimeFromStat(QByteArray(kStatPrefix) + "987654 1000 200\n"), 987654u);
    EXPECT_EQ(ProcessIdentity::startTimeFromStat("garbage"), 0u);
    EXPECT_FALSE(ProcessIdentity::isZombieStat(QByteArray(kStatPrefix) + "1 2 3"));
    EXPECT_TRUE(ProcessIdentity::isZombieStat("77 (gone) (x) Z 1 77 77"));
}

TEST(ProcessIdentityTest, ReadsAProcessFromAProcFolder) {
    QTemporaryDir proc;
    const QString dir = proc.path() + QStringLiteral("/4242");
    ASSERT_TRUE(QDir().mkpath(dir + QStringLiteral("/root")));
    QFile stat(dir + QStringLiteral("/stat"));
    ASSERT_TRUE(stat.open(QIODevice::WriteOnly));
    stat.write(QByteArray(kStatPrefix) + "555 1 2\n");
    stat.close();
    QFile info(dir + QStringLiteral("/root/.flatpak-info"));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly));
    info.write("[Application]\nname=org.example.Flat\n");
    info.close();
    ASSERT_TRUE(QFile::link(QStringLiteral("/usr/bin/some-program"), dir + QStringLiteral("/exe")));

    const ProcessFacts facts = ProcessFacts::read(4242, proc.path());
    EXPECT_TRUE(facts.exists);
    EXPECT_EQ(facts.startTime, 555u);
    EXPECT_EQ(facts.executablePath, QStringLiteral("/usr/bin/some-program"));
    EXPECT_EQ(ProcessIdentity::flatpakIdFromInfo(facts.flatpakInfo), QStringLiteral("org.example.Flat"));
    EXPECT_FALSE(ProcessFacts::read(4343, proc.path()).exists);
}

namespace {

struct ResolutionCase final {
    const char* name;
    const char* executable;
    const char* cgroup;
    const char* flatpakInfo;
    std::optional<WindowHints> hints;
    const char* expectedId;  // nullptr: no id
    const char* expectedName;
};

WindowHints hints(const char* instance, const char* className, const char* gtk = "", const char* kde = "") {
    return {QLatin1String(instance), QLatin1String(className), QLatin1String(gtk), QLatin1String(kde)};
}

}  // namespace

TEST(ApplicationIdentityTest, ResolvesInTheDocumentedOrder) {
    const char* flatpakCgroup = "0::/app.slice/app-flatpak-org.example.FromCgroup-12.scope\n";
    const std::vector<ResolutionCase> cases = {
        {"flatpak info beats every window hint", "/app/bin/editor", flatpakCgroup,
         "[Application]\nname=org.example.Flat\n", hints("viewer", "Viewer", "org.example.Gtk"),
         "org.example.Flat", "Viewer"},
        {"flatpak cgroup without info", "/app/bin/editor", flatpakCgroup, "", std::nullopt,
         "org.example.FromCgroup", "editor"},
        {"snap name", "/snap/code/1/code", "0::/snap.code.code.4d1e.scope\n", "", hints("code", "Code"), "code",
         "Code"},
        {"gtk application id beats WM_CLASS", "/usr/bin/example-editor", "", "",
         hints("viewer", "Viewer", "org.example.Editor"), "org.example.Editor", "Example Editor"},
        {"kde desktop file path", "/usr/bin/x", "", "", hints("x", "X", "", "/usr/share/applications/viewer.desktop"),
         "viewer", "Viewer"},
        {"StartupWMClass", "/usr/bin/other", "", "", hints("editor", "ExampleEditorWindow"),
         "org.example.Editor", "Example Editor"},
        {"file name equals class, any case", "/usr/bin/other", "", "", hints("x", "VIEWER"), "viewer", "Viewer"},
        {"Exec program equals executable", "/usr/bin/example-terminal", "", "", hints("term", "Term"), "Terminal",
         "Terminal"},
        {"Exec matched without any window", "/usr/bin/notes-app", "", "", std::nullopt, "notes",
         "Notes and Ideas"},
        {"launcher scope last", "/usr/bin/unknown", "0::/app.slice/app-gnome-org.example.Scoped-7.scope\n", "",
         hints("unknown", "Unknown"), "org.example.Scoped", "Unknown"},
        {"nothing: WM_CLASS class names it", "/usr/bin/xmessage", "", "", hints("xmessage", "Xmessage"), nullptr,
         "Xmessage"},
        {"nothing and no window: the executable names it", "/usr/local/bin/tool", "", "", std::nullopt, nullptr,
         "tool"},
        {"interpreter runs a script", "/bin/sh", "", "", hints("tool.sh", "Tool.sh"), nullptr, "Tool.sh"},
    };
    TestApplications::root();
    DesktopEntryIndex index;
    for (const ResolutionCase& c : cases) {
        SCOPED_TRACE(c.name);
        ProcessFacts facts;
        facts.exists = true;
        facts.executablePath = QLatin1String(c.executable);
        facts.cgroup = c.cgroup;
        facts.flatpakInfo = c.flatpakInfo;
        const ApplicationIdentity identity = ApplicationIdentityRules::resolve(facts, c.hints, index);
        EXPECT_EQ(identity.applicationId, c.expectedId ? QLatin1String(c.expectedId) : QString());
        EXPECT_EQ(identity.applicationId.isNull(), c.expectedId == nullptr);
        EXPECT_EQ(identity.localizedName, QLatin1String(c.expectedName));
    }
}

namespace {

// Window hints per pid, with a count of how often they were asked for.
class FakeWindowHints final : public WindowHintSource {
public:
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override {
        ++asked;
        const auto found = hints.find(processIdentifier);
        if (found == hints.end()) return std::nullopt;
        return found->second;
    }
    std::map<qint32, WindowHints> hints;
    int asked = 0;
};

// A /proc folder in which processes can be started, replaced and ended.
class FakeProc final {
public:
    void run(qint32 pid, quint64 startTime, const QString& executable) {
        end(pid);
        QDir().mkpath(dir(pid));
        QFile stat(dir(pid) + QStringLiteral("/stat"));
        stat.open(QIODevice::WriteOnly);
        stat.write(QByteArray::number(pid) + " (p) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 " +
                   QByteArray::number(startTime) + " 1 1\n");
        stat.close();
        QFile::link(executable, dir(pid) + QStringLiteral("/exe"));
    }
    void end(qint32 pid) { QDir(dir(pid)).removeRecursively(); }
    QString path() const { return m_dir.path(); }

private:
    QString dir(qint32 pid) const { return m_dir.path() + QLatin1Char('/') + QString::number(pid); }
    QTemporaryDir m_dir;
};

}  // namespace

TEST(LinuxRunningApplicationsCacheTest, ResolvesOncePerProcessAgainForAReusedPidAndUntilAWindowShows) {
    TestApplications::root();
    FakeProc proc;
    FakeWindowHints windows;
    windows.hints[100] = hints("editor", "ExampleEditorWindow");
    proc.run(100, 1000, QStringLiteral("/usr/bin/example-editor"));
    proc.run(200, 1, QStringLiteral("/usr/bin/unknown-program"));
    LinuxRunningApplications applications(windows, proc.path());

    const auto first = applications.runningApplication(100);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->bundleIdentifier, QStringLiteral("org.example.Editor"));
    EXPECT_EQ(first->executablePath, QStringLiteral("/usr/bin/example-editor"));
    EXPECT_EQ(applications.runningApplication(100), first);
    EXPECT_EQ(windows.asked, 1);

    windows.hints[100] = hints("viewer", "Viewer");  // the same pid, a later start: another program
    proc.run(100, 2000, QStringLiteral("/usr/bin/viewer"));
    EXPECT_EQ(applications.runningApplication(100)->bundleIdentifier, QStringLiteral("viewer"));
    proc.end(100);
    EXPECT_EQ(applications.runningApplication(100), std::nullopt);
    EXPECT_EQ(applications.runningApplication(-5), std::nullopt);

    const auto early = applications.runningApplication(200);  // no window yet: not cached
    ASSERT_TRUE(early);
    EXPECT_EQ(early->identifier(), QStringLiteral("unknown-program"));
    windows.hints[200] = hints("viewer", "Viewer");
    EXPECT_EQ(applications.runningApplication(200)->bundleIdentifier, QStringLiteral("viewer"));
}

TEST(LinuxRunningApplicationsCacheTest, AnApplicationInstalledLaterIdentifiesItsRunningProcess) {
    TestApplications::root();
    FakeProc proc;
    FakeWindowHints windows;
    windows.hints[300] = hints("late", "LateWindow");
    proc.run(300, 1, QStringLiteral("/usr/bin/late-program"));
    LinuxRunningApplications applications(windows, proc.path());
    const auto idOf300 = [&] {
        QCoreApplication::processEvents();  // GIO reports changes through the GLib main context
        return applications.runningApplication(300).value_or(RunningApplication{}).bundleIdentifier;
    };
    EXPECT_TRUE(idOf300().isNull());

    TestApplications::setUserEntry(QStringLiteral("org.example.Late.desktop"),
                                   "Name=Late\nExec=late-program\nStartupWMClass=LateWindow\n");
    EXPECT_TRUE(DisposableDesktop::waitUntil([&] { return idOf300() == QLatin1String("org.example.Late"); }, 5000));
    TestApplications::setUserEntry(QStringLiteral("org.example.Late.desktop"), {});
    EXPECT_TRUE(DisposableDesktop::waitUntil([&] { return idOf300().isNull(); }, 5000));
}
