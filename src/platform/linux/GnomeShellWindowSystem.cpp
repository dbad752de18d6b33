#include "platform/linux/GnomeShellWindowSystem.h"

#include <QDBusMessage>

#include "platform/linux/LinuxPlatformLog.h"

namespace {

const QLatin1String kShell("org.gnome.Shell");
const QLatin1String kPath("/info/mallowby/VorlixHelper/FocusedWindow");
const QLatin1String kInterface("info.mallowby.VorlixHelper.FocusedWindow");
constexpr int kTimeoutMs = 1000;

}  // namespace

GnomeShellWindowSystem::GnomeShellWindowSystem(const QDBusConnection& bus) : m_bus(bus) {
    if (!m_bus.isConnected()) return;
    // Subscribed before asking, so no change falls between the two.
    m_bus.connect(kShell, kPath, kInterface, QStringLiteral("Changed"), this,
                  SLOT(changed(QString, QString, int)));
    const QDBusMessage reply = m_bus.call(
        QDBusMessage::createMethodCall(kShell, kPath, kInterface, QStringLiteral("Get")),
        QDBus::Block, kTimeoutMs);
    const QVariantList values = reply.arguments();
    if (reply.type() != QDBusMessage::ReplyMessage || values.size() != 3) {
        qCInfo(lcPlatformLinux) << "GNOME Shell: our extension does not answer:"
                                << reply.errorMessage();
        return;
    }
    m_available = true;
    m_front.report(values.at(0).toString(), values.at(1).toString(), values.at(2).toInt());
    qCInfo(lcPlatformLinux) << "front window from our GNOME Shell extension";
}

QString GnomeShellWindowSystem::sourceDescription() const {
    return QStringLiteral("GNOME Shell extension (focus changes)");
}

void GnomeShellWindowSystem::changed(const QString& applicationId, const QString& title, int pid) {
    m_front.report(applicationId, title, pid);
}
