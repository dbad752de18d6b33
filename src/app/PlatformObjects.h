#pragma once
// PlatformObjects: the desktop's implementations of the platform interfaces,
// created once and owned for the life of the process. A member left empty
// means this desktop offers no such facility; its users then do without.
//
// Thread: created and destroyed on the main thread, after the tracking loop
// has stopped.

#include <memory>

#include "platform/AccessibilityElement.h"
#include "platform/RunningApplications.h"
#include "platform/ScriptingTarget.h"
#include "tracking/TRExtractionContext.h"
#include "platform/WindowSystem.h"

struct PlatformObjects final {
    std::unique_ptr<WindowSystem> windowSystem;
    std::unique_ptr<RunningApplications> runningApplications;
    std::unique_ptr<AccessibilityProvider> accessibility;
    std::unique_ptr<ScriptingTargets> scriptingTargets;

    TRExtractionContext context() const {
        return {windowSystem.get(), runningApplications.get(), accessibility.get(),
                scriptingTargets.get()};
    }
};

PlatformObjects createPlatformObjects();
