// Saving of TRObjectContext (see TRObjectContext.h).
#include <algorithm>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

namespace {

std::vector<TRManagedObject*> sortedByCreation(const std::unordered_set<TRManagedObject*>& set) {
    std::vector<TRManagedObject*> objects(set.begin(), set.end());
    std::sort(objects.begin(), objects.end(), [](TRManagedObject* a, TRManagedObject* b) {
        if (a->primaryKey() != b->primaryKey()) return a->primaryKey() < b->primaryKey();
        return a < b;
    });
    return objects;
}

}  // namespace

std::optional<TRError> TRObjectContext::save(TRSaveResult* result) {
    if (result) *result = TRSaveResult();
    if (!hasChanges()) return std::nullopt;
    runCleanupRules();
    if (auto error = writeChanges()) return error;
    finishSave(result);
    return std::nullopt;
}

void TRObjectContext::runCleanupRules() {
    // Anything a failed attempt dirtied is in the changed set by now.
    m_dirtiedByCleanup.clear();
    std::vector<TRManagedObject*> changed;
    changed.reserve(m_inserted.size() + m_updated.size());
    changed.insert(changed.end(), m_inserted.begin(), m_inserted.end());
    changed.insert(changed.end(), m_updated.begin(), m_updated.end());
    std::sort(changed.begin(), changed.end(), [](TRManagedObject* a, TRManagedObject* b) {
        return a->m_temporaryId != b->m_temporaryId ? a->m_temporaryId < b->m_temporaryId
                                                    : a->m_primaryKey < b->m_primaryKey;
    });
    m_inCleanup = true;
    for (TRManagedObject* object : changed) {
        if (!object->m_deleted) object->willSave();
    }
    m_inCleanup = false;
}

std::optional<TRError> TRObjectContext::assignPrimaryKeys() {
    std::vector<TRManagedObject*> inserted(m_inserted.begin(), m_inserted.end());
    std::sort(inserted.begin(), inserted.end(), [](TRManagedObject* a, TRManagedObject* b) {
        return a->m_temporaryId < b->m_temporaryId;
    });
    std::vector<qint64> next(m_entities.size(), -1);
    for (TRManagedObject* object : inserted) {
        qint64& key = next[object->m_entity];
        if (key < 0) {
            SqliteStatement* stmt =
                m_db.cachedByKey(statementKey(StatementKind::LargestKey, object->m_entity, 0), [&] {
                    return QStringLiteral(
                               "SELECT MAX(IFNULL((SELECT seq FROM sqlite_sequence WHERE name "
                               "= '%1'), 0), IFNULL((SELECT MAX(id) FROM %1), 0))")
                        .arg(QLatin1String(m_entities[object->m_entity]->table));
                });
            if (!stmt) return m_db.lastError();
            if (!stmt->step()) return stmt->error().value_or(m_db.lastError());
            key = stmt->int64(0);
            stmt->reset();
        }
        object->m_primaryKey = ++key;
    }
    return std::nullopt;
}

// Every column, the key first: ?1 is the id, ?2 the first column.
std::optional<TRError> TRObjectContext::insertRow(TRManagedObject* object) {
    const TREntityDescription& description = *m_entities[object->m_entity];
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::Insert, object->m_entity, 0), [&] {
            QString names = QStringLiteral("id");
            QString values = QStringLiteral("?1");
            int parameter = 2;
            for (const TRColumn& column : description.columns) {
                names += QStringLiteral(", ") + QLatin1String(column.name);
                values += QStringLiteral(", ?%1").arg(parameter++);
            }
            return QStringLiteral("INSERT INTO %1(%2) VALUES(%3)")
                .arg(QLatin1String(description.table), names, values);
        });
    if (!stmt) return m_db.lastError();
    stmt->bind(1, object->m_primaryKey);
    int parameter = 2;
    for (const TRColumn& column : description.columns) column.bind(*object, *stmt, parameter++);
    return stmt->run();
}

// Only the dirty columns, one statement per set of them; a column keeps its
// parameter number (its place + 2) whichever others are written with it.
std::optional<TRError> TRObjectContext::updateRow(TRManagedObject* object) {
    const TREntityDescription& description = *m_entities[object->m_entity];
    std::uint32_t all = 0;
    for (const TRColumn& column : description.columns) all |= column.dirtyBit;
    const std::uint32_t mask = object->m_dirty & all;
    if (mask == 0) return std::nullopt;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::Update, object->m_entity, mask), [&] {
            QStringList sets;
            int parameter = 2;
            for (const TRColumn& column : description.columns) {
                if (mask & column.dirtyBit)
                    sets.append(
                        QStringLiteral("%1 = ?%2").arg(QLatin1String(column.name)).arg(parameter));
                ++parameter;
            }
            return QStringLiteral("UPDATE %1 SET %2 WHERE id = ?1")
                .arg(QLatin1String(description.table), sets.join(QLatin1String(", ")));
        });
    if (!stmt) return m_db.lastError();
    stmt->bind(1, object->m_primaryKey);
    int parameter = 2;
    for (const TRColumn& column : description.columns) {
        if (mask & column.dirtyBit) column.bind(*object, *stmt, parameter);
        ++parameter;
    }
    return stmt->run();
}

