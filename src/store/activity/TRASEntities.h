#pragma once
// The activity store's entities, in the order the object context numbers
// them (an object's entity()).

#include <cstdint>
#include <span>

struct TREntityDescription;

namespace TRASEntity {
enum : std::uint8_t { Application, PathComponent, HourlyEvent, Event };
}  // namespace TRASEntity

// Each entity's description, indexed by TRASEntity.
std::span<const TREntityDescription* const> activityStoreEntities();
