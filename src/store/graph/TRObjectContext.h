#pragma once
// TRObjectContext: a store's object context, one per open store file.
//
// It works over the entity descriptions it is given (see
// TREntityDescription.h): an object's entity() is its description's place in
// that list. It holds the objects read from the file (at most one object per
// row), the objects inserted since the last save, and which objects were
// changed or deleted. Reads go to the file only where memory cannot answer:
// the entities keep their relationships once read, and the queries over
// unsaved changes (changedRowExclusion, liveChangedObjects) let callers fold
// them in, so callers see one consistent picture.
//
// save() runs each changed object's clean-up rule once, then writes all
// changes in one transaction. Objects dirtied by those rules (a parent that
// lost its last child) stay marked for the next save, so an emptied branch
// disappears one level per save. A failed save keeps every change for the
// next one. merge() folds in another program's saved changes.
//
// Owner: the store. Main thread only.

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/TRError.h"
#include "store/graph/TREntityDescription.h"
#include "store/graph/TRManagedObject.h"

class SqliteDatabase;
class SqliteStatement;

// The identities a save wrote, as URIs, sorted.
struct TRSaveResult final {
    QStringList inserted;
    QStringList updated;
    QStringList deleted;
    bool isEmpty() const { return inserted.isEmpty() && updated.isEmpty() && deleted.isEmpty(); }
};

class TRObjectContext final {
public:
    // REQUIRES: the descriptions outlive the context (static tables).
    TRObjectContext(SqliteDatabase& db, QString storeUuid,
                    std::span<const TREntityDescription* const> entities);
    ~TRObjectContext();
    TRObjectContext(const TRObjectContext&) = delete;
    TRObjectContext& operator=(const TRObjectContext&) = delete;

    SqliteDatabase& database() { return m_db; }
    const QString& storeUuid() const { return m_storeUuid; }
    const TREntityDescription& description(std::uint8_t entity) const {
        return *m_entities[entity];
    }

    // A new object of an entity class with a static kEntity.
    template <class T>
    T* insert() {
        return static_cast<T*>(insertObject(T::kEntity));
    }
    TRManagedObject* insertObject(std::uint8_t entity);
    // Marks the object deleted and drops it from its relationships.
    void deleteObject(TRManagedObject* object);

    // The registered object of that row, read from the file when needed;
    // nullptr when there is no such row or it was deleted here.
    template <class T>
    T* objectWithId(qint64 id) {
        TRManagedObject* object = loadById(T::kEntity, id);
        return object && !object->m_deleted ? static_cast<T*>(object) : nullptr;
    }
    // Only an object already in memory (deleted or not).
    template <class T>
    T* registeredObject(qint64 id) const {
        return static_cast<T*>(registered(T::kEntity, id));
    }
    // REQUIRES: a URI of this store (else nullptr). Registered objects only
    // unless loadIfNeeded.
    TRManagedObject* objectWithUri(const QString& uri, bool loadIfNeeded);
    // Whether the URI names a row of this store (entity and key), loaded or not.
    bool parseUri(const QString& uri, std::uint8_t* entity, qint64* id) const;
    QString uriFor(const TRManagedObject& object) const;

    // Fetching. A statement selecting the entity's columns (id first, then
    // the description's columns) with `where` appended (may be empty), kept
    // under the caller's number `query` (unique per entity); nullptr on a
    // preparation error. readRow gives the row's registered object: one
    // already in memory keeps its values, a new one is read from the row.
    SqliteStatement* cachedSelect(std::uint8_t entity, quint64 query, const char* where);
    QString selectSql(std::uint8_t entity) const;
    TRManagedObject* readRow(std::uint8_t entity, const SqliteStatement& row);
    template <class T>
    T* readRow(const SqliteStatement& row) {
        return static_cast<T*>(readRow(T::kEntity, row));
    }

