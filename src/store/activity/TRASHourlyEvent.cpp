#include "store/activity/TRASHourlyEvent.h"

#include <cmath>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"
#include "store/activity/TRASPathComponent.h"

QDateTime TRASHourlyEvent::startDate() const {
    if (std::isnan(m_startDate)) return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(m_startDate * 1000.0)), Qt::UTC);
}

void TRASHourlyEvent::setStartDateSeconds(double value) {
    if (m_startDate == value) return;
    TRASPathComponent* node = m_lastPathComponent.resolved() ? m_lastPathComponent.object : nullptr;
    if (node) node->removeHourlyEvent(this);
    m_startDate = value;
    if (node && node->m_hourlyEventsLoaded)
        node->hourlyEventMap().emplace(TRASPathComponent::hourKey(m_startDate), this);
    didChange(kStartDate);
}

void TRASHourlyEvent::setDurationValue(double value) {
    // NaN compares unequal to itself, so it is always written.
    if (m_duration == value) return;
    m_duration = value;
    didChange(kDuration);
}

TRASPathComponent* TRASHourlyEvent::lastPathComponent() {
    if (!m_lastPathComponent.resolved())
        m_lastPathComponent.resolveTo(context()->pathComponentWithId(m_lastPathComponent.id));
    return m_lastPathComponent.object;
}

void TRASHourlyEvent::setLastPathComponent(TRASPathComponent* node) {
    TRASPathComponent* old = lastPathComponent();
    if (old == node) return;
    if (old) {
        old->removeHourlyEvent(this);
        old->didChange(0);
    }
    if (node) {
        node->hourlyEvents();  // read the file's events before adding to them
        node->hourlyEventMap().emplace(TRASPathComponent::hourKey(m_startDate), this);
        node->didChange(0);
    }
    m_lastPathComponent.set(node);
    didChange(kLastPathComponent);
}

void TRASHourlyEvent::readColumns(const SqliteStatement& row, bool keepDirty) {
    auto take = [&](std::uint32_t bit) { return !(keepDirty && isDirty(bit)); };
    if (take(kStartDate)) m_startDate = row.real(1);
    if (take(kDuration)) m_duration = row.real(2);
    if (take(kLastPathComponent)) m_lastPathComponent.setFromRow(row.int64(3));
}

std::optional<TRError> TRASHourlyEvent::insertRow(SqliteDatabase& db) {
    SqliteStatement* stmt = db.cached(
        "INSERT INTO HourlyEvent(id, startDate, duration, lastPathComponent) "
        "VALUES(?1, ?2, ?3, ?4)");
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    stmt->bind(2, m_startDate);
    stmt->bind(3, m_duration);
    stmt->bindOptionalId(4, m_lastPathComponent.keyForWriting());
    return stmt->run();
}

std::optional<TRError> TRASHourlyEvent::updateRow(SqliteDatabase& db) {
    static const char* const kSql[8] = {
        nullptr,
        "UPDATE HourlyEvent SET startDate = ?2 WHERE id = ?1",
        "UPDATE HourlyEvent SET duration = ?3 WHERE id = ?1",
        "UPDATE HourlyEvent SET startDate = ?2, duration = ?3 WHERE id = ?1",
        "UPDATE HourlyEvent SET lastPathComponent = ?4 WHERE id = ?1",
        "UPDATE HourlyEvent SET startDate = ?2, lastPathComponent = ?4 WHERE id = ?1",
        "UPDATE HourlyEvent SET duration = ?3, lastPathComponent = ?4 WHERE id = ?1",
        "UPDATE HourlyEvent SET startDate = ?2, duration = ?3, lastPathComponent = ?4 "
        "WHERE id = ?1",
    };
    const std::uint32_t mask = dirtyMask() & 7u;
    if (mask == 0) return std::nullopt;
    SqliteStatement* stmt = db.cached(kSql[mask]);
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    if (isDirty(kStartDate)) stmt->bind(2, m_startDate);
    if (isDirty(kDuration)) stmt->bind(3, m_duration);
    if (isDirty(kLastPathComponent)) stmt->bindOptionalId(4, m_lastPathComponent.keyForWriting());
    return stmt->run();
}

// Kept with a node and a duration other than exactly 0 (NaN counts as other).
void TRASHourlyEvent::willSave() {
    if (isDeleted()) return;
    if (lastPathComponent() && m_duration != 0.0) return;
    setLastPathComponent(nullptr);
    context()->deleteObject(this);
}

// A local deletion dirties the node (its clean-up rule must look at it); a
// deletion by the other program only updates what is in memory.
void TRASHourlyEvent::nullifyRelationships(bool markChanges) {
    TRASPathComponent* node = markChanges                      ? lastPathComponent()
                              : m_lastPathComponent.resolved() ? m_lastPathComponent.object
                                                               : nullptr;
    if (!node) return;
    node->removeHourlyEvent(this);
    if (markChanges) node->didChange(0);
}

TRASPathComponent* TRASEvent::lastPathComponent() {
    if (!m_lastPathComponent.resolved())
        m_lastPathComponent.resolveTo(context()->pathComponentWithId(m_lastPathComponent.id));
    return m_lastPathComponent.object;
}

void TRASEvent::setLastPathComponent(TRASPathComponent* node) {
    TRASPathComponent* old = lastPathComponent();
    if (old == node) return;
    if (old) {
        old->removeEvent(this);
        old->didChange(0);
    }
    if (node) {
        node->events();
        node->eventList().push_back(this);
        node->didChange(0);
    }
    m_lastPathComponent.set(node);
    didChange(kLastPathComponent);
}

void TRASEvent::readColumns(const SqliteStatement& row, bool keepDirty) {
    auto take = [&](std::uint32_t bit) { return !(keepDirty && isDirty(bit)); };
    if (take(kStartDate)) m_startDate = row.real(1);
    if (take(kStopDate)) m_stopDate = row.real(2);
    if (take(kLastPathComponent)) m_lastPathComponent.setFromRow(row.int64(3));
}

std::optional<TRError> TRASEvent::insertRow(SqliteDatabase& db) {
    SqliteStatement* stmt = db.cached(
        "INSERT INTO Event(id, startDate, stopDate, lastPathComponent) VALUES(?1, ?2, ?3, ?4)");
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    stmt->bind(2, m_startDate);
    stmt->bind(3, m_stopDate);
    stmt->bindOptionalId(4, m_lastPathComponent.keyForWriting());
    return stmt->run();
}

std::optional<TRError> TRASEvent::updateRow(SqliteDatabase& db) {
    if (!isDirty(kLastPathComponent)) return std::nullopt;
    SqliteStatement* stmt = db.cached("UPDATE Event SET lastPathComponent = ?2 WHERE id = ?1");
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    stmt->bindOptionalId(2, m_lastPathComponent.keyForWriting());
    return stmt->run();
}

void TRASEvent::willSave() {
    if (isDeleted()) return;
    if (!lastPathComponent()) context()->deleteObject(this);
}

void TRASEvent::nullifyRelationships(bool markChanges) {
    TRASPathComponent* node = markChanges                      ? lastPathComponent()
                              : m_lastPathComponent.resolved() ? m_lastPathComponent.object
                                                               : nullptr;
    if (!node) return;
    node->removeEvent(this);
    if (markChanges) node->didChange(0);
}
