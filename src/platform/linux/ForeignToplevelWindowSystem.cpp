#include "platform/linux/ForeignToplevelWindowSystem.h"

#include <QSocketNotifier>
#include <algorithm>
#include <cstring>

#include "platform/linux/ToplevelWindowModel.h"

// Wayland headers last, after Qt's.
#include <wayland-client.h>
#include "platform/linux/WaylandEvents.h"
#include "wlr-foreign-toplevel-client-protocol.h"

namespace {

// The newest version whose events the helper knows (`parent` came with 3).
constexpr uint32_t kManagerVersion = 3;

}  // namespace

// One handle: what arrived since its last `done`, applied to the model then.
struct ToplevelHandle final {
    ForeignToplevelWindowSystem::Private* owner = nullptr;
    zwlr_foreign_toplevel_handle_v1* handle = nullptr;
    ToplevelWindow pending;
};

struct ForeignToplevelWindowSystem::Private final {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    zwlr_foreign_toplevel_manager_v1* manager = nullptr;
    bool finished = false;
    std::vector<std::unique_ptr<ToplevelHandle>> handles;
    quint64 lastId = 0;
    ToplevelWindowModel model;
    std::unique_ptr<QSocketNotifier> readable;

    ~Private();
    bool connected() const { return display != nullptr && wl_display_get_error(display) == 0; }
    void added(zwlr_foreign_toplevel_handle_v1* handle);
    void closed(ToplevelHandle* handle);
    void readEvents(bool wait);
};

namespace {

using Private = ForeignToplevelWindowSystem::Private;

ToplevelHandle* handleOf(void* data) {
    return static_cast<ToplevelHandle*>(data);
}

void onTitle(void* data, zwlr_foreign_toplevel_handle_v1*, const char* title) {
    handleOf(data)->pending.title = QString::fromUtf8(title);
}

void onAppId(void* data, zwlr_foreign_toplevel_handle_v1*, const char* appId) {
    handleOf(data)->pending.appId = QString::fromUtf8(appId);
}

void onOutput(void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {}

void onState(void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
    ToplevelWindow& pending = handleOf(data)->pending;
    pending.activated = false;
    pending.minimized = false;
    const auto* state = static_cast<const uint32_t*>(states->data);
    for (size_t i = 0; i < states->size / sizeof(uint32_t); ++i) {
        if (state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) pending.activated = true;
        if (state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED) pending.minimized = true;
    }
}

void onDone(void* data, zwlr_foreign_toplevel_handle_v1*) {
    ToplevelHandle* handle = handleOf(data);
    handle->owner->model.apply(handle->pending);
}

void onClosed(void* data, zwlr_foreign_toplevel_handle_v1*) {
    ToplevelHandle* handle = handleOf(data);
    handle->owner->closed(handle);
}

void onParent(void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}

const zwlr_foreign_toplevel_handle_v1_listener kHandleListener = {
    onTitle, onAppId, onOutput, onOutput, onState, onDone, onClosed, onParent};

void onToplevel(void* data, zwlr_foreign_toplevel_manager_v1*,
                zwlr_foreign_toplevel_handle_v1* handle) {
    static_cast<Private*>(data)->added(handle);
}

void onFinished(void* data, zwlr_foreign_toplevel_manager_v1*) {
    static_cast<Private*>(data)->finished = true;
}

const zwlr_foreign_toplevel_manager_v1_listener kManagerListener = {onToplevel, onFinished};

void onGlobal(void* data, wl_registry* registry, uint32_t name, const char* interface,
              uint32_t version) {
    auto* d = static_cast<Private*>(data);
    if (std::strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name) != 0) return;
    if (d->manager != nullptr) return;
    d->manager = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface,
                         std::min(version, kManagerVersion)));
    zwlr_foreign_toplevel_manager_v1_add_listener(d->manager, &kManagerListener, d);
}

void onGlobalRemoved(void*, wl_registry*, uint32_t) {}

const wl_registry_listener kRegistryListener = {onGlobal, onGlobalRemoved};

}  // namespace

