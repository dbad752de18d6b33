#include "store/graph/TRObjectContext.h"

#include <algorithm>
#include <cmath>

#include "store/graph/SqliteDatabase.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"

namespace {

const char kUriScheme[] = "x-vorlix://";

int slot(TRASEntity entity) {
    return static_cast<int>(entity);
}

}  // namespace

const char* TRASContext::selectSql(TRASEntity entity) {
    switch (entity) {
        case TRASEntity::Application:
            return "SELECT id, bundleIdentifier, executableName, title, "
                   "applescriptTrackingDisabled, "
                   "cachedIcon, pathRoot FROM Application";
        case TRASEntity::PathComponent:
            return "SELECT id, value, pathLevel, startDateOfChildren, stopDateOfChildren, "
                   "cachedIcon, "
                   "application, pathParent FROM PathComponent";
        case TRASEntity::HourlyEvent:
            return "SELECT id, startDate, duration, lastPathComponent FROM HourlyEvent";
        case TRASEntity::Event:
            return "SELECT id, startDate, stopDate, lastPathComponent FROM Event";
    }
    return "";
}

QString entityName(TRASEntity entity) {
    switch (entity) {
        case TRASEntity::Application:
            return QStringLiteral("Application");
        case TRASEntity::PathComponent:
            return QStringLiteral("PathComponent");
        case TRASEntity::HourlyEvent:
            return QStringLiteral("HourlyEvent");
        case TRASEntity::Event:
            return QStringLiteral("Event");
    }
    return QString();
}

std::optional<TRASEntity> entityNamed(const QString& name) {
    for (TRASEntity e : {TRASEntity::Application, TRASEntity::PathComponent,
                         TRASEntity::HourlyEvent, TRASEntity::Event}) {
        if (entityName(e) == name) return e;
    }
    return std::nullopt;
}

QString TRASObject::uriRepresentation() const {
    return m_context->uriFor(*this);
}

void TRASObject::didChange(std::uint32_t bits) {
    m_dirty |= bits;
    m_context->markUpdated(this);
}

TRASContext::TRASContext(SqliteDatabase& db, QString storeUuid, TRActivityStore* store)
    : m_db(db), m_storeUuid(std::move(storeUuid)), m_store(store) {}

TRASContext::~TRASContext() {
    while (TRASObject* object = m_owned) {
        m_owned = object->m_nextOwned;
        delete object;
    }
}

TRASObject* TRASContext::adopt(std::unique_ptr<TRASObject> object) {
    TRASObject* raw = object.release();
    raw->m_nextOwned = m_owned;
    if (m_owned) m_owned->m_previousOwned = raw;
    m_owned = raw;
    return raw;
}

void TRASContext::registerInserted(TRASObject* object) {
    object->m_inserted = true;
    object->m_temporaryId = m_nextTemporaryId++;
    m_inserted.insert(object);
    notifyInsertedOrDeleted();
}

TRASApplication* TRASContext::insertApplication() {
    auto* object = static_cast<TRASApplication*>(adopt(std::make_unique<TRASApplication>(this)));
    registerInserted(object);
    return object;
}

TRASPathComponent* TRASContext::insertPathComponent() {
    auto* object =
        static_cast<TRASPathComponent*>(adopt(std::make_unique<TRASPathComponent>(this)));
    object->m_childrenLoaded = object->m_hourlyEventsLoaded = object->m_eventsLoaded = true;
    registerInserted(object);
    return object;
}

TRASHourlyEvent* TRASContext::insertHourlyEvent() {
    auto* object = static_cast<TRASHourlyEvent*>(adopt(std::make_unique<TRASHourlyEvent>(this)));
    registerInserted(object);
    return object;
}

void TRASContext::deleteObject(TRASObject* object) {
    if (!object || object->m_deleted) return;
    object->m_deleted = true;
    object->nullifyRelationships(true);
    m_inserted.erase(object);
    m_updated.erase(object);
    m_deleted.insert(object);
    notifyInsertedOrDeleted();
}

