#pragma once
// TRActivityRecorder: what the tracking loop needs from the activity store.
//
// Main thread only.
// - storeActivity() files one finished interval. The loop never passes a
//   missing activity or date, but it may pass a start later than the stop
//   (after a clock change) or an activity without application; the recorder
//   ignores those, and the blacklist is its business too.
// - save() writes what was recorded since the last save; the loop calls it
//   every minute and whenever tracking stops. Failures are the recorder's to
//   report; the loop carries on.
// - applescriptTrackingDisabled() answers whether the user switched off
//   detail extraction for this application. It looks the application up
//   without creating it; no record means false.

#include <QDateTime>

#include "core/RunningApplication.h"
#include "core/TRActivity.h"

class TRActivityRecorder {
public:
    virtual ~TRActivityRecorder() = default;

    virtual void storeActivity(const TRActivity& activity, const QDateTime& start,
                               const QDateTime& stop) = 0;
    virtual void save() = 0;
    virtual bool applescriptTrackingDisabled(const RunningApplication& application) = 0;
};
