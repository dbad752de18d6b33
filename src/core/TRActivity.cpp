#include "core/TRActivity.h"

qint32 TRActivity::processIdentifier() const {
    const RunningApplication* app = runningApplication();
    return app ? app->processIdentifier : 0;
}

QString TRActivity::documentPath() const {
    return m_details ? m_details->documentPath() : QString();
}

QString TRActivity::documentTitle() const {
    return m_details ? m_details->documentTitle() : QString();
}

QString TRActivity::windowTitle() const {
    return m_details ? m_details->windowTitle() : QString();
}

std::optional<QStringList> TRActivity::pathComponents() const {
    return m_details ? m_details->pathComponents() : std::nullopt;
}

TRActivityDetails& TRActivity::ensureDetails() {
    if (!m_details) m_details.emplace();
    return *m_details;
}

// Only the process identifier identifies the application: two launches of
// one program are two activities, and one launch stays one identity even if
// its name or id were resolved differently on another tick.
bool TRActivity::isEqual(const TRActivity* other) const {
    if (other == nullptr) return false;
    if (processIdentifier() != other->processIdentifier()) return false;
    if (!m_details && !other->m_details) return true;
    if (!m_details) return false;
    return m_details->isEqual(other->m_details ? &*other->m_details : nullptr);
}

QString TRActivity::description() const {
    QString app;
    if (const RunningApplication* running = runningApplication()) {
        app = running->description();
    } else if (isCustomActivity()) {
        app = QStringLiteral("<null>");
    } else {
        app = QStringLiteral("(null)");
    }
    const QString details = m_details ? m_details->description() : QStringLiteral("(null)");
    return QStringLiteral("application: %1\n%2").arg(app, details);
}
