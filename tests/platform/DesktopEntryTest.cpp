// The installed applications as identification sees them: GIO reading real
// .desktop files from a temporary XDG_DATA_HOME and XDG_DATA_DIRS.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "platform/TestApplications.h"
#include "platform/linux/DesktopEntryIndex.h"

namespace {

// "first" and "second" are XDG_DATA_DIRS in that order; "@ROOT@" is the
// temporary folder. The programs below are installed on PATH or at "@ROOT@".
const struct {
    const char* file;
    const char* text;
} kEntries[] = {
    {"first/overridden.desktop", "Name=User Overridden\nExec=overridden --user\n"},
    {"first/hidden-by-user.desktop", "Name=User hides it\nHidden=true\n"},
    {"first/not-a-desktop-file.txt", "Name=No entry\nExec=overridden\n"},
    {"second/overridden.desktop", "Name=System Overridden\nExec=overridden\n"},
    {"second/hidden-by-user.desktop", "Name=System copy\nExec=overridden\n"},
    {"second/Terminal.desktop", "Name=Terminal\nExec=env TERM=xterm-256color LANG=C example-terminal\n"},
    {"second/notes.desktop", "Name=Notes\\sand\\sIdeas\nExec=notes-app\n"},
    {"second/org.example.Editor.desktop",
     "Name=Example Editor\nName[de]=Beispiel-Editor\nName[de_CH]=Beispiel-Editor (Schweiz)\n"
     "Name[sr@latin]=Primer urednik\nExec=example-editor %U\nStartupWMClass=ExampleEditorWindow\n"
     "[Desktop Action new-window]\nName=New Window\nExec=example-editor --new-window\n"},
    {"second/org.example.EditorSettings.desktop",
     "Name=Editor Settings\nExec=example-editor --preferences\nNoDisplay=true\n"},
    {"second/viewer.desktop", "Name=Viewer\nExec=\"@ROOT@/Example Viewer/viewer\" --open %f\n"},
    {"second/script.desktop", "Name=Script\nExec=sh /usr/share/tool/tool.sh\n"},
    {"second/website.desktop", "Type=Link\nName=A Web Site\nURL=https://example.org/\n"},
    {"second/kde4/konsole.desktop", "Name=Old Konsole\nExec=konsole\n"},
    {"second/uninstalled.desktop", "Name=Uninstalled\nExec=no-such-program-anywhere\n"},
};
const char* const kPrograms[] = {"bin/overridden",  "bin/example-terminal", "bin/notes-app",
                                 "bin/example-editor", "bin/konsole", "bin/late-program",
                                 "Example Viewer/viewer"};

void writeFile(const QString& path, const QByteArray& text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

QString idOf(const DesktopEntry* entry) { return entry ? entry->id : QStringLiteral("(none)"); }

}  // namespace

QString TestApplications::root() {
    static QTemporaryDir dir;
    static const bool installed = [] {
        const QString root = dir.path();
        for (const auto& e : kEntries) {
            QString file = QString::fromUtf8(e.file);
            file.insert(file.indexOf(QLatin1Char('/')), QStringLiteral("/applications"));
            QByteArray text = QByteArray(e.text).replace("@ROOT@", root.toUtf8());
            if (!text.startsWith("Type=")) text.prepend("Type=Application\n");
            writeFile(root + QLatin1Char('/') + file, "[Desktop Entry]\n" + text);
        }
        for (const char* program : kPrograms) {
            const QString path = root + QLatin1Char('/') + QLatin1String(program);
            writeFile(path, "#!/bin/sh\n");
            QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
        }
        qputenv("XDG_DATA_HOME", (root + QStringLiteral("/home")).toUtf8());
        qputenv("XDG_DATA_DIRS", (root + QStringLiteral("/first:") + root + QStringLiteral("/second")).toUtf8());
        qputenv("PATH", (root + QStringLiteral("/bin:")).toUtf8() + qgetenv("PATH"));
        qunsetenv("LANGUAGE");
        qputenv("LC_ALL", "C.UTF-8");
        return true;
    }();
    return installed ? dir.path() : QString();
}

void TestApplications::setUserEntry(const QString& fileName, const QByteArray& text) {
    const QString path = root() + QStringLiteral("/home/applications/") + fileName;
    if (text.isEmpty()) {
        QFile::remove(path);
    } else {
        writeFile(path, "[Desktop Entry]\nType=Application\n" + text);
    }
}

TEST(DesktopEntryIndexTest, FindsInstalledApplicationsById) {
    TestApplications::root();
    DesktopEntryIndex index;
    const struct {
        const char* id;
        const char* name;  // nullptr: not an installed application
    } cases[] = {
        {"overridden", "User Overridden"},        // the first data folder wins
        {"hidden-by-user", nullptr},              // and its Hidden entry hides the later one
        {"website", nullptr},                     // a link
        {"not-a-desktop-file", nullptr},
        {"uninstalled", nullptr},                 // its program is nowhere
        {"kde4-konsole", "Old Konsole"},          // sub-folder joined by '-'
        {"notes", "Notes and Ideas"},             // escapes undone
        {"org.example.Editor", "Example Editor"},  // the action's Name does not leak
        {"Terminal", "Terminal"},
        {"terminal", nullptr},                    // ids are exact
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        const DesktopEntry* entry = index.entry(QLatin1String(c.id));
        EXPECT_EQ(entry ? entry->localizedName : QString(), QLatin1String(c.name));
    }
}

TEST(DesktopEntryIndexTest, FindsEntriesForWindowClasses) {
    TestApplications::root();
    DesktopEntryIndex index;
    const struct {
        const char* instance;
        const char* className;
        const char* expectedId;
    } cases[] = {
        {"editor", "ExampleEditorWindow", "org.example.Editor"},  // StartupWMClass = class
        {"ExampleEditorWindow", "Other", "org.example.Editor"},   // StartupWMClass = instance
        {"viewer", "VIEWER", "viewer"},                            // id = class, any case
        {"terminal", "Unrelated", "Terminal"},                     // id = instance, any case
        {"exampleeditorwindow", "", "(none)"},                     // StartupWMClass is exact
        {"", "", "(none)"},
        {"nothing", "Nothing", "(none)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.instance);
        EXPECT_EQ(idOf(index.entryForWindowClass(QLatin1String(c.instance), QLatin1String(c.className))),
                  QLatin1String(c.expectedId));
    }
}

TEST(DesktopEntryIndexTest, FindsEntriesForExecutables) {
    const QString viewer = TestApplications::root() + QStringLiteral("/Example Viewer/viewer");
    DesktopEntryIndex index;
    const struct {
        QString executable;
        const char* expectedId;
    } cases[] = {
        {QStringLiteral("/usr/bin/example-editor"), "org.example.Editor"},  // beats the NoDisplay one
        {viewer, "viewer"},                                                 // same quoted path
        {QStringLiteral("/elsewhere/viewer"), "viewer"},                    // same file name
        {QStringLiteral("/usr/bin/example-terminal"), "Terminal"},          // after env assignments
        {QStringLiteral("/bin/sh"), "(none)"},                              // interpreters never match
        {QStringLiteral("/usr/bin/unknown"), "(none)"},
        {QString(), "(none)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.executable.toStdString());
        EXPECT_EQ(idOf(index.entryForExecutable(c.executable)), QLatin1String(c.expectedId));
    }
}

TEST(DesktopEntryIndexTest, NameFollowsTheUsersLanguage) {
    TestApplications::root();
    const struct {
        const char* locale;
        const char* name;
    } cases[] = {
        {"de_DE.UTF-8", "Beispiel-Editor"},   {"de_CH.UTF-8", "Beispiel-Editor (Schweiz)"},
        {"sr_RS.UTF-8@latin", "Primer urednik"}, {"sr_RS.UTF-8", "Example Editor"},
        {"en_GB.UTF-8", "Example Editor"},    {"C.UTF-8", "Example Editor"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        qputenv("LC_ALL", c.locale);
        DesktopEntryIndex index;
        const DesktopEntry* entry = index.entry(QStringLiteral("org.example.Editor"));
        EXPECT_EQ(entry ? entry->localizedName : QString(), QLatin1String(c.name));
    }
    qputenv("LC_ALL", "C.UTF-8");
}
