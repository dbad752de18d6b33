// Project store figures on the five-year activity store with 20 projects of
// 10 applications and 20 paths each, and a blacklist of 2 applications and
// 3 paths:
//  - refreshProjectDurations over all five years, first (resolving every
//    project's subtrees) and warm (median of 5), and over the last month;
//  - one blacklist test as recording asks it, when the project file did not
//    change (median of 20,000) and right after another connection saved;
//  - the heap the projects' subtree caches add (the activity store's own
//    node cache is loaded before and not counted).
// Argument: a folder holding (or to receive) the five-year store.
#include <QCoreApplication>
#include <QFileInfo>
#include <malloc.h>
#include <random>

#include "BenchSupport.h"
#include "FiveYearStore.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRPSPath.h"
#include "store/project/TRPSProject.h"
#include "store/project/TRProjectStore.h"

namespace {

QVariantList randomPaths(TRActivityStore& store, std::mt19937& random, int count) {
    const auto& nodes = store.allPathComponentsSortedByPathLevel();
    QVariantList paths;
    while (paths.size() < count) {
        TRASPathComponent* node = nodes[random() % nodes.size()];
        QStringList components;
        for (TRASPathComponent* c : node->fullPathAsComponents()) components.append(c->value());
        // Two or three levels down, as a project's folders would be.
        if (components.size() >= 2) paths.append(QVariant(components.mid(0, 2 + int(random() % 2))));
    }
    return paths;
}

void createProjects(TRProjectStore& projects, TRActivityStore& store) {
    std::mt19937 random(11);
    TRObjectContext& context = *projects.managedObjectContext();
    auto apps = [&](int count) {
        std::vector<TRPSApplication*> chosen;
        for (int i = 0; i < count; ++i) {
            chosen.push_back(TRPSApplication::applicationWithBundleIdentifier(
                context, QStringLiteral("org.example.App%1").arg(1 + random() % 300), QString(),
                QString(), true));
        }
        return chosen;
    };
    for (int p = 0; p < 20; ++p) {
        auto* project = context.insert<TRPSProject>();
        project->setName(QStringLiteral("Project %1").arg(p));
        project->addApplications(projects, apps(10));
        project->addPathsIfNecessary(projects, randomPaths(store, random, 20));
    }
    TRPSProject* blacklist = TRPSProject::blacklistProject(context);
    blacklist->addApplications(projects, apps(2));
    blacklist->addPathsIfNecessary(projects, randomPaths(store, random, 3));
    projects.save();
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString folder = app.arguments().size() > 1
                               ? app.arguments()[1]
                               : dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
    if (!QFileInfo::exists(folder + QStringLiteral("/ActivityStore.db")))
        bench::writeFiveYearStore(folder);
    QFile::remove(folder + QStringLiteral("/ProjectStore.db"));
    QFile::remove(folder + QStringLiteral("/ProjectStore.db-wal"));
    QFile::remove(folder + QStringLiteral("/ProjectStore.db-shm"));

    TRActivityStore::Options options = bench::storeOptions(dir);
    options.dataFolder = folder;
    options.clock = [] { return bench::kNow; };
    TRActivityStore store(options);
    TRProjectStore::Options projectOptions;
    projectOptions.dataFolder = folder;
    projectOptions.activityStore = &store;
    {
        TRProjectStore setup(projectOptions);
        store.allPathComponentsGroupedByPathParent();
        createProjects(setup, store);
    }
    TRProjectStore projects(projectOptions);
    projects.managedObjectContext();
    // The activity store's node caches are its own: loaded before measuring.
    store.allPathComponentsGroupedByPathLevel();
    store.allPathComponentsGroupedByPathParent();

    const size_t heapBefore = mallinfo2().uordblks;
    auto start = bench::Clock::now();
    projects.refreshProjectDurations();
    bench::print("project_refresh_first", bench::microsecondsSince(start) / 1000.0, "ms");
    bench::print("project_cache_heap", double(mallinfo2().uordblks - heapBefore) / 1024.0, "KiB");
    std::vector<double> warm, warmCpu;
    for (int i = 0; i < 5; ++i) {
        start = bench::Clock::now();
        const double cpu = bench::cpuMicroseconds();
        projects.refreshProjectDurations();
        warm.push_back(bench::microsecondsSince(start) / 1000.0);
        warmCpu.push_back((bench::cpuMicroseconds() - cpu) / 1000.0);
    }
    bench::print("project_refresh_warm_median", bench::median(warm), "ms");
    bench::print("project_refresh_warm_median_cpu", bench::median(warmCpu), "ms");
    // The last month only, as a report of one month asks it.
    store.setFirstFilterDay(Calculations::prevMonth(bench::kNow));
    store.setLastFilterDay(bench::kNow);
    std::vector<double> month;
    for (int i = 0; i < 5; ++i) {
        start = bench::Clock::now();
        projects.refreshProjectDurations();
        month.push_back(bench::microsecondsSince(start) / 1000.0);
    }
    bench::print("project_refresh_one_month_median", bench::median(month), "ms");

    RunningApplication editor;
    editor.bundleIdentifier = QStringLiteral("org.example.App7");
    editor.executablePath = QStringLiteral("/usr/bin/app7");
    const QString path = pathStringForPathComponents(
        {QStringLiteral("/home"), QStringLiteral("/user"), QStringLiteral("/notes.txt")});
    int blacklisted = 0;
    blacklisted += projects.isBlacklisted(&editor, path);  // the first reads the blacklist
    std::vector<double> tests;
    const double testsCpu = bench::cpuMicroseconds();
    for (int i = 0; i < 20000; ++i) {
        start = bench::Clock::now();
        blacklisted += projects.isBlacklisted(&editor, path);
        tests.push_back(bench::microsecondsSince(start));
    }
    bench::print("blacklist_test_unchanged_median", bench::median(tests), "us");
    bench::print("blacklist_test_unchanged_p99", bench::percentile(tests, 0.99), "us");
    // CPU time, which other programs on a shared machine do not inflate.
    bench::print("blacklist_test_unchanged_mean_cpu",
                 (bench::cpuMicroseconds() - testsCpu) / 20000.0, "us");

    std::vector<double> afterSave;
    TRProjectStore other(projectOptions);
    for (int i = 0; i < 20; ++i) {
        TRPSProject::regularProjects(*other.managedObjectContext())
            .front()
            ->setName(QStringLiteral("Renamed %1").arg(i));
        other.save();
        start = bench::Clock::now();
        blacklisted += projects.isBlacklisted(&editor, path);
        afterSave.push_back(bench::microsecondsSince(start));
    }
    bench::print("blacklist_test_after_other_save_median", bench::median(afterSave), "us");
    if (blacklisted < 0) std::printf("impossible\n");
    return 0;
}
