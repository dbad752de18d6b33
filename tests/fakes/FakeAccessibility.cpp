#include "FakeAccessibility.h"

std::shared_ptr<FakeAccessibilityElement> FakeAccessibilityElement::window(
    const QString& title, const QString& document) {
    auto element = create();
    element->set(QStringLiteral("AXRole"), QString::fromLatin1(AccessibilityRole::kWindow));
    if (!title.isNull()) element->set(QStringLiteral("AXTitle"), title);
    if (!document.isNull()) element->set(QStringLiteral("AXDocument"), document);
    return element;
}

std::shared_ptr<FakeAccessibilityElement> FakeAccessibilityElement::sheetOn(
    const AccessibilityElementRef& parent) {
    auto element = create();
    element->set(QStringLiteral("AXRole"), QString::fromLatin1(AccessibilityRole::kSheet));
    element->set(QStringLiteral("AXTitle"), QStringLiteral("sheet"));
    element->set(QStringLiteral("AXDocument"), QStringLiteral("file:///sheet"));
    element->set(QStringLiteral("AXParent"), parent);
    return element;
}

void FakeAccessibilityElement::set(const QString& attribute, const AccessibilityValue& value) {
    std::lock_guard guard(m_lock);
    if (!m_values.contains(attribute)) m_names.append(attribute);
    m_values.insert(attribute, value);
}

void FakeAccessibilityElement::remove(const QString& attribute) {
    std::lock_guard guard(m_lock);
    m_names.removeAll(attribute);
    m_values.remove(attribute);
}

void FakeAccessibilityElement::failCopyOf(const QString& attribute) {
    std::lock_guard guard(m_lock);
    m_failing.insert(attribute);
}

void FakeAccessibilityElement::setProcessIdentifier(qint32 processIdentifier) {
    std::lock_guard guard(m_lock);
    m_processIdentifier = processIdentifier;
}

int FakeAccessibilityElement::copyCount(const QString& attribute) const {
    std::lock_guard guard(m_lock);
    return m_copies.value(attribute);
}

QStringList FakeAccessibilityElement::attributeNames() {
    std::lock_guard guard(m_lock);
    return m_names;
}

std::optional<AccessibilityValue> FakeAccessibilityElement::copyAttributeValue(
    const QString& attribute) {
    std::lock_guard guard(m_lock);
    ++m_copies[attribute];
    if (m_failing.contains(attribute)) return std::nullopt;
    const auto found = m_values.constFind(attribute);
    if (found == m_values.cend()) return std::nullopt;
    return *found;
}

qint32 FakeAccessibilityElement::processIdentifier() {
    std::lock_guard guard(m_lock);
    return m_processIdentifier;
}

void FakeAccessibilityProvider::setEnabled(bool enabled) {
    std::lock_guard guard(m_lock);
    m_enabled = enabled;
}

void FakeAccessibilityProvider::setRefusesEnable(bool refuses) {
    std::lock_guard guard(m_lock);
    m_refusesEnable = refuses;
}

void FakeAccessibilityProvider::add(qint32 processIdentifier,
                                    const AccessibilityElementRef& application) {
    std::lock_guard guard(m_lock);
    m_applications.insert(processIdentifier, application);
}

int FakeAccessibilityProvider::applicationElementRequests() const {
    std::lock_guard guard(m_lock);
    return m_requests;
}

bool FakeAccessibilityProvider::isEnabled() {
    std::lock_guard guard(m_lock);
    return m_enabled;
}

bool FakeAccessibilityProvider::enable() {
    std::lock_guard guard(m_lock);
    if (m_refusesEnable) return false;
    m_enabled = true;
    return true;
}

AccessibilityElementRef FakeAccessibilityProvider::applicationElement(qint32 processIdentifier) {
    std::lock_guard guard(m_lock);
    ++m_requests;
    if (!m_enabled) return nullptr;
    return m_applications.value(processIdentifier);
}
