#pragma once
// DBusNotificationCenter: DistributedNotificationCenter over the D-Bus
// session bus.
//
// A notification is a signal on path /info/mallowby/Vorlix, interface
// info.mallowby.Vorlix, member = the notification's name, with the arguments
// (s object, a{say} userInfo). Every process on the bus that listens gets it,
// this one included. Without a session bus nothing is sent or received and
// addObserver() returns -1. Main thread only (the connection's thread).

#include <QDBusConnection>
#include <QObject>
#include <map>

#include "platform/DistributedNotificationCenter.h"

class QDBusMessage;

class DBusNotificationCenter final : public QObject, public DistributedNotificationCenter {
    Q_OBJECT
public:
    explicit DBusNotificationCenter(QDBusConnection connection = QDBusConnection::sessionBus(),
                                    QObject* parent = nullptr);
    ~DBusNotificationCenter() override;

    void post(const QString& name, const QString& object, const UserInfo& userInfo) override;
    int addObserver(const QString& name, Observer observer) override;
    void removeObserver(int token) override;

private Q_SLOTS:
    void handleSignal(const QDBusMessage& message);

private:
    QDBusConnection m_connection;
    struct Registration {
        QString name;
        Observer observer;
    };
    std::map<int, Registration> m_observers;
    int m_nextToken = 0;
};
