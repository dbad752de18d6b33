// Tells VorlixHelper which window is in front on KDE Plasma (Wayland or
// X11): its resource class, caption and process, at every activation and
// caption change, by a call to the helper on the session bus. The helper
// writes this file with its own bus name in place of @SERVICE@, loads it
// through org.kde.KWin /Scripting at start and unloads it at exit.
// Works with the scripting names of Plasma 5 (clients) and 6 (windows).
const service = "@SERVICE@";
const path = "/info/mallowby/VorlixHelper/KWin";
const iface = "info.mallowby.VorlixHelper.KWin";
let watched = null;

function activeWindow() {
    return workspace.activeWindow !== undefined ? workspace.activeWindow : workspace.activeClient;
}

function report() {
    const window = activeWindow();
    if (!window) {
        callDBus(service, path, iface, "WindowActivated", "", "", 0);
        return;
    }
    callDBus(service, path, iface, "WindowActivated", String(window.resourceClass),
             String(window.caption), window.pid);
}

function activated(window) {
    if (watched) watched.captionChanged.disconnect(report);
    watched = window;
    if (watched) watched.captionChanged.connect(report);
    report();
}

(workspace.windowActivated || workspace.clientActivated).connect(activated);
activated(activeWindow());
