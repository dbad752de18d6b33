// The generic extractor: which document it asks for, in which order it
// reads the document's addresses and names, what it never overwrites, and
// when it leaves the details alone or removes them.

#include <gtest/gtest.h>

#include <functional>

#include "ExtractionFixture.h"
#include "tracking/TRGenericInfoExtractor.h"

namespace {

constexpr qint32 kPid = 100;

ScriptValue number(double d) {
    return ScriptValue{d};
}

// A document path, document title and window title (null: absent).
struct Texts {
    const char *path = nullptr, *title = nullptr, *window = nullptr;
};

struct GenericCase {
    const char* name;
    Answers answers;
    Texts want;
    Texts frontWindowStep = {};  // what the front-window step left
    const char* bundleIdentifier = "org.example.Editor";
};

void run(const GenericCase& c) {
    SCOPED_TRACE(c.name);
    ScriptedContext scripted(kPid, c.answers);
    TRActivity activity = makeActivity(makeApplication(kPid, q(c.bundleIdentifier)));
    const Texts& before = c.frontWindowStep;
    if (before.path) activity.setDocumentPath(q(before.path));
    if (before.title) activity.setDocumentTitle(q(before.title));
    if (before.window) activity.setWindowTitle(q(before.window));
    TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, scripted.context);

    ASSERT_TRUE(activity.details().has_value());
    EXPECT_EQ(activity.documentPath(), q(c.want.path));
    EXPECT_EQ(activity.documentPath().isNull(), c.want.path == nullptr);
    EXPECT_EQ(activity.documentTitle(), q(c.want.title));
    EXPECT_EQ(activity.windowTitle(), q(c.want.window));
}

using TRGenericInfoExtractorTest = ExtractionTest;

// The document is the current one, else document 1, else window 1's; its
// path wins over its file, its URL and the alternative path, in that order.
TEST_F(TRGenericInfoExtractorTest, FindsTheDocumentAndAsksForItsAddressesInTheirOrder) {
    const auto doc1 = std::pair{"pADc", ref("docu[1]")};
    const GenericCase cases[] = {
        {"the path wins, read from the reference the application answered",
         {{"pADc", ref("docu[7]")},
          {"docu[7].ppth", str("/home/u/a.txt")},
          {"docu[7].file", fileRef("file:///home/u/b.txt")},
          {"docu[7].pURL", str("https://example.org/")}},
         {"/home/u/a.txt"}},
        {"a file reference gives its file URL's full string",
         {doc1, {"docu[1].file", fileRef("file:///home/u/a%20b.txt")}},
         {"file:///home/u/a%20b.txt"}},
        {"the alternative path last", {doc1, {"docu[1].FTPc", str("/ftp/d.txt")}}, {"/ftp/d.txt"}},
        {"an empty path is usable and ends the search",
         {doc1, {"docu[1].ppth", str("")}, {"docu[1].pnam", str("Name")}},
         {""}},
        {"current document not a reference: document 1",
         {{"pADc", str("no reference")}, {"docu[1]", ref("docu[1]")}, {"docu[1].ppth", str("/a")}},
         {"/a"}},
        {"neither: window 1's document",
         {{"cwin[1].docu", ref("cwin[1].docu")}, {"cwin[1].docu.pURL", str("https://w/")}},
         {"https://w/"}},
        {"no document at all: window 1's name",
         {{"cwin[1].pnam", str("Front window")}},
         {nullptr, nullptr, "Front window"}},
    };
    for (const GenericCase& c : cases) run(c);
}

TEST_F(TRGenericInfoExtractorTest, FallsBackToNamesWithoutOverwritingWhatWasFound) {
    const auto doc1 = std::pair{"pADc", ref("docu[1]")};
    const auto window = std::pair{"cwin[1].pnam", str("Window")};
    const Answers firstAndLast{{"cwin[1].pnam", str("First")}, {"cwin[-1].pnam", str("Last")}};
    const GenericCase cases[] = {
        {"the document's name, and no window name",
         {doc1, {"docu[1].pnam", str("Report")}, window},
         {nullptr, "Report"}},
        {"a document name that is no string: the window name",
         {doc1, {"docu[1].pnam", number(1)}, window},
         {nullptr, nullptr, "Window"}},
        {"a document title already there stands",
         {doc1, {"docu[1].pnam", str("Other")}, window},
         {nullptr, "Kept", "Window"},
         {nullptr, "Kept"}},
        {"a document path from the front-window step stands",
         {doc1, {"docu[1].ppth", str("/other")}},
         {"file:///from/tree"},
         {"file:///from/tree"}},
        {"an empty document path does not count as found",
         {doc1, {"docu[1].ppth", str("/found")}},
         {"/found"},
         {""}},
        {"Adium names its last window",
         firstAndLast,
         {nullptr, nullptr, "Last"},
         {},
         "com.adiumX.adiumX"},
    };
    for (const GenericCase& c : cases) run(c);
}

// An application that has quit loses its details; one that cannot be asked
// keeps them as they were.
TEST_F(TRGenericInfoExtractorTest, RemovesTheDetailsOnlyOfAnApplicationThatHasQuit) {
    const struct {
        const char* name;
        std::function<void(TRActivity&)> prepare;
        bool removed = false;
    } cases[] = {
        {"an application that has quit",
         [this](TRActivity&) { m_scripting.application(kPid)->setRunning(false); }, true},
        {"an application that answers every request with an error",
         [this](TRActivity&) { m_scripting.application(kPid)->setUnscriptable(true); }},
        {"no running application", [](TRActivity& a) { a = TRActivity(); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        m_scripting.application(kPid)->setUnscriptable(false);
        m_scripting.application(kPid)->setRunning(true);
        TRActivity activity = makeActivity(makeApplication(kPid, q("org.example.Editor")), q("T"));
        c.prepare(activity);
        activity.setWindowTitle(q("Title"));
        const std::optional<TRActivityDetails> before = activity.details();
        TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, m_context);
        ASSERT_EQ(activity.details().has_value(), !c.removed);
        EXPECT_TRUE(c.removed || activity.details()->isEqual(&*before));
        EXPECT_TRUE(!c.removed || activity.runningApplication()) << "the time stays the app's";
    }
}

}  // namespace
