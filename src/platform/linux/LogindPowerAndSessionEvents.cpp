#include "platform/linux/LogindPowerAndSessionEvents.h"

#include <unistd.h>
#include <QDBusArgument>
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
const QString kScreenSaverService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kScreenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const QString kActive = QStringLiteral("Active");
const QString kLockedHint = QStringLiteral("LockedHint");
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

// "host:number" of an X display name: ":0.0", ":0" and "unix:0" are one.
QString displayKey(const QString& display) {
    const qsizetype colon = display.lastIndexOf(QLatin1Char(':'));
    if (colon < 0) return {};
    QString host = display.left(colon);
    if (host == QLatin1String("unix")) host.clear();
    return host + QLatin1Char(':') + display.mid(colon + 1).section(QLatin1Char('.'), 0, 0);
}

QString seatIdOf(const QVariant& seat) {  // (so)
    QString id;
    QDBusObjectPath path;
    const QDBusArgument argument = seat.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::StructureType) return {};
    argument.beginStructure();
    argument >> id >> path;
    argument.endStructure();
    return id;
}

// How well one of our sessions fits this process: our display first, then
// our seat (any seat when we do not know ours), then being the active one.
// -1: not a local graphical session.
int sessionFit(const QVariantMap& session) {
    const QString type = session.value(QStringLiteral("Type")).toString();
    const bool graphical = type == QLatin1String("x11") || type == QLatin1String("wayland") ||
                           type == QLatin1String("mir");
    if (!graphical || session.value(QStringLiteral("Remote")).toBool()) return -1;
    const QString ourDisplay = displayKey(qEnvironmentVariable("DISPLAY"));
    const QString ourSeat = qEnvironmentVariable("XDG_SEAT");
    const QString seat = seatIdOf(session.value(QStringLiteral("Seat")));
    int fit = 0;
    if (!ourDisplay.isEmpty() &&
        displayKey(session.value(QStringLiteral("Display")).toString()) == ourDisplay) {
        fit += 4;
    }
    if (ourSeat.isEmpty() ? !seat.isEmpty() : seat == ourSeat) fit += 2;
    if (session.value(kActive).toBool()) fit += 1;
    return fit;
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
    const QVariantMap properties = readSessionProperties(m_sessionPath);
    m_sessionActive = properties.value(kActive, true).toBool();
    m_sessionLocked = properties.value(kLockedHint, false).toBool();
    qCInfo(lcPlatformLinux) << "following logind session" << m_sessionPath
                            << (m_sessionActive ? "(active)" : "(inactive)")
                            << (m_sessionLocked ? "(locked)" : "");
    return true;
}

void LogindPowerAndSessionEvents::followScreenSaver(const QDBusConnection& sessionBus) {
    if (!sessionBus.isConnected()) return;
    QDBusConnection bus(sessionBus);
    bus.connect(kScreenSaverService, kScreenSaverPath, kScreenSaverService,
                QStringLiteral("ActiveChanged"), this, SLOT(onScreenSaverActiveChanged(bool)));
    // Asked once, without starting a screen saver that is only installed.
    QDBusMessage ask = QDBusMessage::createMethodCall(
        kScreenSaverService, kScreenSaverPath, kScreenSaverService, QStringLiteral("GetActive"));
    ask.setAutoStartService(false);
    const QDBusMessage reply = bus.call(ask, QDBus::Block, kCallTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
        applyLocks(m_sessionLocked, reply.arguments().constFirst().toBool());
    }
}

void LogindPowerAndSessionEvents::setObserver(PowerAndSessionObserver* observer) {
    m_observer = observer;
    if (m_observer && (m_sessionLocked || m_screenSaverActive)) m_observer->screenDidLock();
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
        return findGraphicalSession();
    }
    return objectPathFromReply(m_systemBus.call(
        managerCall(QStringLiteral("GetSession"), {sessionId}), QDBus::Block, kCallTimeoutMs));
}

// A user service runs outside every session: ours is then the user's
// graphical session that fits this process best.
QString LogindPowerAndSessionEvents::findGraphicalSession() const {
    const QDBusMessage reply = m_systemBus.call(managerCall(QStringLiteral("ListSessions"), {}),
                                                QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
    const QDBusArgument list = reply.arguments().constFirst().value<QDBusArgument>();
    QString best;
    int bestFit = -1;
    list.beginArray();
    while (!list.atEnd()) {
        QString id, user, seat;
        uint uid = 0;
        QDBusObjectPath path;
        list.beginStructure();
        list >> id >> uid >> user >> seat >> path;
        list.endStructure();
        if (uid != ::getuid()) continue;
        const int fit = sessionFit(readSessionProperties(path.path()));
        if (fit > bestFit) {
            best = path.path();
            bestFit = fit;
        }
    }
    list.endArray();
    return best;
}

QVariantMap LogindPowerAndSessionEvents::readSessionProperties(const QString& path) const {
    QDBusMessage message = QDBusMessage::createMethodCall(
        kLogindService, path, kPropertiesInterface, QStringLiteral("GetAll"));
    message.setArguments({kSessionInterface});
    const QDBusMessage reply = m_systemBus.call(message, QDBus::Block, kCallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
    return qdbus_cast<QVariantMap>(reply.arguments().constFirst());
}

void LogindPowerAndSessionEvents::onSessionPropertiesChanged(const QString& interface,
                                                             const QVariantMap& changed,
                                                             const QStringList& invalidated) {
    if (interface != kSessionInterface) {
        return;
    }
    QVariantMap values = changed;
    if (invalidated.contains(kActive) || invalidated.contains(kLockedHint)) {
        const QVariantMap now = readSessionProperties(m_sessionPath);
        for (const QString& name : {kActive, kLockedHint}) {
            if (invalidated.contains(name) && now.contains(name))
                values.insert(name, now.value(name));
        }
    }
    if (values.contains(kActive)) applySessionActive(values.value(kActive).toBool());
    if (values.contains(kLockedHint))
        applyLocks(values.value(kLockedHint).toBool(), m_screenSaverActive);
}

void LogindPowerAndSessionEvents::onScreenSaverActiveChanged(bool active) {
    applyLocks(m_sessionLocked, active);
}

void LogindPowerAndSessionEvents::applyLocks(bool sessionLocked, bool screenSaverActive) {
    const bool wasLocked = m_sessionLocked || m_screenSaverActive;
    m_sessionLocked = sessionLocked;
    m_screenSaverActive = screenSaverActive;
    const bool locked = m_sessionLocked || m_screenSaverActive;
    if (locked == wasLocked || !m_observer) {
        return;
    }
    if (locked) {
        m_observer->screenDidLock();
    } else {
        m_observer->screenDidUnlock();
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
