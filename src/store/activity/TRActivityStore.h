#pragma once
// TRActivityStore: the process-wide owner of the activity store.
//
// It finds the data folder, opens "ActivityStore.db" there on first use
// (folder 0700, files 0600, schema created or migrated), owns the one
// TRObjectContext over the activity store's entities, files each finished activity under its
// application and path components with its seconds spread over clock hours, saves and announces
// saves to the main application, merges the main application's saves, and
// answers the range queries over recorded time.
//
// Everything it uses from outside comes in through Options: the clock, the
// helper's settings, the blacklist, the notification centre, the reporter
// for errors and log lines, the icon lookup. A store that cannot be opened
// ends the process after telling the user (Options::abortProcess).
//
// Main thread only; received notifications are handled on the main thread.

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/TRActivity.h"
#include "core/TRSettings.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

class DistributedNotificationCenter;
class TRASApplication;
class TRASHourlyEvent;
class TRASIconLookup;
class TRASPathComponent;
class TRBlacklist;
class TRStoreReporter;

inline constexpr char kDidSaveActivityStoreNotification[] =
    "VorlixDidSaveActivityStoreNotification";
inline constexpr char kContextDidSaveDistributedNotification[] =
    "VorlixActivityStoreManagedObjectContextDidSaveDistributedNotification";

// Which nodes' hourly events a range operation covers. A missing bound or set
// restricts nothing; an empty include set matches nothing; an empty exclude
// set excludes nothing.
struct TRASEventFilter final {
    QDateTime start;  // invalid: no lower bound (inclusive)
    QDateTime stop;   // invalid: no upper bound (exclusive)
    std::optional<std::vector<TRASPathComponent*>> include;
    std::optional<std::vector<TRASPathComponent*>> exclude;
};

class TRActivityStore final : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString dataFolder;                      // empty: TRLocations::dataFolderPath()
        QString bundleIdentifier;                // empty: the helper's own id
        std::function<QDateTime()> clock;        // empty: the system clock
        std::shared_ptr<TRSettings> settings;    // empty: the helper's file
        std::shared_ptr<TRBlacklist> blacklist;  // empty: nothing is
        std::shared_ptr<DistributedNotificationCenter> notificationCenter;  // may stay empty
        std::shared_ptr<TRStoreReporter> reporter;                          // empty: the log
        std::shared_ptr<TRASIconLookup> iconLookup;                         // empty: no icons
        std::function<void()> abortProcess;                                 // empty: std::abort
    };

    explicit TRActivityStore(Options options, QObject* parent = nullptr);
    ~TRActivityStore() override;

    // REQUIRES: called before the first sharedInstance(), on the main thread.
    static void configureSharedInstance(Options options);
    static TRActivityStore& sharedInstance();

    QString applicationSupportDirectory() const { return m_options.dataFolder; }
    const QString& bundleIdentifier() const { return m_options.bundleIdentifier; }
    // Opens the store on first use; nullptr when it could not be opened.
    TRObjectContext* managedObjectContext();
    bool isOpen() const { return m_context != nullptr; }
    QDateTime now() const { return m_options.clock(); }
    // For the nodes' and applications' icon(): where icons come from.
    const TRASIconLookup& iconLookup() const { return *m_options.iconLookup; }

    double timeThreshold() const { return m_timeThreshold; }
    // Writes a different value back to the settings; the filtered views
    // announce a change.
    void setTimeThreshold(double seconds);
    QDateTime firstFilterDay() const { return m_firstFilterDay; }
    QDateTime lastFilterDay() const { return m_lastFilterDay; }
    void setFirstFilterDay(const QDateTime& day) { m_firstFilterDay = day; }
    void setLastFilterDay(const QDateTime& day) { m_lastFilterDay = day; }

    // Recording (does not save). Dropped: no application, an invalid date, a
    // start after the stop, a blacklisted activity.
    void storeActivity(const TRActivity& activity, const QDateTime& start, const QDateTime& stop);
    TRASPathComponent* lastPathComponentForActivity(const TRActivity& activity);
    void addActivity(const TRActivity& activity, TRASPathComponent* node, const QDateTime& start,
                     const QDateTime& stop);
    static QStringList componentsForPath(const QString& path);

    // Saving. A failed save is shown and logged; its changes wait for the next.
    void saveWithNotification(bool notify);
    void save() { saveWithNotification(true); }
    // Saves only if the store was opened; never opens it.
    void prepareForTermination();

    // Node caches, dropped whenever objects are inserted or deleted.
    const std::vector<TRASPathComponent*>& allPathComponentsSortedByPathLevel();
    const std::vector<std::vector<TRASPathComponent*>>& allPathComponentsGroupedByPathLevel();
    const std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>>&
    allPathComponentsGroupedByPathParent();
    void invalidateAllPathComponentsSortedByPathLevelCache();
    // Increases whenever the node caches are dropped: node pointers taken
    // from them before may be gone (the project store's subtrees check it).
    quint64 pathComponentGeneration() const { return m_pathComponentGeneration; }

    // Range queries over hourly events (an event belongs to a range when its
    // hour begins inside it). Unsaved changes are included.
    // Sets every node's totalDurationWithFilter; returns how many changed.
    int filterEventsBetweenDate(const TRASEventFilter& filter);
    double sumOfDurationsOfEventsBetweenDate(const TRASEventFilter& filter);
    // Deletes the matching events and saves with notification.
    void deleteEventsBetweenDate(const TRASEventFilter& filter);
    std::vector<TRASPathComponent*> rootPathComponentsWithFilter();
    QDateTime startDateOfOldestHourlyEvent();
    QDateTime startDateOfNewestHourlyEvent();

Q_SIGNALS:
    // The in-process form of kDidSaveActivityStoreNotification, for a program
    // whose id does not end in "Helper".
    void didSaveActivityStore();
    void rootPathComponentsWithFilterWillChange();
    void rootPathComponentsWithFilterDidChange();
    // Another program's save was merged into the context.
    void remoteChangesMerged();

private:
    bool open();
    bool createDataFolder();
    void receiveRemoteSave(const QString& object, const QMap<QString, QByteArray>& userInfo);
    void mergeRemoteSave(const QString& object, const QMap<QString, QByteArray>& userInfo);
    void announceSave(const TRSaveResult& result);
    QStringList componentsForActivity(const TRActivity& activity);
    QString filterSql(const TRASEventFilter& filter) const;
    void addMatchingEventsToTemporaryTotals(const TRASEventFilter& filter,
                                            const std::vector<TRASPathComponent*>& nodes);
    static bool coversMostRecordedTime(const TRASEventFilter& filter,
                                       const std::vector<TRASPathComponent*>& nodes);
    bool matchesFilter(TRASHourlyEvent* event, const TRASEventFilter& filter) const;
    std::vector<TRASHourlyEvent*> fetchHourlyEvents(const TRASEventFilter& filter);
    QDateTime dateForFunctionOnHourlyEvents(const char* function);

    Options m_options;
    double m_timeThreshold = 0;
    QDateTime m_firstFilterDay;
    QDateTime m_lastFilterDay;
    bool m_openAttempted = false;
    SqliteDatabase m_db;
    std::unique_ptr<TRObjectContext> m_context;
    int m_observerToken = -1;

    quint64 m_pathComponentGeneration = 1;
    std::optional<std::vector<TRASPathComponent*>> m_sortedCache;
    std::optional<std::vector<std::vector<TRASPathComponent*>>> m_byLevelCache;
    std::optional<std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>>>
        m_byParentCache;
};
