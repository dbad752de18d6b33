#include "core/DateCalculations.h"

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <unistd.h>

#include <QLoggingCategory>
#include <QtGlobal>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>

namespace Calculations {

namespace {

std::atomic<int> g_generation{0};

// The locale of the user's time formats, as the environment names it.
icu::Locale environmentLocale() {
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
        QByteArray value = qgetenv(name);
        if (value.isEmpty()) continue;
        const qsizetype cut = value.indexOf('.') >= 0 ? value.indexOf('.') : value.indexOf('@');
        if (cut >= 0) value.truncate(cut);
        if (value == "C" || value == "POSIX") return icu::Locale("en_US_POSIX");
        return icu::Locale(value.constData());
    }
    return icu::Locale("en_US_POSIX");
}

// The zone the system names: TZ when set (a leading ':' dropped), else the
// target of /etc/localtime, which timedated and the desktop's settings change
// by replacing the link. Read at most once a second.
struct ZoneWatch {
    QByteArray tz;
    QByteArray localtime;
    qint64 checkedAt = 0;
    bool checkNow = true;
};

qint64 coarseMilliseconds() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
    return qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

QByteArray localtimeTarget() {
    char buffer[512];
    const ssize_t length = ::readlink("/etc/localtime", buffer, sizeof buffer);
    return length > 0 ? QByteArray(buffer, int(length)) : QByteArray();
}

// True when the system's zone differs from the one seen last on this thread;
// TZ is compared on every call (tests and users set it), the link once a second.
bool systemZoneChanged(ZoneWatch& watch) {
    const char* tz = std::getenv("TZ");
    if (!tz) tz = "";
    bool changed = qstrcmp(watch.tz.constData(), tz) != 0;
    if (changed) watch.tz = QByteArray(tz);
    const qint64 now = coarseMilliseconds();
    if (watch.checkNow || now - watch.checkedAt >= 1000) {
        watch.checkNow = false;
        watch.checkedAt = now;
        QByteArray target = localtimeTarget();
        if (target != watch.localtime) {
            watch.localtime = std::move(target);
            changed = true;
        }
    }
    return changed;
}

std::unique_ptr<icu::TimeZone> systemZone(const ZoneWatch& watch) {
    QByteArray id = watch.tz;
    if (id.startsWith(':')) id.remove(0, 1);
    if (id.isEmpty()) {
        const qsizetype at = watch.localtime.indexOf("zoneinfo/");
        if (at >= 0) id = watch.localtime.mid(at + 9);
    }
    if (!id.isEmpty() && !id.startsWith('/')) {
        std::unique_ptr<icu::TimeZone> zone(
            icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(id.constData())));
        if (zone && *zone != icu::TimeZone::getUnknown()) return zone;
    }
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

// Milliseconds [start, end) that all begin the hour at `start`; empty when
// start == end.
struct HourSpan {
    qint64 start = 0;
    qint64 end = 0;
};

struct ThreadCalendar {
    std::unique_ptr<icu::Calendar> calendar;
    int generation = -1;
    ZoneWatch zone;
    HourSpan hour;  // forgotten with the calendar or its zone
};

// The calendar of this thread, rebuilt after refreshCurrentCalendar() and
// given the new zone when the system's changes.
ThreadCalendar& threadCalendar() {
    thread_local ThreadCalendar local;
    const int generation = g_generation.load(std::memory_order_acquire);
    const bool rebuild = !local.calendar || local.generation != generation;
    if (rebuild) local.zone.checkNow = true;
    if (systemZoneChanged(local.zone) && !rebuild) {
        local.calendar->adoptTimeZone(systemZone(local.zone).release());
        local.hour = HourSpan();
    }
    if (rebuild) {
        UErrorCode status = U_ZERO_ERROR;
        local.calendar.reset(icu::Calendar::createInstance(systemZone(local.zone).release(),
                                                           environmentLocale(), status));
        Q_ASSERT_X(U_SUCCESS(status), "Calculations", "ICU has no calendar");
        local.calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
        local.calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
        local.generation = generation;
        local.hour = HourSpan();
    }
    return local;
}

icu::Calendar& calendar() { return *threadCalendar().calendar; }

// The zone's offset from UTC at `ms`; nullopt when ICU cannot say.
std::optional<qint64> offsetAt(const icu::TimeZone& zone, qint64 ms) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t raw = 0, dst = 0;
    zone.getOffset(static_cast<UDate>(ms), false, raw, dst, status);
    if (U_FAILURE(status)) return std::nullopt;
    return qint64(raw) + dst;
}

icu::Calendar& at(const QDateTime& d) {
    icu::Calendar& cal = calendar();
    UErrorCode status = U_ZERO_ERROR;
    cal.setTime(static_cast<UDate>(d.toMSecsSinceEpoch()), status);
    return cal;
}

int field(icu::Calendar& cal, UCalendarDateFields f) {
    UErrorCode status = U_ZERO_ERROR;
    return cal.get(f, status);
}

