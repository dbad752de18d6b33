#include "app/ReportCommand.h"

#include <QLocale>
#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include "app/ReportFormatting.h"
#include "app/ReportGathering.h"
#include "core/DateCalculations.h"
#include "core/TRSettings.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRStoreReporter.h"
#include "store/project/TRProjectStore.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kNothingRecorded = 3;

const char kUsageText[] =
    "usage: vorlix-helper report [--today | --yesterday | --week | --month |\n"
    "                             --from DATE [--to DATE]] [--by app|project]\n"
    "                             [--depth N] [--min DURATION] [--format tree|csv|json]\n"
    "\n"
    "Shows where the recorded time went: today unless asked otherwise.\n"
    "\n"
    "  --yesterday, --week, --month   those days of your calendar (the week\n"
    "                 starts on your locale's first weekday)\n"
    "  --from, --to   first and last day, as YYYY-MM-DD (--to: today if left out)\n"
    "  --by           app (default): applications and their documents, folders\n"
    "                 and pages; project: each project, then its applications\n"
    "  --depth        how many path levels below an application (default 2)\n"
    "  --min          hide lines of at most this time: 90, 90s, 5m, 1h30m\n"
    "                 (default: the activityStoreTimeThreshold setting)\n"
    "  --format       tree (default), csv or json (seconds, for scripts)\n"
    "\n"
    "Exit status: 0 done, 1 a store could not be read, 2 usage error,\n"
    "3 nothing recorded in those days.\n";

enum class Format { Tree, Csv, Json };

struct Options final {
    ReportRequest request;
    Format format = Format::Tree;
};

// Store failures as the user's terminal should see them.
class TerminalReporter final : public TRStoreReporter {
public:
    explicit TerminalReporter(QTextStream& err) : m_err(err) {}
    void presentError(const TRError& error) override {
        m_err << "vorlix-helper report: error: " << error.description;
        if (!error.failureReason.isEmpty()) m_err << " " << error.failureReason;
        m_err << "\n";
        m_err.flush();
    }
    void logLine(const QString&) override {}

private:
    QTextStream& m_err;
};

QDate localDate(const QDateTime& instant) {
    return instant.toLocalTime().date();
}

