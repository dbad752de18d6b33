// Merging another program's saved changes into TRObjectContext (see
// TRObjectContext.h).
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

void TRObjectContext::merge(const QStringList& inserted, const QStringList& updated,
                            const QStringList& deleted, QStringList* notFound) {
    bool insertedOrDeleted = false;
    std::uint8_t entity = 0;
    qint64 id = 0;
    for (const QString& uri : inserted) {
        const bool known = objectWithUri(uri, false) != nullptr;
        TRManagedObject* object = objectWithUri(uri, true);
        if (!object) {
            notFound->append(uri);
            continue;
        }
        if (!known) object->linkToOwner();
        insertedOrDeleted = true;
    }
    for (const QString& uri : updated) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        TRManagedObject* object = registered(entity, id);
        if (object && !object->m_deleted) refresh(object);
    }
    for (const QString& uri : deleted) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        if (TRManagedObject* object = registered(entity, id)) {
            object->nullifyRelationships(false);
            forget(object);
            insertedOrDeleted = true;
        }
    }
    if (insertedOrDeleted) notifyInsertedOrDeleted();
}

void TRObjectContext::refresh(TRManagedObject* object) {
    const std::uint8_t entity = object->m_entity;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectById, entity, 0),
                         [&] { return selectSql(entity) + QStringLiteral(" WHERE id = ?1"); });
    if (!stmt) return;
    stmt->bind(1, object->m_primaryKey);
    if (stmt->step()) {
        object->unlinkFromOwner();
        readColumns(object, *stmt, true);
        object->linkToOwner();
    }
    stmt->reset();
}
