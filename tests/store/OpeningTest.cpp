// Opening the store: the data folder, file modes, the schema and its
// migration, and what happens when the store cannot be opened.
#include <sys/stat.h>
#include <QFileInfo>

#include "StoreTestSupport.h"
#include "store/activity/ActivityStoreSchema.h"
#include "store/graph/SqliteDatabase.h"

namespace {

int modeOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return -1;
    return int(st.st_mode & 0777);
}

using OpeningTest = StoreTest;

TEST_F(OpeningTest, CreatesAPrivateFolderAndOwnerOnlyFiles) {
    store().storeActivity(
        activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("x")); }),
        utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 1));
    store().save();
    EXPECT_EQ(modeOf(dataFolder()), 0700);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        SCOPED_TRACE(suffix);
        EXPECT_EQ(modeOf(databasePath() + QLatin1String(suffix)), 0600);
    }
    EXPECT_EQ(m_reporter->lines, QStringList());
}

TEST_F(OpeningTest, WritesAheadWithTheCurrentSchemaVersion) {
    ASSERT_NE(store().managedObjectContext(), nullptr);
    SqliteDatabase& db = store().managedObjectContext()->database();
    auto mode = db.prepare(QStringLiteral("PRAGMA journal_mode"));
    ASSERT_TRUE(mode && mode->step());
    EXPECT_EQ(mode->text(0), QStringLiteral("wal"));
    EXPECT_EQ(db.scalarInt(QStringLiteral("PRAGMA user_version")),
              ActivityStoreSchema::kCurrentVersion);
    for (const char* index :
         {"HourlyEvent_startDate", "HourlyEvent_lastPathComponent", "PathComponent_pathParent"}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(db.scalarInt(
                      QStringLiteral(
                          "SELECT COUNT(*) FROM sqlite_master WHERE type = 'index' AND name = '%1'")
                          .arg(QLatin1String(index))),
                  1);
    }
}

TEST_F(OpeningTest, DoesNotCreateMissingParentFolders) {
    TRActivityStore::Options o = options();
    o.dataFolder = m_dir.filePath(QStringLiteral("missing/info.mallowby.Vorlix"));
    TRActivityStore s(o);
    s.storeActivity(activityWith([](TRActivity& a) { a.setWindowTitle(QStringLiteral("x")); }),
                    utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 1));
    s.save();
    EXPECT_EQ(s.managedObjectContext(), nullptr);
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath(QStringLiteral("missing"))));
    ASSERT_EQ(m_reporter->lines.size(), 2);
    EXPECT_EQ(
        m_reporter->lines[0],
        QStringLiteral("Failed to create App Support directory %1 : No such file or directory")
            .arg(o.dataFolder));
    EXPECT_EQ(m_reporter->lines[1],
              QStringLiteral(
                  "Error creating application support directory at %1 : No such file or directory")
                  .arg(o.dataFolder));
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    EXPECT_EQ(m_reporter->presented[0].domain, QStringLiteral("YOUR_ERROR_DOMAIN"));
    EXPECT_EQ(m_reporter->presented[0].code, 9999);
    EXPECT_EQ(m_reporter->presented[0].description,
              QStringLiteral("Failed to initialize the store"));
    EXPECT_EQ(m_reporter->presented[0].failureReason,
              QStringLiteral("There was an error building up the data file."));
    EXPECT_EQ(m_aborts, 0);
}

