// The clean-up rules that run at save: empty nodes vanish one level per
// save, zero-length hours vanish, NaN hours stay, roots and their
// applications stay, applications without a root go.
#include <cmath>

#include "store/graph/SqliteDatabase.h"
#include "StoreTestSupport.h"

namespace {

qint64 rowCount(const QString& file, const QString& table) {
    SqliteDatabase db;
    if (db.open(file, SqliteDatabase::Mode::ReadOnly)) return -1;
    return db.scalarInt(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table));
}

class CleanupTest : public StoreTest {
protected:
    // app root -> /a -> /b, with one hour of 600 s on /b.
    TRASPathComponent* recordDeepLeaf() {
        const TRActivity activity =
            activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/a/b")); });
        store().storeActivity(activity, utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 10));
        store().save();
        return store().lastPathComponentForActivity(activity);
    }
    qint64 nodes() { return rowCount(databasePath(), QStringLiteral("PathComponent")); }
    qint64 hours() { return rowCount(databasePath(), QStringLiteral("HourlyEvent")); }
};

TEST_F(CleanupTest, EmptiedBranchVanishesOneLevelPerSave) {
    TRASPathComponent* leaf = recordDeepLeaf();
    ASSERT_EQ(nodes(), 3);
    // This save deletes the hour, and the leaf that lost it with it.
    store().deleteEventsBetweenDate(TRASEventFilter{});
    EXPECT_EQ(hours(), 0);
    EXPECT_EQ(nodes(), 2) << "the leaf goes, its parent only at the next save";
    Q_UNUSED(leaf);
    const struct {
        const char* name;
        qint64 nodesAfter;
    } steps[] = {{"the parent goes", 1}, {"the root stays", 1}, {"still", 1}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        store().save();
        EXPECT_EQ(nodes(), step.nodesAfter);
    }
    EXPECT_EQ(rowCount(databasePath(), QStringLiteral("Application")), 1);
}

TEST_F(CleanupTest, KeepsOrDropsHoursByTheirDuration) {
    const struct {
        const char* name;
        double duration;
        qint64 hoursAfter;
    } cases[] = {
        {"exactly zero is dropped", 0.0, 0},
        {"a tiny duration stays", 1e-9, 1},
        {"NaN stays", std::nan(""), 1},
        {"negative stays", -5.0, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        TRASPathComponent* leaf = recordDeepLeaf();
        TRASHourlyEvent* hour = leaf->hourlyEventWithDate(utc(2024, 3, 5, 10, 30), false);
        ASSERT_NE(hour, nullptr);
        hour->setDurationValue(c.duration);
        store().save();
        EXPECT_EQ(hours(), c.hoursAfter);
        store().save();
        EXPECT_EQ(hours(), c.hoursAfter) << "a second save changes nothing";
    }
}

TEST_F(CleanupTest, NaNDurationReadsBackAsNaN) {
    TRASPathComponent* leaf = recordDeepLeaf();
    leaf->hourlyEventWithDate(utc(2024, 3, 5, 10), false)->setDurationValue(std::nan(""));
    store().save();
    reopen();
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/a/b")); });
    TRASHourlyEvent* hour = store().lastPathComponentForActivity(activity)->hourlyEventWithDate(
        utc(2024, 3, 5, 10), false);
    ASSERT_NE(hour, nullptr);
    EXPECT_TRUE(std::isnan(hour->durationValue()));
}

TEST_F(CleanupTest, RootWithoutAnythingSurvivesAndApplicationWithoutRootGoes) {
    TRASApplication* app = TRASApplication::applicationWithBundleIdentifier(
        store(), QStringLiteral("org.example.Empty"), QString(), QString(), true);
    store().save();
    EXPECT_EQ(nodes(), 1);
    EXPECT_EQ(rowCount(databasePath(), QStringLiteral("Application")), 1);
    app->setPathRoot(nullptr);
    store().save();
    EXPECT_EQ(rowCount(databasePath(), QStringLiteral("Application")), 0);
}

TEST_F(CleanupTest, NewNodeWithoutTimeIsNotWritten) {
    TRASApplication* app = TRASApplication::customActivitiesApplication(store());
    app->pathRoot()->childComponentWithValue(QStringLiteral("/lonely"), true);
    store().save();
    EXPECT_EQ(nodes(), 1);
}

TEST_F(CleanupTest, UnsavedChangesSurviveAFailedSave) {
    recordDeepLeaf();
    // Another connection holds the write lock: our save fails, keeps its
    // changes, and the next save writes them.
    SqliteDatabase other;
    ASSERT_FALSE(other.open(databasePath()));
    ASSERT_FALSE(other.exec(QStringLiteral("BEGIN IMMEDIATE")));
    store().managedObjectContext()->database().setBusyTimeout(0);
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/a/c")); });
    store().storeActivity(activity, utc(2024, 3, 5, 11), utc(2024, 3, 5, 11, 5));
    store().save();
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    ASSERT_EQ(m_reporter->lines.size(), 1);
    EXPECT_TRUE(m_reporter->lines[0].startsWith(QStringLiteral(
        "TRActivityStore:-[TRActivityStore saveWithNotification:] unable to save: SQLite (5)")))
        << m_reporter->lines[0].toStdString();
    other.exec(QStringLiteral("ROLLBACK"));
    store().save();
    EXPECT_EQ(hours(), 2);
    EXPECT_EQ(nodes(), 4);
}

}  // namespace
