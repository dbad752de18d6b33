// The terminal extractor: the session line's captures, the local host test,
// remote shells, and the process table when the title gives no directory.

#include <gtest/gtest.h>

#include <QDir>

#include "ExtractionFixture.h"
#include "fakes/FakeProcessSource.h"
#include "tracking/TRTerminalInfoExtractor.h"

namespace {

constexpr qint32 kTerminal = 300;
constexpr qint32 kShell = 301;
constexpr qint32 kCommand = 302;

QString q(const char* s) { return s ? QString::fromUtf8(s) : QString(); }
QString home(const char* rest) {
    return QUrl::fromLocalFile(QDir::homePath() + q(rest)).toString(QUrl::FullyEncoded);
}

using Line = TRTerminalInfoExtractor::SessionLine;

}  // namespace

TEST(TRTerminalInfoExtractorTest, SessionLineCaptures) {
    const struct {
        const char* line;
        std::optional<Line> want;
    } cases[] = {
        {"ann@far-host: /srv/www", Line{"ann", "far-host", "/srv/www"}},
        {"@box: ~", Line{"", "box", "~"}},
        {"vim: /etc/hosts", Line{"", "", "/etc/hosts"}},
        // The directory stops at the next colon.
        {"ann@desk: /a/b:c", Line{"ann", "desk", "/a/b"}},
        // A word before the user is not part of it: the at sign belongs to
        // the first "\w*@" the search finds.
        {"Terminal - ann@desk: /tmp", Line{"", "", "/tmp"}},
        {"xterm", std::nullopt},
        {"ann@desk: relative/dir", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const auto got = TRTerminalInfoExtractor::parseSessionLine(q(c.line));
        ASSERT_EQ(got.has_value(), c.want.has_value());
        if (!got) continue;
        EXPECT_EQ(got->user, c.want->user);
        EXPECT_EQ(got->host, c.want->host);
        EXPECT_EQ(got->directory, c.want->directory);
    }
}

TEST(TRTerminalInfoExtractorTest, LocalHostIsANameOrItsFirstLabelInAnyCase) {
    const QStringList names{QStringLiteral("desk.example.org"), QStringLiteral("localhost")};
    EXPECT_TRUE(TRTerminalInfoExtractor::isLocalHost(QStringLiteral("desk"), names));
    EXPECT_TRUE(TRTerminalInfoExtractor::isLocalHost(QStringLiteral("DESK"), names));
    EXPECT_TRUE(TRTerminalInfoExtractor::isLocalHost(QStringLiteral("Desk.Example.org"), names));
    EXPECT_FALSE(TRTerminalInfoExtractor::isLocalHost(QStringLiteral("desk.example"), names));
    EXPECT_FALSE(TRTerminalInfoExtractor::isLocalHost(QStringLiteral("example"), names));
}

TEST(TRTerminalInfoExtractorTest, SshDestinations) {
    const struct {
        QStringList arguments;
        const char* want;
    } cases[] = {
        {{"ssh", "ann@far-host"}, "ann@far-host"},
        {{"ssh", "-p", "2222", "-l", "bob", "far-host", "uptime"}, "bob@far-host"},
        {{"ssh", "-4", "-A", "ssh://ann@far-host:2222"}, "ann@far-host"},
        {{"ssh", "-o", "BatchMode=yes"}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        EXPECT_EQ(TRTerminalInfoExtractor::sshDestination(c.arguments), q(c.want));
    }
}

class TRTerminalFlowTest : public ::testing::Test {
protected:
    struct Result {
        bool removed = false;
        QString documentPath;
        std::optional<QStringList> components;
    };
    Result run(const char* title, const QStringList& scriptedAnswers = {}) {
        FakeScriptingTargets scripting;
        auto application = scripting.application(kTerminal);
        if (scriptedAnswers.size() == 2) {
            application->answer(QStringLiteral("cwin[1].tcnt.titl"), ScriptValue{scriptedAnswers[0]});
            application->answer(QStringLiteral("Ctrm.Cssn.pnam"), ScriptValue{scriptedAnswers[1]});
        }
        TRExtractionContext context;
        context.scriptingTargets = &scripting;
        context.processes = &processes;
        context.hostNames = &hostNames;
        TRActivity activity = makeActivity(makeApplication(kTerminal, QStringLiteral("xterm")));
        activity.setWindowTitle(q(title));
        TRTerminalInfoExtractor::instance().writeDetailsForActivity(activity, context);
        if (!activity.details()) return {true, {}, {}};
        return {false, activity.documentPath(), activity.details()->pathComponents()};
    }
    void shellRunning(const QStringList& command, const char* directory) {
        processes.processes[kTerminal] = {{QStringLiteral("/usr/bin/xterm")}, {}, {kShell}, 0};
        processes.processes[kShell] = {{QStringLiteral("bash")}, QStringLiteral("/home"), {}, kCommand};
        processes.processes[kCommand] = {command, q(directory), {}, kCommand};
    }

    FakeProcessSource processes;
    FakeLocalHostNames hostNames;
    void SetUp() override { hostNames.names = {QStringLiteral("desk.example.org")}; }
};

TEST_F(TRTerminalFlowTest, TitleGivesLocalFolderOrRemoteComponents) {
    const Result local = run("ann@DESK: ~/src/vorlix");
    EXPECT_EQ(local.documentPath, home("/src/vorlix"));
    EXPECT_FALSE(local.components);

    const Result remote = run("ann@far-host: /srv/www");
    EXPECT_TRUE(remote.documentPath.isNull());
    EXPECT_EQ(remote.components, QStringList({"ann@far-host", "/srv", "/www"}));

    EXPECT_EQ(run("@far-host: ~/a/b").components, QStringList({"@far-host", "~", "/a", "/b"}));
    EXPECT_EQ(run("vim: /etc/hosts").documentPath, QStringLiteral("file:///etc/hosts"));
    // Only the part before " — " is the session line.
    EXPECT_EQ(run("ann@desk: /tmp \u2014 ann@far-host: /srv").documentPath,
              QStringLiteral("file:///tmp"));
}

TEST_F(TRTerminalFlowTest, SessionNameWinsOverCustomTitleAndWindowTitle) {
    // The session name loses its last word (the running program).
    EXPECT_EQ(run("ann@desk: /tmp", {"ann@desk: /a", "ann@far-host: /b vim"}).components,
              QStringList({"ann@far-host", "/b"}));
    EXPECT_EQ(run("ann@desk: /tmp", {"ann@desk: /a", "single-word"}).documentPath,
              QStringLiteral("file:///a"));
}

TEST_F(TRTerminalFlowTest, ProcessTableOnlyWhenTheTitleGivesNoDirectory) {
    shellRunning({QStringLiteral("/usr/bin/make")}, "/home/ann/build");
    EXPECT_EQ(run("make").documentPath, QStringLiteral("file:///home/ann/build"));
    // The title still wins when it has a directory.
    EXPECT_EQ(run("ann@far-host: /srv").components, QStringList({"ann@far-host", "/srv"}));

    shellRunning({QStringLiteral("ssh"), QStringLiteral("-p"), QStringLiteral("22"),
                  QStringLiteral("ann@far-host")},
                 "/home/ann/build");
    const Result ssh = run("xterm");
    EXPECT_EQ(ssh.components, QStringList({"ann@far-host"}));
    EXPECT_TRUE(ssh.documentPath.isNull());

    // Two sessions in one terminal process: which one is in front is unknown.
    processes.processes[kTerminal].children = {kShell, kCommand + 10};
    EXPECT_TRUE(run("make").removed);
    processes.processes.clear();
    EXPECT_TRUE(run("make").removed);
    EXPECT_TRUE(run("").removed);
}
