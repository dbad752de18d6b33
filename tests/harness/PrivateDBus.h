#pragma once
// PrivateDBus: a throw-away D-Bus daemon (system or session type) in a
// temporary folder, plus python3-dbusmock services on it, for integration
// tests that must not touch the machine's real buses.
//
// Every process started here is a child QProcess that stop() (or the
// destructor) terminates and, after 2 s, kills. start() fails (returns
// false with a reason) when dbus-daemon or dbusmock is missing, so the test
// can skip.

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>
#include <vector>

class PrivateDBus final {
public:
    enum class Type { System, Session };

    explicit PrivateDBus(Type type);
    ~PrivateDBus();
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

private:
    bool waitForName(const QString& busName, int timeoutMs);
    static void terminate(QProcess& process);

    Type m_type;
    QTemporaryDir m_dir;
    QString m_address;
    QString m_connectionName;
    std::unique_ptr<QProcess> m_daemon;
    std::vector<std::unique_ptr<QProcess>> m_mocks;
};

// The python interpreter that has dbusmock (a python3 earlier on PATH may not).
inline constexpr char kDBusMockPython[] = "/usr/bin/python3";
