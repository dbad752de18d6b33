#include "core/RunningApplication.h"

#include <QFileInfo>

QString RunningApplication::identifier() const {
    if (!bundleIdentifier.isEmpty()) return bundleIdentifier;
    if (!executablePath.isEmpty()) return QFileInfo(executablePath).fileName();
    return localizedName;
}

QString RunningApplication::description() const {
    auto orNull = [](const QString& s) { return s.isNull() ? QStringLiteral("(null)") : s; };
    return QStringLiteral("<RunningApplication pid=%1 id=%2 exe=%3 name=%4>")
        .arg(processIdentifier)
        .arg(orNull(bundleIdentifier), orNull(executablePath), orNull(localizedName));
}
