#pragma once
// Logging category of the Linux platform folder. Window titles and paths
// only ever at debug level.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcPlatformLinux)
