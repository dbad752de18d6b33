#include "core/TRPathMigrator.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <atomic>

#include "core/TRLocations.h"

namespace {

const QString kFullEditionFolder = QStringLiteral("info.mallowby.Vorlix");
const QString kLiteEditionFolder = QStringLiteral("info.mallowby.Vorlix-lite");
const QString kProductFolder = QStringLiteral("Vorlix");

// Copies a folder tree with its files' permissions (the stores are 0600).
bool copyFolder(const QString& source, const QString& target) {
    if (!QDir().mkpath(target)) return false;
    QFile::setPermissions(target, QFileInfo(source).permissions());
    QDirIterator entries(source, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                     QDir::System);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        const QString into = QDir(target).filePath(entry.fileName());
        const bool copied = entry.isDir() && !entry.isSymLink()
                                ? copyFolder(entry.filePath(), into)
                                : QFile::copy(entry.filePath(), into);
        if (!copied) return false;
    }
    return true;
}

}  // namespace

namespace TRPathMigrator {

bool migrateDataFolder(const QString& baseFolder, const QString& executablePath) {
    if (TRLocations::dataFolderName(executablePath) == kLiteEditionFolder) return false;
    const QDir base(baseFolder);
    const QString target = base.filePath(kFullEditionFolder);
    if (QFileInfo::exists(target) || QFileInfo(target).isSymLink()) return false;
    QString source;
    for (const QString& candidate : {kProductFolder, kLiteEditionFolder}) {
        if (QFileInfo(base.filePath(candidate)).isDir()) {
            source = base.filePath(candidate);
            break;
        }
    }
    if (source.isEmpty()) return false;
    if (copyFolder(source, target)) return true;
    // Half a copy would stop every later attempt: leave no target behind.
    QDir(target).removeRecursively();
    return false;
}

void migrateApplicationSupportPaths() {
    static std::atomic<bool> ran{false};
    if (ran.exchange(true)) return;
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty()) base = QDir::tempPath();
    migrateDataFolder(base, QCoreApplication::applicationFilePath());
}

}  // namespace TRPathMigrator
