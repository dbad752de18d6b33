#include "platform/linux/LinuxPlatformLog.h"

Q_LOGGING_CATEGORY(lcPlatformLinux, "vorlix.platform.linux", QtInfoMsg)
