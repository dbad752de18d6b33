// Aggregation figures, ours beside a plain sqlite3 reference on the same
// file (bench/PlainSqliteReference.h) with their ratio.
//  - benchmark: the unrestricted filter over the test-data tree (four levels
//    of ten nodes, 100,000 one-hour events).
//  - a synthetic five-year store (300 applications, 50,000 path components,
//    500,000 hourly events): open, "today", full and one-month aggregation,
//    and 1,000 project-like subtree sums.
// Both stores are written by a child process, so the first aggregation here
// loads every node from the file as a freshly started program would.
#include <malloc.h>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <cstdlib>
#include <random>

#include "BenchSupport.h"
#include "FiveYearStore.h"
#include "PlainSqliteReference.h"
#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/graph/SqliteDatabase.h"

namespace {

using bench::kNow;
using bench::writeFiveYearStore;

double residentMiB() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return 0;
}

QString dataFolderIn(const QTemporaryDir& dir) {
    return dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
}

std::string databaseIn(const QString& folder) {
    return (folder + QStringLiteral("/ActivityStore.db")).toStdString();
}

// Runs this program again to write a store: `what` is "testdata" or "fiveyear".
void writeInChildProcess(const char* what, const QString& folder) {
    QProcess::execute(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("write-%1").arg(QLatin1String(what)), folder});
}

void writeTestData(const QString& folder) {
    TRActivityStore::Options options;
    options.dataFolder = folder;
    options.settings = std::make_shared<TRSettings>(QString());
    TRActivityStore store(options);
    TRASApplication* app = TRASApplication::applicationWithBundleIdentifier(
        *store.managedObjectContext(), QStringLiteral("org.example.Bench"), QString(),
        QStringLiteral("Bench"), true);
    bench::createTestData(store, app, kNow.addDays(-30));
    store.save();
}

double rootsTotal(TRActivityStore& store) {
    double total = 0;
    for (TRASPathComponent* node : store.allPathComponentsSortedByPathLevel())
        if (node->pathLevelValue() == 0) total += node->totalDurationWithFilterValue();
    return total;
}

double secondsOf(const QDateTime& date) {
    return date.isValid() ? double(date.toSecsSinceEpoch()) : std::nan("");
}

