// The clean-up rules that run at save, as the file shows them: empty nodes
// vanish one level per save, zero-length hours vanish, roots
// and their applications stay, applications without a root go; and saves
// beside the other program's connection.
#include <functional>

#include "StoreTestSupport.h"

namespace {

class CleanupTest : public StoreTest {
protected:
    // app root -> /a -> /b, with one hour of 600 s on /b, saved.
    TRASPathComponent* recordDeepLeaf() {
        TRASPathComponent* leaf = record(onPath(u"/a/b"_s), utc(2024, 3, 5, 10), 600);
        store().save();
        return leaf;
    }
};

TEST_F(CleanupTest, EmptiedBranchVanishesOneLevelPerSaveDownToTheRoot) {
    TRASPathComponent* b = recordDeepLeaf();
    record(onPath(u"/a/c"_s), utc(2024, 3, 5, 12), 60);
    context().insert<TRASPathComponent>();  // a node without a place is never written
    store().deleteEventsBetweenDate({utc(2024, 3, 5, 12), QDateTime(), {}, {}});  // saves
    EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate({}), 600);
    EXPECT_EQ(count("PathComponent"), 3) << "/a/c never reached the file";
    store().deleteEventsBetweenDate({QDateTime(), QDateTime(), std::vector{b}, {}});
    EXPECT_EQ(count("HourlyEvent"), 0);
    EXPECT_EQ(count("PathComponent"), 2) << "the leaf goes, its parent only at the next save";
    for (int save = 0; save < 3; ++save) {
        SCOPED_TRACE(save);
        store().save();
        EXPECT_EQ(count("PathComponent"), 1) << "the root stays";
        EXPECT_EQ(count("Application"), 1);
    }
    TRASApplication::applicationWithRunningApplication(context(), testApplication(), false)
        ->setPathRoot(nullptr);
    store().save();
    EXPECT_EQ(count("Application"), 0) << "an application without a root goes";
}

// A branch that a rule empties after its own rule ran in that save (a new
// node, or one looked at before its child went) is looked at again next time.
TEST_F(CleanupTest, EmptiedNodesNeverStayBehind) {
    const struct {
        const char* name;
        std::function<void()> empty;
    } cases[] = {
        {"a zero-length interval on a new path",
         [&] { record(onPath(u"/n/m"_s), utc(2024, 3, 5, 10), 0); }},
        {"a range deletion that empties a node and its child",
         [&] {
             record(onPath(u"/a"_s), utc(2024, 3, 5, 9), 60);
             record(onPath(u"/a/b"_s), utc(2024, 3, 5, 10), 60);
             store().save();
             store().deleteEventsBetweenDate({});
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        c.empty();
        for (int save = 0; save < 3; ++save) store().save();
        EXPECT_EQ(count("PathComponent"), 1) << "only the root";
    }
}

TEST_F(CleanupTest, KeepsOrDropsHoursByTheirDuration) {
    const struct {
        const char* name;
        double duration;
        qint64 hoursAfter;
    } cases[] = {
        {"exactly zero is dropped", 0.0, 0},
        {"a tiny duration stays", 1e-9, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        recordDeepLeaf()
            ->hourlyEventWithDate(utc(2024, 3, 5, 10), false)
            ->setDurationValue(c.duration);
        store().save();
        store().save();
        EXPECT_EQ(count("HourlyEvent"), c.hoursAfter) << "and a second save changes nothing";
        if (!c.hoursAfter) continue;
        reopen();
        const double read = record(onPath(u"/a/b"_s), utc(2024, 3, 5, 10), 0)
                                ->hourlyEventWithDate(utc(2024, 3, 5, 10), false)
                                ->durationValue();
        EXPECT_EQ(read, c.duration);
    }
}

// The main application reads while the helper saves, and neither waits; when
// it writes, our save fails, keeps its changes, and the next save writes them.
TEST_F(CleanupTest, AReaderNeverBlocksASaveAndAFailedSaveLosesNothing) {
    recordDeepLeaf();
    SqliteDatabase other;
    ASSERT_FALSE(other.open(databasePath()));
    ASSERT_FALSE(other.exec(u"BEGIN"_s));
    EXPECT_EQ(other.scalarInt(u"SELECT TOTAL(duration) FROM HourlyEvent"_s), 600);
    context().database().setBusyTimeout(0);
    record(onPath(u"/a/b"_s), utc(2024, 3, 5, 10, 30), 60);
    store().save();
    EXPECT_TRUE(m_reporter->presented.empty());
    EXPECT_EQ(other.scalarInt(u"SELECT TOTAL(duration) FROM HourlyEvent"_s), 600);
    ASSERT_FALSE(other.exec(u"COMMIT; BEGIN IMMEDIATE"_s));
    record(onPath(u"/a/c"_s), utc(2024, 3, 5, 11), 300);
    store().save();
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    other.exec(u"ROLLBACK"_s);
    store().save();
    EXPECT_EQ(readBack(), (QStringList{"org.example.Editor|/a|/b @2024-03-05T10:00 660",
                                       "org.example.Editor|/a|/c @2024-03-05T11:00 300"}));
}

}  // namespace