void TRASContext::markUpdated(TRASObject* object) {
    if (object->m_inserted || object->m_deleted) return;
    if (m_inCleanup && !object->m_updated) m_dirtiedByCleanup.insert(object);
    object->m_updated = true;
    m_updated.insert(object);
}

void TRASContext::notifyInsertedOrDeleted() {
    if (objectsInsertedOrDeleted) objectsInsertedOrDeleted();
}

TRASObject* TRASContext::registered(TRASEntity entity, qint64 id) const {
    const auto& map = m_registered[slot(entity)];
    auto it = map.find(id);
    return it == map.end() ? nullptr : it->second;
}

TRASObject* TRASContext::readRow(TRASEntity entity, const SqliteStatement& row) {
    const qint64 id = row.int64(0);
    if (TRASObject* existing = registered(entity, id)) return existing;
    std::unique_ptr<TRASObject> object;
    switch (entity) {
        case TRASEntity::Application:
            object = std::make_unique<TRASApplication>(this);
            break;
        case TRASEntity::PathComponent:
            object = std::make_unique<TRASPathComponent>(this);
            break;
        case TRASEntity::HourlyEvent:
            object = std::make_unique<TRASHourlyEvent>(this);
            break;
        case TRASEntity::Event:
            object = std::make_unique<TRASEvent>(this);
            break;
    }
    object->m_primaryKey = id;
    object->readColumns(row, false);
    TRASObject* raw = adopt(std::move(object));
    m_registered[slot(entity)].emplace(id, raw);
    return raw;
}

TRASObject* TRASContext::loadById(TRASEntity entity, qint64 id) {
    if (TRASObject* existing = registered(entity, id)) return existing;
    if (id <= 0) return nullptr;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectById, quint64(slot(entity))), [entity] {
            return QString::fromLatin1(selectSql(entity)) + QStringLiteral(" WHERE id = ?1");
        });
    if (!stmt) return nullptr;
    stmt->bind(1, id);
    TRASObject* object = stmt->step() ? readRow(entity, *stmt) : nullptr;
    stmt->reset();
    return object;
}

TRASApplication* TRASContext::applicationWithId(qint64 id) {
    TRASObject* object = loadById(TRASEntity::Application, id);
    return object && !object->m_deleted ? static_cast<TRASApplication*>(object) : nullptr;
}

TRASPathComponent* TRASContext::pathComponentWithId(qint64 id) {
    TRASObject* object = loadById(TRASEntity::PathComponent, id);
    return object && !object->m_deleted ? static_cast<TRASPathComponent*>(object) : nullptr;
}

TRASPathComponent* TRASContext::registeredPathComponent(qint64 id) const {
    return static_cast<TRASPathComponent*>(registered(TRASEntity::PathComponent, id));
}

QString TRASContext::uriFor(const TRASObject& object) const {
    const QString key = object.m_primaryKey ? QStringLiteral("p%1").arg(object.m_primaryKey)
                                            : QStringLiteral("t%1").arg(object.m_temporaryId);
    return QString::fromLatin1(kUriScheme) + m_storeUuid + QLatin1Char('/') +
           entityName(object.m_entity) + QLatin1Char('/') + key;
}

bool TRASContext::parseUri(const QString& uri, TRASEntity* entity, qint64* id) const {
    if (!uri.startsWith(QLatin1String(kUriScheme))) return false;
    const QStringList parts = uri.mid(int(qstrlen(kUriScheme))).split(QLatin1Char('/'));
    if (parts.size() != 3 || parts[0] != m_storeUuid || !parts[2].startsWith(QLatin1Char('p')))
        return false;
    const std::optional<TRASEntity> named = entityNamed(parts[1]);
    bool ok = false;
    *id = parts[2].mid(1).toLongLong(&ok);
    if (!named || !ok || *id <= 0) return false;
    *entity = *named;
    return true;
}

