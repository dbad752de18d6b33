#pragma once
// TRStatusMenuDelegate: the two calls the tracking loop makes into the status
// menu. Until a status menu exists the defaults do nothing and offer no
// custom-activity window, so the loop behaves as if the desktop had none.
//
// Main thread only.
// - resetStatusItemImages(): the user went idle or came back; redraw the icon
//   from the loop's userWasIdle() and shouldTrack().
// - presentCustomActivityCreationViewController(): show the window in which
//   the user books time by hand and return its controller (owned by the
//   menu), or nullptr when none can be shown. The loop presets it to the
//   period the user was away.

#include <QDateTime>

class TRCustomActivityCreationController {
public:
    virtual ~TRCustomActivityCreationController() = default;

    virtual void setActivityStartDate(const QDateTime& start) = 0;
    virtual void setActivityDurationTimeInterval(double seconds) = 0;
};

class TRStatusMenuDelegate {
public:
    virtual ~TRStatusMenuDelegate() = default;

    virtual void resetStatusItemImages() {}
    virtual TRCustomActivityCreationController* presentCustomActivityCreationViewController() {
        return nullptr;
    }
};
