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

// The hours and days the store files time under, and the report periods.
TEST_F(CalendarTest, BoundariesInBerlin) {
    use("Europe/Berlin", "en_US.UTF-8");
    const struct {
        const char* name;
        QDateTime (*op)(const QDateTime&);
        QDateTime in;
        QDateTime out;
    } cases[] = {
        {"hour", beginningOfHour, local(2024, 6, 12, 10, 20, 30), local(2024, 6, 12, 10)},
        {"first 02:30 of the repeated hour", beginningOfHour, utc(2024, 10, 27, 0, 30),
         utc(2024, 10, 27, 0, 0)},
        {"second 02:30 of the repeated hour", beginningOfHour, utc(2024, 10, 27, 1, 30),
         utc(2024, 10, 27, 1, 0)},
        {"spring-forward day begins", beginningOfDay, local(2024, 3, 31, 12), utc(2024, 3, 30, 23)},
        {"spring-forward day ends", endOfDay, local(2024, 3, 31, 12), utc(2024, 3, 31, 21, 59, 59)},
        {"fall-back day ends", endOfDay, local(2024, 10, 27, 1), utc(2024, 10, 27, 22, 59, 59)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.op(c.in), c.out) << qPrintable(c.op(c.in).toString(Qt::ISODate));
    }
}

TEST_F(CalendarTest, SkippedMidnightInSaoPaulo) {
    // On 4 November 2018 the clocks went from 00:00 straight to 01:00.
    use("America/Sao_Paulo", "pt_BR.UTF-8");
    EXPECT_EQ(beginningOfDay(local(2018, 11, 4, 12)), utc(2018, 11, 4, 3));
    EXPECT_EQ(endOfDay(local(2018, 11, 3, 12)), utc(2018, 11, 4, 2, 59, 59));
    EXPECT_EQ(nextDay(local(2018, 11, 3, 12)), local(2018, 11, 4, 12));
    EXPECT_EQ(beginningOfDay(local(2019, 2, 16, 23, 30)), utc(2019, 2, 16, 2));
}

TEST_F(CalendarTest, StepsAreCalendarSteps) {
    use("Europe/Berlin", "en_US.UTF-8");
    struct StepCase {
        const char* name;
        QDateTime got;
        QDateTime expected;
    };
    const QDateTime beforeSpring = local(2024, 3, 30, 12);
    const StepCase cases[] = {
        {"month before", prevMonth(local(2024, 3, 31, 12)), local(2024, 2, 29, 12)},
        {"a day over the spring change is 23 hours", nextDay(beforeSpring),
         local(2024, 3, 31, 12)},
        {"24 hours over the spring change", advance(beforeSpring, 0, 0, 0, 0, 24, 0, 0),
         local(2024, 3, 31, 13)},
        {"change day", change(local(2024, 6, 12, 15, 30), {{QStringLiteral("day"), 1}}),
         local(2024, 6, 1, 15, 30)},
        {"change time", change(local(2024, 6, 12, 15, 30, 10),
                               {{QStringLiteral("hour"), 0}, {QStringLiteral("minute"), 0},
                                {QStringLiteral("second"), 0}}),
         local(2024, 6, 12)},
    };
    for (const StepCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.got, c.expected) << qPrintable(c.got.toString(Qt::ISODate));
    }
}

}  // namespace
