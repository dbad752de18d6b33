#include "tracking/UIElementUtilities.h"

namespace UIElementUtilities {

std::optional<AccessibilityValue> valueOfAttribute(const QString& attribute,
                                                   const AccessibilityElementRef& element) {
    if (!element) return std::nullopt;
    // Asking for the names first spares the application a failing copy.
    if (!element->attributeNames().contains(attribute)) return std::nullopt;
    return element->copyAttributeValue(attribute);
}

QString roleOfUIElement(const AccessibilityElementRef& element) {
    const auto value = valueOfAttribute(QString::fromLatin1(kRoleAttribute), element);
    if (!value) return {};
    const QString* role = std::get_if<QString>(&*value);
    return role ? *role : QString();
}

AccessibilityElementRef parentOfUIElement(const AccessibilityElementRef& element) {
    const auto value = valueOfAttribute(QString::fromLatin1(kParentAttribute), element);
    if (!value) return nullptr;
    const AccessibilityElementRef* parent = std::get_if<AccessibilityElementRef>(&*value);
    return parent ? *parent : nullptr;
}

}  // namespace UIElementUtilities
