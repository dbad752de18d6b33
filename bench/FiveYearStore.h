#pragma once
// The synthetic five-year activity store of the benchmarks: 300
// applications, 50,000 path components at most six levels deep, 500,000
// hourly events over five years (about a hundred of them today, 2024-03-05).

#include <QDateTime>
#include <random>

#include "core/DateCalculations.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"

namespace bench {

inline const QDateTime kNow(QDate(2024, 3, 5), QTime(12, 0), Qt::UTC);

// Writes the synthetic store straight through SQL, in one transaction.
inline void writeFiveYearStore(const QString& folder) {
    {
        TRActivityStore::Options options;
        options.dataFolder = folder;
        options.settings = std::make_shared<TRSettings>(QString());
        TRActivityStore schemaOnly(options);
        schemaOnly.managedObjectContext();
    }
    SqliteDatabase db;
    db.open(folder + QStringLiteral("/ActivityStore.db"));
    db.exec(QStringLiteral("BEGIN"));
    std::mt19937 random(42);
    const int apps = 300, nodes = 50000, events = 500000;
    SqliteStatement* app = db.cached(
        "INSERT INTO Application(id, bundleIdentifier, title, pathRoot) VALUES(?1, ?2, ?3, ?4)");
    SqliteStatement* node = db.cached(
        "INSERT INTO PathComponent(id, value, pathLevel, application, pathParent) VALUES(?1, ?2, "
        "?3, ?4, ?5)");
    std::vector<int> level(nodes + 1, 0), owner(nodes + 1, 0);
    for (int a = 1; a <= apps; ++a) {
        app->reset();
        app->bind(1, qint64(a));
        app->bind(2, QStringLiteral("org.example.App%1").arg(a));
        app->bind(3, QStringLiteral("App %1").arg(a));
        app->bind(4, qint64(a));
        app->run();
        node->reset();
        node->bind(1, qint64(a));
        node->bind(3, qint64(0));
        node->bind(4, qint64(a));
        node->run();
        owner[a] = a;
    }
    for (int n = apps + 1; n <= nodes; ++n) {
        // Grow each tree by attaching to an earlier node, at most six levels deep.
        int parent = 1 + int(random() % unsigned(n - 1));
        while (level[parent] >= 6) parent = owner[parent];
        level[n] = level[parent] + 1;
        owner[n] = owner[parent];
        node->reset();
        node->bind(1, qint64(n));
        node->bind(2, QStringLiteral("/component%1").arg(n));
        node->bind(3, qint64(level[n]));
        node->bind(5, qint64(parent));
        node->run();
    }
    SqliteStatement* event = db.cached(
        "INSERT INTO HourlyEvent(startDate, duration, lastPathComponent) VALUES(?1, ?2, ?3)");
    const double end = double(Calculations::beginningOfHour(kNow).toSecsSinceEpoch());
    const int hours = 5 * 365 * 24;
    for (int e = 0; e < events; ++e) {
        event->reset();
        // About a hundred land today, the rest anywhere in the five years.
        const int hoursBack = e % 5000 == 0 ? int(random() % 12) : int(random() % unsigned(hours));
        event->bind(1, end - 3600.0 * hoursBack);
        event->bind(2, double(1 + random() % 3600));
        event->bind(3, qint64(apps + 1 + random() % unsigned(nodes - apps)));
        event->run();
    }
    db.exec(QStringLiteral("COMMIT"));
    db.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
}

}  // namespace bench
