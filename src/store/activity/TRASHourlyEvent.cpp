#include "store/activity/TRASHourlyEvent.h"

#include <cmath>

#include "store/activity/TRASPathComponent.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

const TREntityDescription& TRASHourlyEvent::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRASHourlyEvent::m_startDate>("startDate", "REAL", kStartDate),
        column<&TRASHourlyEvent::m_duration>("duration", "REAL DEFAULT 0", kDuration),
        column<&TRASHourlyEvent::m_lastPathComponent>(
            "lastPathComponent", "INTEGER REFERENCES PathComponent(id)", kLastPathComponent),
    };
    static constexpr TREntityDescription kDescription{"HourlyEvent", kColumns, 1,
                                                      &createObject<TRASHourlyEvent>};
    return kDescription;
}

const TREntityDescription& TRASEvent::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRASEvent::m_startDate>("startDate", "REAL", kStartDate),
        column<&TRASEvent::m_stopDate>("stopDate", "REAL", kStopDate),
        column<&TRASEvent::m_lastPathComponent>(
            "lastPathComponent", "INTEGER REFERENCES PathComponent(id)", kLastPathComponent),
    };
    static constexpr TREntityDescription kDescription{"Event", kColumns, 1,
                                                      &createObject<TRASEvent>};
    return kDescription;
}

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
        m_lastPathComponent.resolveTo(
            context()->objectWithId<TRASPathComponent>(m_lastPathComponent.id));
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

void TRASHourlyEvent::dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) {
    m_lastPathComponent.forgetIfIn(gone);
}

void TRASHourlyEvent::unlinkFromOwner() {
    if (m_lastPathComponent.resolved() && m_lastPathComponent.object)
        m_lastPathComponent.object->removeHourlyEvent(this);
}

// Into the node's hourly events when they have been read already; otherwise
// their first read finds this event.
void TRASHourlyEvent::linkToOwner() {
    TRASPathComponent* node =
        m_lastPathComponent.resolved()
            ? m_lastPathComponent.object
            : context()->registeredObject<TRASPathComponent>(m_lastPathComponent.id);
    if (!node || node->isDeleted()) return;
    m_lastPathComponent.set(node);
    if (node->m_hourlyEventsLoaded)
        node->hourlyEventMap().emplace(TRASPathComponent::hourKey(m_startDate), this);
}

TRASPathComponent* TRASEvent::lastPathComponent() {
    if (!m_lastPathComponent.resolved())
        m_lastPathComponent.resolveTo(
            context()->objectWithId<TRASPathComponent>(m_lastPathComponent.id));
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

void TRASEvent::willSave() {
    if (isDeleted()) return;
    if (!lastPathComponent()) context()->deleteObject(this);
}

void TRASEvent::dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) {
    m_lastPathComponent.forgetIfIn(gone);
}

void TRASEvent::nullifyRelationships(bool markChanges) {
    TRASPathComponent* node = markChanges                      ? lastPathComponent()
                              : m_lastPathComponent.resolved() ? m_lastPathComponent.object
                                                               : nullptr;
    if (!node) return;
    node->removeEvent(this);
    if (markChanges) node->didChange(0);
}
