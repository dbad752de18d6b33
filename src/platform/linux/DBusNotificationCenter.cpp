#include "platform/linux/DBusNotificationCenter.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>

namespace {

const char kPath[] = "/info/mallowby/Vorlix";
const char kInterface[] = "info.mallowby.Vorlix";
const char kSignature[] = "sa{say}";

}  // namespace

DBusNotificationCenter::DBusNotificationCenter(QDBusConnection connection, QObject* parent)
    : QObject(parent), m_connection(std::move(connection)) {
    // Without the registered map type, connecting for a{say} fails silently.
    qDBusRegisterMetaType<UserInfo>();
}

DBusNotificationCenter::~DBusNotificationCenter() {
    while (!m_observers.empty()) removeObserver(m_observers.begin()->first);
}

void DBusNotificationCenter::post(const QString& name, const QString& object,
                                  const UserInfo& userInfo) {
    if (!m_connection.isConnected()) return;
    QDBusMessage message = QDBusMessage::createSignal(QString::fromLatin1(kPath),
                                                      QString::fromLatin1(kInterface), name);
    message << object << QVariant::fromValue(userInfo);
    m_connection.send(message);
}

int DBusNotificationCenter::addObserver(const QString& name, Observer observer) {
    if (!m_connection.isConnected()) return -1;
    bool listening = false;
    for (const auto& entry : m_observers) listening = listening || entry.second.name == name;
    if (!listening && !m_connection.connect(QString(), QString::fromLatin1(kPath),
                                            QString::fromLatin1(kInterface), name,
                                            QString::fromLatin1(kSignature), this,
                                            SLOT(handleSignal(QDBusMessage)))) {
        return -1;
    }
    const int token = m_nextToken++;
    m_observers.emplace(token, Registration{name, std::move(observer)});
    return token;
}

void DBusNotificationCenter::removeObserver(int token) {
    auto it = m_observers.find(token);
    if (it == m_observers.end()) return;
    const QString name = it->second.name;
    m_observers.erase(it);
    for (const auto& entry : m_observers) {
        if (entry.second.name == name) return;
    }
    m_connection.disconnect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                            name, QString::fromLatin1(kSignature), this,
                            SLOT(handleSignal(QDBusMessage)));
}

void DBusNotificationCenter::handleSignal(const QDBusMessage& message) {
    const QList<QVariant> arguments = message.arguments();
    if (arguments.size() != 2) return;
    const QString object = arguments[0].toString();
    UserInfo userInfo;
    const QVariant info = arguments[1];
    if (info.canConvert<QDBusArgument>()) {
        info.value<QDBusArgument>() >> userInfo;
    } else {
        userInfo = info.value<UserInfo>();
    }
    const QString name = message.member();
    // Copy first: an observer may add or remove observers.
    std::vector<Observer> observers;
    for (const auto& entry : m_observers) {
        if (entry.second.name == name) observers.push_back(entry.second.observer);
    }
    for (const Observer& observer : observers) observer(name, object, userInfo);
}
