#pragma once
// TRASContext: the activity store's object context, one per open store.
//
// It holds the objects read from the file (at most one object per row), the
// objects inserted since the last save, and which objects were changed or
// deleted. Reads go to the file only where memory cannot answer: a
// relationship is read once and then kept, and every query helper folds in
// the unsaved changes, so callers see one consistent picture.
//
// save() runs each changed object's clean-up rule once, then writes all
// changes in one transaction. Objects dirtied by those rules (a parent that
// lost its last child) stay marked for the next save, so an emptied branch
// disappears one level per save. A failed save keeps every change for the
// next one. merge() folds in another program's saved changes.
//
// Owner: TRActivityStore. Main thread only.

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "store/graph/TRManagedObject.h"
#include "core/TRError.h"

class SqliteDatabase;
class SqliteStatement;
class TRASApplication;
class TRASEvent;
class TRASHourlyEvent;
class TRASPathComponent;
class TRActivityStore;

// The identities a save wrote, as URIs, sorted.
struct TRASSaveResult final {
    QStringList inserted;
    QStringList updated;
    QStringList deleted;
    bool isEmpty() const { return inserted.isEmpty() && updated.isEmpty() && deleted.isEmpty(); }
};

class TRASContext final {
public:
    TRASContext(SqliteDatabase& db, QString storeUuid, TRActivityStore* store);
    ~TRASContext();
    TRASContext(const TRASContext&) = delete;
    TRASContext& operator=(const TRASContext&) = delete;

    SqliteDatabase& database() { return m_db; }
    TRActivityStore* store() const { return m_store; }
    const QString& storeUuid() const { return m_storeUuid; }

    TRASApplication* insertApplication();
    TRASPathComponent* insertPathComponent();
    TRASHourlyEvent* insertHourlyEvent();
    // Marks the object deleted and drops it from its relationships.
    void deleteObject(TRASObject* object);

    // The first application whose column equals value (the unsaved state
    // wins over the file). column: bundleIdentifier, executableName or title.
    TRASApplication* fetchApplication(const char* column, const QString& value);
    // Saved hourly events matching `where` (SQL over HourlyEvent, may be
    // empty), leaving out those with unsaved changes.
    std::vector<TRASHourlyEvent*> fetchSavedHourlyEvents(const QString& where);
    // Every node not deleted, from the file and unsaved, in no fixed order.
    std::vector<TRASPathComponent*> fetchAllPathComponents();

    // The registered object of that row, read from the file when needed;
    // nullptr when there is no such row.
    TRASApplication* applicationWithId(qint64 id);
    TRASPathComponent* pathComponentWithId(qint64 id);
    TRASPathComponent* registeredPathComponent(qint64 id) const;
    // REQUIRES: a URI of this store (else nullptr). Registered objects only
    // unless loadIfNeeded.
    TRASObject* objectWithUri(const QString& uri, bool loadIfNeeded);
    // Whether the URI names a row of this store (entity and key), loaded or not.
    bool parseUri(const QString& uri, TRASEntity* entity, qint64* id) const;
    QString uriFor(const TRASObject& object) const;

    // Relationship reads for the entity classes.
    void loadChildren(TRASPathComponent* node);
    void loadHourlyEvents(TRASPathComponent* node);
    void loadEvents(TRASPathComponent* node);

    // Hourly events with unsaved changes (inserted, changed or deleted): a
    // query over the file leaves the saved rows of these out (excludedIds)
    // and adds the live ones (live) itself.
    QString pendingHourlyEventExclusion() const;
    std::vector<TRASHourlyEvent*> liveChangedHourlyEvents() const;

    bool hasChanges() const;
    std::optional<TRError> save(TRASSaveResult* result);

    // Another program saved: inserted rows become known, updated rows are
    // re-read (this program's unsaved property changes kept), deleted rows
    // are dropped. URIs that name nothing go to notFound.
    void merge(const QStringList& inserted, const QStringList& updated, const QStringList& deleted,
               QStringList* notFound);

    // Called whenever objects are inserted into or deleted from the context.
    std::function<void()> objectsInsertedOrDeleted;

    // The SELECT of all columns of the entity's table, without a WHERE.
    static const char* selectSql(TRASEntity entity);
    // Keys for SqliteDatabase::cachedByKey, one range per kind of statement.
    enum class StatementKind : quint64 {
        SelectById = 1,
        SelectApplicationBy,
        SelectChildren,
        SelectHourlyEvents,
        SelectEvents,
        Delete,
        UpdatePathComponent,
        UpdateApplication,
    };
    static quint64 statementKey(StatementKind kind, quint64 detail) {
        return (quint64(kind) << 32) | detail;
    }

    // For TRASObject::didChange.
    void markUpdated(TRASObject* object);

private:
    TRASObject* adopt(std::unique_ptr<TRASObject> object);
    void registerInserted(TRASObject* object);
    TRASObject* registered(TRASEntity entity, qint64 id) const;
    TRASObject* readRow(TRASEntity entity, const SqliteStatement& row);
    TRASObject* loadById(TRASEntity entity, qint64 id);
    void runCleanupRules();
    std::optional<TRError> writeChanges();
    std::optional<TRError> assignPrimaryKeys();
    void finishSave(TRASSaveResult* result);
    void forget(TRASObject* object);
    void refresh(TRASObject* object);
    void linkMergedInsertion(TRASObject* object);
    void unlinkFromOwner(TRASObject* object);
    void linkToOwner(TRASObject* object);
    void notifyInsertedOrDeleted();

    SqliteDatabase& m_db;
    QString m_storeUuid;
    TRActivityStore* m_store;
    qint64 m_nextTemporaryId = 1;
    // Every object the context owns, linked through the objects themselves
    // (a hash map here cost more per node than the node's own fields).
    TRASObject* m_owned = nullptr;
    std::unordered_map<qint64, TRASObject*> m_registered[4];
    std::unordered_set<TRASObject*> m_inserted;
    std::unordered_set<TRASObject*> m_updated;
    std::unordered_set<TRASObject*> m_deleted;
    bool m_inCleanup = false;
    std::unordered_set<TRASObject*> m_dirtiedByCleanup;
};
