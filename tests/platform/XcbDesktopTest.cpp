// The window system and application identity against a real X server,
// window manager and real applications.

#include <QFile>
#include <functional>

#include "DesktopTestSupport.h"
#include "platform/linux/LinuxRunningApplications.h"

namespace {

std::vector<qint32> listedProcesses() {
    std::vector<qint32> pids;
    for (const WindowInfo& info : windows().windowList())
        pids.push_back(info.ownerProcessIdentifier);
    return pids;
}

qsizetype positionOf(const std::vector<qint32>& pids, qint64 pid) {
    const auto at = std::find(pids.begin(), pids.end(), qint32(pid));
    return at == pids.end() ? -1 : qsizetype(at - pids.begin());
}

}  // namespace

TEST(XcbWindowSystemTest, FrontFollowsSwitchesAndListRunsFrontToBackWithoutMinimisedWindows) {
    REQUIRE_DESKTOP();
    const qint64 back = startTitledXterm(QStringLiteral("vorlix back"));
    const qint64 front = startTitledXterm(QStringLiteral("vorlix front"));
    const auto backWindow = g_desktop->waitForWindowOfProcess(back, kWindowTimeoutMs);
    const auto frontWindow = g_desktop->waitForWindowOfProcess(front, kWindowTimeoutMs);
    ASSERT_TRUE(backWindow && frontWindow) << qPrintable(processSummary({back, front}));
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(g_desktop->activateWindow(*backWindow));
        EXPECT_TRUE(waitForFrontProcess(back));
        ASSERT_TRUE(g_desktop->activateWindow(*frontWindow));
        ASSERT_TRUE(waitForFrontProcess(front));
    }

    std::vector<qint32> pids = listedProcesses();
    EXPECT_EQ(positionOf(pids, front), 0);
    EXPECT_GT(positionOf(pids, back), 0);
    for (const WindowInfo& info : windows().windowList()) {
        if (info.ownerProcessIdentifier == front) {
            EXPECT_EQ(info.name, QStringLiteral("vorlix front"));
        }
        EXPECT_EQ(info.sharingState, 1);
    }

    ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"),
                               {QStringLiteral("windowminimize"), QStringLiteral("--sync"),
                                QString::number(*frontWindow)}));
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return positionOf(listedProcesses(), front) == -1; }, 5000));
    EXPECT_GE(positionOf(listedProcesses(), back), 0);
    g_desktop->stopProgram(front);
    g_desktop->stopProgram(back);
}

// Window managers write 0 for an instant between two focus changes.
TEST(XcbWindowSystemTest, ActiveWindowOfZeroIsAGapNotAProcess) {
    REQUIRE_DESKTOP();
    const auto [pid, window] = startFrontXterm(QStringLiteral("vorlix gap"));
    ASSERT_TRUE(window) << qPrintable(processSummary({pid}));
    ASSERT_TRUE(g_desktop->run(
        QStringLiteral("xprop"),
        {QStringLiteral("-root"), QStringLiteral("-f"), QStringLiteral("_NET_ACTIVE_WINDOW"),
         QStringLiteral("32x"), QStringLiteral("-set"), QStringLiteral("_NET_ACTIVE_WINDOW"),
         QStringLiteral("0")}));
    EXPECT_EQ(windows().activeWindow(), std::nullopt);
    EXPECT_EQ(windows().frontProcessIdentifier(), std::nullopt);
    EXPECT_FALSE(windows().frontWindow().has_value());
    g_desktop->stopProgram(pid);
}

namespace {

struct IdentityCase final {
    const char* name;
    std::function<qint64()> start;
    QString bundleIdentifier;  // null: no application id
    QString identifier;
    QString localizedName;
    QString titleContains;  // what the window list's name must contain
};

}  // namespace

TEST(LinuxRunningApplicationsTest, IdentifiesRealApplicationsByTheirDesktopEntries) {
    REQUIRE_DESKTOP();
    const QString file = g_desktop->stateDir() + QStringLiteral("/home/notes.txt");
    QFile notes(file);
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("some notes\n");
    notes.close();

    const std::vector<IdentityCase> cases = {
        {"xterm", [] { return startTitledXterm(QStringLiteral("vorlix identity")); },
         QStringLiteral("debian-xterm"), QStringLiteral("debian-xterm"), QStringLiteral("XTerm"),
         QStringLiteral("vorlix identity")},
        {"mousepad", [&] { return g_desktop->startMousepad(file); },
         QStringLiteral("org.xfce.mousepad"), QStringLiteral("org.xfce.mousepad"),
         QStringLiteral("Mousepad"), QStringLiteral("notes.txt - Mousepad")},
        {"gedit", [&] { return g_desktop->startGedit(file); }, QStringLiteral("org.gnome.gedit"),
         QStringLiteral("org.gnome.gedit"), QStringLiteral("gedit"),
         QStringLiteral("notes.txt (~) - gedit")},
        {"xmessage (no desktop entry)",
         [] {
             return g_desktop->startProgram(QStringLiteral("xmessage"), {QStringLiteral("vorlix")});
         },
         QString(), QStringLiteral("xmessage"), QStringLiteral("Xmessage"), QString()},
    };
    LinuxRunningApplications applications(windows());
    for (const IdentityCase& c : cases) {
        SCOPED_TRACE(c.name);
        const qint64 pid = c.start();
        if (pid <= 0) {
            ADD_FAILURE() << "could not start";
            continue;
        }
        ASSERT_TRUE(DisposableDesktop::waitUntil(
            [&] { return windows().windowHintsForProcess(qint32(pid)).has_value(); },
            kWindowTimeoutMs));
        const std::optional<RunningApplication> application =
            applications.runningApplication(qint32(pid));
        ASSERT_TRUE(application);
        EXPECT_EQ(application->processIdentifier, pid);
        EXPECT_EQ(application->bundleIdentifier, c.bundleIdentifier);
        EXPECT_EQ(application->bundleIdentifier.isNull(), c.bundleIdentifier.isNull());
        EXPECT_EQ(application->identifier(), c.identifier);
        EXPECT_EQ(application->localizedName, c.localizedName);
        QString title;
        DisposableDesktop::waitUntil(
            [&] {
                for (const WindowInfo& info : windows().windowList()) {
                    if (info.ownerProcessIdentifier == pid) title = info.name;
                }
                return title.contains(c.titleContains);
            },
            kWindowTimeoutMs);
        EXPECT_TRUE(title.contains(c.titleContains)) << qPrintable(title);
        EXPECT_FALSE(application->executablePath.isEmpty());
        g_desktop->stopProgram(pid);
        EXPECT_EQ(applications.runningApplication(qint32(pid)), std::nullopt) << "a gone process";
    }
}
