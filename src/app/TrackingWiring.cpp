#include "app/TrackingWiring.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include "app/AppLog.h"
#include "core/TRLocations.h"
#include "core/TRSettings.h"
#include "platform/IdleTimeSource.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRActivityStore.h"
#include "store/project/TRProjectStore.h"
#include "app/ProjectsCommand.h"
#include "tracking/TRActivityRecorder.h"
#include "tracking/TRActivitySource.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRClock.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"
#include "tracking/TRInfoLogger.h"
#include "tracking/TRSerialQueue.h"
#include "tracking/TRStatusMenuDelegate.h"
#include "core/TRLocations.h"

namespace {

// The store makes its own folder inside the user's data folder and nothing
// above it. A bare account may not have that folder yet; the XDG rules say to
// create it, owner-only, rather than fail.
void ensureUserDataFolder() {
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty() || QFileInfo::exists(base)) return;
    if (QDir().mkpath(base)) {
        QFile::setPermissions(base, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                        QFileDevice::ExeOwner);
    }
}

// The activity store as the loop's recorder. The store opens lazily, on the
// first lookup of a tick.
class StoreActivityRecorder final : public TRActivityRecorder {
public:
    void storeActivity(const TRActivity& activity, const QDateTime& start,
                       const QDateTime& stop) override {
        TRActivityStore::sharedInstance().storeActivity(activity, start, stop);
    }
    void save() override { TRActivityStore::sharedInstance().save(); }
    // Asked every tick for the application in front. Only the main
    // application sets the flag, so the answer for the same application
    // stands until its save has been merged in (or the store saved).
    bool applescriptTrackingDisabled(const RunningApplication& application) override {
        TRActivityStore& store = TRActivityStore::sharedInstance();
        if (!m_forgetOnChange) {
            m_forgetOnChange = std::make_unique<QObject>();
            const auto forget = [this] { m_last.reset(); };
            QObject::connect(&store, &TRActivityStore::remoteChangesMerged, m_forgetOnChange.get(),
                             forget);
            QObject::connect(&store, &TRActivityStore::didSaveActivityStore,
                             m_forgetOnChange.get(), forget);
        }
        const QStringList key{application.bundleIdentifier, application.executablePath,
                              application.localizedName};
        if (m_last && m_last->first == key) return m_last->second;
        TRObjectContext* context = store.managedObjectContext();
        if (!context) return false;
        const TRASApplication* stored = TRASApplication::applicationWithRunningApplication(
            *context, TRApplicationSlot(application), false);
        const bool disabled = stored != nullptr && stored->applescriptTrackingDisabledValue();
        m_last.emplace(key, disabled);
        return disabled;
    }

private:
    std::unique_ptr<QObject> m_forgetOnChange;
    std::optional<std::pair<QStringList, bool>> m_last;
};

}  // namespace

TrackingWiring::TrackingWiring() = default;
TrackingWiring::~TrackingWiring() {
    if (logger) logger->endTracking();
    releaseWorkerObjects(platform, worker.get());
}

std::unique_ptr<TrackingWiring> wireTracking() {
    auto wiring = std::make_unique<TrackingWiring>();
    wiring->clock = std::make_unique<TRSystemClock>();
    wiring->settings = std::make_shared<TRSettings>();
    wiring->worker =
        std::make_unique<TRSerialQueue>(QString::fromUtf8(TRLocations::kHelperBundleIdentifier));
    wiring->platform = createPlatformObjects(wiring->worker.get());
    wiring->extractionContext = wiring->platform.context();
    wiring->extractors = std::make_unique<TRExtractorRegistry>(
        TRExtractorRegistry::withDefaultExtractors());
    wiring->activitySource =
        std::make_unique<TRInfoExtractor>(wiring->extractionContext, *wiring->extractors);
    ensureUserDataFolder();
    TRActivityStore::Options storeOptions;
    wiring->notificationCenter = std::make_shared<DBusNotificationCenter>();
    storeOptions.notificationCenter = wiring->notificationCenter;
    storeOptions.settings = wiring->settings;
    // The project store's Blacklist decides what is never recorded; it
    // opens at the first recording.
    storeOptions.blacklist = std::make_shared<TRProjectStoreBlacklist>(
        []() -> TRProjectStore& { return TRProjectStore::sharedInstance(); });
    TRActivityStore::configureSharedInstance(std::move(storeOptions));
    TRProjectStore::Options projectOptions;
    projectOptions.installedApplications = desktopInstalledApplications();
    TRProjectStore::configureSharedInstance(std::move(projectOptions));
    wiring->recorder = std::make_unique<StoreActivityRecorder>();
    wiring->idleTimeSource = createIdleTimeSource();
    wiring->powerAndSessionEvents = std::make_unique<LogindPowerAndSessionEvents>();
    wiring->powerAndSessionEvents->start();
    wiring->powerAndSessionEvents->followScreenSaver(QDBusConnection::sessionBus());
    wiring->statusMenu = std::make_unique<StatusMenuRelay>();

    TRInfoLoggerDependencies dependencies;
    dependencies.activitySource = wiring->activitySource.get();
    dependencies.recorder = wiring->recorder.get();
    dependencies.idleTimeSource = wiring->idleTimeSource.get();
    dependencies.clock = wiring->clock.get();
    dependencies.settings = wiring->settings.get();
    dependencies.worker = wiring->worker.get();
    dependencies.statusMenu = wiring->statusMenu.get();
    dependencies.powerAndSessionEvents = wiring->powerAndSessionEvents.get();
    wiring->logger = std::make_unique<TRInfoLogger>(std::move(dependencies));
    return wiring;
}
