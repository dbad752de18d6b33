#pragma once
// SwayWindowModel: the windows of a sway (i3-compatible) compositor as its
// IPC describes them, kept front to back.
//
// Filled from one `get_tree` reply and then kept current by the `window`
// events the compositor sends (focus, title, new, close), so that nothing is
// asked once a second. The order is the compositor's focus order: the tree's
// `focus` lists at each level at first, then every focused window moves to
// the front. Windows in the scratchpad (sway's way of hiding a window) are
// left out. Native Wayland windows are named by `app_id`; windows of X11
// programs under XWayland by their WM_CLASS, as the compositor read it.
//
// Pure: no I/O, any thread that owns it.

#include <QJsonObject>
#include <QString>
#include <optional>
#include <vector>

struct SwayWindow final {
    qint64 id = 0;          // the compositor's container id
    qint32 processIdentifier = 0;  // 0 when the compositor knows none
    QString appId;          // native Wayland windows; empty under XWayland
    QString x11Instance;    // XWayland windows: WM_CLASS instance and class
    QString x11Class;
    QString name;           // the title; null when the window has none
};

class SwayWindowModel final {
public:
    // What applying an event asks of the caller.
    enum class Follow { Nothing, RereadTree };

    // Replaces everything with what a `get_tree` reply says.
    void resetFromTree(const QJsonObject& root);
    // One `window` event (its `change` and `container`).
    Follow applyWindowEvent(const QJsonObject& event);
    // One `workspace` event: which window is in front may have changed
    // without a window event (a switch to an empty workspace).
    static Follow followWorkspaceEvent(const QJsonObject& event);

    // The focused window, or nullopt (an empty workspace is in front).
    std::optional<SwayWindow> focused() const;
    const std::vector<SwayWindow>& frontToBack() const { return m_windows; }

private:
    void collect(const QJsonObject& node, std::optional<qint64>& focusedId);
    std::vector<SwayWindow>::iterator find(qint64 id);

    std::vector<SwayWindow> m_windows;
    std::optional<qint64> m_focusedId;
};
