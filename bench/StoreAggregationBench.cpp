// Aggregation figures.
//  - benchmark: the unrestricted filter over the test-data tree (four levels
//    of ten nodes, 100,000 one-hour events), five runs.
//  - a synthetic five-year store (300 applications, 50,000 path components,
//    500,000 hourly events): open, "today", full and one-month aggregation,
//    and 1,000 project-like subtree sums.
#include <malloc.h>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <cstdlib>
#include <random>

#include "BenchSupport.h"
#include "FiveYearStore.h"
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

void benchTestDataFilter() {
    QTemporaryDir dir;
    TRActivityStore::Options options = bench::storeOptions(dir);
    options.clock = [] { return kNow; };
    TRActivityStore store(options);
    TRASApplication* app = TRASApplication::applicationWithBundleIdentifier(
        *store.managedObjectContext(), QStringLiteral("org.example.Bench"), QString(),
        QStringLiteral("Bench"), true);
    const QDateTime reference = kNow.addDays(-30);
    bench::createTestData(store, app, reference);
    store.save();
    TRASEventFilter filter{reference.addSecs(-1), store.now(), {}, {}};
    std::vector<double> runs, cpu;
    for (int i = 0; i < 6; ++i) {
        const auto start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        store.filterEventsBetweenDate(filter);
        if (i > 0) {  // run 0 also loads the nodes
            runs.push_back(bench::microsecondsSince(start) / 1000.0);
            cpu.push_back((bench::cpuMicroseconds() - cpuStart) / 1000.0);
        } else {
            bench::print("benchmark_first_run_with_node_load",
                         bench::microsecondsSince(start) / 1000.0, "ms");
        }
    }
    bench::print("benchmark_filter_run_median", bench::median(runs), "ms");
    bench::print("benchmark_filter_run_median_cpu", bench::median(cpu), "ms");
}

// keepIn: a folder to write the store into and leave there (for inspection).
void benchFiveYearStore(const QString& keepIn) {
    QTemporaryDir dir;
    dir.setAutoRemove(keepIn.isEmpty());
    const QString folder =
        keepIn.isEmpty() ? dir.filePath(QStringLiteral("info.mallowby.Vorlix")) : keepIn;
    if (!QFileInfo::exists(folder + QStringLiteral("/ActivityStore.db")))
        writeFiveYearStore(folder);
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

    const TRASEventFilter today{
        Calculations::beginningOfDay(kNow), Calculations::endOfDay(kNow), {}, {}};
    std::vector<double> todayRuns, todayCpu;
    double total = 0;
    for (int i = 0; i < 200; ++i) {
        start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        total += store.sumOfDurationsOfEventsBetweenDate(today);
        todayRuns.push_back(bench::microsecondsSince(start));
        todayCpu.push_back(bench::cpuMicroseconds() - cpuStart);
    }
    bench::print("five_year_today_sum_median", bench::median(todayRuns) / 1000.0, "ms");
    bench::print("five_year_today_sum_median_cpu", bench::median(todayCpu) / 1000.0, "ms");

    bench::print("five_year_resident_memory_before_nodes", residentMiB(), "MiB");
    const size_t heapBefore = mallinfo2().uordblks;
    start = bench::Clock::now();
    store.filterEventsBetweenDate({});
    bench::print("five_year_heap_per_loaded_node",
                 double(mallinfo2().uordblks - heapBefore) /
                     double(store.allPathComponentsSortedByPathLevel().size()),
                 "bytes");
    bench::print("five_year_full_aggregation_first_with_node_load",
                 bench::microsecondsSince(start) / 1000.0, "ms");
    std::vector<double> full, fullCpu, month, monthCpu;
    for (int i = 0; i < 5; ++i) {
        start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        store.filterEventsBetweenDate({});
        full.push_back(bench::microsecondsSince(start) / 1000.0);
        fullCpu.push_back((bench::cpuMicroseconds() - cpuStart) / 1000.0);
    }
    bench::print("five_year_full_aggregation_median", bench::median(full), "ms");
    bench::print("five_year_full_aggregation_median_cpu", bench::median(fullCpu), "ms");
    const TRASEventFilter lastMonth{Calculations::prevMonth(kNow), kNow, {}, {}};
    for (int i = 0; i < 5; ++i) {
        start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        store.filterEventsBetweenDate(lastMonth);
        month.push_back(bench::microsecondsSince(start) / 1000.0);
        monthCpu.push_back((bench::cpuMicroseconds() - cpuStart) / 1000.0);
    }
    bench::print("five_year_month_aggregation_median", bench::median(month), "ms");
    bench::print("five_year_month_aggregation_median_cpu", bench::median(monthCpu), "ms");

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
    // An argument picks one part: "benchmark" or "fiveyear [FOLDER]".
    if (args.size() < 2 || args[1] == QLatin1String("benchmark")) benchTestDataFilter();
    if (args.size() < 2 || args[1] == QLatin1String("fiveyear"))
        benchFiveYearStore(args.size() > 2 ? args[2] : QString());
    return 0;
}
