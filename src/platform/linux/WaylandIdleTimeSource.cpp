#include "platform/linux/WaylandIdleTimeSource.h"

#include <QSocketNotifier>
#include <cstring>

#include "platform/linux/LinuxPlatformLog.h"

// Wayland headers last, after Qt's.
#include <wayland-client.h>
#include "platform/linux/WaylandEvents.h"
#include "ext-idle-notify-v1-client-protocol.h"
#include "kde-idle-client-protocol.h"

struct WaylandIdleTimeSource::Private final {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_seat* seat = nullptr;
    ext_idle_notifier_v1* notifier = nullptr;
    ext_idle_notification_v1* notification = nullptr;
    org_kde_kwin_idle* kdeIdle = nullptr;
    org_kde_kwin_idle_timeout* kdeTimeout = nullptr;
    std::unique_ptr<QSocketNotifier> readable;
    QElapsedTimer clock;
    std::optional<qint64> lastInputMs;  // on `clock`, while idle
    bool lostLogged = false;

    ~Private();
    bool watching() const { return notification != nullptr || kdeTimeout != nullptr; }
    bool connected() const { return display != nullptr && wl_display_get_error(display) == 0; }
    void idled() { lastInputMs = clock.elapsed() - kTimeoutMs; }
    void resumed() { lastInputMs.reset(); }
    void watch();
    void readEvents(bool wait);
};

namespace {

using Private = WaylandIdleTimeSource::Private;

void onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface,
              uint32_t) {
    auto* d = static_cast<Private*>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && d->seat == nullptr) {
        d->seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, ext_idle_notifier_v1_interface.name) == 0) {
        d->notifier = static_cast<ext_idle_notifier_v1*>(
            wl_registry_bind(registry, name, &ext_idle_notifier_v1_interface, 1));
    } else if (std::strcmp(interface, org_kde_kwin_idle_interface.name) == 0) {
        d->kdeIdle = static_cast<org_kde_kwin_idle*>(
            wl_registry_bind(registry, name, &org_kde_kwin_idle_interface, 1));
    }
}

void onGlobalRemoved(void*, wl_registry*, uint32_t) {}

const wl_registry_listener kRegistryListener = {onGlobal, onGlobalRemoved};

const ext_idle_notification_v1_listener kNotificationListener = {
    [](void* data, ext_idle_notification_v1*) { static_cast<Private*>(data)->idled(); },
    [](void* data, ext_idle_notification_v1*) { static_cast<Private*>(data)->resumed(); }};

const org_kde_kwin_idle_timeout_listener kKdeTimeoutListener = {
    [](void* data, org_kde_kwin_idle_timeout*) { static_cast<Private*>(data)->idled(); },
    [](void* data, org_kde_kwin_idle_timeout*) { static_cast<Private*>(data)->resumed(); }};

}  // namespace

WaylandIdleTimeSource::Private::~Private() {
    readable.reset();
    if (notification) ext_idle_notification_v1_destroy(notification);
    if (notifier) ext_idle_notifier_v1_destroy(notifier);
    if (kdeTimeout) org_kde_kwin_idle_timeout_release(kdeTimeout);
    if (kdeIdle) org_kde_kwin_idle_destroy(kdeIdle);
    if (seat) wl_seat_destroy(seat);
    if (registry) wl_registry_destroy(registry);
    if (display) wl_display_disconnect(display);
}

// The standard protocol when the compositor has both.
void WaylandIdleTimeSource::Private::watch() {
    if (seat == nullptr) return;
    if (notifier != nullptr) {
        notification = ext_idle_notifier_v1_get_idle_notification(notifier, kTimeoutMs, seat);
        ext_idle_notification_v1_add_listener(notification, &kNotificationListener, this);
    } else if (kdeIdle != nullptr) {
        kdeTimeout = org_kde_kwin_idle_get_idle_timeout(kdeIdle, seat, kTimeoutMs);
        org_kde_kwin_idle_timeout_add_listener(kdeTimeout, &kKdeTimeoutListener, this);
    }
    wl_display_flush(display);
}

// Reads what the socket holds and runs the listeners.
void WaylandIdleTimeSource::Private::readEvents(bool wait) {
    if (!connected()) return;
    readWaylandEvents(display, wait);
    // A closed socket stays readable: stop listening until the next query
    // notices the loss.
    if (!connected() && readable) readable->setEnabled(false);
}

WaylandIdleTimeSource::WaylandIdleTimeSource(const QByteArray& displayName)
    : d(std::make_unique<Private>()) {
    d->clock.start();
    d->display = wl_display_connect(displayName.isEmpty() ? nullptr : displayName.constData());
    if (d->display == nullptr) {
        qCInfo(lcPlatformLinux) << "no Wayland compositor to ask for idle time";
        return;
    }
    d->registry = wl_display_get_registry(d->display);
    wl_registry_add_listener(d->registry, &kRegistryListener, d.get());
    wl_display_roundtrip(d->display);
    d->watch();
    if (!d->watching()) {
        qCWarning(lcPlatformLinux) << "the Wayland compositor announces no idleness "
                                      "(neither ext-idle-notify-v1 nor org_kde_kwin_idle)";
        return;
    }
    d->readable = std::make_unique<QSocketNotifier>(wl_display_get_fd(d->display),
                                                    QSocketNotifier::Read);
    QObject::connect(d->readable.get(), &QSocketNotifier::activated, d->readable.get(),
                     [p = d.get()] { p->readEvents(true); });
    qCInfo(lcPlatformLinux).noquote() << "idle time from the Wayland compositor's" << protocolName();
}

WaylandIdleTimeSource::~WaylandIdleTimeSource() = default;

bool WaylandIdleTimeSource::isAvailable() const {
    return d->watching() && d->connected();
}

QString WaylandIdleTimeSource::protocolName() const {
    if (d->notification != nullptr) return QStringLiteral("ext-idle-notify-v1");
    if (d->kdeTimeout != nullptr) return QStringLiteral("org_kde_kwin_idle");
    return {};
}

double WaylandIdleTimeSource::secondsSinceLastInput() {
    if (!d->watching()) return 0.0;
    d->readEvents(false);
    if (!d->connected()) {
        if (!std::exchange(d->lostLogged, true)) {
            qCWarning(lcPlatformLinux) << "lost the Wayland compositor; counting the user as active";
            d->readable.reset();
        }
        return 0.0;
    }
    if (!d->lastInputMs) return 0.0;
    return double(d->clock.elapsed() - *d->lastInputMs) / 1000.0;
}
