#include "platform/linux/XcbWindowSystem.h"

#include <QLoggingCategory>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "platform/linux/XcbLookWatch.h"

// X headers last: they define macros that clash with Qt names.
#include <xcb/res.h>
#include <xcb/xcb.h>

Q_LOGGING_CATEGORY(lcXcb, "vorlix.platform.linux.xcb", QtInfoMsg)

namespace {

enum Atom : size_t {
    kActiveWindow, kWmPid, kNetWmName, kUtf8String, kClientListStacking, kWindowType,
    kTypeDesktop, kTypeDock, kWmState, kStateHidden, kGtkApplicationId, kKdeDesktopFile,
    kIcccmWmState, kAtomCount
};
constexpr std::array<const char*, kAtomCount> kAtomNames = {
    "_NET_ACTIVE_WINDOW", "_NET_WM_PID", "_NET_WM_NAME", "UTF8_STRING",
    "_NET_CLIENT_LIST_STACKING", "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN", "_GTK_APPLICATION_ID",
    "_KDE_NET_WM_DESKTOP_FILE", "WM_STATE"};

constexpr uint32_t kNameWords = 1024;   // 4 KiB of title is plenty
constexpr uint32_t kListWords = 4096;   // windows in the stacking list

// Owns one reply; frees it and any error.
struct PropertyReply final {
    xcb_get_property_reply_t* reply = nullptr;
    PropertyReply(xcb_connection_t* c, xcb_get_property_cookie_t cookie) {
        xcb_generic_error_t* error = nullptr;
        reply = xcb_get_property_reply(c, cookie, &error);
        std::free(error);
    }
    ~PropertyReply() { std::free(reply); }
    PropertyReply(const PropertyReply&) = delete;
    PropertyReply& operator=(const PropertyReply&) = delete;

    int length() const { return reply ? xcb_get_property_value_length(reply) : 0; }
    const char* bytes() const {
        return reply ? static_cast<const char*>(xcb_get_property_value(reply)) : nullptr;
    }
    bool hasFormat(uint8_t format) const { return reply && reply->format == format && length() > 0; }
    uint32_t first32() const {
        return hasFormat(32) ? *static_cast<const uint32_t*>(xcb_get_property_value(reply)) : 0;
    }
    std::vector<uint32_t> list32() const {
        if (!hasFormat(32)) return {};
        const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(reply));
        return {values, values + length() / 4};
    }
    // WM_NAME of type STRING is Latin-1; everything else is taken as UTF-8.
    QString text() const {
        if (!hasFormat(8)) return {};
        QByteArray raw(bytes(), length());
        while (raw.endsWith('\0')) raw.chop(1);
        return reply->type == XCB_ATOM_STRING ? QString::fromLatin1(raw) : QString::fromUtf8(raw);
    }
};

// WM_CLASS holds two NUL-terminated strings: instance, then class.
void splitWmClass(const PropertyReply& wmClass, QString& instance, QString& className) {
    const QList<QByteArray> parts = QByteArray(wmClass.bytes(), wmClass.length()).split('\0');
    instance = QString::fromLatin1(parts.value(0));
    className = QString::fromLatin1(parts.value(1));
}

