#include "platform/linux/XcbLookWatch.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

constexpr uint32_t kRootEvents = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
constexpr uint32_t kWindowEvents = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;

bool contains(const std::vector<xcb_atom_t>& atoms, xcb_atom_t atom) {
    return std::find(atoms.begin(), atoms.end(), atom) != atoms.end();
}

}  // namespace

XcbLookWatch::XcbLookWatch(xcb_connection_t* connection, xcb_window_t root, Atoms atoms)
    : m_connection(connection), m_root(root), m_atoms(std::move(atoms)) {
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &kRootEvents);
}

bool XcbLookWatch::eventMakesStale(const xcb_generic_event_t& event) const {
    switch (event.response_type & 0x7f) {
        case XCB_PROPERTY_NOTIFY: {
            const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            return contains(property.window == m_root ? m_atoms.root : m_atoms.window,
                            property.atom);
        }
        case XCB_MAP_NOTIFY:
            // Menus and tooltips are never listed nor active.
            return reinterpret_cast<const xcb_map_notify_event_t&>(event).override_redirect == 0;
        case XCB_UNMAP_NOTIFY:
        case XCB_DESTROY_NOTIFY:
        case XCB_REPARENT_NOTIFY:
            return true;
        default:
            // Moves, restacking (the stacking list follows it), creation,
            // and errors of requests nobody waits for (a window that went
            // away before its events were selected).
            return false;
    }
}

void XcbLookWatch::readEventsUnlessRecent() {
    if (!m_sinceRead.isValid() || m_sinceRead.hasExpired(1500)) readEvents();
}

void XcbLookWatch::readEvents() {
    m_sinceRead.start();
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if (eventMakesStale(*event)) m_stale = true;
        std::free(event);
    }
}

bool XcbLookWatch::lookIsStale() {
    readEvents();
    if (m_stale) return true;
    return ++m_looksSinceFull >= kFullLookEveryLooks;
}

void XcbLookWatch::watchWindows(const std::vector<xcb_window_t>& windows) {
    std::unordered_set<xcb_window_t> listed;
    listed.reserve(windows.size());
    for (xcb_window_t window : windows) {
        if (window == XCB_NONE || window == m_root) continue;
        listed.insert(window);
        if (m_watched.count(window) == 0) {
            xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &kWindowEvents);
        }
    }
    m_watched = std::move(listed);
}

void XcbLookWatch::lookTaken() {
    m_stale = false;
    m_looksSinceFull = 0;
}
