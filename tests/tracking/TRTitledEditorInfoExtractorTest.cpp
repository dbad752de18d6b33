// Editors whose window title names the file: each title shape, resolved
// against the editor's working directory and the home folder, and only to a
// file that exists.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "ExtractionFixture.h"
#include "fakes/FakeProcessSource.h"
#include "tracking/TRTitledEditorInfoExtractor.h"

namespace {
constexpr qint32 kEditor = 400;
}  // namespace

TEST(TRTitledEditorInfoExtractorTest, EachTitleShapeGivesTheFileFirst) {
    const QString cwd = u"/work/proj"_s;
    const QString home = u"/home/ann"_s;
    const struct {
        const char* title;
        const char* want;  // the first candidate; null: no shape
    } cases[] = {
        {"notes.txt (~/docs) - gedit", "/home/ann/docs/notes.txt"},
        {"/srv/a/notes.txt - Mousepad", "/srv/a/notes.txt"},
        {"*src/main.c - Mousepad", "/work/proj/src/main.c"},
        {"~/docs/notes.txt — Kate", "/home/ann/docs/notes.txt"},
        {"● main.c — proj — Visual Studio Code", "/work/proj/main.c"},
        {"*main.c - /work/proj/src - Geany", "/work/proj/src/main.c"},
        {"proj – Main.kt", "/work/proj/Main.kt"},
        {"Untitled Document 1 - gedit", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        const QStringList got = TRTitledEditorInfoExtractor::candidateFiles(q(c.title), cwd, home);
        EXPECT_EQ(got.value(0), q(c.want));
    }
}

TEST(TRTitledEditorInfoExtractorTest, WritesOnlyAFileThatExists) {
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkpath(u"src"_s));
    QFile file(dir.path() + u"/src/main.c"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    FakeProcessSource processes;
    processes.processes[kEditor].workingDirectory = dir.path();
    TRExtractionContext context;
    context.processes = &processes;

    auto documentFor = [&](const QString& title) {
        TRActivity activity = makeActivity(makeApplication(kEditor, u"mousepad"_s), title);
        TRTitledEditorInfoExtractor::instance().writeDetailsForActivity(activity, context);
        return activity.documentPath();
    };
    const QString found = QUrl::fromLocalFile(file.fileName()).toString(QUrl::FullyEncoded);
    EXPECT_EQ(documentFor(u"src/main.c - Mousepad"_s), found);
    EXPECT_TRUE(documentFor(u"src/gone.c - Mousepad"_s).isNull());
}
