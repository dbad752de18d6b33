// Totals over recorded time: node caches, the filtered aggregation, sums,
// date bounds and deletion by range.
#include <atomic>
#include <thread>

#include "store/graph/SqliteDatabase.h"
#include "StoreTestSupport.h"

namespace {

class AggregationTest : public StoreTest {
protected:
    TRASPathComponent* record(const QString& path, const QDateTime& start, int seconds) {
        const TRActivity activity = activityWith([&](TRActivity& a) { a.setDocumentPath(path); });
        store().storeActivity(activity, start, start.addSecs(seconds));
        return store().lastPathComponentForActivity(activity);
    }
    // /a/b: 600 s at 10:00 and 300 s at 11:00; /a/c: 60 s at 12:00.
    void recordSample() {
        m_b = record(QStringLiteral("/a/b"), utc(2024, 3, 5, 10), 600);
        record(QStringLiteral("/a/b"), utc(2024, 3, 5, 11), 300);
        m_c = record(QStringLiteral("/a/c"), utc(2024, 3, 5, 12), 60);
        m_a = m_b->pathParent();
        m_root = m_a->pathParent();
    }
    TRASPathComponent* m_a = nullptr;
    TRASPathComponent* m_b = nullptr;
    TRASPathComponent* m_c = nullptr;
    TRASPathComponent* m_root = nullptr;
};

TEST_F(AggregationTest, GroupsNodesByLevelAndParent) {
    EXPECT_TRUE(store().allPathComponentsGroupedByPathLevel().empty());
    EXPECT_TRUE(store().allPathComponentsGroupedByPathParent().empty());
    recordSample();
    store().invalidateAllPathComponentsSortedByPathLevelCache();
    const auto& levels = store().allPathComponentsGroupedByPathLevel();
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(levels[0], std::vector<TRASPathComponent*>{m_root});
    EXPECT_EQ(levels[1], std::vector<TRASPathComponent*>{m_a});
    EXPECT_EQ(levels[2].size(), 2u);
    EXPECT_EQ(store().allPathComponentsGroupedByPathParent().at(m_a).size(), 2u);
    EXPECT_EQ(m_root->completeSubtree(store().allPathComponentsGroupedByPathParent()).size(), 4u);
    EXPECT_EQ(m_c->completeSubtree(store().allPathComponentsGroupedByPathParent()), std::vector<TRASPathComponent*>{m_c});
}

TEST_F(AggregationTest, LevelWithoutNodesGetsAnEmptyGroup) {
    recordSample();
    store().save();
    SqliteDatabase other;
    ASSERT_FALSE(other.open(databasePath()));
    ASSERT_FALSE(other.exec(QStringLiteral(
        "INSERT INTO Application(bundleIdentifier, pathRoot) VALUES('org.example.Gap', 100);"
        "INSERT INTO PathComponent(id, pathLevel, application) VALUES(100, 0, 2);"
        "INSERT INTO PathComponent(id, value, pathLevel, pathParent) VALUES(101, '/deep', 3, "
        "100);")));
    reopen();
    const auto& levels = store().allPathComponentsGroupedByPathLevel();
    ASSERT_EQ(levels.size(), 4u);
    EXPECT_EQ(levels[0].size(), 2u);
    EXPECT_EQ(levels[1].size(), 1u);
    EXPECT_EQ(levels[3].size(), 1u);
    TRASEventFilter all;
    store().filterEventsBetweenDate(all);
    EXPECT_EQ(store().allPathComponentsGroupedByPathLevel()[0].size(), 2u);
}

TEST_F(AggregationTest, FilteredTotalsFollowTheRangeAndTheNodeSets) {
    recordSample();
    store().save();
    record(QStringLiteral("/a/c"), utc(2024, 3, 5, 12, 30), 6);  // unsaved: counted too
    const struct {
        const char* name;
        TRASEventFilter filter;
        double b, c, a;
    } cases[] = {
        {"everything", {}, 900, 66, 966},
        {"start is inclusive", {utc(2024, 3, 5, 11), QDateTime(), {}, {}}, 300, 66, 366},
        {"stop is exclusive", {QDateTime(), utc(2024, 3, 5, 12), {}, {}}, 900, 0, 900},
        {"only the hour's start counts",
         {utc(2024, 3, 5, 10, 30), utc(2024, 3, 5, 11, 30), {}, {}},
         300,
         0,
         300},
        {"empty include set matches nothing",
         {QDateTime(), QDateTime(), std::vector<TRASPathComponent*>{}, {}},
         0,
         0,
         0},
        {"empty exclude set excludes nothing",
         {QDateTime(), QDateTime(), {}, std::vector<TRASPathComponent*>{}},
         900,
         66,
         966},
        {"include one node",
         {QDateTime(), QDateTime(), std::vector<TRASPathComponent*>{m_c}, {}},
         0,
         66,
         66},
        {"exclude one node",
         {QDateTime(), QDateTime(), {}, std::vector<TRASPathComponent*>{m_c}},
         900,
         0,
         900},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        store().filterEventsBetweenDate(c.filter);
        EXPECT_EQ(m_b->totalDurationWithFilterValue(), c.b);
        EXPECT_EQ(m_c->totalDurationWithFilterValue(), c.c);
        EXPECT_EQ(m_a->totalDurationWithFilterValue(), c.a);
        EXPECT_EQ(m_root->totalDurationWithFilterValue(), c.a);
        EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate(c.filter), c.a);
    }
}

