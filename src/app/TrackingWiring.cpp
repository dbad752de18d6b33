#include "TrackingWiring.h"

#include "AppLog.h"
#include "LinuxIdleTimeSource.h"
#include "LogindPowerAndSessionEvents.h"
#include "TRActivityRecorder.h"
#include "TRActivitySource.h"
#include "TRClock.h"
#include "TRExtractorRegistry.h"
#include "TRInfoExtractor.h"
#include "TRApplicationInfoExtractor.h"
#include "TRInfoLogger.h"
#include "TRStatusMenuDelegate.h"

namespace {

// ---------------------------------------------------------------------------
// PLACEHOLDERS, to be replaced by adapters over the real pieces:
// - PlaceholderActivityRecorder -> TRActivityStore::sharedInstance()
//   storeActivity(activity, start, stop) and save(), and
//   TRASApplication::applicationWithRunningApplication(app, false)
//   ->applescriptTrackingDisabled.
// Until then the helper runs the whole loop but sees no application in
// front and records nothing.
// ---------------------------------------------------------------------------

// The extractor dispatch as the loop's activity source.
class ExtractorActivitySource final : public TRActivitySource {
public:
    std::optional<TRActivity> currentActivity() override {
        return TRInfoExtractor::currentActivity();
    }
    void callInfoExtractorForActivity(TRActivity* activity,
                                      bool scriptedExtractionDisabled) override {
        if (activity == nullptr) return;
        TRInfoExtractor::completeActivityFromAccessibility(*activity);
        if (!scriptedExtractionDisabled) {
            TRInfoExtractor::extractorForActivity(*activity).writeDetailsForActivity(*activity);
        }
    }
};

class PlaceholderActivityRecorder final : public TRActivityRecorder {
public:
    void storeActivity(const TRActivity&, const QDateTime& start, const QDateTime& stop) override {
        qCDebug(lcApp) << "would store an interval of" << start.secsTo(stop) << "s";
    }
    void save() override {}
    bool applescriptTrackingDisabled(const RunningApplication&) override { return false; }
};

}  // namespace

TrackingWiring::TrackingWiring() = default;
TrackingWiring::~TrackingWiring() = default;

std::unique_ptr<TrackingWiring> wireTracking() {
    auto wiring = std::make_unique<TrackingWiring>();
    wiring->clock = std::make_unique<TRSystemClock>();
    wiring->platform = createPlatformObjects();
    TRExtractionContext::setShared(wiring->platform.context());
    registerDefaultExtractors();
    wiring->activitySource = std::make_unique<ExtractorActivitySource>();
    wiring->recorder = std::make_unique<PlaceholderActivityRecorder>();
    wiring->idleTimeSource = std::make_unique<LinuxIdleTimeSource>();
    wiring->powerAndSessionEvents = std::make_unique<LogindPowerAndSessionEvents>();
    wiring->powerAndSessionEvents->start();
    // No status menu yet: the default delegate shows nothing.
    wiring->statusMenu = std::make_unique<TRStatusMenuDelegate>();

    TRInfoLoggerDependencies dependencies;
    dependencies.activitySource = wiring->activitySource.get();
    dependencies.recorder = wiring->recorder.get();
    dependencies.idleTimeSource = wiring->idleTimeSource.get();
    dependencies.clock = wiring->clock.get();
    dependencies.statusMenu = wiring->statusMenu.get();
    dependencies.powerAndSessionEvents = wiring->powerAndSessionEvents.get();
    wiring->logger = std::make_unique<TRInfoLogger>(std::move(dependencies));
    return wiring;
}
