#include "platform/linux/AtspiEnabledSwitch.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace {

constexpr int kCallTimeoutMs = 250;
const QString kBusService = QStringLiteral("org.a11y.Bus");
const QString kBusPath = QStringLiteral("/org/a11y/bus");
const QString kStatusInterface = QStringLiteral("org.a11y.Status");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kIsEnabled = QStringLiteral("IsEnabled");

}  // namespace

AtspiEnabledSwitch::AtspiEnabledSwitch() {
    // Subscribed before the first question, so no change falls in between.
    m_subscribed = QDBusConnection::sessionBus().connect(
        kBusService, kBusPath, kPropertiesInterface, QStringLiteral("PropertiesChanged"), this,
        SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
}

bool AtspiEnabledSwitch::value() {
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard lock(m_mutex);
    const auto recheck = m_subscribed && m_enabled.value_or(false) ? kOnRecheck : kOffRecheck;
    if (!m_enabled || now - m_askedAt >= recheck) {
        m_enabled = ask();
        m_askedAt = now;
    }
    return *m_enabled;
}

void AtspiEnabledSwitch::forget() {
    std::lock_guard lock(m_mutex);
    m_enabled.reset();
}

void AtspiEnabledSwitch::propertiesChanged(const QString& interface, const QVariantMap& changed,
                                           const QStringList& invalidated) {
    if (interface != kStatusInterface) return;
    std::lock_guard lock(m_mutex);
    if (changed.contains(kIsEnabled)) {
        QVariant value = changed.value(kIsEnabled);
        if (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
            value = value.value<QDBusVariant>().variant();
        }
        m_enabled = value.toBool();
        m_askedAt = std::chrono::steady_clock::now();
    } else if (invalidated.contains(kIsEnabled)) {
        m_enabled.reset();
    }
}

bool AtspiEnabledSwitch::ask() {
    QDBusMessage get = QDBusMessage::createMethodCall(kBusService, kBusPath, kPropertiesInterface,
                                                      QStringLiteral("Get"));
    get << kStatusInterface << kIsEnabled;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(get, QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}
