#include <gtest/gtest.h>

#include <functional>

#include "ExtractionFixture.h"
#include "tracking/TRGenericInfoExtractor.h"

namespace {

constexpr qint32 kPid = 100;

ScriptValue str(const char* s) {
    return ScriptValue{QString::fromUtf8(s)};
}
ScriptValue url(const char* s) {
    return ScriptValue{QUrl(QString::fromUtf8(s))};
}
ScriptValue fileRef(const char* s) {
    return ScriptValue{ScriptFileReference{QUrl(QString::fromUtf8(s))}};
}
ScriptValue ref(const char* s) {
    return FakeScriptedApplication::referenceTo(QString::fromUtf8(s));
}
ScriptValue number(double d) {
    return ScriptValue{d};
}
ScriptValue list() {
    return ScriptValue{ScriptList{str("a")}};
}

QString q(const char* s) {
    return s ? QString::fromUtf8(s) : QString();
}

struct Answer {
    const char* reference;
    ScriptValue value;
};

struct GenericCase {
    const char* name;
    std::vector<Answer> answers;
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

class TRGenericInfoExtractorTest : public ExtractionTest {
protected:
    void run(const GenericCase& c) {
        SCOPED_TRACE(c.name);
        FakeScriptingTargets scripting;
        TRExtractionContext context;
        context.scriptingTargets = &scripting;
        auto application = scripting.application(kPid);
        for (const Answer& a : c.answers) application->answer(q(a.reference), a.value);

        TRActivity activity = makeActivity(makeApplication(kPid, q(c.bundleIdentifier)));
        if (c.documentPath) activity.setDocumentPath(q(c.documentPath));
        if (c.documentTitle) activity.setDocumentTitle(q(c.documentTitle));
        if (c.windowTitle) activity.setWindowTitle(q(c.windowTitle));
        TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, context);

        ASSERT_TRUE(activity.details().has_value());
        EXPECT_EQ(activity.documentPath(), q(c.wantDocumentPath));
        EXPECT_EQ(activity.documentPath().isNull(), c.wantDocumentPath == nullptr);
        EXPECT_EQ(activity.documentTitle(), q(c.wantDocumentTitle));
        EXPECT_EQ(activity.windowTitle(), q(c.wantWindowTitle));
    }
};

TEST_F(TRGenericInfoExtractorTest, AsksForTheDocumentsAddressesInTheirOrder) {
    const GenericCase cases[] = {
        {.name = "the path wins, read from the reference the application answered",
         .answers = {{"pADc", ref("docu[7]")},
                     {"docu[7].ppth", str("/home/u/a.txt")},
                     {"docu[7].file", fileRef("file:///home/u/b.txt")},
                     {"docu[7].pURL", str("https://example.org/")}},
         .wantDocumentPath = "/home/u/a.txt"},
        {.name = "a file reference gives its file URL's full string",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].file", fileRef("file:///home/u/a%20b.txt")}},
         .wantDocumentPath = "file:///home/u/a%20b.txt"},
        {.name = "a URL as its full string",
         .answers = {{"pADc", ref("docu[1]")}, {"docu[1].pURL", url("https://example.org/x?y=1")}},
         .wantDocumentPath = "https://example.org/x?y=1"},
        {.name = "the alternative path last",
         .answers = {{"pADc", ref("docu[1]")}, {"docu[1].FTPc", str("/ftp/d.txt")}},
         .wantDocumentPath = "/ftp/d.txt"},
        {.name = "values of the wrong kind count as absent",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].ppth", number(3)},
                     {"docu[1].file", list()},
                     {"docu[1].Dpth", ref("docu[2]")},
                     {"docu[1].pURL", str("https://example.org/ok")}},
         .wantDocumentPath = "https://example.org/ok"},
        {.name = "an empty path is usable and ends the search",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].ppth", str("")},
                     {"docu[1].pnam", str("Name")}},
         .wantDocumentPath = ""},
    };
    for (const GenericCase& c : cases) run(c);
}

// The document is the current one, else document 1, else window 1's.
TEST_F(TRGenericInfoExtractorTest, FindsTheDocumentThroughThreeReferences) {
    const GenericCase cases[] = {
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
    const GenericCase cases[] = {
        {.name = "the document's name, and no window name",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].pnam", str("Report")},
                     {"cwin[1].pnam", str("Window")}},
         .wantDocumentTitle = "Report"},
        {.name = "a document name that is no string: the window name",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].pnam", number(1)},
                     {"cwin[1].pnam", str("Window")}},
         .wantWindowTitle = "Window"},
        {.name = "a document title already there stands",
         .answers = {{"pADc", ref("docu[1]")},
                     {"docu[1].pnam", str("Other")},
                     {"cwin[1].pnam", str("Window")}},
         .documentTitle = "Kept",
         .wantDocumentTitle = "Kept",
         .wantWindowTitle = "Window"},
        {.name = "a window title from the front-window step stands",
         .answers = {{"pADc", ref("docu[1]")}, {"cwin[1].pnam", str("Window")}},
         .windowTitle = "From the tree",
         .wantWindowTitle = "From the tree"},
        {.name = "a document path from the front-window step stands",
         .answers = {{"pADc", ref("docu[1]")}, {"docu[1].ppth", str("/other")}},
         .documentPath = "file:///from/tree",
         .wantDocumentPath = "file:///from/tree"},
        {.name = "an empty document path does not count as found",
         .answers = {{"pADc", ref("docu[1]")}, {"docu[1].ppth", str("/found")}},
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

TEST_F(TRGenericInfoExtractorTest, RemovesTheDetailsOfAnApplicationThatHasQuit) {
    auto application = m_scripting.application(kPid);
    application->setRunning(false);
    TRActivity activity = makeActivity(makeApplication(kPid, QStringLiteral("org.example.Editor")));
    activity.setWindowTitle(QStringLiteral("Title"));

    TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, m_context);

    EXPECT_FALSE(activity.details().has_value());
    ASSERT_NE(activity.runningApplication(), nullptr);
}

TEST_F(TRGenericInfoExtractorTest, LeavesTheDetailsAloneWhenNobodyCanBeAsked) {
    struct Case {
        const char* name;
        std::function<void(TRActivity&)> prepare;
    };
    const Case cases[] = {
        {"an application that answers every request with an error",
         [this](TRActivity&) { m_scripting.application(kPid)->setUnscriptable(true); }},
        {"a process without a scripting target",
         [](TRActivity& a) {
             a.setApplication(makeApplication(kPid + 1, QStringLiteral("org.example.Editor")));
         }},
        {"no running application",
         [](TRActivity& a) {
             TRActivity bare;
             bare.setWindowTitle(a.windowTitle());
             a = bare;
         }},
        {"no scripting on this desktop",
         [this](TRActivity&) { useContext(TRExtractionContext()); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        m_scripting.application(kPid)->setUnscriptable(false);
        TRActivity activity =
            makeActivity(makeApplication(kPid, QStringLiteral("org.example.Editor")));
        activity.setWindowTitle(QStringLiteral("Title"));
        c.prepare(activity);
        const std::optional<TRActivityDetails> before = activity.details();

        TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, m_context);

        ASSERT_TRUE(activity.details().has_value());
        EXPECT_TRUE(activity.details()->isEqual(&*before));
    }
}

}  // namespace
