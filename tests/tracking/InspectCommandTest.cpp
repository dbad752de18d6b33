#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>
#include <csignal>
#include <functional>

#include "ExtractionFixture.h"
#include "app/InspectCommand.h"

namespace {

constexpr qint32 kPid = 4321;

class InspectCommandTest : public ExtractionTest {
protected:
    TRExtractionContext platform() { return m_context; }

    int run(const QStringList& arguments, const TRExtractionContext& context) {
        m_out.clear();
        m_err.clear();
        QTextStream out(&m_out);
        QTextStream err(&m_err);
        return runInspectCommand(arguments, context, out, err);
    }

    void editorInFront(const QString& id) {
        RunningApplication editor = makeApplication(kPid, id, QStringLiteral("mousepad"));
        editor.localizedName = QStringLiteral("Mousepad");
        m_applications.add(editor);
        m_windows.setFrontProcess(kPid);
        m_windows.setWindows({WindowInfo{1, kPid, QStringLiteral("notes.txt - Mousepad"), 1}});
    }

    QString m_out;
    QString m_err;
};

TEST_F(InspectCommandTest, NamesTheExtractorAndWhatItChanged) {
    struct Case {
        const char* name;
        QString id;
        std::function<void()> prepare;
        QStringList wantLines;
    };
    const Case cases[] = {
        {"what will be recorded, and a document name from the generic extractor",
         "org.example.Editor",
         [this] {
             auto scripted = m_scripting.application(kPid);
             scripted->answer("pADc", FakeScriptedApplication::referenceTo("docu[1]"));
             scripted->answer("docu[1].pnam", ScriptValue{QStringLiteral("Untitled 1")});
         },
         {"application: Mousepad", "id: org.example.Editor", "executable: /usr/bin/mousepad",
          "pid: 4321", "window title: notes.txt - Mousepad", "document path: (none)",
          "document title: Untitled 1", "extractor: TRGenericInfoExtractor"}},
        {"details removed for an application that has quit",
         "org.example.Editor",
         [this] { m_scripting.application(kPid)->setRunning(false); },
         {"details: removed (the application is recorded without what it shows)"}},
        {"accessibility off: said once, the window list's title stands",
         "org.xfce.mousepad",
         [this] { m_accessibility.setEnabled(false); },
         {"window title: notes.txt - Mousepad", "document path: (none)"}},
        {"an excluded agent",
         "xfce4-panel",
         [] {},
         {"application: (not tracked: the helper itself or one of the desktop's own agents)",
          "id: xfce4-panel", "pid: 4321"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        editorInFront(c.id);
        m_scripting.application(kPid)->setRunning(true);
        m_accessibility.setEnabled(true);
        c.prepare();
        EXPECT_EQ(run({QStringLiteral("--once")}, platform()), 0);
        EXPECT_EQ(m_out.startsWith(QStringLiteral("note: accessibility is off")),
                  !m_accessibility.isEnabled());
        const QStringList lines = m_out.split(QLatin1Char('\n'));
        for (const QString& want : c.wantLines) {
            EXPECT_TRUE(lines.contains(want)) << want.toStdString() << "\nin:\n"
                                              << m_out.toStdString();
        }
    }
}

TEST_F(InspectCommandTest, SaysWhyItCannotLook) {
    struct Case {
        const char* name;
        QStringList arguments;
        std::function<TRExtractionContext()> context;
        int wantCode;
        const char* wantErr;
    };
    const Case cases[] = {
        {"no platform objects in this build", {"--once"}, [] { return TRExtractionContext(); }, 1,
         "no window system"},
        {"no display", {"--once"}, [this] { m_windows.setAvailable(false); return platform(); }, 1,
         "cannot reach the X display"},
        {"an unknown argument", {"--twice"}, [this] { return platform(); }, 2,
         "unknown argument \"--twice\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        m_windows.setAvailable(true);
        EXPECT_EQ(run(c.arguments, c.context()), c.wantCode);
        EXPECT_TRUE(m_err.contains(QString::fromUtf8(c.wantErr))) << m_err.toStdString();
        EXPECT_TRUE(m_out.isEmpty());
    }
}

TEST_F(InspectCommandTest, LooksOnceASecondUntilInterrupted) {
    int argc = 1;
    char name[] = "inspect_test";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    editorInFront(QStringLiteral("org.xfce.mousepad"));
    QTimer::singleShot(1500, [] { std::raise(SIGINT); });

    EXPECT_EQ(run({}, platform()), 0);

    EXPECT_EQ(
        m_out.count(QStringLiteral("\n--- ")) + (m_out.startsWith(QStringLiteral("--- ")) ? 1 : 0),
        2)
        << m_out.toStdString();
    EXPECT_EQ(m_out.count(QStringLiteral("application: Mousepad\n")), 2);
}

}  // namespace
