#pragma once
// ActivityStoreOutline: the saved tree of path components as flat arrays,
// with each node's total within a filter, for a reader that only reads (the
// report). A five-year store holds tens of thousands of nodes and a report
// prints a few thousand at most: the outline reads only each node's key,
// parent, level and application, sums the filter's events into it with the
// aggregation's own arithmetic (ActivityStoreTotals), and the values are then
// read for the nodes asked for only.
//
// Nodes are numbered by level, in the file's order within a level, so
// roots() and children() come in the order of the object caches. Built from
// the file as saved: ActivityStoreQueries::savedOutline() declines while the
// context holds unsaved changes.
//
// Main thread only; the outline does not outlive its context.

#include <QString>
#include <QtGlobal>
#include <optional>
#include <vector>

#include "store/activity/ActivityStoreTotals.h"

class SqliteStatement;
class TRObjectContext;

class ActivityStoreOutline final {
public:
    // The tree's shape from the file; nullopt when it cannot be read.
    static std::optional<ActivityStoreOutline> read(TRObjectContext& context);

    // Sets every node's total from the rows of `rows` (key, seconds; none:
    // every total zero).
    void sumRows(SqliteStatement* rows);

    int size() const { return int(m_shape.keys.size()); }
    // Level-0 nodes that name an application, in order.
    const std::vector<int>& roots() const { return m_roots; }
    // The nodes whose parent is `node`, in order.
    std::vector<int> children(int node) const;
    double total(int node) const { return m_totals.total(size_t(node)); }
    int level(int node) const { return m_shape.levels[size_t(node)]; }
    qint64 applicationKey(int node) const { return m_applications[size_t(node)]; }

    qint64 key(int node) const { return m_shape.keys[size_t(node)]; }

    // The values of these nodes, read from the file (a node it no longer
    // holds: a null string).
    std::vector<QString> values(const std::vector<int>& nodes) const;

private:
    ActivityStoreOutline(TRObjectContext& context, ActivityStoreTotals::Shape shape,
                         std::vector<qint64> applications);

    TRObjectContext* m_context;
    ActivityStoreTotals::Shape m_shape;
    std::vector<qint64> m_applications;  // the application column's key; 0: none
    std::vector<int> m_roots;
    std::vector<int> m_firstChild;  // children(i): m_childList[m_firstChild[i] .. [i + 1])
    std::vector<int> m_childList;
    ActivityStoreTotals m_totals;
};
