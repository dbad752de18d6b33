// `vorlix-helper report` as whole processes on the five-year store: the
// month (--month), all five years (--from five years ago) and the month by
// project, each the median of seven runs from start to exit, output included.
// The store's dates are moved to end today, so --month finds its month.
// Argument: a folder named info.mallowby.Vorlix holding (or to receive) the
// five-year store; by default a temporary one.
#include <sys/resource.h>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <cmath>
#include <string>

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

double childCpuMilliseconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

// Prints the median wall time from start to exit and the median CPU time of
// the process (which other programs on a shared machine inflate less).
void measure(const char* name, const QStringList& args, const QProcessEnvironment& env) {
    std::vector<double> runs, cpu;
    for (int i = 0; i < 7; ++i) {
        QProcess process;
        process.setProcessEnvironment(env);
        const double cpuBefore = childCpuMilliseconds();
        const auto start = bench::Clock::now();
        process.start(QStringLiteral(VORLIX_HELPER_PATH),
                      QStringList{QStringLiteral("report")} + args);
        process.waitForFinished(60000);
        runs.push_back(bench::microsecondsSince(start) / 1000.0);
        cpu.push_back(childCpuMilliseconds() - cpuBefore);
        if (process.exitCode() != 0) {
            std::fprintf(stderr, "report %s failed: %s\n", qPrintable(args.join(QLatin1Char(' '))),
                         process.readAllStandardError().constData());
            return;
        }
    }
    bench::print((std::string(name) + "_process_median").c_str(), bench::median(runs), "ms");
    bench::print((std::string(name) + "_process_cpu_median").c_str(), bench::median(cpu), "ms");
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
    measure("report_month", {QStringLiteral("--month")}, env);
    measure("report_five_years", {QStringLiteral("--from"), fiveYearsAgo}, env);
    measure("report_month_by_project",
            {QStringLiteral("--month"), QStringLiteral("--by"), QStringLiteral("project")}, env);
    return 0;
}
