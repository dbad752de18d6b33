#include "platform/linux/LinuxIdleTimeSource.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QElapsedTimer>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "platform/linux/LinuxPlatformLog.h"

// X headers last: they define macros that clash with Qt.
#include <xcb/screensaver.h>
#include <xcb/sync.h>
#include <xcb/xcb.h>

namespace {

constexpr int kDBusTimeoutMs = 250;
// A question sent ahead is answered for this long; an older one is asked again.
constexpr qint64 kPreparedAnswerMs = 250;
// The idle time worked out from the last answer stands at most this long
// without asking again, should an input ever go unannounced.
constexpr qint64 kLongestUnaskedMs = 30000;
// The alarm's threshold lies this far below the idle time the server will
// count when the alarm reaches it, so that a question answered late does
// not ring it for nothing; an input missed for it came within this long of
// the question, so the answer is off by no more.
constexpr qint64 kAlarmSlackMs = 20;

xcb_sync_int64_t syncValue(qint64 value) {
    return {static_cast<int32_t>(value >> 32), static_cast<uint32_t>(value & 0xffffffff)};
}

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
    // The server's IDLETIME counter (0: none, or its alarm failed; then
    // every answer is asked for) and our alarm on it (0: not made yet), set
    // after each answer to ring at the next input.
    xcb_sync_counter_t idleCounter = 0;
    xcb_sync_alarm_t alarm = 0;
    uint8_t syncFirstEvent = 0;
    // The last answer and when its question went out, while the alarm has
    // not rung since: the idle time is that answer plus the time since.
    std::optional<qint64> knownIdleMs;
    QElapsedTimer knownSince;
    // When the events were last read: the decision step follows the start
    // of its tick by a moment, and need not read them again.
    QElapsedTimer eventsReadAt;

    void dropPrepared() {
        if (prepared) xcb_discard_reply(connection, prepared->sequence);
        prepared.reset();
    }

    bool findIdleCounter();
    void armAlarm(qint64 idleMs, const QElapsedTimer& askedAt);
    bool inputAnnounced();
    std::optional<double> idleWithoutAsking();

    ~XConnection() {
        if (connection) {
            xcb_disconnect(connection);
        }
    }
};

bool LinuxIdleTimeSource::XConnection::findIdleCounter() {
    const xcb_query_extension_reply_t* sync = xcb_get_extension_data(connection, &xcb_sync_id);
    if (!sync || !sync->present) return false;
    syncFirstEvent = sync->first_event;
    free(xcb_sync_initialize_reply(
        connection, xcb_sync_initialize(connection, XCB_SYNC_MAJOR_VERSION, XCB_SYNC_MINOR_VERSION),
        nullptr));
    xcb_sync_list_system_counters_reply_t* counters = xcb_sync_list_system_counters_reply(
        connection, xcb_sync_list_system_counters(connection), nullptr);
    if (!counters) return false;
    // Read by hand: xcb's iterator takes each entry's name from after its C
    // struct (16 bytes, padded) where the wire has it after 14 bytes: the
    // counter id, the resolution and the name's length; entries are padded
    // to 4 bytes.
    const auto* entry = reinterpret_cast<const uint8_t*>(counters + 1);
    const uint8_t* end =
        reinterpret_cast<const uint8_t*>(counters) + 32 + 4 * size_t{counters->length};
    for (uint32_t i = 0; i < counters->counters_len && entry + 14 <= end; ++i) {
        uint16_t nameLength = 0;
        std::memcpy(&nameLength, entry + 12, sizeof nameLength);
        if (entry + 14 + nameLength > end) break;
        if (std::string_view(reinterpret_cast<const char*>(entry + 14), nameLength) == "IDLETIME") {
            std::memcpy(&idleCounter, entry, sizeof idleCounter);
            break;
        }
        entry += (14 + nameLength + 3) & ~3;
    }
    free(counters);
    return idleCounter != 0;
}

