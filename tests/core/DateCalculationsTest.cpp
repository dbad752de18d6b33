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

struct BoundaryCase {
    const char* name;
    QDateTime (*op)(const QDateTime&);
    QDateTime in;
    QDateTime out;
};

void check(const BoundaryCase* begin, const BoundaryCase* end) {
    for (const BoundaryCase* c = begin; c != end; ++c) {
        SCOPED_TRACE(c->name);
        EXPECT_EQ(c->op(c->in), c->out) << qPrintable(c->op(c->in).toString(Qt::ISODate));
    }
}

TEST_F(CalendarTest, BoundariesInBerlin) {
    use("Europe/Berlin", "en_US.UTF-8");
    const BoundaryCase cases[] = {
        {"hour", beginningOfHour, local(2024, 6, 12, 10, 20, 30), local(2024, 6, 12, 10)},
        {"first 02:30 of the repeated hour", beginningOfHour, utc(2024, 10, 27, 0, 30),
         utc(2024, 10, 27, 0, 0)},
        {"second 02:30 of the repeated hour", beginningOfHour, utc(2024, 10, 27, 1, 30),
         utc(2024, 10, 27, 1, 0)},
        {"day", beginningOfDay, local(2024, 6, 12, 10, 20), local(2024, 6, 12)},
        {"spring-forward day begins", beginningOfDay, local(2024, 3, 31, 12), utc(2024, 3, 30, 23)},
        {"spring-forward day ends", endOfDay, local(2024, 3, 31, 12), utc(2024, 3, 31, 21, 59, 59)},
        {"fall-back day ends", endOfDay, local(2024, 10, 27, 1), utc(2024, 10, 27, 22, 59, 59)},
        {"leap February", endOfMonth, local(2024, 2, 10), local(2024, 2, 29, 23, 59, 59)},
        {"common February", endOfMonth, local(2023, 2, 10), local(2023, 2, 28, 23, 59, 59)},
        {"century leap year", endOfMonth, local(2000, 2, 1), local(2000, 2, 29, 23, 59, 59)},
        {"century common year", endOfMonth, local(2100, 2, 1), local(2100, 2, 28, 23, 59, 59)},
        {"month end stays", endOfMonth, local(2024, 1, 31, 23, 59, 59),
         local(2024, 1, 31, 23, 59, 59)},
        {"month begins", beginningOfMonth, local(2024, 3, 31, 12), local(2024, 3, 1)},
        {"quarter begins", beginningOfQuarter, local(2024, 8, 15), local(2024, 7, 1)},
        {"quarter ends", endOfQuarter, local(2024, 8, 15), local(2024, 9, 30, 23, 59, 59)},
        {"first quarter ends", endOfQuarter, local(2024, 1, 1), local(2024, 3, 31, 23, 59, 59)},
        {"year begins", beginningOfYear, local(2024, 8, 15), local(2024, 1, 1)},
        {"year ends", endOfYear, local(2024, 8, 15), local(2024, 12, 31, 23, 59, 59)},
    };
    check(std::begin(cases), std::end(cases));
}

TEST_F(CalendarTest, WeekBoundariesWithSundayFirst) {
    use("America/New_York", "en_US.UTF-8");
    const BoundaryCase cases[] = {
        {"Sunday of the week before", beginningOfWeek, local(2024, 6, 12, 15), local(2024, 6, 2)},
        {"Saturday of the own week", endOfWeek, local(2024, 6, 12, 15),
         local(2024, 6, 15, 23, 59, 59)},
        {"on a Sunday", beginningOfWeek, local(2024, 6, 9, 8), local(2024, 6, 2)},
        {"early January", beginningOfWeek, local(2025, 1, 2, 9), local(2024, 12, 22)},
        {"week one reached from December", beginningOfWeek, local(2025, 1, 7, 9),
         local(2024, 12, 29)},
        {"week ends in the next year", endOfWeek, local(2024, 12, 31, 9),
         local(2025, 1, 4, 23, 59, 59)},
    };
    check(std::begin(cases), std::end(cases));
}

