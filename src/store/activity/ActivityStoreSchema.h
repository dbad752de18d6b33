#pragma once
// The activity store file's schema and its forward migrations.
//
// Tables and columns carry the entity and attribute names that the main
// application reads too (Application, PathComponent, HourlyEvent, Event);
// dates are REAL seconds since the Unix epoch, to-one relationships are
// foreign-key columns named after the relationship, and PRAGMA user_version
// holds the schema version. The entity tables come from the entities'
// descriptions (TRASEntities.h); the metadata table and the indexes are
// written here. A file of an older version is migrated in one transaction
// when it is opened; a file of a newer version is refused.

#include <QString>
#include <optional>

#include "core/TRError.h"

class SqliteDatabase;

namespace ActivityStoreSchema {

inline constexpr int kCurrentVersion = 2;

// Sets the connection up (WAL, synchronous=NORMAL, busy timeout), creates or
// migrates the schema and returns the store's UUID (kept in Metadata).
// REQUIRES: an open read-write connection.
std::optional<TRError> prepare(SqliteDatabase& db, QString* storeUuid);

// For a reader that must change nothing: checks that the file is a store of
// the current version and returns its UUID, without migrating or writing.
// REQUIRES: an open connection (read-only is enough).
std::optional<TRError> checkReadable(SqliteDatabase& db, QString* storeUuid);

}  // namespace ActivityStoreSchema
