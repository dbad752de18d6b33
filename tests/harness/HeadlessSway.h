#pragma once
// HeadlessSway: a sway compositor without a screen, inside the disposable
// desktop, for the tests of the Wayland window sources.
//
// sway refuses to run as root, so it runs in a user namespace as uid 1000
// (same pid namespace: the pids it reports are this machine's). It gets a
// runtime folder of its own (its Wayland and IPC sockets), one headless
// output and XWayland. It is one of the desktop's programs: the desktop's
// end stops it and every client it started. Programs started with exec()
// run under it with its environment (WAYLAND_DISPLAY, and DISPLAY of its
// XWayland).
//
// Thread: the test's main thread.

#include <QProcessEnvironment>
#include <QString>
#include <memory>

class DisposableDesktop;

class HeadlessSway final {
public:
    // nullptr, with the reason in `whyNot`, when sway or unshare is missing
    // or the compositor did not come up.
    static std::unique_ptr<HeadlessSway> start(DisposableDesktop& desktop, QString* whyNot);

    // The desktop's environment as a client of this compositor sees it:
    // WAYLAND_DISPLAY, SWAYSOCK and the runtime folder, and no X display.
    QProcessEnvironment environment() const { return m_environment; }

    // One sway command ("[app_id=foot] focus", "exec foot"): true on success.
    bool command(const QString& command) const;
    // The user presses and releases Shift in the window in front, through
    // the compositor's virtual keyboard (a key, not only a modifier change:
    // sway counts only keys as input).
    bool pressShift() const;
    // Waits until `count` windows whose `app_id`, or X11 class under
    // XWayland, is `id` are mapped.
    bool waitForWindows(const QString& id, int count, int timeoutMs) const;

private:
    HeadlessSway(DisposableDesktop& desktop) : m_desktop(desktop) {}

    DisposableDesktop& m_desktop;
    QProcessEnvironment m_environment;
};
