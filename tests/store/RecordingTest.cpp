// Recording finished intervals: which components, which hours, checked by
// reading the saved file back in another process.
#include "StoreTestSupport.h"

namespace {

const QString kApp = QStringLiteral("org.example.Editor");

using Fill = std::function<void(TRActivity&)>;

// One line of the dump: `seconds` under `path` in the given hour of 2024-03-05.
QString line(int hour, const QString& path, int seconds) {
    return QStringLiteral("%1%2 @2024-03-05T%3:00 %4").arg(kApp, path).arg(hour).arg(seconds);
}

class RecordingTest : public StoreTest {
protected:
    // Records `seconds` from 10:20 into a fresh store and reads the file back.
    QStringList recorded(const Fill& fill, int seconds, std::optional<int> maxURLTrackingLevel = {},
                         const QStringList& blacklist = {}) {
        startAfresh();
        QFile::remove(settingsPath());
        if (maxURLTrackingLevel)
            setSetting(QStringLiteral("maxURLTrackingLevel"), *maxURLTrackingLevel);
        m_blacklist->paths = blacklist;
        const QDateTime start = utc(2024, 3, 5, 10, 20);
        store().storeActivity(activityWith(fill), start, start.addSecs(seconds));
        store().save();
        return dumpInFreshProcess();
    }
};

TEST_F(RecordingTest, SplitsIntervalsAtClockHours) {
    const Fill a = [](TRActivity& x) { x.setPathComponents(QStringList{QStringLiteral("/a")}); };
    const struct {
        const char* name;
        int seconds;
        QStringList expected;
    } cases[] = {
        {"half an hour inside one hour", 1800, {line(10, "|/a", 1800)}},
        {"ending on the hour creates no next hour", 2400, {line(10, "|/a", 2400)}},
        {"spread over four hours",
         10200,
         {line(10, "|/a", 2400), line(11, "|/a", 3600), line(12, "|/a", 3600),
          line(13, "|/a", 600)}},
        {"start equal to stop leaves nothing", 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(recorded(a, c.seconds), c.expected);
    }
}

TEST_F(RecordingTest, FilesDocumentsUnderTheirComponents) {
    const QString https = QStringLiteral("https://www.example.com:8443/a/b/c/d/e/f?x=1");
    const QStringList users{QStringLiteral("/Users")};
    const struct {
        const char* name;
        QString path;
        const char* expected;  // nullptr: nothing recorded
        std::optional<int> level = {};
        QStringList blacklist = {};
    } cases[] = {
        {"web address keeps five levels by default", https, "|example.com:8443|/a|/b|/c|/d"},
        {"web address with no level limit", https, "|example.com:8443|/a|/b|/c|/d|/e|/f|?x=1", -1},
        {"web address with level 0 goes to the root", https, "", 0},
        {"http on port 80 loses port and www", "http://www.example.com:80/", "|example.com"},
        {"https on port 80 loses the port too", "https://example.com:80/", "|example.com"},
        {"file address is standardised", "file:///Users/a/../b/c.txt", "|/Users|/b|/c.txt"},
        {"temporary folders collapse", "/var/folders/xy/zzzz/T/x.txt",
         "|/var|/folders|/*|/T|/x.txt"},
        {"blacklisted path below is dropped", "/Users/a", nullptr, {}, users},
        {"blacklist is a plain prefix test", "/Usersfoo", nullptr, {}, users},
        {"other paths pass the blacklist", "/home/a", "|/home|/a", {}, users},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = c.path;
        EXPECT_EQ(
            recorded([&](TRActivity& x) { x.setDocumentPath(path); }, 600, c.level, c.blacklist),
            c.expected ? QStringList{line(10, c.expected, 600)} : QStringList());
    }
}

TEST_F(RecordingTest, FilesTitlesUnderTheirComponents) {
    const struct {
        const char* name;
        Fill fill;
        QString expected;
    } cases[] = {
        {"em-dash title",
         [](TRActivity& x) { x.setWindowTitle(QString::fromUtf16(u"Report \u2014 Editor")); },
         QString::fromUtf16(u"|Report |\u2014Editor")},
        {"three leading slashes count as one",
         [](TRActivity& x) { x.setDocumentTitle(QStringLiteral("///a/b")); }, "|/a|/b"},
        {"empty component list goes to the root",
         [](TRActivity& x) {
             x.setPathComponents(QStringList());
             x.setWindowTitle(QStringLiteral("ignored"));
         },
         ""},
        {"no texts go to the root", [](TRActivity&) {}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(recorded(c.fill, 600), QStringList{line(10, c.expected, 600)});
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
