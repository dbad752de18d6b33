// Mail, file manager, notes, blog and IDE extractors against a fake
// scriptable application: what each writes, keeps or removes.

#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "tracking/TRCodaInfoExtractor.h"
#include "tracking/TREvernoteInfoExtractor.h"
#include "tracking/TRFinderInfoExtractor.h"
#include "tracking/TRMailInfoExtractor.h"
#include "tracking/TRMarsEditInfoExtractor.h"
#include "tracking/TRXcodeInfoExtractor.h"

namespace {

constexpr qint32 kPid = 200;

ScriptValue refs(std::initializer_list<const char*> texts) {
    ScriptList list;
    for (const char* t : texts) list.push_back(ref(t));
    return ScriptValue{list};
}
enum class Outcome { Removed, Components, DocumentPath, Unchanged };

struct Case {
    const char* name;
    const TRApplicationInfoExtractor& extractor;
    Answers answers;
    Outcome outcome;
    QStringList want = {};  // the components, or the document path alone
    const char* windowTitle = "front window";
};

void run(const Case& c) {
    SCOPED_TRACE(c.name);
    ScriptedContext scripted(kPid, c.answers);
    TRActivity activity =
        makeActivity(makeApplication(kPid, u"org.example.App"_s), q(c.windowTitle));
    const TRActivity before = activity;
    c.extractor.writeDetailsForActivity(activity, scripted.context);

    switch (c.outcome) {
        case Outcome::Removed:
            EXPECT_FALSE(activity.details().has_value());
            break;
        case Outcome::Unchanged:
            EXPECT_TRUE(activity.isEqual(&before));
            break;
        case Outcome::Components:
            ASSERT_TRUE(activity.details().has_value());
            EXPECT_EQ(activity.details()->pathComponents(), std::optional<QStringList>(c.want));
            break;
        case Outcome::DocumentPath:
            ASSERT_TRUE(activity.details().has_value());
            EXPECT_EQ(activity.documentPath(), c.want.value(0));
            break;
    }
}

// One message in the mailbox "Inner" inside "Outer" of the account "Work".
Answers nestedMessage(Answers more) {
    Answers answers{{"mssg[1].sndr", str("Ann <ann@example.org>")},
                    {"mssg[1].mbxp", ref("mbxp[2]")},
                    {"mbxp[2].pnam", str("Inner")},
                    {"mbxp[2].mbxc", ref("mbxp[1]")},
                    {"mbxp[1].pnam", str("Outer")},
                    {"mbxp[1].mbxc", str("not a reference")},
                    {"mbxp[1].mact.pnam", str("Work")},
                    {"mssg[1].subj", str("Budget")}};
    answers.insert(answers.end(), more.begin(), more.end());
    return answers;
}

}  // namespace

TEST(TRScriptedExtractorsTest, MailGivesAccountMailboxesSenderAndSubjectOfOneMessage) {
    const auto& mail = TRMailInfoExtractor::instance();
    const QStringList all{"Work", "Outer", "Inner", "Ann <ann@example.org>", "Budget"};
    const Case cases[] = {
        {"nested two levels", mail, nestedMessage({{"slct", refs({"mssg[1]"})}}),
         Outcome::Components, all},
        {"no selection list: the message viewer's selected messages", mail,
         nestedMessage({{"slct", str("x")}, {"mvwr[1].smgs", refs({"mssg[1]"})}}),
         Outcome::Components, all},
        {"two messages", mail, {{"slct", refs({"mssg[1]", "mssg[2]"})}}, Outcome::Removed},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, FileManagerTakesTheDesktopWhenClickedThere) {
    const QString desktop = u"/home/u/Desktop"_s;
    const struct {
        const char* name;
        const char* windowUrl;
        ScriptValue insertionLocation;
        const char* want;
    } cases[] = {
        {"desktop clicked, window elsewhere", "file:///home/u/src/", ref("cfol[\"Desktop\"]"),
         "file:///home/u/Desktop"},
        {"insertion location in another folder", "file:///home/u/src/", ref("cfol[\"src\"]"),
         "file:///home/u/src/"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(
            TRFinderInfoExtractor::documentPathFor(q(c.windowUrl), c.insertionLocation, desktop),
            q(c.want));
    }
    const auto& finder = TRFinderInfoExtractor::instance();
    run({"the window's URL",
         finder,
         {{"brow[1].fvtg.pURL", str("file:///srv/www/")}},
         Outcome::DocumentPath,
         {"file:///srv/www/"}});
}

TEST(TRScriptedExtractorsTest, NotesBlogAndWebEditorRows) {
    const Case cases[] = {
        {"one note without a title string",
         TREvernoteInfoExtractor::instance(),
         {{"EV15", refs({"note[1]"})}, {"note[1].EV22.pnam", str("Ideas")}},
         Outcome::Components,
         {"Ideas"}},
        {"no blog selected: an empty list, not removed",
         TRMarsEditInfoExtractor::instance(),
         {},
         Outcome::Components},
        {"no file path: unchanged", TRCodaInfoExtractor::instance(), {}, Outcome::Unchanged},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, XcodeAsksForTheDocumentTheTitleNames) {
    const auto& xcode = TRXcodeInfoExtractor::instance();
    const Answers file{{"docu[\"main.c\"].file", fileRef("file:///p/src/../lib/./main.c")}};
    const QStringList found{"file:///p/lib/main.c"};
    const Case cases[] = {
        {"em dash", xcode, file, Outcome::DocumentPath, found, "Project \u2014 main.c"},
        {"no separator", xcode, file, Outcome::Unchanged, {}, "main.c"},
    };
    for (const Case& c : cases) run(c);
}
