#pragma once
// ActivityStoreQueries: the node caches, the filtered aggregation and the
// range queries over hourly events.
//
// Every query sees the context's unsaved changes as well as the file: the
// saved rows of changed events are left out of the SQL and their live values
// added, so the menu's "today" is right between two saves. An event belongs
// to a range when its hour begins inside it (closed start, open stop).
//
// The aggregation runs one query and sums in C++ (a GROUP BY would sort a
// date range first) into flat arrays (ActivityStoreTotals), adds the totals
// bottom-up over only the nodes the range reached, and keeps them in memory
// only: written back they would make every aggregation a save of thousands
// of rows for the other program to merge.
//
// The node caches are built on first use and dropped whenever objects are
// inserted or deleted (objectsInsertedOrDeleted); plain updates keep them.
// Node pointers taken from them are not kept across such a change.
//
// Main thread only.

#include <QDateTime>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/TRError.h"
#include "store/activity/ActivityStoreOutline.h"
#include "store/activity/ActivityStoreTotals.h"

class ActivityStoreFile;
class TRASHourlyEvent;
class TRASPathComponent;

// Which nodes' hourly events a range operation covers. A missing bound or set
// restricts nothing; an empty include set matches nothing; an empty exclude
// set excludes nothing.
struct TRASEventFilter final {
    QDateTime start;  // invalid: no lower bound (inclusive)
    QDateTime stop;   // invalid: no upper bound (exclusive)
    std::optional<std::vector<TRASPathComponent*>> include;
    std::optional<std::vector<TRASPathComponent*>> exclude;
};

class ActivityStoreQueries final {
public:
    using NodesByParent = std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>>;

    // REQUIRES: file outlives the queries. Every call opens the store if
    // needed and answers "nothing" when it cannot be opened.
    explicit ActivityStoreQueries(ActivityStoreFile& file) : m_file(file) {}

    const std::vector<TRASPathComponent*>& allPathComponentsSortedByPathLevel();
    // Indexed by level; a level without nodes (only in hand-made data) is empty.
    const std::vector<std::vector<TRASPathComponent*>>& allPathComponentsGroupedByPathLevel();
    const NodesByParent& allPathComponentsGroupedByPathParent();
    void invalidateAllPathComponentsSortedByPathLevelCache();
    // Increases whenever the node caches are dropped.
    quint64 pathComponentGeneration() const { return m_pathComponentGeneration; }
    // The context's hook: drops the caches if they were built.
    void objectsInsertedOrDeleted() {
        if (m_sortedCache) invalidateAllPathComponentsSortedByPathLevelCache();
    }

    // Sets every node's totalDurationWithFilter; returns how many changed.
    int filterEventsBetweenDate(const TRASEventFilter& filter);
    // The saved tree as a flat outline, no node object read, every total
    // zero, the values down to level valueLevels; nullopt while the context
    // holds unsaved changes (the outline would miss them) or when the store
    // cannot be read.
    std::optional<ActivityStoreOutline> savedOutline(int valueLevels);
    // The same totals as above, set in the outline only. REQUIRES: still
    // no unsaved changes.
    void filterEventsBetweenDate(const TRASEventFilter& filter, ActivityStoreOutline& outline);
    // Roots of an application whose total exceeds threshold.
    std::vector<TRASPathComponent*> rootPathComponentsWithFilter(double threshold);
    double sumOfDurationsOfEventsBetweenDate(const TRASEventFilter& filter);
    // Deletes the matching events without saving. REQUIRES: the store is
    // open. A failed read deletes nothing and comes back.
    std::optional<TRError> deleteEventsBetweenDate(const TRASEventFilter& filter);
    // Invalid when there is no event.
    QDateTime startDateOfOldestHourlyEvent() { return startDateOfHourlyEvent(true); }
    QDateTime startDateOfNewestHourlyEvent() { return startDateOfHourlyEvent(false); }

private:
    std::optional<TRError> fetchHourlyEvents(const TRASEventFilter& filter,
                                             std::vector<TRASHourlyEvent*>* events);
    QDateTime startDateOfHourlyEvent(bool oldest);

    ActivityStoreFile& m_file;
    quint64 m_pathComponentGeneration = 1;
    std::optional<std::vector<TRASPathComponent*>> m_sortedCache;
    std::optional<std::vector<std::vector<TRASPathComponent*>>> m_byLevelCache;
    std::optional<NodesByParent> m_byParentCache;
    std::optional<ActivityStoreTotals> m_totals;  // built with the node list, dropped with it
};
