#pragma once
// Logging category of the tracking folder. Titles, addresses and paths only
// ever at debug level.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcTracking)
