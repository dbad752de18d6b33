// The tree's own operations: child and hour lookups, date bounds, titles,
// paths, icons.
#include "StoreTestSupport.h"
#include "store/activity/TRASIconLookup.h"

namespace {

class FakeIcons final : public TRASIconLookup {
public:
    QString applicationPathForBundleIdentifier(const QString& id) const override {
        return id == QLatin1String("info.mallowby.VorlixHelper")
                   ? QStringLiteral("/apps/helper.desktop")
                   : QString();
    }
    QString applicationPathForName(const QString&) const override { return QString(); }
    QByteArray iconForApplicationPath(const QString& path) const override {
        return "app:" + path.toUtf8();
    }
    QByteArray iconForFile(const QString& path) const override {
        ++fileLookups;
        return "file:" + path.toUtf8();
    }
    QByteArray genericDocumentIcon() const override { return "docu"; }
    mutable int fileLookups = 0;
};

class TreeTest : public StoreTest {
protected:
    TRASPathComponent* record(const QString& path, const QDateTime& start, const QDateTime& stop) {
        const TRActivity activity = activityWith([&](TRActivity& a) { a.setDocumentPath(path); });
        store().storeActivity(activity, start, stop);
        return store().lastPathComponentForActivity(activity);
    }
};

TEST_F(TreeTest, ChildLookupIsExactAndCaseSensitive) {
    TRASPathComponent* root = TRASApplication::customActivitiesApplication(store())->pathRoot();
    TRASPathComponent* lower = root->childComponentWithValue(QStringLiteral("/docs"), true);
    EXPECT_EQ(lower->pathLevelValue(), 1);
    EXPECT_EQ(root->childComponentWithValue(QStringLiteral("/docs"), true), lower);
    EXPECT_EQ(root->childComponentWithValue(QStringLiteral("/Docs"), false), nullptr);
    TRASPathComponent* upper = root->childComponentWithValue(QStringLiteral("/Docs"), true);
    EXPECT_NE(upper, lower);
    EXPECT_EQ(upper->pathParent(), root);
}

TEST_F(TreeTest, DateBoundsWidenUpwardAndStopWhereAlreadyCovered) {
    TRASPathComponent* b =
        record(QStringLiteral("/a/b"), utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 10));
    TRASPathComponent* c =
        record(QStringLiteral("/a/c"), utc(2024, 3, 5, 9), utc(2024, 3, 5, 9, 10));
    store().save();
    TRASPathComponent* a = b->pathParent();
    EXPECT_EQ(b->startDateOfChildren(), utc(2024, 3, 5, 10));
    EXPECT_EQ(c->startDateOfChildren(), utc(2024, 3, 5, 9));
    EXPECT_EQ(a->startDateOfChildren(), utc(2024, 3, 5, 9));
    EXPECT_EQ(a->pathParent()->startDateOfChildren(), utc(2024, 3, 5, 9));
    EXPECT_EQ(a->stopDateOfChildren(), utc(2024, 3, 5, 10, 10));
    b->moveStartDateOfChildren(utc(2024, 3, 5, 10, 5));
    b->moveStopDateOfChildren(utc(2024, 3, 5, 10, 5));
    b->moveStartDateOfChildren(QDateTime());
    EXPECT_FALSE(store().managedObjectContext()->hasChanges())
        << "nothing to widen, nothing dirtied";
}

TEST_F(TreeTest, HourLookupFindsTheEventOfTheDatesHour) {
    TRASPathComponent* node =
        record(QStringLiteral("/a"), utc(2024, 3, 5, 10, 20), utc(2024, 3, 5, 10, 30));
    store().save();
    reopen();
    node = store().lastPathComponentForActivity(
        activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/a")); }));
    TRASHourlyEvent* hour = node->hourlyEventWithDate(utc(2024, 3, 5, 10, 59, 59), false);
    ASSERT_NE(hour, nullptr);
    EXPECT_EQ(hour->startDate(), utc(2024, 3, 5, 10));
    EXPECT_EQ(hour->durationValue(), 600);
    EXPECT_EQ(node->hourlyEventWithDate(utc(2024, 3, 5, 11), false), nullptr);
}

TEST_F(TreeTest, NamesAndLocatesNodes) {
    TRASPathComponent* file =
        record(QStringLiteral("/Users/a"), utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 1));
    TRASPathComponent* title = store().lastPathComponentForActivity(
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("Inbox - Mail")); }));
    TRASPathComponent* root = file->pathParent()->pathParent();
    const struct {
        const char* name;
        TRASPathComponent* node;
        QString fullPath;
        int depth;
    } cases[] = {
        {"file path", file, QStringLiteral("/Users/a"), 2},
        {"its parent", file->pathParent(), QStringLiteral("/Users"), 1},
        {"title tree", title, QString(), 2},
        {"root", root, QString(), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.node->fullPath(), c.fullPath);
        EXPECT_EQ(c.node->fullPath().isNull(), c.fullPath.isNull());
        EXPECT_EQ(int(c.node->fullPathAsComponents().size()), c.depth);
        EXPECT_EQ(c.node->containingApplication(), root->application());
    }
    EXPECT_EQ(file->titleForDisplay(), QStringLiteral("/a"));
    EXPECT_EQ(root->titleForDisplay(), QStringLiteral("Editor"));
    root->application()->setTitle(QString());
    EXPECT_EQ(root->titleForDisplay(), QStringLiteral("editor"))
        << "falls back to the executable name";
}

TEST_F(TreeTest, IconsFollowTheirFallbacksAndAreCached) {
    auto icons = std::make_shared<FakeIcons>();
    TRActivityStore::Options o = options();
    o.iconLookup = icons;
    TRActivityStore s(o);
    const QString existing = m_dir.filePath(QStringLiteral("present.txt"));
    QFile(existing).open(QIODevice::WriteOnly);
    auto node = [&](const QString& path) {
        return s.lastPathComponentForActivity(
            activityWith([&](TRActivity& a) { a.setDocumentPath(path); }));
    };
    EXPECT_EQ(node(existing)->icon(s.iconLookup()), "file:" + existing.toUtf8());
    EXPECT_EQ(node(existing)->icon(s.iconLookup()), "file:" + existing.toUtf8());
    EXPECT_EQ(icons->fileLookups, 1) << "cached after the first look-up";
    EXPECT_EQ(node(QStringLiteral("/no/such/file"))->icon(s.iconLookup()), QByteArray("docu"));
    TRASPathComponent* titled = s.lastPathComponentForActivity(
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("t")); }));
    EXPECT_TRUE(titled->icon(s.iconLookup()).isEmpty()) << "no path, no icon";
    EXPECT_EQ(TRASApplication::customActivitiesApplication(s)->icon(s.iconLookup()),
              QByteArray("app:/apps/helper.desktop"));
    EXPECT_EQ(node(existing)->pathParent()->pathParent()->pathParent()->icon(s.iconLookup()), QByteArray("docu"))
        << "a root shows its application's icon; this one is not installed";
    // Headless default: no icons at all.
    EXPECT_TRUE(TRASApplication::customActivitiesApplication(store())->icon(store().iconLookup()).isEmpty());
}

}  // namespace
