#pragma once
// TRASPathComponent: one node of an application's tree.
//
// A root (level 0, no value) belongs to its application; every other node
// has a parent and a value that carries its own leading separator ("/Users",
// "?q=1"). Children and hourly events are read from the file once, on first
// use, and from then on kept and searched in memory: recording walks the tree
// without a query per level. Main thread only.

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <limits>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "store/activity/TRASEntities.h"
#include "store/graph/TRManagedObject.h"
#include "store/graph/TRToOne.h"

class TRASApplication;
class TRASEvent;
class TRASHourlyEvent;
class TRASIconLookup;
class TRObjectContext;
struct TREntityDescription;

class TRASPathComponent final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRASEntity::PathComponent;
    static const TREntityDescription& description();

    enum Property : std::uint32_t {
        kValue = 1u << 0,
        kPathLevel = 1u << 1,
        kStartDateOfChildren = 1u << 2,
        kStopDateOfChildren = 1u << 3,
        kCachedIcon = 1u << 4,
        kApplication = 1u << 5,
        kPathParent = 1u << 6,
    };

    explicit TRASPathComponent(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    // Every node not deleted, from the file and unsaved, in no fixed order;
    // their children sets are complete afterwards.
    static std::vector<TRASPathComponent*> fetchAll(TRObjectContext& context);

    const QString& value() const { return m_value; }
    qint16 pathLevelValue() const { return m_pathLevel; }
    // Invalid QDateTime when absent.
    QDateTime startDateOfChildren() const;
    QDateTime stopDateOfChildren() const;
    const QByteArray& cachedIcon() const { return m_cachedIcon; }
    void setCachedIcon(const QByteArray& value);

    TRASApplication* application();
    void setApplicationLink(TRASApplication* application);  // the inverse side of pathRoot
    TRASPathComponent* pathParent();
    // Moves the node between its old and new parent's children.
    void setPathParent(TRASPathComponent* parent);

    const std::vector<TRASPathComponent*>& children();
    const std::vector<TRASEvent*>& events();
    const std::multimap<double, TRASHourlyEvent*>& hourlyEvents();

    // Exact, case-sensitive match of the value; a new child gets the value,
    // this node as parent and this level + 1.
    TRASPathComponent* childComponentWithValue(const QString& value, bool createNewIfNeeded);
    // The event of the date's clock hour (current calendar).
    TRASHourlyEvent* hourlyEventWithDate(const QDateTime& date, bool createNewIfNeeded);
    // Widen the date bounds of this node and, as far as needed, its ancestors.
    void moveStartDateOfChildren(const QDateTime& date);
    void moveStopDateOfChildren(const QDateTime& date);

    QString titleForDisplay();
    // The joined values from level 1 when they form a file path, else null.
    QString fullPath();
    // Level 1 down to this node; empty for a root.
    std::vector<TRASPathComponent*> fullPathAsComponents();
    TRASApplication* containingApplication();
    // Encoded image (PNG); empty when there is none (always in headless tests).
    QByteArray icon(const TRASIconLookup& lookup);

    // Aggregation (see TRActivityStore::filterEventsBetweenDate). The total is
    // kept in memory only and set by the aggregation alone (it keeps a copy
    // to tell which totals changed).
    double totalDurationWithFilterValue() const { return m_totalDurationWithFilter; }
    void setTotalDurationWithFilterValue(double value) { m_totalDurationWithFilter = value; }
    double totalDurationWithFilterTemporaryValue() const { return m_temporaryTotal; }
    void setTotalDurationWithFilterTemporaryValue(double value) { m_temporaryTotal = value; }
    // Children whose total exceeds the threshold (the store's timeThreshold()).
    std::vector<TRASPathComponent*> filteredChildComponents(double threshold);
    // This node and everything below it, from the store's node cache
    // (TRActivityStore::allPathComponentsGroupedByPathParent()).
    std::vector<TRASPathComponent*> completeSubtree(
        const std::unordered_map<TRASPathComponent*, std::vector<TRASPathComponent*>>& byParent);

    // The key of an hourly event in hourlyEvents(): its start date, with an
    // absent (NaN) date sorted first.
    static double hourKey(double seconds) {
        return seconds == seconds ? seconds : -std::numeric_limits<double>::infinity();
    }

private:
    friend class TRASHourlyEvent;
    friend class TRASEvent;
    friend class TRASApplication;
    void awakeFromInsert() override;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;
    void unlinkFromOwner() override;
    void linkToOwner() override;
    void dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) override;

    // Relationship reads, once each.
    void loadChildren();
    void loadHourlyEvents();
    void loadEvents();

    void moveDateBound(double seconds, bool start);
    // markChange: false when the other program moved or removed the child.
    void removeChild(TRASPathComponent* child, bool markChange = true);
    void removeHourlyEvent(TRASHourlyEvent* event);
    void removeEvent(TRASEvent* event);
    std::multimap<double, TRASHourlyEvent*>& hourlyEventMap();
    std::vector<TRASEvent*>& eventList();

    QString m_value;
    double m_startDateOfChildren = std::numeric_limits<double>::quiet_NaN();
    double m_stopDateOfChildren = std::numeric_limits<double>::quiet_NaN();
    double m_totalDurationWithFilter = 0;
    double m_temporaryTotal = 0;
    QByteArray m_cachedIcon;
    TRToOne<TRASApplication> m_application;
    TRToOne<TRASPathComponent> m_pathParent;
    std::vector<TRASPathComponent*> m_children;
    // Allocated on first use: most nodes never read their events, and a
    // five-year store keeps tens of thousands of nodes in memory.
    std::unique_ptr<std::multimap<double, TRASHourlyEvent*>> m_hourlyEvents;
    std::unique_ptr<std::vector<TRASEvent*>> m_events;
    qint16 m_pathLevel = 0;
    bool m_childrenLoaded = false;
    bool m_hourlyEventsLoaded = false;
    bool m_eventsLoaded = false;
};
