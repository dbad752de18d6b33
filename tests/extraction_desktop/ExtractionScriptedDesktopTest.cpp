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

// Each application started in front, then the steps a user takes in it:
// after each, the ticks give the folder or file of the window in front.
TEST(ScriptedExtractionOnDesktop, FrontWindowGivesItsFolderOrFile) {
    REQUIRE_DESKTOP();
    const QString nested = madeFolder(QStringLiteral("projects/alpha/src"));
    const QString left = madeFolder(QStringLiteral("tabs/left")), right = madeFolder(QStringLiteral("tabs/right"));
    const QString photos = madeFolder(QStringLiteral("photos/2026"));
    const QString invoices = madeFolder(QStringLiteral("invoices/march"));
    const QString letter = madeFolder(QStringLiteral("docs/letters")) + QStringLiteral("/reply.txt");
    {
        QFile out(letter);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write("Dear Ann,\n");
    }
    const auto press = [](const char* keys) { return [keys] { return g_desktop->pressKeys(QLatin1String(keys)); }; };
    const auto start = [](const char* program, const QStringList& arguments) {
        return [=] { return g_desktop->startProgram(QLatin1String(program), arguments); };
    };
    const std::function<bool()> none = [] { return true; };
    struct Step {
        std::function<bool()> act;
        QString path;  // the folder or file it gives
        const char* extractor = nullptr;  // checked when given
    };
    const struct {
        const char* tool;
        std::function<qint64()> start;
        std::vector<Step> steps;
    } rows[] = {
        {"xterm",
         start("xterm", {QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"),
                         QStringLiteral("cd \"$0\" && exec ") + kTitledShell, nested}),
         {{none, nested, "TRTerminalInfoExtractor"}}},
        // Options before the first "--tab" are the first tab's ("--window"
        // would open a second window beside the first). The tab opened last
        // is selected; then one to the left and back.
        {"xfce4-terminal",
         start("xfce4-terminal", {QStringLiteral("--disable-server"), QStringLiteral("--working-directory=") + left,
                                  QStringLiteral("-e"), kTitledShell, QStringLiteral("--tab"),
                                  QStringLiteral("--working-directory=") + right, QStringLiteral("-e"), kTitledShell}),
         {{none, right}, {press("ctrl+Page_Up"), left}, {press("ctrl+Page_Down"), right}}},
        {"mousepad", [&] { return g_desktop->startMousepad(letter); }, {{none, letter}}},
        {"gedit", [&] { return g_desktop->startGedit(letter); }, {{none, letter}}},
        // Thunar as installed: the title names the folder alone ("2026 -
        // Thunar"); the location bar in the accessibility tree holds its
        // path. The running Thunar opens a second folder in a new window.
        {"thunar", start("thunar", {photos}),
         {{none, photos, "TRFinderInfoExtractor"},
          {[&] { return g_desktop->run(QStringLiteral("thunar"), {invoices}); }, invoices}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tool);
        if (!DisposableDesktop::missingTool({QLatin1String(row.tool)}).isEmpty()) continue;
        const qint64 pid = startInFront(row.start);
        ASSERT_GT(pid, 0);
        for (const Step& step : row.steps) {
            SCOPED_TRACE(qPrintable(step.path));
            ASSERT_TRUE(step.act());
            Tick last;
            EXPECT_TRUE(waitForTick([&](const Tick& t) { return completedWith(t, fileUrl(step.path)); },
                                    kWindowTimeoutMs, &last))
                << qPrintable(describe(last));
            if (step.extractor) {
                EXPECT_EQ(last.completed->extractor, QLatin1String(step.extractor));
            }
        }
        g_desktop->stopProgram(pid);
    }
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

