// Merging another program's saved changes into TRObjectContext (see
// TRObjectContext.h).
#include <algorithm>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

void TRObjectContext::merge(const QStringList& inserted, const QStringList& updated,
                            const QStringList& deleted, QStringList* notFound) {
    std::vector<bool> insertedOrDeleted(m_entities.size(), false);
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
        insertedOrDeleted[object->m_entity] = true;
    }
    for (const QString& uri : updated) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        TRManagedObject* object = registered(entity, id);
        if (object && !object->m_deleted) refresh(object);
    }
    std::vector<TRManagedObject*> gone;
    for (const QString& uri : deleted) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        TRManagedObject* object = registered(entity, id);
        // A URI listed twice is one object to let go.
        if (object && std::find(gone.begin(), gone.end(), object) == gone.end())
            gone.push_back(object);
    }
    for (const TRManagedObject* object : gone) insertedOrDeleted[object->m_entity] = true;
    forgetDeletedElsewhere(gone);
    for (size_t e = 0; e < insertedOrDeleted.size(); ++e) {
        if (insertedOrDeleted[e]) notifyInsertedOrDeleted(std::uint8_t(e));
    }
}

// Every pointer to the deleted objects goes first, also the ones between
// them (a child deleted with its parent) and those the to-many sets never
// listed, so that neither the clean-up below nor later use follows a freed
// object.
void TRObjectContext::forgetDeletedElsewhere(const std::vector<TRManagedObject*>& gone) {
    if (gone.empty()) return;
    const std::unordered_set<const TRManagedObject*> goneSet(gone.begin(), gone.end());
    for (const auto& byId : m_registered) {
        for (const auto& entry : byId) entry.second->dropReferencesTo(goneSet);
    }
    for (TRManagedObject* object : gone) {
        object->nullifyRelationships(false);
        forget(object);
    }
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
