// The one place of the store that writes to the log.
#include <QLoggingCategory>

#include "store/activity/TRStoreReporter.h"

namespace {
Q_LOGGING_CATEGORY(lcStore, "vorlix.store")
}

void TRLoggingStoreReporter::presentError(const TRError& error) {
    qCWarning(lcStore).noquote() << error.toString();
}

void TRLoggingStoreReporter::logLine(const QString& line) {
    qCWarning(lcStore).noquote() << line;
}
