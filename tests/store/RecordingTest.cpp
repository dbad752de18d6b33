// Recording finished intervals: which components, which hours, checked by
// reading the saved file back in another process.
#include "StoreTestSupport.h"

namespace {

const QString kApp = QStringLiteral("org.example.Editor");

QString u(const char16_t* s) {
    return QString::fromUtf16(s);
}

struct RecordingCase {
    const char* name;
    std::function<void(TRActivity&)> fill;
    QDateTime start;
    QDateTime stop;
    std::optional<int> maxURLTrackingLevel;
    QStringList blacklist;
    QStringList expected;
};

void components(TRActivity& a, const QStringList& list) {
    a.setPathComponents(list);
}

TEST_F(StoreTest, RecordsEachExampleAsTheExpectedTreeAndHours) {
    const QDateTime d1020 = utc(2024, 3, 5, 10, 20);
    const QStringList a{QStringLiteral("/a")};
    const QString https = QStringLiteral("https://www.example.com:8443/a/b/c/d/e/f?x=1");
    const RecordingCase cases[] = {
        {"half an hour inside one hour",
         [&](TRActivity& x) { components(x, a); },
         d1020,
         utc(2024, 3, 5, 10, 50),
         {},
         {},
         {kApp + QStringLiteral("|/a @2024-03-05T10:00 1800")}},
        {"ending on the hour creates no next hour",
         [&](TRActivity& x) { components(x, a); },
         d1020,
         utc(2024, 3, 5, 11, 0),
         {},
         {},
         {kApp + QStringLiteral("|/a @2024-03-05T10:00 2400")}},
        {"spread over four hours",
         [&](TRActivity& x) { components(x, a); },
         d1020,
         utc(2024, 3, 5, 13, 10),
         {},
         {},
         {kApp + QStringLiteral("|/a @2024-03-05T10:00 2400"),
          kApp + QStringLiteral("|/a @2024-03-05T11:00 3600"),
          kApp + QStringLiteral("|/a @2024-03-05T12:00 3600"),
          kApp + QStringLiteral("|/a @2024-03-05T13:00 600")}},
        {"start equal to stop leaves nothing",
         [&](TRActivity& x) { components(x, a); },
         d1020,
         d1020,
         {},
         {},
         {}},
        {"web address keeps five levels by default",
         [&](TRActivity& x) { x.setDocumentPath(https); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|example.com:8443|/a|/b|/c|/d @2024-03-05T10:00 600")}},
        {"web address with no level limit",
         [&](TRActivity& x) { x.setDocumentPath(https); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         -1,
         {},
         {kApp + QStringLiteral("|example.com:8443|/a|/b|/c|/d|/e|/f|?x=1 @2024-03-05T10:00 600")}},
        {"web address with level 0 goes to the root",
         [&](TRActivity& x) { x.setDocumentPath(https); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         0,
         {},
         {kApp + QStringLiteral(" @2024-03-05T10:00 600")}},
        {"http on port 80 loses port and www",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("http://www.example.com:80/")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|example.com @2024-03-05T10:00 600")}},
        {"https on port 80 loses the port too",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("https://example.com:80/")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|example.com @2024-03-05T10:00 600")}},
        {"file address is standardised",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("file:///Users/a/../b/c.txt")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|/Users|/b|/c.txt @2024-03-05T10:00 600")}},
        {"temporary folders collapse",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("/var/folders/xy/zzzz/T/x.txt")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|/var|/folders|/*|/T|/x.txt @2024-03-05T10:00 600")}},
        {"em-dash title",
         [&](TRActivity& x) { x.setWindowTitle(u(u"Report \u2014 Editor")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + u(u"|Report |\u2014Editor @2024-03-05T10:00 600")}},
        {"three leading slashes count as one",
         [&](TRActivity& x) { x.setDocumentTitle(QStringLiteral("///a/b")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral("|/a|/b @2024-03-05T10:00 600")}},
        {"empty component list goes to the root",
         [&](TRActivity& x) {
             x.setPathComponents(QStringList());
             x.setWindowTitle(QStringLiteral("ignored"));
         },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral(" @2024-03-05T10:00 600")}},
        {"no texts go to the root",
         [&](TRActivity&) {},
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {},
         {kApp + QStringLiteral(" @2024-03-05T10:00 600")}},
        {"blacklisted path below is dropped",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("/Users/a")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {QStringLiteral("/Users")},
         {}},
        {"blacklist is a plain prefix test",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("/Usersfoo")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {QStringLiteral("/Users")},
         {}},
        {"other paths pass the blacklist",
         [&](TRActivity& x) { x.setDocumentPath(QStringLiteral("/home/a")); },
         d1020,
         utc(2024, 3, 5, 10, 30),
         {},
         {QStringLiteral("/Users")},
         {kApp + QStringLiteral("|/home|/a @2024-03-05T10:00 600")}},
    };
    for (const RecordingCase& c : cases) {
        SCOPED_TRACE(c.name);
        reopen();
        QDir(dataFolder()).removeRecursively();
        QFile::remove(settingsPath());
        if (c.maxURLTrackingLevel)
            setSetting(QStringLiteral("maxURLTrackingLevel"), *c.maxURLTrackingLevel);
        m_blacklist->paths = c.blacklist;
        store().storeActivity(activityWith(c.fill), c.start, c.stop);
        store().save();
        EXPECT_EQ(dumpInFreshProcess(), c.expected);
    }
}

TEST_F(StoreTest, DropsActivitiesWithoutApplicationOrWithBadDates) {
    const TRActivity noApplication;
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("t")); });
    store().storeActivity(noApplication, utc(2024, 3, 5, 10), utc(2024, 3, 5, 11));
    store().storeActivity(activity, utc(2024, 3, 5, 11), utc(2024, 3, 5, 10));
    store().storeActivity(activity, QDateTime(), utc(2024, 3, 5, 10));
    store().save();
    EXPECT_TRUE(dumpInFreshProcess().isEmpty());
}

TEST_F(StoreTest, AddsRepeatedIntervalsToTheSameHourAndNode) {
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/x/y")); });
    store().storeActivity(activity, utc(2024, 3, 5, 10, 0), utc(2024, 3, 5, 10, 10));
    store().save();
    store().storeActivity(activity, utc(2024, 3, 5, 10, 20), utc(2024, 3, 5, 10, 25));
    store().save();
    reopen();
    store().storeActivity(activity, utc(2024, 3, 5, 10, 30), utc(2024, 3, 5, 10, 31));
    store().save();
    EXPECT_EQ(dumpInFreshProcess(),
              QStringList{kApp + QStringLiteral("|/x|/y @2024-03-05T10:00 960")});
}

TEST_F(StoreTest, FindsApplicationsByIdThenExecutableThenTitle) {
    RunningApplication noId = testApplication(QString());
    noId.executablePath = QStringLiteral("/opt/tool/bin/tool");
    TRASApplication* byExecutable =
        TRASApplication::applicationWithRunningApplication(store(), noId, true);
    ASSERT_NE(byExecutable, nullptr);
    EXPECT_EQ(byExecutable->executableName(), QStringLiteral("tool"));
    store().save();

    // Found by executable name; the missing id is filled in.
    RunningApplication withId = noId;
    withId.bundleIdentifier = QString();
    EXPECT_EQ(TRASApplication::applicationWithRunningApplication(store(), withId, false),
              byExecutable);

    // A found application lacking its executable gets the full path (kept so).
    TRASApplication* titled = TRASApplication::applicationWithBundleIdentifier(
        store(), QStringLiteral("org.example.T"), QString(), QStringLiteral("T"), true);
    EXPECT_TRUE(titled->executableName().isNull());
    TRASApplication::applicationWithBundleIdentifier(
        store(), QStringLiteral("org.example.T"), QStringLiteral("/usr/bin/t"), QString(), false);
    EXPECT_EQ(titled->executableName(), QStringLiteral("/usr/bin/t"));

    EXPECT_EQ(TRASApplication::applicationWithBundleIdentifier(store(), QString(), QString(),
                                                               QString(), true),
              nullptr);
    EXPECT_EQ(TRASApplication::applicationWithBundleIdentifier(
                  store(), QStringLiteral("org.example.None"), QString(), QString(), false),
              nullptr);
    EXPECT_EQ(TRASApplication::applicationWithRunningApplication(store(), std::monostate(), true),
              nullptr);
}

TEST_F(StoreTest, FindsAnUnsavedApplicationByAFilledInTitle) {
    TRASApplication* app = TRASApplication::applicationWithBundleIdentifier(
        store(), QStringLiteral("org.example.Tool"), QString(), QString(), true);
    store().save();
    // The title is filled in but not saved: a lookup by title must see it.
    TRASApplication::applicationWithBundleIdentifier(store(), QStringLiteral("org.example.Tool"),
                                                     QString(), QStringLiteral("Tool"), false);
    EXPECT_EQ(TRASApplication::applicationWithBundleIdentifier(store(), QString(), QString(),
                                                               QStringLiteral("Tool"), false),
              app);
}

TEST_F(StoreTest, FilesCustomActivitiesUnderTheirOwnApplication) {
    TRActivity custom;
    custom.setApplication(TRNullApplication());
    custom.setDocumentPath(QStringLiteral("Meeting/Planning"));
    store().storeActivity(custom, utc(2024, 3, 5, 9), utc(2024, 3, 5, 9, 30));
    store().save();
    EXPECT_EQ(
        dumpInFreshProcess(),
        QStringList{QStringLiteral(
            "info.mallowby.Vorlix.custom-activities|Meeting|/Planning @2024-03-05T09:00 1800")});
    TRASApplication* app = TRASApplication::customActivitiesApplication(store());
    EXPECT_EQ(app->title(), QStringLiteral("Custom Activities"));
}

TEST_F(StoreTest, AsksTheBlacklistOncePerRecording) {
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("a")); });
    store().storeActivity(activity, utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 1));
    store().storeActivity(activity, utc(2024, 3, 5, 10, 1), utc(2024, 3, 5, 10, 2));
    EXPECT_EQ(m_blacklist->calls, 2);
}

}  // namespace

namespace {

TEST_F(StoreTest, EmptyIdentifierDoesNotMatchAMissingOne) {
    TRASApplication* noId = TRASApplication::applicationWithBundleIdentifier(
        store(), QString(), QStringLiteral("/usr/bin/x"), QStringLiteral("X"), true);
    TRASApplication* emptyId = TRASApplication::applicationWithBundleIdentifier(
        store(), QLatin1String(""), QString(), QStringLiteral("Y"), true);
    EXPECT_NE(noId, emptyId);
    store().save();
    EXPECT_EQ(TRASApplication::applicationWithBundleIdentifier(
                  store(), QLatin1String(""), QString(), QStringLiteral("Z"), false),
              emptyId);
}

}  // namespace
