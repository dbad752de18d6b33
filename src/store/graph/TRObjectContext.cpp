#include "store/graph/TRObjectContext.h"

#include "store/graph/SqliteDatabase.h"

namespace {

const char kUriScheme[] = "x-vorlix://";

}  // namespace

QString TRManagedObject::uriRepresentation() const {
    return m_context->uriFor(*this);
}

void TRManagedObject::didChange(std::uint32_t bits) {
    m_dirty |= bits;
    m_context->markUpdated(this);
}

TRObjectContext::TRObjectContext(SqliteDatabase& db, QString storeUuid,
                                 std::span<const TREntityDescription* const> entities)
    : m_db(db),
      m_storeUuid(std::move(storeUuid)),
      m_entities(entities.begin(), entities.end()),
      m_registered(entities.size()) {}

TRObjectContext::~TRObjectContext() {
    while (TRManagedObject* object = m_owned) {
        m_owned = object->m_nextOwned;
        delete object;
    }
}

TRManagedObject* TRObjectContext::adopt(std::unique_ptr<TRManagedObject> object) {
    TRManagedObject* raw = object.release();
    raw->m_nextOwned = m_owned;
    if (m_owned) m_owned->m_previousOwned = raw;
    m_owned = raw;
    return raw;
}

TRManagedObject* TRObjectContext::insertObject(std::uint8_t entity) {
    TRManagedObject* object = adopt(m_entities[entity]->create(this));
    object->awakeFromInsert();
    object->m_inserted = true;
    object->m_temporaryId = m_nextTemporaryId++;
    m_inserted.insert(object);
    notifyInsertedOrDeleted(entity);
    return object;
}

void TRObjectContext::deleteObject(TRManagedObject* object) {
    if (!object || object->m_deleted) return;
    object->m_deleted = true;
    object->nullifyRelationships(true);
    m_inserted.erase(object);
    m_updated.erase(object);
    m_deleted.insert(object);
    notifyInsertedOrDeleted(object->m_entity);
}

void TRObjectContext::markUpdated(TRManagedObject* object) {
    if (object->m_deleted) return;
    // A rule may empty an object whose own rule already ran in this save (a
    // new node, or a changed one that came earlier): it is looked at again
    // by the next save.
    if (m_inCleanup) m_dirtiedByCleanup.insert(object);
    if (object->m_inserted) return;
    object->m_updated = true;
    m_updated.insert(object);
}

void TRObjectContext::notifyInsertedOrDeleted(std::uint8_t entity) {
    if (objectsInsertedOrDeleted) objectsInsertedOrDeleted(entity);
}

TRManagedObject* TRObjectContext::registered(std::uint8_t entity, qint64 id) const {
    const auto& map = m_registered[entity];
    auto it = map.find(id);
    return it == map.end() ? nullptr : it->second;
}

QString TRObjectContext::selectSql(std::uint8_t entity) const {
    const TREntityDescription& description = *m_entities[entity];
    QString sql = QStringLiteral("SELECT id");
    for (const TRColumn& column : description.columns)
        sql += QStringLiteral(", ") + QLatin1String(column.name);
    return sql + QStringLiteral(" FROM ") + QLatin1String(description.table);
}

SqliteStatement* TRObjectContext::cachedSelect(std::uint8_t entity, quint64 query,
                                               const char* where) {
    return m_db.cachedByKey(statementKey(StatementKind::Select, entity, query), [&] {
        QString sql = selectSql(entity);
        if (where && *where) sql += QStringLiteral(" WHERE ") + QLatin1String(where);
        return sql;
    });
}

void TRObjectContext::readColumns(TRManagedObject* object, const SqliteStatement& row,
                                  bool keepDirty) {
    int index = 1;
    for (const TRColumn& column : m_entities[object->m_entity]->columns) {
        if (!(keepDirty && object->isDirty(column.dirtyBit))) column.read(*object, row, index);
        ++index;
    }
}

TRManagedObject* TRObjectContext::readRow(std::uint8_t entity, const SqliteStatement& row) {
    const qint64 id = row.int64(0);
    if (TRManagedObject* existing = registered(entity, id)) return existing;
    std::unique_ptr<TRManagedObject> object = m_entities[entity]->create(this);
    object->m_primaryKey = id;
    readColumns(object.get(), row, false);
    TRManagedObject* raw = adopt(std::move(object));
    m_registered[entity].emplace(id, raw);
    return raw;
}

TRManagedObject* TRObjectContext::loadById(std::uint8_t entity, qint64 id) {
    if (TRManagedObject* existing = registered(entity, id)) return existing;
    if (id <= 0) return nullptr;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectById, entity, 0),
                         [&] { return selectSql(entity) + QStringLiteral(" WHERE id = ?1"); });
    if (!stmt) return nullptr;
    stmt->bind(1, id);
    TRManagedObject* object = stmt->step() ? readRow(entity, *stmt) : nullptr;
    stmt->reset();
    return object;
}

QString TRObjectContext::uriFor(const TRManagedObject& object) const {
    const QString key = object.m_primaryKey ? QStringLiteral("p%1").arg(object.m_primaryKey)
                                            : QStringLiteral("t%1").arg(object.m_temporaryId);
    return QString::fromLatin1(kUriScheme) + m_storeUuid + QLatin1Char('/') +
           QLatin1String(m_entities[object.m_entity]->table) + QLatin1Char('/') + key;
}

bool TRObjectContext::parseUri(const QString& uri, std::uint8_t* entity, qint64* id) const {
    if (!uri.startsWith(QLatin1String(kUriScheme))) return false;
    const QStringList parts = uri.mid(int(qstrlen(kUriScheme))).split(QLatin1Char('/'));
    if (parts.size() != 3 || parts[0] != m_storeUuid || !parts[2].startsWith(QLatin1Char('p')))
        return false;
    std::optional<std::uint8_t> named;
    for (size_t i = 0; i < m_entities.size(); ++i) {
        if (parts[1] == QLatin1String(m_entities[i]->table)) named = std::uint8_t(i);
    }
    bool ok = false;
    *id = parts[2].mid(1).toLongLong(&ok);
    if (!named || !ok || *id <= 0) return false;
    *entity = *named;
    return true;
}

TRManagedObject* TRObjectContext::objectWithUri(const QString& uri, bool loadIfNeeded) {
    std::uint8_t entity = 0;
    qint64 id = 0;
    if (!parseUri(uri, &entity, &id)) return nullptr;
    return loadIfNeeded ? loadById(entity, id) : registered(entity, id);
}

QString TRObjectContext::changedRowExclusion(std::uint8_t entity) const {
    QStringList ids;
    for (const auto* set : {&m_updated, &m_deleted}) {
        for (TRManagedObject* object : *set) {
            if (object->m_entity == entity && object->m_primaryKey)
                ids.append(QString::number(object->m_primaryKey));
        }
    }
    if (ids.isEmpty()) return QString();
    return QStringLiteral(" AND id NOT IN (%1)").arg(ids.join(QLatin1Char(',')));
}

bool TRObjectContext::hasChanges() const {
    return !m_inserted.empty() || !m_updated.empty() || !m_deleted.empty();
}
