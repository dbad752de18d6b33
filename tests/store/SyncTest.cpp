// Saving with notifications and merging another program's saves, over the
// in-memory bus: two stores on one file stand for the helper and the main
// application.
#include "StoreTestSupport.h"
#include "fakes/FakeDistributedNotificationCenter.h"

namespace {

const QString kHelper = u"info.mallowby.VorlixHelper"_s;
const QString kMain = u"info.mallowby.Vorlix"_s;
const QString kDidSave = QString::fromLatin1(kDidSaveActivityStoreNotification);
const QString kChanges = QString::fromLatin1(kContextDidSaveDistributedNotification);

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
    void postChanges(const QString& object, const DistributedNotificationCenter::UserInfo& info) {
        FakeDistributedNotificationCenter(m_bus).post(kChanges, object, info);
        drainEvents();
    }
    std::shared_ptr<FakeNotificationBus> m_bus = std::make_shared<FakeNotificationBus>();
};

TEST_F(SyncTest, WhatASaveSends) {
    enum Call { Save, SaveQuietly, Terminate };
    const struct {
        const char* name;
        QString id;
        bool change;
        Call call;
        size_t didSaveOnBus;
        int didSaveInProcess;
    } cases[] = {
        {"helper saving changes", kHelper, true, Save, 1, 0},
        {"helper saving nothing", kHelper, false, Save, 1, 0},
        {"helper saving without notification", kHelper, true, SaveQuietly, 0, 0},
        {"main application saving", kMain, true, Save, 0, 1},
        {"helper terminating", kHelper, true, Terminate, 1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        m_bus->posted.clear();
        auto s = makeStore(c.id);
        int inProcess = 0;
        QObject::connect(s.get(), &TRActivityStore::didSaveActivityStore, s.get(),
                         [&] { ++inProcess; });
        const QString uri = u"x-vorlix://%1/"_s.arg(s->managedObjectContext()->storeUuid());
        if (c.change) s->storeActivity(onPath(u"/x"_s), m_now, m_now.addSecs(5));
        if (c.call == Terminate)
            s->prepareForTermination();
        else
            s->saveWithNotification(c.call == Save);
        EXPECT_FALSE(s->managedObjectContext()->hasChanges());
        EXPECT_EQ(m_bus->postedNamed(kDidSave).size(), c.didSaveOnBus);
        EXPECT_EQ(inProcess, c.didSaveInProcess);
        const auto changes = m_bus->postedNamed(kChanges);
        ASSERT_EQ(changes.size(), c.change ? 1u : 0u);
        if (!c.change) continue;
        EXPECT_EQ(m_bus->posted.front().name, kChanges) << "the change notification comes first";
        EXPECT_EQ(changes[0].object, c.id + u"|||"_s + dataFolder());
        const QStringList inserted{uri + u"Application/p1"_s, uri + u"HourlyEvent/p1"_s,
                                   uri + u"PathComponent/p1"_s, uri + u"PathComponent/p2"_s};
        EXPECT_EQ(changes[0].userInfo,
                  (DistributedNotificationCenter::UserInfo{
                      {u"inserted"_s, inserted.join(QLatin1Char('\n')).toUtf8()},
                      {u"updated"_s, QByteArray()},
                      {u"deleted"_s, QByteArray()}}));
    }
}

TEST_F(SyncTest, MergesOnlyNotificationsMeantForThisStore) {
    auto main = makeStore(kMain);
    main->managedObjectContext();
    int merged = 0;
    QObject::connect(main.get(), &TRActivityStore::remoteChangesMerged, main.get(),
                     [&] { ++merged; });
    const QString folder = dataFolder();
    const QString sep = u"|||"_s;
    const struct {
        const char* name;
        QString object;
        int merges;
    } cases[] = {
        {"three parts", kHelper + sep + folder + sep + u"x"_s, 0},
        {"our own identifier", kMain + sep + folder, 0},
        {"a folder with a trailing slash", kHelper + sep + folder + QLatin1Char('/'), 0},
        {"the helper on our folder", kHelper + sep + folder, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        merged = 0;
        postChanges(c.object, {{u"inserted"_s, QByteArray()}});
        EXPECT_EQ(merged, c.merges);
    }
}

TEST_F(SyncTest, OurUnsavedValuesWinPerPropertyAndTheRestComesFromTheFile) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    TRASApplication* helperApp = TRASApplication::applicationWithRunningApplication(
        *helper->managedObjectContext(), testApplication(), true);
    helper->save();
    drainEvents();
    TRASApplication* mainApp = TRASApplication::applicationWithRunningApplication(
        *main->managedObjectContext(), testApplication(), false);
    ASSERT_NE(mainApp, nullptr);
    mainApp->setApplescriptTrackingDisabledValue(true);  // unsaved in the main application
    helperApp->setTitle(u"Renamed"_s);
    helperApp->setApplescriptTrackingDisabledValue(false);
    helperApp->setCachedIcon("icon");
    helper->save();
    drainEvents();
    EXPECT_EQ(mainApp->title(), u"Renamed"_s);
    EXPECT_EQ(mainApp->cachedIcon(), QByteArray("icon"));
    EXPECT_TRUE(mainApp->applescriptTrackingDisabledValue()) << "our unsaved change is kept";
    main->save();
    TRASApplication* fresh =
        TRASApplication::applicationWithRunningApplication(context(), testApplication(), false);
    EXPECT_TRUE(fresh->applescriptTrackingDisabledValue());
    EXPECT_EQ(fresh->title(), u"Renamed"_s);
}

TEST_F(SyncTest, DeletionsArriveAndRebuildTheNodeList) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    helper->storeActivity(onPath(u"/a/b"_s), m_now, m_now.addSecs(600));
    helper->save();
    drainEvents();
    TRASPathComponent* b = main->lastPathComponentForActivity(onPath(u"/a/b"_s));
    ASSERT_EQ(b->hourlyEvents().size(), 1u);
    TRASPathComponent* a = b->pathParent();
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 3u);
    // The helper's save deletes the hour and the leaf that held it; b is
    // freed by the merge and must not be touched afterwards.
    helper->deleteEventsBetweenDate(TRASEventFilter{});
    drainEvents();
    EXPECT_TRUE(a->children().empty()) << "the other program's deletion arrived";
    EXPECT_EQ(main->allPathComponentsSortedByPathLevel().size(), 2u);
}

