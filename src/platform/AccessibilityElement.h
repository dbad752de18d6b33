#pragma once
// Accessibility elements: what an application tells assistive technology.
//
// A small, display-server-neutral model of an accessibility tree. Attributes
// carry the names the extraction logic asks for:
//   "AXMainWindow", "AXFocusedWindow"  -> element (on an application element)
//   "AXTitle"                          -> string  (a window's name)
//   "AXDocument"                       -> string  (a document address, e.g. "file:///..." or "https://...")
//   "AXRole"                           -> string  ("AXApplication", "AXWindow", "AXSheet", ...)
//   "AXParent"                         -> element
//   "AXDescription"                    -> string
// An implementation lists only the attributes an element really has.
//
// Thread: every call on one element, and on the provider, comes from one
// thread (the tracking worker); calls block for at most the implementation's
// timeout (250 ms on Linux) when an application hangs.

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

class AccessibilityElement;
using AccessibilityElementRef = std::shared_ptr<AccessibilityElement>;

struct AXPoint final { double x = 0, y = 0; };
struct AXSize final { double width = 0, height = 0; };
struct AXRect final { double x = 0, y = 0, width = 0, height = 0; };
struct AXRange final { long position = 0, length = 0; };

using AccessibilityValue =
    std::variant<QString, double, bool, AccessibilityElementRef,
                 std::vector<AccessibilityElementRef>, AXPoint, AXSize, AXRect, AXRange>;

namespace AccessibilityRole {
inline constexpr char kApplication[] = "AXApplication";
inline constexpr char kWindow[] = "AXWindow";
inline constexpr char kSheet[] = "AXSheet";
}  // namespace AccessibilityRole

class AccessibilityElement {
public:
    virtual ~AccessibilityElement() = default;

    virtual QStringList attributeNames() = 0;
    // nullopt when the attribute is missing or its read failed.
    virtual std::optional<AccessibilityValue> copyAttributeValue(const QString& attribute) = 0;
    // 0 when unknown.
    virtual qint32 processIdentifier() = 0;
};

class AccessibilityProvider {
public:
    virtual ~AccessibilityProvider() = default;

    // Whether the desktop's accessibility service is on.
    virtual bool isEnabled() = 0;
    // Asks the desktop to switch accessibility on; false when it refused.
    virtual bool enable() = 0;
    // The application element of a process, or nullptr when the process does
    // not expose one.
    virtual AccessibilityElementRef applicationElement(qint32 processIdentifier) = 0;

    // The title the window manager shows for the process's window in front,
    // before that process's windows are asked about. An application's own
    // "active" marks can lag behind (a browser's new private window stays
    // unmarked while the old one keeps the mark), so the window whose
    // accessible name is this title, or this title and a parenthesised
    // word, stands for the window in front; an empty title forgets it.
    virtual void noteFrontWindowTitle(qint32 processIdentifier, const QString& title) {
        (void)processIdentifier;
        (void)title;
    }

    // Whether the process's application answers: false while it is left
    // alone after missing a timeout, or is stopped. Its elements then answer
    // nothing, which says nothing about what it shows. Asked after reading
    // its elements, it tells whether the answers read were complete.
    virtual bool isAnswering(qint32 processIdentifier) {
        (void)processIdentifier;
        return true;
    }
};
