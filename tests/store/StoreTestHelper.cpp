// The helper's side of the two-process test:
//   record FOLDER ID SECONDS COMPONENT...
// records SECONDS seconds from 10:00 UTC on 2024-03-05 under the components of
// org.example.Editor and saves with notification on the session bus.
#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

#include "core/DateCalculations.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "store/activity/TRActivityStore.h"

namespace {

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
    if (args.size() >= 4 && args[0] == QLatin1String("record")) return record(args.mid(1));
    std::fprintf(stderr, "usage: record FOLDER ID SECONDS COMPONENT...\n");
    return 64;
}
