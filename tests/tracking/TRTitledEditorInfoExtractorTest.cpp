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

QString q(const char* s) { return QString::fromUtf8(s); }

}  // namespace

TEST(TRTitledEditorInfoExtractorTest, EachTitleShapeGivesTheFileFirst) {
    const QString cwd = QStringLiteral("/work/proj");
    const QString home = QStringLiteral("/home/ann");
    const struct {
        const char* title;
        const char* want;  // the first candidate; null: no shape
    } cases[] = {
        {"notes.txt (~/docs) - gedit", "/home/ann/docs/notes.txt"},
        {"*notes.txt (/srv/a) - gedit", "/srv/a/notes.txt"},
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
        EXPECT_EQ(got.value(0), c.want ? q(c.want) : QString());
    }
}

TEST(TRTitledEditorInfoExtractorTest, WritesOnlyAFileThatExists) {
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("src")));
    QFile file(dir.path() + QStringLiteral("/src/main.c"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    FakeProcessSource processes;
    processes.processes[kEditor].workingDirectory = dir.path();
    TRExtractionContext context;
    context.processes = &processes;

    auto documentFor = [&](const QString& title) {
        TRActivity activity = makeActivity(makeApplication(kEditor, QStringLiteral("mousepad")));
        activity.setWindowTitle(title);
        TRTitledEditorInfoExtractor::instance().writeDetailsForActivity(activity, context);
        return activity.documentPath();
    };
    EXPECT_EQ(documentFor(QStringLiteral("src/main.c - Mousepad")),
              QUrl::fromLocalFile(file.fileName()).toString(QUrl::FullyEncoded));
    EXPECT_EQ(documentFor(QStringLiteral("main.c (%1/src) - gedit").arg(dir.path())),
              QUrl::fromLocalFile(file.fileName()).toString(QUrl::FullyEncoded));
    EXPECT_TRUE(documentFor(QStringLiteral("src/gone.c - Mousepad")).isNull());
    EXPECT_TRUE(documentFor(QStringLiteral("src - Mousepad")).isNull());
}
