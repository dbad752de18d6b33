#pragma once
// Fake accessibility trees for unit tests.
//
// FakeAccessibilityElement lists exactly the attributes a test gives it.
// Fault switch: failCopyOf(attribute) keeps the attribute listed but makes
// its copy fail, as a hung or half-gone application does.
// FakeAccessibilityProvider maps process identifiers to application elements
// and can be switched off.
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
    // A window: role "AXWindow" and, when not null, a title and a document.
    static std::shared_ptr<FakeAccessibilityElement> window(const QString& title = QString(),
                                                            const QString& document = QString()) {
        auto element = create();
        element->set(QStringLiteral("AXRole"), QString::fromLatin1(AccessibilityRole::kWindow));
        if (!title.isNull()) element->set(QStringLiteral("AXTitle"), title);
        if (!document.isNull()) element->set(QStringLiteral("AXDocument"), document);
        return element;
    }
    // A sheet titled "sheet" with a document of its own, on `parent` (none: no parent at all).
    static std::shared_ptr<FakeAccessibilityElement> sheetOn(
        const AccessibilityElementRef& parent) {
        auto element = window(QStringLiteral("sheet"), QStringLiteral("file:///sheet"));
        element->set(QStringLiteral("AXRole"), QString::fromLatin1(AccessibilityRole::kSheet));
        if (parent) element->set(QStringLiteral("AXParent"), parent);
        return element;
    }

    void set(const QString& attribute, const AccessibilityValue& value) {
        std::lock_guard guard(m_lock);
        if (!m_values.contains(attribute)) m_names.append(attribute);
        m_values.insert(attribute, value);
    }
    void failCopyOf(const QString& attribute) {
        std::lock_guard guard(m_lock);
        m_failing.insert(attribute);
    }

    QStringList attributeNames() override {
        std::lock_guard guard(m_lock);
        return m_names;
    }
    std::optional<AccessibilityValue> copyAttributeValue(const QString& attribute) override {
        std::lock_guard guard(m_lock);
        const auto found = m_values.constFind(attribute);
        if (m_failing.contains(attribute) || found == m_values.cend()) return std::nullopt;
        return *found;
    }
    qint32 processIdentifier() override { return 0; }

private:
    std::mutex m_lock;
    QStringList m_names;  // in the order they were set
    QHash<QString, AccessibilityValue> m_values;
    QSet<QString> m_failing;
};

class FakeAccessibilityProvider final : public AccessibilityProvider {
public:
    void setEnabled(bool enabled) {
        std::lock_guard guard(m_lock);
        m_enabled = enabled;
    }
    void add(qint32 processIdentifier, const AccessibilityElementRef& application) {
        std::lock_guard guard(m_lock);
        m_applications.insert(processIdentifier, application);
    }

    bool isEnabled() override {
        std::lock_guard guard(m_lock);
        return m_enabled;
    }
    bool enable() override {
        setEnabled(true);
        return true;
    }
    AccessibilityElementRef applicationElement(qint32 processIdentifier) override {
        std::lock_guard guard(m_lock);
        return m_enabled ? m_applications.value(processIdentifier) : nullptr;
    }

private:
    std::mutex m_lock;
    bool m_enabled = true;
    QHash<qint32, AccessibilityElementRef> m_applications;
};
