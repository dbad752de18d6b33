#pragma once
// Fetching for the project store's entities. Its tables are small (tens of
// projects, hundreds of applications and paths), so a fetch reads the rows
// and lets the objects' in-memory values decide: unsaved changes always win.
// Fetch order: saved rows by key, then unsaved objects in insertion order.

#include <algorithm>
#include <vector>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"
#include "store/project/TRPSEntities.h"

namespace TRPSFetch {

// Query numbers, unique per entity (TRObjectContext::cachedSelect).
enum : quint64 { kAll = 0, kByValue = 1, kByExecutable, kByTitle, kJoined, kJoinedByPath };

// Objects of T that pred accepts. `where` narrows the saved rows by the
// value bound as ?1 (nullptr: every row); pred must check the same.
template <class T, class Pred>
std::vector<T*> fetch(TRObjectContext& context, Pred pred, quint64 query = kAll,
                      const char* where = nullptr, const QString& value = QString()) {
    std::vector<T*> found;
    if (SqliteStatement* stmt = context.cachedSelect(T::kEntity, query, where ? where : "1 ORDER BY id")) {
        if (where) stmt->bind(1, value);
        while (stmt->step()) {
            T* object = context.readRow<T>(*stmt);
            if (!object->isDeleted() && pred(object)) found.push_back(object);
        }
        stmt->reset();
    }
    std::vector<T*> inserted = context.insertedObjects<T>();
    std::sort(inserted.begin(), inserted.end(),
              [](T* a, T* b) { return a->temporaryId() < b->temporaryId(); });
    for (T* object : inserted) {
        if (pred(object)) found.push_back(object);
    }
    // A saved row whose value was changed here into a match: not yet seen.
    for (T* object : context.liveChangedObjects<T>()) {
        if (!object->isInserted() && pred(object) &&
            std::find(found.begin(), found.end(), object) == found.end())
            found.push_back(object);
    }
    return found;
}

// Reads one side of a many-to-many relationship once: the members whose key
// the join table lists beside ownerKey. An unsaved owner has none in the file.
template <class T>
void loadJoined(TRObjectContext& context, TRToMany<T>& many, qint64 ownerKey, quint64 query,
                const char* where) {
    if (many.loaded) return;
    many.loaded = true;
    if (ownerKey == 0) return;
    SqliteStatement* stmt = context.cachedSelect(T::kEntity, query, where);
    if (!stmt) return;
    stmt->bind(1, ownerKey);
    while (stmt->step()) {
        T* object = context.readRow<T>(*stmt);
        if (!object->isDeleted()) many.insert(object);
    }
    stmt->reset();
}

}  // namespace TRPSFetch
