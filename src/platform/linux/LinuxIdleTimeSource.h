#pragma once
// LinuxIdleTimeSource: seconds since the last keyboard or mouse input.
//
// Tries, once at construction and in this order: the X server's
// MIT-SCREEN-SAVER extension on a connection of its own; GNOME's
// org.gnome.Mutter.IdleMonitor.GetIdletime; org.freedesktop.ScreenSaver
// .GetSessionIdleTime (both on the session bus, for desktops without the
// X extension). What it found is logged once; with none of them it answers 0
// and isAvailable() is false. Each query is one round trip, bounded by a
// short timeout for the D-Bus ones; the X question can be sent ahead
// (prepareSecondsSinceLastInput) so its answer is waiting when it is asked
// for. On X the server is asked only after an input: each answer sets an
// alarm on the SYNC extension's IDLETIME counter that rings at the next
// input, and until it rings the idle time is the last answer plus the time
// since, by the monotonic clock (asked again at least every 30 s; every
// tick when the server has no such counter or the alarm fails). Main thread
// (the thread that created it).

#include <QByteArray>
#include <QDBusConnection>
#include <memory>
#include <optional>

#include "platform/IdleTimeSource.h"

class LinuxIdleTimeSource final : public IdleTimeSource {
public:
    enum class Method { X11ScreenSaver, MutterIdleMonitor, FreedesktopScreenSaver, None };

    // displayName empty: $DISPLAY. The session bus is only asked when the X
    // extension cannot be used, or with `useX11` false: in a Wayland session
    // the X server (XWayland) only hears of input to its own windows.
    explicit LinuxIdleTimeSource(const QByteArray& displayName = {},
                                 const QDBusConnection& sessionBus = QDBusConnection::sessionBus(),
                                 bool useX11 = true);
    ~LinuxIdleTimeSource() override;
    LinuxIdleTimeSource(const LinuxIdleTimeSource&) = delete;
    LinuxIdleTimeSource& operator=(const LinuxIdleTimeSource&) = delete;

    double secondsSinceLastInput() override;
    void prepareSecondsSinceLastInput() override;
    bool isAvailable() const override { return m_method != Method::None; }
    Method method() const { return m_method; }
    // What this source has written to the X server so far: its cost to the
    // server, for tests and diagnostics.
    quint64 bytesSentToX() const;

private:
    struct XConnection;

    bool openX11(const QByteArray& displayName);
    bool probeDBus(Method method);
    std::optional<double> queryX11();
    std::optional<double> queryDBus(Method method);

    QDBusConnection m_sessionBus;
    std::unique_ptr<XConnection> m_x;
    Method m_method = Method::None;
    bool m_failureLogged = false;
};
