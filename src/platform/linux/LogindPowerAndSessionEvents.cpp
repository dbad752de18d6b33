#include "platform/linux/LogindPowerAndSessionEvents.h"

#include <unistd.h>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QPointer>

#include "platform/linux/LinuxPlatformLog.h"

namespace {

const QString kLogindService = QStringLiteral("org.freedesktop.login1");
const QString kManagerPath = QStringLiteral("/org/freedesktop/login1");
const QString kManagerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr int kCallTimeoutMs = 2000;

QDBusMessage managerCall(const QString& method, const QVariantList& arguments) {
    QDBusMessage message =
        QDBusMessage::createMethodCall(kLogindService, kManagerPath, kManagerInterface, method);
    message.setArguments(arguments);
    return message;
}

QString objectPathFromReply(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return {};
    }
    return reply.arguments().constFirst().value<QDBusObjectPath>().path();
}

}  // namespace

LogindPowerAndSessionEvents::LogindPowerAndSessionEvents(const QDBusConnection& systemBus,
                                                         QObject* parent)
    : QObject(parent), m_systemBus(systemBus) {}

LogindPowerAndSessionEvents::~LogindPowerAndSessionEvents() = default;

bool LogindPowerAndSessionEvents::start() {
    if (!m_systemBus.isConnected()) {
        qCWarning(lcPlatformLinux) << "no system bus: sleep and session switches go unnoticed";
        return false;
    }
    if (!m_systemBus.connect(kLogindService, kManagerPath, kManagerInterface,
                             QStringLiteral("PrepareForSleep"), this,
                             SLOT(onPrepareForSleep(bool)))) {
        qCWarning(lcPlatformLinux) << "cannot follow logind's PrepareForSleep";
    }
    takeSleepInhibitor();
    m_sessionPath = resolveSessionPath();
    if (m_sessionPath.isEmpty()) {
        qCWarning(lcPlatformLinux) << "no logind session found: session switches go unnoticed";
        return true;
    }
    m_systemBus.connect(kLogindService, m_sessionPath, kPropertiesInterface,
                        QStringLiteral("PropertiesChanged"), this,
                        SLOT(onSessionPropertiesChanged(QString, QVariantMap, QStringList)));
    m_sessionActive = readSessionActive().value_or(true);
    qCInfo(lcPlatformLinux) << "following logind session" << m_sessionPath
                            << (m_sessionActive ? "(active)" : "(inactive)");
    return true;
}

void LogindPowerAndSessionEvents::takeSleepInhibitor() {
    if (m_inhibitor) {
        return;
    }
    const QDBusMessage reply = m_systemBus.call(
        managerCall(QStringLiteral("Inhibit"),
                    {QStringLiteral("sleep"), QStringLiteral("VorlixHelper"),
                     QStringLiteral("Saving the time tracked so far"), QStringLiteral("delay")}),
        QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        qCWarning(lcPlatformLinux) << "no sleep inhibitor:" << reply.errorMessage();
        return;
    }
    const auto descriptor = reply.arguments().constFirst().value<QDBusUnixFileDescriptor>();
    if (descriptor.isValid()) {
        m_inhibitor = descriptor;
        qCDebug(lcPlatformLinux) << "sleep inhibitor taken";
    }
}

void LogindPowerAndSessionEvents::releaseSleepInhibitor() {
    if (m_inhibitor) {
        m_inhibitor.reset();  // closes our copy of the descriptor
        qCDebug(lcPlatformLinux) << "sleep inhibitor released";
    }
}

void LogindPowerAndSessionEvents::onPrepareForSleep(bool goingToSleep) {
    if (!goingToSleep) {
        takeSleepInhibitor();
        if (m_observer) {
            m_observer->workspaceDidWake();
        }
        return;
    }
    QPointer<LogindPowerAndSessionEvents> self(this);
    SleepPermit permit([self] {
        if (self) {
            self->releaseSleepInhibitor();
        }
    });
    if (m_observer) {
        m_observer->workspaceWillSleep(std::move(permit));
    }
}

QString LogindPowerAndSessionEvents::resolveSessionPath() const {
    QString path = objectPathFromReply(
        m_systemBus.call(managerCall(QStringLiteral("GetSessionByPID"),
                                     {QVariant::fromValue(static_cast<uint>(::getpid()))}),
                         QDBus::Block, kCallTimeoutMs));
    if (!path.isEmpty()) {
        return path;
    }
    const QString sessionId = qEnvironmentVariable("XDG_SESSION_ID");
    if (sessionId.isEmpty()) {
        return {};
    }
    return objectPathFromReply(m_systemBus.call(
        managerCall(QStringLiteral("GetSession"), {sessionId}), QDBus::Block, kCallTimeoutMs));
}

std::optional<bool> LogindPowerAndSessionEvents::readSessionActive() const {
    QDBusMessage message = QDBusMessage::createMethodCall(
        kLogindService, m_sessionPath, kPropertiesInterface, QStringLiteral("Get"));
    message.setArguments({kSessionInterface, QStringLiteral("Active")});
    const QDBusMessage reply = m_systemBus.call(message, QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return std::nullopt;
    }
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

void LogindPowerAndSessionEvents::onSessionPropertiesChanged(const QString& interface,
                                                             const QVariantMap& changed,
                                                             const QStringList& invalidated) {
    if (interface != kSessionInterface) {
        return;
    }
    const auto found = changed.constFind(QStringLiteral("Active"));
    if (found != changed.constEnd()) {
        applySessionActive(found->toBool());
    } else if (invalidated.contains(QStringLiteral("Active"))) {
        if (const auto active = readSessionActive()) {
            applySessionActive(*active);
        }
    }
}

void LogindPowerAndSessionEvents::applySessionActive(bool active) {
    if (active == std::exchange(m_sessionActive, active) || !m_observer) {
        return;
    }
    if (active) {
        m_observer->sessionDidBecomeActive();
    } else {
        m_observer->sessionDidResignActive();
    }
}