TRASObject* TRASContext::objectWithUri(const QString& uri, bool loadIfNeeded) {
    TRASEntity entity;
    qint64 id = 0;
    if (!parseUri(uri, &entity, &id)) return nullptr;
    return loadIfNeeded ? loadById(entity, id) : registered(entity, id);
}

TRASApplication* TRASContext::fetchApplication(const char* column, const QString& value) {
    auto columnValue = [column](TRASApplication* app) -> std::pair<QString, std::uint32_t> {
        if (qstrcmp(column, "bundleIdentifier") == 0)
            return {app->bundleIdentifier(), TRASApplication::kBundleIdentifier};
        if (qstrcmp(column, "executableName") == 0)
            return {app->executableName(), TRASApplication::kExecutableName};
        return {app->title(), TRASApplication::kTitle};
    };
    // As in SQL, a missing value equals nothing, not even an empty one.
    auto matches = [&](TRASApplication* app) {
        const QString current = columnValue(app).first;
        return !current.isNull() && !value.isNull() && current == value;
    };
    for (const auto* set : {&m_inserted, &m_updated}) {
        for (TRASObject* object : *set) {
            if (object->m_entity != TRASEntity::Application) continue;
            auto* app = static_cast<TRASApplication*>(object);
            if (matches(app)) return app;
        }
    }
    const quint64 which = column[0] == 'b' ? 0 : column[0] == 'e' ? 1 : 2;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectApplicationBy, which), [column] {
            return QString::fromLatin1(selectSql(TRASEntity::Application)) +
                   QStringLiteral(" WHERE %1 = ?1 ORDER BY id").arg(QLatin1String(column));
        });
    if (!stmt) return nullptr;
    stmt->bind(1, value);
    TRASApplication* found = nullptr;
    while (!found && stmt->step()) {
        auto* app = static_cast<TRASApplication*>(readRow(TRASEntity::Application, *stmt));
        const auto [current, bit] = columnValue(app);
        if (!app->m_deleted && !(app->isDirty(bit) && current != value)) found = app;
    }
    stmt->reset();
    return found;
}

std::vector<TRASPathComponent*> TRASContext::fetchAllPathComponents() {
    std::vector<TRASPathComponent*> nodes;
    SqliteStatement* stmt = m_db.cached(selectSql(TRASEntity::PathComponent));
    if (stmt) {
        while (stmt->step()) {
            TRASObject* object = readRow(TRASEntity::PathComponent, *stmt);
            if (!object->m_deleted) nodes.push_back(static_cast<TRASPathComponent*>(object));
        }
        stmt->reset();
    }
    for (TRASObject* object : m_inserted) {
        if (object->m_entity == TRASEntity::PathComponent)
            nodes.push_back(static_cast<TRASPathComponent*>(object));
    }
    // Every node is in memory now, so every children set can be completed
    // without one query per node.
    std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>> children;
    for (TRASPathComponent* node : nodes) {
        TRASPathComponent* parent = node->pathParent();
        if (parent && !parent->m_childrenLoaded) children[parent].push_back(node);
    }
    for (TRASPathComponent* node : nodes) {
        if (node->m_childrenLoaded) continue;
        auto it = children.find(node);
        if (it != children.end()) node->m_children = std::move(it->second);
        node->m_childrenLoaded = true;
    }
    return nodes;
}

std::vector<TRASHourlyEvent*> TRASContext::fetchSavedHourlyEvents(const QString& where) {
    std::vector<TRASHourlyEvent*> events;
    auto stmt = m_db.prepare(QString::fromLatin1(selectSql(TRASEntity::HourlyEvent)) +
                             QStringLiteral(" WHERE 1") + where + pendingHourlyEventExclusion());
    if (!stmt) return events;
    while (stmt->step()) {
        TRASObject* object = readRow(TRASEntity::HourlyEvent, *stmt);
        if (!object->m_deleted && !object->m_updated)
            events.push_back(static_cast<TRASHourlyEvent*>(object));
    }
    return events;
}

