#pragma once
// A to-one relationship as it is kept in memory: the row's foreign key, and
// the object once it has been looked up (or set). A key of 0 is "none"; a key
// without an object has not been looked up yet. 16 bytes, since every node
// and hourly event carries one or two.

#include <QtGlobal>

template <class T>
struct TRToOne final {
    qint64 id = 0;
    T* object = nullptr;

    bool resolved() const { return object != nullptr || id == 0; }
    void setFromRow(qint64 key) {
        id = key;
        object = nullptr;
    }
    void set(T* value) {
        object = value;
        id = value ? value->primaryKey() : 0;
    }
    // After a look-up: a key that names no row counts as none from then on.
    void resolveTo(T* value) {
        object = value;
        if (!value) id = 0;
    }
    // Another program deleted the object: keep only the key, so that the
    // next use looks it up again instead of following a freed pointer.
    template <class Set>
    void forgetIfIn(const Set& gone) {
        if (object && gone.count(object)) object = nullptr;
    }
    // The key to write: the object's, which a save has just made permanent.
    qint64 keyForWriting() const { return object ? object->primaryKey() : id; }
};
