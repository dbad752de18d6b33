#include "core/TRPathMigrator.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

void writeFile(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

struct Row {
    const char* name;
    const char* executable;
    std::vector<const char*> folders;  // "folder" holds ActivityStore.db saying its own name
    bool emptyTarget;
    const char* expectedStoreFrom;  // null: no target store after the migration
};

// Upgrading users keep their history; nobody loses or mixes theirs.
TEST(TRPathMigratorTest, CopiesTheRightOlderFolderOnce) {
    const Row rows[] = {
        {"old product folder", "/usr/bin/vorlix-helper", {"Vorlix"}, false, "Vorlix"},
        {"lite folder", "/usr/bin/vorlix-helper", {"info.mallowby.Vorlix-lite"}, false,
         "info.mallowby.Vorlix-lite"},
        {"target present, even empty", "/usr/bin/vorlix-helper", {"Vorlix"}, true, nullptr},
        {"nothing to migrate", "/usr/bin/vorlix-helper", {}, false, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        QTemporaryDir base;
        const QDir dir(base.path());
        for (const char* folder : row.folders) {
            writeFile(dir.filePath(QString::fromUtf8(folder) + QStringLiteral("/ActivityStore.db")),
                      folder);
            writeFile(dir.filePath(QString::fromUtf8(folder) + QStringLiteral("/nested/deep.txt")),
                      "deep");
        }
        const QString target = dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
        if (row.emptyTarget) dir.mkpath(target);

        const bool copied = TRPathMigrator::migrateDataFolder(base.path(),
                                                              QString::fromUtf8(row.executable));
        EXPECT_EQ(copied, row.expectedStoreFrom != nullptr);
        if (row.expectedStoreFrom) {
            EXPECT_EQ(readFile(target + QStringLiteral("/ActivityStore.db")), row.expectedStoreFrom);
            EXPECT_EQ(readFile(target + QStringLiteral("/nested/deep.txt")), "deep");
            for (const char* folder : row.folders) {
                EXPECT_TRUE(QFile::exists(dir.filePath(QString::fromUtf8(folder))))
                    << "the source stays";
            }
            EXPECT_FALSE(TRPathMigrator::migrateDataFolder(base.path(),
                                                           QString::fromUtf8(row.executable)))
                << "a second start copies nothing";
        } else if (!row.emptyTarget) {
            EXPECT_FALSE(QFile::exists(target));
        }
    }
}

// A copy that fails half-way must not leave a target that blocks the next try.
TEST(TRPathMigratorTest, FailedCopyLeavesNoTarget) {
    QTemporaryDir base;
    const QDir dir(base.path());
    writeFile(dir.filePath(QStringLiteral("Vorlix/ActivityStore.db")), "x");
    // A link to nothing cannot be copied, whoever runs the test.
    ASSERT_TRUE(QFile::link(dir.filePath(QStringLiteral("gone")),
                            dir.filePath(QStringLiteral("Vorlix/zz-dangling"))));
    EXPECT_FALSE(TRPathMigrator::migrateDataFolder(base.path(), QStringLiteral("/usr/bin/h")));
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("info.mallowby.Vorlix"))));
}

}  // namespace