void TRASContext::loadChildren(TRASPathComponent* node) {
    if (node->m_childrenLoaded) return;
    node->m_childrenLoaded = true;
    SqliteStatement* stmt = m_db.cachedByKey(statementKey(StatementKind::SelectChildren, 0), [] {
        return QString::fromLatin1(selectSql(TRASEntity::PathComponent)) +
               QStringLiteral(" WHERE pathParent = ?1");
    });
    if (!stmt) return;
    stmt->bind(1, node->primaryKey());
    while (stmt->step()) {
        auto* child = static_cast<TRASPathComponent*>(readRow(TRASEntity::PathComponent, *stmt));
        if (child->m_deleted) continue;
        if (child->m_pathParent.resolved() && child->m_pathParent.object != node) continue;
        child->m_pathParent.set(node);
        if (std::find(node->m_children.begin(), node->m_children.end(), child) ==
            node->m_children.end())
            node->m_children.push_back(child);
    }
    stmt->reset();
}

void TRASContext::loadHourlyEvents(TRASPathComponent* node) {
    if (node->m_hourlyEventsLoaded) return;
    node->m_hourlyEventsLoaded = true;
    SqliteStatement* stmt =
        m_db.cachedByKey(statementKey(StatementKind::SelectHourlyEvents, 0), [] {
            return QString::fromLatin1(selectSql(TRASEntity::HourlyEvent)) +
                   QStringLiteral(" WHERE lastPathComponent = ?1");
        });
    if (!stmt) return;
    stmt->bind(1, node->primaryKey());
    while (stmt->step()) {
        auto* event = static_cast<TRASHourlyEvent*>(readRow(TRASEntity::HourlyEvent, *stmt));
        if (event->m_deleted) continue;
        if (event->m_lastPathComponent.resolved() && event->m_lastPathComponent.object != node)
            continue;
        event->m_lastPathComponent.set(node);
        node->hourlyEventMap().emplace(TRASPathComponent::hourKey(event->m_startDate), event);
    }
    stmt->reset();
}

void TRASContext::loadEvents(TRASPathComponent* node) {
    if (node->m_eventsLoaded) return;
    node->m_eventsLoaded = true;
    SqliteStatement* stmt = m_db.cachedByKey(statementKey(StatementKind::SelectEvents, 0), [] {
        return QString::fromLatin1(selectSql(TRASEntity::Event)) +
               QStringLiteral(" WHERE lastPathComponent = ?1");
    });
    if (!stmt) return;
    stmt->bind(1, node->primaryKey());
    while (stmt->step()) {
        auto* event = static_cast<TRASEvent*>(readRow(TRASEntity::Event, *stmt));
        if (event->m_deleted) continue;
        event->m_lastPathComponent.set(node);
        node->eventList().push_back(event);
    }
    stmt->reset();
}

QString TRASContext::pendingHourlyEventExclusion() const {
    QStringList ids;
    for (const auto* set : {&m_updated, &m_deleted}) {
        for (TRASObject* object : *set) {
            if (object->m_entity == TRASEntity::HourlyEvent && object->m_primaryKey)
                ids.append(QString::number(object->m_primaryKey));
        }
    }
    if (ids.isEmpty()) return QString();
    return QStringLiteral(" AND id NOT IN (%1)").arg(ids.join(QLatin1Char(',')));
}

std::vector<TRASHourlyEvent*> TRASContext::liveChangedHourlyEvents() const {
    std::vector<TRASHourlyEvent*> events;
    for (const auto* set : {&m_inserted, &m_updated}) {
        for (TRASObject* object : *set) {
            if (object->m_entity == TRASEntity::HourlyEvent)
                events.push_back(static_cast<TRASHourlyEvent*>(object));
        }
    }
    return events;
}

bool TRASContext::hasChanges() const {
    return !m_inserted.empty() || !m_updated.empty() || !m_deleted.empty();
}
