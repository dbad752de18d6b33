#include "tracking/TRTrackingLog.h"

Q_LOGGING_CATEGORY(lcTracking, "vorlix.tracking", QtInfoMsg)
