#include "store/activity/TRActivityStore.h"

#include <sys/stat.h>
#include <QDir>
#include <QFile>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/DateCalculations.h"
#include "core/TRLocations.h"
#include "platform/DistributedNotificationCenter.h"
#include "store/activity/ActivityStoreSchema.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASEntities.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityComponents.h"
#include "store/activity/TRBlacklist.h"
#include "store/activity/TRStoreReporter.h"

namespace {

std::optional<TRActivityStore::Options>& configuredOptions() {
    static std::optional<TRActivityStore::Options> options;
    return options;
}

double secondsOf(const QDateTime& date) {
    return double(date.toMSecsSinceEpoch()) / 1000.0;
}

QDateTime dateOf(double seconds) {
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000.0)), Qt::UTC);
}

}  // namespace

TRActivityStore::TRActivityStore(Options options, QObject* parent)
    : QObject(parent), m_options(std::move(options)) {
    if (m_options.dataFolder.isEmpty()) m_options.dataFolder = TRLocations::dataFolderPath();
    m_options.dataFolder = QDir::cleanPath(m_options.dataFolder);
    if (m_options.bundleIdentifier.isEmpty())
        m_options.bundleIdentifier = QString::fromLatin1(TRLocations::kHelperBundleIdentifier);
    if (!m_options.clock) m_options.clock = [] { return QDateTime::currentDateTimeUtc(); };
    if (!m_options.settings) m_options.settings = std::make_shared<TRSettings>();
    if (!m_options.blacklist) m_options.blacklist = std::make_shared<TRNoBlacklist>();
    if (!m_options.reporter) m_options.reporter = std::make_shared<TRLoggingStoreReporter>();
    if (!m_options.iconLookup) m_options.iconLookup = std::make_shared<TRASNoIcons>();
    if (!m_options.abortProcess) m_options.abortProcess = [] { std::abort(); };
    m_timeThreshold = m_options.settings->snapshot().activityStoreTimeThreshold;
    // Listening starts before the file is opened, so no save of the main
    // application is missed.
    if (m_options.notificationCenter) {
        m_observerToken = m_options.notificationCenter->addObserver(
            QString::fromLatin1(kContextDidSaveDistributedNotification),
            [this](const QString&, const QString& object,
                   const DistributedNotificationCenter::UserInfo& userInfo) {
                receiveRemoteSave(object, userInfo);
            });
    }
}

TRActivityStore::~TRActivityStore() {
    if (m_options.notificationCenter && m_observerToken >= 0)
        m_options.notificationCenter->removeObserver(m_observerToken);
    m_sortedCache.reset();
    m_byLevelCache.reset();
    m_byParentCache.reset();
    m_context.reset();
    m_db.close();
}

void TRActivityStore::configureSharedInstance(Options options) {
    configuredOptions() = std::move(options);
}

TRActivityStore& TRActivityStore::sharedInstance() {
    // Kept for the process's lifetime on purpose: saves at exit go through it.
    static TRActivityStore* instance = new TRActivityStore(configuredOptions().value_or(Options()));
    return *instance;
}

TRObjectContext* TRActivityStore::managedObjectContext() {
    if (!m_openAttempted) open();
    return m_context.get();
}

bool TRActivityStore::createDataFolder() {
    const QString folder = m_options.dataFolder;
    if (QFileInfo::exists(folder)) return true;
    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), 0700) == 0) {
        ::chmod(path.constData(), 0700);
        return true;
    }
    const QString reason = QString::fromLocal8Bit(std::strerror(errno));
    m_options.reporter->logLine(
        QStringLiteral("Failed to create App Support directory %1 : %2").arg(folder, reason));
    m_options.reporter->logLine(
        QStringLiteral("Error creating application support directory at %1 : %2")
            .arg(folder, reason));
    return false;
}

