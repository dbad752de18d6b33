#include "store/activity/TRASEntities.h"

#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"

std::span<const TREntityDescription* const> activityStoreEntities() {
    static const TREntityDescription* const kEntities[] = {
        &TRASApplication::description(), &TRASPathComponent::description(),
        &TRASHourlyEvent::description(), &TRASEvent::description()};
    return kEntities;
}
