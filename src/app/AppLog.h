#pragma once
// Logging category of the application folder.

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcApp)
