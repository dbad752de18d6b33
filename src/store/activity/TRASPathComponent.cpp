#include "store/activity/TRASPathComponent.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>

#include "core/DateCalculations.h"
#include "store/graph/SqliteDatabase.h"
#include "store/activity/TRASApplication.h"
#include "store/graph/TRObjectContext.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRActivityStore.h"

namespace {

QDateTime dateFromSeconds(double seconds) {
    if (std::isnan(seconds)) return QDateTime();
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000.0)), Qt::UTC);
}

double secondsFromDate(const QDateTime& date) {
    return date.isValid() ? double(date.toMSecsSinceEpoch()) / 1000.0
                          : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

void TRASPathComponent::setValue(const QString& value) {
    if (m_value == value && m_value.isNull() == value.isNull()) return;
    m_value = value;
    didChange(kValue);
}

void TRASPathComponent::setPathLevelValue(qint16 value) {
    if (m_pathLevel == value) return;
    m_pathLevel = value;
    didChange(kPathLevel);
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
        m_application.resolveTo(context()->applicationWithId(m_application.id));
    return m_application.object;
}

void TRASPathComponent::setApplicationLink(TRASApplication* application) {
    if (m_application.resolved() && m_application.object == application) return;
    m_application.set(application);
    didChange(kApplication);
}

TRASPathComponent* TRASPathComponent::pathParent() {
    if (!m_pathParent.resolved())
        m_pathParent.resolveTo(context()->pathComponentWithId(m_pathParent.id));
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
    context()->loadChildren(this);
    return m_children;
}

const std::vector<TRASEvent*>& TRASPathComponent::events() {
    context()->loadEvents(this);
    static const std::vector<TRASEvent*> kNone;
    return m_events ? *m_events : kNone;
}

const std::multimap<double, TRASHourlyEvent*>& TRASPathComponent::hourlyEvents() {
    context()->loadHourlyEvents(this);
    static const std::multimap<double, TRASHourlyEvent*> kNone;
    return m_hourlyEvents ? *m_hourlyEvents : kNone;
}

TRASPathComponent* TRASPathComponent::childComponentWithValue(const QString& value,
                                                              bool createNewIfNeeded) {
    for (TRASPathComponent* child : children()) {
        if (child->m_value == value) return child;
    }
    if (!createNewIfNeeded) return nullptr;
    TRASPathComponent* child = context()->insertPathComponent();
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
    TRASHourlyEvent* event = context()->insertHourlyEvent();
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

QByteArray TRASPathComponent::icon() {
    if (TRASApplication* app = application()) return app->icon();
    if (!m_cachedIcon.isEmpty()) return m_cachedIcon;
    const QString path = fullPath();
    if (path.isNull()) return QByteArray();
    TRASIconLookup& lookup = context()->store()->iconLookup();
    const QByteArray image =
        QFileInfo::exists(path) ? lookup.iconForFile(path) : lookup.genericDocumentIcon();
    if (!image.isEmpty()) setCachedIcon(image);
    return image;
}

std::vector<TRASPathComponent*> TRASPathComponent::filteredChildComponents() {
    const double threshold = context()->store()->timeThreshold();
    std::vector<TRASPathComponent*> shown;
    for (TRASPathComponent* child : children()) {
        if (child->m_totalDurationWithFilter > threshold) shown.push_back(child);
    }
    return shown;
}

std::vector<TRASPathComponent*> TRASPathComponent::completeSubtree() {
    const auto& byParent = context()->store()->allPathComponentsGroupedByPathParent();
    std::vector<TRASPathComponent*> nodes{this};
    for (size_t i = 0; i < nodes.size(); ++i) {
        auto it = byParent.find(nodes[i]);
        if (it != byParent.end()) nodes.insert(nodes.end(), it->second.begin(), it->second.end());
    }
    return nodes;
}

void TRASPathComponent::readColumns(const SqliteStatement& row, bool keepDirty) {
    auto take = [&](std::uint32_t bit) { return !(keepDirty && isDirty(bit)); };
    if (take(kValue)) m_value = row.text(1);
    if (take(kPathLevel)) m_pathLevel = qint16(row.int64(2));
    if (take(kStartDateOfChildren)) m_startDateOfChildren = row.real(3);
    if (take(kStopDateOfChildren)) m_stopDateOfChildren = row.real(4);
    if (take(kCachedIcon)) m_cachedIcon = row.blob(5);
    if (take(kApplication)) m_application.setFromRow(row.int64(6));
    if (take(kPathParent)) m_pathParent.setFromRow(row.int64(7));
}

std::optional<TRError> TRASPathComponent::insertRow(SqliteDatabase& db) {
    SqliteStatement* stmt = db.cached(
        "INSERT INTO PathComponent(id, value, pathLevel, startDateOfChildren, stopDateOfChildren, "
        "cachedIcon, application, pathParent) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    stmt->bind(2, m_value);
    stmt->bind(3, qint64(m_pathLevel));
    stmt->bind(4, m_startDateOfChildren);
    stmt->bind(5, m_stopDateOfChildren);
    stmt->bind(6, m_cachedIcon);
    stmt->bindOptionalId(7, m_application.keyForWriting());
    stmt->bindOptionalId(8, m_pathParent.keyForWriting());
    return stmt->run();
}

std::optional<TRError> TRASPathComponent::updateRow(SqliteDatabase& db) {
    static const char* const kColumns[] = {
        "value",      "pathLevel",   "startDateOfChildren", "stopDateOfChildren",
        "cachedIcon", "application", "pathParent"};
    const std::uint32_t mask = dirtyMask() & 0x7Fu;
    if (mask == 0) return std::nullopt;
    SqliteStatement* stmt = db.cachedByKey(
        TRASContext::statementKey(TRASContext::StatementKind::UpdatePathComponent, mask), [mask] {
            QStringList sets;
            for (int i = 0; i < 7; ++i) {
                if (mask & (1u << i))
                    sets.append(
                        QStringLiteral("%1 = ?%2").arg(QLatin1String(kColumns[i])).arg(i + 2));
            }
            return QStringLiteral("UPDATE PathComponent SET %1 WHERE id = ?1")
                .arg(sets.join(QLatin1String(", ")));
        });
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    if (isDirty(kValue)) stmt->bind(2, m_value);
    if (isDirty(kPathLevel)) stmt->bind(3, qint64(m_pathLevel));
    if (isDirty(kStartDateOfChildren)) stmt->bind(4, m_startDateOfChildren);
    if (isDirty(kStopDateOfChildren)) stmt->bind(5, m_stopDateOfChildren);
    if (isDirty(kCachedIcon)) stmt->bind(6, m_cachedIcon);
    if (isDirty(kApplication)) stmt->bindOptionalId(7, m_application.keyForWriting());
    if (isDirty(kPathParent)) stmt->bindOptionalId(8, m_pathParent.keyForWriting());
    return stmt->run();
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
