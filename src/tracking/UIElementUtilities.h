#pragma once
// UIElementUtilities: small helpers over accessibility elements.
//
// The tracking path reads the front window's title and document through
// them. None of them fails loudly: a null element, an attribute that the
// element does not list, or a read that fails yields nothing.
//
// Thread: like the elements themselves, the tracking worker; each call may
// block for the platform's accessibility timeout.

#include <QString>
#include <QStringList>
#include <optional>

#include "platform/AccessibilityElement.h"

namespace UIElementUtilities {

inline constexpr char kRoleAttribute[] = "AXRole";
inline constexpr char kParentAttribute[] = "AXParent";
inline constexpr char kTitleAttribute[] = "AXTitle";

// The value, or nothing unless `attribute` is among the element's attribute
// names and its copy succeeds. An unlisted attribute is never copied.
std::optional<AccessibilityValue> valueOfAttribute(const QString& attribute,
                                                   const AccessibilityElementRef& element);
// Null unless the role is a string.
QString roleOfUIElement(const AccessibilityElementRef& element);
// Null unless the parent is an element.
AccessibilityElementRef parentOfUIElement(const AccessibilityElementRef& element);

}  // namespace UIElementUtilities
