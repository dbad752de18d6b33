#pragma once
// ActivityStoreFile: opens the activity store's file, once, on first use.
//
// The data folder is created with mode 0700 (its parent must exist: missing
// parents are not created) and "ActivityStore.db" with mode 0600 before
// SQLite opens it, so its -wal and -shm files get 0600 too. The schema is then
// created or migrated (ActivityStoreSchema). What goes wrong is told through
// the reporter:
//  - a folder that cannot be created: two log lines and "Failed to
//    initialize the store"; the store stays closed and every call on it does
//    nothing;
//  - a file that is not a database, or has a newer schema: the error, then
//    abortProcess (the helper never runs without its store).
// There is no later retry: the first call decides.
//
// Opened read-only (a report reading beside the running helper), it creates
// and migrates nothing and never ends the process: a missing file, a file
// that is not a store or of another version is presented as an error and
// the store stays closed.
//
// Owns the connection and the one TRObjectContext over the activity store's
// entities. Main thread only.

#include <QString>
#include <functional>
#include <memory>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

class TRStoreReporter;

class ActivityStoreFile final {
public:
    // REQUIRES: reporter outlives the file. objectsInsertedOrDeleted is
    // handed to the context (TRObjectContext::objectsInsertedOrDeleted).
    ActivityStoreFile(QString dataFolder, bool readOnly, TRStoreReporter& reporter,
                      std::function<void()> abortProcess,
                      std::function<void(std::uint8_t)> objectsInsertedOrDeleted);
    ~ActivityStoreFile();
    ActivityStoreFile(const ActivityStoreFile&) = delete;
    ActivityStoreFile& operator=(const ActivityStoreFile&) = delete;

    // The folder as given, cleaned (no trailing slash).
    const QString& dataFolder() const { return m_dataFolder; }
    // Opens the store on the first call; nullptr when it could not be opened.
    TRObjectContext* context() {
        if (!m_openAttempted) open();
        return m_context.get();
    }
    // Never opens: nullptr until context() has opened the store.
    TRObjectContext* openedContext() const { return m_context.get(); }

private:
    void open();
    bool openReadOnly(const QString& file, QString* storeUuid);
    bool createDataFolder();

    QString m_dataFolder;
    bool m_readOnly;
    TRStoreReporter& m_reporter;
    std::function<void()> m_abortProcess;
    std::function<void(std::uint8_t)> m_objectsInsertedOrDeleted;
    bool m_openAttempted = false;
    SqliteDatabase m_db;
    std::unique_ptr<TRObjectContext> m_context;  // after m_db: goes first
};