Private::~Private() {
    readable.reset();
    for (const auto& handle : handles) zwlr_foreign_toplevel_handle_v1_destroy(handle->handle);
    if (manager != nullptr) zwlr_foreign_toplevel_manager_v1_destroy(manager);
    if (registry != nullptr) wl_registry_destroy(registry);
    if (display != nullptr) wl_display_disconnect(display);
}

void Private::added(zwlr_foreign_toplevel_handle_v1* handle) {
    auto entry = std::make_unique<ToplevelHandle>();
    entry->owner = this;
    entry->handle = handle;
    entry->pending.id = ++lastId;
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &kHandleListener, entry.get());
    handles.push_back(std::move(entry));
}

void Private::closed(ToplevelHandle* handle) {
    model.remove(handle->pending.id);
    zwlr_foreign_toplevel_handle_v1_destroy(handle->handle);
    std::erase_if(handles, [handle](const auto& entry) { return entry.get() == handle; });
}

// Reads what the socket holds and runs the listeners.
void Private::readEvents(bool wait) {
    if (!connected()) return;
    readWaylandEvents(display, wait);
    // A closed socket stays readable: stop listening once it is lost.
    if (!connected() && readable) readable->setEnabled(false);
}

ForeignToplevelWindowSystem::ForeignToplevelWindowSystem(const QByteArray& displayName)
    : d(std::make_unique<Private>()) {
    d->display = wl_display_connect(displayName.isEmpty() ? nullptr : displayName.constData());
    if (d->display == nullptr) return;
    d->registry = wl_display_get_registry(d->display);
    wl_registry_add_listener(d->registry, &kRegistryListener, d.get());
    wl_display_roundtrip(d->display);  // the globals
    if (d->manager == nullptr) return;
    wl_display_roundtrip(d->display);  // the windows already open, each with its `done`
    d->readable =
        std::make_unique<QSocketNotifier>(wl_display_get_fd(d->display), QSocketNotifier::Read);
    QObject::connect(d->readable.get(), &QSocketNotifier::activated, d->readable.get(),
                     [p = d.get()] { p->readEvents(true); });
}

ForeignToplevelWindowSystem::~ForeignToplevelWindowSystem() = default;

bool ForeignToplevelWindowSystem::isAvailable() const {
    return d->manager != nullptr && !d->finished && d->connected();
}

QString ForeignToplevelWindowSystem::sourceDescription() const {
    return QStringLiteral("wlroots toplevel list (application id and title only)");
}

std::optional<qint32> ForeignToplevelWindowSystem::frontProcessIdentifier() {
    return std::nullopt;
}

std::optional<quint64> ForeignToplevelWindowSystem::activeWindow() {
    d->readEvents(false);
    if (!isAvailable()) return std::nullopt;
    const std::optional<ToplevelWindow> front = d->model.front();
    return front ? std::optional<quint64>(front->id) : std::nullopt;
}

std::vector<WindowInfo> ForeignToplevelWindowSystem::windowList() {
    d->readEvents(false);
    if (!isAvailable()) return {};
    std::vector<WindowInfo> list;
    for (const ToplevelWindow& window : d->model.frontToBack()) {
        WindowInfo info;
        info.windowId = window.id;
        info.name = window.title;
        list.push_back(info);
    }
    return list;
}

WindowSystem::FrontLook ForeignToplevelWindowSystem::lookAtFront() {
    FrontLook look;
    look.windows = windowList();  // caught up here
    if (!isAvailable()) return look;
    if (const std::optional<ToplevelWindow> front = d->model.front()) {
        look.frontWindowWithoutProcess = front->id;
    }
    return look;
}

std::optional<WindowHints> ForeignToplevelWindowSystem::windowHintsForProcess(qint32) {
    return std::nullopt;
}

std::optional<WindowHints> ForeignToplevelWindowSystem::windowHintsForWindow(quint64 windowId) {
    const ToplevelWindow* window = d->model.find(windowId);
    if (window == nullptr || window->appId.isEmpty()) return std::nullopt;
    // An app_id names the desktop entry by convention, as a WM_CLASS does
    // on X11; it is matched the same way rather than trusted.
    WindowHints hints;
    hints.instance = window->appId;
    hints.className = window->appId;
    return hints;
}
