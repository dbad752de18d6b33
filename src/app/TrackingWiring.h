#pragma once
// TrackingWiring: the tracking loop and everything it borrows, built and
// owned together. wireTracking() is the one place that decides which
// implementation stands behind each interface the loop uses.
//
// Destruction order matters: the logger goes first (it ends tracking and
// saves), then the sources it borrowed.

#include <memory>

#include "app/PlatformObjects.h"
#include "tracking/TRStatusMenuDelegate.h"

class DistributedNotificationCenter;
class IdleTimeSource;
class LogindPowerAndSessionEvents;
class TRActivityRecorder;
class TRActivitySource;
class TRClock;
class TRExtractorRegistry;
class TRInfoLogger;
class TRSettings;
class TRSerialQueue;

// The loop is built before the status menu that answers it (the menu needs
// the loop), so the loop is handed this relay; until a menu is set, and
// after it is cleared, the loop's calls do nothing.
class StatusMenuRelay final : public TRStatusMenuDelegate {
public:
    void setTarget(TRStatusMenuDelegate* target) { m_target = target; }
    void resetStatusItemImages() override {
        if (m_target) m_target->resetStatusItemImages();
    }
    TRCustomActivityCreationController* presentCustomActivityCreationViewController() override {
        return m_target ? m_target->presentCustomActivityCreationViewController() : nullptr;
    }

private:
    TRStatusMenuDelegate* m_target = nullptr;
};

struct TrackingWiring final {
    TrackingWiring();
    ~TrackingWiring();
    TrackingWiring(const TrackingWiring&) = delete;
    TrackingWiring& operator=(const TrackingWiring&) = delete;

    // The extraction worker: it makes, uses and releases the accessibility
    // objects of `platform`; it outlives the logger.
    std::unique_ptr<TRSerialQueue> worker;
    PlatformObjects platform;
    std::shared_ptr<TRSettings> settings;  // shared with the activity store
    std::unique_ptr<TRClock> clock;
    TRExtractionContext extractionContext;  // points into `platform`
    std::unique_ptr<TRExtractorRegistry> extractors;
    std::unique_ptr<TRActivitySource> activitySource;  // the extractor dispatch
    std::unique_ptr<TRActivityRecorder> recorder;
    std::unique_ptr<IdleTimeSource> idleTimeSource;
    std::unique_ptr<LogindPowerAndSessionEvents> powerAndSessionEvents;
    std::shared_ptr<DistributedNotificationCenter> notificationCenter;  // shared with the store
    std::unique_ptr<StatusMenuRelay> statusMenu;
    std::unique_ptr<TRInfoLogger> logger;  // declared last: destroyed first
};

// Main thread, after the application object exists. Tracking is not started.
std::unique_ptr<TrackingWiring> wireTracking();
