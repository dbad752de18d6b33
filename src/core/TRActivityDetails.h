#pragma once
// TRActivityDetails: what the front application shows at one instant.
//
// Four optional fields; a null QString (or an empty optional list) means
// "absent", which is different from an empty value. Values are copied in, so
// a caller can never change a record behind the tracking loop's back.
// Equality is field by field in the fixed order path components, document
// path, document title, window title; it decides when an interval ends.
// No lock: one thread writes a record at a time (see TRActivity).

#include <QString>
#include <QStringList>
#include <optional>

class TRActivityDetails final {
public:
    const QString& documentPath() const { return m_documentPath; }
    const QString& documentTitle() const { return m_documentTitle; }
    const QString& windowTitle() const { return m_windowTitle; }
    const std::optional<QStringList>& pathComponents() const { return m_pathComponents; }

    void setDocumentPath(const QString& value) { m_documentPath = value; }
    void setDocumentTitle(const QString& value) { m_documentTitle = value; }
    void setWindowTitle(const QString& value) { m_windowTitle = value; }
    void setPathComponents(const std::optional<QStringList>& value) { m_pathComponents = value; }

    // REQUIRES: nothing; a null other is never equal.
    bool isEqual(const TRActivityDetails* other) const;
    bool operator==(const TRActivityDetails& other) const { return isEqual(&other); }

    QString description() const;

private:
    QString m_documentPath;
    QString m_documentTitle;
    QString m_windowTitle;
    std::optional<QStringList> m_pathComponents;
};
