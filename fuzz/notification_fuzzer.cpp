// The other program's save announcements as the activity store receives
// them: the object "BUNDLE-ID|||DATA-FOLDER" split and compared, the three
// URI blocks cut into lines, each URI parsed and its row read, refreshed or
// dropped, and then the store used as the helper uses it (queries,
// recording, now and then a save), so that a merge that leaves a dangling
// object shows up under the address checks.
//
// Input: the object as UTF-16, then the inserted, updated and deleted blocks
// as bytes, NUL-separated. "@DATA@" in the object stands for the store's
// data folder and "@UUID@" in a block for the store's UUID (a fuzzer could
// not guess either).
#include <QCoreApplication>
#include <QTemporaryDir>
#include <memory>

#include "FuzzSupport.h"
#include "core/TRSettings.h"
#include "platform/DistributedNotificationCenter.h"
#include "store/activity/ActivityStoreSync.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRStoreReporter.h"
#include "store/graph/TRObjectContext.h"

namespace {

// The bus as the store sees it: the fuzzer delivers straight to the
// store's observer.
class DirectCenter final : public DistributedNotificationCenter {
public:
    Observer observer;
    void post(const QString&, const QString&, const UserInfo&) override {}
    int addObserver(const QString&, Observer added) override {
        observer = std::move(added);
        return 1;
    }
    void removeObserver(int) override {}
};

// Unknown URIs are the rule here; writing each to the log would be most of
// the run's time.
class QuietReporter final : public TRStoreReporter {
public:
    void presentError(const TRError&) override {}
    void logLine(const QString&) override {}
};

const QDateTime kMorning(QDate(2024, 3, 5), QTime(9, 0), Qt::UTC);

TRActivity activity(int app, int page) {
    TRActivity result;
    RunningApplication running;
    running.processIdentifier = 10 + app;
    running.bundleIdentifier = QStringLiteral("org.example.App%1").arg(app);
    result.setApplication(running);
    result.setDocumentPath(QStringLiteral("/home/user/project%1/file%2.txt").arg(app).arg(page));
    return result;
}

struct Harness {
    int argc = 1;
    char name[8] = "fuzzer";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    QTemporaryDir dir;
    std::shared_ptr<DirectCenter> center = std::make_shared<DirectCenter>();
    std::unique_ptr<TRActivityStore> store;
    QString uuid;
    unsigned inputs = 0;

    Harness() {
        TRActivityStore::Options options;
        options.dataFolder = dir.filePath(QStringLiteral("data"));
        options.settings = std::make_shared<TRSettings>(dir.filePath(QStringLiteral("s.conf")));
        options.notificationCenter = center;
        options.reporter = std::make_shared<QuietReporter>();
        options.clock = [] { return kMorning; };
        store = std::make_unique<TRActivityStore>(std::move(options));
        for (int i = 0; i < 24; ++i)
            store->storeActivity(activity(i % 3, i % 5), kMorning.addSecs(600 * i),
                                 kMorning.addSecs(600 * i + 300));
        store->save();
        TRObjectContext& context = *store->managedObjectContext();
        const QString uri = context.uriFor(*TRASApplication::applicationWithBundleIdentifier(
            context, QStringLiteral("org.example.App0"), QString(), QString(), false));
        uuid = uri.section(QLatin1Char('/'), 2, 2);  // x-vorlix://UUID/ENTITY/pKEY
        fuzz::require(!uuid.isEmpty(), "the store has a UUID");
    }

    // The node list walks every node's parent after each merge; the
    // aggregation and a save, which cost more, come now and then.
    void useStore() {
        store->rootPathComponentsWithFilter();
        const int page = int(inputs % 7);
        store->storeActivity(activity(int(inputs % 3), page), kMorning, kMorning.addSecs(1));
        if (++inputs % 64 == 0) {
            store->filterEventsBetweenDate(TRASEventFilter{});
            store->sumOfDurationsOfEventsBetweenDate(TRASEventFilter{});
        }
        if (inputs % 256 == 0) store->save();
    }
};

// Destroyed when the run ends, which removes its folder.
Harness& harness() {
    static Harness h;
    return h;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Harness& h = harness();
    fuzz::Input input(data, size);
    QString object = input.text();
    object.replace(QLatin1String("@DATA@"), h.store->applicationSupportDirectory());
    DistributedNotificationCenter::UserInfo userInfo;
    for (const char* key : {"inserted", "updated", "deleted"}) {
        QByteArray block = input.bytes();
        block.replace("@UUID@", h.uuid.toUtf8());
        if (!block.isEmpty() || input.byte() % 2) userInfo.insert(QString::fromLatin1(key), block);
    }
    const QString name = QString::fromLatin1(kContextDidSaveDistributedNotification);
    h.center->observer(name, object, userInfo);
    QCoreApplication::sendPostedEvents();  // the merge runs queued, as from the bus
    h.useStore();
    return 0;
}