void benchTestDataFilter() {
    QTemporaryDir dir;
    const QString folder = dataFolderIn(dir);
    writeInChildProcess("testdata", folder);
    TRActivityStore::Options options = bench::storeOptions(dir);
    options.clock = [] { return kNow; };
    TRActivityStore store(options);
    const TRASEventFilter filter{kNow.addDays(-30).addSecs(-1), store.now(), {}, {}};
    auto start = bench::Clock::now();
    store.filterEventsBetweenDate(filter);
    bench::print("benchmark_first_run_with_node_load", bench::microsecondsSince(start) / 1000.0,
                 "ms");
    plain::Db db(databaseIn(folder));
    plain::Tree tree;
    start = bench::Clock::now();
    tree.load(db);
    const double referenceTotal =
        tree.aggregate(db, secondsOf(filter.start), secondsOf(filter.stop));
    bench::print("benchmark_first_run_with_node_load_reference",
                 bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("benchmark_same_total", rootsTotal(store) == referenceTotal ? 1 : 0, "");
    bench::compareWithReference(
        "benchmark_filter", 5, 1e-3, "ms", [&] { store.filterEventsBetweenDate(filter); },
        [&] { tree.aggregate(db, secondsOf(filter.start), secondsOf(filter.stop)); });
}

// keepIn: a folder to write the store into and leave there (for inspection).
void benchFiveYearStore(const QString& keepIn) {
    QTemporaryDir dir;
    dir.setAutoRemove(keepIn.isEmpty());
    const QString folder = keepIn.isEmpty() ? dataFolderIn(dir) : keepIn;
    if (!QFileInfo::exists(folder + QStringLiteral("/ActivityStore.db")))
        writeInChildProcess("fiveyear", folder);
    bench::print(
        "five_year_file_size",
        double(QFileInfo(folder + QStringLiteral("/ActivityStore.db")).size()) / (1024.0 * 1024.0),
        "MiB");
    TRActivityStore::Options options = bench::storeOptions(dir);
    options.dataFolder = folder;
    options.clock = [] { return kNow; };
    auto start = bench::Clock::now();
    TRActivityStore store(options);
    store.managedObjectContext();
    bench::print("five_year_open", bench::microsecondsSince(start) / 1000.0, "ms");
    plain::Db db(databaseIn(folder));

    const TRASEventFilter today{
        Calculations::beginningOfDay(kNow), Calculations::endOfDay(kNow), {}, {}};
    double total = 0;
    bench::compareWithReference(
        "five_year_today_sum", 200, 1e-3, "ms",
        [&] { total += store.sumOfDurationsOfEventsBetweenDate(today); },
        [&] { total += plain::sumOfDurations(db, secondsOf(today.start), secondsOf(today.stop)); });

    bench::print("five_year_resident_memory_before_nodes", residentMiB(), "MiB");
    const size_t heapBefore = mallinfo2().uordblks;
    start = bench::Clock::now();
    store.filterEventsBetweenDate({});
    bench::print("five_year_full_aggregation_first_with_node_load",
                 bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("five_year_heap_per_loaded_node",
                 double(mallinfo2().uordblks - heapBefore) /
                     double(store.allPathComponentsSortedByPathLevel().size()),
                 "bytes");
    bench::print("five_year_resident_memory_after_nodes", residentMiB(), "MiB");
    plain::Tree tree;
    start = bench::Clock::now();
    tree.load(db);
    const double referenceTotal = tree.aggregate(db, std::nan(""), std::nan(""));
    bench::print("five_year_full_aggregation_first_with_node_load_reference",
                 bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("five_year_same_total", rootsTotal(store) == referenceTotal ? 1 : 0, "");

    bench::compareWithReference(
        "five_year_full_aggregation", 3, 1e-3, "ms", [&] { store.filterEventsBetweenDate({}); },
        [&] { tree.aggregate(db, std::nan(""), std::nan("")); });
    const TRASEventFilter lastMonth{Calculations::prevMonth(kNow), kNow, {}, {}};
    bench::compareWithReference(
        "five_year_month_aggregation", 5, 1e-3, "ms",
        [&] { store.filterEventsBetweenDate(lastMonth); },
        [&] { tree.aggregate(db, secondsOf(lastMonth.start), secondsOf(lastMonth.stop)); });
    store.filterEventsBetweenDate(lastMonth);
    bench::print("five_year_month_same_total",
                 rootsTotal(store) ==
                         tree.aggregate(db, secondsOf(lastMonth.start), secondsOf(lastMonth.stop))
                     ? 1
                     : 0,
                 "");

    const auto& nodes = store.allPathComponentsSortedByPathLevel();
    std::mt19937 random(7);
    std::vector<std::vector<TRASPathComponent*>> subtrees;
    for (int i = 0; i < 1000; ++i) {
        // Project-like: a subtree a few levels down, as a project's path would name.
        TRASPathComponent* n = nodes[random() % nodes.size()];
        subtrees.push_back(n->completeSubtree(store.allPathComponentsGroupedByPathParent()));
    }
    start = bench::Clock::now();
    const double subtreeCpuStart = bench::cpuMicroseconds();
    for (const auto& subtree : subtrees)
        total += store.sumOfDurationsOfEventsBetweenDate({QDateTime(), QDateTime(), subtree, {}});
    bench::print("five_year_1000_subtree_sums", bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("five_year_1000_subtree_sums_cpu",
                 (bench::cpuMicroseconds() - subtreeCpuStart) / 1000.0, "ms");
    bench::print("five_year_resident_memory", residentMiB(), "MiB");
    if (total < 0) std::printf("impossible\n");
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    // The child's part: write a store into the folder and leave.
    if (args.size() == 3 && args[1] == QLatin1String("write-testdata")) {
        writeTestData(args[2]);
        return 0;
    }
    if (args.size() == 3 && args[1] == QLatin1String("write-fiveyear")) {
        writeFiveYearStore(args[2]);
        return 0;
    }
    // An argument picks one part: "benchmark" or "fiveyear [FOLDER]".
    if (args.size() < 2 || args[1] == QLatin1String("benchmark")) benchTestDataFilter();
    if (args.size() < 2 || args[1] == QLatin1String("fiveyear"))
        benchFiveYearStore(args.size() > 2 ? args[2] : QString());
    return 0;
}
