#include "app/PlatformObjects.h"

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AtspiScriptingTargets.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/XcbWindowSystem.h"

// X11 today; a Wayland session gets its own window system here later, behind
// the same interfaces.
PlatformObjects createPlatformObjects() {
    PlatformObjects objects;
    auto windows = std::make_unique<XcbWindowSystem>();
    if (windows->isAvailable()) {
        objects.runningApplications = std::make_unique<LinuxRunningApplications>(*windows);
        objects.windowSystem = std::move(windows);
    }
    auto accessibility = std::make_unique<AtspiAccessibilityProvider>();
    objects.scriptingTargets = std::make_unique<AtspiScriptingTargets>(*accessibility);
    objects.accessibility = std::move(accessibility);
    return objects;
}
