#include "core/TRActivityDetails.h"

namespace {

// Absent only equals absent; present values compare exactly, code unit by
// code unit, with no normalisation.
bool sameString(const QString& a, const QString& b) {
    if (a.isNull() || b.isNull()) return a.isNull() && b.isNull();
    return a == b;
}

QString describe(const QString& s) { return s.isNull() ? QStringLiteral("(null)") : s; }

}  // namespace

bool TRActivityDetails::isEqual(const TRActivityDetails* other) const {
    if (other == nullptr) return false;
    if (other == this) return true;
    if (m_pathComponents.has_value() != other->m_pathComponents.has_value()) return false;
    if (m_pathComponents && *m_pathComponents != *other->m_pathComponents) return false;
    return sameString(m_documentPath, other->m_documentPath) &&
           sameString(m_documentTitle, other->m_documentTitle) &&
           sameString(m_windowTitle, other->m_windowTitle);
}

QString TRActivityDetails::description() const {
    const QString components =
        m_pathComponents ? QStringLiteral("(%1)").arg(m_pathComponents->join(QStringLiteral(", ")))
                         : QStringLiteral("(null)");
    return QStringLiteral("pathComponents: %1\ndocumentPath: %2\ndocumentTitle: %3\nwindowTitle: %4")
        .arg(components, describe(m_documentPath), describe(m_documentTitle),
             describe(m_windowTitle));
}
