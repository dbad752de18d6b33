// Two real processes on a private session bus: this one holds the store
// open as the main application does, store_test_helper records and saves as
// the helper does. The bus daemon is started once for the binary and ends
// with it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "core/DateCalculations.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/DBusNotificationCenter.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"

namespace {

TEST(TwoProcessTest, HolderSeesNewNodesAndChangedDurationsWithoutReopening) {
    QTemporaryDir dir;
    TRActivityStore::Options o;
    o.dataFolder = dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
    o.bundleIdentifier = QStringLiteral("info.mallowby.Vorlix");
    o.settings = std::make_shared<TRSettings>(dir.filePath(QStringLiteral("x.conf")));
    o.notificationCenter = std::make_shared<DBusNotificationCenter>();
    TRActivityStore store(o);
    int merges = 0;
    QObject::connect(&store, &TRActivityStore::remoteChangesMerged, &store, [&] { ++merges; });
    ASSERT_NE(store.managedObjectContext(), nullptr);
    // The helper process records `seconds` from 10:00 under /a and `leaf`;
    // then the event loop runs until the merges arrived or five seconds pass.
    auto record = [&](int seconds, const char* leaf, int mergesAfter) {
        QProcess helper;
        helper.start(
            QStringLiteral(STORE_TEST_HELPER),
            {QStringLiteral("record"), o.dataFolder, QStringLiteral("info.mallowby.VorlixHelper"),
             QString::number(seconds), QStringLiteral("/a"), QLatin1String(leaf)});
        EXPECT_TRUE(helper.waitForFinished(15000));
        EXPECT_EQ(helper.exitCode(), 0) << helper.readAllStandardError().toStdString();
        QDeadlineTimer deadline(5000);
        while (merges < mergesAfter && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return merges == mergesAfter;
    };
    const QDateTime ten(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);
    ASSERT_TRUE(record(600, "/b", 1));
    RunningApplication editor;
    editor.bundleIdentifier = QStringLiteral("org.example.Editor");
    TRActivity activity;
    activity.setApplication(editor);
    activity.setPathComponents(QStringList{QStringLiteral("/a"), QStringLiteral("/b")});
    TRASPathComponent* b = store.lastPathComponentForActivity(activity);
    TRASHourlyEvent* hour = b->hourlyEventWithDate(ten, false);
    ASSERT_NE(hour, nullptr);
    EXPECT_EQ(hour->durationValue(), 600);
    ASSERT_TRUE(record(300, "/b", 2));
    ASSERT_TRUE(record(60, "/c", 3));
    EXPECT_EQ(hour->durationValue(), 900);
    TRASPathComponent* c = b->pathParent()->childComponentWithValue(QStringLiteral("/c"), false);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->hourlyEventWithDate(ten, false)->durationValue(), 60);
    EXPECT_FALSE(store.managedObjectContext()->hasChanges());
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    ::testing::InitGoogleTest(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests)) return RUN_ALL_TESTS();
    if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty()) {
        std::fprintf(stderr, "dbus-daemon not found: skipped\n");
        return 77;
    }
    QTemporaryDir home;
    // Neither process may read or write the user's own settings or data.
    setenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit().constData(), 1);
    setenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit().constData(), 1);
    QCoreApplication app(argc, argv);
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    if (!home.isValid() || !bus.start(&whyNot)) {
        std::fprintf(stderr, "%s\n", qPrintable(whyNot));
        return 1;
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toLocal8Bit().constData(), 1);
    return RUN_ALL_TESTS();
}
