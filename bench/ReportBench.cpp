// `vorlix-helper report` as whole processes on the five-year store: the
// month (--month) and all five years (--from five years ago), each the
// median wall time of seven runs from start to exit, output included.
// The store's dates are moved to end today, so --month finds its month.
// Argument: a folder named info.mallowby.Vorlix holding (or to receive) the
// five-year store; by default a temporary one.
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <cmath>

#include "BenchSupport.h"
#include "FiveYearStore.h"

namespace {

// Whole days, so every event stays on its clock hour; none once moved. The
// roots get the date bounds recording keeps on them (the synthetic store is
// written without), which the aggregation's choice of index reads.
void moveToToday(const QString& folder) {
    SqliteDatabase db;
    db.open(folder + QStringLiteral("/ActivityStore.db"));
    const double newest =
        double(db.scalarInt(QStringLiteral("SELECT MAX(startDate) FROM HourlyEvent")));
    const double now = double(QDateTime::currentSecsSinceEpoch());
    const double shift = std::floor((now - newest) / 86400.0) * 86400.0;
    if (shift > 0)
        db.exec(QStringLiteral("UPDATE HourlyEvent SET startDate = startDate + %1")
                    .arg(shift, 0, 'f', 0));
    db.exec(QStringLiteral(
        "UPDATE PathComponent SET startDateOfChildren = (SELECT MIN(startDate) FROM HourlyEvent), "
        "stopDateOfChildren = (SELECT MAX(startDate) + 3600 FROM HourlyEvent) WHERE pathLevel = "
        "0"));
    db.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
}

double medianRunMilliseconds(const QStringList& args, const QProcessEnvironment& env) {
    std::vector<double> runs;
    for (int i = 0; i < 7; ++i) {
        QProcess process;
        process.setProcessEnvironment(env);
        const auto start = bench::Clock::now();
        process.start(QStringLiteral(VORLIX_HELPER_PATH),
                      QStringList{QStringLiteral("report")} + args);
        process.waitForFinished(60000);
        runs.push_back(bench::microsecondsSince(start) / 1000.0);
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "report %s failed: %s\n", qPrintable(args.join(QLatin1Char(' '))),
                         process.readAllStandardError().constData());
            return -1;
        }
    }
    return bench::median(runs);
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString folder = app.arguments().size() > 1
                               ? QDir(app.arguments()[1]).absolutePath()
                               : dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
    if (!QFileInfo::exists(folder + QStringLiteral("/ActivityStore.db"))) {
        QDir().mkpath(QFileInfo(folder).path());
        bench::writeFiveYearStore(folder);
    }
    moveToToday(folder);

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), QFileInfo(folder).path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    const QString fiveYearsAgo =
        QDateTime::currentDateTimeUtc().date().addYears(-5).toString(Qt::ISODate);
    bench::print("report_month_process_median",
                 medianRunMilliseconds({QStringLiteral("--month")}, env), "ms");
    bench::print("report_five_years_process_median",
                 medianRunMilliseconds({QStringLiteral("--from"), fiveYearsAgo}, env), "ms");
    bench::print(
        "report_month_by_project_process_median",
        medianRunMilliseconds(
            {QStringLiteral("--month"), QStringLiteral("--by"), QStringLiteral("project")}, env),
        "ms");
    return 0;
}
