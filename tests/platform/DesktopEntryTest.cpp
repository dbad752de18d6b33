// The desktop-entry reader and the index of installed applications.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/linux/DesktopEntry.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "harness/DisposableDesktop.h"

namespace {

const QString kFixtures = QStringLiteral(VORLIX_TEST_DATA "/applications");

QStringList fixtureFolders() {
    return {kFixtures + QStringLiteral("/user"), kFixtures + QStringLiteral("/system")};
}

DesktopEntry parsed(const char* text) {
    const auto entry = DesktopEntry::parse(QByteArray(text), QStringLiteral("test"), QString());
    EXPECT_TRUE(entry.has_value());
    return entry.value_or(DesktopEntry{});
}

// The entry's id, or "(none)".
QString idOf(const DesktopEntry* entry) {
    return entry ? entry->id : QStringLiteral("(none)");
}

}  // namespace

TEST(DesktopEntryTest, ReadsOnlyTheMainGroup) {
    const DesktopEntry entry = parsed(
        "[Desktop Action new]\nName=Action first\nExec=wrong\n"
        "[Desktop Entry]\nType=Application\nName=Right\nExec=right %U\n"
        "[Desktop Action other]\nName=Action after\nExec=also-wrong\n");
    EXPECT_EQ(entry.name, QStringLiteral("Right"));
    EXPECT_EQ(entry.exec, QStringLiteral("right %U"));
    EXPECT_EQ(entry.type, QStringLiteral("Application"));
}

TEST(DesktopEntryTest, TextWithoutMainGroupIsNoEntry) {
    EXPECT_FALSE(DesktopEntry::parse("Name=Loose\n", QStringLiteral("x"), QString()).has_value());
    EXPECT_FALSE(DesktopEntry::parse("", QStringLiteral("x"), QString()).has_value());
}

TEST(DesktopEntryTest, UnescapesValuesAndReadsFlags) {
    const DesktopEntry entry = parsed(
        "[Desktop Entry]\nName = Tabs\\tand\\sspaces\\\\ \nNoDisplay=true\nHidden=false\n"
        "StartupWMClass=Some-Class\n# Name=commented out\n");
    EXPECT_EQ(entry.name, QStringLiteral("Tabs\tand spaces\\"));
    EXPECT_TRUE(entry.noDisplay);
    EXPECT_FALSE(entry.hidden);
    EXPECT_EQ(entry.startupWMClass, QStringLiteral("Some-Class"));
}

