// Recording figures: the test-data tree (four levels of ten nodes, ten
// one-hour intervals per leaf, saved after every third-level node); one
// interval recorded and committed on a known page and on a new one (new
// nodes); and a minute of use (20 intervals) saved in one transaction. The
// last three beside a plain sqlite3 program writing the same rows
// (PlainSqliteReference.h), with their ratio.
#include <QCoreApplication>
#include <QFileInfo>
#include <cstdlib>

#include "BenchSupport.h"
#include "PlainSqliteReference.h"
#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/graph/SqliteDatabase.h"

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

// The page's address as activityFor() makes it, cut the way the store cuts
// it (host, each "/segment", "?query"): the reference does that work too.
std::vector<std::string> componentsFor(int page) {
    const std::string url = "https://host" + std::to_string(page % 13) + ".example.org/section/" +
                            std::to_string(page % 5) + "/page?id=" + std::to_string(page);
    std::vector<std::string> components;
    size_t at = url.find("://") + 3;
    const size_t hostEnd = url.find_first_of("/?", at);
    std::string host = url.substr(at, hostEnd - at);
    if (host.rfind("www.", 0) == 0) host.erase(0, 4);
    components.push_back(host);
    const size_t queryAt = url.find('?', hostEnd);
    for (at = hostEnd; at < queryAt && at != std::string::npos;) {
        const size_t next = std::min(url.find('/', at + 1), queryAt);
        if (next > at + 1) components.push_back(url.substr(at, next - at));
        at = next;
    }
    if (queryAt != std::string::npos && queryAt + 1 < url.size())
        components.push_back(url.substr(queryAt));
    return components;
}

std::string bundleFor(int page) {
    return "org.example.App" + std::to_string(page % 7);
}

// One side of the comparison: a store on its own folder and its clock.
struct Side {
    QDateTime now{QDate(2024, 3, 5), QTime(9, 0), Qt::UTC};
    double seconds() const { return double(now.toSecsSinceEpoch()); }
};

// An empty store with the schema, for the reference to write into.
QString emptyStoreIn(const QTemporaryDir& dir) {
    const QString folder = dir.filePath(QStringLiteral("reference"));
    TRActivityStore::Options options;
    options.dataFolder = folder;
    options.settings = std::make_shared<TRSettings>(QString());
    TRActivityStore(options).managedObjectContext();
    return folder + QStringLiteral("/ActivityStore.db");
}

qint64 nodeCount(const QString& file) {
    SqliteDatabase db;
    db.open(file, SqliteDatabase::Mode::ReadOnly);
    return db.scalarInt(QStringLiteral("SELECT COUNT(*) FROM PathComponent"));
}

// `minuteOnly` skips the single recordings, for profiling the minute alone.
void benchRecordAndCommit(bool minuteOnly) {
    QTemporaryDir dir;
    TRActivityStore store(bench::storeOptions(dir));
    const QString referenceFile = emptyStoreIn(dir);
    plain::Db db(referenceFile.toStdString());
    plain::Recorder recorder(db);
    Side ours, reference;
    const auto oursRecord = [&](int page, int seconds) {
        store.storeActivity(activityFor(page), ours.now, ours.now.addSecs(seconds));
        ours.now = ours.now.addSecs(seconds);
    };
    const auto referenceRecord = [&](int page, int seconds) {
        recorder.record(bundleFor(page), componentsFor(page), reference.seconds(),
                        reference.seconds() + seconds);
        reference.now = reference.now.addSecs(seconds);
    };
    // Warm up: every page of the known ones exists on both sides.
    recorder.begin();
    for (int i = 0; i < 500; ++i) {
        oursRecord(i, 1);
        referenceRecord(i, 1);
    }
    store.save();
    recorder.commit();
    int oursKnown = 0, referenceKnown = 0;
    if (!minuteOnly) {
        bench::compareWithReference(
            "record_and_commit", 1000, 1.0, "us",
            [&] {
                oursRecord(oursKnown++ % 500, 3);
                store.save();
            },
            [&] {
                recorder.begin();
                referenceRecord(referenceKnown++ % 500, 3);
                recorder.commit();
            });
        // New pages: a new leaf node (and its hour) with every recording.
        int oursNew = 1000, referenceNew = 1000;
        bench::compareWithReference(
            "record_and_commit_new_path", 300, 1.0, "us",
            [&] {
                oursRecord(oursNew++, 3);
                store.save();
            },
            [&] {
                recorder.begin();
                referenceRecord(referenceNew++, 3);
                recorder.commit();
            });
    }
    int oursMinute = 0, referenceMinute = 0;
    bench::compareWithReference(
        "save_20_intervals", 150, 1e-3, "ms",
        [&] {
            for (int i = 0; i < 20; ++i) oursRecord(oursMinute++ % 500, 3);
            store.save();
        },
        [&] {
            recorder.begin();
            for (int i = 0; i < 20; ++i) referenceRecord(referenceMinute++ % 500, 3);
            recorder.commit();
        });
    const QString file = store.applicationSupportDirectory() + QStringLiteral("/ActivityStore.db");
    bench::print("record_nodes_ours", double(nodeCount(file)), "");
    bench::print("record_nodes_reference", double(nodeCount(referenceFile)), "");
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    // An argument picks one part: "testdata", "record" or "minute" (the 20
    // intervals in one transaction alone).
    if (args.size() < 2 || args[1] == QLatin1String("testdata")) benchCreateTestData();
    if (args.size() < 2 || args[1] == QLatin1String("record")) benchRecordAndCommit(false);
    if (args.size() >= 2 && args[1] == QLatin1String("minute")) benchRecordAndCommit(true);
    return 0;
}