std::optional<TRError> TRObjectContext::deleteJoinRows(const char* table, const char* column,
                                                       qint64 key) {
    auto stmt = m_db.cached(QStringLiteral("DELETE FROM %1 WHERE %2 = ?1")
                                .arg(QLatin1String(table), QLatin1String(column)));
    if (!stmt) return m_db.lastError();
    stmt->bind(1, key);
    return stmt->run();
}

// A changed relationship is written whole: the owner's rows go, then one row
// per member. A new owner writes all of its relationships.
std::optional<TRError> TRObjectContext::writeJoins(TRManagedObject* object) {
    const TREntityDescription& description = *m_entities[object->m_entity];
    for (size_t i = 0; i < description.joins.size(); ++i) {
        const TRJoin& join = description.joins[i];
        if (!object->m_inserted && !object->isDirty(join.dirtyBit)) continue;
        if (auto error = deleteJoinRows(join.table, join.ownerColumn, object->m_primaryKey))
            return error;
        SqliteStatement* stmt =
            m_db.cachedByKey(statementKey(StatementKind::JoinInsert, object->m_entity, i), [&] {
                return QStringLiteral("INSERT INTO %1(%2, %3) VALUES(?1, ?2)")
                    .arg(QLatin1String(join.table), QLatin1String(join.ownerColumn),
                         QLatin1String(join.memberColumn));
            });
        if (!stmt) return m_db.lastError();
        for (qint64 member : join.memberKeys(*object)) {
            stmt->reset();
            stmt->bind(1, object->m_primaryKey);
            stmt->bind(2, member);
            if (auto error = stmt->run()) return error;
        }
    }
    return std::nullopt;
}

std::optional<TRError> TRObjectContext::writeChanges() {
    SqliteStatement* begin = m_db.cached("BEGIN IMMEDIATE");
    if (!begin) return m_db.lastError();
    if (auto error = begin->run()) return error;
    std::optional<TRError> error = assignPrimaryKeys();
    for (TRManagedObject* object : sortedByCreation(m_inserted)) {
        if (!error) error = insertRow(object);
    }
    for (TRManagedObject* object : m_updated) {
        if (!error && object->m_dirty != 0) error = updateRow(object);
    }
    for (const auto* set : {&m_inserted, &m_updated}) {
        for (TRManagedObject* object : *set) {
            if (!error) error = writeJoins(object);
        }
    }
    for (TRManagedObject* object : m_deleted) {
        if (error || object->m_primaryKey == 0) continue;
        const TREntityDescription& description = *m_entities[object->m_entity];
        for (const TREntityDescription* entity : m_entities) {
            for (const TRJoin& join : entity->joins) {
                if (!error && entity == &description)
                    error = deleteJoinRows(join.table, join.ownerColumn, object->m_primaryKey);
                if (!error && join.memberEntity == object->m_entity)
                    error = deleteJoinRows(join.table, join.memberColumn, object->m_primaryKey);
            }
        }
        if (error) break;
        SqliteStatement* stmt =
            m_db.cachedByKey(statementKey(StatementKind::Delete, object->m_entity, 0), [&] {
                return QStringLiteral("DELETE FROM %1 WHERE id = ?1")
                    .arg(QLatin1String(description.table));
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
        for (TRManagedObject* object : m_inserted) object->m_primaryKey = 0;
    }
    return error;
}

void TRObjectContext::finishSave(TRSaveResult* result) {
    const bool uris = result != nullptr;
    for (TRManagedObject* object : m_inserted) {
        if (uris) result->inserted.append(uriFor(*object));
        m_registered[object->m_entity].emplace(object->m_primaryKey, object);
        object->m_inserted = false;
        object->m_dirty = 0;
    }
    for (TRManagedObject* object : m_updated) {
        if (uris) result->updated.append(uriFor(*object));
        object->m_updated = false;
        object->m_dirty = 0;
    }
    for (TRManagedObject* object : m_deleted) {
        if (uris && object->m_primaryKey) result->deleted.append(uriFor(*object));
    }
    const std::unordered_set<TRManagedObject*> deleted = std::move(m_deleted);
    m_inserted.clear();
    m_updated.clear();
    m_deleted.clear();
    for (TRManagedObject* object : deleted) forget(object);
    // What the clean-up rules emptied is looked at again by the next save.
    for (TRManagedObject* object : m_dirtiedByCleanup) {
        if (!deleted.count(object)) markUpdated(object);
    }
    m_dirtiedByCleanup.clear();
    if (!uris) return;
    result->inserted.sort();
    result->updated.sort();
    result->deleted.sort();
}

void TRObjectContext::forget(TRManagedObject* object) {
    if (object->m_primaryKey) {
        auto& map = m_registered[object->m_entity];
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