TEST_F(CalendarTest, WeekdayNumbersStayGregorianWithMondayFirst) {
    use("Europe/Berlin", "de_DE.UTF-8");
    const BoundaryCase cases[] = {
        // Week 23 runs Monday 3 June to Sunday 9 June; weekday 1 is its Sunday.
        {"Sunday of the previous week", beginningOfWeek, local(2024, 6, 12, 15),
         local(2024, 6, 9)},
        {"Saturday of the own week", endOfWeek, local(2024, 6, 12, 15),
         local(2024, 6, 15, 23, 59, 59)},
    };
    check(std::begin(cases), std::end(cases));
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
    const QDateTime jan31 = local(2024, 1, 31, 12);
    const QDateTime beforeSpring = local(2024, 3, 30, 12);
    const StepCase cases[] = {
        {"month clamps to the leap day", nextMonth(jan31), local(2024, 2, 29, 12)},
        {"month before", prevMonth(local(2024, 3, 31, 12)), local(2024, 2, 29, 12)},
        {"larger units first", advance(jan31, 0, 1, 0, 1, 0, 0, 0), local(2024, 3, 1, 12)},
        {"a day over the spring change is 23 hours", nextDay(beforeSpring),
         local(2024, 3, 31, 12)},
        {"24 hours over the spring change", advance(beforeSpring, 0, 0, 0, 0, 24, 0, 0),
         local(2024, 3, 31, 13)},
        {"ago negates", ago(local(2024, 3, 1, 12), 0, 1, 0, 1, 0, 0, 0), local(2024, 1, 31, 12)},
        {"leap day a year on", nextYear(local(2024, 2, 29)), local(2025, 2, 28)},
        {"years since adds", yearsSince(local(2020, 5, 5), 2), local(2022, 5, 5)},
        {"months since adds", monthsSince(local(2020, 5, 5), -2), local(2020, 3, 5)},
        {"years ago", yearsAgo(local(2020, 5, 5), 2), local(2018, 5, 5)},
        {"previous week", prevWeek(local(2024, 1, 3)), local(2023, 12, 27)},
        {"yesterday", yesterday(local(2024, 3, 1)), local(2024, 2, 29)},
        {"change day", change(local(2024, 6, 12, 15, 30), {{QStringLiteral("day"), 1}}),
         local(2024, 6, 1, 15, 30)},
        {"change time", change(local(2024, 6, 12, 15, 30, 10),
                               {{QStringLiteral("hour"), 0}, {QStringLiteral("minute"), 0},
                                {QStringLiteral("second"), 0}}),
         local(2024, 6, 12)},
        {"change month", change(local(2024, 6, 12), {{QStringLiteral("month"), 2}}),
         local(2024, 2, 12)},
        {"dateWithYear", dateWithYear(2024, 2, 29, 23, 59, 59), local(2024, 2, 29, 23, 59, 59)},
    };
    for (const StepCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.got, c.expected) << qPrintable(c.got.toString(Qt::ISODate));
    }
    EXPECT_EQ(daysInMonth(local(2024, 2, 1)), 29);
    EXPECT_EQ(daysInMonth(local(2023, 2, 1)), 28);
    EXPECT_EQ(daysInMonth(local(2024, 4, 30)), 30);
}

TEST_F(CalendarTest, RelativeToNow) {
    use("Europe/Berlin", "en_US.UTF-8");
    const QDateTime now = local(2024, 6, 12, 15);
    EXPECT_TRUE(future(now, now));
    EXPECT_TRUE(past(now, now));
    EXPECT_TRUE(future(now.addSecs(1), now));
    EXPECT_FALSE(past(now.addSecs(1), now));
    EXPECT_TRUE(today(local(2024, 6, 12), now));
    EXPECT_TRUE(today(local(2024, 6, 12, 23, 59, 59), now));
    EXPECT_FALSE(today(local(2024, 6, 12, 23, 59, 59).addMSecs(500), now));
    EXPECT_FALSE(today(local(2024, 6, 11, 23, 59, 59), now));
}

}  // namespace
