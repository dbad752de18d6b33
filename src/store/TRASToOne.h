#pragma once
// A to-one relationship as it is kept in memory: the row's foreign key, and
// the object once it has been looked up (or set). A key of 0 is "none".

#include <QtGlobal>

template <class T>
struct TRASToOne final {
    qint64 id = 0;
    T* object = nullptr;
    bool resolved = true;

    void setFromRow(qint64 key) {
        id = key;
        object = nullptr;
        resolved = (key == 0);
    }
    void set(T* value) {
        object = value;
        id = value ? value->primaryKey() : 0;
        resolved = true;
    }
    // The key to write: the object's, which a save has just made permanent.
    qint64 keyForWriting() const { return resolved ? (object ? object->primaryKey() : 0) : id; }
};
