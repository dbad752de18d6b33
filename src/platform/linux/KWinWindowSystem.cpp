#include "platform/linux/KWinWindowSystem.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>

#include "platform/linux/KWinScriptSource.h"
#include "platform/linux/LinuxPlatformLog.h"

namespace {

const QLatin1String kKWin("org.kde.KWin");
const QLatin1String kObjectPath("/info/mallowby/VorlixHelper/KWin");
constexpr int kTimeoutMs = 1000;

QDBusMessage callKWin(QDBusConnection& bus, const QString& path, const char* interface,
                      const char* method, const QVariantList& arguments = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(kKWin, path, QLatin1String(interface),
                                                          QLatin1String(method));
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, kTimeoutMs);
}

}  // namespace

KWinWindowSystem::KWinWindowSystem(const QDBusConnection& bus, const QString& scriptFolder)
    : m_bus(bus),
      m_scriptFile(scriptFolder + QStringLiteral("/vorlix-kwin-%1.js")
                                      .arg(QCoreApplication::applicationPid())),
      m_pluginName(QStringLiteral("vorlix-active-window-%1").arg(QCoreApplication::applicationPid())) {
    if (!m_bus.isConnected()) return;
    if (!m_bus.registerObject(kObjectPath, this, QDBusConnection::ExportScriptableSlots)) {
        qCWarning(lcPlatformLinux) << "KWin: cannot offer the object its script calls";
        return;
    }
    m_loaded = load();
    if (!m_loaded) return;
    qCInfo(lcPlatformLinux) << "front window from a KWin script";
    // The script reports the window in front as it starts; wait for that
    // first call (briefly), so that a single look (`inspect --once`) sees it.
    QDeadlineTimer deadline(kTimeoutMs);
    while (!m_heard && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 20);
    }
}

bool KWinWindowSystem::load() {
    QFile file(m_scriptFile);
    const QByteArray script =
        QByteArray(kKWinActiveWindowScript).replace("@SERVICE@", m_bus.baseService().toUtf8());
    if (!file.open(QIODevice::WriteOnly) || file.write(script) != script.size()) return false;
    file.close();
    const QDBusMessage loaded = callKWin(m_bus, QStringLiteral("/Scripting"),
                                         "org.kde.kwin.Scripting", "loadScript",
                                         {m_scriptFile, m_pluginName});
    const int id = loaded.arguments().value(0, -1).toInt();
    if (loaded.type() != QDBusMessage::ReplyMessage || id < 0) {
        qCInfo(lcPlatformLinux) << "KWin: no scripting service:" << loaded.errorMessage();
        QFile::remove(m_scriptFile);
        return false;
    }
    // The script object's path: Plasma 6, then Plasma 5.
    for (const QString& path : {QStringLiteral("/Scripting/Script%1").arg(id),
                                QStringLiteral("/%1").arg(id)}) {
        if (callKWin(m_bus, path, "org.kde.kwin.Script", "run").type() ==
            QDBusMessage::ReplyMessage) {
            return true;
        }
    }
    qCWarning(lcPlatformLinux) << "KWin: the script was loaded but would not run";
    callKWin(m_bus, QStringLiteral("/Scripting"), "org.kde.kwin.Scripting", "unloadScript",
             {m_pluginName});
    QFile::remove(m_scriptFile);
    return false;
}

KWinWindowSystem::~KWinWindowSystem() {
    if (m_loaded) {
        callKWin(m_bus, QStringLiteral("/Scripting"), "org.kde.kwin.Scripting", "unloadScript",
                 {m_pluginName});
        QFile::remove(m_scriptFile);
    }
    m_bus.unregisterObject(kObjectPath);
}

QString KWinWindowSystem::sourceDescription() const {
    return QStringLiteral("KWin script (window activations)");
}

void KWinWindowSystem::WindowActivated(const QString& resourceClass, const QString& caption,
                                       int pid) {
    m_heard = true;
    m_front.report(resourceClass, caption, pid);
}

std::optional<qint32> KWinWindowSystem::frontProcessIdentifier() {
    return m_loaded ? m_front.processIdentifier() : std::nullopt;
}

std::optional<quint64> KWinWindowSystem::activeWindow() {
    return m_loaded ? m_front.windowId() : std::nullopt;
}

std::vector<WindowInfo> KWinWindowSystem::windowList() {
    return m_loaded ? m_front.windowList() : std::vector<WindowInfo>{};
}

std::optional<WindowHints> KWinWindowSystem::windowHintsForProcess(qint32 processIdentifier) {
    return m_loaded ? m_front.hintsForProcess(processIdentifier) : std::nullopt;
}
