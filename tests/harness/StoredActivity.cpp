#include "harness/StoredActivity.h"

#include <QFile>
#include <sqlite3.h>

namespace {

const char kPathsQuery[] = R"(
    WITH RECURSIVE up(event, node, components, duration) AS (
        SELECT rowid, lastPathComponent, '', duration FROM HourlyEvent
        UNION ALL
        SELECT up.event, p.pathParent, p.value || char(31) || up.components, up.duration
        FROM up JOIN PathComponent p ON p.id = up.node WHERE IFNULL(p.pathParent, 0) != 0)
    SELECT a.bundleIdentifier, up.components, SUM(up.duration) FROM up
    JOIN PathComponent root ON root.id = up.node AND IFNULL(root.pathParent, 0) = 0
    JOIN Application a ON a.id = root.application
    GROUP BY a.bundleIdentifier, up.components)";

}  // namespace

std::vector<StoredPath> readStoredPaths(const QString& file, QString* error) {
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    std::vector<StoredPath> paths;
    if (sqlite3_open_v2(QFile::encodeName(file).constData(), &db, SQLITE_OPEN_READONLY, nullptr) !=
            SQLITE_OK ||
        sqlite3_prepare_v2(db, kPathsQuery, -1, &statement, nullptr) != SQLITE_OK) {
        if (error) *error = QString::fromUtf8(sqlite3_errmsg(db));
    }
    while (statement && sqlite3_step(statement) == SQLITE_ROW) {
        const auto text = [&](int column) {
            return QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
        };
        paths.push_back({text(0), text(1).split(QChar(31), Qt::SkipEmptyParts),
                         sqlite3_column_double(statement, 2)});
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return paths;
}

QString activityStoreIn(const QString& dataHome) {
    return dataHome + QStringLiteral("/info.mallowby.Vorlix/ActivityStore.db");
}

double totalSeconds(const std::vector<StoredPath>& paths) {
    double total = 0;
    for (const StoredPath& path : paths) total += path.seconds;
    return total;
}

double secondsOf(const std::vector<StoredPath>& paths, const QString& application) {
    double seconds = 0;
    for (const StoredPath& path : paths) seconds += path.application == application ? path.seconds : 0;
    return seconds;
}

QString describe(const std::vector<StoredPath>& paths) {
    QString text;
    for (const StoredPath& path : paths) {
        text += QStringLiteral("  %1 [%2] %3 s\n")
                    .arg(path.application, path.components.join(QStringLiteral(" | ")))
                    .arg(path.seconds, 0, 'f', 2);
    }
    return text;
}

QStringList pathComponents(const QString& path) {
    QStringList components;
    for (const QString& part : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        components.append(QLatin1Char('/') + part);
    return components;
}
