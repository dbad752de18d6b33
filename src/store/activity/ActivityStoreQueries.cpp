#include "store/activity/ActivityStoreQueries.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

// Whether the range spans more than a quarter of the time between the
// roots' earliest start and latest stop (only a choice of index, so stale
// bounds cost speed, never correctness).
bool coversMostRecordedTime(const TRASEventFilter& filter,
                            const std::vector<TRASPathComponent*>& nodes) {
    if (!filter.start.isValid() && !filter.stop.isValid()) return true;
    double first = std::numeric_limits<double>::infinity();
    double last = -first;
    for (TRASPathComponent* node : nodes) {
        if (node->pathLevelValue() != 0) break;  // sorted by level: the roots come first
        if (node->startDateOfChildren().isValid())
            first = std::min(first, secondsOf(node->startDateOfChildren()));
        if (node->stopDateOfChildren().isValid())
            last = std::max(last, secondsOf(node->stopDateOfChildren()));
    }
    if (!(last > first)) return false;
    const double from = filter.start.isValid() ? std::max(first, secondsOf(filter.start)) : first;
    const double to = filter.stop.isValid() ? std::min(last, secondsOf(filter.stop)) : last;
    return (to - from) > 0.25 * (last - first);
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
}

// Adds each matching event's seconds to its node's temporary total: the
// saved rows in one query, then the events with unsaved changes.
void ActivityStoreQueries::addMatchingEventsToTemporaryTotals(
    const TRASEventFilter& filter, const std::vector<TRASPathComponent*>& nodes) {
    TRObjectContext* context = m_file.context();
    if (!context) return;
    // Summed here rather than by GROUP BY, which would sort a date range
    // first. Over most of the recorded time the node index is faster: it
    // delivers each node's rows together, so a node is looked up once per run.
    const bool byNode = coversMostRecordedTime(filter, nodes);
    auto stmt = context->database().prepare(
        QStringLiteral("SELECT lastPathComponent, duration FROM HourlyEvent%1 WHERE 1")
            .arg(byNode ? QStringLiteral(" INDEXED BY HourlyEvent_lastPathComponent") : QString()) +
        filterSql(filter) + context->changedRowExclusion(TRASHourlyEvent::kEntity));
    qint64 lastId = -1;
    TRASPathComponent* node = nullptr;
    while (stmt && stmt->step()) {
        const qint64 id = stmt->int64(0);
        if (id != lastId) {
            node = context->registeredObject<TRASPathComponent>(id);
            if (node && node->isDeleted()) node = nullptr;
            lastId = id;
        }
        if (node && !stmt->isNull(1))
            node->setTotalDurationWithFilterTemporaryValue(
                node->totalDurationWithFilterTemporaryValue() + stmt->real(1));
    }
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        TRASPathComponent* owner = event->lastPathComponent();
        if (owner && matchesFilter(event, filter))
            owner->setTotalDurationWithFilterTemporaryValue(
                owner->totalDurationWithFilterTemporaryValue() + event->durationValue());
    }
}

int ActivityStoreQueries::filterEventsBetweenDate(const TRASEventFilter& filter) {
    const std::vector<TRASPathComponent*>& nodes = allPathComponentsSortedByPathLevel();
    for (TRASPathComponent* node : nodes) node->setTotalDurationWithFilterTemporaryValue(0);
    addMatchingEventsToTemporaryTotals(filter, nodes);
    // Deepest level first: each node is complete before it is added upward.
    for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) {
        if (TRASPathComponent* parent = (*it)->pathParent())
            parent->setTotalDurationWithFilterTemporaryValue(
                parent->totalDurationWithFilterTemporaryValue() +
                (*it)->totalDurationWithFilterTemporaryValue());
    }
    int changed = 0;
    for (TRASPathComponent* node : nodes) {
        if (node->totalDurationWithFilterValue() != node->totalDurationWithFilterTemporaryValue()) {
            node->setTotalDurationWithFilterValue(node->totalDurationWithFilterTemporaryValue());
            ++changed;
        }
    }
    return changed;
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
    auto stmt = context->database().prepare(
        QStringLiteral("SELECT TOTAL(duration) FROM HourlyEvent WHERE 1") + filterSql(filter) +
        context->changedRowExclusion(TRASHourlyEvent::kEntity));
    if (stmt && stmt->step()) sum = stmt->real(0);
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        if (matchesFilter(event, filter)) sum += event->durationValue();
    }
    return sum;
}

std::vector<TRASHourlyEvent*> ActivityStoreQueries::fetchHourlyEvents(
    const TRASEventFilter& filter) {
    TRObjectContext* context = m_file.context();
    if (!context) return {};
    // The saved rows, less those with unsaved changes, then the live ones.
    std::vector<TRASHourlyEvent*> events;
    auto stmt = context->database().prepare(context->selectSql(TRASHourlyEvent::kEntity) +
                                            QStringLiteral(" WHERE 1") + filterSql(filter) +
                                            context->changedRowExclusion(TRASHourlyEvent::kEntity));
    while (stmt && stmt->step()) {
        auto* event = context->readRow<TRASHourlyEvent>(*stmt);
        if (!event->isDeleted() && !event->isUpdated()) events.push_back(event);
    }
    for (TRASHourlyEvent* event : context->liveChangedObjects<TRASHourlyEvent>()) {
        if (matchesFilter(event, filter)) events.push_back(event);
    }
    return events;
}

bool ActivityStoreQueries::deleteEventsBetweenDate(const TRASEventFilter& filter) {
    TRObjectContext* context = m_file.context();
    if (!context) return false;
    for (TRASHourlyEvent* event : fetchHourlyEvents(filter)) context->deleteObject(event);
    return true;
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
