#pragma once
// PlatformObjects: the desktop's implementations of the platform interfaces,
// created once and owned for the life of the process. A member left empty
// means this desktop offers no such facility; its users then do without.
//
// Thread: the window system and the running applications belong to the main
// thread. The accessibility objects belong to the one thread that asks them
// (the extraction worker): they are created there and released there, since
// the accessibility library is not thread-safe. Without a worker (`inspect`,
// which runs both steps on one thread) they belong to the calling thread.

#include <QString>
#include <memory>

#include "platform/AccessibilityElement.h"
#include "platform/LocalHostNames.h"
#include "platform/ProcessSource.h"
#include "platform/RunningApplications.h"
#include "tracking/bridge/ScriptingTarget.h"
#include "tracking/TRExtractionContext.h"
#include "platform/WindowSystem.h"

struct PlatformObjects final {
    std::unique_ptr<WindowSystem> windowSystem;
    std::unique_ptr<RunningApplications> runningApplications;
    std::unique_ptr<AccessibilityProvider> accessibility;
    std::unique_ptr<ProcessSource> processes;
    std::unique_ptr<LocalHostNames> hostNames;
    std::unique_ptr<ScriptingTargets> scriptingTargets;  // over accessibility and processes
    // On a desktop whose native windows no source of ours can see: what the
    // user could install or switch on. Empty otherwise.
    QString windowSourceAdvice;
    // GNOME on Wayland, and our Shell extension did not answer.
    bool gnomeShellExtensionOff = false;

    TRExtractionContext context() const {
        return {windowSystem.get(), runningApplications.get(), accessibility.get(),
                scriptingTargets.get(), processes.get(), hostNames.get()};
    }
};

class TRSerialQueue;
class IdleTimeSource;

// Main thread. The idle time as this session can measure it: the Wayland
// compositor's idle notifications in a Wayland session, else the X server
// or the desktop's bus services.
std::unique_ptr<IdleTimeSource> createIdleTimeSource();

// Main thread. With `worker`, the accessibility objects are made on it
// (waited for).
PlatformObjects createPlatformObjects(TRSerialQueue* worker = nullptr);
// Main thread, the extraction stopped: releases the accessibility objects on
// the thread they belong to (waited for).
void releaseWorkerObjects(PlatformObjects& objects, TRSerialQueue* worker);
