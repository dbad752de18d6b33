// Saving with notifications and merging another program's saves, over the
// in-memory bus: two stores on one file stand for the helper and the main
// application.
#include "fakes/FakeDistributedNotificationCenter.h"
#include "store/graph/SqliteDatabase.h"
#include "StoreTestSupport.h"

namespace {

const QString kHelper = QStringLiteral("info.mallowby.VorlixHelper");
const QString kMain = QStringLiteral("info.mallowby.Vorlix");
const QString kDidSave = QString::fromLatin1(kDidSaveActivityStoreNotification);
const QString kChanges = QString::fromLatin1(kContextDidSaveDistributedNotification);

// Counts emissions of a signal of the store.
struct SignalCounter {
    template <class Signal>
    SignalCounter(TRActivityStore* store, Signal signal) {
        QObject::connect(store, signal, store, [this] { ++n; });
    }
    int n = 0;
};

void drainEvents() {
    for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
}

class SyncTest : public StoreTest {
protected:
    std::unique_ptr<TRActivityStore> makeStore(const QString& id) {
        TRActivityStore::Options o = options(id);
        o.notificationCenter = std::make_shared<FakeDistributedNotificationCenter>(m_bus);
        return std::make_unique<TRActivityStore>(o);
    }
    static TRActivity onPath(const QString& path) {
        return activityWith([&](TRActivity& a) { a.setDocumentPath(path); });
    }
    static void record(TRActivityStore& s, const QString& path, const QDateTime& start,
                       int seconds) {
        s.storeActivity(onPath(path), start, start.addSecs(seconds));
    }

    std::shared_ptr<FakeNotificationBus> m_bus = std::make_shared<FakeNotificationBus>();
};

TEST_F(SyncTest, SaveAnnouncesSortedUrisOfWhatChanged) {
    auto helper = makeStore(kHelper);
    record(*helper, QStringLiteral("/a/b"), utc(2024, 3, 5, 10), 600);
    helper->save();
    const auto changes = m_bus->postedNamed(kChanges);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].object, kHelper + QStringLiteral("|||") + dataFolder());
    const QStringList inserted =
        QString::fromUtf8(changes[0].userInfo.value(QStringLiteral("inserted")))
            .split(QLatin1Char('\n'));
    EXPECT_EQ(inserted.size(), 5) << "application, three nodes, one hour";
    QStringList sorted = inserted;
    sorted.sort();
    EXPECT_EQ(inserted, sorted);
    for (const QString& uri : inserted) {
        EXPECT_TRUE(uri.startsWith(QStringLiteral("x-vorlix://") +
                                   helper->managedObjectContext()->storeUuid() + QLatin1Char('/')));
        EXPECT_TRUE(uri.contains(QStringLiteral("/p"))) << "permanent identities only";
    }
    ASSERT_EQ(m_bus->postedNamed(kDidSave).size(), 1u);
    EXPECT_EQ(m_bus->posted.back().name, kDidSave) << "the change notification comes first";
}

TEST_F(SyncTest, WhichNotificationsASaveSends) {
    const struct {
        const char* name;
        QString id;
        bool changeSomething;
        bool notify;
        size_t changesOnBus;
        size_t didSaveOnBus;
        int didSaveInProcess;
    } cases[] = {
        {"helper saving changes", kHelper, true, true, 1, 1, 0},
        {"helper saving nothing", kHelper, false, true, 0, 1, 0},
        {"helper saving without notification", kHelper, true, false, 1, 0, 0},
        {"main application saving", kMain, true, true, 1, 0, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        m_bus->posted.clear();
        auto s = makeStore(c.id);
        SignalCounter inProcess(s.get(), &TRActivityStore::didSaveActivityStore);
        s->managedObjectContext();
        if (c.changeSomething)
            record(*s, QStringLiteral("/x"), m_now, 1 + int(m_bus->posted.size()));
        s->saveWithNotification(c.notify);
        EXPECT_EQ(m_bus->postedNamed(kChanges).size(), c.changesOnBus);
        EXPECT_EQ(m_bus->postedNamed(kDidSave).size(), c.didSaveOnBus);
        EXPECT_EQ(inProcess.n, c.didSaveInProcess);
    }
}

TEST_F(SyncTest, IgnoresNotificationsNotMeantForThisStore) {
    auto main = makeStore(kMain);
    record(*main, QStringLiteral("/a"), utc(2024, 3, 5, 10), 60);
    main->save();
    drainEvents();
    SignalCounter merged(main.get(), &TRActivityStore::remoteChangesMerged);
    const QString folder = dataFolder();
    const struct {
        const char* name;
        QString object;
        int merges;
    } cases[] = {
        {"three parts", kHelper + QStringLiteral("|||") + folder + QStringLiteral("|||x"), 0},
        {"one part", kHelper, 0},
        {"our own identifier", kMain + QStringLiteral("|||") + folder, 0},
        {"the lite variant's folder",
         kHelper + QStringLiteral("|||") + folder + QStringLiteral("-lite"), 0},
        {"a folder with a trailing slash",
         kHelper + QStringLiteral("|||") + folder + QLatin1Char('/'), 0},
        {"the helper on our folder", kHelper + QStringLiteral("|||") + folder, 1},
    };
    FakeDistributedNotificationCenter poster(m_bus);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        merged.n = 0;
        poster.post(kChanges, c.object, {{QStringLiteral("inserted"), QByteArray()}});
        drainEvents();
        EXPECT_EQ(merged.n, c.merges);
    }
}

