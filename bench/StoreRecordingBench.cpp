// Recording figures: the test-data tree (four levels of ten nodes, ten
// one-hour intervals per leaf, saved after every third-level node), one
// interval recorded and committed, and a minute of use (20 intervals) saved
// in one transaction.
#include <QCoreApplication>
#include <QFileInfo>
#include <cstdlib>

#include "BenchSupport.h"
#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"

namespace {

TRActivity activityFor(int page) {
    TRActivity activity;
    RunningApplication app;
    app.processIdentifier = 1 + page % 7;
    app.bundleIdentifier = QStringLiteral("org.example.App%1").arg(page % 7);
    activity.setApplication(app);
    activity.setDocumentPath(QStringLiteral("https://host%1.example.org/section/%2/page?id=%3")
                                 .arg(page % 13)
                                 .arg(page % 5)
                                 .arg(page));
    return activity;
}

void benchCreateTestData() {
    QTemporaryDir dir;
    TRActivityStore store(bench::storeOptions(dir));
    TRASApplication* app = TRASApplication::applicationWithBundleIdentifier(
        *store.managedObjectContext(), QStringLiteral("org.example.Bench"), QString(),
        QStringLiteral("Bench"), true);
    const auto start = bench::Clock::now();
    const double cpuStart = bench::cpuMicroseconds();
    bench::createTestData(store, app, QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC));
    bench::print("createTestData", bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("createTestData_cpu", (bench::cpuMicroseconds() - cpuStart) / 1000.0, "ms");
    const QString file = store.applicationSupportDirectory() + QStringLiteral("/ActivityStore.db");
    bench::print("createTestData_file_size", double(QFileInfo(file).size()) / (1024.0 * 1024.0),
                 "MiB");
}

void benchRecordAndCommit() {
    QTemporaryDir dir;
    TRActivityStore store(bench::storeOptions(dir));
    QDateTime now(QDate(2024, 3, 5), QTime(9, 0), Qt::UTC);
    for (int i = 0; i < 500; ++i) {  // warm up: every page exists
        store.storeActivity(activityFor(i), now, now.addSecs(1));
        now = now.addSecs(1);
    }
    store.save();
    // CPU time beside wall time: on a shared machine the other programs
    // inflate wall time, not this process's own CPU time.
    std::vector<double> single, singleCpu;
    for (int i = 0; i < 5000; ++i) {
        const auto start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        store.storeActivity(activityFor(i % 500), now, now.addSecs(3));
        store.save();
        single.push_back(bench::microsecondsSince(start));
        singleCpu.push_back(bench::cpuMicroseconds() - cpuStart);
        now = now.addSecs(3);
    }
    bench::print("record_and_commit_median", bench::median(single), "us");
    bench::print("record_and_commit_median_cpu", bench::median(singleCpu), "us");
    bench::print("record_and_commit_p99", bench::percentile(single, 0.99), "us");
    std::vector<double> minute, minuteCpu;
    for (int round = 0; round < 500; ++round) {
        const auto start = bench::Clock::now();
        const double cpuStart = bench::cpuMicroseconds();
        for (int i = 0; i < 20; ++i) {
            store.storeActivity(activityFor((round * 20 + i) % 500), now, now.addSecs(3));
            now = now.addSecs(3);
        }
        store.save();
        minute.push_back(bench::microsecondsSince(start));
        minuteCpu.push_back(bench::cpuMicroseconds() - cpuStart);
    }
    bench::print("save_20_intervals_median", bench::median(minute) / 1000.0, "ms");
    bench::print("save_20_intervals_median_cpu", bench::median(minuteCpu) / 1000.0, "ms");
    bench::print("save_20_intervals_p99", bench::percentile(minute, 0.99) / 1000.0, "ms");
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    // An argument picks one part: "testdata" or "record".
    if (args.size() < 2 || args[1] == QLatin1String("testdata")) benchCreateTestData();
    if (args.size() < 2 || args[1] == QLatin1String("record")) benchRecordAndCommit();
    return 0;
}
