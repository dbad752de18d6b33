// Opening the store: the data folder, file modes, the migration of an older
// file, and what happens when the store cannot be opened.
#include <sys/stat.h>
#include <QFileInfo>

#include "StoreTestSupport.h"

namespace {

int modeOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return -1;
    return int(st.st_mode & 0777);
}

// Every table, column and index as SQLite keeps them.
QStringList schemaOf(TRActivityStore& s) {
    QStringList rows;
    auto stmt = s.managedObjectContext()->database().prepare(
        QStringLiteral("SELECT name, sql FROM sqlite_master WHERE name NOT LIKE 'sqlite_%' "
                       "ORDER BY name"));
    while (stmt && stmt->step()) rows.append(stmt->text(0) + QLatin1Char(' ') + stmt->text(1));
    return rows;
}

using OpeningTest = StoreTest;

TEST_F(OpeningTest, CreatesAPrivateFolderAndOwnerOnlyFilesOnFirstUseOnly) {
    store().prepareForTermination();
    EXPECT_FALSE(QFileInfo::exists(dataFolder())) << "saving at exit never opens the store";
    record(onPath(QStringLiteral("/x")), utc(2024, 3, 5, 10), 60);
    store().save();
    EXPECT_EQ(modeOf(dataFolder()), 0700);
    for (const char* suffix : {"", "-wal", "-shm"}) {
        SCOPED_TRACE(suffix);
        EXPECT_EQ(modeOf(databasePath() + QLatin1String(suffix)), 0600);
    }
    EXPECT_EQ(m_reporter->lines, QStringList());
}

TEST_F(OpeningTest, WithoutItsFolderTheStoreStaysClosedAndSaysWhy) {
    TRActivityStore::Options o = options();
    o.dataFolder = m_dir.filePath(QStringLiteral("missing/info.mallowby.Vorlix"));
    TRActivityStore s(o);
    s.storeActivity(onPath(QStringLiteral("/x")), utc(2024, 3, 5, 10), utc(2024, 3, 5, 10, 1));
    s.save();
    EXPECT_EQ(s.managedObjectContext(), nullptr);
    EXPECT_FALSE(QFileInfo::exists(m_dir.filePath(QStringLiteral("missing"))))
        << "missing parents are not created";
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    EXPECT_EQ(m_reporter->presented[0].toString(),
              QStringLiteral("YOUR_ERROR_DOMAIN (9999): Failed to initialize the store There "
                             "was an error building up the data file."));
    EXPECT_EQ(m_aborts, 0);
}

TEST_F(OpeningTest, EndsTheProcessWhenTheFileCannotBeOpened) {
    QDir().mkpath(dataFolder());
    QFile f(databasePath());
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(QByteArray(4096, 'x'));
    f.close();
    EXPECT_EQ(store().managedObjectContext(), nullptr);
    EXPECT_EQ(m_aborts, 1);
    ASSERT_EQ(m_reporter->presented.size(), 1u);
    EXPECT_EQ(m_reporter->presented[0].failureReason,
              QStringLiteral("There was an error building up the data file."));
}

// The main application reads both kinds of file with one model: a migrated
// file keeps its rows and identity and ends up with exactly the tables,
// columns and indexes of a new one.
TEST_F(OpeningTest, MigratesAFileOfThePreviousVersion) {
    ASSERT_NE(store().managedObjectContext(), nullptr);
    const QStringList fresh = schemaOf(store());
    startAfresh();
    QDir().mkpath(dataFolder());
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(STORE_TEST_DATA "/ActivityStore-v1.db"), databasePath()));
    TRASApplication* app =
        TRASApplication::applicationWithRunningApplication(context(), testApplication(), false);
    ASSERT_NE(app, nullptr);
    EXPECT_TRUE(app->applescriptTrackingDisabledValue());
    EXPECT_EQ(app->pathRoot()->titleForDisplay(), QStringLiteral("Editor"));
    EXPECT_EQ(schemaOf(store()), fresh);
    record(onPath(QStringLiteral("/home/notes.txt")), utc(2024, 3, 5, 11, 40), 1800);
    store().save();
    const QString notes = QStringLiteral("org.example.Editor|/home|/notes.txt @2024-03-05T");
    EXPECT_EQ(readBack(),
              (QStringList{notes + "10:00 3600", notes + "11:00 2400", notes + "12:00 600"}));
    const QString uuid = context().storeUuid();
    reopen();
    EXPECT_EQ(context().storeUuid(), uuid) << "the store keeps its identity";
}

}  // namespace
