#include "PrivateDBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <QUuid>

namespace {

const char kConfigTemplate[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>%1</type>
  <listen>unix:path=%2</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateDBus::PrivateDBus(Type type) : m_type(type) {}

PrivateDBus::~PrivateDBus() {
    stop();
}

bool PrivateDBus::start(QString* whyNot) {
    const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (daemon.isEmpty() || !m_dir.isValid()) {
        *whyNot = QStringLiteral("dbus-daemon is not installed");
        return false;
    }
    const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly)) {
        *whyNot = QStringLiteral("cannot write the bus configuration");
        return false;
    }
    file.write(
        QString::fromLatin1(kConfigTemplate)
            .arg(m_type == Type::System ? QStringLiteral("system") : QStringLiteral("session"),
                 m_dir.filePath(QStringLiteral("bus_socket")))
            .toUtf8());
    file.close();
    m_daemon = std::make_unique<QProcess>();
    m_daemon->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_daemon->start(daemon, {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                             QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
    if (!m_daemon->waitForStarted(5000) || !m_daemon->waitForReadyRead(5000)) {
        *whyNot = QStringLiteral("dbus-daemon did not start");
        return false;
    }
    m_address = QString::fromUtf8(m_daemon->readLine()).trimmed();
    return !m_address.isEmpty();
}

bool PrivateDBus::startMock(const QString& busName, const QStringList& arguments, QString* whyNot) {
    if (!QFile::exists(QString::fromLatin1(kDBusMockPython))) {
        *whyNot = QStringLiteral("python3 is not installed");
        return false;
    }
    auto mock = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(m_type == Type::System ? QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS")
                                              : QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       m_address);
    mock->setProcessEnvironment(environment);
    mock->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    mock->setStandardOutputFile(QProcess::nullDevice());
    QStringList all = {QStringLiteral("-m"), QStringLiteral("dbusmock")};
    if (m_type == Type::System) {
        all << QStringLiteral("--system");
    }
    mock->start(QString::fromLatin1(kDBusMockPython), all + arguments);
    if (!mock->waitForStarted(5000)) {
        *whyNot = QStringLiteral("dbusmock did not start");
        return false;
    }
    m_mocks.push_back(std::move(mock));
    if (!waitForName(busName, 15000)) {
        *whyNot =
            QStringLiteral("dbusmock never took %1 (is python3-dbusmock installed?)").arg(busName);
        return false;
    }
    return true;
}

bool PrivateDBus::waitForName(const QString& busName, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (connection().interface()->isServiceRegistered(busName).value()) {
            return true;
        }
        if (m_mocks.back()->state() == QProcess::NotRunning) {
            return false;
        }
        QThread::msleep(20);
    }
    return false;
}

QDBusConnection PrivateDBus::connection() {
    if (m_connectionName.isEmpty()) {
        m_connectionName = QStringLiteral("private-bus-") + QUuid::createUuid().toString();
        QDBusConnection::connectToBus(m_address, m_connectionName);
    }
    return QDBusConnection(m_connectionName);
}

QDBusMessage PrivateDBus::call(const QString& service, const QString& path,
                               const QString& interface, const QString& method,
                               const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return connection().call(message, QDBus::Block, 5000);
}

void PrivateDBus::terminate(QProcess& process) {
    if (process.state() == QProcess::NotRunning) {
        return;
    }
    process.terminate();
    if (!process.waitForFinished(2000)) {
        process.kill();
        process.waitForFinished(2000);
    }
}

void PrivateDBus::stop() {
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_connectionName);
        m_connectionName.clear();
    }
    for (auto& mock : m_mocks) {
        terminate(*mock);
    }
    m_mocks.clear();
    if (m_daemon) {
        terminate(*m_daemon);
        m_daemon.reset();
    }
}