TEST_F(OpeningTest, EndsTheProcessWhenTheFileCannotBeOpened) {
    const struct {
        const char* name;
        QByteArray content;
        bool setNewerVersion;
    } cases[] = {
        {"not a database", QByteArray(4096, 'x'), false},
        {"written by a newer version", QByteArray(), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        startAfresh();
        m_aborts = 0;
        m_reporter->presented.clear();
        QDir().mkpath(dataFolder());
        if (c.setNewerVersion) {
            SqliteDatabase db;
            ASSERT_FALSE(db.open(databasePath()));
            ASSERT_FALSE(db.exec(QStringLiteral("PRAGMA user_version = 99")));
        } else {
            QFile f(databasePath());
            ASSERT_TRUE(f.open(QIODevice::WriteOnly));
            f.write(c.content);
        }
        EXPECT_EQ(store().managedObjectContext(), nullptr);
        EXPECT_EQ(m_aborts, 1);
        EXPECT_EQ(m_reporter->presented.size(), 1u);
    }
}

TEST_F(OpeningTest, MigratesAFileOfThePreviousVersion) {
    QDir().mkpath(dataFolder());
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(STORE_TEST_DATA "/ActivityStore-v1.db"), databasePath()));
    const TRActivity activity =
        activityWith([](TRActivity& a) { a.setDocumentPath(QStringLiteral("/home/notes.txt")); });
    TRASApplication* app =
        TRASApplication::applicationWithRunningApplication(store(), testApplication(), false);
    ASSERT_NE(app, nullptr);
    EXPECT_TRUE(app->applescriptTrackingDisabledValue());
    EXPECT_EQ(app->pathRoot()->titleForDisplay(), QStringLiteral("Editor"));
    store().storeActivity(activity, utc(2024, 3, 5, 11, 40), utc(2024, 3, 5, 12, 10));
    store().save();
    EXPECT_EQ(
        dumpInFreshProcess(),
        (QStringList{QStringLiteral("org.example.Editor|/home|/notes.txt @2024-03-05T10:00 3600"),
                     QStringLiteral("org.example.Editor|/home|/notes.txt @2024-03-05T11:00 2400"),
                     QStringLiteral("org.example.Editor|/home|/notes.txt @2024-03-05T12:00 600")}));
    EXPECT_TRUE(app->uriRepresentation().startsWith(QStringLiteral("x-vorlix://")));
    EXPECT_EQ(
        store().managedObjectContext()->database().scalarInt(QStringLiteral("PRAGMA user_version")),
        2);
    const QString uuid = store().managedObjectContext()->storeUuid();
    reopen();
    ASSERT_NE(store().managedObjectContext(), nullptr);
    EXPECT_EQ(store().managedObjectContext()->storeUuid(), uuid) << "the store keeps its identity";
}

// The main application reads both kinds of file with one model: a migrated
// file must end up with exactly the tables, columns and indexes of a new one.
TEST_F(OpeningTest, MigratedAndNewFilesHaveTheSameSchema) {
    auto schemaOf = [](TRActivityStore& s) {
        QStringList rows;
        auto stmt = s.managedObjectContext()->database().prepare(QStringLiteral(
            "SELECT type, name, sql FROM sqlite_master WHERE name NOT LIKE 'sqlite_%' "
            "ORDER BY name"));
        while (stmt && stmt->step())
            rows.append(stmt->text(0) + QLatin1Char(' ') + stmt->text(1) + QLatin1Char(' ') +
                        stmt->text(2));
        return rows;
    };
    ASSERT_NE(store().managedObjectContext(), nullptr);
    const QStringList fresh = schemaOf(store());
    QTemporaryDir other;
    TRActivityStore::Options o = options();
    o.dataFolder = other.filePath(QStringLiteral("old"));
    QDir().mkpath(o.dataFolder);
    ASSERT_TRUE(QFile::copy(QStringLiteral(STORE_TEST_DATA "/ActivityStore-v1.db"),
                            QDir(o.dataFolder).filePath(QStringLiteral("ActivityStore.db"))));
    TRActivityStore migrated(o);
    ASSERT_NE(migrated.managedObjectContext(), nullptr);
    EXPECT_EQ(schemaOf(migrated), fresh);
}

TEST_F(OpeningTest, ReadsTheTimeThresholdAndWritesChangesBack) {
    setSetting(QStringLiteral("activityStoreTimeThreshold"), 12.5);
    EXPECT_EQ(store().timeThreshold(), 12.5);
    store().setTimeThreshold(30.0);
    EXPECT_EQ(QSettings(settingsPath(), QSettings::IniFormat)
                  .value(QStringLiteral("activityStoreTimeThreshold"))
                  .toDouble(),
              30.0);
    reopen();
    EXPECT_EQ(store().timeThreshold(), 30.0);
}

TEST_F(OpeningTest, PreparingForTerminationNeverOpensTheStore) {
    store().prepareForTermination();
    EXPECT_FALSE(store().isOpen());
    EXPECT_FALSE(QFileInfo::exists(dataFolder()));
}

TEST_F(OpeningTest, UsesTheSharedDataFolderByDefault) {
    qputenv("XDG_DATA_HOME", m_dir.filePath(QStringLiteral("xdg")).toUtf8());
    TRActivityStore::Options o = options();
    o.dataFolder.clear();
    TRActivityStore s(o);
    EXPECT_EQ(s.applicationSupportDirectory(),
              m_dir.filePath(QStringLiteral("xdg/info.mallowby.Vorlix")));
    EXPECT_EQ(s.bundleIdentifier(), QStringLiteral("info.mallowby.VorlixHelper"));
    qunsetenv("XDG_DATA_HOME");
}

}  // namespace
