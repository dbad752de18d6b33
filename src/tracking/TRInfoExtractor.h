#pragma once
// TRInfoExtractor: what the user is doing now, for the tracking loop.
//
// Two steps per tick, on two threads:
//
//   currentActivity()                        main thread, never blocks on an
//     the front process, its running         application: only the window
//     application, the exclusions, and the   system and the application-
//     window list's title for it             identity lookup are used
//
//   callInfoExtractorForActivity(activity)   tracking worker, may block for
//     first completeActivityFromAccessibility the platform's timeouts
//     (main/focused window title and document, sheets walked to the window
//     they belong to; a result there replaces the window list's title), then
//     the extractor registered for the application id, else the generic one
//
// The accessibility step runs on the worker because an application that has
// stopped answering would otherwise hold up the main thread. When the user
// has switched scripted tracking off for an application, the loop calls
// completeActivityFromAccessibility() alone (or completeActivity(activity,
// true)): the activity keeps the title and document the accessibility tree
// gave, and no request goes to the application's own interfaces.
//
// The platform objects come from TRExtractionContext::shared(); the
// registry is TRExtractorRegistry::shared().

#include <QString>
#include <optional>

#include "core/TRActivity.h"

class TRApplicationInfoExtractor;

class TRInfoExtractor final {
public:
    TRInfoExtractor() = delete;

    // Main thread. A new activity for the front application, or nothing when
    // that application is never tracked (the helper itself, an excluded id or
    // executable, one of the desktop's own agents). Fills the application and
    // at most the window title. No front window (or no display) gives an
    // activity without application, except that one tick without an active
    // window right after one with it keeps the process seen then: focus
    // changes pass through "no active window" for an instant.
    static std::optional<TRActivity> currentActivity();

    // Worker. Applies the accessibility tree's window title and document.
    static void completeActivityFromAccessibility(TRActivity& activity);

    // Worker. The accessibility step, then the chosen extractor; answers the
    // extractor that ran.
    static const TRApplicationInfoExtractor& callInfoExtractorForActivity(TRActivity& activity);

    // Worker. The whole background part of a tick: nothing for no activity;
    // the accessibility step; the extractor unless scripted tracking is off.
    // Answers the extractor that ran, or null.
    static const TRApplicationInfoExtractor* completeActivity(std::optional<TRActivity>& activity,
                                                              bool scriptedTrackingDisabled);

    // The registered extractor for the activity's application id, else the
    // generic extractor.
    static const TRApplicationInfoExtractor& extractorForActivity(const TRActivity& activity);

    // Start-up only (see TRExtractorRegistry).
    static void addApplicationInfoExtractor(const TRApplicationInfoExtractor* extractor,
                                            const QString& bundleIdentifier);

    // Whether an application is one that is never tracked.
    static bool isExcludedApplication(const RunningApplication& application);
};
