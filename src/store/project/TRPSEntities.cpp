#include "store/project/TRPSEntities.h"

#include "store/project/TRPSApplication.h"
#include "store/project/TRPSPath.h"
#include "store/project/TRPSProject.h"

std::span<const TREntityDescription* const> projectStoreEntities() {
    static const TREntityDescription* const kEntities[] = {
        &TRPSProject::description(), &TRPSApplication::description(), &TRPSPath::description()};
    return kEntities;
}
