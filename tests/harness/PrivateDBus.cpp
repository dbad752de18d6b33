#include "harness/PrivateDBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <QUuid>

namespace {

const char kConfig[] = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>%1</type><listen>unix:path=%2</listen><auth>EXTERNAL</auth>
  <policy context="default"><allow user="*"/><allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/><allow receive_sender="*"/>
    <allow eavesdrop="true"/></policy>
</busconfig>
)";

// The python interpreter that has dbusmock (a python3 earlier on PATH may not).
const QString kDBusMockPython = QStringLiteral("/usr/bin/python3");

}  // namespace

bool PrivateDBus::start(QString* whyNot) {
    const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
    QFile file(config);
    if (daemon.isEmpty() || !file.open(QIODevice::WriteOnly)) {
        *whyNot = QStringLiteral("dbus-daemon is not installed");
        return false;
    }
    file.write(QString::fromLatin1(kConfig)
                   .arg(m_type == Type::System ? QStringLiteral("system") : QStringLiteral("session"),
                        m_dir.filePath(QStringLiteral("bus_socket")))
                   .toUtf8());
    file.close();
    auto& process = m_processes.emplace_back(std::make_unique<QProcess>());
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->start(daemon, {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                            QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
    if (process->waitForStarted(5000) && process->waitForReadyRead(5000))
        m_address = QString::fromUtf8(process->readLine()).trimmed();
    if (m_address.isEmpty()) *whyNot = QStringLiteral("dbus-daemon did not start");
    return !m_address.isEmpty();
}

bool PrivateDBus::startMock(const QString& busName, const QStringList& arguments, QString* whyNot) {
    auto& mock = m_processes.emplace_back(std::make_unique<QProcess>());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(m_type == Type::System ? QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS")
                                              : QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                       m_address);
    mock->setProcessEnvironment(environment);
    mock->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    mock->setStandardOutputFile(QProcess::nullDevice());
    QStringList all = {QStringLiteral("-m"), QStringLiteral("dbusmock")};
    if (m_type == Type::System) all << QStringLiteral("--system");
    mock->start(kDBusMockPython, all + arguments);
    QDeadlineTimer deadline(15000);
    while (mock->waitForStarted(5000) && mock->state() != QProcess::NotRunning &&
           !deadline.hasExpired()) {
        if (connection().interface()->isServiceRegistered(busName).value()) return true;
        QThread::msleep(20);
    }
    *whyNot = QStringLiteral("dbusmock never took %1 (is python3-dbusmock installed?)").arg(busName);
    return false;
}

QDBusConnection PrivateDBus::connection() {
    if (m_connectionName.isEmpty()) {
        m_connectionName = QStringLiteral("private-bus-") + QUuid::createUuid().toString();
        QDBusConnection::connectToBus(m_address, m_connectionName);
    }
    return QDBusConnection(m_connectionName);
}

QDBusMessage PrivateDBus::call(const QString& service, const QString& path, const QString& interface,
                               const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return connection().call(message, QDBus::Block, 5000);
}

bool PrivateDBus::mock(const QString& service, const QString& path, const QString& method,
                       const QVariantList& arguments) {
    return call(service, path, QStringLiteral("org.freedesktop.DBus.Mock"), method, arguments).type() ==
           QDBusMessage::ReplyMessage;
}

void PrivateDBus::stop() {
    if (!m_connectionName.isEmpty()) QDBusConnection::disconnectFromBus(m_connectionName);
    m_connectionName.clear();
    // The mocks before the daemon they are connected to.
    while (!m_processes.empty()) {
        QProcess& process = *m_processes.back();
        process.terminate();
        if (!process.waitForFinished(2000)) {
            process.kill();
            process.waitForFinished(2000);
        }
        m_processes.pop_back();
    }
}

namespace LogindMock {

namespace {

const QString kService = QStringLiteral("org.freedesktop.login1");
const QString kManagerPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
bool callMock(PrivateDBus& bus, const QString& path, const QString& method,
              const QVariantList& arguments) {
    return bus.mock(kService, path, method, arguments);
}

QString sessionPath(const QString& sessionId) {
    return QStringLiteral("/org/freedesktop/login1/session/") + sessionId;
}

}  // namespace

bool start(PrivateDBus& bus, const QString& sessionId, bool answerGetSessionByPID, QString* whyNot) {
    if (!bus.startMock(kService, {QStringLiteral("--template"), QStringLiteral("logind")}, whyNot))
        return false;
    const bool ready =
        callMock(bus, kManagerPath, QStringLiteral("AddSession"),
                 {sessionId, QStringLiteral("seat0"), 1000u, QStringLiteral("user"), true}) &&
        (!answerGetSessionByPID ||
         callMock(bus, kManagerPath, QStringLiteral("AddMethod"),
                  {kManager, QStringLiteral("GetSessionByPID"), QStringLiteral("u"),
                   QStringLiteral("o"),
                   QStringLiteral("ret = dbus.ObjectPath('%1')").arg(sessionPath(sessionId))}));
    if (!ready) *whyNot = QStringLiteral("the logind mock refused to set up the session");
    return ready;
}

bool emitPrepareForSleep(PrivateDBus& bus, bool goingToSleep) {
    return callMock(bus, kManagerPath, QStringLiteral("EmitSignal"),
                    {kManager, QStringLiteral("PrepareForSleep"), QStringLiteral("b"),
                     QVariant::fromValue(QVariantList{goingToSleep})});
}

bool setSessionActive(PrivateDBus& bus, const QString& sessionId, bool active) {
    return callMock(bus, sessionPath(sessionId), QStringLiteral("UpdateProperties"),
                    {QStringLiteral("org.freedesktop.login1.Session"),
                     QVariantMap{{QStringLiteral("Active"), active}}});
}

int sleepDelayInhibitors(PrivateDBus& bus, const QString& who) {
    const QDBusMessage reply = bus.call(kService, kManagerPath, kManager, QStringLiteral("ListInhibitors"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return -1;
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    int count = 0;
    list.beginArray();
    while (!list.atEnd()) {
        QString what, holder, why, mode;
        uint uid = 0, pid = 0;
        list.beginStructure();
        list >> what >> holder >> why >> mode >> uid >> pid;
        list.endStructure();
        if (holder == who && what == QLatin1String("sleep") && mode == QLatin1String("delay")) ++count;
    }
    list.endArray();
    return count;
}

}  // namespace LogindMock
