#pragma once
// TRExtractionContext: the platform objects the extraction code talks to.
//
// A plain value handed by reference to the dispatch (TRInfoExtractor) and on
// to each extractor; unit tests fill it with fakes. It does not own the
// objects: whoever fills it keeps them alive until the tracking loop has
// stopped. A null pointer means "this desktop has no such facility": the
// code that needs it then does without, silently.
//
// Which thread uses which object:
//   windowSystem, runningApplications  -> main thread (currentActivity)
//   accessibility, scriptingTargets    -> tracking worker (extractors)
//   processes, hostNames               -> any

class AccessibilityProvider;
class LocalHostNames;
class ProcessSource;
class RunningApplications;
class ScriptingTargets;
class WindowSystem;

struct TRExtractionContext final {
    WindowSystem* windowSystem = nullptr;
    RunningApplications* runningApplications = nullptr;
    AccessibilityProvider* accessibility = nullptr;
    ScriptingTargets* scriptingTargets = nullptr;
    ProcessSource* processes = nullptr;
    LocalHostNames* hostNames = nullptr;
};