// One X-Resource client-id request for the pid of a window's client. The
// selector's type is deduced from the request function.
template <class Selector>
xcb_res_query_client_ids_cookie_t askForClientPid(
    xcb_connection_t* connection,
    xcb_res_query_client_ids_cookie_t (*request)(xcb_connection_t*, uint32_t, const Selector*),
    xcb_window_t window) {
    const Selector selector{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return request(connection, 1, &selector);
}

// The pid a client-id request answered; 0 for a remote client, a window
// that is gone, or a server without the extension (no request sent).
qint32 clientPidReply(xcb_connection_t* connection,
                      const std::optional<xcb_res_query_client_ids_cookie_t>& cookie) {
    if (!cookie) return 0;
    xcb_generic_error_t* error = nullptr;
    xcb_res_query_client_ids_reply_t* reply =
        xcb_res_query_client_ids_reply(connection, *cookie, &error);
    std::free(error);
    if (reply == nullptr) return 0;
    qint32 pid = 0;
    for (auto it = xcb_res_query_client_ids_ids_iterator(reply); it.rem > 0 && pid == 0;
         xcb_res_client_id_value_next(&it)) {
        // Each value begins with the id it answers for (client and mask).
        const auto* id = reinterpret_cast<const xcb_res_client_id_spec_t*>(it.data);
        if ((id->mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            xcb_res_client_id_value_value_length(it.data) >= 1) {
            pid = qint32(*xcb_res_client_id_value_value(it.data));
        }
    }
    std::free(reply);
    return pid;
}

// The X server knows which process opened the connection that made the
// window; _NET_WM_PID is what the program wrote, which inside a pid
// namespace (Flatpak, containers) is a number of that namespace, often 1 or
// 2. So the server's answer wins, and the property counts only where the
// server has none (a client over TCP, no X-Resource extension).
qint32 preferredPid(qint32 serverPid, uint32_t netWmPid) {
    return serverPid > 0 ? serverPid : qint32(netWmPid);
}

bool containsAtom(const std::vector<uint32_t>& atoms, xcb_atom_t atom) {
    return atom != XCB_NONE && std::find(atoms.begin(), atoms.end(), atom) != atoms.end();
}

}  // namespace

namespace {

// The replies the window list needs for one window.
struct ListCookies final {
    xcb_get_property_cookie_t pid, netName, wmName, type, state;
    xcb_get_window_attributes_cookie_t attributes;
    std::optional<xcb_res_query_client_ids_cookie_t> serverPid;
};

}  // namespace

struct XcbWindowSystem::Private final {
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = XCB_NONE;
    std::array<xcb_atom_t, kAtomCount> atoms{};
    bool hasResourceExtension = false;
    // What frontProcessIdentifier found last (main thread only).
    xcb_window_t lastFrontWindow = XCB_NONE;
    qint32 lastFrontPid = 0;
    // The last full look, good until the watch says otherwise.
    std::optional<XcbLookWatch> watch;
    struct KeptLook final {
        FrontLook look;
        xcb_window_t frontWindow = XCB_NONE;
        qint32 frontPid = 0;
    };
    std::optional<KeptLook> keptLook;

    bool connect(const QByteArray& displayName);
    xcb_get_property_cookie_t get(xcb_window_t w, xcb_atom_t property, xcb_atom_t type,
                                  uint32_t words) {
        return xcb_get_property(connection, 0, w, property, type, 0, words);
    }
    xcb_window_t activeWindow();
    std::vector<xcb_window_t> stackingFrontToBack();
    QString nameOf(PropertyReply& netWmName, PropertyReply& wmName) {
        return netWmName.length() > 0 ? netWmName.text() : wmName.text();
    }
    std::optional<xcb_res_query_client_ids_cookie_t> askClientPid(xcb_window_t window) {
        if (!hasResourceExtension) return std::nullopt;
        return askForClientPid(connection, &xcb_res_query_client_ids, window);
    }
    xcb_window_t clientWindowBelow(xcb_window_t frame);
    qint32 pidOf(xcb_window_t window);
    // `serverPid` and `netWmPid` already read for `window`.
    qint32 choosePid(xcb_window_t window, qint32 serverPid, uint32_t netWmPid);
    // The window list's requests for these windows, and the list from their
    // replies.
    std::vector<ListCookies> askListProperties(const std::vector<xcb_window_t>& windows);
    std::vector<WindowInfo> listFromReplies(const std::vector<xcb_window_t>& windows,
                                            const std::vector<ListCookies>& cookies);
};

bool XcbWindowSystem::Private::connect(const QByteArray& displayName) {
    int screenNumber = 0;
    connection = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        connection = nullptr;
        return false;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && it.rem > 0; ++i) xcb_screen_next(&it);
    root = it.data->root;

    std::array<xcb_intern_atom_cookie_t, kAtomCount> cookies{};
    for (size_t i = 0; i < kAtomCount; ++i) {
        cookies[i] = xcb_intern_atom(connection, 0, uint16_t(strlen(kAtomNames[i])), kAtomNames[i]);
    }
    for (size_t i = 0; i < kAtomCount; ++i) {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookies[i], nullptr);
        atoms[i] = reply ? reply->atom : XCB_NONE;
        std::free(reply);
    }
    const xcb_query_extension_reply_t* res = xcb_get_extension_data(connection, &xcb_res_id);
    hasResourceExtension = res != nullptr && res->present;
    watch.emplace(connection, root,
                  XcbLookWatch::Atoms{{atoms[kActiveWindow], atoms[kClientListStacking]},
                                      {atoms[kNetWmName], XCB_ATOM_WM_NAME, atoms[kWindowType],
                                       atoms[kWmState], atoms[kWmPid]}});
    return true;
}

