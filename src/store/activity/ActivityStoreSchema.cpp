#include "store/activity/ActivityStoreSchema.h"

#include <QUuid>

#include "store/graph/SqliteDatabase.h"

namespace ActivityStoreSchema {
namespace {

// Version 1: the first file layout. No metadata table (so no store UUID), no
// application icon cache, and only the parent index.
const char kVersionOne[] = R"SQL(
CREATE TABLE Application(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  bundleIdentifier TEXT,
  executableName TEXT,
  title TEXT,
  applescriptTrackingDisabled INTEGER NOT NULL DEFAULT 0,
  pathRoot INTEGER REFERENCES PathComponent(id));
CREATE TABLE PathComponent(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  value TEXT,
  pathLevel INTEGER NOT NULL DEFAULT 0,
  startDateOfChildren REAL,
  stopDateOfChildren REAL,
  cachedIcon BLOB,
  application INTEGER REFERENCES Application(id),
  pathParent INTEGER REFERENCES PathComponent(id));
CREATE TABLE HourlyEvent(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  startDate REAL,
  duration REAL DEFAULT 0,
  lastPathComponent INTEGER REFERENCES PathComponent(id));
CREATE TABLE Event(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  startDate REAL,
  stopDate REAL,
  lastPathComponent INTEGER REFERENCES PathComponent(id));
CREATE INDEX PathComponent_pathParent ON PathComponent(pathParent);
PRAGMA user_version = 1;
)SQL";

// Version 2: the store UUID for object URIs, the application icon cache, and
// the indexes that recording, merging and the range queries rely on. The two
// HourlyEvent indexes cover (startDate, lastPathComponent, duration), so the
// sums and the grouped aggregation never touch the table itself.
const char kOneToTwo[] = R"SQL(
CREATE TABLE Metadata(key TEXT PRIMARY KEY, value TEXT);
ALTER TABLE Application ADD COLUMN cachedIcon BLOB;
CREATE INDEX Application_bundleIdentifier ON Application(bundleIdentifier);
CREATE INDEX Application_executableName ON Application(executableName);
CREATE INDEX PathComponent_application ON PathComponent(application);
CREATE INDEX HourlyEvent_startDate ON HourlyEvent(startDate, lastPathComponent, duration);
CREATE INDEX HourlyEvent_lastPathComponent ON HourlyEvent(lastPathComponent, startDate, duration);
CREATE INDEX Event_lastPathComponent ON Event(lastPathComponent);
PRAGMA user_version = 2;
)SQL";

std::optional<TRError> migrate(SqliteDatabase& db, int from) {
    if (from == 0) {
        if (auto error = db.exec(QString::fromUtf8(kVersionOne))) return error;
        from = 1;
    }
    if (from == 1) {
        if (auto error = db.exec(QString::fromUtf8(kOneToTwo))) return error;
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

QString versionOneSql() {
    return QString::fromUtf8(kVersionOne);
}

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

}  // namespace ActivityStoreSchema
