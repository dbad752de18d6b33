#pragma once
// WindowHints: what a process's top-level window says about its application.
//
// The identity resolver needs a window of the process for WM_CLASS and the
// application-id properties that toolkits set; WindowHintSource gives it
// one (XcbWindowSystem on X11, a fake in tests) without the resolver
// knowing about X.
//
// Thread: the main thread, like the window system.

#include <QString>
#include <optional>

struct WindowHints final {
    QString instance;          // WM_CLASS instance ("xterm", "Navigator")
    QString className;         // WM_CLASS class ("XTerm", "firefox-esr")
    QString gtkApplicationId;  // _GTK_APPLICATION_ID
    QString kdeDesktopFile;    // _KDE_NET_WM_DESKTOP_FILE
};

class WindowHintSource {
public:
    virtual ~WindowHintSource() = default;
    // Hints of a top-level window owned by the process (the active window
    // when it is the process's), or nullopt when it has none mapped.
    virtual std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) = 0;
    // Hints of one window, for a source that names no process (a compositor
    // that tells only each window's application id); nullopt elsewhere.
    virtual std::optional<WindowHints> windowHintsForWindow(quint64 windowId) {
        (void)windowId;
        return std::nullopt;
    }
    // The window that the latest look at the front found active, when the
    // window system then counted it as this process's; no round trip. The
    // process was alive at that look, and a window stays its creator's, so
    // the same window means the same process. nullopt when the latest look
    // found another process or no window, or the source cannot tell.
    virtual std::optional<quint64> lastFrontWindowOf(qint32 processIdentifier) {
        (void)processIdentifier;
        return std::nullopt;
    }
};
