// Totals over recorded time, against sums computed here from the recorded
// intervals, and the threshold that hides small totals.
#include <map>
#include <random>

#include "StoreTestSupport.h"

namespace {

class AggregationTest : public StoreTest {
protected:
    struct Interval {
        int path;
        qint64 start;  // seconds since the epoch
        qint64 stop;
    };
    const QStringList kPaths{QStringLiteral("/a/b"), QStringLiteral("/a/c"), QStringLiteral("/d")};

    // 80 intervals over two days on three paths; the first half saved, the rest not.
    void recordIntervals() {
        std::mt19937 random(7);
        const qint64 base = utc(2024, 3, 5, 0).toSecsSinceEpoch();
        for (int i = 0; i < 80; ++i) {
            const int path = int(random() % 3);
            const qint64 start = base + qint64(random() % (48 * 3600));
            const int seconds = int(1 + random() % 5000);
            m_leaves[path] = record(onPath(kPaths[path]),
                                    QDateTime::fromSecsSinceEpoch(start, Qt::UTC), seconds);
            m_intervals.push_back({path, start, start + seconds});
            if (i == 40) store().save();
        }
    }
    // The seconds of a path whose clock hour begins inside the filter's range
    // (TZ is UTC, so hours start at multiples of 3600 s).
    double expected(int path, const TRASEventFilter& f) const {
        auto listed = [&](const std::optional<std::vector<TRASPathComponent*>>& set) {
            return std::find(set->begin(), set->end(), m_leaves[path]) != set->end();
        };
        if ((f.include && !listed(f.include)) || (f.exclude && listed(f.exclude))) return 0;
        double sum = 0;
        for (const Interval& iv : m_intervals) {
            for (qint64 t = iv.start; iv.path == path && t < iv.stop;) {
                const qint64 hour = t - t % 3600;
                const qint64 next = std::min(iv.stop, hour + 3600);
                if ((!f.start.isValid() || hour >= f.start.toSecsSinceEpoch()) &&
                    (!f.stop.isValid() || hour < f.stop.toSecsSinceEpoch()))
                    sum += double(next - t);
                t = next;
            }
        }
        return sum;
    }
    static std::vector<qint64> keysOf(const std::vector<TRASPathComponent*>& nodes) {
        std::vector<qint64> keys;
        for (TRASPathComponent* node : nodes) keys.push_back(node->primaryKey());
        return keys;
    }
    // One pass each way, then every node's total, children and value.
    void expectOutlineAgrees(ActivityStoreOutline& outline, const TRASEventFilter& filter) {
        store().filterEventsBetweenDate(filter);
        store().filterEventsBetweenDate(filter, outline);
        std::map<qint64, int> indexOfKey;
        for (int i = 0; i < outline.size(); ++i) indexOfKey[outline.key(i)] = i;
        ASSERT_EQ(indexOfKey.size(), store().allPathComponentsSortedByPathLevel().size());
        for (TRASPathComponent* node : store().allPathComponentsSortedByPathLevel()) {
            const int index = indexOfKey.at(node->primaryKey());
            EXPECT_EQ(outline.total(index), node->totalDurationWithFilterValue());
            std::vector<qint64> children;
            for (int child : outline.children(index)) children.push_back(outline.key(child));
            EXPECT_EQ(children, keysOf(node->children()));
            EXPECT_EQ(outline.value(index), node->value());
        }
    }
    std::vector<Interval> m_intervals;
    TRASPathComponent* m_leaves[3] = {};
};

using Nodes = std::vector<TRASPathComponent*>;

TEST_F(AggregationTest, TotalsAndSumsMatchTheRecordedIntervals) {
    recordIntervals();
    TRASPathComponent* b = m_leaves[0];
    TRASPathComponent* c = m_leaves[1];
    TRASPathComponent* d = m_leaves[2];
    const QDateTime none;
    const struct {
        const char* name;
        TRASEventFilter filter;
    } cases[] = {
        {"everything", {}},
        {"start is inclusive", {utc(2024, 3, 5, 13), none, {}, {}}},
        {"stop is exclusive", {none, utc(2024, 3, 6, 2), {}, {}}},
        {"only the hour's start counts",
         {utc(2024, 3, 5, 10, 30), utc(2024, 3, 5, 20, 30), {}, {}}},
        {"empty include set matches nothing", {none, none, Nodes{}, {}}},
        {"include one node", {none, none, Nodes{c}, {}}},
        {"range and nodes", {utc(2024, 3, 5, 6), utc(2024, 3, 6, 6), Nodes{b, d}, Nodes{d}}},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        const TRASEventFilter& f = row.filter;
        store().filterEventsBetweenDate(f);
        EXPECT_EQ(b->totalDurationWithFilterValue(), expected(0, f));
        EXPECT_EQ(c->totalDurationWithFilterValue(), expected(1, f));
        EXPECT_EQ(d->totalDurationWithFilterValue(), expected(2, f));
        EXPECT_EQ(b->pathParent()->totalDurationWithFilterValue(), expected(0, f) + expected(1, f));
        const double all = expected(0, f) + expected(1, f) + expected(2, f);
        EXPECT_EQ(d->pathParent()->totalDurationWithFilterValue(), all);
        EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate(f), all);
    }
    qint64 oldest = std::numeric_limits<qint64>::max(), newest = 0;
    for (const Interval& iv : m_intervals) {
        oldest = std::min(oldest, iv.start - iv.start % 3600);
        newest = std::max(newest, (iv.stop - 1) - (iv.stop - 1) % 3600);
    }
    EXPECT_EQ(store().startDateOfOldestHourlyEvent().toSecsSinceEpoch(), oldest);
    EXPECT_EQ(store().startDateOfNewestHourlyEvent().toSecsSinceEpoch(), newest);
    store().save();
    store().filterEventsBetweenDate({});
    EXPECT_EQ(store().filterEventsBetweenDate({}), 0) << "nothing changed the second time";
    EXPECT_FALSE(context().hasChanges()) << "totals never dirty the file";
    // A node or root whose total equals the threshold is hidden; a changed
    // threshold is written back to the settings.
    const double all = expected(0, {}) + expected(1, {}) + expected(2, {});
    setSetting(QStringLiteral("activityStoreTimeThreshold"), expected(1, {}));
    reopen();
    store().filterEventsBetweenDate({});
    b = store().lastPathComponentForActivity(onPath(kPaths[0]));
    EXPECT_EQ(b->pathParent()->filteredChildComponents(store().timeThreshold()),
              expected(0, {}) > expected(1, {}) ? Nodes{b} : Nodes{});
    EXPECT_EQ(store().rootPathComponentsWithFilter().size(), 1u);
    store().setTimeThreshold(all);
    EXPECT_TRUE(store().rootPathComponentsWithFilter().empty());
    reopen();
    EXPECT_EQ(store().timeThreshold(), all);
}

