#pragma once
// XcbLookWatch: whether the last look at the front still holds, told by the
// events the X server sends rather than by asking it again.
//
// A tick's look (the active window, its process, and the title of every
// listed window) costs two round trips and work in the X server for each
// listed window. Between two changes it gives the same answer, and the
// server says when something it depends on changes: the root's
// _NET_ACTIVE_WINDOW and _NET_CLIENT_LIST_STACKING, a listed window's name,
// type, state or pid, and any top-level window being mapped, unmapped,
// reparented or destroyed (a switch of virtual desktop unmaps frames). The
// watch selects those events on the root at once and on each window as it
// is first listed, before that window's properties are read, so no change
// falls between the read and the selection. Reading the queue costs one
// non-blocking read of the socket, no round trip.
//
// As a guard against a change no event announces (a window made
// unviewable by an ancestor the watch does not see), a full look is still
// taken every kFullLookEveryLooks looks.
//
// Private to the X11 window system's .cpp files (it includes xcb). Thread:
// the window system's thread; it reads the event queue of the connection it
// is given, which nothing else may read.

#include <QElapsedTimer>
#include <xcb/xcb.h>

#include <unordered_set>
#include <vector>

class XcbLookWatch final {
public:
    static constexpr int kFullLookEveryLooks = 30;

    // The atoms whose changes matter: on the root, and on a listed window.
    struct Atoms final {
        std::vector<xcb_atom_t> root;
        std::vector<xcb_atom_t> window;
    };

    // Selects the root's events. REQUIRES: a live connection.
    XcbLookWatch(xcb_connection_t* connection, xcb_window_t root, Atoms atoms);
    XcbLookWatch(const XcbLookWatch&) = delete;
    XcbLookWatch& operator=(const XcbLookWatch&) = delete;

    // Reads the events that have arrived; true when the last look may no
    // longer hold (or none was taken, or it is time for a full look).
    bool lookIsStale();

    // Reads the events that have arrived, remembering whether they make the
    // look stale: called while no tick looks (tracking off), so they do not
    // pile up in the X server's buffer for this connection.
    void readEvents();
    // The same, unless they were read less than 1.5 s ago: a tick reads
    // them anyway, so the display check between two ticks need not.
    void readEventsUnlessRecent();

    // Selects the events of the windows not watched yet; call before their
    // properties are requested. Windows no longer listed are forgotten.
    void watchWindows(const std::vector<xcb_window_t>& windows);

    // A full look has just been taken.
    void lookTaken();

private:
    bool eventMakesStale(const xcb_generic_event_t& event) const;

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    Atoms m_atoms;
    std::unordered_set<xcb_window_t> m_watched;
    bool m_stale = true;
    int m_looksSinceFull = 0;
    QElapsedTimer m_sinceRead;
};
