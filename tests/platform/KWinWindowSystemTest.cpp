// The KWin script's contract, with a stand-in for KWin's scripting service
// (dbusmock on a private session bus): the helper loads and runs its script
// at start and unloads it at exit, and calls made as the script makes them
// move the front window. A real KWin (kwin_wayland --virtual) does not run
// on these test machines (it wants a GPU and the Plasma session's
// services), so the script's own JavaScript is not run here.

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "harness/DisposableDesktop.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/KWinWindowSystem.h"

namespace {

const QString kKWin = QStringLiteral("org.kde.KWin");

QString readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

TEST(KWinWindowSystemTest, LoadsItsScriptFollowsItsCallsAndUnloadsItAtExit) {
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    QTemporaryDir folder;
    if (!bus.start(&whyNot)) GTEST_SKIP() << qPrintable(whyNot);
    EXPECT_FALSE(KWinWindowSystem(bus.connection(), folder.path()).isAvailable()) << "no KWin";
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files).isEmpty());
    const QString scripting = QStringLiteral("/Scripting"), script = QStringLiteral("/Scripting/Script3");
    if (!bus.startMock(kKWin, {kKWin, scripting, QStringLiteral("org.kde.kwin.Scripting")}, &whyNot)) {
        GTEST_SKIP() << qPrintable(whyNot);
    }
    // Each call KWin gets is written to a log, the script's file name with it.
    const QString log = folder.filePath(QStringLiteral("calls"));
    const auto addMethod = [&](const QString& path, const char* interface, const char* name,
                               const char* in, const char* out, const QString& code) {
        return bus.mock(kKWin, path, QStringLiteral("AddMethod"),
                        {QLatin1String(interface), QLatin1String(name), QLatin1String(in),
                         QLatin1String(out), QStringLiteral("open('%1', 'a').write('%2 ' + (str(args[0]) if args else '') + '\\n')\n%3")
                                                 .arg(log, QLatin1String(name), code)});
    };
    ASSERT_TRUE(addMethod(scripting, "org.kde.kwin.Scripting", "loadScript", "ss", "i", QStringLiteral("ret = 3")));
    ASSERT_TRUE(addMethod(scripting, "org.kde.kwin.Scripting", "unloadScript", "s", "b", QStringLiteral("ret = True")));
    ASSERT_TRUE(bus.mock(kKWin, scripting, QStringLiteral("AddObject"),
                         {script, QStringLiteral("org.kde.kwin.Script"), QVariantMap(), QVariant::fromValue(QVariantList())}));
    ASSERT_TRUE(addMethod(script, "org.kde.kwin.Script", "run", "", "", QString()));

    QDBusConnection helperBus = QDBusConnection::connectToBus(bus.address(), QStringLiteral("helper"));
    QDBusConnection kwinBus = QDBusConnection::connectToBus(bus.address(), QStringLiteral("kwin"));
    QString scriptFile;
    {
        KWinWindowSystem windows(helperBus, folder.path());
        ASSERT_TRUE(windows.isAvailable()) << qPrintable(readAll(log));
        const QStringList calls = readAll(log).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        ASSERT_EQ(calls.size(), 2);
        EXPECT_TRUE(calls[0].startsWith(QStringLiteral("loadScript"))) << qPrintable(calls[0]);
        EXPECT_TRUE(calls[1].startsWith(QStringLiteral("run")));
        scriptFile = calls[0].section(QLatin1Char(' '), 1, 1);
        // The script calls this connection back by its own name.
        EXPECT_TRUE(readAll(scriptFile).contains(QStringLiteral("const service = \"%1\"").arg(helperBus.baseService())));

        const struct {
            const char* resourceClass;
            const char* caption;
            int pid;
        } switches[] = {{"org.kde.konsole", "~ : bash", 4242}, {"firefox", "Mail", 5151},
                        {"firefox", "Inbox", 5151}, {"", "", 0}};
        for (const auto& to : switches) {
            SCOPED_TRACE(to.caption);
            QDBusMessage call = QDBusMessage::createMethodCall(
                helperBus.baseService(), QStringLiteral("/info/mallowby/VorlixHelper/KWin"),
                QStringLiteral("info.mallowby.VorlixHelper.KWin"), QStringLiteral("WindowActivated"));
            call.setArguments({QString::fromUtf8(to.resourceClass), QString::fromUtf8(to.caption), to.pid});
            kwinBus.send(call);
            const auto arrived = [&] {
                const std::vector<WindowInfo> list = windows.windowList();
                return windows.frontProcessIdentifier().value_or(0) == to.pid &&
                       (to.pid == 0 ? list.empty() : list.at(0).name == QLatin1String(to.caption));
            };
            ASSERT_TRUE(DisposableDesktop::waitWithEvents(arrived));
            if (to.pid != 0) {
                EXPECT_EQ(windows.windowHintsForProcess(to.pid)->className, QLatin1String(to.resourceClass));
            }
        }
    }
    EXPECT_TRUE(readAll(log).contains(QStringLiteral("unloadScript vorlix-active-window-")));
    EXPECT_FALSE(QFile::exists(scriptFile));
}

}  // namespace
