// The extractors' terms answered from the desktop's document, location-bar,
// mail-list and process sources.

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <map>

#include "ExtractionFixture.h"
#include "fakes/FakeProcessSource.h"
#include "tracking/TRPostboxInfoExtractor.h"
#include "tracking/bridge/TRDesktopScriptingTargets.h"

namespace {

constexpr qint32 kPid = 42;

// Windows by index, window 1's location bar, and the mail list in front.
class FakeDesktop final : public WindowDocumentSource,
                          public WindowLocationSource,
                          public MailSelectionSource {
public:
    std::optional<DocumentInfo> document(qint32, int index) override {
        return documents.count(index) ? std::optional(documents[index]) : std::nullopt;
    }
    std::optional<QString> windowName(qint32, int index) override {
        return names.count(index) ? std::optional(names[index]) : std::nullopt;
    }
    std::optional<QString> applicationName(qint32) override { return browserName; }
    std::optional<QString> locationText(qint32, int index) override {
        return index == 1 ? location : std::nullopt;
    }
    std::optional<Selection> mailSelection(qint32) override { return selection; }

    std::map<int, DocumentInfo> documents;
    std::map<int, QString> names;
    std::optional<QString> browserName, location;
    std::optional<Selection> selection;
};

class TRDesktopScriptingTargetsTest : public ::testing::Test {
protected:
    void SetUp() override { processes.processes.insert(kPid, {}); }
    ScriptValue get(const ScriptReference& reference) {
        return targets.targetForProcess(kPid)->get(reference);
    }
    FakeDesktop desktop;
    FakeProcessSource processes;
    TRDesktopScriptingTargets targets{desktop, processes, &desktop, &desktop};
};

ScriptStep property(const char* code) {
    return ScriptStep::property(QLatin1String(code));
}
ScriptStep element(const char* code, int index) {
    return ScriptStep::element(QLatin1String(code), index);
}

enum class Kind { Missing, String, Url, File, Reference };

Kind kindOf(const ScriptValue& value) {
    if (value.string()) return Kind::String;
    if (std::holds_alternative<QUrl>(value.value)) return Kind::Url;
    if (std::holds_alternative<ScriptFileReference>(value.value)) return Kind::File;
    if (value.objectReference()) return Kind::Reference;
    return Kind::Missing;
}

}  // namespace

