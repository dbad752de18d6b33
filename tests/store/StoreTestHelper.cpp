// A second process for the store tests.
//   dump DB     prints every hourly event as "app|/a|/b @yyyy-MM-ddTHH:mm seconds", sorted
//   record FOLDER ID SECONDS COMPONENT...
//               records SECONDS seconds from 10:00 UTC on 2024-03-05 under the
//               components and saves with notification on the session bus
#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

#include "core/DateCalculations.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"

namespace {

// Climbs from each event's node to the root, which shows as its application.
const char kDump[] =
    "WITH RECURSIVE up(event, node, path) AS ("
    "  SELECT id, lastPathComponent, NULL FROM HourlyEvent UNION ALL"
    "  SELECT up.event, p.pathParent, COALESCE(a.bundleIdentifier, a.executableName, p.value, '')"
    "    || COALESCE('|' || up.path, '')"
    "  FROM up JOIN PathComponent p ON p.id = up.node"
    "  LEFT JOIN Application a ON a.id = p.application)"
    "SELECT up.path || strftime(' @%Y-%m-%dT%H:%M ', h.startDate, 'unixepoch')"
    "  || printf('%g', h.duration) FROM up JOIN HourlyEvent h ON h.id = up.event"
    " WHERE up.node IS NULL ORDER BY 1";

int dump(const QString& file) {
    SqliteDatabase db;
    std::optional<TRError> error = db.open(file, SqliteDatabase::Mode::ReadOnly);
    auto stmt = error ? nullptr : db.prepare(QString::fromLatin1(kDump));
    while (stmt && stmt->step()) std::printf("%s\n", stmt->text(0).toUtf8().constData());
    if (!error && stmt) error = stmt->error();
    if (!error && !stmt) error = db.lastError();
    if (error) std::fprintf(stderr, "%s\n", qPrintable(error->toString()));
    return error ? 2 : 0;
}

int record(const QStringList& args) {
    TRActivityStore::Options options;
    options.dataFolder = args[0];
    options.bundleIdentifier = args[1];
    options.notificationCenter = std::make_shared<DBusNotificationCenter>();
    TRActivityStore store(options);
    RunningApplication app;
    app.bundleIdentifier = QStringLiteral("org.example.Editor");
    TRActivity activity;
    activity.setApplication(app);
    activity.setPathComponents(args.mid(3));
    const QDateTime start(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);
    store.storeActivity(activity, start, start.addSecs(args[2].toInt()));
    store.save();
    // Let the bus write the signals out before the process ends.
    QTimer::singleShot(200, QCoreApplication::instance(), &QCoreApplication::quit);
    return QCoreApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() == 2 && args[0] == QLatin1String("dump")) return dump(args[1]);
    if (args.size() >= 4 && args[0] == QLatin1String("record")) return record(args.mid(1));
    std::fprintf(stderr, "usage: dump DB | record FOLDER ID SECONDS COMPONENT...\n");
    return 64;
}
