#include "store/activity/ActivityStoreSchema.h"

#include <QUuid>

#include "store/activity/TRASEntities.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TREntityDescription.h"

namespace ActivityStoreSchema {
namespace {

// The tables of the activity store's entities, from their descriptions: a
// column appears in the version that added it (CREATE TABLE for the table's
// first version, ALTER TABLE after that), so a new file goes through the same
// steps as an old one and both end up with the same schema text.
QString tablesSql(int version) {
    QString sql;
    for (const TREntityDescription* entity : activityStoreEntities()) {
        const QLatin1String table(entity->table);
        if (entity->sinceVersion == version) {
            sql += QStringLiteral("CREATE TABLE %1(\n  id INTEGER PRIMARY KEY AUTOINCREMENT")
                       .arg(table);
            for (const TRColumn& column : entity->columns) {
                if (column.sinceVersion <= version)
                    sql += QStringLiteral(",\n  %1 %2")
                               .arg(QLatin1String(column.name), QLatin1String(column.type));
            }
            sql += QStringLiteral(");\n");
        } else if (entity->sinceVersion < version) {
            for (const TRColumn& column : entity->columns) {
                if (column.sinceVersion == version)
                    sql += QStringLiteral("ALTER TABLE %1 ADD COLUMN %2 %3;\n")
                               .arg(table, QLatin1String(column.name), QLatin1String(column.type));
            }
        }
    }
    return sql;
}

// Version 1: the first file layout. No metadata table (so no store UUID), no
// application icon cache, and only the parent index.
QString versionOne() {
    return QStringLiteral("\n") + tablesSql(1) +
           QStringLiteral(
               "CREATE INDEX PathComponent_pathParent ON PathComponent(pathParent);\n"
               "PRAGMA user_version = 1;\n");
}

// Version 2: the store UUID for object URIs, the application icon cache, and
// the indexes that recording, merging and the range queries rely on. The two
// HourlyEvent indexes cover (startDate, lastPathComponent, duration), so the
// sums and the grouped aggregation never touch the table itself.
QString oneToTwo() {
    return QStringLiteral("\nCREATE TABLE Metadata(key TEXT PRIMARY KEY, value TEXT);\n") +
           tablesSql(2) +
           QStringLiteral(
               "CREATE INDEX Application_bundleIdentifier ON Application(bundleIdentifier);\n"
               "CREATE INDEX Application_executableName ON Application(executableName);\n"
               "CREATE INDEX PathComponent_application ON PathComponent(application);\n"
               "CREATE INDEX HourlyEvent_startDate ON HourlyEvent(startDate, "
               "lastPathComponent, duration);\n"
               "CREATE INDEX HourlyEvent_lastPathComponent ON HourlyEvent(lastPathComponent, "
               "startDate, duration);\n"
               "CREATE INDEX Event_lastPathComponent ON Event(lastPathComponent);\n"
               "PRAGMA user_version = 2;\n");
}

std::optional<TRError> migrate(SqliteDatabase& db, int from) {
    if (from == 0) {
        if (auto error = db.exec(versionOne())) return error;
        from = 1;
    }
    if (from == 1) {
        if (auto error = db.exec(oneToTwo())) return error;
    }
    return std::nullopt;
}

std::optional<TRError> ensureUuid(SqliteDatabase& db, QString* storeUuid) {
    SqliteStatement* read = db.cached("SELECT value FROM Metadata WHERE key = 'storeUUID'");
    if (!read) return db.lastError();
    if (read->step()) {
        *storeUuid = read->text(0);
        read->reset();
        return std::nullopt;
    }
    read->reset();
    *storeUuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    SqliteStatement* write = db.cached("INSERT INTO Metadata(key, value) VALUES('storeUUID', ?1)");
    if (!write) return db.lastError();
    write->bind(1, *storeUuid);
    return write->run();
}

}  // namespace

std::optional<TRError> prepare(SqliteDatabase& db, QString* storeUuid) {
    db.setBusyTimeout(5000);
    if (auto error = db.exec(QStringLiteral("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;")))
        return error;
    if (auto error = db.exec(QStringLiteral("BEGIN IMMEDIATE"))) return error;
    const int version = int(db.scalarInt(QStringLiteral("PRAGMA user_version")));
    std::optional<TRError> error;
    if (version > kCurrentVersion) {
        error = TRError{QStringLiteral("ActivityStore"), 134100,
                        QStringLiteral("The activity store was written by a newer version "
                                       "(schema %1; this program knows up to %2).")
                            .arg(version)
                            .arg(kCurrentVersion)};
    }
    if (!error && version < kCurrentVersion) error = migrate(db, version);
    if (!error) error = ensureUuid(db, storeUuid);
    db.exec(error ? QStringLiteral("ROLLBACK") : QStringLiteral("COMMIT"));
    return error;
}

std::optional<TRError> checkReadable(SqliteDatabase& db, QString* storeUuid) {
    db.setBusyTimeout(5000);
    // The first read fails on a file that is not a database at all.
    auto version = db.prepare(QStringLiteral("PRAGMA user_version"));
    if (!version) return db.lastError();
    if (!version->step()) return version->error().value_or(db.lastError());
    const int found = int(version->int64(0));
    if (found != kCurrentVersion) {
        return TRError{QStringLiteral("ActivityStore"), 134100,
                       QStringLiteral("The activity store has schema %1; this program reads %2 "
                                      "(the helper brings an older one up to date when it starts).")
                           .arg(found)
                           .arg(kCurrentVersion)};
    }
    auto uuid = db.prepare(QStringLiteral("SELECT value FROM Metadata WHERE key = 'storeUUID'"));
    if (!uuid) return db.lastError();
    if (uuid->step()) *storeUuid = uuid->text(0);
    return uuid->error();
}

}  // namespace ActivityStoreSchema
