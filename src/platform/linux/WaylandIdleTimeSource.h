#pragma once
// WaylandIdleTimeSource: seconds since the last input on a Wayland
// compositor that announces idleness: `ext-idle-notify-v1` where offered,
// else `org_kde_kwin_idle` (KWin, and wlroots compositors such as sway 1.7).
//
// Neither protocol answers "how long since the last input"; both say "idle"
// once no input came for a timeout we choose, and "resumed" at the next
// input. So one notification with a short timeout (kTimeoutMs) is asked for
// and the last input is put that long before the "idle" event: the user's
// idle time is then known to within the time the event takes to arrive,
// and the loop backdates the end of the interval as on X11. Before the first
// "idle" and after "resumed" the answer is 0 (less than the timeout, which
// no threshold comes near). A compositor counts from our request, so time
// idle before the helper started is not seen.
//
// Own connection to the compositor, read as its events arrive through the
// creating thread's event loop (and caught up without waiting on each
// query). Nothing found, or the connection lost: isAvailable() false, said
// once in the log, and the answer 0 (never idle). Main thread; not copyable.

#include <QElapsedTimer>
#include <QString>
#include <memory>
#include <optional>

#include "platform/IdleTimeSource.h"

class WaylandIdleTimeSource final : public IdleTimeSource {
public:
    static constexpr int kTimeoutMs = 1000;

    // An empty display name means $WAYLAND_DISPLAY.
    explicit WaylandIdleTimeSource(const QByteArray& displayName = {});
    ~WaylandIdleTimeSource() override;
    WaylandIdleTimeSource(const WaylandIdleTimeSource&) = delete;
    WaylandIdleTimeSource& operator=(const WaylandIdleTimeSource&) = delete;

    double secondsSinceLastInput() override;
    bool isAvailable() const override;
    // "ext-idle-notify-v1", "org_kde_kwin_idle", or empty when none.
    QString protocolName() const;

    struct Private;

private:
    std::unique_ptr<Private> d;
};
