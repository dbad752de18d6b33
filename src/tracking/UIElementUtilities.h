#pragma once
// UIElementUtilities: small helpers over accessibility elements.
//
// The tracking path uses three of them to read the front window's title and
// document: valueOfAttribute(), roleOfUIElement() and parentOfUIElement().
// None of them fails loudly: a null element, an attribute that the element
// does not list, or a read that fails yields nothing.
//
// The others serve diagnosis (what does this element expose?) and produce
// fixed texts so that their output can be compared. The screen-geometry
// helpers of other desktops (a frame flipped against the first screen) have
// no counterpart: the accessibility model here has no screen.
//
// Thread: like the elements themselves, the tracking worker (or the one
// thread of a diagnostic command); each call may block for the platform's
// accessibility timeout.

#include <QString>
#include <QStringList>
#include <optional>

#include "platform/AccessibilityElement.h"

namespace UIElementUtilities {

inline constexpr char kRoleAttribute[] = "AXRole";
inline constexpr char kParentAttribute[] = "AXParent";
inline constexpr char kTitleAttribute[] = "AXTitle";
inline constexpr char kDescriptionAttribute[] = "AXDescription";

// --- On the tracking path -------------------------------------------------

// The value, or nothing unless `attribute` is among the element's attribute
// names and its copy succeeds. An unlisted attribute is never copied.
std::optional<AccessibilityValue> valueOfAttribute(const QString& attribute,
                                                   const AccessibilityElementRef& element);
// Null unless the role is a string.
QString roleOfUIElement(const AccessibilityElementRef& element);
// Null unless the parent is an element.
AccessibilityElementRef parentOfUIElement(const AccessibilityElementRef& element);

// --- Diagnosis --------------------------------------------------------------

// 0 on error.
qint32 processIdentifierOfUIElement(const AccessibilityElementRef& element);
// Nothing for a null element.
std::optional<QStringList> attributeNamesOfUIElement(const AccessibilityElementRef& element);
std::optional<QStringList> actionNamesOfUIElement(const AccessibilityElementRef& element);
QString descriptionOfAction(const QString& action, const AccessibilityElementRef& element);
void performAction(const QString& action, const AccessibilityElementRef& element);
bool canSetAttribute(const QString& attribute, const AccessibilityElementRef& element);
QString titleOfUIElement(const AccessibilityElementRef& element);
bool isApplicationUIElement(const AccessibilityElementRef& element);

// Parses `string` by the kind of the attribute's current value: a point
// "x=%g y=%g", a size "w=%g h=%g", a rectangle "x=%g y=%g w=%g h=%g", a range
// "pos=%ld len=%ld", a string as it is, any other number as a float (a
// boolean: true unless the number is 0); then sets it. Fields that do not
// parse are 0. Other kinds, or no current value: nothing is set.
void setStringValue(const QString& string, const QString& attribute,
                    const AccessibilityElementRef& element);

// "<AXPointValue x=%g y=%g>" and the like; terse forms without the brackets;
// "AXValue???" for anything that is not a point, size, rectangle or range.
QString stringDescriptionOfAXValue(const AccessibilityValue& value, bool verbose);
// Null for nothing; geometry as above; a list "<array of size %d>"; an
// element "<ROLE: “TITLE”>" or "<ROLE>"; a string as it is; a number as
// printed by QString::number; a boolean "1" or "0".
QString descriptionOfValue(const std::optional<AccessibilityValue>& value, bool verbose);

// Terse descriptions from the root of the element's tree down to it.
QStringList lineageOfUIElement(const AccessibilityElementRef& element);
// One line per level, each indented by one more blank.
QString lineageDescriptionOfUIElement(const AccessibilityElementRef& element);
// Lineage, then "Attributes:" (" (W)" marks settable ones), then "Actions:".
QString stringDescriptionOfUIElement(const AccessibilityElementRef& element);
// The description attribute, or "No Description" when missing or empty.
QString descriptionOfAXDescriptionOfUIElement(const AccessibilityElementRef& element);

}  // namespace UIElementUtilities
