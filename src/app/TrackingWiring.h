#pragma once
// TrackingWiring: the tracking loop and everything it borrows, built and
// owned together. wireTracking() is the one place that decides which
// implementation stands behind each interface the loop uses.
//
// Destruction order matters: the logger goes first (it ends tracking and
// saves), then the sources it borrowed.

#include <memory>

#include "app/PlatformObjects.h"

class IdleTimeSource;
class LogindPowerAndSessionEvents;
class TRActivityRecorder;
class TRActivitySource;
class TRClock;
class TRExtractorRegistry;
class TRInfoLogger;
class TRSettings;
class TRSerialQueue;
class TRStatusMenuDelegate;

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
    std::unique_ptr<TRStatusMenuDelegate> statusMenu;
    std::unique_ptr<TRInfoLogger> logger;  // declared last: destroyed first
};

// Main thread, after the application object exists. Tracking is not started.
std::unique_ptr<TrackingWiring> wireTracking();
