#pragma once
// ActivityStoreOutline: the saved tree of path components as flat arrays,
// with each node's total within a filter, for a reader that only reads (the
// report). A five-year store holds tens of thousands of nodes and a report
// prints a few thousand at most: the outline reads only each node's key,
// parent, level, application and, down to the levels a reader prints, value,
// and sums the filter's events into it with the aggregation's own arithmetic
// (ActivityStoreTotals).
//
// Nodes are numbered by level, in the file's order within a level; roots()
// and children() come in the order the objects list them. Built from
// the file as saved: ActivityStoreQueries::savedOutline() declines while the
// context holds unsaved changes.
//
// Main thread only.

#include <QString>
#include <QtGlobal>
#include <optional>
#include <vector>

#include "store/activity/ActivityStoreTotals.h"

class SqliteStatement;
class TRObjectContext;

class ActivityStoreOutline final {
public:
    // The tree's shape from the file, and the values of the nodes down to
    // level valueLevels; nullopt when it cannot be read.
    static std::optional<ActivityStoreOutline> read(TRObjectContext& context, int valueLevels);

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

    // REQUIRES: level(node) within the valueLevels read.
    const QString& value(int node) const { return m_values[size_t(node)]; }

private:
    ActivityStoreOutline(ActivityStoreTotals::Shape shape, std::vector<qint64> applications,
                         std::vector<QString> values);

    ActivityStoreTotals::Shape m_shape;
    std::vector<qint64> m_applications;  // the application column's key; 0: none
    std::vector<QString> m_values;
    std::vector<int> m_roots;
    std::vector<int> m_firstChild;  // children(i): m_childList[m_firstChild[i] .. [i + 1])
    std::vector<int> m_childList;
    ActivityStoreTotals m_totals;
};
