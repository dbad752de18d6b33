#pragma once
// TRManagedObject: the common part of a store's entity objects.
//
// Every object belongs to one TRObjectContext, which owns it, hands out raw
// pointers to it and frees it only when a save or a merge removes it for
// good: do not keep an object across a save or a merge that deletes it.
// An object has a permanent identity (its primary key, rendered as the URI
// x-vorlix://STORE-UUID/ENTITY/pKEY) from the save that first writes it; an
// unsaved object has a temporary one (.../tN). Each persistent property has
// one bit in a dirty mask (its column's dirtyBit in the entity's
// description), so a save writes only what this program changed and the
// other program's values of other properties survive.
// Main thread only.

#include <QString>
#include <QtGlobal>
#include <cstdint>
#include <unordered_set>

class TRObjectContext;

class TRManagedObject {
public:
    virtual ~TRManagedObject() = default;
    TRManagedObject(const TRManagedObject&) = delete;
    TRManagedObject& operator=(const TRManagedObject&) = delete;

    // The entity's place in the context's list of descriptions.
    std::uint8_t entity() const { return m_entity; }
    TRObjectContext* context() const { return m_context; }
    // 0 until the object is first saved.
    qint64 primaryKey() const { return m_primaryKey; }
    QString uriRepresentation() const;

    // Increases with each insertion; 0 for an object read from the file.
    qint64 temporaryId() const { return m_temporaryId; }
    bool isInserted() const { return m_inserted; }
    bool isUpdated() const { return m_updated; }
    bool isDeleted() const { return m_deleted; }
    std::uint32_t dirtyMask() const { return m_dirty; }

protected:
    TRManagedObject(TRObjectContext* context, std::uint8_t entity)
        : m_context(context), m_entity(entity) {}

    // Records a change of the persistent properties in `bits` (0 for a change
    // of a to-many relationship, which has no column of its own).
    void didChange(std::uint32_t bits);
    bool isDirty(std::uint32_t bit) const { return (m_dirty & bit) != 0; }

private:
    friend class TRObjectContext;

    // Called once when the object is inserted (not when it is read).
    virtual void awakeFromInsert() {}
    // The clean-up rule run for each changed object at save.
    virtual void willSave() = 0;
    // Drops this object from the relationships of the objects it points to;
    // markChanges is false when another program deleted it.
    virtual void nullifyRelationships(bool markChanges) = 0;
    // Merging: takes the object out of, or puts it into, the in-memory
    // to-many set of the object it belongs to (when that set was read).
    virtual void unlinkFromOwner() {}
    virtual void linkToOwner() {}
    // Merging another program's deletions: forgets every pointer to these
    // objects, also those the to-many sets never listed (a pointer resolved
    // while the owner's set was not read yet).
    virtual void dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) {
        Q_UNUSED(gone);
    }

    // Fields are ordered for size: one object per node or hour is kept.
    TRObjectContext* m_context;
    TRManagedObject* m_previousOwned = nullptr;
    TRManagedObject* m_nextOwned = nullptr;
    qint64 m_primaryKey = 0;
    qint64 m_temporaryId = 0;
    std::uint32_t m_dirty = 0;
    std::uint8_t m_entity;
    bool m_inserted = false;
    bool m_updated = false;
    bool m_deleted = false;
};
