// Mail, Postbox, file manager, notes, blog and IDE extractors against a fake
// scriptable application: what each writes, keeps or removes.

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "ExtractionFixture.h"
#include "fakes/FakeProcessSource.h"
#include "tracking/TRCodaInfoExtractor.h"
#include "tracking/TREvernoteInfoExtractor.h"
#include "tracking/TRFinderInfoExtractor.h"
#include "tracking/TRMailInfoExtractor.h"
#include "tracking/TRMarsEditInfoExtractor.h"
#include "tracking/TRPostboxInfoExtractor.h"
#include "tracking/TRXcodeInfoExtractor.h"
#include "tracking/bridge/TRDesktopScriptingTargets.h"

namespace {

constexpr qint32 kPid = 200;

QString q(const char* s) { return s ? QString::fromUtf8(s) : QString(); }
ScriptValue str(const char* s) { return ScriptValue{q(s)}; }
ScriptValue ref(const char* s) { return FakeScriptedApplication::referenceTo(q(s)); }
ScriptValue refs(std::initializer_list<const char*> texts) {
    ScriptList list;
    for (const char* t : texts) list.push_back(ref(t));
    return ScriptValue{list};
}
ScriptValue fileRef(const char* s) { return ScriptValue{ScriptFileReference{QUrl(q(s))}}; }

struct Answer {
    const char* reference;
    ScriptValue value;
};

enum class Outcome { Removed, Components, DocumentPath, Unchanged };

struct Case {
    const char* name;
    const TRApplicationInfoExtractor* extractor;
    std::vector<Answer> answers;
    Outcome outcome;
    QStringList want;  // the components, or the document path alone
    const char* windowTitle = "front window";
    bool running = true;
};

QStringList list(std::initializer_list<const char*> texts) {
    QStringList out;
    for (const char* t : texts) out.append(q(t));
    return out;
}

void run(const Case& c) {
    SCOPED_TRACE(c.name);
    FakeScriptingTargets scripting;
    auto application = scripting.application(kPid);
    application->setRunning(c.running);
    for (const Answer& a : c.answers) application->answer(q(a.reference), a.value);
    TRExtractionContext context;
    context.scriptingTargets = &scripting;

    TRActivity activity = makeActivity(makeApplication(kPid, QStringLiteral("org.example.App")));
    activity.setWindowTitle(q(c.windowTitle));
    const TRActivity before = activity;
    c.extractor->writeDetailsForActivity(activity, context);

    switch (c.outcome) {
        case Outcome::Removed: EXPECT_FALSE(activity.details().has_value()); break;
        case Outcome::Unchanged: EXPECT_TRUE(activity.isEqual(&before)); break;
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
std::vector<Answer> nestedMessage(bool withSubject) {
    std::vector<Answer> answers{{"mssg[1].sndr", str("Ann <ann@example.org>")},
                                {"mssg[1].mbxp", ref("mbxp[2]")},
                                {"mbxp[2].pnam", str("Inner")},
                                {"mbxp[2].mbxc", ref("mbxp[1]")},
                                {"mbxp[1].pnam", str("Outer")},
                                {"mbxp[1].mbxc", str("not a reference")},
                                {"mbxp[1].mact.pnam", str("Work")}};
    if (withSubject) answers.push_back({"mssg[1].subj", str("Budget")});
    return answers;
}

std::vector<Answer> with(std::vector<Answer> answers, std::initializer_list<Answer> more) {
    answers.insert(answers.end(), more);
    return answers;
}

}  // namespace

TEST(TRScriptedExtractorsTest, MailGivesAccountMailboxesSenderAndSubjectOfOneMessage) {
    const auto& mail = TRMailInfoExtractor::instance();
    const Case cases[] = {
        {"nested two levels", &mail, with(nestedMessage(true), {{"slct", refs({"mssg[1]"})}}),
         Outcome::Components, list({"Work", "Outer", "Inner", "Ann <ann@example.org>", "Budget"})},
        {"no subject: the rest keeps its order", &mail,
         with(nestedMessage(false), {{"slct", refs({"mssg[1]"})}}), Outcome::Components,
         list({"Work", "Outer", "Inner", "Ann <ann@example.org>"})},
        {"no selection list: the message viewer's selected messages", &mail,
         with(nestedMessage(true), {{"slct", str("x")}, {"mvwr[1].smgs", refs({"mssg[1]"})}}),
         Outcome::Components, list({"Work", "Outer", "Inner", "Ann <ann@example.org>", "Budget"})},
        {"two messages", &mail, {{"slct", refs({"mssg[1]", "mssg[2]"})}}, Outcome::Removed, {}},
        {"not running", &mail, with(nestedMessage(true), {{"slct", refs({"mssg[1]"})}}),
         Outcome::Removed, {}, "front window", false},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, PostboxSplitsTheMessageIdIntoAccountAndFolders) {
    const auto& postbox = TRPostboxInfoExtractor::instance();
    auto message = [](const char* id) {
        return std::vector<Answer>{{"slct", refs({"mssg[1]"})},
                                   {"mssg[1].subj", str("Budget")},
                                   {"mssg[1].sndr", str("ann@example.org")},
                                   {"mssg[1].ID  ", str(id)}};
    };
    const Case cases[] = {
        {"scheme, empty piece, account, two folders, #number", &postbox,
         message("imap://me@imap.example.org/INBOX/Projects#4711"), Outcome::Components,
         list({"me@imap.example.org", "INBOX", "Projects", "ann@example.org", "Budget"})},
        {"fewer than three pieces", &postbox, message("local/12"), Outcome::Components,
         list({"ann@example.org", "Budget"})},
        {"two selected", &postbox, {{"slct", refs({"mssg[1]", "mssg[2]"})}}, Outcome::Removed, {}},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, FileManagerTakesTheDesktopWhenClickedThere) {
    const QString desktop = QStringLiteral("/home/u/Desktop");
    const QString desktopUrl = QStringLiteral("file:///home/u/Desktop");
    const struct {
        const char* name;
        const char* windowUrl;
        ScriptValue insertionLocation;
        QString want;
    } cases[] = {
        {"desktop clicked, window elsewhere", "file:///home/u/src/",
         ref("cfol[\"Desktop\"]"), desktopUrl},
        {"the window shows the desktop folder itself", "file:///home/u/Desktop",
         ref("cfol[\"Desktop\"]"), QStringLiteral("file:///home/u/Desktop")},
        {"insertion location in another folder", "file:///home/u/src/", ref("cfol[\"src\"]"),
         QStringLiteral("file:///home/u/src/")},
        {"no insertion location", "file:///home/u/src/", ScriptValue{}, QStringLiteral("file:///home/u/src/")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(TRFinderInfoExtractor::documentPathFor(q(c.windowUrl), c.insertionLocation, desktop),
                  c.want);
    }
    const auto& finder = TRFinderInfoExtractor::instance();
    run({"the window's URL", &finder, {{"brow[1].fvtg.pURL", str("file:///srv/www/")}},
         Outcome::DocumentPath, list({"file:///srv/www/"})});
    run({"no window open", &finder, {}, Outcome::Removed, {}});
}

TEST(TRScriptedExtractorsTest, NotesBlogAndWebEditorRows) {
    const Case cases[] = {
        {"one note without a title string", &TREvernoteInfoExtractor::instance(),
         {{"EV15", refs({"note[1]"})}, {"note[1].EV22.pnam", str("Ideas")}}, Outcome::Components,
         list({"Ideas"})},
        {"two notes", &TREvernoteInfoExtractor::instance(), {{"EV15", refs({"note[1]", "note[2]"})}},
         Outcome::Removed, {}},
        {"no blog selected: an empty list, not removed", &TRMarsEditInfoExtractor::instance(), {},
         Outcome::Components, {}},
        {"no file path: unchanged", &TRCodaInfoExtractor::instance(), {}, Outcome::Unchanged, {}},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, XcodeAsksForTheDocumentTheTitleNames) {
    const auto& xcode = TRXcodeInfoExtractor::instance();
    const std::vector<Answer> file{{"docu[\"main.c\"].file", fileRef("file:///p/src/../lib/./main.c")}};
    const Case cases[] = {
        {"em dash", &xcode, file, Outcome::DocumentPath, list({"file:///p/lib/main.c"}),
         "Project \u2014 main.c"},
        {"hyphen, blanks around the name", &xcode, file, Outcome::DocumentPath,
         list({"file:///p/lib/main.c"}), "Project -  main.c\t"},
        {"no separator", &xcode, file, Outcome::Unchanged, {}, "main.c"},
        {"separator at the end", &xcode, file, Outcome::Unchanged, {}, "Project - "},
        {"no such document", &xcode, {}, Outcome::Unchanged, {}, "Project - other.c"},
    };
    for (const Case& c : cases) run(c);
}

TEST(TRScriptedExtractorsTest, BridgeReadsAFileManagersFolderFromLocationBarOrTitle) {
    class Windows final : public WindowDocumentSource, public WindowLocationSource {
    public:
        QString title;
        std::optional<QString> location;
        std::optional<DocumentInfo> document(qint32, int) override { return std::nullopt; }
        std::optional<QString> windowName(qint32, int index) override {
            return index == 1 ? std::optional<QString>(title) : std::nullopt;
        }
        std::optional<QString> applicationName(qint32) override { return std::nullopt; }
        std::optional<QString> locationText(qint32, int index) override {
            return index == 1 ? location : std::nullopt;
        }
    } windows;
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("a b/c")));
    const QString folder = dir.path() + QStringLiteral("/a b/c");
    const QString url = QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded);
    const QString other = QUrl::fromLocalFile(dir.path()).toString(QUrl::FullyEncoded);
    FakeProcessSource processes;
    TRDesktopScriptingTargets targets(windows, processes, &windows);
    const struct {
        const char* name;
        std::optional<QString> location;
        QString title;
        QString want;  // null: missing
    } cases[] = {
        {"full path in the title", std::nullopt, folder + QStringLiteral(" - Thunar"), url},
        {"with an em dash", std::nullopt, folder + QStringLiteral(" \u2014 Dolphin"), url},
        {"only the folder's name", std::nullopt, QStringLiteral("c - Thunar"), QString()},
        {"a folder that does not exist", std::nullopt, dir.path() + QStringLiteral("/gone - Thunar"), QString()},
        {"the location bar wins over the title", folder + QStringLiteral("/"), dir.path(), url},
        {"a file URL in the location bar", url, QStringLiteral("c - Thunar"), url},
        {"a remote folder", QStringLiteral("sftp://ann@far-host/srv/www"), QStringLiteral("www"),
         QStringLiteral("sftp://ann@far-host/srv/www")},
        {"half-typed: the title", folder + QStringLiteral("/ph"), dir.path(), other},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        windows.title = c.title;
        windows.location = c.location;
        const ScriptValue value = targets.targetForProcess(kPid)->get(
            {ScriptStep::element(QStringLiteral("brow"), 1),
             ScriptStep::property(QStringLiteral("fvtg")), ScriptStep::property(QStringLiteral("pURL"))});
        EXPECT_EQ(value.string() ? *value.string() : QString(), c.want);
    }
}

TEST(TRScriptedExtractorsTest, BridgeGivesAMailClientsOneSelectedMessageToPostbox) {
    class Mail final : public WindowDocumentSource, public MailSelectionSource {
    public:
        std::optional<Selection> selection;
        std::optional<DocumentInfo> document(qint32, int) override { return std::nullopt; }
        std::optional<QString> windowName(qint32, int) override { return std::nullopt; }
        std::optional<QString> applicationName(qint32) override { return std::nullopt; }
        std::optional<Selection> mailSelection(qint32) override { return selection; }
    } mail;
    FakeProcessSource processes;
    processes.processes.insert(kPid, {});
    TRDesktopScriptingTargets targets(mail, processes, nullptr, &mail);
    TRExtractionContext context;
    context.scriptingTargets = &targets;
    using Message = MailSelectionSource::Message;
    const Message ann{q("Ann <ann@example.org>"), q("Budget")};
    const struct {
        const char* name;
        std::optional<MailSelectionSource::Selection> selection;
        std::optional<QStringList> want;  // nullopt: removed
    } cases[] = {
        {"local folders, nested", {{q("mailbox://nobody@Local%20Folders/Projects/Alpha"), 1, ann}},
         list({"nobody@Local Folders", "Projects", "Alpha", "Ann <ann@example.org>", "Budget"})},
        {"a \"/\" and a \"#\" inside names stay encoded",
         {{q("imap://ann%40example.org@mail.example.org/INBOX/a%2Fb/C%23"), 1, ann}},
         list({"ann@example.org@mail.example.org", "INBOX", "a%2Fb", "C%23", "Ann <ann@example.org>", "Budget"})},
        {"no subject: left out", {{q("mailbox://nobody@Local%20Folders/Inbox"), 1, Message{ann.sender, q("")}}},
         list({"nobody@Local Folders", "Inbox", "Ann <ann@example.org>"})},
        {"folder unknown: sender and subject", {{QString(), 1, ann}}, list({"Ann <ann@example.org>", "Budget"})},
        {"two selected", {{q("mailbox://nobody@Local%20Folders/Inbox"), 2, std::nullopt}}, std::nullopt},
        {"none selected", {{q("mailbox://nobody@Local%20Folders/Inbox"), 0, std::nullopt}}, std::nullopt},
        {"no message list in front", std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        mail.selection = c.selection;
        TRActivity activity = makeActivity(makeApplication(kPid, QStringLiteral("thunderbird")));
        activity.setWindowTitle(q("Alpha - Local Folders - Mozilla Thunderbird"));
        TRPostboxInfoExtractor::instance().writeDetailsForActivity(activity, context);
        if (!c.want) {
            EXPECT_FALSE(activity.details().has_value());
            continue;
        }
        ASSERT_TRUE(activity.details().has_value());
        EXPECT_EQ(activity.details()->pathComponents(), c.want);
    }
}