xcb_window_t XcbWindowSystem::Private::activeWindow() {
    PropertyReply active(connection, get(root, atoms[kActiveWindow], XCB_ATOM_WINDOW, 1));
    return active.first32();
}

std::vector<xcb_window_t> XcbWindowSystem::Private::stackingFrontToBack() {
    PropertyReply list(connection,
                       get(root, atoms[kClientListStacking], XCB_ATOM_WINDOW, kListWords));
    std::vector<xcb_window_t> windows = list.list32();
    std::reverse(windows.begin(), windows.end());
    return windows;
}

// A window manager may name its frame rather than the client; the client is
// the child that carries the ICCCM WM_STATE property.
xcb_window_t XcbWindowSystem::Private::clientWindowBelow(xcb_window_t frame) {
    xcb_query_tree_reply_t* tree =
        xcb_query_tree_reply(connection, xcb_query_tree(connection, frame), nullptr);
    if (tree == nullptr) return XCB_NONE;
    const xcb_window_t* children = xcb_query_tree_children(tree);
    const int count = xcb_query_tree_children_length(tree);
    std::vector<xcb_get_property_cookie_t> cookies;
    for (int i = 0; i < count; ++i) {
        cookies.push_back(get(children[i], atoms[kIcccmWmState], XCB_GET_PROPERTY_TYPE_ANY, 0));
    }
    xcb_window_t client = XCB_NONE;
    for (int i = 0; i < count; ++i) {
        PropertyReply state(connection, cookies[size_t(i)]);
        if (client == XCB_NONE && state.reply && state.reply->type != XCB_NONE) client = children[i];
    }
    std::free(tree);
    return client;
}

qint32 XcbWindowSystem::Private::pidOf(xcb_window_t window) {
    const auto serverCookie = askClientPid(window);
    PropertyReply pid(connection, get(window, atoms[kWmPid], XCB_ATOM_CARDINAL, 1));
    return choosePid(window, clientPidReply(connection, serverCookie), pid.first32());
}

// A window without _NET_WM_PID may be a frame the window manager named;
// the client window below it then tells whose it is.
qint32 XcbWindowSystem::Private::choosePid(xcb_window_t window, qint32 serverPid,
                                           uint32_t netWmPid) {
    if (netWmPid != 0) return preferredPid(serverPid, netWmPid);
    const xcb_window_t client = clientWindowBelow(window);
    return client != XCB_NONE ? pidOf(client) : serverPid;
}

bool XcbWindowSystem::displayAnswers(const QByteArray& displayName) {
    xcb_connection_t* connection =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), nullptr);
    const bool answers = connection != nullptr && xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

XcbWindowSystem::XcbWindowSystem(const QByteArray& displayName) : d(std::make_unique<Private>()) {
    if (!d->connect(displayName)) qCInfo(lcXcb) << "no X display; window tracking is off";
}

XcbWindowSystem::~XcbWindowSystem() {
    if (d->connection != nullptr) xcb_disconnect(d->connection);
}

