#include "store/activity/ActivityStoreQueries.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "store/activity/ActivityStoreFile.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

namespace {

QString number(double value) {
    return QString::number(value, 'g', 17);
}

double secondsOf(const QDateTime& date) {
    return double(date.toMSecsSinceEpoch()) / 1000.0;
}

QString idList(const std::vector<TRASPathComponent*>& nodes) {
    QStringList ids;
    ids.reserve(qsizetype(nodes.size()));
    for (TRASPathComponent* node : nodes) {
        if (node && node->primaryKey()) ids.append(QString::number(node->primaryKey()));
    }
    return ids.join(QLatin1Char(','));
}

bool contains(const std::vector<TRASPathComponent*>& nodes, TRASPathComponent* node) {
    return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

// Closed at the start, open at the end, and only the hour's start counts.
QString filterSql(const TRASEventFilter& filter) {
    QString sql;
    if (filter.start.isValid())
        sql += QStringLiteral(" AND startDate >= ") + number(secondsOf(filter.start));
    if (filter.stop.isValid())
        sql += QStringLiteral(" AND startDate < ") + number(secondsOf(filter.stop));
    if (filter.include)
        sql += QStringLiteral(" AND lastPathComponent IN (%1)").arg(idList(*filter.include));
    if (filter.exclude && !filter.exclude->empty())
        sql += QStringLiteral(" AND NOT (lastPathComponent IN (%1))").arg(idList(*filter.exclude));
    return sql;
}

bool matchesFilter(TRASHourlyEvent* event, const TRASEventFilter& filter) {
    const double start = event->startDateSeconds();
    if (filter.start.isValid() && !(start >= secondsOf(filter.start))) return false;
    if (filter.stop.isValid() && !(start < secondsOf(filter.stop))) return false;
    TRASPathComponent* node = event->lastPathComponent();
    if (filter.include && (!node || !contains(*filter.include, node))) return false;
    if (filter.exclude && !filter.exclude->empty() && (!node || contains(*filter.exclude, node)))
        return false;
    return true;
}

// Keys of the range statements kept by the connection (beside the object
// context's own, which use the high byte's values 1 to 6).
constexpr quint64 kRangeStatementKey = quint64(0x52) << 56;

// A statement over the hourly events of the filter, bound: kept by the
// connection when only dates restrict it and no event has unsaved changes
// (the common case: a menu opened, a day's total), else built for the call
// into `owned`. `columns` is one of a few fixed texts, numbered by `query`.
SqliteStatement* rangeStatement(TRObjectContext& context, const char* columns, quint64 query,
                                const TRASEventFilter& filter,
                                std::unique_ptr<SqliteStatement>* owned) {
    const QString exclusion = context.changedRowExclusion(TRASHourlyEvent::kEntity);
    const auto select = [columns] {
        return QStringLiteral("SELECT %1 FROM HourlyEvent WHERE 1").arg(QLatin1String(columns));
    };
    if (filter.include || (filter.exclude && !filter.exclude->empty()) || !exclusion.isEmpty()) {
        *owned = context.database().prepare(select() + filterSql(filter) + exclusion);
        return owned->get();
    }
    const bool from = filter.start.isValid();
    const bool to = filter.stop.isValid();
    SqliteStatement* stmt = context.database().cachedByKey(
        kRangeStatementKey | (query << 2) | (from ? 2 : 0) | (to ? 1 : 0), [&] {
            return select() + (from ? QStringLiteral(" AND startDate >= ?1") : QString()) +
                   (to ? QStringLiteral(" AND startDate < ?2") : QString());
        });
    if (stmt && from) stmt->bind(1, secondsOf(filter.start));
    if (stmt && to) stmt->bind(2, secondsOf(filter.stop));
    return stmt;
}

}  // namespace

const std::vector<TRASPathComponent*>& ActivityStoreQueries::allPathComponentsSortedByPathLevel() {
    if (!m_sortedCache) {
        TRObjectContext* context = m_file.context();
        std::vector<TRASPathComponent*> nodes;
        if (context) nodes = TRASPathComponent::fetchAll(*context);
        std::stable_sort(nodes.begin(), nodes.end(),
                         [](TRASPathComponent* a, TRASPathComponent* b) {
                             return a->pathLevelValue() < b->pathLevelValue();
                         });
        m_sortedCache = std::move(nodes);
    }
    return *m_sortedCache;
}

const std::vector<std::vector<TRASPathComponent*>>&
ActivityStoreQueries::allPathComponentsGroupedByPathLevel() {
    if (!m_byLevelCache) {
        std::vector<std::vector<TRASPathComponent*>> levels;
        for (TRASPathComponent* node : allPathComponentsSortedByPathLevel()) {
            const size_t level = size_t(std::max<qint16>(node->pathLevelValue(), 0));
            // Levels without nodes (only in hand-made data) get empty groups.
            while (levels.size() <= level) levels.emplace_back();
            levels[level].push_back(node);
        }
        m_byLevelCache = std::move(levels);
    }
    return *m_byLevelCache;
}

const ActivityStoreQueries::NodesByParent&
ActivityStoreQueries::allPathComponentsGroupedByPathParent() {
    if (!m_byParentCache) {
        NodesByParent byParent;
        for (TRASPathComponent* node : allPathComponentsSortedByPathLevel()) {
            if (TRASPathComponent* parent = node->pathParent()) byParent[parent].push_back(node);
        }
        m_byParentCache = std::move(byParent);
    }
    return *m_byParentCache;
}

void ActivityStoreQueries::invalidateAllPathComponentsSortedByPathLevelCache() {
    ++m_pathComponentGeneration;
    m_sortedCache.reset();
    m_byLevelCache.reset();
    m_byParentCache.reset();
    m_totals.reset();
}

// Summed here rather than by GROUP BY, which would sort a date range first;
// SQLite picks the index (over a date range the date index, which the
// measurements favour too). Each row costs an array look-up: the nodes the
// range does not reach are never visited.
int ActivityStoreQueries::filterEventsBetweenDate(const TRASEventFilter& filter) {
    const std::vector<TRASPathComponent*>& nodes = allPathComponentsSortedByPathLevel();
    TRObjectContext* context = m_file.context();
    if (!context) return 0;
    if (!m_totals) m_totals.emplace(nodes);
    ActivityStoreTotals& totals = *m_totals;
    totals.begin();
    std::unique_ptr<SqliteStatement> owned;
    SqliteStatement* stmt =
        rangeStatement(*context, "lastPathComponent, duration", 0, filter, &owned);
    qint64 key = 0;
    double seconds = 0;
    while (stmt && stmt->stepIntegerAndReal(&key, &seconds)) {
        if (seconds == seconds) totals.addForKey(key, seconds);  // NULL reads as NaN
    }
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        TRASPathComponent* owner = event->lastPathComponent();
        if (owner && matchesFilter(event, filter)) totals.addForNode(owner, event->durationValue());
    }
    return totals.finish(nodes);
}

