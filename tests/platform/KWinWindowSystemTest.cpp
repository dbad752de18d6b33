// The KWin script's contract, with a stand-in for KWin's scripting service
// (dbusmock on a private session bus): the helper loads and runs its script
// at start and unloads it at exit, and KWin's calls to the helper, made as
// the script makes them, move the front window. A real KWin (kwin_wayland
// --virtual) does not run on these test machines: it needs a GPU or the
// Plasma session's services, so the script's own JavaScript is not run here.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QFile>
#include <QDir>
#include <QTemporaryDir>
#include <functional>

#include "harness/PrivateDBus.h"
#include "platform/linux/KWinWindowSystem.h"

namespace {

const QString kKWin = QStringLiteral("org.kde.KWin");
const QString kMock = QStringLiteral("org.freedesktop.DBus.Mock");

// The methods KWin's scripting service was called with, by name.
QStringList calledMethods(PrivateDBus& bus, const QString& path) {
    const QDBusMessage reply = bus.call(kKWin, path, kMock, QStringLiteral("GetCalls"));
    QStringList names;
    const QDBusArgument calls = reply.arguments().value(0).value<QDBusArgument>();
    calls.beginArray();
    while (!calls.atEnd()) {
        quint64 time = 0;
        QString method;
        QVariantList arguments;
        calls.beginStructure();
        calls >> time >> method >> arguments;
        calls.endStructure();
        names << method;
    }
    calls.endArray();
    return names;
}

// What the script sends, from a connection of its own as KWin would.
void activate(QDBusConnection& kwin, const QString& helper, const char* resourceClass,
              const char* caption, int pid) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        helper, QStringLiteral("/info/mallowby/VorlixHelper/KWin"),
        QStringLiteral("info.mallowby.VorlixHelper.KWin"), QStringLiteral("WindowActivated"));
    call.setArguments({QString::fromUtf8(resourceClass), QString::fromUtf8(caption), pid});
    kwin.send(call);
}

bool processEventsUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return condition();
}

TEST(KWinWindowSystemTest, LoadsItsScriptFollowsItsCallsAndUnloadsItAtExit) {
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    if (!bus.start(&whyNot) ||
        !bus.startMock(kKWin, {kKWin, QStringLiteral("/Scripting"), QStringLiteral("org.kde.kwin.Scripting")},
                       &whyNot)) {
        GTEST_SKIP() << qPrintable(whyNot);
    }
    const auto addMethod = [&](const char* name, const char* in, const char* out, const char* code) {
        return bus.call(kKWin, QStringLiteral("/Scripting"), kMock, QStringLiteral("AddMethod"),
                        {QStringLiteral("org.kde.kwin.Scripting"), QLatin1String(name), QLatin1String(in),
                         QLatin1String(out), QLatin1String(code)}).type() == QDBusMessage::ReplyMessage;
    };
    ASSERT_TRUE(addMethod("loadScript", "ss", "i", "ret = 3"));
    ASSERT_TRUE(addMethod("unloadScript", "s", "b", "ret = True"));
    // Plasma 6's path of the script object.
    QDBusMessage added = bus.call(
        kKWin, QStringLiteral("/Scripting"), kMock, QStringLiteral("AddObject"),
        {QStringLiteral("/Scripting/Script3"), QStringLiteral("org.kde.kwin.Script"), QVariantMap(),
         QVariant::fromValue(QList<QVariant>())});
    ASSERT_EQ(added.type(), QDBusMessage::ReplyMessage) << qPrintable(added.errorMessage());
    ASSERT_EQ(bus.call(kKWin, QStringLiteral("/Scripting/Script3"), kMock, QStringLiteral("AddMethod"),
                       {QStringLiteral("org.kde.kwin.Script"), QStringLiteral("run"), QString(),
                        QString(), QString()}).type(),
              QDBusMessage::ReplyMessage);

    QTemporaryDir folder;
    QDBusConnection helperBus = QDBusConnection::connectToBus(bus.address(), QStringLiteral("helper"));
    QDBusConnection kwinBus = QDBusConnection::connectToBus(bus.address(), QStringLiteral("kwin"));
    QString scriptFile;
    {
        KWinWindowSystem windows(helperBus, folder.path());
        ASSERT_TRUE(windows.isAvailable());
        EXPECT_EQ(calledMethods(bus, QStringLiteral("/Scripting")), QStringList{QStringLiteral("loadScript")});
        EXPECT_EQ(calledMethods(bus, QStringLiteral("/Scripting/Script3")), QStringList{QStringLiteral("run")});
        // The script on disk calls this connection back by its own name.
        const QStringList files = QDir(folder.path()).entryList(QDir::Files);
        ASSERT_EQ(files.size(), 1);
        scriptFile = folder.filePath(files.constFirst());
        QFile script(scriptFile);
        ASSERT_TRUE(script.open(QIODevice::ReadOnly));
        const QByteArray text = script.readAll();
        EXPECT_TRUE(text.contains(helperBus.baseService().toUtf8()));
        EXPECT_FALSE(text.contains("@SERVICE@"));

        EXPECT_FALSE(windows.frontProcessIdentifier());
        const struct {
            const char* resourceClass;
            const char* caption;
            int pid;
        } switches[] = {{"org.kde.konsole", "~ : bash", 4242}, {"firefox", "Mail", 5151},
                        {"firefox", "Inbox", 5151}, {"", "", 0}};
        for (const auto& to : switches) {
            SCOPED_TRACE(to.caption);
            activate(kwinBus, helperBus.baseService(), to.resourceClass, to.caption, to.pid);
            ASSERT_TRUE(processEventsUntil([&] {
                return windows.frontProcessIdentifier().value_or(0) == to.pid &&
                       (to.pid == 0 || windows.windowList().at(0).name == QLatin1String(to.caption));
            }));
            if (to.pid == 0) {
                EXPECT_TRUE(windows.windowList().empty()) << "no window in front: nothing listed";
                continue;
            }
            const auto hints = windows.windowHintsForProcess(to.pid);
            ASSERT_TRUE(hints);
            EXPECT_EQ(hints->className, QLatin1String(to.resourceClass));
        }
    }
    EXPECT_EQ(calledMethods(bus, QStringLiteral("/Scripting")),
              (QStringList{QStringLiteral("loadScript"), QStringLiteral("unloadScript")}));
    EXPECT_FALSE(QFile::exists(scriptFile));
}

TEST(KWinWindowSystemTest, WithoutKWinItIsUnavailableAndLeavesNoFile) {
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    if (!bus.start(&whyNot)) GTEST_SKIP() << qPrintable(whyNot);
    QTemporaryDir folder;
    KWinWindowSystem windows(bus.connection(), folder.path());
    EXPECT_FALSE(windows.isAvailable());
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files).isEmpty());
}

}  // namespace
