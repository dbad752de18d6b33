#include "PlatformObjects.h"

PlatformObjects createPlatformObjects() {
    return {};
}