TEST_F(SyncTest, LogsUrisThatNameNothingAndMergesTheRest) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    record(*helper, QStringLiteral("/a"), utc(2024, 3, 5, 10), 60);
    helper->save();
    drainEvents();
    const QString uuid = main->managedObjectContext()->storeUuid();
    const QString missing = QStringLiteral("x-vorlix://%1/HourlyEvent/p999").arg(uuid);
    const QString otherStore = QStringLiteral("x-vorlix://OTHER/HourlyEvent/p1");
    const QString garbage = QStringLiteral("not a uri");
    FakeDistributedNotificationCenter poster(m_bus);
    m_reporter->lines.clear();
    poster.post(kChanges, kHelper + QStringLiteral("|||") + dataFolder(),
                {{QStringLiteral("inserted"), (missing + QLatin1Char('\n') + otherStore).toUtf8()},
                 {QStringLiteral("deleted"), garbage.toUtf8()}});
    drainEvents();
    EXPECT_EQ(
        m_reporter->lines,
        (QStringList{QStringLiteral("managed object with URI '%1' not found!").arg(missing),
                     QStringLiteral("managed object with URI '%1' not found!").arg(otherStore),
                     QStringLiteral("managed object with URI '%1' not found!").arg(garbage)}));
}

TEST_F(SyncTest, OurUnsavedValuesWinPerPropertyAndTheRestComesFromTheFile) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    TRASApplication* helperApp =
        TRASApplication::applicationWithRunningApplication(*helper, testApplication(), true);
    helper->save();
    drainEvents();
    TRASApplication* mainApp =
        TRASApplication::applicationWithRunningApplication(*main, testApplication(), false);
    ASSERT_NE(mainApp, nullptr);
    mainApp->setApplescriptTrackingDisabledValue(true);  // unsaved in the main application
    helperApp->setTitle(QStringLiteral("Renamed"));
    helperApp->setApplescriptTrackingDisabledValue(false);
    helperApp->setCachedIcon("icon");
    helper->save();
    drainEvents();
    EXPECT_EQ(mainApp->title(), QStringLiteral("Renamed"));
    EXPECT_EQ(mainApp->cachedIcon(), QByteArray("icon"));
    EXPECT_TRUE(mainApp->applescriptTrackingDisabledValue()) << "our unsaved change is kept";
    main->save();
    reopen();
    TRASApplication* fresh =
        TRASApplication::applicationWithRunningApplication(store(), testApplication(), false);
    EXPECT_TRUE(fresh->applescriptTrackingDisabledValue());
    EXPECT_EQ(fresh->title(), QStringLiteral("Renamed"));
}

TEST_F(SyncTest, DeletionsArriveAndDropNodeCaches) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    record(*helper, QStringLiteral("/a/b"), utc(2024, 3, 5, 10), 600);
    helper->save();
    drainEvents();
    TRASPathComponent* b = main->lastPathComponentForActivity(onPath(QStringLiteral("/a/b")));
    ASSERT_EQ(b->hourlyEvents().size(), 1u);
    TRASPathComponent* a = b->pathParent();
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 3u);
    // The helper's save deletes the hour and the leaf that held it; b is
    // freed by the merge and must not be touched afterwards.
    helper->deleteEventsBetweenDate(TRASEventFilter{});
    drainEvents();
    EXPECT_TRUE(a->children().empty()) << "the other program's deletion arrived";
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 2u)
        << "the node went, the cache was rebuilt";
}

TEST_F(SyncTest, CachesSurviveMergedUpdatesButNotMergedInsertions) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    record(*helper, QStringLiteral("/a"), utc(2024, 3, 5, 10), 600);
    helper->save();
    drainEvents();
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 2u);
    // A node that arrives in the file without a notification shows whether
    // the cache was rebuilt.
    SqliteDatabase other;
    ASSERT_FALSE(other.open(databasePath()));
    ASSERT_FALSE(other.exec(QStringLiteral(
        "INSERT INTO PathComponent(value, pathLevel, pathParent) VALUES('/hidden', 1, 1)")));
    record(*helper, QStringLiteral("/a"), utc(2024, 3, 5, 10, 10), 60);
    helper->save();
    drainEvents();
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 2u) << "updates keep the cache";
    record(*helper, QStringLiteral("/new"), utc(2024, 3, 5, 10, 20), 60);
    helper->save();
    drainEvents();
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 4u) << "insertions drop it";
}

TEST_F(SyncTest, PreparingForTerminationSavesWithNotificationOnlyInTheHelper) {
    for (const QString& id : {kHelper, kMain}) {
        SCOPED_TRACE(id.toStdString());
        m_bus->posted.clear();
        auto s = makeStore(id);
        record(*s, QStringLiteral("/t"), m_now, 5);
        s->prepareForTermination();
        EXPECT_FALSE(s->managedObjectContext()->hasChanges());
        EXPECT_EQ(m_bus->postedNamed(kDidSave).size(), id == kHelper ? 1u : 0u);
    }
}

}  // namespace
