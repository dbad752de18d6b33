#pragma once
// The project store file's schema.
//
// One table per entity, named as the entity (Project, Application, Path),
// columns named as the attributes, an integer primary key `id`, and the two
// join tables Project_applications(Project, Application) and
// Project_paths(Project, Path). PRAGMA user_version holds the schema
// version. The main application edits the same file, so a file of another
// version is never migrated: opening it fails and the helper stops.

#include <optional>

#include "core/TRError.h"

class SqliteDatabase;

namespace ProjectStoreSchema {

inline constexpr int kCurrentVersion = 1;

// Sets the connection up (WAL, synchronous=NORMAL, busy timeout) and creates
// the schema in an empty file. REQUIRES: an open read-write connection.
std::optional<TRError> prepare(SqliteDatabase& db);

// For a reader that must change nothing: checks that the file is a project
// store of this version. REQUIRES: an open connection (read-only is enough).
std::optional<TRError> checkReadable(SqliteDatabase& db);

}  // namespace ProjectStoreSchema
