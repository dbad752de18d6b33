// Merging another program's saved changes into TRASContext (see TRASContext.h).
#include <algorithm>

#include "store/graph/SqliteDatabase.h"
#include "store/activity/TRASApplication.h"
#include "store/graph/TRObjectContext.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"

void TRASContext::merge(const QStringList& inserted, const QStringList& updated,
                        const QStringList& deleted, QStringList* notFound) {
    bool insertedOrDeleted = false;
    TRASEntity entity;
    qint64 id = 0;
    for (const QString& uri : inserted) {
        const bool known = objectWithUri(uri, false) != nullptr;
        TRASObject* object = objectWithUri(uri, true);
        if (!object) {
            notFound->append(uri);
            continue;
        }
        if (!known) linkMergedInsertion(object);
        insertedOrDeleted = true;
    }
    for (const QString& uri : updated) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        TRASObject* object = registered(entity, id);
        if (object && !object->m_deleted) refresh(object);
    }
    for (const QString& uri : deleted) {
        if (!parseUri(uri, &entity, &id)) {
            notFound->append(uri);
            continue;
        }
        if (TRASObject* object = registered(entity, id)) {
            object->nullifyRelationships(false);
            forget(object);
            insertedOrDeleted = true;
        }
    }
    if (insertedOrDeleted) notifyInsertedOrDeleted();
}

void TRASContext::linkMergedInsertion(TRASObject* object) {
    linkToOwner(object);
}

// Takes the object out of the in-memory set of the node or parent it belongs to.
void TRASContext::unlinkFromOwner(TRASObject* object) {
    if (object->m_entity == TRASEntity::PathComponent) {
        auto* node = static_cast<TRASPathComponent*>(object);
        if (node->m_pathParent.resolved() && node->m_pathParent.object)
            node->m_pathParent.object->removeChild(node, false);
    } else if (object->m_entity == TRASEntity::HourlyEvent) {
        auto* event = static_cast<TRASHourlyEvent*>(object);
        if (event->m_lastPathComponent.resolved() && event->m_lastPathComponent.object)
            event->m_lastPathComponent.object->removeHourlyEvent(event);
    }
}

// Puts the object into the in-memory set of its (registered) owner, when
// that set has been read already; otherwise the set's first read finds it.
void TRASContext::linkToOwner(TRASObject* object) {
    if (object->m_entity == TRASEntity::PathComponent) {
        auto* node = static_cast<TRASPathComponent*>(object);
        TRASPathComponent* parent = node->m_pathParent.resolved()
                                        ? node->m_pathParent.object
                                        : registeredPathComponent(node->m_pathParent.id);
        if (!parent || parent->m_deleted) return;
        node->m_pathParent.set(parent);
        auto& children = parent->m_children;
        if (parent->m_childrenLoaded &&
            std::find(children.begin(), children.end(), node) == children.end())
            children.push_back(node);
    } else if (object->m_entity == TRASEntity::HourlyEvent) {
        auto* event = static_cast<TRASHourlyEvent*>(object);
        TRASPathComponent* node = event->m_lastPathComponent.resolved()
                                      ? event->m_lastPathComponent.object
                                      : registeredPathComponent(event->m_lastPathComponent.id);
        if (!node || node->m_deleted) return;
        event->m_lastPathComponent.set(node);
        if (node->m_hourlyEventsLoaded)
            node->hourlyEventMap().emplace(TRASPathComponent::hourKey(event->m_startDate), event);
    }
}

void TRASContext::refresh(TRASObject* object) {
    const TRASEntity entity = object->m_entity;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectById, quint64(entity)), [entity] {
            return QString::fromLatin1(selectSql(entity)) + QStringLiteral(" WHERE id = ?1");
        });
    if (!stmt) return;
    stmt->bind(1, object->m_primaryKey);
    if (stmt->step()) {
        unlinkFromOwner(object);
        object->readColumns(*stmt, true);
        linkToOwner(object);
    }
    stmt->reset();
}