std::optional<ActivityStoreOutline> ActivityStoreQueries::savedOutline(int valueLevels) {
    TRObjectContext* context = m_file.context();
    if (!context || context->hasChanges()) return std::nullopt;
    return ActivityStoreOutline::read(*context, valueLevels);
}

void ActivityStoreQueries::filterEventsBetweenDate(const TRASEventFilter& filter,
                                                   ActivityStoreOutline& outline) {
    TRObjectContext* context = m_file.context();
    std::unique_ptr<SqliteStatement> owned;
    SqliteStatement* stmt =
        context ? rangeStatement(*context, "lastPathComponent, duration", 0, filter, &owned)
                : nullptr;
    outline.sumRows(stmt);
}

std::vector<TRASPathComponent*> ActivityStoreQueries::rootPathComponentsWithFilter(
    double threshold) {
    std::vector<TRASPathComponent*> roots;
    for (TRASPathComponent* node : allPathComponentsSortedByPathLevel()) {
        if (node->pathLevelValue() == 0 && node->application() &&
            node->totalDurationWithFilterValue() > threshold)
            roots.push_back(node);
    }
    return roots;
}

double ActivityStoreQueries::sumOfDurationsOfEventsBetweenDate(const TRASEventFilter& filter) {
    TRObjectContext* context = m_file.context();
    if (!context) return 0.0;
    double sum = 0.0;
    std::unique_ptr<SqliteStatement> owned;
    SqliteStatement* stmt = rangeStatement(*context, "TOTAL(duration)", 1, filter, &owned);
    if (stmt && stmt->step()) sum = stmt->real(0);
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        if (matchesFilter(event, filter)) sum += event->durationValue();
    }
    return sum;
}

std::optional<TRError> ActivityStoreQueries::fetchHourlyEvents(
    const TRASEventFilter& filter, std::vector<TRASHourlyEvent*>* events) {
    TRObjectContext* context = m_file.context();
    if (!context) return std::nullopt;
    // The saved rows, less those with unsaved changes, then the live ones.
    auto stmt = context->database().prepare(context->selectSql(TRASHourlyEvent::kEntity) +
                                            QStringLiteral(" WHERE 1") + filterSql(filter) +
                                            context->changedRowExclusion(TRASHourlyEvent::kEntity));
    if (!stmt) return context->database().lastError();
    while (stmt->step()) {
        auto* event = context->readRow<TRASHourlyEvent>(*stmt);
        if (!event->isDeleted() && !event->isUpdated()) events->push_back(event);
    }
    if (auto error = stmt->error()) return error;
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        if (matchesFilter(event, filter)) events->push_back(event);
    }
    return std::nullopt;
}

std::optional<TRError> ActivityStoreQueries::deleteEventsBetweenDate(
    const TRASEventFilter& filter) {
    std::vector<TRASHourlyEvent*> events;
    if (auto error = fetchHourlyEvents(filter, &events)) return error;
    for (TRASHourlyEvent* event : events) m_file.context()->deleteObject(event);
    return std::nullopt;
}

QDateTime ActivityStoreQueries::startDateOfHourlyEvent(bool oldest) {
    TRObjectContext* context = m_file.context();
    if (!context) return QDateTime();
    double result = std::nan("");
    auto stmt =
        context->database().prepare(QStringLiteral("SELECT %1(startDate) FROM HourlyEvent WHERE 1")
                                        .arg(oldest ? QLatin1String("MIN") : QLatin1String("MAX")) +
                                    context->changedRowExclusion(TRASHourlyEvent::kEntity));
    if (stmt && stmt->step()) result = stmt->real(0);
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        const double start = event->startDateSeconds();
        if (std::isnan(start)) continue;
        if (std::isnan(result) || (oldest ? start < result : start > result)) result = start;
    }
    if (std::isnan(result)) return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(result * 1000.0)), Qt::UTC);
}
