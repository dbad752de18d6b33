#pragma once
// SwayWindowSystem: the front window and the window list of sway (and
// compositors that speak its i3-compatible IPC) over the socket in SWAYSOCK.
//
// One connection, subscribed to `window` and `workspace` events: the tree is
// read once at start and then only when an event leaves the window order in
// doubt (a move, a workspace switch), so a tick reads no more than what the
// socket already holds. The pid is the compositor's (the Wayland client's
// credentials, or the X client's under XWayland); it finds the process in
// /proc and its accessible application as on X11. Window hints for the
// application identity are the `app_id` of native windows (matched against
// desktop entries like a WM_CLASS) and the WM_CLASS of XWayland windows;
// the X server is never asked which window is active, since it only knows
// its own clients.
//
// Thread: the thread that created it (the main thread); its events arrive
// through that thread's event loop. Owns the socket; not copyable.

#include <QString>
#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/WindowHints.h"

class SwayWindowSystem final : public WindowSystem, public WindowHintSource {
public:
    // Connects and reads the tree, waiting at most `timeoutMs`.
    explicit SwayWindowSystem(const QString& socketPath, int timeoutMs = 2000);
    ~SwayWindowSystem() override;
    SwayWindowSystem(const SwayWindowSystem&) = delete;
    SwayWindowSystem& operator=(const SwayWindowSystem&) = delete;

    bool isAvailable() const override;
    QString sourceDescription() const override;
    std::optional<qint32> frontProcessIdentifier() override;
    std::optional<quint64> activeWindow() override;
    std::vector<WindowInfo> windowList() override;
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
