#pragma once
// DistributedNotificationCenter: a machine-local broadcast between the
// programs of one user (the helper and the main application).
//
// A notification has a name, an object string and a user info of byte
// blocks. Every process that observes the name receives it, the poster
// included. Observers are called on the thread that owns the centre (the
// main thread), from its event loop, never inside post(). On Linux the
// transport is a D-Bus session-bus signal (platform/linux); tests use an
// in-memory fake. Main thread only.

#include <QByteArray>
#include <QMap>
#include <QString>
#include <functional>

class DistributedNotificationCenter {
public:
    using UserInfo = QMap<QString, QByteArray>;
    using Observer =
        std::function<void(const QString& name, const QString& object, const UserInfo& userInfo)>;

    virtual ~DistributedNotificationCenter() = default;

    virtual void post(const QString& name, const QString& object, const UserInfo& userInfo) = 0;
    // Returns a token for removeObserver(); a negative token means the centre
    // could not listen (no bus).
    virtual int addObserver(const QString& name, Observer observer) = 0;
    virtual void removeObserver(int token) = 0;
};