// Reading what the server has sent is what shows a connection that the
// server closed; it also keeps the announced changes from piling up while
// no tick looks (tracking off), since only this reads them then.
bool XcbWindowSystem::isAvailable() const {
    if (d->connection == nullptr) return false;
    if (d->watch) d->watch->readEventsUnlessRecent();
    return xcb_connection_has_error(d->connection) == 0;
}

QString XcbWindowSystem::sourceDescription() const {
    return QStringLiteral("X11 (EWMH window manager)");
}

std::optional<quint64> XcbWindowSystem::activeWindow() {
    if (!isAvailable()) return std::nullopt;
    const xcb_window_t window = d->activeWindow();
    if (window == XCB_NONE) return std::nullopt;
    return window;
}

std::optional<qint32> XcbWindowSystem::frontProcessIdentifier() {
    d->lastFrontWindow = XCB_NONE;
    d->lastFrontPid = 0;
    const std::optional<quint64> window = activeWindow();
    if (!window) return std::nullopt;
    const qint32 pid = d->pidOf(xcb_window_t(*window));
    if (pid <= 0) return std::nullopt;
    d->lastFrontWindow = xcb_window_t(*window);
    d->lastFrontPid = pid;
    return pid;
}

std::optional<quint64> XcbWindowSystem::lastFrontWindowOf(qint32 processIdentifier) {
    if (d->lastFrontWindow == XCB_NONE || d->lastFrontPid != processIdentifier) return std::nullopt;
    return d->lastFrontWindow;
}

std::optional<XcbWindowSystem::FrontWindow> XcbWindowSystem::frontWindow() {
    const std::optional<quint64> active = activeWindow();
    if (!active) return std::nullopt;
    const auto w = xcb_window_t(*active);
    const auto& atoms = d->atoms;
    // All five requests go out before the first reply is awaited.
    const auto serverPidCookie = d->askClientPid(w);
    const auto pidCookie = d->get(w, atoms[kWmPid], XCB_ATOM_CARDINAL, 1);
    const auto netNameCookie = d->get(w, atoms[kNetWmName], atoms[kUtf8String], kNameWords);
    const auto wmNameCookie = d->get(w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, kNameWords);
    const auto classCookie = d->get(w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, kNameWords);
    PropertyReply pid(d->connection, pidCookie);
    PropertyReply netName(d->connection, netNameCookie);
    PropertyReply wmName(d->connection, wmNameCookie);
    PropertyReply wmClass(d->connection, classCookie);
    const qint32 serverPid = clientPidReply(d->connection, serverPidCookie);
    FrontWindow front;
    front.windowId = w;
    front.processIdentifier = d->choosePid(w, serverPid, pid.first32());
    front.name = d->nameOf(netName, wmName);
    splitWmClass(wmClass, front.instance, front.className);
    return front;
}

std::vector<WindowInfo> XcbWindowSystem::windowList() {
    if (!isAvailable()) return {};
    const std::vector<xcb_window_t> windows = d->stackingFrontToBack();
    return d->listFromReplies(windows, d->askListProperties(windows));
}

// A tick's look: the last one while the X server has announced no change
// that matters (no round trip), else a full one.
WindowSystem::FrontLook XcbWindowSystem::lookAtFront() {
    if (d->connection == nullptr) return {};
    const bool stale = !d->keptLook || d->watch->lookIsStale();
    if (xcb_connection_has_error(d->connection) != 0) {
        d->keptLook.reset();
        d->lastFrontWindow = XCB_NONE;
        d->lastFrontPid = 0;
        return {};
    }
    if (!stale) {
        d->lastFrontWindow = d->keptLook->frontWindow;
        d->lastFrontPid = d->keptLook->frontPid;
        return d->keptLook->look;
    }
    FrontLook look = fullLookAtFront();
    d->watch->lookTaken();
    d->keptLook = Private::KeptLook{look, d->lastFrontWindow, d->lastFrontPid};
    return look;
}

