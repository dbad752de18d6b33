#include "store/activity/TRASPathComponent.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>

#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASIconLookup.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

namespace {

QDateTime dateFromSeconds(double seconds) {
    if (std::isnan(seconds)) return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000.0)), Qt::UTC);
}

double secondsFromDate(const QDateTime& date) {
    return date.isValid() ? double(date.toMSecsSinceEpoch()) / 1000.0
                          : std::numeric_limits<double>::quiet_NaN();
}

// Numbers of the entity's cached queries.
enum Query : quint64 { kAll, kChildren };

}  // namespace

const TREntityDescription& TRASPathComponent::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRASPathComponent::m_value>("value", "TEXT", kValue),
        column<&TRASPathComponent::m_pathLevel>("pathLevel", "INTEGER NOT NULL DEFAULT 0",
                                                kPathLevel),
        column<&TRASPathComponent::m_startDateOfChildren>("startDateOfChildren", "REAL",
                                                          kStartDateOfChildren),
        column<&TRASPathComponent::m_stopDateOfChildren>("stopDateOfChildren", "REAL",
                                                         kStopDateOfChildren),
        column<&TRASPathComponent::m_cachedIcon>("cachedIcon", "BLOB", kCachedIcon),
        column<&TRASPathComponent::m_application>(
            "application", "INTEGER REFERENCES Application(id)", kApplication),
        column<&TRASPathComponent::m_pathParent>(
            "pathParent", "INTEGER REFERENCES PathComponent(id)", kPathParent),
    };
    static constexpr TREntityDescription kDescription{"PathComponent", kColumns, 1,
                                                      &createObject<TRASPathComponent>};
    return kDescription;
}

// A new node has nothing below it in the file.
void TRASPathComponent::awakeFromInsert() {
    m_childrenLoaded = m_hourlyEventsLoaded = m_eventsLoaded = true;
}

QDateTime TRASPathComponent::startDateOfChildren() const {
    return dateFromSeconds(m_startDateOfChildren);
}
QDateTime TRASPathComponent::stopDateOfChildren() const {
    return dateFromSeconds(m_stopDateOfChildren);
}

void TRASPathComponent::setCachedIcon(const QByteArray& value) {
    if (m_cachedIcon == value && m_cachedIcon.isNull() == value.isNull()) return;
    m_cachedIcon = value;
    didChange(kCachedIcon);
}

TRASApplication* TRASPathComponent::application() {
    if (!m_application.resolved())
        m_application.resolveTo(context()->objectWithId<TRASApplication>(m_application.id));
    return m_application.object;
}

void TRASPathComponent::setApplicationLink(TRASApplication* application) {
    if (m_application.resolved() && m_application.object == application) return;
    m_application.set(application);
    didChange(kApplication);
}

TRASPathComponent* TRASPathComponent::pathParent() {
    if (!m_pathParent.resolved())
        m_pathParent.resolveTo(context()->objectWithId<TRASPathComponent>(m_pathParent.id));
    return m_pathParent.object;
}

void TRASPathComponent::setPathParent(TRASPathComponent* parent) {
    TRASPathComponent* old = pathParent();
    if (old == parent) return;
    if (old) old->removeChild(this);
    if (parent) {
        parent->children();  // read the file's children before adding to them
        parent->m_children.push_back(this);
        parent->didChange(0);
    }
    m_pathParent.set(parent);
    didChange(kPathParent);
}

void TRASPathComponent::removeChild(TRASPathComponent* child, bool markChange) {
    auto it = std::find(m_children.begin(), m_children.end(), child);
    if (it == m_children.end()) return;
    m_children.erase(it);
    if (markChange) didChange(0);
}

void TRASPathComponent::removeHourlyEvent(TRASHourlyEvent* event) {
    if (!m_hourlyEvents) return;
    auto& map = *m_hourlyEvents;
    auto range = map.equal_range(hourKey(event->startDateSeconds()));
    for (auto it = range.first; it != range.second; ++it) {
        if (it->second == event) {
            map.erase(it);
            return;
        }
    }
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (it->second == event) {
            map.erase(it);
            return;
        }
    }
}

void TRASPathComponent::removeEvent(TRASEvent* event) {
    if (m_events) std::erase(*m_events, event);
}

std::multimap<double, TRASHourlyEvent*>& TRASPathComponent::hourlyEventMap() {
    if (!m_hourlyEvents)
        m_hourlyEvents = std::make_unique<std::multimap<double, TRASHourlyEvent*>>();
    return *m_hourlyEvents;
}

std::vector<TRASEvent*>& TRASPathComponent::eventList() {
    if (!m_events) m_events = std::make_unique<std::vector<TRASEvent*>>();
    return *m_events;
}

const std::vector<TRASPathComponent*>& TRASPathComponent::children() {
    loadChildren();
    return m_children;
}

const std::vector<TRASEvent*>& TRASPathComponent::events() {
    loadEvents();
    static const std::vector<TRASEvent*> kNone;
    return m_events ? *m_events : kNone;
}