// The report's outline sums without node objects: every node's total, its
// children and their values must be those of the objects, range after range.
TEST_F(AggregationTest, OutlineAgreesWithTheNodesForEachRange) {
    recordIntervals();
    EXPECT_FALSE(store().savedOutline(9)) << "unsaved changes would be missed";
    store().save();
    std::optional<ActivityStoreOutline> outline = store().savedOutline(9);
    ASSERT_TRUE(outline);
    const QDateTime none;
    const Nodes c{m_leaves[1]};
    const TRASEventFilter filters[] = {{},
                                       {utc(2024, 3, 5, 10, 30), utc(2024, 3, 5, 20, 30), {}, {}},
                                       {none, none, c, {}},
                                       {utc(2024, 3, 5, 6), utc(2024, 3, 6, 6), {}, c}};
    for (const TRASEventFilter& filter : filters) {
        SCOPED_TRACE(filter.start.toString(Qt::ISODate).toStdString() + " " +
                     std::to_string(filter.include.has_value()) +
                     std::to_string(filter.exclude.has_value()));
        expectOutlineAgrees(*outline, filter);
    }
    std::vector<qint64> roots;
    for (int root : outline->roots()) roots.push_back(outline->key(root));
    EXPECT_EQ(roots, keysOf(store().rootPathComponentsWithFilter(-1)));
}

// A narrow range after a wide one reaches few nodes, and the pass after it
// follows only those: every total left from before must still be cleared.
TEST_F(StoreTest, TotalsFollowEachRangeWhetherItReachesFewNodesOrMany) {
    std::vector<TRASPathComponent*> leaves;
    for (int i = 0; i < 200; ++i)
        leaves.push_back(record(onPath(QStringLiteral("/p/%1").arg(i)),
                                utc(2024, 3, 5, 0).addSecs(3600 * (i % 48)), 60 + i));
    store().save();
    const QDateTime none;
    const TRASEventFilter ranges[] = {{},
                                      {utc(2024, 3, 5, 3), utc(2024, 3, 5, 4), {}, {}},
                                      {utc(2024, 3, 6, 7), utc(2024, 3, 6, 9), {}, {}},
                                      {utc(2024, 3, 9, 0), none, {}, {}},
                                      {utc(2024, 3, 5, 3), utc(2024, 3, 5, 4), {}, {}},
                                      {}};
    for (const TRASEventFilter& range : ranges) {
        SCOPED_TRACE(range.start.toString(Qt::ISODate).toStdString());
        store().filterEventsBetweenDate(range);
        for (TRASPathComponent* leaf : leaves) {
            ASSERT_EQ(leaf->totalDurationWithFilterValue(),
                      store().sumOfDurationsOfEventsBetweenDate(
                          {range.start, range.stop, std::vector{leaf}, {}}));
        }
        EXPECT_EQ(leaves[0]->pathParent()->pathParent()->totalDurationWithFilterValue(),
                  store().sumOfDurationsOfEventsBetweenDate(range));
    }
}

}  // namespace
