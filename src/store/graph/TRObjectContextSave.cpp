// Saving and merging of TRASContext (see TRASContext.h).
#include <algorithm>

#include "store/graph/SqliteDatabase.h"
#include "store/activity/TRASApplication.h"
#include "store/graph/TRObjectContext.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"

namespace {

std::vector<TRASObject*> sortedByCreation(const std::unordered_set<TRASObject*>& set) {
    std::vector<TRASObject*> objects(set.begin(), set.end());
    std::sort(objects.begin(), objects.end(), [](TRASObject* a, TRASObject* b) {
        if (a->primaryKey() != b->primaryKey()) return a->primaryKey() < b->primaryKey();
        return a < b;
    });
    return objects;
}

QString tableOf(TRASEntity entity) {
    return entityName(entity);
}

}  // namespace

std::optional<TRError> TRASContext::save(TRASSaveResult* result) {
    *result = TRASSaveResult();
    if (!hasChanges()) return std::nullopt;
    runCleanupRules();
    if (auto error = writeChanges()) return error;
    finishSave(result);
    return std::nullopt;
}

void TRASContext::runCleanupRules() {
    // Anything a failed attempt dirtied is in the changed set by now.
    m_dirtiedByCleanup.clear();
    std::vector<TRASObject*> changed;
    changed.reserve(m_inserted.size() + m_updated.size());
    changed.insert(changed.end(), m_inserted.begin(), m_inserted.end());
    changed.insert(changed.end(), m_updated.begin(), m_updated.end());
    std::sort(changed.begin(), changed.end(), [](TRASObject* a, TRASObject* b) {
        return a->m_temporaryId != b->m_temporaryId ? a->m_temporaryId < b->m_temporaryId
                                                    : a->m_primaryKey < b->m_primaryKey;
    });
    m_inCleanup = true;
    for (TRASObject* object : changed) {
        if (!object->m_deleted) object->willSave();
    }
    m_inCleanup = false;
}

std::optional<TRError> TRASContext::assignPrimaryKeys() {
    std::vector<TRASObject*> inserted(m_inserted.begin(), m_inserted.end());
    std::sort(inserted.begin(), inserted.end(),
              [](TRASObject* a, TRASObject* b) { return a->m_temporaryId < b->m_temporaryId; });
    qint64 next[4] = {-1, -1, -1, -1};
    for (TRASObject* object : inserted) {
        qint64& key = next[static_cast<int>(object->m_entity)];
        if (key < 0) {
            const QString table = tableOf(object->m_entity);
            const qint64 sequence = m_db.scalarInt(
                QStringLiteral("SELECT seq FROM sqlite_sequence WHERE name = '%1'").arg(table));
            const qint64 maximum =
                m_db.scalarInt(QStringLiteral("SELECT MAX(id) FROM %1").arg(table));
            key = std::max(sequence, maximum);
        }
        object->m_primaryKey = ++key;
    }
    return std::nullopt;
}

std::optional<TRError> TRASContext::writeChanges() {
    SqliteStatement* begin = m_db.cached("BEGIN IMMEDIATE");
    if (!begin) return m_db.lastError();
    if (auto error = begin->run()) return error;
    std::optional<TRError> error = assignPrimaryKeys();
    for (TRASObject* object : sortedByCreation(m_inserted)) {
        if (!error) error = object->insertRow(m_db);
    }
    for (TRASObject* object : m_updated) {
        if (!error && object->m_dirty != 0) error = object->updateRow(m_db);
    }
    for (TRASObject* object : m_deleted) {
        if (error || object->m_primaryKey == 0) continue;
        const TRASEntity entity = object->m_entity;
        SqliteStatement* stmt =
            m_db.cachedByKey(statementKey(StatementKind::Delete, quint64(entity)), [entity] {
                return QStringLiteral("DELETE FROM %1 WHERE id = ?1").arg(tableOf(entity));
            });
        if (!stmt) {
            error = m_db.lastError();
            break;
        }
        stmt->bind(1, object->m_primaryKey);
        error = stmt->run();
    }
    if (!error) {
        SqliteStatement* commit = m_db.cached("COMMIT");
        error = commit ? commit->run() : m_db.lastError();
    }
    if (error) {
        m_db.exec(QStringLiteral("ROLLBACK"));
        for (TRASObject* object : m_inserted) object->m_primaryKey = 0;
    }
    return error;
}

void TRASContext::finishSave(TRASSaveResult* result) {
    for (TRASObject* object : m_inserted) {
        result->inserted.append(uriFor(*object));
        m_registered[static_cast<int>(object->m_entity)].emplace(object->m_primaryKey, object);
        object->m_inserted = false;
        object->m_dirty = 0;
    }
    for (TRASObject* object : m_updated) {
        result->updated.append(uriFor(*object));
        object->m_updated = false;
        object->m_dirty = 0;
    }
    for (TRASObject* object : m_deleted) {
        if (object->m_primaryKey) result->deleted.append(uriFor(*object));
    }
    const std::unordered_set<TRASObject*> deleted = std::move(m_deleted);
    m_inserted.clear();
    m_updated.clear();
    m_deleted.clear();
    for (TRASObject* object : deleted) forget(object);
    // What the clean-up rules emptied is looked at again by the next save.
    for (TRASObject* object : m_dirtiedByCleanup) {
        if (!deleted.count(object)) markUpdated(object);
    }
    m_dirtiedByCleanup.clear();
    result->inserted.sort();
    result->updated.sort();
    result->deleted.sort();
}

void TRASContext::forget(TRASObject* object) {
    if (object->m_primaryKey) {
        auto& map = m_registered[static_cast<int>(object->m_entity)];
        auto it = map.find(object->m_primaryKey);
        if (it != map.end() && it->second == object) map.erase(it);
    }
    m_inserted.erase(object);
    m_updated.erase(object);
    m_deleted.erase(object);
    m_dirtiedByCleanup.erase(object);
    if (object->m_previousOwned)
        object->m_previousOwned->m_nextOwned = object->m_nextOwned;
    else
        m_owned = object->m_nextOwned;
    if (object->m_nextOwned) object->m_nextOwned->m_previousOwned = object->m_previousOwned;
    delete object;
}
