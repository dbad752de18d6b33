// `inspect`: what it prints about the front application, why it cannot look,
// and its loop that ends at an interrupt.

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
    int run(const QStringList& arguments, const TRExtractionContext& context) {
        m_out.clear();
        m_err.clear();
        QTextStream out(&m_out), err(&m_err);
        return runInspectCommand(arguments, context, out, err);
    }
    void editorInFront(const QString& id) {
        RunningApplication editor = makeApplication(kPid, id, u"mousepad"_s);
        editor.localizedName = u"Mousepad"_s;
        m_applications.add(editor);
        m_windows.setFrontProcess(kPid);
        m_windows.setWindows({WindowInfo{1, kPid, u"notes.txt - Mousepad"_s, 1}});
    }
    QString m_out, m_err;
};

TEST_F(InspectCommandTest, NamesTheExtractorAndWhatItChanged) {
    const struct {
        const char* name;
        const char* id;
        std::function<void()> prepare;
        QStringList wantLines;
    } cases[] = {
        {"what will be recorded, and a document name from the generic extractor",
         "org.example.Editor",
         [this] {
             auto scripted = m_scripting.application(kPid);
             scripted->answer(u"pADc"_s, ref("docu[1]"));
             scripted->answer(u"docu[1].pnam"_s, str("Untitled 1"));
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        editorInFront(q(c.id));
        m_scripting.application(kPid)->setRunning(true);
        m_accessibility.setEnabled(true);
        c.prepare();
        EXPECT_EQ(run({u"--once"_s}, m_context), 0);
        EXPECT_EQ(m_out.startsWith(u"note: accessibility is off"_s), !m_accessibility.isEnabled());
        const QStringList lines = m_out.split(u'\n');
        for (const QString& want : c.wantLines)
            EXPECT_TRUE(lines.contains(want)) << want.toStdString() << "\nin:\n"
                                              << m_out.toStdString();
    }
}

TEST_F(InspectCommandTest, SaysWhyItCannotLook) {
    const struct {
        const char* name;
        const char* argument;
        bool noPlatform, noDisplay;
        int wantCode;
        const char* wantErr;
    } cases[] = {
        {"no platform objects in this build", "--once", true, false, 1, "no window system"},
        {"no display", "--once", false, true, 1, "cannot reach the X display"},
        {"an unknown argument", "--twice", false, false, 2, "unknown argument \"--twice\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        m_windows.setAvailable(!c.noDisplay);
        EXPECT_EQ(run({q(c.argument)}, c.noPlatform ? TRExtractionContext() : m_context),
                  c.wantCode);
        EXPECT_TRUE(m_err.contains(q(c.wantErr))) << m_err.toStdString();
        EXPECT_TRUE(m_out.isEmpty());
    }
}

TEST_F(InspectCommandTest, LooksUntilInterrupted) {
    int argc = 1;
    char name[] = "inspect_test";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    editorInFront(u"org.xfce.mousepad"_s);
    QTimer::singleShot(1500, [] { std::raise(SIGINT); });
    EXPECT_EQ(run({}, m_context), 0);
    // One block per look, each whole.
    const qsizetype looks = m_out.count(u"--- "_s);
    EXPECT_GE(looks, 1) << m_out.toStdString();
    EXPECT_EQ(m_out.count(u"application: Mousepad\n"_s), looks);
}

}  // namespace