// The alarm rings as soon as the counter is at most the threshold, which
// the next input (setting it to 0) brings about. A comparison, not a
// transition, with the threshold at the idle time the server will count on
// receiving it: an input since the question has already brought the counter
// below that, so the alarm rings at once. Ringing leaves it inactive;
// changing it makes it active again.
void LinuxIdleTimeSource::XConnection::armAlarm(qint64 idleMs, const QElapsedTimer& askedAt) {
    if (!idleCounter) return;
    const qint64 threshold = std::max<qint64>(idleMs + askedAt.elapsed() - kAlarmSlackMs, 1);
    if (alarm == 0) {
        alarm = xcb_generate_id(connection);
        xcb_sync_create_alarm_value_list_t values{};
        values.counter = idleCounter;
        values.valueType = XCB_SYNC_VALUETYPE_ABSOLUTE;
        values.value = syncValue(threshold);
        values.testType = XCB_SYNC_TESTTYPE_NEGATIVE_COMPARISON;
        values.delta = syncValue(0);
        values.events = 1;
        xcb_sync_create_alarm_aux(connection, alarm,
                                  XCB_SYNC_CA_COUNTER | XCB_SYNC_CA_VALUE_TYPE | XCB_SYNC_CA_VALUE |
                                      XCB_SYNC_CA_TEST_TYPE | XCB_SYNC_CA_DELTA |
                                      XCB_SYNC_CA_EVENTS,
                                  &values);
    } else {
        xcb_sync_change_alarm_value_list_t values{};
        values.value = syncValue(threshold);
        xcb_sync_change_alarm_aux(connection, alarm, XCB_SYNC_CA_VALUE, &values);
    }
    xcb_flush(connection);
    knownIdleMs = idleMs;
    knownSince = askedAt;
}

// Reads what the server has sent without waiting: true when our alarm rang,
// or when the alarm or the connection failed (then the alarm is given up).
// Nothing else sends us events, and the only requests whose errors come
// here are the alarm's.
bool LinuxIdleTimeSource::XConnection::inputAnnounced() {
    eventsReadAt.start();
    bool announced = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == 0 && idleCounter) {
            qCWarning(lcPlatformLinux)
                << "the X idle alarm failed: asking for the idle time every tick";
            idleCounter = 0;
        }
        announced = announced || type == 0 ||
                    (type == syncFirstEvent + XCB_SYNC_ALARM_NOTIFY &&
                     reinterpret_cast<xcb_sync_alarm_notify_event_t*>(event)->alarm == alarm);
        free(event);
    }
    return announced || xcb_connection_has_error(connection);
}

std::optional<double> LinuxIdleTimeSource::XConnection::idleWithoutAsking() {
    const bool readJustNow = eventsReadAt.isValid() && eventsReadAt.elapsed() < kPreparedAnswerMs;
    if (knownIdleMs &&
        (knownSince.elapsed() >= kLongestUnaskedMs || (!readJustNow && inputAnnounced()))) {
        knownIdleMs.reset();
    }
    if (!knownIdleMs) return std::nullopt;
    return (static_cast<double>(*knownIdleMs) +
            static_cast<double>(knownSince.nsecsElapsed()) / 1e6) /
           1000.0;
}

LinuxIdleTimeSource::LinuxIdleTimeSource(const QByteArray& displayName,
                                         const QDBusConnection& sessionBus, bool useX11)
    : m_sessionBus(sessionBus) {
    if (useX11 && openX11(displayName)) {
        m_method = Method::X11ScreenSaver;
        qCInfo(lcPlatformLinux).noquote()
            << "idle time from the X screen saver extension,"
            << (m_x->idleCounter ? QStringLiteral("asked again after each input (IDLETIME alarm)")
                                 : QStringLiteral("asked every tick (no IDLETIME counter)"));
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
    x->findIdleCounter();
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
    // No input since the last answer: it still tells the idle time.
    if (!m_x->prepared && m_x->idleWithoutAsking()) return;
    m_x->dropPrepared();
    m_x->prepared = xcb_screensaver_query_info(m_x->connection, m_x->root);
    m_x->preparedAt.start();
    xcb_flush(m_x->connection);
}

std::optional<double> LinuxIdleTimeSource::queryX11() {
    if (m_x->prepared && m_x->preparedAt.elapsed() > kPreparedAnswerMs) m_x->dropPrepared();
    QElapsedTimer askedAt = m_x->preparedAt;
    if (!m_x->prepared) askedAt.start();
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
    const qint64 idleMs = reply->ms_since_user_input;
    free(reply);
    m_x->armAlarm(idleMs, askedAt);
    return static_cast<double>(idleMs) / 1000.0;
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
            if (!m_x->prepared) seconds = m_x->idleWithoutAsking();
            if (!seconds) seconds = queryX11();
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

quint64 LinuxIdleTimeSource::bytesSentToX() const {
    return m_x ? xcb_total_written(m_x->connection) : 0;
}