TEST(DesktopEntryTest, LocalizedNameFallsBackFromCountryAndModifierToLanguageToName) {
    const DesktopEntry entry = parsed(
        "[Desktop Entry]\nName=Editor\nName[de]=Editor (de)\nName[de_CH]=Editor (de_CH)\n"
        "Name[sr@latin]=Editor (sr@latin)\nName[fr]=\n");
    const struct {
        const char* locale;
        const char* expected;
    } cases[] = {
        {"de_CH.UTF-8", "Editor (de_CH)"}, {"de_AT.UTF-8", "Editor (de)"},
        {"de", "Editor (de)"},             {"sr_RS.UTF-8@latin", "Editor (sr@latin)"},
        {"sr_RS", "Editor"},               {"fr_FR.UTF-8", "Editor"},
        {"C.UTF-8", "Editor"},             {"", "Editor"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        EXPECT_EQ(entry.localizedName(QLatin1String(c.locale)), QLatin1String(c.expected));
    }
}

TEST(DesktopEntryTest, ExecProgramIsTheFirstUnquotedWordAfterEnv) {
    const struct {
        const char* exec;
        const char* program;
    } cases[] = {
        {"gedit %U", "gedit"},
        {"/usr/lib/firefox-esr/firefox-esr %u", "/usr/lib/firefox-esr/firefox-esr"},
        {"\"/opt/My App/bin/app\" --flag", "/opt/My App/bin/app"},
        {"\"/opt/quote\\\"d/app\"", "/opt/quote\"d/app"},
        {"env FOO=1 BAR=2 program --x", "program"},
        {"env", ""},
        {"", ""},
        {"   spaced   args", "spaced"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.exec);
        DesktopEntry entry;
        entry.exec = QString::fromUtf8(c.exec);
        EXPECT_EQ(entry.execProgram(), QString::fromUtf8(c.program));
    }
}

TEST(DesktopEntryIndexTest, UserFolderWinsAndHidesAndOnlyApplicationsCount) {
    DesktopEntryIndex index(fixtureFolders(), false);
    ASSERT_NE(index.entry(QStringLiteral("overridden")), nullptr);
    EXPECT_EQ(index.entry(QStringLiteral("overridden"))->name, QStringLiteral("User Overridden"));
    EXPECT_EQ(index.entry(QStringLiteral("hidden-by-user")), nullptr);
    EXPECT_EQ(index.entry(QStringLiteral("website")), nullptr);
    EXPECT_EQ(index.entry(QStringLiteral("not-a-desktop-file")), nullptr);
    ASSERT_NE(index.entry(QStringLiteral("kde4-konsole")), nullptr);
    EXPECT_EQ(index.entry(QStringLiteral("kde4-konsole"))->name, QStringLiteral("Old Konsole"));
    EXPECT_EQ(index.entry(QStringLiteral("notes"))->name, QStringLiteral("Notes and Ideas"));
}

TEST(DesktopEntryIndexTest, FindsEntriesForWindowClasses) {
    DesktopEntryIndex index(fixtureFolders(), false);
    const struct {
        const char* instance;
        const char* className;
        const char* expectedId;  // nullptr: none
    } cases[] = {
        {"editor", "ExampleEditorWindow", "org.example.Editor"},   // StartupWMClass = class
        {"ExampleEditorWindow", "Other", "org.example.Editor"},    // StartupWMClass = instance
        {"viewer", "Viewer", "viewer"},                            // file name = class, any case
        {"terminal", "Unrelated", "Terminal"},                     // file name = instance, any case
        {"exampleeditorwindow", "", nullptr},                      // StartupWMClass is exact
        {"", "", nullptr},
        {"nothing", "Nothing", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.instance);
        EXPECT_EQ(idOf(index.entryForWindowClass(QLatin1String(c.instance),
                                                  QLatin1String(c.className))),
                  QLatin1String(c.expectedId ? c.expectedId : "(none)"));
    }
}

TEST(DesktopEntryIndexTest, FindsEntriesForExecutables) {
    DesktopEntryIndex index(fixtureFolders(), false);
    const struct {
        const char* executable;
        const char* expectedId;
    } cases[] = {
        {"/usr/bin/example-editor", "org.example.Editor"},  // visible entry beats NoDisplay one
        {"/opt/Example Viewer/bin/viewer", "viewer"},       // same absolute path
        {"/elsewhere/viewer", "viewer"},                    // same file name
        {"/usr/bin/example-terminal", "Terminal"},          // after env assignments
        {"/usr/bin/python3", nullptr},                      // interpreters never match
        {"/usr/bin/unknown", nullptr},
        {"", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.executable);
        EXPECT_EQ(idOf(index.entryForExecutable(QString::fromUtf8(c.executable))),
                  QLatin1String(c.expectedId ? c.expectedId : "(none)"));
    }
}

TEST(DesktopEntryIndexTest, NoticesEntriesAddedAfterTheFirstLookup) {
    QTemporaryDir home;
    const QString folder = home.path() + QStringLiteral("/applications");
    DesktopEntryIndex index({folder}, true);
    const auto waitForLate = [&](bool present) {
        return DisposableDesktop::waitUntil(
            [&] {
                QCoreApplication::processEvents();
                return (index.entry(QStringLiteral("late")) != nullptr) == present;
            },
            5000);
    };
    EXPECT_EQ(index.entry(QStringLiteral("late")), nullptr);
    const quint64 before = index.generation();

    ASSERT_TRUE(QDir().mkpath(folder));  // the folder itself appears later too
    QFile file(folder + QStringLiteral("/late.desktop"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nName=Late\nExec=late\n");
    file.close();
    EXPECT_TRUE(waitForLate(true));
    EXPECT_GT(index.generation(), before);

    ASSERT_TRUE(QFile::remove(folder + QStringLiteral("/late.desktop")));
    EXPECT_TRUE(waitForLate(false));
}
