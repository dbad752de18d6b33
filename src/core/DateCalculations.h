#pragma once
// Calendar boundaries and steps on absolute dates.
//
// Every function takes and returns an absolute instant (QDateTime in UTC) and
// does its calendar work in the user's current calendar: ICU's default time
// zone and locale (first weekday, minimal days in the first week). The
// weekday numbers 1 and 7 are the calendar's own (1 = Sunday), whatever the
// user's first weekday is, so beginningOfWeek() is the Sunday of the week
// before the receiver's week while endOfWeek() is the Saturday of the
// receiver's own week. Callers rely on that asymmetry; keep it.
//
// A wall time that a daylight-saving change repeats is read as its first
// occurrence, one that the change skips as the first valid time after it.
//
// Thread-safe: each thread keeps its own calendar.

#include <QDateTime>
#include <QString>
#include <map>

namespace Calculations {

// Re-reads the time zone and locale from the environment (TZ, LANG, ...).
// Call after the user's time zone changed; tests call it after setting TZ.
void refreshCurrentCalendar();

// Invalid QDateTime when the fields cannot form a date.
QDateTime dateWithYear(int year, int month, int day, int hour, int minute, int second);
// Deprecated spelling of dateWithYear(); logs a warning each time.
QDateTime createDate(int year, int month, int day, int hour, int minute, int second);

QDateTime beginningOfHour(const QDateTime& d);
QDateTime beginningOfDay(const QDateTime& d);
QDateTime beginningOfWeek(const QDateTime& d);
QDateTime beginningOfMonth(const QDateTime& d);
QDateTime beginningOfQuarter(const QDateTime& d);
QDateTime beginningOfYear(const QDateTime& d);
// 23:59:59 of the day: a span from beginningOfDay() to endOfDay() leaves out
// the day's last second.
QDateTime endOfDay(const QDateTime& d);
QDateTime endOfWeek(const QDateTime& d);
QDateTime endOfMonth(const QDateTime& d);
QDateTime endOfQuarter(const QDateTime& d);
QDateTime endOfYear(const QDateTime& d);

// Adds the amounts as calendar fields, largest unit first.
QDateTime advance(const QDateTime& d, int years, int months, int weeks, int days, int hours,
                  int minutes, int seconds);
QDateTime ago(const QDateTime& d, int years, int months, int weeks, int days, int hours,
              int minutes, int seconds);

// Sets the named calendar fields ("year", "month", "day", "hour", "minute",
// "second", "week", "weekday", "era", "quarter") and rebuilds the date.
// REQUIRES: every key names one of those fields (anything else is a
// programming error and ends the process).
QDateTime change(const QDateTime& d, const std::map<QString, int>& fields);

int daysInMonth(const QDateTime& d);

// Both add, despite the names.
QDateTime monthsSince(const QDateTime& d, int months);
QDateTime yearsSince(const QDateTime& d, int years);
QDateTime yearsAgo(const QDateTime& d, int years);

QDateTime nextDay(const QDateTime& d);
QDateTime tomorrow(const QDateTime& d);
QDateTime prevDay(const QDateTime& d);
QDateTime yesterday(const QDateTime& d);
QDateTime nextWeek(const QDateTime& d);
QDateTime prevWeek(const QDateTime& d);
QDateTime nextMonth(const QDateTime& d);
QDateTime prevMonth(const QDateTime& d);
QDateTime nextYear(const QDateTime& d);
QDateTime prevYear(const QDateTime& d);

// Relative to `now` (the caller's clock).
bool future(const QDateTime& d, const QDateTime& now);
bool past(const QDateTime& d, const QDateTime& now);
bool today(const QDateTime& d, const QDateTime& now);

}  // namespace Calculations
