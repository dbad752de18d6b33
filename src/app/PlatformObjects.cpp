#include "app/PlatformObjects.h"

#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/LinuxHostNames.h"
#include "platform/linux/LinuxProcessSource.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/XcbWindowSystem.h"
#include "tracking/TRSerialQueue.h"
#include "tracking/bridge/TRDesktopScriptingTargets.h"

#include <functional>

// X11 today; a Wayland session gets its own window system here later, behind
// the same interfaces.
namespace {

void createAccessibilityObjects(PlatformObjects& objects, DialogOwnerSource* dialogOwners) {
    auto accessibility = std::make_unique<AtspiAccessibilityProvider>(dialogOwners);
    objects.scriptingTargets =
        std::make_unique<TRDesktopScriptingTargets>(*accessibility, *objects.processes,
                                                    accessibility.get(), accessibility.get());
    objects.accessibility = std::move(accessibility);
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
    auto windows = std::make_unique<XcbWindowSystem>();
    DialogOwnerSource* dialogOwners = nullptr;
    if (windows->isAvailable()) {
        objects.runningApplications = std::make_unique<LinuxRunningApplications>(*windows);
        dialogOwners = windows.get();
        objects.windowSystem = std::move(windows);
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
