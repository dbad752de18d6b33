#include "store/activity/ActivityStoreOutline.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

namespace {

// One row of the narrow read.
struct ShapeRow final {
    qint64 key = 0;
    qint64 parent = 0;  // 0: none
    int level = 0;
    qint64 application = 0;
    QString value;  // read down to the levels asked for
};

// By level and, within a level, in the file's order (a counting sort): the
// order of the node cache, so sums and ties come out as there.
std::vector<ShapeRow> sortedByLevel(const std::vector<ShapeRow>& rows) {
    int lowest = 0;  // below 0 only in hand-made data
    for (const ShapeRow& row : rows) lowest = std::min(lowest, row.level);
    std::vector<size_t> first;
    for (const ShapeRow& row : rows) {
        const size_t slot = size_t(row.level - lowest);
        if (slot + 2 > first.size()) first.resize(slot + 2, 0);
        ++first[slot + 1];
    }
    std::partial_sum(first.begin(), first.end(), first.begin());
    std::vector<ShapeRow> sorted(rows.size());
    for (const ShapeRow& row : rows) sorted[first[size_t(row.level - lowest)]++] = row;
    return sorted;
}

// Index by key: an array while keys stay near the node count (they are
// handed out in order), else a map.
class IndexOfKey final {
public:
    explicit IndexOfKey(const std::vector<ShapeRow>& rows) {
        qint64 maxKey = 0;
        for (const ShapeRow& row : rows) maxKey = std::max(maxKey, row.key);
        const bool dense = maxKey <= qint64(4 * rows.size() + 65536);
        if (dense) m_array.assign(size_t(maxKey) + 1, -1);
        for (size_t i = 0; i < rows.size(); ++i) {
            if (dense && rows[i].key > 0)
                m_array[size_t(rows[i].key)] = int(i);
            else if (!dense)
                m_map.emplace(rows[i].key, int(i));
        }
    }
    int operator()(qint64 key) const {
        if (key > 0 && size_t(key) < m_array.size()) return m_array[size_t(key)];
        const auto found = m_map.find(key);
        return found != m_map.end() ? found->second : -1;
    }

private:
    std::vector<int> m_array;
    std::unordered_map<qint64, int> m_map;
};

}  // namespace

std::optional<ActivityStoreOutline> ActivityStoreOutline::read(TRObjectContext& context,
                                                               int valueLevels) {
    auto stmt = context.database().prepare(QStringLiteral(
        "SELECT id, pathParent, pathLevel, application, value FROM PathComponent ORDER BY id"));
    if (!stmt) return std::nullopt;
    std::vector<ShapeRow> rows;
    while (stmt->step()) {
        const int level = qint16(stmt->int64(2));
        rows.push_back({stmt->int64(0), stmt->int64(1), level, stmt->int64(3), QString()});
        // Only the value a reader asked for is decoded: most nodes are deeper.
        if (level <= valueLevels) rows.back().value = stmt->text(4);
    }
    if (stmt->error()) return std::nullopt;
    rows = sortedByLevel(rows);
    const IndexOfKey indexOfKey(rows);
    ActivityStoreTotals::Shape shape;
    std::vector<qint64> applications;
    std::vector<QString> values;
    shape.keys.reserve(rows.size());
    shape.parents.reserve(rows.size());
    shape.levels.reserve(rows.size());
    applications.reserve(rows.size());
    values.reserve(rows.size());
    for (ShapeRow& row : rows) {
        shape.keys.push_back(row.key);
        shape.parents.push_back(row.parent != 0 ? indexOfKey(row.parent) : -1);
        shape.levels.push_back(row.level);
        applications.push_back(row.application);
        values.push_back(std::move(row.value));
    }
    return ActivityStoreOutline(std::move(shape), std::move(applications), std::move(values));
}

ActivityStoreOutline::ActivityStoreOutline(ActivityStoreTotals::Shape shape,
                                           std::vector<qint64> applications,
                                           std::vector<QString> values)
    : m_shape(std::move(shape)),
      m_applications(std::move(applications)),
      m_values(std::move(values)),
      m_totals(m_shape) {
    const size_t count = m_shape.keys.size();
    // Children grouped by parent (a counting sort), each group in the file's
    // order as the objects list them (the same as node order unless a child
    // is not one level below its parent, which only hand-made data has).
    m_firstChild.assign(count + 1, 0);
    for (int parent : m_shape.parents) {
        if (parent >= 0) ++m_firstChild[size_t(parent) + 1];
    }
    std::partial_sum(m_firstChild.begin(), m_firstChild.end(), m_firstChild.begin());
    m_childList.resize(size_t(m_firstChild[count]));
    std::vector<int> next(m_firstChild.begin(), m_firstChild.end() - 1);
    for (size_t i = 0; i < count; ++i) {
        const int parent = m_shape.parents[i];
        if (parent >= 0) m_childList[size_t(next[size_t(parent)]++)] = int(i);
        if (m_shape.levels[i] == 0 && m_applications[i] != 0) m_roots.push_back(int(i));
    }
    const auto byKey = [this](int a, int b) {
        return m_shape.keys[size_t(a)] < m_shape.keys[size_t(b)];
    };
    for (size_t i = 0; i < count; ++i) {
        const auto first = m_childList.begin() + m_firstChild[i];
        const auto last = m_childList.begin() + m_firstChild[i + 1];
        if (!std::is_sorted(first, last, byKey)) std::sort(first, last, byKey);
    }
}

void ActivityStoreOutline::sumRows(SqliteStatement* rows) {
    m_totals.begin();
    qint64 key = 0;
    double seconds = 0;
    while (rows && rows->stepIntegerAndReal(&key, &seconds)) {
        if (seconds == seconds) m_totals.addForKey(key, seconds);  // NULL reads as NaN
    }
    m_totals.finish({});
}

std::vector<int> ActivityStoreOutline::children(int node) const {
    return std::vector<int>(m_childList.begin() + m_firstChild[size_t(node)],
                            m_childList.begin() + m_firstChild[size_t(node) + 1]);
}
