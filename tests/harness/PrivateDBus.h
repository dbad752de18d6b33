#pragma once
// PrivateDBus: a throw-away D-Bus daemon (system or session type) in a
// temporary folder, plus python3-dbusmock services on it, for integration
// tests that must not touch the machine's real buses. Every process started
// here is a child that stop() (or the destructor) terminates, killing it
// after 2 s. start() and startMock() fail with a reason when dbus-daemon or
// dbusmock is missing, so the test can skip.
//
// LogindMock drives dbusmock's logind template on a bus of system type.

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>
#include <vector>

class PrivateDBus final {
public:
    enum class Type { System, Session };

    explicit PrivateDBus(Type type) : m_type(type) {}
    ~PrivateDBus() { stop(); }
    PrivateDBus(const PrivateDBus&) = delete;
    PrivateDBus& operator=(const PrivateDBus&) = delete;

    bool start(QString* whyNot);
    // Starts `python3 -m dbusmock` with the given arguments on this bus and
    // waits until it owns `busName`.
    bool startMock(const QString& busName, const QStringList& arguments, QString* whyNot);
    void stop();

    QString address() const { return m_address; }
    // A connection of this process to the bus, opened on first use.
    QDBusConnection connection();
    // Calls a method and returns the reply (an error reply on failure).
    QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments = {});
    // Calls `method` of a mock's org.freedesktop.DBus.Mock interface
    // (AddMethod, EmitSignal, UpdateProperties...): true when it answered.
    bool mock(const QString& service, const QString& path, const QString& method,
              const QVariantList& arguments);

private:
    Type m_type;
    QTemporaryDir m_dir;
    QString m_address;
    QString m_connectionName;
    std::vector<std::unique_ptr<QProcess>> m_processes;  // the daemon first
};

namespace LogindMock {

// Starts the mock and adds session `sessionId` (active) for uid 1000. With
// answerGetSessionByPID, GetSessionByPID (which the template lacks) returns
// that session for any pid.
bool start(PrivateDBus& bus, const QString& sessionId, bool answerGetSessionByPID, QString* whyNot);
// False when the mock refused the call.
bool emitPrepareForSleep(PrivateDBus& bus, bool goingToSleep);
bool setSessionActive(PrivateDBus& bus, const QString& sessionId, bool active);
// Delay sleep inhibitors held by `who`; -1 when the mock did not answer.
int sleepDelayInhibitors(PrivateDBus& bus, const QString& who);

}  // namespace LogindMock
