#include "platform/linux/XWaylandWindowSystem.h"

#include <cstdlib>

#include "platform/linux/XcbWindowSystem.h"

// xcb last, after Qt's headers.
#include <xcb/xcb.h>

namespace {

// A toolkit's focus proxy sits a level or two below its top-level window.
constexpr int kFocusDepth = 8;

// The X server's input focus on a connection of its own, for as long as the
// check lives.
XWaylandWindowSystem::FocusCheck inputFocusCheck() {
    std::shared_ptr<xcb_connection_t> connection(xcb_connect(nullptr, nullptr), xcb_disconnect);
    return [connection](quint64 window) {
        xcb_connection_t* c = connection.get();
        if (xcb_connection_has_error(c)) return true;  // cannot tell: as before
        xcb_get_input_focus_reply_t* focus =
            xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
        if (focus == nullptr) return true;
        xcb_window_t current = focus->focus;
        free(focus);
        for (int depth = 0; depth < kFocusDepth; ++depth) {
            if (current == XCB_NONE || current == XCB_INPUT_FOCUS_POINTER_ROOT) return false;
            if (current == window) return true;
            xcb_query_tree_reply_t* tree =
                xcb_query_tree_reply(c, xcb_query_tree(c, current), nullptr);
            if (tree == nullptr) return false;
            const xcb_window_t parent = tree->parent;
            const bool atRoot = parent == tree->root || parent == XCB_NONE;
            free(tree);
            if (atRoot) return false;
            current = parent;
        }
        return false;
    };
}

}  // namespace

XWaylandWindowSystem::XWaylandWindowSystem(std::unique_ptr<XcbWindowSystem> x11)
    : m_x11(std::move(x11)), m_check(inputFocusCheck()) {}

XWaylandWindowSystem::~XWaylandWindowSystem() = default;

bool XWaylandWindowSystem::isAvailable() const {
    return m_x11->isAvailable();
}

std::vector<WindowInfo> XWaylandWindowSystem::windowList() {
    return m_x11->windowList();
}

std::optional<WindowHints> XWaylandWindowSystem::windowHintsForProcess(qint32 processIdentifier) {
    return m_x11->windowHintsForProcess(processIdentifier);
}

std::optional<quint64> XWaylandWindowSystem::lastFrontWindowOf(qint32 processIdentifier) {
    return m_x11->lastFrontWindowOf(processIdentifier);
}

QString XWaylandWindowSystem::sourceDescription() const {
    return m_x11->sourceDescription() + QStringLiteral(" on XWayland, X11 programs only");
}

bool XWaylandWindowSystem::frontHasKeyboard(qint32 processIdentifier) {
    const std::optional<quint64> active = m_x11->lastFrontWindowOf(processIdentifier);
    return !active || m_check(*active);
}

std::optional<qint32> XWaylandWindowSystem::frontProcessIdentifier() {
    const std::optional<qint32> front = m_x11->frontProcessIdentifier();
    if (front && !frontHasKeyboard(*front)) return std::nullopt;
    return front;
}

std::optional<quint64> XWaylandWindowSystem::activeWindow() {
    const std::optional<quint64> active = m_x11->activeWindow();
    if (active && !m_check(*active)) return std::nullopt;
    return active;
}

WindowSystem::FrontLook XWaylandWindowSystem::lookAtFront() {
    FrontLook look = m_x11->lookAtFront();
    if (look.frontProcessIdentifier && !frontHasKeyboard(*look.frontProcessIdentifier)) {
        look.frontProcessIdentifier.reset();
    }
    return look;
}

std::optional<DialogOwner> XWaylandWindowSystem::ownerOfDialog(qint32 processIdentifier,
                                                               const QString& dialogName) {
    return m_x11->ownerOfDialog(processIdentifier, dialogName);
}
