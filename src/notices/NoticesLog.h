#pragma once
// Logging category of the notices folder. Addresses only at debug level.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcNotices)