const std::multimap<double, TRASHourlyEvent*>& TRASPathComponent::hourlyEvents() {
    loadHourlyEvents();
    static const std::multimap<double, TRASHourlyEvent*> kNone;
    return m_hourlyEvents ? *m_hourlyEvents : kNone;
}

TRASPathComponent* TRASPathComponent::childComponentWithValue(const QString& value,
                                                              bool createNewIfNeeded) {
    for (TRASPathComponent* child : children()) {
        if (child->m_value == value) return child;
    }
    if (!createNewIfNeeded) return nullptr;
    TRASPathComponent* child = context()->insert<TRASPathComponent>();
    child->m_value = value;
    child->m_pathLevel = qint16(m_pathLevel + 1);
    child->setPathParent(this);
    return child;
}

TRASHourlyEvent* TRASPathComponent::hourlyEventWithDate(const QDateTime& date,
                                                        bool createNewIfNeeded) {
    const double hour = secondsFromDate(Calculations::beginningOfHour(date));
    const auto& events = hourlyEvents();
    auto found = events.find(hourKey(hour));
    if (found != events.end()) return found->second;
    if (!createNewIfNeeded) return nullptr;
    TRASHourlyEvent* event = context()->insert<TRASHourlyEvent>();
    event->setStartDateSeconds(hour);
    event->setLastPathComponent(this);
    return event;
}

void TRASPathComponent::moveStartDateOfChildren(const QDateTime& date) {
    moveDateBound(secondsFromDate(date), true);
}

void TRASPathComponent::moveStopDateOfChildren(const QDateTime& date) {
    moveDateBound(secondsFromDate(date), false);
}

// The climb stops at the first node that already covers the date.
void TRASPathComponent::moveDateBound(double seconds, bool start) {
    for (TRASPathComponent* node = this; node; node = node->pathParent()) {
        double& bound = start ? node->m_startDateOfChildren : node->m_stopDateOfChildren;
        if (!std::isnan(bound) &&
            (std::isnan(seconds) || (start ? !(seconds < bound) : !(seconds > bound))))
            return;
        bound = seconds;
        node->didChange(start ? kStartDateOfChildren : kStopDateOfChildren);
    }
}

QString TRASPathComponent::titleForDisplay() {
    if (TRASApplication* app = application()) {
        return app->title().isEmpty() ? app->executableName() : app->title();
    }
    return m_value;
}

std::vector<TRASPathComponent*> TRASPathComponent::fullPathAsComponents() {
    std::vector<TRASPathComponent*> nodes;
    for (TRASPathComponent* node = this; node && node->m_pathLevel >= 1; node = node->pathParent())
        nodes.push_back(node);
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}

QString TRASPathComponent::fullPath() {
    // As the main application does it, emptiness is tested on this node's
    // own value: an empty value here means no path at all.
    if (m_value.isEmpty()) return QString();
    const std::vector<TRASPathComponent*> nodes = fullPathAsComponents();
    if (nodes.empty() || !nodes.front()->m_value.startsWith(QLatin1Char('/'))) return QString();
    QString path;
    for (TRASPathComponent* node : nodes) path += node->m_value;
    return path;
}

TRASApplication* TRASPathComponent::containingApplication() {
    for (TRASPathComponent* node = this; node; node = node->pathParent()) {
        if (TRASApplication* app = node->application()) return app;
    }
    return nullptr;
}

QByteArray TRASPathComponent::icon(const TRASIconLookup& lookup) {
    if (TRASApplication* app = application()) return app->icon(lookup);
    if (!m_cachedIcon.isEmpty()) return m_cachedIcon;
    const QString path = fullPath();
    if (path.isNull()) return QByteArray();
    const QByteArray image =
        QFileInfo::exists(path) ? lookup.iconForFile(path) : lookup.genericDocumentIcon();
    if (!image.isEmpty()) setCachedIcon(image);
    return image;
}

std::vector<TRASPathComponent*> TRASPathComponent::filteredChildComponents(double threshold) {
    std::vector<TRASPathComponent*> shown;
    for (TRASPathComponent* child : children()) {
        if (child->m_totalDurationWithFilter > threshold) shown.push_back(child);
    }
    return shown;
}

std::vector<TRASPathComponent*> TRASPathComponent::completeSubtree(
    const std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>>& byParent) {
    std::vector<TRASPathComponent*> nodes{this};
    for (size_t i = 0; i < nodes.size(); ++i) {
        auto it = byParent.find(nodes[i]);
        if (it != byParent.end()) nodes.insert(nodes.end(), it->second.begin(), it->second.end());
    }
    return nodes;
}

// A root stays; any other node stays while it has a parent and something
// below it (what is already in memory is asked first, which saves queries
// without changing the answer).
void TRASPathComponent::willSave() {
    if (isDeleted() || application()) return;
    if (pathParent()) {
        if ((m_childrenLoaded && !m_children.empty()) ||
            (m_hourlyEventsLoaded && m_hourlyEvents && !m_hourlyEvents->empty()))
            return;
        if (!children().empty() || !events().empty() || !hourlyEvents().empty()) return;
    }
    setPathParent(nullptr);
    context()->deleteObject(this);
}