TEST_F(TRDesktopScriptingTargetsTest, AnswersTheGenericTermsFromTheShownDocumentAndWindows) {
    desktop.documents = {{1, {q("https://example.org/a?b=c"), q("Page A")}},
                         {2, {q("file:///home/u/report.pdf"), q("report.pdf")}},
                         {3, {QString(), QString()}}};
    desktop.names = {
        {1, q("Page A - Browser")}, {2, q("Page B - Browser (Incognito)")}, {-1, q("Last window")}};
    desktop.browserName = q("Browser");
    EXPECT_TRUE(targets.targetForProcess(kPid)->isRunning());
    EXPECT_FALSE(targets.targetForProcess(43)->isRunning());

    const auto win = [](int i) { return element("cwin", i); };
    const struct {
        const char* name;
        ScriptReference reference;
        Kind kind;
        const char* text = "";  // string value, or the URL's string form
    } cases[] = {
        {"current document", {property("pADc")}, Kind::Reference},
        {"document of window 2", {win(2), property("docu")}, Kind::Reference},
        {"URL of the current document",
         {property("pADc"), property("pURL")},
         Kind::Url,
         "https://example.org/a?b=c"},
        {"file URL is a file reference",
         {win(2), property("docu"), property("pURL")},
         Kind::File,
         "file:///home/u/report.pdf"},
        {"document name", {element("docu", 1), property("pnam")}, Kind::String, "Page A"},
        {"window 2's mode", {win(2), property("mode")}, Kind::String, "incognito"},
        {"a window the browser does not name", {win(-1), property("mode")}, Kind::Missing},
        {"the active tab's address as text",
         {win(1), property("acTa"), property("URL ")},
         Kind::String,
         "https://example.org/a?b=c"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ScriptValue value = get(c.reference);
        ASSERT_EQ(kindOf(value), c.kind);
        switch (c.kind) {
            case Kind::String:
                EXPECT_EQ(*value.string(), q(c.text));
                break;
            case Kind::Url:
                EXPECT_EQ(std::get<QUrl>(value.value), QUrl(q(c.text)));
                break;
            case Kind::File:
                EXPECT_EQ(std::get<ScriptFileReference>(value.value).url, QUrl(q(c.text)));
                break;
            case Kind::Reference:
                EXPECT_EQ(value.objectReference()->reference, c.reference);
                break;
            case Kind::Missing:
                break;
        }
    }
}

TEST_F(TRDesktopScriptingTargetsTest, ReadsAFileManagersFolderFromLocationBarOrTitle) {
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkpath(q("a b/c")));
    const QString folder = dir.path() + q("/a b/c");
    const QString url = QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded);
    const QString other = QUrl::fromLocalFile(dir.path()).toString(QUrl::FullyEncoded);
    const struct {
        const char* name;
        std::optional<QString> location;
        QString title;
        QString want;  // null: missing
    } cases[] = {
        {"full path in the title", std::nullopt, folder + q(" - Thunar"), url},
        {"only the folder's name", std::nullopt, q("c - Thunar"), QString()},
        {"the location bar wins over the title", folder + q("/"), dir.path(), url},
        {"a remote folder", q("sftp://ann@far-host/srv/www"), q("www"),
         q("sftp://ann@far-host/srv/www")},
        {"half-typed: the title", folder + q("/ph"), dir.path(), other},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        desktop.names = {{1, c.title}};
        desktop.location = c.location;
        const ScriptValue value = get({element("brow", 1), property("fvtg"), property("pURL")});
        EXPECT_EQ(value.string() ? *value.string() : QString(), c.want);
    }
}

// What the mail list shows reaches the path the Postbox extractor writes.
TEST_F(TRDesktopScriptingTargetsTest, GivesAMailClientsOneSelectedMessageToPostbox) {
    TRExtractionContext context;
    context.scriptingTargets = &targets;
    const MailSelectionSource::Message ann{q("Ann <ann@example.org>"), q("Budget")};
    const QString inbox = q("mailbox://nobody@Local%20Folders/Inbox");
    const struct {
        const char* name;
        std::optional<MailSelectionSource::Selection> selection;
        std::optional<QStringList> want;  // nullopt: removed
    } cases[] = {
        {"local folders, nested",
         {{q("mailbox://nobody@Local%20Folders/Projects/Alpha"), 1, ann}},
         QStringList{"nobody@Local Folders", "Projects", "Alpha", ann.sender, "Budget"}},
        {"a \"/\" and a \"#\" inside names stay encoded",
         {{q("imap://ann%40example.org@mail.example.org/INBOX/a%2Fb/C%23"), 1, ann}},
         QStringList{"ann@example.org@mail.example.org", "INBOX", "a%2Fb", "C%23", ann.sender,
                     "Budget"}},
        {"no subject: left out",
         {{inbox, 1, MailSelectionSource::Message{ann.sender, q("")}}},
         QStringList{"nobody@Local Folders", "Inbox", ann.sender}},
        {"folder unknown: sender and subject",
         {{QString(), 1, ann}},
         QStringList{ann.sender, "Budget"}},
        {"two selected", {{inbox, 2, std::nullopt}}, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        desktop.selection = c.selection;
        TRActivity activity = makeActivity(makeApplication(kPid, q("thunderbird")),
                                           q("Alpha - Local Folders - Mozilla Thunderbird"));
        TRPostboxInfoExtractor::instance().writeDetailsForActivity(activity, context);
        EXPECT_EQ(activity.details().has_value(), c.want.has_value());
        if (c.want && activity.details()) {
            EXPECT_EQ(activity.details()->pathComponents(), c.want);
        }
    }
}
