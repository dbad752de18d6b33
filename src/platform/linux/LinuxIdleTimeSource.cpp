#include "platform/linux/LinuxIdleTimeSource.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QElapsedTimer>
#include <cstdlib>
#include <utility>

#include "platform/linux/LinuxPlatformLog.h"

// X headers last: they define macros that clash with Qt.
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

namespace {

constexpr int kDBusTimeoutMs = 250;
// A question sent ahead is answered for this long; an older one is asked again.
constexpr qint64 kPreparedAnswerMs = 250;

struct DBusIdleCall {
    const char* service;
    const char* path;
    const char* interface;
    const char* method;
};

const DBusIdleCall kMutter = {"org.gnome.Mutter.IdleMonitor", "/org/gnome/Mutter/IdleMonitor/Core",
                              "org.gnome.Mutter.IdleMonitor", "GetIdletime"};
const DBusIdleCall kFreedesktop = {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                   "org.freedesktop.ScreenSaver", "GetSessionIdleTime"};

const DBusIdleCall& callFor(LinuxIdleTimeSource::Method method) {
    return method == LinuxIdleTimeSource::Method::MutterIdleMonitor ? kMutter : kFreedesktop;
}

// Mutter answers milliseconds (t), the freedesktop call whole seconds (u).
std::optional<double> idleSecondsFromReply(const QDBusMessage& reply,
                                           LinuxIdleTimeSource::Method method) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return std::nullopt;
    }
    bool ok = false;
    const qulonglong value = reply.arguments().constFirst().toULongLong(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return method == LinuxIdleTimeSource::Method::MutterIdleMonitor
               ? static_cast<double>(value) / 1000.0
               : static_cast<double>(value);
}

}  // namespace

struct LinuxIdleTimeSource::XConnection {
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = 0;
    // The question sent ahead, while its answer has not been collected.
    std::optional<xcb_screensaver_query_info_cookie_t> prepared;
    QElapsedTimer preparedAt;

    void dropPrepared() {
        if (prepared) xcb_discard_reply(connection, prepared->sequence);
        prepared.reset();
    }

    ~XConnection() {
        if (connection) {
            xcb_disconnect(connection);
        }
    }
};

LinuxIdleTimeSource::LinuxIdleTimeSource(const QByteArray& displayName,
                                         const QDBusConnection& sessionBus, bool useX11)
    : m_sessionBus(sessionBus) {
    if (useX11 && openX11(displayName)) {
        m_method = Method::X11ScreenSaver;
        qCInfo(lcPlatformLinux) << "idle time from the X screen saver extension";
    } else if (probeDBus(Method::MutterIdleMonitor)) {
        m_method = Method::MutterIdleMonitor;
        qCInfo(lcPlatformLinux) << "idle time from org.gnome.Mutter.IdleMonitor";
    } else if (probeDBus(Method::FreedesktopScreenSaver)) {
        m_method = Method::FreedesktopScreenSaver;
        qCInfo(lcPlatformLinux) << "idle time from org.freedesktop.ScreenSaver";
    } else {
        qCWarning(lcPlatformLinux)
            << "no way to measure idle time on this desktop: the user never counts as idle";
    }
}

LinuxIdleTimeSource::~LinuxIdleTimeSource() = default;

bool LinuxIdleTimeSource::openX11(const QByteArray& displayName) {
    auto x = std::make_unique<XConnection>();
    int screenNumber = 0;
    x->connection =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (!x->connection || xcb_connection_has_error(x->connection)) {
        return false;
    }
    const xcb_query_extension_reply_t* extension =
        xcb_get_extension_data(x->connection, &xcb_screensaver_id);
    if (!extension || !extension->present) {
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(x->connection));
    for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        return false;
    }
    x->root = screens.data->root;
    m_x = std::move(x);
    return true;
}

bool LinuxIdleTimeSource::probeDBus(Method method) {
    if (!m_sessionBus.isConnected()) {
        return false;
    }
    return queryDBus(method).has_value();
}

void LinuxIdleTimeSource::prepareSecondsSinceLastInput() {
    if (m_method != Method::X11ScreenSaver) return;
    m_x->dropPrepared();
    m_x->prepared = xcb_screensaver_query_info(m_x->connection, m_x->root);
    m_x->preparedAt.start();
    xcb_flush(m_x->connection);
}

std::optional<double> LinuxIdleTimeSource::queryX11() {
    if (m_x->prepared && m_x->preparedAt.elapsed() > kPreparedAnswerMs) m_x->dropPrepared();
    const xcb_screensaver_query_info_cookie_t cookie =
        m_x->prepared ? *m_x->prepared : xcb_screensaver_query_info(m_x->connection, m_x->root);
    m_x->prepared.reset();
    xcb_generic_error_t* error = nullptr;
    xcb_screensaver_query_info_reply_t* reply =
        xcb_screensaver_query_info_reply(m_x->connection, cookie, &error);
    free(error);
    if (!reply) {
        return std::nullopt;
    }
    const double seconds = static_cast<double>(reply->ms_since_user_input) / 1000.0;
    free(reply);
    return seconds;
}

std::optional<double> LinuxIdleTimeSource::queryDBus(Method method) {
    const DBusIdleCall& call = callFor(method);
    const QDBusMessage message =
        QDBusMessage::createMethodCall(QLatin1String(call.service), QLatin1String(call.path),
                                       QLatin1String(call.interface), QLatin1String(call.method));
    return idleSecondsFromReply(m_sessionBus.call(message, QDBus::Block, kDBusTimeoutMs), method);
}

double LinuxIdleTimeSource::secondsSinceLastInput() {
    std::optional<double> seconds;
    switch (m_method) {
        case Method::X11ScreenSaver:
            seconds = queryX11();
            break;
        case Method::MutterIdleMonitor:
        case Method::FreedesktopScreenSaver:
            seconds = queryDBus(m_method);
            break;
        case Method::None:
            return 0.0;
    }
    if (!seconds) {
        // Lost the display or the service: report it once, count as active.
        if (!std::exchange(m_failureLogged, true)) {
            qCWarning(lcPlatformLinux) << "idle time query failed; counting the user as active";
        }
        return 0.0;
    }
    m_failureLogged = false;
    return *seconds;
}
