#include "app/PlatformObjects.h"

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/DesktopSession.h"
#include "platform/linux/ForeignToplevelWindowSystem.h"
#include "platform/linux/GnomeShellWindowSystem.h"
#include "platform/linux/KWinWindowSystem.h"
#include "platform/linux/LinuxHostNames.h"
#include "platform/linux/LinuxIdleTimeSource.h"
#include "platform/linux/LinuxProcessSource.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/SwayWindowSystem.h"
#include "platform/linux/WaylandIdleTimeSource.h"
#include "platform/linux/XWaylandWindowSystem.h"
#include "platform/linux/XcbWindowSystem.h"
#include "tracking/TRSerialQueue.h"
#include "tracking/bridge/TRDesktopScriptingTargets.h"

#include <QDBusConnection>
#include <QStandardPaths>
#include <optional>
#include <functional>

#include "app/AppLog.h"

// Defined here, not in main.cpp: the tests that build their platform
// objects with this library log through it too.
Q_LOGGING_CATEGORY(lcApp, "vorlix.app", QtInfoMsg)

// The window source follows the session: X11's window manager, sway's IPC,
// KWin's script, our GNOME Shell extension, a wlroots compositor's toplevel
// list, or on another Wayland desktop the X11 windows alone (said once, with
// what would help).
namespace {

void createAccessibilityObjects(PlatformObjects& objects, DialogOwnerSource* dialogOwners) {
    auto accessibility = std::make_unique<AtspiAccessibilityProvider>(dialogOwners);
    objects.scriptingTargets =
        std::make_unique<TRDesktopScriptingTargets>(*accessibility, *objects.processes,
                                                    accessibility.get(), accessibility.get());
    objects.accessibility = std::move(accessibility);
}

// The window system and the hint source behind it (the same object).
struct WindowObjects final {
    std::unique_ptr<WindowSystem> windows;
    WindowHintSource* hints = nullptr;
    DialogOwnerSource* dialogOwners = nullptr;
};

template <class X11>
WindowObjects fromX11(std::unique_ptr<X11> x11) {
    WindowObjects objects;
    objects.hints = x11.get();
    objects.dialogOwners = x11.get();
    objects.windows = std::move(x11);
    return objects;
}

// On a Wayland desktop, the X11 windows through XWayland: only while one of
// them has the keyboard.
WindowObjects x11Windows(bool underWayland) {
    auto plain = std::make_unique<XcbWindowSystem>();
    if (underWayland) return fromX11(std::make_unique<XWaylandWindowSystem>(std::move(plain)));
    return fromX11(std::move(plain));
}

// A Wayland source of ours, or nothing when the session has none that answers.
template <class Source>
std::optional<WindowObjects> ifAnswering(std::unique_ptr<Source> source) {
    if (!source->isAvailable()) return std::nullopt;
    WindowObjects objects;
    objects.hints = source.get();
    objects.windows = std::move(source);
    return objects;
}

std::optional<WindowObjects> waylandWindows(const DesktopSession& session) {
    switch (session.windowSource()) {
        case DesktopSession::WindowSource::Sway:
            return ifAnswering(std::make_unique<SwayWindowSystem>(session.swaySocket));
        case DesktopSession::WindowSource::KWin:
            return ifAnswering(std::make_unique<KWinWindowSystem>(
                QDBusConnection::sessionBus(),
                QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)));
        case DesktopSession::WindowSource::GnomeShell:
            return ifAnswering(std::make_unique<GnomeShellWindowSystem>(QDBusConnection::sessionBus()));
        default:
            return std::nullopt;
    }
}

WindowObjects windowsForSession(const DesktopSession& session, PlatformObjects& objects) {
    if (auto windows = waylandWindows(session)) return std::move(*windows);
    // A wlroots compositor without sway's IPC still lists its windows to
    // task bars: application and title, without a process.
    if (session.wayland) {
        if (auto windows = ifAnswering(std::make_unique<ForeignToplevelWindowSystem>())) {
            qCInfo(lcApp) << "Wayland session: the front window from the compositor's toplevel "
                             "list (application and title only)";
            return std::move(*windows);
        }
    }
    objects.windowSourceAdvice = session.advice();
    objects.gnomeShellExtensionOff =
        session.windowSource() == DesktopSession::WindowSource::GnomeShell;
    if (!objects.windowSourceAdvice.isEmpty()) {
        qCWarning(lcApp).noquote()
            << "Wayland session: only windows of X11 programs (XWayland) are seen. To see the "
               "others:" << objects.windowSourceAdvice;
    }
    return x11Windows(session.wayland);
}

void onWorker(TRSerialQueue* worker, const std::function<void()>& task) {
    if (worker == nullptr) {
        task();
        return;
    }
    worker->async(task);
    worker->sync();
}

}  // namespace

PlatformObjects createPlatformObjects(TRSerialQueue* worker) {
    PlatformObjects objects;
    objects.processes = std::make_unique<LinuxProcessSource>();
    objects.hostNames = std::make_unique<LinuxHostNames>();
    WindowObjects windows =
        windowsForSession(DesktopSession::fromEnvironment(), objects);
    DialogOwnerSource* dialogOwners = nullptr;
    if (windows.windows->isAvailable()) {
        objects.runningApplications = std::make_unique<LinuxRunningApplications>(*windows.hints);
        dialogOwners = windows.dialogOwners;
        objects.windowSystem = std::move(windows.windows);
    }
    onWorker(worker,
             [&objects, dialogOwners] { createAccessibilityObjects(objects, dialogOwners); });
    return objects;
}

void releaseWorkerObjects(PlatformObjects& objects, TRSerialQueue* worker) {
    onWorker(worker, [&objects] {
        objects.scriptingTargets.reset();
        objects.accessibility.reset();
    });
}

std::unique_ptr<IdleTimeSource> createIdleTimeSource() {
    const bool wayland = DesktopSession::fromEnvironment().wayland;
    if (wayland) {
        auto compositor = std::make_unique<WaylandIdleTimeSource>();
        if (compositor->isAvailable()) return compositor;
    }
    return std::make_unique<LinuxIdleTimeSource>(QByteArray(), QDBusConnection::sessionBus(),
                                                 !wayland);
}
