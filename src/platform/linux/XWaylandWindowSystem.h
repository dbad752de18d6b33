#pragma once
// XWaylandWindowSystem: the X11 window system seen through XWayland, on a
// Wayland desktop no source of ours can see: only X11 programs' windows.
//
// A native Wayland window in front is invisible to X. The compositors'
// window managers clear _NET_ACTIVE_WINDOW then, but nothing obliges them
// to, and one that left the last X11 window named would have the time of
// the native window credited to it. So the active window counts only while
// the X keyboard focus is in it (on it or on a window inside it, where a
// toolkit keeps its focus proxy); focus on no window, the pointer root, or
// a window of the window manager's own means a window X cannot see has the
// keyboard, and nothing is in front: nothing is recorded, as for a native
// window on sway, whose XWayland names no active window at all. One
// GetInputFocus round trip a tick, on a connection of its own; everything
// else is the X11 window system's.
//
// Thread: the main thread, like the X11 window system.

#include <functional>
#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/DialogOwners.h"
#include "platform/linux/WindowHints.h"

class XcbWindowSystem;

class XWaylandWindowSystem final : public WindowSystem,
                                   public WindowHintSource,
                                   public DialogOwnerSource {
public:
    // Whether the X keyboard focus is in a window (its id).
    using FocusCheck = std::function<bool(quint64 window)>;

    // Connects for the focus to the same display ($DISPLAY).
    explicit XWaylandWindowSystem(std::unique_ptr<XcbWindowSystem> x11);
    ~XWaylandWindowSystem() override;
    XWaylandWindowSystem(const XWaylandWindowSystem&) = delete;
    XWaylandWindowSystem& operator=(const XWaylandWindowSystem&) = delete;

    bool isAvailable() const override;
    QString sourceDescription() const override;
    std::optional<qint32> frontProcessIdentifier() override;
    std::optional<quint64> activeWindow() override;
    std::vector<WindowInfo> windowList() override;
    FrontLook lookAtFront() override;
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override;
    std::optional<quint64> lastFrontWindowOf(qint32 processIdentifier) override;
    std::optional<DialogOwner> ownerOfDialog(qint32 processIdentifier,
                                             const QString& dialogName) override;

private:
    bool frontHasKeyboard(qint32 processIdentifier);

    std::unique_ptr<XcbWindowSystem> m_x11;
    FocusCheck m_check;
};
