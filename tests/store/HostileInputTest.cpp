// Input that must neither crash nor corrupt the store.
#include "store/graph/SqliteDatabase.h"
#include "StoreTestSupport.h"

namespace {

using HostileInputTest = StoreTest;

QString withChar(char16_t c) {
    QString s = QStringLiteral("a");
    s.append(QChar(c));
    s.append(QLatin1Char('b'));
    return s;
}

TEST_F(HostileInputTest, OddTitlesRoundTripToTheSameNode) {
    QString nul = QStringLiteral("a");
    nul.append(QChar(0));
    nul.append(QStringLiteral("b"));
    const struct {
        const char* name;
        QString title;
        QString storedValue;
    } cases[] = {
        {"lone high surrogate", withChar(0xD800), withChar(0xFFFD)},
        {"lone low surrogate", withChar(0xDC00), withChar(0xFFFD)},
        {"NUL character", nul, nul},
        {"private-use delimiter character", withChar(0xF8FF), withChar(0xF8FF)},
        {"one megabyte", QString(1 << 20, QLatin1Char('x')), QString(1 << 20, QLatin1Char('x'))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        const TRActivity activity = activityWith([&](TRActivity& a) { a.setWindowTitle(c.title); });
        store().storeActivity(activity, utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 10));
        store().save();
        reopen();
        store().storeActivity(activity, utc(2024, 3, 5, 10, 10), utc(2024, 3, 5, 10, 20));
        store().save();
        TRASPathComponent* node = store().lastPathComponentForActivity(activity);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->value(), c.storedValue);
        EXPECT_EQ(node->value().size(), c.storedValue.size());
        EXPECT_EQ(node->pathParent()->children().size(), 1u) << "found again, not duplicated";
        EXPECT_EQ(node->hourlyEventWithDate(utc(2024, 3, 5, 10), false)->durationValue(), 1200);
    }
}

TEST_F(HostileInputTest, TenYearIntervalCreatesOneEventPerHour) {
    const QDateTime start = utc(2030, 1, 1, 0, 30);
    const qint64 hours = 87600;
    const QDateTime stop = start.addSecs(hours * 3600);
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("long")); });
    TRASPathComponent* node = store().lastPathComponentForActivity(activity);
    store().storeActivity(activity, start, stop);
    EXPECT_EQ(qint64(node->hourlyEvents().size()), hours + 1);
    store().save();
    SqliteDatabase db;
    ASSERT_FALSE(db.open(databasePath(), SqliteDatabase::Mode::ReadOnly));
    EXPECT_EQ(db.scalarInt(QStringLiteral("SELECT COUNT(*) FROM HourlyEvent")), hours + 1);
    EXPECT_EQ(db.scalarInt(QStringLiteral("SELECT SUM(duration) FROM HourlyEvent")), hours * 3600);
    EXPECT_EQ(
        db.scalarInt(QStringLiteral("SELECT COUNT(*) FROM HourlyEvent WHERE duration > 3600")), 0);
}

TEST_F(HostileInputTest, MalformedAddressesFallBackToTitleSplitting) {
    const struct {
        const char* name;
        QString text;
        QStringList expected;
    } cases[] = {
        {"no host",
         QStringLiteral("http:///path"),
         {QStringLiteral("http"), QStringLiteral(":///path")}},
        {"only a scheme", QStringLiteral("https://"), {QStringLiteral("https")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TRASPathComponent* node = store().lastPathComponentForActivity(
            activityWith([&](TRActivity& a) { a.setDocumentTitle(c.text); }));
        ASSERT_NE(node, nullptr);
        QStringList values;
        for (TRASPathComponent* n : node->fullPathAsComponents()) values.append(n->value());
        EXPECT_EQ(values, c.expected);
    }
}

}  // namespace
