#pragma once
// TRActivityStore: the activity store as the rest of the helper sees it.
//
// One object per data folder (the helper keeps one for the process:
// sharedInstance()). It puts four jobs together, each in its own class:
//  - opening the file (ActivityStoreFile): folder 0700, file 0600, schema
//    created or migrated, the errors when that fails;
//  - recording (ActivityStoreRecorder): a finished activity filed under its
//    application and path components, its seconds spread over clock hours;
//  - saving and syncing (ActivityStoreSync): one transaction per save,
//    announced to the main application, whose saves are merged in;
//  - queries (ActivityStoreQueries): node caches, the filtered aggregation and
//    the range queries.
// What is left here is the view state (time threshold, filter days) and the
// signals.
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
#include <functional>
#include <memory>
#include <vector>

#include "core/TRActivity.h"
#include "core/TRSettings.h"
#include "store/activity/ActivityStoreFile.h"
#include "store/activity/ActivityStoreQueries.h"
#include "store/activity/ActivityStoreRecorder.h"
#include "store/activity/ActivityStoreSync.h"

class DistributedNotificationCenter;
class TRASIconLookup;
class TRASPathComponent;
class TRBlacklist;
class TRObjectContext;
class TRStoreReporter;

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
        // Reads the file as it is and never writes it (see ActivityStoreFile);
        // a reader must not save.
        bool readOnly = false;
    };

    explicit TRActivityStore(Options options, QObject* parent = nullptr);
    ~TRActivityStore() override;

    // REQUIRES: called before the first sharedInstance(), on the main thread.
    static void configureSharedInstance(Options options);
    static TRActivityStore& sharedInstance();

    QString applicationSupportDirectory() const { return m_options.dataFolder; }
    const QString& bundleIdentifier() const { return m_options.bundleIdentifier; }
    // Opens the store on first use; nullptr when it could not be opened.
    TRObjectContext* managedObjectContext() { return m_file.context(); }
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

    // Recording (does not save): see ActivityStoreRecorder.
    void storeActivity(const TRActivity& activity, const QDateTime& start, const QDateTime& stop) {
        m_recorder.storeActivity(activity, start, stop);
    }
    TRASPathComponent* lastPathComponentForActivity(const TRActivity& activity) {
        return m_recorder.lastPathComponentForActivity(activity);
    }
    void addActivity(const TRActivity&, TRASPathComponent* node, const QDateTime& start,
                     const QDateTime& stop) {
        ActivityStoreRecorder::addActivity(node, start, stop);
    }

    // Saving. A failed save is shown and logged; its changes wait for the next.
    void saveWithNotification(bool notify);
    void save() { saveWithNotification(true); }
    // Saves only if the store was opened; never opens it.
    void prepareForTermination();

    // Node caches and range queries: see ActivityStoreQueries.
    const std::vector<TRASPathComponent*>& allPathComponentsSortedByPathLevel() {
        return m_queries.allPathComponentsSortedByPathLevel();
    }
    const std::vector<std::vector<TRASPathComponent*>>& allPathComponentsGroupedByPathLevel() {
        return m_queries.allPathComponentsGroupedByPathLevel();
    }
    const ActivityStoreQueries::NodesByParent& allPathComponentsGroupedByPathParent() {
        return m_queries.allPathComponentsGroupedByPathParent();
    }
    void invalidateAllPathComponentsSortedByPathLevelCache() {
        m_queries.invalidateAllPathComponentsSortedByPathLevelCache();
    }
    // Increases whenever the node caches are dropped: node pointers taken
    // from them before may be gone (the project store's subtrees check it).
    quint64 pathComponentGeneration() const { return m_queries.pathComponentGeneration(); }
    // Sets every node's totalDurationWithFilter; returns how many changed.
    int filterEventsBetweenDate(const TRASEventFilter& filter);
    // The same totals without node objects, for a reader that only reads.
    std::optional<ActivityStoreOutline> savedOutline(int valueLevels) {
        return m_queries.savedOutline(valueLevels);
    }
    void filterEventsBetweenDate(const TRASEventFilter& filter, ActivityStoreOutline& outline) {
        m_queries.filterEventsBetweenDate(filter, outline);
    }
    double sumOfDurationsOfEventsBetweenDate(const TRASEventFilter& filter) {
        return m_queries.sumOfDurationsOfEventsBetweenDate(filter);
    }
    // Deletes the matching events and saves with notification.
    void deleteEventsBetweenDate(const TRASEventFilter& filter);
    std::vector<TRASPathComponent*> rootPathComponentsWithFilter() {
        return m_queries.rootPathComponentsWithFilter(m_timeThreshold);
    }
    // With another threshold than the store's, which stays as it is.
    std::vector<TRASPathComponent*> rootPathComponentsWithFilter(double threshold) {
        return m_queries.rootPathComponentsWithFilter(threshold);
    }
    QDateTime startDateOfOldestHourlyEvent() { return m_queries.startDateOfOldestHourlyEvent(); }
    QDateTime startDateOfNewestHourlyEvent() { return m_queries.startDateOfNewestHourlyEvent(); }

Q_SIGNALS:
    // The in-process form of kDidSaveActivityStoreNotification, for a program
    // whose id does not end in "Helper".
    void didSaveActivityStore();
    void rootPathComponentsWithFilterWillChange();
    void rootPathComponentsWithFilterDidChange();
    // Another program's save was merged into the context.
    void remoteChangesMerged();

private:
    static Options withDefaults(Options options);

    Options m_options;
    double m_timeThreshold = 0;
    QDateTime m_firstFilterDay;
    QDateTime m_lastFilterDay;
    // Declared in the order they depend on each other: the file first.
    ActivityStoreFile m_file;
    ActivityStoreQueries m_queries;
    ActivityStoreRecorder m_recorder;
    ActivityStoreSync m_sync;
};
