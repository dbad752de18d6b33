#pragma once
// TRActivitySource: where the tracking loop gets the frontmost activity.
//
// Two steps per tick, split by thread:
// - currentActivity() on the main thread: a new activity for the application
//   in front (process, application id, window title), or nullopt when that
//   application is one that is never tracked. Must be cheap: one look at the
//   window system.
// - callInfoExtractorForActivity() on the loop's serial worker: what the
//   accessibility tree tells about the window is added, then, unless the user
//   switched scripted extraction off for this application, the extractor
//   registered for its application id fills or removes its details in place. May block (accessibility, scripting), but every call it makes
//   is bounded by a timeout. Called with nullptr when currentActivity() found
//   nothing; never called twice at once.

#include <optional>

#include "core/TRActivity.h"

class TRActivitySource {
public:
    virtual ~TRActivitySource() = default;

    virtual std::optional<TRActivity> currentActivity() = 0;
    virtual void callInfoExtractorForActivity(TRActivity* activity,
                                              bool scriptedExtractionDisabled) = 0;
};
