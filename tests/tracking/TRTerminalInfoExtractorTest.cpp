// The terminal extractor: the session line's captures, the local host test,
// remote shells, and the process table when the title gives no directory.

#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "fakes/FakeProcessSource.h"
#include "tracking/TRTerminalInfoExtractor.h"

namespace {

constexpr qint32 kTerminal = 300;
constexpr qint32 kShell = 301;
constexpr qint32 kCommand = 302;

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
        EXPECT_EQ(QStringList({got->user, got->host, got->directory}),
                  QStringList({c.want->user, c.want->host, c.want->directory}));
    }
}

TEST(TRTerminalInfoExtractorTest, LocalHostIsANameOrItsFirstLabelInAnyCase) {
    const QStringList names{u"desk.example.org"_s, u"localhost"_s};
    for (const auto& [host, local] :
         {std::pair{"DESK", true}, {"Desk.Example.org", true}, {"desk.example", false}}) {
        SCOPED_TRACE(host);
        EXPECT_EQ(TRTerminalInfoExtractor::isLocalHost(q(host), names), local);
    }
}

TEST(TRTerminalInfoExtractorTest, SshDestinations) {
    const std::pair<QStringList, const char*> cases[] = {
        {{"ssh", "ann@far-host"}, "ann@far-host"},
        {{"ssh", "-p", "2222", "-l", "bob", "far-host", "uptime"}, "bob@far-host"},
        {{"ssh", "-4", "-A", "ssh://ann@far-host:2222"}, "ann@far-host"},
        {{"ssh", "-o", "BatchMode=yes"}, nullptr},
    };
    for (const auto& [arguments, want] : cases) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        EXPECT_EQ(TRTerminalInfoExtractor::sshDestination(arguments), q(want));
    }
}

class TRTerminalFlowTest : public ::testing::Test {
protected:
    struct Result {
        bool removed = false;
        QString documentPath;
        std::optional<QStringList> components;
    };
    // The extractor on a terminal titled `title`; `session`: the terminal's
    // own answers for its custom title and its session name.
    Result run(const char* title, const std::pair<const char*, const char*>& session = {}) {
        Answers answers;
        if (session.first)
            answers = {{"cwin[1].tcnt.titl", str(session.first)},
                       {"Ctrm.Cssn.pnam", str(session.second)}};
        ScriptedContext scripted(kTerminal, answers);
        scripted.context.processes = &processes;
        scripted.context.hostNames = &hostNames;
        TRActivity activity = makeActivity(makeApplication(kTerminal, u"xterm"_s), q(title));
        TRTerminalInfoExtractor::instance().writeDetailsForActivity(activity, scripted.context);
        if (!activity.details()) return {true, {}, {}};
        return {false, activity.documentPath(), activity.details()->pathComponents()};
    }
    void shellRunning(const QStringList& command, const char* directory) {
        processes.processes[kTerminal] = {{u"/usr/bin/xterm"_s}, {}, {kShell}, 0};
        processes.processes[kShell] = {{u"bash"_s}, u"/home"_s, {}, kCommand};
        processes.processes[kCommand] = {command, q(directory), {}, kCommand};
    }
    void SetUp() override { hostNames.names = {u"desk.example.org"_s}; }

    FakeProcessSource processes;
    FakeLocalHostNames hostNames;
};

// A plain local or remote shell title is checked with a real xterm; these
// are the shapes around it.
TEST_F(TRTerminalFlowTest, TitleGivesLocalFolderOrRemoteComponents) {
    EXPECT_EQ(run("@far-host: ~/a/b").components, QStringList({"@far-host", "~", "/a", "/b"}));
    EXPECT_EQ(run("vim: /etc/hosts").documentPath, u"file:///etc/hosts"_s);
    // Only the part before " — " is the session line.
    EXPECT_EQ(run("ann@desk: /tmp \u2014 ann@far-host: /srv").documentPath, u"file:///tmp"_s);
}

TEST_F(TRTerminalFlowTest, SessionNameWinsOverCustomTitleAndWindowTitle) {
    // The session name loses its last word (the running program).
    EXPECT_EQ(run("ann@desk: /tmp", {"ann@desk: /a", "ann@far-host: /b vim"}).components,
              QStringList({"ann@far-host", "/b"}));
    EXPECT_EQ(run("ann@desk: /tmp", {"ann@desk: /a", "single-word"}).documentPath, u"file:///a"_s);
}

TEST_F(TRTerminalFlowTest, ProcessTableOnlyWhenTheTitleGivesNoDirectory) {
    shellRunning({u"/usr/bin/make"_s}, "/home/ann/build");
    EXPECT_EQ(run("make").documentPath, u"file:///home/ann/build"_s);
    // The title still wins when it has a directory.
    EXPECT_EQ(run("ann@far-host: /srv").components, QStringList({"ann@far-host", "/srv"}));

    shellRunning({u"ssh"_s, u"-p"_s, u"22"_s, u"ann@far-host"_s}, "/home/ann/build");
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
