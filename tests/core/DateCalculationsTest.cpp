#include <gtest/gtest.h>

#include <QTimeZone>
#include <cstdlib>

#include "core/DateCalculations.h"

namespace {

using namespace Calculations;

// Fixes the zone and locale the calendar sees for one test.
class CalendarTest : public testing::Test {
protected:
    void use(const char* zone, const char* locale) {
        setenv("TZ", zone, 1);
        setenv("LC_ALL", locale, 1);
        m_zone = QTimeZone(QByteArray(zone));
        refreshCurrentCalendar();
    }
    void TearDown() override {
        unsetenv("LC_ALL");
        unsetenv("TZ");
        refreshCurrentCalendar();
    }
    // A wall-clock time in the test's zone as an absolute instant.
    QDateTime local(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) const {
        return QDateTime(QDate(y, mo, d), QTime(h, mi, s), m_zone).toUTC();
    }
    static QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
        return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
    }

    QTimeZone m_zone;
};

// The hours the store files time under, across a daylight-saving change.
TEST_F(CalendarTest, HoursInBerlin) {
    use("Europe/Berlin", "en_US.UTF-8");
    const struct {
        const char* name;
        QDateTime in;
        QDateTime out;
    } cases[] = {
        {"an ordinary hour", local(2024, 6, 12, 10, 20, 30), local(2024, 6, 12, 10)},
        {"first 02:30 of the repeated hour", utc(2024, 10, 27, 0, 30), utc(2024, 10, 27, 0, 0)},
        {"second 02:30 of the repeated hour", utc(2024, 10, 27, 1, 30), utc(2024, 10, 27, 1, 0)},
        {"the hour after the skipped one", local(2024, 3, 31, 3, 10), utc(2024, 3, 31, 1, 0)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(beginningOfHour(c.in), c.out) << qPrintable(beginningOfHour(c.in).toString(Qt::ISODate));
    }
}

// The hour of one date is kept for the next: asked in a row, across a
// half-hour change of offset and across changes of zone (TZ set between
// calls, as a user's move would), every date still gets its own hour.
TEST_F(CalendarTest, HoursAskedInARowAcrossOffsetAndZoneChanges) {
    use("Australia/Lord_Howe", "en_US.UTF-8");
    const struct {
        const char* zone;
        QDateTime in;
        QDateTime out;
    } rows[] = {
        // Summer time (+11) ends at 15:00 UTC; the hours then start at :30.
        {"Australia/Lord_Howe", utc(2024, 4, 6, 14, 30), utc(2024, 4, 6, 14, 0)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 14, 59, 59), utc(2024, 4, 6, 14, 0)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 15, 10), utc(2024, 4, 6, 14, 30)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 14, 45), utc(2024, 4, 6, 14, 0)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 15, 29), utc(2024, 4, 6, 14, 30)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 15, 30), utc(2024, 4, 6, 15, 30)},
        {"Australia/Lord_Howe", utc(2024, 4, 6, 16, 29), utc(2024, 4, 6, 15, 30)},
        {"Asia/Kolkata", utc(2024, 6, 12, 10, 15), utc(2024, 6, 12, 9, 30)},
        {"UTC", utc(2024, 6, 12, 10, 20), utc(2024, 6, 12, 10, 0)},
        {"Asia/Kolkata", utc(2024, 6, 12, 9, 40), utc(2024, 6, 12, 9, 30)},
        {"Asia/Kolkata", utc(2024, 6, 12, 10, 20), utc(2024, 6, 12, 9, 30)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(
            qPrintable(row.in.toString(Qt::ISODate) + QLatin1Char(' ') + QLatin1String(row.zone)));
        setenv("TZ", row.zone, 1);
        EXPECT_EQ(beginningOfHour(row.in), row.out)
            << qPrintable(beginningOfHour(row.in).toString(Qt::ISODate));
    }
}

}  // namespace
