#pragma once
// TRASObject: the common part of the activity store's entity objects.
//
// Every object belongs to one TRASContext, which owns it, hands out raw
// pointers to it and frees it only when a save or a merge removes it for
// good: do not keep an object across a save or a merge that deletes it.
// An object has a permanent identity (its primary key, rendered as the URI
// x-vorlix://STORE-UUID/ENTITY/pKEY) from the save that first writes it; an
// unsaved object has a temporary one (.../tN). Each persistent property has
// one bit in a dirty mask, so a save writes only what this program changed
// and the other program's values of other properties survive.
// Main thread only.

#include <QString>
#include <QtGlobal>
#include <cstdint>
#include <optional>

#include "core/TRError.h"

class SqliteDatabase;
class SqliteStatement;
class TRASContext;

enum class TRASEntity : std::uint8_t { Application, PathComponent, HourlyEvent, Event };

QString entityName(TRASEntity entity);
std::optional<TRASEntity> entityNamed(const QString& name);

class TRASObject {
public:
    virtual ~TRASObject() = default;
    TRASObject(const TRASObject&) = delete;
    TRASObject& operator=(const TRASObject&) = delete;

    TRASEntity entity() const { return m_entity; }
    TRASContext* context() const { return m_context; }
    // 0 until the object is first saved.
    qint64 primaryKey() const { return m_primaryKey; }
    QString uriRepresentation() const;

    bool isInserted() const { return m_inserted; }
    bool isUpdated() const { return m_updated; }
    bool isDeleted() const { return m_deleted; }
    std::uint32_t dirtyMask() const { return m_dirty; }

protected:
    TRASObject(TRASContext* context, TRASEntity entity) : m_context(context), m_entity(entity) {}
    // Fields are ordered for size: one object per node or hour is kept.

    // Records a change of the persistent properties in `bits` (0 for a change
    // of a to-many relationship, which has no column of its own).
    void didChange(std::uint32_t bits);
    bool isDirty(std::uint32_t bit) const { return (m_dirty & bit) != 0; }

private:
    friend class TRASContext;

    // The columns after `id`, as selectSql() lists them; with keepDirty the
    // properties this program changed keep their in-memory values.
    virtual void readColumns(const SqliteStatement& row, bool keepDirty) = 0;
    virtual std::optional<TRError> insertRow(SqliteDatabase& db) = 0;
    virtual std::optional<TRError> updateRow(SqliteDatabase& db) = 0;
    // The clean-up rule run for each changed object at save.
    virtual void willSave() = 0;
    // Drops this object from the relationships of the objects it points to;
    // markChanges is false when another program deleted it.
    virtual void nullifyRelationships(bool markChanges) = 0;

    TRASContext* m_context;
    TRASObject* m_previousOwned = nullptr;
    TRASObject* m_nextOwned = nullptr;
    qint64 m_primaryKey = 0;
    qint64 m_temporaryId = 0;
    std::uint32_t m_dirty = 0;
    TRASEntity m_entity;
    bool m_inserted = false;
    bool m_updated = false;
    bool m_deleted = false;
};
