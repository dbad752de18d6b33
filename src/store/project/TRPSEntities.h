#pragma once
// The project store's entities, in the order the object context numbers
// them (an object's entity()), and the helpers they share.

#include <QString>
#include <QStringList>
#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

struct TREntityDescription;

namespace TRPSEntity {
enum : std::uint8_t { Project, Application, Path };
}  // namespace TRPSEntity

// Each entity's description, indexed by TRPSEntity.
std::span<const TREntityDescription* const> projectStoreEntities();

// One side of a many-to-many relationship as it is kept in memory: read from
// the join table on first use, then kept. Every change loads both sides
// first, so a side read later from the file never misses an unsaved change.
template <class T>
struct TRToMany final {
    std::vector<T*> objects;
    bool loaded = false;

    bool contains(const T* object) const {
        return std::find(objects.begin(), objects.end(), object) != objects.end();
    }
    bool insert(T* object) {
        if (contains(object)) return false;
        objects.push_back(object);
        return true;
    }
    bool erase(T* object) {
        auto it = std::find(objects.begin(), objects.end(), object);
        if (it == objects.end()) return false;
        objects.erase(it);
        return true;
    }
};
