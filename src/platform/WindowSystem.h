#pragma once
// WindowSystem: the front window and the on-screen window list.
//
// What the tracking loop asks the display server once a second. The Linux
// implementation keeps one long-lived X connection; a fake serves the unit
// tests. Every call is cheap and non-blocking enough for the main thread
// (a few X round trips at most). No display-server type appears here.
//
// Thread: the main thread only.

#include <QString>
#include <optional>
#include <vector>

struct WindowInfo final {
    quint64 windowId = 0;
    qint32 ownerProcessIdentifier = 0;  // 0 when the window names no process
    QString name;                       // null when the window has no name at all
    // 0 when the window's contents are not shared; always 1 on X11.
    int sharingState = 1;
};

class WindowSystem {
public:
    virtual ~WindowSystem() = default;

    // False when no display could be reached; every other call then answers
    // nothing. Reported once by the caller, not on every tick.
    virtual bool isAvailable() const = 0;

    // Where the answers come from, in a few words for `inspect` and the log
    // ("X11 (EWMH window manager)"); empty when there is nothing to say.
    virtual QString sourceDescription() const { return {}; }

    // The process owning the active window, or nullopt when there is no
    // active window (also during the instant between two focus changes).
    virtual std::optional<qint32> frontProcessIdentifier() = 0;

    // The id of the active window, or nullopt.
    virtual std::optional<quint64> activeWindow() = 0;

    // Mapped windows front to back, without desktop, dock and hidden
    // (minimised) windows.
    virtual std::vector<WindowInfo> windowList() = 0;

    // The front process and the window list in one look: what a tick asks.
    // An implementation may ask for both together (two X round trips for
    // both, instead of two each).
    struct FrontLook final {
        std::optional<qint32> frontProcessIdentifier;
        std::vector<WindowInfo> windows;
        // The active window when the source names no process for it (a
        // compositor that tells task bars only each window's application
        // id): its application is found from the window alone
        // (RunningApplications::applicationOfWindow). nullopt otherwise.
        std::optional<quint64> frontWindowWithoutProcess = std::nullopt;
    };
    virtual FrontLook lookAtFront() { return {frontProcessIdentifier(), windowList()}; }
};
