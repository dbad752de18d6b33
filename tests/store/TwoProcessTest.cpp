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

const QDateTime kTen(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);

class TwoProcessTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        TRActivityStore::Options o;
        o.dataFolder = m_dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
        o.bundleIdentifier = QStringLiteral("info.mallowby.Vorlix");
        o.settings = std::make_shared<TRSettings>(m_dir.filePath(QStringLiteral("x.conf")));
        o.notificationCenter = std::make_shared<DBusNotificationCenter>();
        m_store = std::make_unique<TRActivityStore>(o);
        QObject::connect(m_store.get(), &TRActivityStore::remoteChangesMerged, m_store.get(),
                         [this] { ++m_merges; });
        ASSERT_NE(m_store->managedObjectContext(), nullptr);
    }
    // The helper process records `seconds` from 10:00 under the components.
    void record(int seconds, const QStringList& components) {
        QProcess helper;
        helper.start(
            QStringLiteral(STORE_TEST_HELPER),
            QStringList{QStringLiteral("record"), m_store->applicationSupportDirectory(),
                        QStringLiteral("info.mallowby.VorlixHelper"), QString::number(seconds)} +
                components);
        ASSERT_TRUE(helper.waitForFinished(15000));
        ASSERT_EQ(helper.exitCode(), 0) << helper.readAllStandardError().toStdString();
    }
    // Runs the event loop until that many merges arrived or five seconds pass.
    bool waitForMerges(int count) {
        QDeadlineTimer deadline(5000);
        while (m_merges < count && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return m_merges >= count;
    }

    QTemporaryDir m_dir;
    std::unique_ptr<TRActivityStore> m_store;
    int m_merges = 0;
};

TEST_F(TwoProcessTest, HolderSeesNewNodesAndChangedDurationsWithoutReopening) {
    record(600, {QStringLiteral("/a"), QStringLiteral("/b")});
    ASSERT_TRUE(waitForMerges(1));
    RunningApplication editor;
    editor.bundleIdentifier = QStringLiteral("org.example.Editor");
    TRActivity activity;
    activity.setApplication(editor);
    activity.setPathComponents(QStringList{QStringLiteral("/a"), QStringLiteral("/b")});
    TRASPathComponent* b = m_store->lastPathComponentForActivity(activity);
    TRASHourlyEvent* hour = b->hourlyEventWithDate(kTen, false);
    ASSERT_NE(hour, nullptr);
    EXPECT_EQ(hour->durationValue(), 600);
    TRASPathComponent* a = b->pathParent();
    ASSERT_EQ(a->children().size(), 1u);

    record(300, {QStringLiteral("/a"), QStringLiteral("/b")});
    record(60, {QStringLiteral("/a"), QStringLiteral("/c")});
    ASSERT_TRUE(waitForMerges(3));
    EXPECT_EQ(hour->durationValue(), 900);
    TRASPathComponent* c = a->childComponentWithValue(QStringLiteral("/c"), false);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->hourlyEventWithDate(kTen, false)->durationValue(), 60);
    EXPECT_FALSE(m_store->managedObjectContext()->hasChanges());
}

TEST(DBusNotificationCenterWithoutBus, SendsAndReceivesNothing) {
    DBusNotificationCenter center(QDBusConnection::connectToBus(
        QStringLiteral("unix:path=/nonexistent/vorlix-bus"), QStringLiteral("vorlix-no-bus")));
    EXPECT_EQ(center.addObserver(QStringLiteral("Anything"),
                                 [](const QString&, const QString&, const auto&) {}),
              -1);
    center.post(QStringLiteral("Anything"), QStringLiteral("object"), {});  // must not crash
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
