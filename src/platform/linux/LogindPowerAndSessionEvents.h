#pragma once
// LogindPowerAndSessionEvents: sleep, wake, session switches and screen
// locks from systemd-logind on the system bus (and the desktop's screen
// saver on the session bus).
//
// - Sleep: holds a "delay" sleep inhibitor while running. On
//   PrepareForSleep(true) the observer gets a SleepPermit; releasing it
//   closes the inhibitor's file descriptor, which lets the machine sleep
//   (logind waits at most its InhibitDelayMaxSec). On PrepareForSleep(false)
//   the inhibitor is taken again, then the observer hears of the wake.
// - Session: the "Active" property of the helper's own session, followed
//   through PropertiesChanged. Our session is GetSessionByPID(our pid), else
//   GetSession($XDG_SESSION_ID), else (a user service belongs to no session)
//   the best of our user's graphical sessions from ListSessions: the one on
//   our display ($DISPLAY against its Display), then on our seat
//   ($XDG_SEAT, else any seat), then the active one.
// - Lock: the session's "LockedHint", and, once followScreenSaver() was
//   called, org.freedesktop.ScreenSaver's ActiveChanged on the session bus.
//   Either one locked means locked. A lock already in place is reported when
//   the observer is set.
// What could not be set up (no system bus, no session) is logged once by
// start() and then simply never reported. Main thread.

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>

#include "platform/PowerAndSessionEvents.h"

class LogindPowerAndSessionEvents final : public QObject, public PowerAndSessionEvents {
    Q_OBJECT

public:
    explicit LogindPowerAndSessionEvents(
        const QDBusConnection& systemBus = QDBusConnection::systemBus(), QObject* parent = nullptr);
    ~LogindPowerAndSessionEvents() override;

    // Subscribes, takes the inhibitor and resolves the session. Returns false
    // when the system bus is unreachable.
    bool start();

    void setObserver(PowerAndSessionObserver* observer) override;
    // Also follows the desktop's screen saver on `sessionBus`, where one runs.
    void followScreenSaver(const QDBusConnection& sessionBus);

    bool holdsSleepInhibitor() const { return m_inhibitor.has_value(); }
    // The D-Bus path of our session, empty when none was found.
    QString sessionPath() const { return m_sessionPath; }

private Q_SLOTS:
    void onPrepareForSleep(bool goingToSleep);
    void onSessionPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                    const QStringList& invalidated);
    void onScreenSaverActiveChanged(bool active);

private:
    void takeSleepInhibitor();
    void releaseSleepInhibitor();
    QString resolveSessionPath() const;
    QString findGraphicalSession() const;
    QVariantMap readSessionProperties(const QString& path) const;
    void applySessionActive(bool active);
    void applyLocks(bool sessionLocked, bool screenSaverActive);

    QDBusConnection m_systemBus;
    PowerAndSessionObserver* m_observer = nullptr;
    std::optional<QDBusUnixFileDescriptor> m_inhibitor;
    QString m_sessionPath;
    bool m_sessionActive = true;
    bool m_sessionLocked = false;
    bool m_screenSaverActive = false;
};
