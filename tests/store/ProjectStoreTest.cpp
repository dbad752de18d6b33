// The project store's own rules: look-ups, path prefixes, orphans, colours,
// the file's schema and the blacklist test.

#include "store/ProjectStoreTestSupport.h"

namespace {

QString arg(const char* text) {
    return QString::fromUtf8(text) == QLatin1String("~") ? QString() : QString::fromUtf8(text);
}

TEST_F(ProjectStoreTest, ApplicationLookupUsesOnlyTheFirstCriterionThatApplies) {
    const struct {
        const char* name;
        // The stored application's id, executable name and title, then what
        // is asked; "~" is none.
        const char *storedId, *storedExecutable, *storedTitle, *id, *executable, *title;
        bool found;
    } cases[] = {
        {"same id", "org.a", "a", "A", "org.a", "~", "~", true},
        {"another id, same executable", "org.a", "a", "A", "org.b", "/usr/bin/a", "A", false},
        {"empty id matches empty id, not executable", "", "a", "A", "", "/usr/bin/a", "~", true},
        {"no id: the executable's file name", "org.a", "a", "A", "~", "/opt/x/a", "~", true},
        {"no id: executable before title", "org.a", "a", "A", "~", "/usr/bin/b", "A", false},
        {"no id, no executable: the title", "org.a", "a", "A", "~", "~", "A", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startProjectsAfresh();
        auto* stored = TRPSApplication::applicationWithBundleIdentifier(
            context(), arg(c.storedId), arg(c.storedExecutable), arg(c.storedTitle), true);
        // Kept by a project, so the save keeps it; then read from the file.
        project("P")->addApplications(projects(), {stored});
        ASSERT_TRUE(projects().save());
        projects().reset();
        TRPSApplication* found = TRPSApplication::applicationWithBundleIdentifier(
            context(), arg(c.id), arg(c.executable), arg(c.title), false);
        EXPECT_EQ(found != nullptr, c.found);
    }
}

TEST_F(ProjectStoreTest, AddingPathsKeepsOnlyTheOutermostPrefixes) {
    const QString a = joined({"/a"}), ab = joined({"/a", "/b"}), ac = joined({"/a", "/c"}),
                  c = joined({"/c"}), abx = joined({"/ab"});
    const struct {
        const char* name;
        QStringList existing;
        QVariant added;
        QStringList expected;  // sorted
    } cases[] = {
        {"inside a member: nothing", {a}, ab, {a}},
        {"around members: they leave", {ab, ac, c}, a, {a, c}},
        {"a sibling: both", {ab}, ac, {ab, ac}},
        {"components are joined", {c}, QStringList{u"/a"_s, u"/b"_s}, {ab, c}},
        // The test without a delimiter after the new path is a plain prefix test.
        {"a longer name also leaves", {abx}, a, {a}},
        {"an empty string is skipped", {a}, QString(), {a}},
    };
    for (const auto& pc : cases) {
        SCOPED_TRACE(pc.name);
        startProjectsAfresh();
        TRPSProject* p = project("P");
        for (const QString& e : pc.existing) p->addPaths(projects(), {path(e)});
        ASSERT_TRUE(projects().save());
        p->addPathsIfNecessary(projects(), {pc.added});
        ASSERT_TRUE(projects().save());
        projects().reset();
        QStringList stored;
        for (TRPSPath* kept : TRPSProject::regularProjects(context()).front()->paths())
            stored.append(kept->pathString());
        stored.sort();
        EXPECT_EQ(stored, pc.expected);
        // Paths that left their only project are gone from the file.
        EXPECT_EQ(rows("Path"), pc.expected.size());
    }
}

TEST_F(ProjectStoreTest, AnElementLeavesTheFileWithItsLastProject) {
    TRPSProject* x = project("X");
    TRPSProject* y = project("Y");
    TRPSApplication* shared = app("org.shared");
    x->addApplications(projects(), {shared, app("org.only-x")});
    y->addApplications(projects(), {shared});
    ASSERT_TRUE(projects().save());
    EXPECT_EQ(rows("Application"), 2);

    x->removeApplications(projects(), {shared});
    ASSERT_TRUE(projects().save());
    EXPECT_EQ(rows("Application"), 2) << "still held by Y";

    context().deleteObject(y);
    ASSERT_TRUE(projects().save());
    EXPECT_EQ(rows("Application"), 1);
    EXPECT_EQ(rows("Project_applications"), 1);
    projects().reset();
    EXPECT_EQ(TRPSApplication::applicationWithBundleIdentifier(context(), u"org.shared"_s,
                                                               QString(), QString(), false),
              nullptr);
}

TEST_F(ProjectStoreTest, NewProjectsCycleThroughTheEightBaseColours) {
    std::vector<std::optional<TRPSColor>> colours;
    for (int i = 0; i < 17; ++i) colours.push_back(project("P")->color());
    for (int i = 0; i + 8 < 17; ++i) EXPECT_EQ(colours[size_t(i)], colours[size_t(i + 8)]) << i;
    EXPECT_NE(colours[0], colours[1]);
    // Saved and read back in the same 16 bytes.
    ASSERT_TRUE(projects().save());
    projects().reset();
    EXPECT_EQ(TRPSProject::regularProjects(context())[3]->color(), colours[3]);
}

TEST_F(ProjectStoreTest, FileOfAnotherSchemaVersionIsRefusedNotMigrated) {
    execOnProjectFile(u"CREATE TABLE Project(id INTEGER PRIMARY KEY); PRAGMA user_version = 2;"_s);
    EXPECT_EQ(projects().managedObjectContext(), nullptr);
    EXPECT_EQ(m_aborts, 1);
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    EXPECT_EQ(rows("Project"), 0) << "left as it was";
}

TEST_F(ProjectStoreTest, RecordedNodesKnowTheirProjectsByName) {
    record("org.example.Editor", {u"/w"_s, u"/1"_s}, 60);
    TRPSProject* b = project("B");
    TRPSProject* a = project("A");
    a->addApplications(projects(), {app("org.example.Editor")});
    b->addApplications(projects(), {app("org.example.Editor")});
    b->addPaths(projects(), {path(joined({"/w", "/1"}))});
    a->setColor(TRPSColor::greenColor());
    TRActivity activity = activityWith([](TRActivity& x) {
        x.setPathComponents(QStringList{u"/w"_s, u"/1"_s});
    });
    TRASPathComponent* node = store().lastPathComponentForActivity(activity);
    TRASPathComponent* root = node->pathParent()->pathParent();
    EXPECT_EQ(projects().associatedProjects(*root), (std::vector<TRPSProject*>{a, b}));
    EXPECT_EQ(projects().tintColors(*root).front(), TRPSColor::greenColor());
    EXPECT_EQ(projects().associatedProjects(*node), (std::vector<TRPSProject*>{b}));
    EXPECT_TRUE(projects().associatedProjects(*node->pathParent()).empty());
}

TEST_F(ProjectStoreTest, BlacklistTestSeesAnotherConnectionsSaveAtTheNextCall) {
    const RunningApplication secret = testApplication(u"org.example.Secret"_s);
    const RunningApplication editor = testApplication();
    const QString inside = joined({"/home", "/secret", "/a.txt"});
    EXPECT_FALSE(projects().isBlacklisted(&secret, inside));

    // Another program edits the same file through its own connection.
    TRProjectStore other(projectOptions());
    TRPSProject* blacklist = TRPSProject::blacklistProject(*other.managedObjectContext());
    blacklist->addApplications(other, {TRPSApplication::applicationWithRunningApplication(
                                          *other.managedObjectContext(), secret, true)});
    blacklist->addPathsIfNecessary(other, {joined({"/home", "/secret"})});
    ASSERT_TRUE(other.save());

    struct Case {
        const RunningApplication* app;
        QString path;
        bool blacklisted;
    } cases[] = {
        {&secret, joined({"/tmp"}), true},
        {&editor, inside, true},
        {&editor, joined({"/home", "/secretive"}), true},  // the plain prefix test
        {&editor, joined({"/home", "/public"}), false},
        {nullptr, inside, true},
        {nullptr, QString(), false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(projects().isBlacklisted(c.app, c.path), c.blacklisted) << c.path.toStdString();

    blacklist->removeApplications(other, blacklist->applications());
    ASSERT_TRUE(other.save());
    EXPECT_FALSE(projects().isBlacklisted(&secret, joined({"/tmp"})));
}

}  // namespace
