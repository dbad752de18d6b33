// What the extraction makes of real terminals, editors and a file manager:
// the folder or file behind the front window, through the helper's own
// platform objects on a disposable desktop.

#include <QDir>
#include <QFile>
#include <QUrl>

#include "ExtractionDesktopSupport.h"
#include "platform/RunningApplications.h"

namespace {

// An interactive bash with Debian's default settings, which names the window
// "user@host: dir" at every prompt.
const QString kTitledShell = QStringLiteral("bash --rcfile /etc/skel/.bashrc -i");

QString fileUrl(const QString& path) {
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
}

QString madeFolder(const QString& relative) {
    const QString path = QDir::homePath() + QLatin1Char('/') + relative;
    return QDir().mkpath(path) ? path : QString();
}

bool completedWith(const Tick& t, const QString& documentPath) {
    return t.completed && t.completed->activity.details() &&
           t.completed->activity.documentPath() == documentPath;
}

}  // namespace

TEST(ScriptedExtractionOnDesktop, XtermInANestedFolderGivesThatFolder) {
    REQUIRE_DESKTOP();
    const QString folder = madeFolder(QStringLiteral("projects/alpha/src"));
    ASSERT_FALSE(folder.isEmpty());
    const qint64 pid = startInFront([&] {
        return g_desktop->startProgram(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"),
                                      QStringLiteral("cd \"$0\" && exec ") + kTitledShell, folder});
    });
    ASSERT_GT(pid, 0);
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(folder)); },
                            kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    // The shell's title named it ("~" for the home folder) on this host.
    EXPECT_TRUE(last.front->windowTitle().endsWith(QStringLiteral(": ~/projects/alpha/src")))
        << qPrintable(last.front->windowTitle());
    EXPECT_EQ(last.completed->extractor, QStringLiteral("TRTerminalInfoExtractor"));
    g_desktop->stopProgram(pid);
}

TEST(ScriptedExtractionOnDesktop, XtermTitledAsARemoteShellGivesHostAndDirectoryPieces) {
    REQUIRE_DESKTOP();
    const qint64 pid = startInFront([] { return g_desktop->startXterm(QStringLiteral("ann@far-host: /srv/www")); });
    ASSERT_GT(pid, 0);
    const QStringList want{QStringLiteral("ann@far-host"), QStringLiteral("/srv"), QStringLiteral("/www")};
    Tick last;
    EXPECT_TRUE(waitForTick(
        [&](const Tick& t) {
            return t.completed && t.completed->activity.details() &&
                   t.completed->activity.details()->pathComponents() == want;
        },
        kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    ASSERT_TRUE(last.completed && last.completed->activity.details());
    // Never the local folder the xterm happens to run in.
    EXPECT_TRUE(last.completed->activity.documentPath().isEmpty());
    g_desktop->stopProgram(pid);
}

TEST(ScriptedExtractionOnDesktop, TabbedTerminalFollowsTheSelectedTab) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("xfce4-terminal");
    const QString left = madeFolder(QStringLiteral("tabs/left"));
    const QString right = madeFolder(QStringLiteral("tabs/right"));
    const qint64 pid = startInFront([&] {
        return g_desktop->startProgram(
            QStringLiteral("xfce4-terminal"),
            // Options before the first "--tab" are the first tab's; "--window"
            // would open a second window beside the first.
            {QStringLiteral("--disable-server"), QStringLiteral("--working-directory=") + left, QStringLiteral("-e"), kTitledShell,
             QStringLiteral("--tab"), QStringLiteral("--working-directory=") + right,
             QStringLiteral("-e"), kTitledShell});
    });
    ASSERT_GT(pid, 0);
    // The tab opened last is selected; then one to the left and back.
    const struct {
        const char* keys;
        QString folder;
    } steps[] = {{nullptr, right}, {"ctrl+Page_Up", left}, {"ctrl+Page_Down", right}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.keys ? step.keys : "start");
        if (step.keys) {
            ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"),
                                       {QStringLiteral("key"), QString::fromLatin1(step.keys)}));
        }
        Tick last;
        EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(step.folder)); },
                                kWindowTimeoutMs, &last))
            << qPrintable(describe(last));
    }
    g_desktop->stopProgram(pid);
}

TEST(ScriptedExtractionOnDesktop, EditorsGiveTheFileInASubFolder) {
    REQUIRE_DESKTOP();
    const QString folder = madeFolder(QStringLiteral("docs/letters"));
    const QString file = folder + QStringLiteral("/reply.txt");
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write("Dear Ann,\n");
    }
    const struct {
        const char* tool;
        std::function<qint64()> start;
    } editors[] = {
        {"mousepad", [&] { return g_desktop->startMousepad(file); }},
        {"gedit", [&] { return g_desktop->startGedit(file); }},
    };
    for (const auto& editor : editors) {
        SCOPED_TRACE(editor.tool);
        if (!DisposableDesktop::missingTool({QLatin1String(editor.tool)}).isEmpty()) continue;
        const qint64 pid = startInFront(editor.start);
        ASSERT_GT(pid, 0);
        Tick last;
        EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(file)); },
                                kWindowTimeoutMs, &last))
            << qPrintable(describe(last));
        g_desktop->stopProgram(pid);
    }
}

TEST(ScriptedExtractionOnDesktop, FileManagerGivesTheFolderOfItsFrontWindow) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("thunar");
    // Thunar as installed: the title names the folder alone ("2026 - Thunar");
    // the location bar in the accessibility tree holds its path.
    const QString first = madeFolder(QStringLiteral("photos/2026"));
    const QString second = madeFolder(QStringLiteral("invoices/march"));
    const qint64 pid = startInFront([&] { return g_desktop->startProgram(QStringLiteral("thunar"), {first}); });
    ASSERT_GT(pid, 0);
    Tick last;
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(first)); },
                            kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    EXPECT_EQ(last.completed->extractor, QStringLiteral("TRFinderInfoExtractor"));

    // The running Thunar opens the second folder in a new window in front.
    ASSERT_TRUE(g_desktop->run(QStringLiteral("thunar"), {second}));
    EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(second)); },
                            kWindowTimeoutMs, &last))
        << qPrintable(describe(last));
    g_desktop->stopProgram(pid);
}
