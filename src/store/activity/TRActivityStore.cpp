#include "store/activity/TRActivityStore.h"

#include <QDir>
#include <cstdlib>
#include <optional>

#include "core/TRLocations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRBlacklist.h"
#include "store/activity/TRStoreReporter.h"

namespace {

std::optional<TRActivityStore::Options>& configuredOptions() {
    static std::optional<TRActivityStore::Options> options;
    return options;
}

}  // namespace

TRActivityStore::Options TRActivityStore::withDefaults(Options options) {
    if (options.dataFolder.isEmpty()) options.dataFolder = TRLocations::dataFolderPath();
    options.dataFolder = QDir::cleanPath(options.dataFolder);
    if (options.bundleIdentifier.isEmpty())
        options.bundleIdentifier = QString::fromLatin1(TRLocations::kHelperBundleIdentifier);
    if (!options.clock) options.clock = [] { return QDateTime::currentDateTimeUtc(); };
    if (!options.settings) options.settings = std::make_shared<TRSettings>();
    if (!options.blacklist) options.blacklist = std::make_shared<TRNoBlacklist>();
    if (!options.reporter) options.reporter = std::make_shared<TRLoggingStoreReporter>();
    if (!options.iconLookup) options.iconLookup = std::make_shared<TRASNoIcons>();
    if (!options.abortProcess) options.abortProcess = [] { std::abort(); };
    return options;
}

// Listening starts here, before the file is opened, so no save of the main
// application is missed.
TRActivityStore::TRActivityStore(Options options, QObject* parent)
    : QObject(parent),
      m_options(withDefaults(std::move(options))),
      m_timeThreshold(m_options.settings->snapshot().activityStoreTimeThreshold),
      m_file(m_options.dataFolder, m_options.readOnly, *m_options.reporter, m_options.abortProcess,
             [this](std::uint8_t entity) {
                 m_queries.objectsInsertedOrDeleted();
                 // Only applications answer the recorder's lookups.
                 if (entity == TRASApplication::kEntity) m_recorder.forgetApplications();
             }),
      m_queries(m_file),
      m_recorder(m_file, *m_options.settings, *m_options.blacklist),
      m_sync(m_file, m_options.bundleIdentifier, m_options.notificationCenter, *m_options.reporter,
             this, [this] {
                 m_recorder.forgetApplications();
                 Q_EMIT remoteChangesMerged();
             }) {}

TRActivityStore::~TRActivityStore() = default;

void TRActivityStore::configureSharedInstance(Options options) {
    configuredOptions() = std::move(options);
}

TRActivityStore& TRActivityStore::sharedInstance() {
    // Kept for the process's lifetime on purpose: saves at exit go through it.
    static TRActivityStore* instance = new TRActivityStore(configuredOptions().value_or(Options()));
    return *instance;
}

void TRActivityStore::setTimeThreshold(double seconds) {
    if (seconds == m_timeThreshold) return;
    // The filtered views depend on the threshold.
    Q_EMIT rootPathComponentsWithFilterWillChange();
    m_timeThreshold = seconds;
    Q_EMIT rootPathComponentsWithFilterDidChange();
    m_options.settings->setValue(TRSettingKey::activityStoreTimeThreshold, seconds);
}

void TRActivityStore::saveWithNotification(bool notify) {
    m_sync.save();
    if (!notify) return;
    if (m_sync.isHelper())
        m_sync.postDidSave();
    else
        Q_EMIT didSaveActivityStore();
}

void TRActivityStore::prepareForTermination() {
    if (!m_file.openedContext()) return;
    saveWithNotification(m_sync.isHelper());
}

int TRActivityStore::filterEventsBetweenDate(const TRASEventFilter& filter) {
    Q_EMIT rootPathComponentsWithFilterWillChange();
    const int changed = m_queries.filterEventsBetweenDate(filter);
    Q_EMIT rootPathComponentsWithFilterDidChange();
    return changed;
}

void TRActivityStore::deleteEventsBetweenDate(const TRASEventFilter& filter) {
    if (!m_file.context()) return;
    // A failed read is shown and nothing is saved or announced.
    if (std::optional<TRError> error = m_queries.deleteEventsBetweenDate(filter)) {
        m_options.reporter->presentError(*error);
        return;
    }
    saveWithNotification(true);
}
