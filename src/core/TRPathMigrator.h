#pragma once
// TRPathMigrator: carries an older data folder over to the current one, once.
//
// Earlier releases kept their stores in a folder named after the product
// ("Vorlix"), and the lite edition keeps its own ("info.mallowby.Vorlix-lite").
// The full edition copies the older of them into "info.mallowby.Vorlix" at
// start, before any store opens, so a user who upgrades keeps their history.
// The source stays where it is; a folder that already holds the target (even
// an empty one) is never touched; the lite edition never migrates. A failed
// copy leaves no target behind, so the next start tries again.
//
// Thread: the main thread, at start, before anything opens a store.

#include <QString>

namespace TRPathMigrator {

// The migration for this process (the helper's executable path and
// $XDG_DATA_HOME); runs at most once per process.
void migrateApplicationSupportPaths();

// The same rules in `baseFolder` for an executable at `executablePath`.
// Answers whether a folder was copied.
bool migrateDataFolder(const QString& baseFolder, const QString& executablePath);

}  // namespace TRPathMigrator
