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

struct GenericCase {
    const char* name;
    Answers answers;
    // What the front-window step left (null: absent).
    const char* documentPath = nullptr;
    const char* documentTitle = nullptr;
    const char* windowTitle = nullptr;
    const char* bundleIdentifier = "org.example.Editor";
    // Expected outcome.
    const char* wantDocumentPath = nullptr;
    const char* wantDocumentTitle = nullptr;
    const char* wantWindowTitle = nullptr;
};

void run(const GenericCase& c) {
    SCOPED_TRACE(c.name);
    ScriptedContext scripted(kPid, c.answers);
    TRActivity activity = makeActivity(makeApplication(kPid, q(c.bundleIdentifier)));
    if (c.documentPath) activity.setDocumentPath(q(c.documentPath));
    if (c.documentTitle) activity.setDocumentTitle(q(c.documentTitle));
    if (c.windowTitle) activity.setWindowTitle(q(c.windowTitle));
    TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, scripted.context);

    ASSERT_TRUE(activity.details().has_value());
    EXPECT_EQ(activity.documentPath(), q(c.wantDocumentPath));
    EXPECT_EQ(activity.documentPath().isNull(), c.wantDocumentPath == nullptr);
    EXPECT_EQ(activity.documentTitle(), q(c.wantDocumentTitle));
    EXPECT_EQ(activity.windowTitle(), q(c.wantWindowTitle));
}

using TRGenericInfoExtractorTest = ExtractionTest;

// The document is the current one, else document 1, else window 1's; its
// path wins over its file, its URL and the alternative path, in that order.
TEST_F(TRGenericInfoExtractorTest, FindsTheDocumentAndAsksForItsAddressesInTheirOrder) {
    const auto doc1 = std::pair{"pADc", ref("docu[1]")};
    const GenericCase cases[] = {
        {.name = "the path wins, read from the reference the application answered",
         .answers = {{"pADc", ref("docu[7]")},
                     {"docu[7].ppth", str("/home/u/a.txt")},
                     {"docu[7].file", fileRef("file:///home/u/b.txt")},
                     {"docu[7].pURL", str("https://example.org/")}},
         .wantDocumentPath = "/home/u/a.txt"},
        {.name = "a file reference gives its file URL's full string",
         .answers = {doc1, {"docu[1].file", fileRef("file:///home/u/a%20b.txt")}},
         .wantDocumentPath = "file:///home/u/a%20b.txt"},
        {.name = "a URL as its full string",
         .answers = {doc1, {"docu[1].pURL", url("https://example.org/x?y=1")}},
         .wantDocumentPath = "https://example.org/x?y=1"},
        {.name = "the alternative path last",
         .answers = {doc1, {"docu[1].FTPc", str("/ftp/d.txt")}},
         .wantDocumentPath = "/ftp/d.txt"},
        {.name = "values of the wrong kind count as absent",
         .answers = {doc1,
                     {"docu[1].ppth", number(3)},
                     {"docu[1].file", ScriptValue{ScriptList{str("a")}}},
                     {"docu[1].Dpth", ref("docu[2]")},
                     {"docu[1].pURL", str("https://example.org/ok")}},
         .wantDocumentPath = "https://example.org/ok"},
        {.name = "an empty path is usable and ends the search",
         .answers = {doc1, {"docu[1].ppth", str("")}, {"docu[1].pnam", str("Name")}},
         .wantDocumentPath = ""},
        {.name = "current document not a reference: document 1",
         .answers = {{"pADc", str("not a reference")},
                     {"docu[1]", ref("docu[1]")},
                     {"docu[1].ppth", str("/a")}},
         .wantDocumentPath = "/a"},
        {.name = "neither: window 1's document",
         .answers = {{"cwin[1].docu", ref("cwin[1].docu")},
                     {"cwin[1].docu.pURL", str("https://w/")}},
         .wantDocumentPath = "https://w/"},
        {.name = "no document at all: window 1's name",
         .answers = {{"cwin[1].pnam", str("Front window")}},
         .wantWindowTitle = "Front window"},
    };
    for (const GenericCase& c : cases) run(c);
}

TEST_F(TRGenericInfoExtractorTest, FallsBackToNamesWithoutOverwritingWhatWasFound) {
    const auto doc1 = std::pair{"pADc", ref("docu[1]")};
    const auto window = std::pair{"cwin[1].pnam", str("Window")};
    const GenericCase cases[] = {
        {.name = "the document's name, and no window name",
         .answers = {doc1, {"docu[1].pnam", str("Report")}, window},
         .wantDocumentTitle = "Report"},
        {.name = "a document name that is no string: the window name",
         .answers = {doc1, {"docu[1].pnam", number(1)}, window},
         .wantWindowTitle = "Window"},
        {.name = "a document title already there stands",
         .answers = {doc1, {"docu[1].pnam", str("Other")}, window},
         .documentTitle = "Kept",
         .wantDocumentTitle = "Kept",
         .wantWindowTitle = "Window"},
        {.name = "a window title from the front-window step stands",
         .answers = {doc1, window},
         .windowTitle = "From the tree",
         .wantWindowTitle = "From the tree"},
        {.name = "a document path from the front-window step stands",
         .answers = {doc1, {"docu[1].ppth", str("/other")}},
         .documentPath = "file:///from/tree",
         .wantDocumentPath = "file:///from/tree"},
        {.name = "an empty document path does not count as found",
         .answers = {doc1, {"docu[1].ppth", str("/found")}},
         .documentPath = "",
         .wantDocumentPath = "/found"},
        {.name = "Adium names its last window",
         .answers = {{"cwin[1].pnam", str("First")}, {"cwin[-1].pnam", str("Last")}},
         .bundleIdentifier = "com.adiumX.adiumX",
         .wantWindowTitle = "Last"},
        {.name = "the exception is exact: another case of the id names window 1",
         .answers = {{"cwin[1].pnam", str("First")}, {"cwin[-1].pnam", str("Last")}},
         .bundleIdentifier = "com.adiumx.adiumx",
         .wantWindowTitle = "First"},
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
        {"a process without a scripting target",
         [](TRActivity& a) { a.setApplication(makeApplication(kPid + 1, q("org.example.E"))); }},
        {"no running application", [](TRActivity& a) { a = TRActivity(); }},
        {"no scripting on this desktop",
         [this](TRActivity&) { useContext(TRExtractionContext()); }},
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
