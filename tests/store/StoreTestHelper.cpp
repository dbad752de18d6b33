// A second process for the store tests.
//   dump DB            prints every hourly event as "app|/a|/b @yyyy-MM-ddTHH:mm seconds"
//   record FOLDER ID SECONDS COMPONENT...
//                      records SECONDS seconds from 10:00 UTC on 2024-03-05 under
//                      the components, saves with notification on the session bus
#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "core/DateCalculations.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"

namespace {

struct Node {
    QString value;
    qint64 parent = 0;
    QString application;
};

int dump(const QString& file) {
    SqliteDatabase db;
    if (auto error = db.open(file, SqliteDatabase::Mode::ReadOnly)) {
        std::fprintf(stderr, "%s\n", qPrintable(error->toString()));
        return 2;
    }
    std::map<qint64, Node> nodes;
    auto n = db.prepare(QStringLiteral(
        "SELECT p.id, p.value, p.pathParent, COALESCE(a.bundleIdentifier, a.executableName) "
        "FROM PathComponent p LEFT JOIN Application a ON a.id = p.application"));
    while (n && n->step()) nodes[n->int64(0)] = Node{n->text(1), n->int64(2), n->text(3)};
    QStringList lines;
    auto e = db.prepare(
        QStringLiteral("SELECT lastPathComponent, startDate, duration FROM HourlyEvent"));
    while (e && e->step()) {
        QStringList path;
        for (qint64 id = e->int64(0); id && nodes.count(id); id = nodes[id].parent)
            path.prepend(nodes[id].application.isNull() ? nodes[id].value : nodes[id].application);
        const QDateTime start = QDateTime::fromSecsSinceEpoch(qint64(e->real(1)), Qt::UTC);
        lines.append(QStringLiteral("%1 @%2 %3")
                         .arg(path.join(QLatin1Char('|')),
                              start.toString(QStringLiteral("yyyy-MM-ddTHH:mm")))
                         .arg(e->real(2)));
    }
    lines.sort();
    for (const QString& line : lines) std::printf("%s\n", line.toUtf8().constData());
    return 0;
}

int record(const QStringList& args) {
    auto center = std::make_shared<DBusNotificationCenter>();
    TRActivityStore::Options options;
    options.dataFolder = args[0];
    options.bundleIdentifier = args[1];
    options.notificationCenter = center;
    TRActivityStore store(options);
    TRActivity activity;
    RunningApplication app;
    app.bundleIdentifier = QStringLiteral("org.example.Editor");
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