// Both root properties in one round trip, then the front window's process
// and every listed window's properties in a second; the events of windows
// listed for the first time are selected before their properties are read.
WindowSystem::FrontLook XcbWindowSystem::fullLookAtFront() {
    FrontLook look;
    d->lastFrontWindow = XCB_NONE;
    d->lastFrontPid = 0;
    const auto& atoms = d->atoms;
    const auto activeCookie = d->get(d->root, atoms[kActiveWindow], XCB_ATOM_WINDOW, 1);
    const auto stackingCookie =
        d->get(d->root, atoms[kClientListStacking], XCB_ATOM_WINDOW, kListWords);
    const xcb_window_t front = PropertyReply(d->connection, activeCookie).first32();
    std::vector<xcb_window_t> windows = PropertyReply(d->connection, stackingCookie).list32();
    std::reverse(windows.begin(), windows.end());
    std::vector<xcb_window_t> watched = windows;
    watched.push_back(front);
    d->watch->watchWindows(watched);
    std::optional<xcb_res_query_client_ids_cookie_t> serverPidCookie;
    std::optional<xcb_get_property_cookie_t> pidCookie;
    if (front != XCB_NONE) {
        serverPidCookie = d->askClientPid(front);
        pidCookie = d->get(front, atoms[kWmPid], XCB_ATOM_CARDINAL, 1);
    }
    const std::vector<ListCookies> cookies = d->askListProperties(windows);
    if (pidCookie) {
        PropertyReply pid(d->connection, *pidCookie);
        const qint32 chosen =
            d->choosePid(front, clientPidReply(d->connection, serverPidCookie), pid.first32());
        if (chosen > 0) {
            look.frontProcessIdentifier = chosen;
            d->lastFrontWindow = front;
            d->lastFrontPid = chosen;
        }
    }
    look.windows = d->listFromReplies(windows, cookies);
    return look;
}

std::vector<ListCookies> XcbWindowSystem::Private::askListProperties(
    const std::vector<xcb_window_t>& windows) {
    std::vector<ListCookies> cookies;
    cookies.reserve(windows.size());
    for (xcb_window_t w : windows) {
        cookies.push_back({get(w, atoms[kWmPid], XCB_ATOM_CARDINAL, 1),
                           get(w, atoms[kNetWmName], atoms[kUtf8String], kNameWords),
                           get(w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, kNameWords),
                           get(w, atoms[kWindowType], XCB_ATOM_ATOM, 32),
                           get(w, atoms[kWmState], XCB_ATOM_ATOM, 32),
                           xcb_get_window_attributes(connection, w), askClientPid(w)});
    }
    return cookies;
}

std::vector<WindowInfo> XcbWindowSystem::Private::listFromReplies(
    const std::vector<xcb_window_t>& windows, const std::vector<ListCookies>& cookies) {
    std::vector<WindowInfo> list;
    for (size_t i = 0; i < windows.size(); ++i) {
        PropertyReply pid(connection, cookies[i].pid);
        PropertyReply netName(connection, cookies[i].netName);
        PropertyReply wmName(connection, cookies[i].wmName);
        PropertyReply type(connection, cookies[i].type);
        PropertyReply state(connection, cookies[i].state);
        const qint32 serverPid = clientPidReply(connection, cookies[i].serverPid);
        xcb_get_window_attributes_reply_t* attributes =
            xcb_get_window_attributes_reply(connection, cookies[i].attributes, nullptr);
        const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(attributes);
        const std::vector<uint32_t> types = type.list32();
        if (!viewable || containsAtom(types, atoms[kTypeDesktop]) ||
            containsAtom(types, atoms[kTypeDock]) ||
            containsAtom(state.list32(), atoms[kStateHidden])) {
            continue;
        }
        WindowInfo info;
        info.windowId = windows[i];
        // The stacking list names client windows, never frames.
        info.ownerProcessIdentifier = preferredPid(serverPid, pid.first32());
        info.name = nameOf(netName, wmName);
        list.push_back(info);
    }
    return list;
}

