// Recording finished intervals: which components, which hours, which
// application, and input that must neither crash nor corrupt the store;
// checked by reading the saved file back through a connection of its own.
#include "StoreTestSupport.h"

namespace {

// One line of the dump: `seconds` under `path` in the given hour of 2024-03-05.
QString line(int hour, const char* path, int seconds) {
    return u"org.example.Editor%1 @2024-03-05T%2:00 %3"_s.arg(QLatin1String(path))
        .arg(hour)
        .arg(seconds);
}

using RecordingTest = StoreTest;

TEST_F(RecordingTest, FilesSecondsByHourUnderComponentsAsSettingsAndBlacklistSay) {
    const TRActivity a = onPath(u"/a"_s);
    const TRActivity web = onPath(u"https://www.example.com:8443/a/b/c/d/e/f?x=1"_s);
    m_blacklist->prefix = u"/Users"_s;
    const struct {
        const char* name;
        TRActivity activity;
        int seconds;
        QStringList expected;
        std::optional<int> maxURLTrackingLevel = {};
    } cases[] = {
        {"half an hour inside one hour", a, 1800, {line(10, "|/a", 1800)}},
        {"ending on the hour creates no next hour", a, 2400, {line(10, "|/a", 2400)}},
        {"spread over four hours",
         a,
         10200,
         {line(10, "|/a", 2400), line(11, "|/a", 3600), line(12, "|/a", 3600),
          line(13, "|/a", 600)}},
        {"start equal to stop leaves nothing", a, 0, {}},
        {"web address keeps five levels by default",
         web,
         60,
         {line(10, "|example.com:8443|/a|/b|/c|/d", 60)}},
        {"web address with no level limit",
         web,
         60,
         {line(10, "|example.com:8443|/a|/b|/c|/d|/e|/f|?x=1", 60)},
         -1},
        {"web address with level 0 goes to the root", web, 60, {line(10, "", 60)}, 0},
        {"blacklisted path is dropped", onPath(u"/Users/a"_s), 60, {}},
        {"other paths pass the blacklist", onPath(u"/home/a"_s), 60, {line(10, "|/home|/a", 60)}},
        {"no texts go to the root", activityWith([](TRActivity&) {}), 60, {line(10, "", 60)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        QFile::remove(settingsPath());
        if (c.maxURLTrackingLevel) setSetting(u"maxURLTrackingLevel"_s, *c.maxURLTrackingLevel);
        record(c.activity, utc(2024, 3, 5, 10, 20), c.seconds);
        store().save();
        EXPECT_EQ(readBack(), c.expected);
    }
}

// Nodes are found again by their exact value, also after reopening; what has
// no application or no valid interval is dropped; what the user entered by
// hand goes to its own application.
TEST_F(StoreTest, AddsRepeatedIntervalsToTheSameHourAndNode) {
    record(onPath(u"/x/y"_s), utc(2024, 3, 5, 10, 0), 600);
    store().save();
    record(onPath(u"/x/y"_s), utc(2024, 3, 5, 10, 20), 300);
    store().save();
    reopen();
    record(onPath(u"/x/y"_s), utc(2024, 3, 5, 10, 30), 60);
    record(onPath(u"/x/Y"_s), utc(2024, 3, 5, 10, 40), 5);
    store().storeActivity(TRActivity(), utc(2024, 3, 5, 10), utc(2024, 3, 5, 11));
    store().storeActivity(onPath(u"/z"_s), utc(2024, 3, 5, 11), utc(2024, 3, 5, 10));
    store().storeActivity(onPath(u"/z"_s), QDateTime(), utc(2024, 3, 5, 10));
    TRActivity custom;
    custom.setApplication(TRNullApplication());
    custom.setDocumentPath(u"Meeting/Planning"_s);
    record(custom, utc(2024, 3, 5, 9), 1800);
    store().save();
    EXPECT_EQ(readBack(), (QStringList{"info.mallowby.Vorlix.custom-activities|Meeting|/Planning "
                                       "@2024-03-05T09:00 1800",
                                       line(10, "|/x|/Y", 5), line(10, "|/x|/y", 960)}));
    EXPECT_EQ(TRASApplication::customActivitiesApplication(context())->title(),
              u"Custom Activities"_s);
}

TEST_F(StoreTest, FindsApplicationsByIdThenExecutableThenTitle) {
    auto find = [&](const char* id, const char* executable, const char* title, bool create) {
        auto text = [](const char* s) { return s ? QString(QLatin1String(s)) : QString(); };
        return TRASApplication::applicationWithBundleIdentifier(
            context(), text(id), text(executable), text(title), create);
    };
    TRASApplication* tool = find(nullptr, "/opt/tool/bin/tool", "Tool", true);
    EXPECT_EQ(tool->executableName(), u"tool"_s) << "created with the file name";
    TRASApplication* emptyId = find("", nullptr, "Y", true);
    EXPECT_NE(emptyId, tool) << "an empty id does not match a missing one";
    TRASApplication* titled = find("org.example.T", nullptr, nullptr, true);
    store().save();
    EXPECT_EQ(find(nullptr, "/usr/local/bin/tool", nullptr, false), tool);
    EXPECT_EQ(find("", nullptr, "Z", false), emptyId);
    // A found application gets what it lacks (the executable as given), and
    // is found by it before that is saved.
    EXPECT_EQ(find("org.example.T", "/usr/bin/t", "T", false), titled);
    EXPECT_EQ(titled->executableName(), u"/usr/bin/t"_s);
    EXPECT_EQ(find(nullptr, nullptr, "T", false), titled);
    EXPECT_EQ(find(nullptr, nullptr, nullptr, true), nullptr);
    EXPECT_EQ(find("org.example.None", nullptr, nullptr, false), nullptr);
}

TEST_F(StoreTest, OddTitlesRoundTripToTheSameNode) {
    auto with = [](char16_t c) { return u"a"_s + QChar(c) + u"b"_s; };
    const QString megabyte(1 << 20, QLatin1Char('x'));
    const struct {
        const char* name;
        QString title;
        QString stored;
    } cases[] = {
        {"lone high surrogate", with(0xD800), with(0xFFFD)},
        {"NUL character", with(0), with(0)},
        {"private-use delimiter character", with(0xF8FF), with(0xF8FF)},
        {"one megabyte", megabyte, megabyte},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        const TRActivity activity = activityWith([&](TRActivity& a) { a.setWindowTitle(c.title); });
        record(activity, utc(2024, 3, 5, 10), 600);
        store().save();
        reopen();
        TRASPathComponent* node = record(activity, utc(2024, 3, 5, 10, 10), 600);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->value(), c.stored);
        EXPECT_EQ(node->pathParent()->children().size(), 1u) << "found again, not duplicated";
        EXPECT_EQ(node->hourlyEventWithDate(utc(2024, 3, 5, 10), false)->durationValue(), 1200);
    }
}

// The zone is followed while the helper runs: the user may move it (no
// refresh is asked for here), and in a half-hour zone hours begin at :30 UTC.
TEST_F(StoreTest, SpreadsSecondsOverTheHoursOfTheZoneInForceAtRecording) {
    const struct {
        const char* zone;
        QStringList hours;
    } cases[] = {
        {"UTC", {"@2024-03-05T10:00 3600", "@2024-03-05T11:00 3600"}},
        {"Asia/Kolkata",
         {"@2024-03-05T09:30 1800", "@2024-03-05T10:30 3600", "@2024-03-05T11:30 1800"}},
        {"UTC", {"@2024-03-05T10:00 3600", "@2024-03-05T11:00 3600"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.zone);
        startAfresh();
        setenv("TZ", c.zone, 1);
        record(onPath(u"/x"_s), utc(2024, 3, 5, 10), 7200);
        store().save();
        QStringList expected;
        for (const QString& hour : c.hours) expected.append("org.example.Editor|/x " + hour);
        EXPECT_EQ(readBack(), expected);
    }
    setenv("TZ", "UTC", 1);
}

}  // namespace