QDateTime timeOf(icu::Calendar& cal) {
    UErrorCode status = U_ZERO_ERROR;
    const UDate ms = cal.getTime(status);
    if (U_FAILURE(status)) return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(ms)), Qt::UTC);
}

// A date rebuilt from year, month (1-based), day and time of day.
QDateTime fromFields(int year, int month, int day, int hour, int minute, int second) {
    icu::Calendar& cal = calendar();
    cal.clear();
    cal.set(year, month - 1, day, hour, minute, second);
    return timeOf(cal);
}

struct YearMonth {
    int year;
    int month;  // 1-based
};

YearMonth yearMonthOf(const QDateTime& d) {
    icu::Calendar& cal = at(d);
    return {field(cal, UCAL_YEAR), field(cal, UCAL_MONTH) + 1};
}

// Year, month, week of year and weekday of `d`, with the weekday replaced.
QDateTime weekBoundary(const QDateTime& d, int weekday, int hour, int minute, int second) {
    icu::Calendar& cal = at(d);
    const int year = field(cal, UCAL_YEAR);
    const int month = field(cal, UCAL_MONTH);
    const int week = field(cal, UCAL_WEEK_OF_YEAR);
    cal.clear();
    cal.set(UCAL_YEAR, year);
    cal.set(UCAL_MONTH, month);
    cal.set(UCAL_WEEK_OF_YEAR, week);
    cal.set(UCAL_DAY_OF_WEEK, weekday);
    cal.set(UCAL_HOUR_OF_DAY, hour);
    cal.set(UCAL_MINUTE, minute);
    cal.set(UCAL_SECOND, second);
    return timeOf(cal);
}

int quarterStartMonth(int month) { return (month - 1) / 3 * 3 + 1; }

}  // namespace

void refreshCurrentCalendar() {
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
    g_generation.fetch_add(1, std::memory_order_release);
}

QDateTime dateWithYear(int year, int month, int day, int hour, int minute, int second) {
    return fromFields(year, month, day, hour, minute, second);
}

QDateTime createDate(int year, int month, int day, int hour, int minute, int second) {
    qWarning("createDate:month:day:hour:minute:second has been deprecated. Use "
             "dateWithYear:month:day:hour:minute:second");
    return dateWithYear(year, month, day, hour, minute, second);
}

// Taken back by the minutes, seconds and milliseconds of the local time
// rather than rebuilt from fields: in the hour that a daylight-saving change
// repeats, a rebuild could land on the other occurrence, after the instant.
// Recording asks for the same hour many times in a row, so the last hour is
// kept. An hour whose first and last millisecond have the same offset from
// UTC has it throughout (no zone changes its offset twice within an hour),
// and then every date in it begins at the same instant; an hour in which the
// offset changes is worked out anew each time.
QDateTime beginningOfHour(const QDateTime& d) {
    if (!d.isValid()) return QDateTime();
    constexpr qint64 kHour = 3600 * 1000;
    ThreadCalendar& local = threadCalendar();
    const qint64 ms = d.toMSecsSinceEpoch();
    if (ms >= local.hour.start && ms < local.hour.end)
        return QDateTime::fromMSecsSinceEpoch(local.hour.start, Qt::UTC);
    icu::Calendar& cal = at(d);
    const qint64 intoHour = (field(cal, UCAL_MINUTE) * 60LL + field(cal, UCAL_SECOND)) * 1000 +
                            field(cal, UCAL_MILLISECOND);
    const qint64 start = ms - intoHour;
    const std::optional<qint64> first = offsetAt(cal.getTimeZone(), start);
    if (first && first == offsetAt(cal.getTimeZone(), start + kHour - 1))
        local.hour = HourSpan{start, start + kHour};
    return QDateTime::fromMSecsSinceEpoch(start, Qt::UTC);
}

QDateTime beginningOfDay(const QDateTime& d) {
    icu::Calendar& cal = at(d);
    return fromFields(field(cal, UCAL_YEAR), field(cal, UCAL_MONTH) + 1, field(cal, UCAL_DATE), 0,
                      0, 0);
}

QDateTime endOfDay(const QDateTime& d) {
    icu::Calendar& cal = at(d);
    return fromFields(field(cal, UCAL_YEAR), field(cal, UCAL_MONTH) + 1, field(cal, UCAL_DATE), 23,
                      59, 59);
}

QDateTime beginningOfWeek(const QDateTime& d) { return weekBoundary(prevWeek(d), 1, 0, 0, 0); }

QDateTime endOfWeek(const QDateTime& d) { return weekBoundary(d, 7, 23, 59, 59); }

QDateTime beginningOfMonth(const QDateTime& d) {
    const YearMonth ym = yearMonthOf(d);
    return fromFields(ym.year, ym.month, 1, 0, 0, 0);
}

QDateTime endOfMonth(const QDateTime& d) {
    const YearMonth ym = yearMonthOf(d);
    return fromFields(ym.year, ym.month, daysInMonth(d), 23, 59, 59);
}