std::optional<WindowHints> XcbWindowSystem::windowHints(quint64 windowId) {
    if (!isAvailable()) return std::nullopt;
    const auto w = xcb_window_t(windowId);
    const auto& atoms = d->atoms;
    const auto classCookie = d->get(w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, kNameWords);
    const auto gtkCookie = d->get(w, atoms[kGtkApplicationId], XCB_GET_PROPERTY_TYPE_ANY, kNameWords);
    const auto kdeCookie = d->get(w, atoms[kKdeDesktopFile], XCB_GET_PROPERTY_TYPE_ANY, kNameWords);
    PropertyReply wmClass(d->connection, classCookie);
    PropertyReply gtk(d->connection, gtkCookie);
    PropertyReply kde(d->connection, kdeCookie);
    if (wmClass.reply == nullptr) return std::nullopt;  // the window is gone
    WindowHints hints;
    splitWmClass(wmClass, hints.instance, hints.className);
    hints.gtkApplicationId = gtk.text();
    hints.kdeDesktopFile = kde.text();
    return hints;
}

std::optional<WindowHints> XcbWindowSystem::windowHintsForProcess(qint32 processIdentifier) {
    if (!isAvailable() || processIdentifier <= 0) return std::nullopt;
    const std::optional<FrontWindow> front = frontWindow();
    if (front && front->processIdentifier == processIdentifier) return windowHints(front->windowId);
    for (const WindowInfo& info : windowList()) {
        if (info.ownerProcessIdentifier == processIdentifier) return windowHints(info.windowId);
    }
    return std::nullopt;
}

// Dialogs are rare and mostly in front: the active window is looked at
// first, and the rest of the list only when it is not the dialog.
std::optional<DialogOwner> XcbWindowSystem::ownerOfDialog(qint32 processIdentifier,
                                                          const QString& dialogName) {
    if (!isAvailable() || processIdentifier <= 0) return std::nullopt;
    std::vector<xcb_window_t> candidates = d->stackingFrontToBack();
    if (const xcb_window_t active = d->activeWindow(); active != XCB_NONE) {
        std::erase(candidates, active);
        candidates.insert(candidates.begin(), active);
    }
    const auto& atoms = d->atoms;
    for (xcb_window_t w : candidates) {
        const auto ownerCookie = d->get(w, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW, 1);
        const auto netNameCookie = d->get(w, atoms[kNetWmName], atoms[kUtf8String], kNameWords);
        const auto wmNameCookie =
            d->get(w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, kNameWords);
        PropertyReply owner(d->connection, ownerCookie);
        PropertyReply netName(d->connection, netNameCookie);
        PropertyReply wmName(d->connection, wmNameCookie);
        const xcb_window_t ownerWindow = owner.first32();
        if (ownerWindow == XCB_NONE || d->nameOf(netName, wmName) != dialogName ||
            d->pidOf(w) != processIdentifier) {
            continue;
        }
        const auto ownerNetName =
            d->get(ownerWindow, atoms[kNetWmName], atoms[kUtf8String], kNameWords);
        const auto ownerWmName =
            d->get(ownerWindow, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, kNameWords);
        const auto cornerCookie =
            xcb_translate_coordinates(d->connection, ownerWindow, d->root, 0, 0);
        PropertyReply ownerNet(d->connection, ownerNetName);
        PropertyReply ownerWm(d->connection, ownerWmName);
        xcb_translate_coordinates_reply_t* corner =
            xcb_translate_coordinates_reply(d->connection, cornerCookie, nullptr);
        DialogOwner result{d->nameOf(ownerNet, ownerWm), std::nullopt, std::nullopt};
        if (corner != nullptr) {
            result.x = corner->dst_x;
            result.y = corner->dst_y;
        }
        std::free(corner);
        return result;
    }
    return std::nullopt;
}
