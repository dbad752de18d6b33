#pragma once
// Logging category of the ui folder.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcUi)
