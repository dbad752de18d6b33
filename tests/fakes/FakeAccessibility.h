#pragma once
// Fake accessibility trees for unit tests.
//
// FakeAccessibilityElement lists exactly the attributes a test gives it and
// counts its copies, so a test can tell that an unlisted attribute was never
// copied. Fault switches: failCopyOf(attribute) keeps the attribute listed
// but makes its copy fail, as a hung or half-gone application does.
// FakeAccessibilityProvider maps process identifiers to application elements
// and can be switched off or made to refuse enable().
//
// Thread: any, one call at a time per object (each object has a lock), so
// a test may set values on the main thread while a worker reads them.

#include <QHash>
#include <QSet>
#include <mutex>

#include "platform/AccessibilityElement.h"

class FakeAccessibilityElement final : public AccessibilityElement {
public:
    static std::shared_ptr<FakeAccessibilityElement> create() {
        return std::make_shared<FakeAccessibilityElement>();
    }
    // A window: role "AXWindow" and, when not null, a title.
    static std::shared_ptr<FakeAccessibilityElement> window(const QString& title = QString(),
                                                            const QString& document = QString());
    static std::shared_ptr<FakeAccessibilityElement> sheetOn(const AccessibilityElementRef& parent);

    void set(const QString& attribute, const AccessibilityValue& value);
    void remove(const QString& attribute);
    void failCopyOf(const QString& attribute);
    void setProcessIdentifier(qint32 processIdentifier);
    int copyCount(const QString& attribute) const;

    QStringList attributeNames() override;
    std::optional<AccessibilityValue> copyAttributeValue(const QString& attribute) override;
    qint32 processIdentifier() override;

private:
    mutable std::mutex m_lock;
    QStringList m_names;  // in the order they were set
    QHash<QString, AccessibilityValue> m_values;
    QSet<QString> m_failing;
    QHash<QString, int> m_copies;
    qint32 m_processIdentifier = 0;
};

class FakeAccessibilityProvider final : public AccessibilityProvider {
public:
    void setEnabled(bool enabled);
    void setRefusesEnable(bool refuses);
    void add(qint32 processIdentifier, const AccessibilityElementRef& application);
    int applicationElementRequests() const;

    bool isEnabled() override;
    bool enable() override;
    AccessibilityElementRef applicationElement(qint32 processIdentifier) override;

private:
    mutable std::mutex m_lock;
    bool m_enabled = true;
    bool m_refusesEnable = false;
    QHash<qint32, AccessibilityElementRef> m_applications;
    int m_requests = 0;
};
