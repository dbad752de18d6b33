#include "notices/NoticesLog.h"

Q_LOGGING_CATEGORY(lcNotices, "vorlix.notices", QtInfoMsg)
