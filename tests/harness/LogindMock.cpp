#include "LogindMock.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QVariantMap>

#include "PrivateDBus.h"

namespace LogindMock {

namespace {

const QString kManagerPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");
const QString kMock = QStringLiteral("org.freedesktop.DBus.Mock");

QString service() {
    return QString::fromLatin1(kService);
}

bool succeeded(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ReplyMessage;
}

}  // namespace

QString sessionPath(const QString& sessionId) {
    return QStringLiteral("/org/freedesktop/login1/session/") + sessionId;
}

bool start(PrivateDBus& bus, const QString& sessionId, bool answerGetSessionByPID,
           QString* whyNot) {
    if (!bus.startMock(service(), {QStringLiteral("--template"), QStringLiteral("logind")},
                       whyNot)) {
        return false;
    }
    if (!succeeded(
            bus.call(service(), kManagerPath, kMock, QStringLiteral("AddSession"),
                     {sessionId, QStringLiteral("seat0"), 1000u, QStringLiteral("user"), true}))) {
        *whyNot = QStringLiteral("the logind mock refused AddSession");
        return false;
    }
    if (answerGetSessionByPID &&
        !succeeded(bus.call(
            service(), kManagerPath, kMock, QStringLiteral("AddMethod"),
            {kManager, QStringLiteral("GetSessionByPID"), QStringLiteral("u"), QStringLiteral("o"),
             QStringLiteral("ret = dbus.ObjectPath('%1')").arg(sessionPath(sessionId))}))) {
        *whyNot = QStringLiteral("the logind mock refused AddMethod");
        return false;
    }
    return true;
}

bool emitPrepareForSleep(PrivateDBus& bus, bool goingToSleep) {
    return succeeded(bus.call(service(), kManagerPath, kMock, QStringLiteral("EmitSignal"),
                              {kManager, QStringLiteral("PrepareForSleep"), QStringLiteral("b"),
                               QVariant::fromValue(QVariantList{goingToSleep})}));
}

bool setSessionActive(PrivateDBus& bus, const QString& sessionId, bool active) {
    QVariantMap properties;
    properties.insert(QStringLiteral("Active"), active);
    return succeeded(bus.call(service(), sessionPath(sessionId), kMock,
                              QStringLiteral("UpdateProperties"),
                              {QStringLiteral("org.freedesktop.login1.Session"), properties}));
}

int sleepDelayInhibitors(PrivateDBus& bus, const QString& who) {
    const QDBusMessage reply =
        bus.call(service(), kManagerPath, kManager, QStringLiteral("ListInhibitors"));
    if (!succeeded(reply) || reply.arguments().isEmpty()) {
        return -1;
    }
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    int count = 0;
    list.beginArray();
    while (!list.atEnd()) {
        QString what, holder, why, mode;
        uint uid = 0, pid = 0;
        list.beginStructure();
        list >> what >> holder >> why >> mode >> uid >> pid;
        list.endStructure();
        if (holder == who && what == QLatin1String("sleep") && mode == QLatin1String("delay")) {
            ++count;
        }
    }
    list.endArray();
    return count;
}

}  // namespace LogindMock
