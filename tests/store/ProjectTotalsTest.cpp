// Which recorded time a selection of projects counts, and which totals a
// change of members makes stale.
#include "store/ProjectStoreTestSupport.h"

namespace {

class ProjectTotalsTest : public ProjectStoreTest {
protected:
    // A: 600 s under /w/1 (project X by application); B: 300 s under /x
    // (project Y by path); C: 120 s under /secret (blacklisted path);
    // D: 60 s under /d (nobody's); E: 30 s, the whole application blacklisted.
    void SetUp() override {
        ProjectStoreTest::SetUp();
        record("org.a", {QStringLiteral("/w"), QStringLiteral("/1")}, 600);
        record("org.b", {QStringLiteral("/x"), QStringLiteral("/y")}, 300);
        record("org.c", {QStringLiteral("/secret")}, 120);
        record("org.d", {QStringLiteral("/d")}, 60);
        record("org.e", {}, 30);
        x = project("X");
        y = project("Y");
        x->addApplications(projects(), {app("org.a")});
        y->addPaths(projects(), {path(joined({"/x"}))});
        blacklist = TRPSProject::blacklistProject(context());
        unassigned = TRPSProject::unassignedProject(context());
        blacklist->addPaths(projects(), {path(joined({"/secret"}))});
        blacklist->addApplications(projects(), {app("org.e")});
    }

    TRPSProject* x = nullptr;
    TRPSProject* y = nullptr;
    TRPSProject* blacklist = nullptr;
    TRPSProject* unassigned = nullptr;
};

TEST_F(ProjectTotalsTest, SelectionCountsItsSubtreesWithoutTheBlacklisted) {
    struct Case {
        const char* name;
        std::vector<TRPSProject*> selection;
        double seconds;
    } cases[] = {
        {"nothing: everything not blacklisted", {}, 960},
        {"Unassigned: what no regular project claims", {unassigned}, 60},
        {"Unassigned with X: X's too", {unassigned, x}, 660},
        {"Blacklist with X: the blacklist's own time shows", {blacklist, x}, 750},
        {"two projects", {x, y}, 900},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(projects().sumForProjects(c.selection), c.seconds);
        projects().setSelectedProjects(c.selection);
        EXPECT_EQ(store().sumOfDurationsOfEventsBetweenDate(
                      {QDateTime(), QDateTime(), projects().pathComponentTreesToIncludeForSelectedProjects(),
                       projects().pathComponentTreesToExcludeForSelectedProjects()}),
                  c.seconds);
    }
}

TEST_F(ProjectTotalsTest, RefreshSetsEveryTotalWithinTheFilterDays) {
    const QDateTime start = utc(2024, 3, 6, 9);
    store().storeActivity(activityWith([](TRActivity& a) { a.setPathComponents(QStringList{QStringLiteral("/d")}); },
                                       testApplication(QStringLiteral("org.d"))),
                          start, start.addSecs(45));
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 600);
    EXPECT_EQ(unassigned->cachedTotalDurationWithFilterValue(), 105);
    EXPECT_EQ(blacklist->cachedTotalDurationWithFilterValue(), 150);
    EXPECT_EQ(projects().totalDurationWithFilterValue(), 1005);

    store().setFirstFilterDay(utc(2024, 3, 6, 0));
    store().setLastFilterDay(utc(2024, 3, 6, 0));
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 0);
    EXPECT_EQ(unassigned->cachedTotalDurationWithFilterValue(), 45);
    EXPECT_EQ(projects().totalDurationWithFilterValue(), 45);
}

TEST_F(ProjectTotalsTest, MemberChangeMakesOnlyItsOwnAndUnassignedsTotalStale) {
    projects().refreshProjectDurations();
    x->addApplications(projects(), {app("org.d")});
    EXPECT_LT(x->cachedTotalDurationWithFilterValue(), 0);
    EXPECT_LT(unassigned->cachedTotalDurationWithFilterValue(), 0);
    EXPECT_EQ(y->cachedTotalDurationWithFilterValue(), 300);
    EXPECT_EQ(blacklist->cachedTotalDurationWithFilterValue(), 150);
    // Computed again on demand, with the new member.
    EXPECT_EQ(x->totalDurationWithFilterValue(projects()), 660);
    EXPECT_EQ(unassigned->totalDurationWithFilterValue(projects()), 0);

    y->removePaths(projects(), y->paths());
    EXPECT_LT(y->cachedTotalDurationWithFilterValue(), 0);
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 660);
    EXPECT_EQ(unassigned->totalDurationWithFilterValue(projects()), 300);
}

TEST_F(ProjectTotalsTest, BlacklistChangeRecomputesEveryTotalAtOnce) {
    projects().refreshProjectDurations();
    blacklist->addPaths(projects(), {path(joined({"/w"}))});
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 0);
    EXPECT_EQ(blacklist->cachedTotalDurationWithFilterValue(), 750);
    EXPECT_EQ(unassigned->cachedTotalDurationWithFilterValue(), 60);
    EXPECT_EQ(projects().totalDurationWithFilterValue(), 360);
}

TEST_F(ProjectTotalsTest, PathMatchesUnderEveryApplicationButOnlyAtItsDepth) {
    record("org.a", {QStringLiteral("/x")}, 10);
    record("org.a", {QStringLiteral("/z"), QStringLiteral("/x")}, 20);
    const auto found = path(joined({"/x"}))->associatedActivityStorePathComponents(store());
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(found->size(), 2u);
    EXPECT_EQ(projects().sumForProjects({y}), 310);
    EXPECT_FALSE(
        context().insert<TRPSPath>()->associatedActivityStorePathComponents(store()).has_value());
}

TEST_F(ProjectTotalsTest, RefreshFollowsSavesOfThisAndAnotherConnection) {
    store().save();
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 600);
    record("org.a", {QStringLiteral("/w"), QStringLiteral("/1")}, 100);  // unsaved
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 700);
    store().save();
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 700);

    // The main application records through its own connection.
    TRActivityStore other(options(QStringLiteral("info.mallowby.Vorlix")));
    TRActivity activity = activityWith(
        [](TRActivity& a) { a.setPathComponents(QStringList{QStringLiteral("/w")}); },
        testApplication(QStringLiteral("org.a")));
    other.storeActivity(activity, utc(2024, 3, 5, 11), utc(2024, 3, 5, 11, 0, 50));
    other.saveWithNotification(false);
    projects().refreshProjectDurations();
    EXPECT_EQ(x->cachedTotalDurationWithFilterValue(), 750);
}

TEST_F(ProjectTotalsTest, NewRecordingsReachCachedSubtrees) {
    EXPECT_EQ(projects().sumForProjects({y}), 300);
    record("org.b", {QStringLiteral("/x"), QStringLiteral("/new")}, 40);
    EXPECT_EQ(projects().sumForProjects({y}), 340);
}

}  // namespace