    // Objects of the entity with unsaved changes: a query over the file
    // leaves the saved rows of the changed and deleted ones out (the SQL
    // " AND id NOT IN (...)", or empty) and adds the live ones itself.
    QString changedRowExclusion(std::uint8_t entity) const;
    template <class T>
    std::vector<T*> liveChangedObjects() const {
        std::vector<T*> objects;
        for (const auto* set : {&m_inserted, &m_updated}) {
            for (TRManagedObject* object : *set) {
                if (object->m_entity == T::kEntity) objects.push_back(static_cast<T*>(object));
            }
        }
        return objects;
    }
    // The first inserted, else changed, object of the entity that pred accepts.
    template <class T, class Pred>
    T* firstChangedObject(Pred pred) const {
        for (const auto* set : {&m_inserted, &m_updated}) {
            for (TRManagedObject* object : *set) {
                if (object->m_entity == T::kEntity && pred(static_cast<T*>(object)))
                    return static_cast<T*>(object);
            }
        }
        return nullptr;
    }
    template <class T>
    std::vector<T*> insertedObjects() const {
        std::vector<T*> objects;
        for (TRManagedObject* object : m_inserted) {
            if (object->m_entity == T::kEntity) objects.push_back(static_cast<T*>(object));
        }
        return objects;
    }

    bool hasChanges() const;
    // result may be nullptr when no one is told what was written (the URIs
    // are then never made).
    std::optional<TRError> save(TRSaveResult* result);

    // Another program saved: inserted rows become known, updated rows are
    // re-read (this program's unsaved property changes kept), deleted rows
    // are dropped. URIs that name nothing go to notFound.
    void merge(const QStringList& inserted, const QStringList& updated, const QStringList& deleted,
               QStringList* notFound);

    // Called whenever objects are inserted into or deleted from the context,
    // with their entity (once per entity for a merge).
    std::function<void(std::uint8_t entity)> objectsInsertedOrDeleted;

    // For TRManagedObject::didChange.
    void markUpdated(TRManagedObject* object);

private:
    // Keys for SqliteDatabase::cachedByKey: the kind, the entity, a detail.
    enum class StatementKind : quint64 {
        Select = 1,
        SelectById,
        Insert,
        Update,
        Delete,
        JoinInsert,
        LargestKey,
    };
    static quint64 statementKey(StatementKind kind, std::uint8_t entity, quint64 detail) {
        return (quint64(kind) << 56) | (quint64(entity) << 48) | detail;
    }

    TRManagedObject* adopt(std::unique_ptr<TRManagedObject> object);
    TRManagedObject* registered(std::uint8_t entity, qint64 id) const;
    TRManagedObject* loadById(std::uint8_t entity, qint64 id);
    void readColumns(TRManagedObject* object, const SqliteStatement& row, bool keepDirty);
    std::optional<TRError> insertRow(TRManagedObject* object);
    std::optional<TRError> updateRow(TRManagedObject* object);
    std::optional<TRError> writeJoins(TRManagedObject* object);
    std::optional<TRError> deleteJoinRows(const char* table, const char* column, qint64 key);
    void runCleanupRules();
    std::optional<TRError> writeChanges();
    std::optional<TRError> assignPrimaryKeys();
    void finishSave(TRSaveResult* result);
    void forget(TRManagedObject* object);
    void forgetDeletedElsewhere(const std::vector<TRManagedObject*>& gone);
    void refresh(TRManagedObject* object);
    void notifyInsertedOrDeleted(std::uint8_t entity);

    SqliteDatabase& m_db;
    QString m_storeUuid;
    std::vector<const TREntityDescription*> m_entities;
    qint64 m_nextTemporaryId = 1;
    // Every object the context owns, linked through the objects themselves
    // (a hash map here cost more per node than the node's own fields).
    TRManagedObject* m_owned = nullptr;
    std::vector<std::unordered_map<qint64, TRManagedObject*>> m_registered;
    std::unordered_set<TRManagedObject*> m_inserted;
    std::unordered_set<TRManagedObject*> m_updated;
    std::unordered_set<TRManagedObject*> m_deleted;
    bool m_inCleanup = false;
    std::unordered_set<TRManagedObject*> m_dirtiedByCleanup;
};