bool TRActivityStore::open() {
    m_openAttempted = true;
    if (!createDataFolder()) {
        m_options.reporter->presentError(
            TRError{QStringLiteral("YOUR_ERROR_DOMAIN"), 9999,
                    QStringLiteral("Failed to initialize the store"),
                    QStringLiteral("There was an error building up the data file.")});
        return false;
    }
    const QString file = QDir(m_options.dataFolder).filePath(QStringLiteral("ActivityStore.db"));
    if (!QFileInfo::exists(file)) {
        // SQLite gives its -wal and -shm files the database file's mode.
        QFile create(file);
        if (create.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                        QFileDevice::ReadOwner | QFileDevice::WriteOwner))
            create.close();
    }
    QString storeUuid;
    std::optional<TRError> error = m_db.open(file);
    if (!error) error = ActivityStoreSchema::prepare(m_db, &storeUuid);
    if (error) {
        // The helper never runs without its store.
        m_options.reporter->presentError(*error);
        m_db.close();
        m_options.abortProcess();
        return false;
    }
    m_context = std::make_unique<TRObjectContext>(m_db, storeUuid, activityStoreEntities());
    m_context->objectsInsertedOrDeleted = [this] {
        if (m_sortedCache) invalidateAllPathComponentsSortedByPathLevelCache();
    };
    return true;
}

void TRActivityStore::setTimeThreshold(double seconds) {
    if (seconds == m_timeThreshold) return;
    // The filtered views depend on the threshold.
    Q_EMIT rootPathComponentsWithFilterWillChange();
    m_timeThreshold = seconds;
    Q_EMIT rootPathComponentsWithFilterDidChange();
    m_options.settings->setValue(TRSettingKey::activityStoreTimeThreshold, seconds);
}

void TRActivityStore::storeActivity(const TRActivity& activity, const QDateTime& start,
                                    const QDateTime& stop) {
    if (std::holds_alternative<std::monostate>(activity.application())) return;
    if (!start.isValid() || !stop.isValid() || start > stop) return;
    TRASPathComponent* node = lastPathComponentForActivity(activity);
    if (!node) return;
    addActivity(activity, node, start, stop);
}

QStringList TRActivityStore::componentsForActivity(const TRActivity& activity) {
    auto maxLevel = [this] { return m_options.settings->snapshot().maxURLTrackingLevel; };
    return TRActivityComponents::componentsForDetails(activity.details(), maxLevel);
}

TRASPathComponent* TRActivityStore::lastPathComponentForActivity(const TRActivity& activity) {
    if (std::holds_alternative<std::monostate>(activity.application())) return nullptr;
    const QStringList components = componentsForActivity(activity);
    if (m_options.blacklist->isBlacklisted(activity.runningApplication(),
                                           pathStringForPathComponents(components)))
        return nullptr;
    TRASApplication* app =
        TRASApplication::applicationWithRunningApplication(*this, activity.application(), true);
    TRASPathComponent* node = app ? app->pathRoot() : nullptr;
    for (const QString& component : components) {
        if (!node) break;
        node = node->childComponentWithValue(component, true);
    }
    return node;
}

void TRActivityStore::addActivity(const TRActivity&, TRASPathComponent* node,
                                  const QDateTime& start, const QDateTime& stop) {
    if (!node) return;
    node->moveStartDateOfChildren(start);
    node->moveStopDateOfChildren(stop);
    const double s = secondsOf(start);
    const double e = secondsOf(stop);
    const double boundary = secondsOf(Calculations::beginningOfHour(start)) + 3600.0;
    TRASHourlyEvent* event = node->hourlyEventWithDate(start, true);
    double lastStart = s;
    if (e > boundary) {
        event->setDurationValue(event->durationValue() + (boundary - s));
        double t = boundary;
        for (;;) {
            event = node->hourlyEventWithDate(dateOf(t), true);
            const double next = t + 3600.0;
            if (!(e > next)) break;
            event->setDurationValue(event->durationValue() + 3600.0);
            t = next;
        }
        lastStart = t;
    }
    event->setDurationValue(event->durationValue() + (e - lastStart));
}

QStringList TRActivityStore::componentsForPath(const QString& path) {
    return TRActivityComponents::componentsForPath(path);
}
