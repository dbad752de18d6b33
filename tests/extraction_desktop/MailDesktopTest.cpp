// What the extraction makes of a real mail client: Thunderbird on a local
// profile prepared here (two messages in a nested local folder, no account,
// no network), the selected message as account, folders, sender and subject.

#include <QStringList>

#include "ExtractionDesktopSupport.h"

namespace {

// No first-run questions, no network (a dead proxy), and one account of
// local folders only.
const char kUserPreferences[] = R"(
user_pref("mail.provider.suppress_dialog_on_startup", true);
user_pref("mail.shell.checkDefaultClient", false);
user_pref("mailnews.start_page.enabled", false);
user_pref("network.proxy.type", 1);
user_pref("network.proxy.http", "127.0.0.1");
user_pref("network.proxy.http_port", 9);
user_pref("network.proxy.ssl", "127.0.0.1");
user_pref("network.proxy.ssl_port", 9);
user_pref("mail.accountmanager.accounts", "account1");
user_pref("mail.accountmanager.localfoldersserver", "server1");
user_pref("mail.account.account1.server", "server1");
user_pref("mail.server.server1.type", "none");
user_pref("mail.server.server1.hostname", "Local Folders");
user_pref("mail.server.server1.userName", "nobody");
user_pref("mail.server.server1.name", "Local Folders");
user_pref("mail.server.server1.directory-rel", "[ProfD]Mail/Local Folders");
)";

const char kAlphaMessages[] = R"(From ann@example.org Mon Nov 23 10:00:00 2026
From: Ann Example <ann@example.org>
To: me@example.org
Subject: Budget for the alpha release
Date: Mon, 23 Nov 2026 10:00:00 +0000
Message-ID: <alpha-1@example.org>

Numbers inside.

From bob@example.org Mon Nov 23 11:00:00 2026
From: Bob Example <bob@example.org>
To: me@example.org
Subject: Lunch
Date: Mon, 23 Nov 2026 11:00:00 +0000
Message-ID: <alpha-2@example.org>

Noon?

)";

// The last session: one mail tab on Projects/Alpha, its parents open.
const char kSession[] =
    R"({"rev":0,"windows":[{"type":"3pane","tabs":{"rev":0,"selectedIndex":0,"tabs":[)"
    R"({"mode":"mail3PaneTab","state":{"firstTab":true,"folderPaneVisible":true,)"
    R"("folderURI":"mailbox://nobody@Local%20Folders/Projects/Alpha","messagePaneVisible":true},)"
    R"("ext":{}}]}}]})";
const char kFolderTree[] =
    R"({"open":{"all":["mailbox://nobody@Local%20Folders","mailbox://nobody@Local%20Folders/Projects"]}})";

QString preparedProfile() {
    const struct {
        const char* path;
        const char* content;
    } files[] = {
        {"user.js", kUserPreferences},
        {"session.json", kSession},
        {"folderTree.json", kFolderTree},
        {"Mail/Local Folders/Inbox", ""},
        {"Mail/Local Folders/Projects", ""},
        {"Mail/Local Folders/Projects.sbd/Alpha", kAlphaMessages},
    };
    for (const auto& file : files) {
        const QString written = g_desktop->writeFile(
            QStringLiteral("thunderbird/") + QLatin1String(file.path), QByteArray(file.content));
        if (written.isEmpty()) return {};
    }
    return g_desktop->stateDir() + QStringLiteral("/thunderbird");
}

const QStringList kFolder{QStringLiteral("nobody@Local Folders"), QStringLiteral("Projects"),
                          QStringLiteral("Alpha")};
const QStringList kAnn = kFolder + QStringList{QStringLiteral("Ann Example <ann@example.org>"),
                                               QStringLiteral("Budget for the alpha release")};
const QStringList kBob = kFolder + QStringList{QStringLiteral("Bob Example <bob@example.org>"),
                                               QStringLiteral("Lunch")};

std::optional<QStringList> componentsOf(const Tick& t) {
    if (!t.completed || !t.completed->activity.details()) return std::nullopt;
    return t.completed->activity.details()->pathComponents();
}

}  // namespace

TEST(MailExtractionOnDesktop, SelectedMessageGivesAccountFoldersSenderAndSubject) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("thunderbird");
    const QString profile = preparedProfile();
    ASSERT_FALSE(profile.isEmpty());
    const qint64 pid = startInFront([&] {
        return g_desktop->startProgram(QStringLiteral("thunderbird"),
                                       {QStringLiteral("--no-remote"), QStringLiteral("--profile"), profile});
    });
    ASSERT_GT(pid, 0);
    Tick last;
    // The folder opens with nothing selected: the application alone.
    ASSERT_TRUE(waitForTick(
        [](const Tick& t) {
            return t.front && t.front->windowTitle().startsWith(QStringLiteral("Alpha - ")) &&
                   t.completed && !t.completed->activity.details();
        },
        kPageTimeoutMs, &last))
        << qPrintable(describe(last));
    EXPECT_EQ(last.completed->extractor, QStringLiteral("TRPostboxInfoExtractor"));

    // "f" selects the next message: the first, then the other one.
    std::optional<QStringList> first;
    const struct {
        const char* keys;
        std::function<bool(const QStringList&)> wanted;
    } steps[] = {
        {"f", [&](const QStringList& c) { return c == kAnn || c == kBob; }},
        {"f", [&](const QStringList& c) { return (c == kAnn || c == kBob) && c != first; }},
        // Both selected: no one message, so the application alone.
        {"ctrl+a", nullptr},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.keys);
        ASSERT_TRUE(g_desktop->pressKeys(QLatin1String(step.keys)));
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                const std::optional<QStringList> components = componentsOf(t);
                if (!step.wanted) return t.completed && !t.completed->activity.details();
                return components && step.wanted(*components);
            },
            kWindowTimeoutMs, &last))
            << qPrintable(describe(last));
        if (!first) first = componentsOf(last);
    }
    g_desktop->stopProgram(pid);
}
