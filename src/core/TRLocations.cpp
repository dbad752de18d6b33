#include "core/TRLocations.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace TRLocations {

QString dataFolderName(const QString& executablePath) {
    return executablePath.contains(QLatin1String("Vorlix lite.app"))
               ? QStringLiteral("info.mallowby.Vorlix-lite")
               : QStringLiteral("info.mallowby.Vorlix");
}

QString dataFolderPath() {
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QDir(base).filePath(dataFolderName(QCoreApplication::applicationFilePath()));
}

QString settingsFilePath() {
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return QDir(base).filePath(QStringLiteral("info.mallowby.Vorlix/VorlixHelper.conf"));
}

}  // namespace TRLocations
