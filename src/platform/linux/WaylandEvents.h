#pragma once

#include <poll.h>

#include <wayland-client.h>

// Reads what a compositor connection's socket holds and runs the listeners.
// Without `wait` the socket is read only if something is there, so a tick
// never blocks on a compositor that has nothing to say.
inline void readWaylandEvents(wl_display* display, bool wait) {
    while (wl_display_prepare_read(display) != 0) wl_display_dispatch_pending(display);
    wl_display_flush(display);
    pollfd fd{wl_display_get_fd(display), POLLIN, 0};
    if (wait || ::poll(&fd, 1, 0) > 0) {
        wl_display_read_events(display);
    } else {
        wl_display_cancel_read(display);
    }
    wl_display_dispatch_pending(display);
}