QDateTime beginningOfQuarter(const QDateTime& d) {
    const YearMonth ym = yearMonthOf(d);
    return fromFields(ym.year, quarterStartMonth(ym.month), 1, 0, 0, 0);
}

QDateTime endOfQuarter(const QDateTime& d) {
    static constexpr int kLastDay[] = {31, 30, 30, 31};
    const YearMonth ym = yearMonthOf(d);
    const int quarter = (ym.month - 1) / 3;
    return fromFields(ym.year, quarter * 3 + 3, kLastDay[quarter], 23, 59, 59);
}

QDateTime beginningOfYear(const QDateTime& d) {
    return fromFields(yearMonthOf(d).year, 1, 1, 0, 0, 0);
}

QDateTime endOfYear(const QDateTime& d) { return fromFields(yearMonthOf(d).year, 12, 31, 23, 59, 59); }

QDateTime advance(const QDateTime& d, int years, int months, int weeks, int days, int hours,
                  int minutes, int seconds) {
    icu::Calendar& cal = at(d);
    UErrorCode status = U_ZERO_ERROR;
    const std::pair<UCalendarDateFields, int> amounts[] = {
        {UCAL_YEAR, years}, {UCAL_MONTH, months},  {UCAL_WEEK_OF_YEAR, weeks}, {UCAL_DATE, days},
        {UCAL_HOUR, hours}, {UCAL_MINUTE, minutes}, {UCAL_SECOND, seconds}};
    for (const auto& [f, amount] : amounts) {
        if (amount != 0) cal.add(f, amount, status);
    }
    return U_SUCCESS(status) ? timeOf(cal) : QDateTime();
}

QDateTime ago(const QDateTime& d, int years, int months, int weeks, int days, int hours,
              int minutes, int seconds) {
    return advance(d, -years, -months, -weeks, -days, -hours, -minutes, -seconds);
}

QDateTime change(const QDateTime& d, const std::map<QString, int>& fields) {
    static const std::map<QString, UCalendarDateFields> kFields = {
        {QStringLiteral("era"), UCAL_ERA},          {QStringLiteral("year"), UCAL_YEAR},
        {QStringLiteral("month"), UCAL_MONTH},      {QStringLiteral("day"), UCAL_DATE},
        {QStringLiteral("hour"), UCAL_HOUR_OF_DAY}, {QStringLiteral("minute"), UCAL_MINUTE},
        {QStringLiteral("second"), UCAL_SECOND},    {QStringLiteral("week"), UCAL_WEEK_OF_YEAR},
        {QStringLiteral("weekday"), UCAL_DAY_OF_WEEK}};
    icu::Calendar& cal = at(d);
    cal.set(UCAL_MILLISECOND, 0);
    for (const auto& [key, value] : fields) {
        // The calendar has no quarter field; setting one changes nothing.
        if (key == QLatin1String("quarter")) continue;
        const auto found = kFields.find(key);
        if (found == kFields.end()) {
            qFatal("Calculations::change: no calendar field named '%s'", qPrintable(key));
        }
        cal.set(found->second, found->second == UCAL_MONTH ? value - 1 : value);
    }
    return timeOf(cal);
}

int daysInMonth(const QDateTime& d) {
    UErrorCode status = U_ZERO_ERROR;
    return at(d).getActualMaximum(UCAL_DATE, status);
}

QDateTime monthsSince(const QDateTime& d, int months) { return advance(d, 0, months, 0, 0, 0, 0, 0); }
QDateTime yearsSince(const QDateTime& d, int years) { return advance(d, years, 0, 0, 0, 0, 0, 0); }
QDateTime yearsAgo(const QDateTime& d, int years) { return advance(d, -years, 0, 0, 0, 0, 0, 0); }
QDateTime nextDay(const QDateTime& d) { return advance(d, 0, 0, 0, 1, 0, 0, 0); }
QDateTime tomorrow(const QDateTime& d) { return nextDay(d); }
QDateTime prevDay(const QDateTime& d) { return advance(d, 0, 0, 0, -1, 0, 0, 0); }
QDateTime yesterday(const QDateTime& d) { return prevDay(d); }
QDateTime nextWeek(const QDateTime& d) { return advance(d, 0, 0, 1, 0, 0, 0, 0); }
QDateTime prevWeek(const QDateTime& d) { return advance(d, 0, 0, -1, 0, 0, 0, 0); }
QDateTime nextMonth(const QDateTime& d) { return monthsSince(d, 1); }
QDateTime prevMonth(const QDateTime& d) { return monthsSince(d, -1); }
QDateTime nextYear(const QDateTime& d) { return advance(d, 1, 0, 0, 0, 0, 0, 0); }
QDateTime prevYear(const QDateTime& d) { return yearsAgo(d, 1); }

bool future(const QDateTime& d, const QDateTime& now) { return d >= now; }
bool past(const QDateTime& d, const QDateTime& now) { return d <= now; }

bool today(const QDateTime& d, const QDateTime& now) {
    return d >= beginningOfDay(now) && d <= endOfDay(now);
}

}  // namespace Calculations
