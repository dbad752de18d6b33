#pragma once
// ForeignToplevelWindowSystem: the front window and the window list of a
// wlroots compositor without sway's IPC (Hyprland, river, Wayfire, labwc),
// from the toplevel list it offers task bars
// (`zwlr_foreign_toplevel_management_v1`).
//
// The window whose state holds `activated` is in front; its title and
// `app_id` come with it. The protocol names no process, so the application
// is found from the `app_id` alone (matched against desktop entries like a
// WM_CLASS) and nothing is read from /proc or the accessibility tree: the
// time goes to the application and the window title only. Windows of X11
// programs under XWayland are listed by the compositor too, with their
// WM_CLASS class as `app_id`.
//
// Own connection to the compositor, read as its events arrive through the
// creating thread's event loop and caught up (without waiting) at every
// question. Not offered, or the connection lost: isAvailable() false.
// Main thread; not copyable.

#include <QByteArray>
#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/WindowHints.h"

class ForeignToplevelWindowSystem final : public WindowSystem, public WindowHintSource {
public:
    // An empty display name means $WAYLAND_DISPLAY. Reads the windows
    // already open before it returns.
    explicit ForeignToplevelWindowSystem(const QByteArray& displayName = {});
    ~ForeignToplevelWindowSystem() override;
    ForeignToplevelWindowSystem(const ForeignToplevelWindowSystem&) = delete;
    ForeignToplevelWindowSystem& operator=(const ForeignToplevelWindowSystem&) = delete;

    bool isAvailable() const override;
    QString sourceDescription() const override;
    std::optional<qint32> frontProcessIdentifier() override;
    std::optional<quint64> activeWindow() override;
    std::vector<WindowInfo> windowList() override;
    FrontLook lookAtFront() override;
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override;
    std::optional<WindowHints> windowHintsForWindow(quint64 windowId) override;

    struct Private;

private:
    std::unique_ptr<Private> d;
};
