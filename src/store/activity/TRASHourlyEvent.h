#pragma once
// TRASHourlyEvent: the seconds spent on exactly one node within one clock
// hour. TRASEvent: a contiguous interval on a node; part of the shared file
// layout, never created by this program, but cleaned up like the rest.
// Main thread only.

#include <QDateTime>

#include "store/activity/TRASEntities.h"
#include "store/graph/TRManagedObject.h"
#include "store/graph/TRToOne.h"

class TRASPathComponent;
class TRObjectContext;
struct TREntityDescription;

class TRASHourlyEvent final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRASEntity::HourlyEvent;
    static const TREntityDescription& description();

    enum Property : std::uint32_t {
        kStartDate = 1u << 0,
        kDuration = 1u << 1,
        kLastPathComponent = 1u << 2,
    };

    explicit TRASHourlyEvent(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    // Seconds since the Unix epoch; NaN when absent.
    double startDateSeconds() const { return m_startDate; }
    QDateTime startDate() const;
    void setStartDateSeconds(double value);
    double durationValue() const { return m_duration; }
    void setDurationValue(double value);

    TRASPathComponent* lastPathComponent();
    // Moves the event between the nodes' hourly-event sets.
    void setLastPathComponent(TRASPathComponent* node);

private:
    friend class TRASPathComponent;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;
    void unlinkFromOwner() override;
    void linkToOwner() override;
    void dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) override;

    double m_startDate = 0;
    double m_duration = 0;
    TRToOne<TRASPathComponent> m_lastPathComponent;
};

class TRASEvent final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRASEntity::Event;
    static const TREntityDescription& description();

    enum Property : std::uint32_t {
        kStartDate = 1u << 0,
        kStopDate = 1u << 1,
        kLastPathComponent = 1u << 2,
    };

    explicit TRASEvent(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    double startDateSeconds() const { return m_startDate; }
    double stopDateSeconds() const { return m_stopDate; }
    TRASPathComponent* lastPathComponent();
    void setLastPathComponent(TRASPathComponent* node);

private:
    friend class TRASPathComponent;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;
    void dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) override;

    double m_startDate = 0;
    double m_stopDate = 0;
    TRToOne<TRASPathComponent> m_lastPathComponent;
};