void TRASPathComponent::nullifyRelationships(bool markChanges) {
    TRASPathComponent* parent = markChanges               ? pathParent()
                                : m_pathParent.resolved() ? m_pathParent.object
                                                          : nullptr;
    if (parent) {
        auto it = std::find(parent->m_children.begin(), parent->m_children.end(), this);
        if (it != parent->m_children.end()) parent->m_children.erase(it);
        if (markChanges) parent->didChange(0);
    }
    for (TRASPathComponent* child : m_children) child->m_pathParent.setFromRow(primaryKey());
    if (m_hourlyEvents) {
        for (auto& entry : *m_hourlyEvents)
            entry.second->m_lastPathComponent.setFromRow(primaryKey());
    }
    if (m_events) {
        for (TRASEvent* event : *m_events) event->m_lastPathComponent.setFromRow(primaryKey());
    }
    if (m_application.resolved() && m_application.object &&
        m_application.object->m_pathRoot.object == this)
        m_application.object->m_pathRoot.setFromRow(primaryKey());
}

std::vector<TRASPathComponent*> TRASPathComponent::fetchAll(TRObjectContext& context) {
    std::vector<TRASPathComponent*> nodes;
    if (SqliteStatement* stmt = context.cachedSelect(kEntity, kAll, "")) {
        while (stmt->step()) {
            auto* node = context.readRow<TRASPathComponent>(*stmt);
            if (!node->isDeleted()) nodes.push_back(node);
        }
        stmt->reset();
    }
    for (TRASPathComponent* node : context.insertedObjects<TRASPathComponent>())
        nodes.push_back(node);
    // Every node is in memory now, so every children set can be completed
    // without one query per node.
    std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>> children;
    children.reserve(nodes.size());  // at most one entry per node: never rehashed
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

void TRASPathComponent::loadChildren() {
    if (m_childrenLoaded) return;
    m_childrenLoaded = true;
    TRObjectContext& context = *this->context();
    SqliteStatement* stmt = context.cachedSelect(kEntity, kChildren, "pathParent = ?1");
    if (!stmt) return;
    stmt->bind(1, primaryKey());
    while (stmt->step()) {
        auto* child = context.readRow<TRASPathComponent>(*stmt);
        if (child->isDeleted()) continue;
        if (child->m_pathParent.resolved() && child->m_pathParent.object != this) continue;
        child->m_pathParent.set(this);
        if (std::find(m_children.begin(), m_children.end(), child) == m_children.end())
            m_children.push_back(child);
    }
    stmt->reset();
}

void TRASPathComponent::loadHourlyEvents() {
    if (m_hourlyEventsLoaded) return;
    m_hourlyEventsLoaded = true;
    TRObjectContext& context = *this->context();
    SqliteStatement* stmt =
        context.cachedSelect(TRASHourlyEvent::kEntity, 0, "lastPathComponent = ?1");
    if (!stmt) return;
    stmt->bind(1, primaryKey());
    while (stmt->step()) {
        auto* event = context.readRow<TRASHourlyEvent>(*stmt);
        if (event->isDeleted()) continue;
        if (event->m_lastPathComponent.resolved() && event->m_lastPathComponent.object != this)
            continue;
        event->m_lastPathComponent.set(this);
        hourlyEventMap().emplace(hourKey(event->m_startDate), event);
    }
    stmt->reset();
}

void TRASPathComponent::loadEvents() {
    if (m_eventsLoaded) return;
    m_eventsLoaded = true;
    TRObjectContext& context = *this->context();
    SqliteStatement* stmt = context.cachedSelect(TRASEvent::kEntity, 0, "lastPathComponent = ?1");
    if (!stmt) return;
    stmt->bind(1, primaryKey());
    while (stmt->step()) {
        auto* event = context.readRow<TRASEvent>(*stmt);
        if (event->isDeleted()) continue;
        event->m_lastPathComponent.set(this);
        eventList().push_back(event);
    }
    stmt->reset();
}

void TRASPathComponent::dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) {
    m_application.forgetIfIn(gone);
    m_pathParent.forgetIfIn(gone);
    std::erase_if(m_children, [&](TRASPathComponent* child) { return gone.count(child) != 0; });
    if (m_hourlyEvents)
        std::erase_if(*m_hourlyEvents, [&](const auto& entry) { return gone.count(entry.second) != 0; });
    if (m_events)
        std::erase_if(*m_events, [&](TRASEvent* event) { return gone.count(event) != 0; });
}

void TRASPathComponent::unlinkFromOwner() {
    if (m_pathParent.resolved() && m_pathParent.object)
        m_pathParent.object->removeChild(this, false);
}

// Into the parent's children when they have been read already; otherwise
// their first read finds this node.
void TRASPathComponent::linkToOwner() {
    TRASPathComponent* parent =
        m_pathParent.resolved() ? m_pathParent.object
                                : context()->registeredObject<TRASPathComponent>(m_pathParent.id);
    if (!parent || parent->isDeleted()) return;
    m_pathParent.set(parent);
    auto& children = parent->m_children;
    if (parent->m_childrenLoaded &&
        std::find(children.begin(), children.end(), this) == children.end())
        children.push_back(this);
}