// "90", "90s", "5m", "1h30m", "1h 30m 10s", "1.5h"; nullopt when it is none.
std::optional<double> parseDuration(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral(
        R"(^\s*(?:(\d+(?:\.\d+)?)\s*h)?\s*(?:(\d+(?:\.\d+)?)\s*m)?\s*(?:(\d+(?:\.\d+)?)\s*s?)?\s*$)"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (text.trimmed().isEmpty() || !match.hasMatch()) return std::nullopt;
    return match.captured(1).toDouble() * 3600 + match.captured(2).toDouble() * 60 +
           match.captured(3).toDouble();
}

class Parser final {
public:
    Parser(QStringList args, QTextStream& err) : m_args(std::move(args)), m_err(err) {}

    // The options, or the exit code of a usage error (already told).
    std::optional<Options> parse(const QDateTime& now, double defaultMinimum, int* code) {
        Options options;
        options.request.minimumSeconds = defaultMinimum;
        while (!m_args.isEmpty() && *code == 0) *code = takeOption(options);
        if (*code == 0) *code = resolveDays(options.request, now);
        if (*code != 0) return std::nullopt;
        return options;
    }

private:
    int usage(const QString& why) {
        m_err << "vorlix-helper report: error: " << why << "\n"
              << "Try 'vorlix-helper report --help'.\n";
        return kUsage;
    }

    std::optional<QString> value(const QString& option) {
        if (m_args.isEmpty()) {
            usage(QStringLiteral("%1 needs a value").arg(option));
            return std::nullopt;
        }
        return m_args.takeFirst();
    }

    // One choice of days; --from and --to together count as one.
    int takeRange(const QString& option) {
        const bool dates = option == QLatin1String("--from") || option == QLatin1String("--to");
        const QString choice = dates ? QStringLiteral("--from/--to") : option;
        if (!m_range.isEmpty() && m_range != choice)
            return usage(QStringLiteral("%1 and %2 choose different days").arg(m_range, option));
        m_range = choice;
        if (!dates) return 0;
        const std::optional<QString> text = value(option);
        if (!text) return kUsage;
        const QDate date = QDate::fromString(*text, Qt::ISODate);
        if (!date.isValid())
            return usage(QStringLiteral("'%1' is not a date (YYYY-MM-DD)").arg(*text));
        (option == QLatin1String("--from") ? m_from : m_to) = date;
        return 0;
    }

    int takeOption(Options& options) {
        const QString option = m_args.takeFirst();
        static const QStringList ranges{QStringLiteral("--today"), QStringLiteral("--yesterday"),
                                        QStringLiteral("--week"),  QStringLiteral("--month"),
                                        QStringLiteral("--from"),  QStringLiteral("--to")};
        if (ranges.contains(option)) return takeRange(option);
        const bool known = option == QLatin1String("--by") || option == QLatin1String("--depth") ||
                           option == QLatin1String("--min") || option == QLatin1String("--format");
        if (!known) return usage(QStringLiteral("unexpected '%1'").arg(option));
        const std::optional<QString> text = value(option);
        if (!text) return kUsage;
        if (option == QLatin1String("--by")) {
            if (*text != QLatin1String("app") && *text != QLatin1String("project"))
                return usage(QStringLiteral("--by is app or project"));
            options.request.grouping = *text == QLatin1String("project")
                                           ? ReportGrouping::Project
                                           : ReportGrouping::Application;
        } else if (option == QLatin1String("--depth")) {
            bool ok = false;
            options.request.depth = text->toInt(&ok);
            if (!ok || options.request.depth < 0)
                return usage(QStringLiteral("--depth is a number of levels, 0 or more"));
        } else if (option == QLatin1String("--min")) {
            const std::optional<double> seconds = parseDuration(*text);
            if (!seconds)
                return usage(QStringLiteral("'%1' is not a duration (90, 5m, 1h30m)").arg(*text));
            options.request.minimumSeconds = *seconds;
        } else {
            static const QStringList formats{QStringLiteral("tree"), QStringLiteral("csv"),
                                             QStringLiteral("json")};
            if (!formats.contains(*text))
                return usage(QStringLiteral("--format is tree, csv or json"));
            options.format = Format(formats.indexOf(*text));
        }
        return 0;
    }

    int resolveDays(ReportRequest& request, const QDateTime& now) {
        QDate first = localDate(now), last = first;
        if (m_range == QLatin1String("--yesterday")) {
            first = last = localDate(Calculations::yesterday(now));
        } else if (m_range == QLatin1String("--week")) {
            // The seven days of this calendar week, from the first weekday of
            // the user's locale (Monday in most, Sunday in some).
            const int firstWeekday = QLocale().firstDayOfWeek();
            first = first.addDays(-((first.dayOfWeek() - firstWeekday + 7) % 7));
            last = first.addDays(6);
        } else if (m_range == QLatin1String("--month")) {
            first = localDate(Calculations::beginningOfMonth(now));
            last = localDate(Calculations::endOfMonth(now));
        } else if (m_range == QLatin1String("--from/--to")) {
            if (!m_from.isValid()) return usage(QStringLiteral("--to needs --from"));
            first = m_from;
            if (m_to.isValid()) last = m_to;
        }
        if (last < first)
            return usage(QStringLiteral("the range ends (%1) before it starts (%2)")
                             .arg(last.toString(Qt::ISODate), first.toString(Qt::ISODate)));
        request.firstDay = first;
        request.lastDay = last;
        return 0;
    }

    QStringList m_args;
    QTextStream& m_err;
    QString m_range;
    QDate m_from, m_to;
};

QString formatted(const Report& report, Format format) {
    switch (format) {
        case Format::Csv:
            return reportAsCsv(report);
        case Format::Json:
            return reportAsJson(report);
        case Format::Tree:
            break;
    }
    return reportAsTree(report);
}

// REQUIRES: the options parsed.
int printReport(TRProjectStore& projects, const Options& options, QTextStream& out,
                QTextStream& err) {
    if (!projects.activityStore().managedObjectContext() || !projects.managedObjectContext())
        return kFailed;
    const Report report = gatherReport(projects, options.request);
    if (!(report.totalSeconds > 0)) {
        err << "vorlix-helper report: error: nothing recorded from "
            << options.request.firstDay.toString(Qt::ISODate) << " to "
            << options.request.lastDay.toString(Qt::ISODate) << "\n";
        return kNothingRecorded;
    }
    out << formatted(report, options.format);
    return 0;
}

int report(const QStringList& arguments, QTextStream& out, QTextStream& err, bool endProcess) {
    if (arguments.contains(QLatin1String("--help")) || arguments.contains(QLatin1String("-h"))) {
        out << kUsageText;
        return 0;
    }
    auto settings = std::make_shared<TRSettings>();
    int code = 0;
    const std::optional<Options> options =
        Parser(arguments, err)
            .parse(QDateTime::currentDateTimeUtc(), settings->snapshot().activityStoreTimeThreshold,
                   &code);
    if (!options) return code;
    auto reporter = std::make_shared<TerminalReporter>(err);
    TRActivityStore::Options activityOptions;
    activityOptions.settings = settings;
    activityOptions.reporter = reporter;
    activityOptions.readOnly = true;
    auto activities = std::make_unique<TRActivityStore>(std::move(activityOptions));
    TRProjectStore::Options projectOptions;
    projectOptions.activityStore = activities.get();
    projectOptions.reporter = reporter;
    projectOptions.readOnly = true;
    auto projects = std::make_unique<TRProjectStore>(std::move(projectOptions));
    code = printReport(*projects, *options, out, err);
    if (endProcess) {
        // Nothing is left to save, and taking tens of thousands of nodes
        // apart one by one would cost a fifth of the run.
        out.flush();
        err.flush();
        std::fflush(nullptr);
        std::_Exit(code);
    }
    return code;
}

}  // namespace

int runReportCommand(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    const int code = report(arguments, out, err, false);
    out.flush();
    return code;
}

int runReportCommand(const QStringList& arguments) {
    QTextStream out(stdout), err(stderr);
    const int code = report(arguments, out, err, true);
    out.flush();
    err.flush();
    return code;
}
