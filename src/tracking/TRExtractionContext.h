#pragma once
// TRExtractionContext: the platform objects the extraction code talks to.
//
// Set once at start-up, before the tracking loop's first tick and before its
// worker exists, and read-only afterwards; unit tests set fakes instead. The
// context does not own the objects: whoever installs them keeps them alive
// until the tracking loop has stopped. A null pointer means "this desktop has
// no such facility": the code that needs it then does without, silently.
//
// Which thread uses which object:
//   windowSystem, runningApplications  -> main thread (currentActivity)
//   accessibility, scriptingTargets    -> tracking worker (extractors)

#include <QtGlobal>

class AccessibilityProvider;
class RunningApplications;
class ScriptingTargets;
class WindowSystem;

struct TRExtractionContext final {
    WindowSystem* windowSystem = nullptr;
    RunningApplications* runningApplications = nullptr;
    AccessibilityProvider* accessibility = nullptr;
    ScriptingTargets* scriptingTargets = nullptr;

    // The context in use; all pointers null until setShared() is called.
    static const TRExtractionContext& shared();
    // REQUIRES: no tick in flight (start-up, or a test between cases).
    static void setShared(const TRExtractionContext& context);
    // Counts setShared() calls, so that what was remembered about one set of
    // platform objects is never applied to the next.
    static quint64 generation();
};