TEST_F(SyncTest, ARangeDeletionThatCannotReadSavesNothing) {
    auto helper = makeStore(kHelper);
    helper->storeActivity(onPath(u"/a"_s), m_now, m_now.addSecs(600));
    helper->save();
    m_bus->posted.clear();
    SqliteDatabase other;
    ASSERT_FALSE(other.open(databasePath()));
    ASSERT_FALSE(other.exec(u"ALTER TABLE HourlyEvent RENAME TO Renamed"_s));
    helper->deleteEventsBetweenDate(TRASEventFilter{});
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    EXPECT_EQ(m_reporter->presented[0].domain, u"SQLite"_s);
    EXPECT_TRUE(m_bus->posted.empty()) << "no save is announced";
}

// The main application deletes a branch the helper has only merged in (the
// parent's children never read): the helper must not follow the freed
// parent from the child, then or later, nor let go of a twice-named object
// twice (address errors under ASan).
TEST_F(SyncTest, ABranchDeletedElsewhereParentFirstLeavesNoPointerToIt) {
    auto helper = makeStore(kHelper);
    auto main = makeStore(kMain);
    ASSERT_NE(helper->managedObjectContext(), nullptr);
    main->storeActivity(onPath(u"/a/b"_s), m_now, m_now.addSecs(600));
    main->save();
    drainEvents();
    TRASPathComponent* b = main->lastPathComponentForActivity(onPath(u"/a/b"_s));
    TRObjectContext& file = *main->managedObjectContext();
    // Parent first, and the child named twice.
    const QString parentFirst = file.uriFor(*b->pathParent()) + QLatin1Char('\n') +
                                file.uriFor(*b) + QLatin1Char('\n') + file.uriFor(*b);
    postChanges(kMain + u"|||"_s + helper->applicationSupportDirectory(),
                {{u"inserted"_s, {}}, {u"updated"_s, {}}, {u"deleted"_s, parentFirst.toUtf8()}});
    // The rows are still in the file: the helper reads them again.
    EXPECT_EQ(helper->allPathComponentsSortedByPathLevel().size(), 3u);
    TRASPathComponent* again = helper->lastPathComponentForActivity(onPath(u"/a/b"_s));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->pathParent()->value(), u"/a"_s);
}

}  // namespace
