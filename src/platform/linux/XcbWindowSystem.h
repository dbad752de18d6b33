#pragma once
// XcbWindowSystem: the front window and the window list from an EWMH
// window manager over one long-lived X connection.
//
// The active window is the root's _NET_ACTIVE_WINDOW; its process is the
// X-Resource extension's client pid (what the server knows of the
// connection that made the window), else _NET_WM_PID; the property alone is
// not trusted because a program in a pid namespace (Flatpak, containers)
// writes its namespace's number there. A window without _NET_WM_PID may be
// a frame: the walk then goes down to the client window first. Names are
// _NET_WM_NAME (UTF-8) else WM_NAME. The window list is _NET_CLIENT_LIST_STACKING read
// back to front and reversed, keeping viewable windows that are neither
// DESKTOP nor DOCK windows nor _NET_WM_STATE_HIDDEN (minimised windows stay
// in the stacking list). Requests of one step are sent together and their
// replies collected afterwards: a full look (the front process and the
// window list) costs two round trips, and a tick takes one only when the
// server has announced a change that matters since the last
// (XcbLookWatch); otherwise the last look stands, with no round trip.
//
// An active window of 0, which window managers write for an instant
// between two focus changes, is reported as no front process (a gap), not
// as a switch to nothing.
//
// Thread: the thread that created it (the main thread), except
// ownerOfDialog. Owns the X connection; not copyable.

#include <QByteArray>
#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/DialogOwners.h"
#include "platform/linux/WindowHints.h"

class XcbWindowSystem final : public WindowSystem,
                              public WindowHintSource,
                              public DialogOwnerSource {
public:
    // An empty display name means $DISPLAY.
    explicit XcbWindowSystem(const QByteArray& displayName = {});
    ~XcbWindowSystem() override;
    XcbWindowSystem(const XcbWindowSystem&) = delete;
    XcbWindowSystem& operator=(const XcbWindowSystem&) = delete;

    bool isAvailable() const override;
    QString sourceDescription() const override;
    // Whether an X display (empty: $DISPLAY) takes a connection; says
    // nothing in the log, so a caller can say it in its own words.
    static bool displayAnswers(const QByteArray& displayName = {});
    std::optional<qint32> frontProcessIdentifier() override;
    std::optional<quint64> activeWindow() override;
    std::vector<WindowInfo> windowList() override;
    FrontLook lookAtFront() override;
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override;
    std::optional<quint64> lastFrontWindowOf(qint32 processIdentifier) override;

    // One look at the front window: id, process, name and WM_CLASS in two
    // round trips. nullopt when no window is active.
    struct FrontWindow final {
        quint64 windowId = 0;
        qint32 processIdentifier = 0;  // 0 when unknown
        QString name;
        QString instance;
        QString className;
    };
    std::optional<FrontWindow> frontWindow();

    // WM_CLASS, _GTK_APPLICATION_ID and _KDE_NET_WM_DESKTOP_FILE of one
    // window; nullopt when the window is gone.
    std::optional<WindowHints> windowHints(quint64 windowId);

    // WM_TRANSIENT_FOR of the dialog; may be called from any thread (xcb
    // connections are thread-safe, and nothing here changes after connecting).
    std::optional<DialogOwner> ownerOfDialog(qint32 processIdentifier,
                                             const QString& dialogName) override;

private:
    FrontLook fullLookAtFront();

    struct Private;
    std::unique_ptr<Private> d;
};