TEST_F(AggregationTest, SecondAggregationWritesNothing) {
    recordSample();
    store().save();
    EXPECT_EQ(store().filterEventsBetweenDate({}), 4);
    EXPECT_EQ(store().filterEventsBetweenDate({}), 0);
    EXPECT_FALSE(store().managedObjectContext()->hasChanges()) << "totals never dirty the file";
}

TEST_F(AggregationTest, ThresholdHidesNodesAtExactlyItsValue) {
    recordSample();
    store().filterEventsBetweenDate({});
    const struct {
        const char* name;
        double threshold;
        size_t children;
        size_t roots;
    } cases[] = {{"default", 0, 2, 1},
                 {"equal to the smaller child", 60, 1, 1},
                 {"just below it", 59.5, 2, 1},
                 {"equal to the root", 960, 0, 0}};
    int announced = 0;
    QObject::connect(&store(), &TRActivityStore::rootPathComponentsWithFilterDidChange, &store(),
                     [&] { ++announced; });
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        announced = 0;
        store().setTimeThreshold(c.threshold);
        EXPECT_EQ(announced, c.threshold == 0 ? 0 : 1) << "only a different value is announced";
        EXPECT_EQ(m_a->filteredChildComponents(store().timeThreshold()).size(), c.children);
        EXPECT_EQ(store().rootPathComponentsWithFilter().size(), c.roots);
    }
}

TEST_F(AggregationTest, OldestAndNewestHourIncludeUnsavedOnes) {
    EXPECT_FALSE(store().startDateOfOldestHourlyEvent().isValid());
    recordSample();
    store().save();
    EXPECT_EQ(store().startDateOfOldestHourlyEvent(), utc(2024, 3, 5, 10));
    EXPECT_EQ(store().startDateOfNewestHourlyEvent(), utc(2024, 3, 5, 12));
    record(QStringLiteral("/z"), utc(2024, 3, 6, 8), 5);
    EXPECT_EQ(store().startDateOfNewestHourlyEvent(), utc(2024, 3, 6, 8));
}

TEST_F(AggregationTest, DeletingARangeSavesAndEmptiedNodesGo) {
    recordSample();
    store().save();
    store().deleteEventsBetweenDate({utc(2024, 3, 5, 12), QDateTime(), {}, {}});
    EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate({}), 900);
    EXPECT_EQ(m_a->childComponentWithValue(QStringLiteral("/c"), false), nullptr);
    store().deleteEventsBetweenDate(
        {QDateTime(), QDateTime(), std::vector<TRASPathComponent*>{m_b}, {}});
    EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate({}), 0);
}

TEST_F(AggregationTest, ReaderIsNeverLockedOutWhileTheHelperSaves) {
    recordSample();
    store().save();
    std::atomic<bool> done{false};
    std::atomic<int> reads{0};
    QString failure;
    const QString file = databasePath();
    std::thread reader([&] {
        SqliteDatabase db;
        if (auto error = db.open(file, SqliteDatabase::Mode::ReadOnly)) {
            failure = error->toString();
            return;
        }
        while (!done) {
            auto stmt = db.prepare(QStringLiteral("SELECT TOTAL(duration) FROM HourlyEvent"));
            if (!stmt) {
                failure = db.lastError().toString();
                return;
            }
            stmt->step();
            if (auto error = stmt->error()) {
                failure = error->toString();
                return;
            }
            ++reads;
        }
    });
    QDateTime t = utc(2024, 3, 6, 0);
    for (int i = 0; i < 300 && failure.isEmpty(); ++i) {
        record(QStringLiteral("/w/%1").arg(i % 17), t, 30);
        store().save();
        t = t.addSecs(30);
    }
    done = true;
    reader.join();
    EXPECT_TRUE(failure.isEmpty()) << failure.toStdString();
    EXPECT_GT(reads.load(), 0);
}

}  // namespace
