#include "ui/UiLog.h"

Q_LOGGING_CATEGORY(lcUi, "vorlix.ui", QtInfoMsg)
