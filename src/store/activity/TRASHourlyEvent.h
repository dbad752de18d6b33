#pragma once
// TRASHourlyEvent: the seconds spent on exactly one node within one clock
// hour. TRASEvent: a contiguous interval on a node; part of the shared file
// layout, never created by this program, but cleaned up like the rest.
// Main thread only.

#include <QDateTime>

#include "store/graph/TRManagedObject.h"
#include "store/graph/TRToOne.h"

class TRASPathComponent;

class TRASHourlyEvent final : public TRASObject {
public:
    enum Property : std::uint32_t {
        kStartDate = 1u << 0,
        kDuration = 1u << 1,
        kLastPathComponent = 1u << 2,
    };

    explicit TRASHourlyEvent(TRASContext* context) : TRASObject(context, TRASEntity::HourlyEvent) {}

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
    friend class TRASContext;
    friend class TRASPathComponent;
    void readColumns(const SqliteStatement& row, bool keepDirty) override;
    std::optional<TRError> insertRow(SqliteDatabase& db) override;
    std::optional<TRError> updateRow(SqliteDatabase& db) override;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;

    double m_startDate = 0;
    double m_duration = 0;
    TRASToOne<TRASPathComponent> m_lastPathComponent;
};

class TRASEvent final : public TRASObject {
public:
    enum Property : std::uint32_t {
        kStartDate = 1u << 0,
        kStopDate = 1u << 1,
        kLastPathComponent = 1u << 2,
    };

    explicit TRASEvent(TRASContext* context) : TRASObject(context, TRASEntity::Event) {}

    double startDateSeconds() const { return m_startDate; }
    double stopDateSeconds() const { return m_stopDate; }
    TRASPathComponent* lastPathComponent();
    void setLastPathComponent(TRASPathComponent* node);

private:
    friend class TRASContext;
    friend class TRASPathComponent;
    void readColumns(const SqliteStatement& row, bool keepDirty) override;
    std::optional<TRError> insertRow(SqliteDatabase& db) override;
    std::optional<TRError> updateRow(SqliteDatabase& db) override;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;

    double m_startDate = 0;
    double m_stopDate = 0;
    TRASToOne<TRASPathComponent> m_lastPathComponent;
};
