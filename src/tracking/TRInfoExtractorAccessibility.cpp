#include "TRInfoExtractorAccessibility.h"

#include <vector>

#include "UIElementUtilities.h"

namespace TRInfoExtractorAccessibility {
namespace {

// Sheets nest one or two deep; a longer chain is a tree whose parents loop.
constexpr int kMaximumSheetDepth = 16;

AccessibilityElementRef elementAttribute(const char* attribute,
                                         const AccessibilityElementRef& element) {
    const auto value =
        UIElementUtilities::valueOfAttribute(QString::fromLatin1(attribute), element);
    const AccessibilityElementRef* found =
        value ? std::get_if<AccessibilityElementRef>(&*value) : nullptr;
    return found ? *found : nullptr;
}

QString stringAttribute(const char* attribute, const AccessibilityElementRef& element) {
    const auto value =
        UIElementUtilities::valueOfAttribute(QString::fromLatin1(attribute), element);
    const QString* found = value ? std::get_if<QString>(&*value) : nullptr;
    return found ? *found : QString();
}

}  // namespace

AccessibilityElementRef windowBehindSheets(AccessibilityElementRef window) {
    const QLatin1String sheetRole(AccessibilityRole::kSheet);
    for (int depth = 0; window; ++depth) {
        if (UIElementUtilities::roleOfUIElement(window) != sheetRole) return window;
        if (depth == kMaximumSheetDepth) return nullptr;
        window = UIElementUtilities::parentOfUIElement(window);
    }
    return nullptr;
}

std::optional<TRActivityDetails> detailsOfFrontWindows(AccessibilityProvider* provider,
                                                       qint32 processIdentifier) {
    if (provider == nullptr || !provider->isEnabled()) return std::nullopt;
    const AccessibilityElementRef application = provider->applicationElement(processIdentifier);
    if (!application) return std::nullopt;

    std::vector<AccessibilityElementRef> windows;
    for (const char* attribute : {kMainWindowAttribute, kFocusedWindowAttribute}) {
        if (AccessibilityElementRef window = elementAttribute(attribute, application)) {
            windows.push_back(std::move(window));
        }
    }
    TRActivityDetails details;
    for (const AccessibilityElementRef& candidate : windows) {
        const AccessibilityElementRef window = windowBehindSheets(candidate);
        if (!window) continue;
        const QString title = stringAttribute(UIElementUtilities::kTitleAttribute, window);
        if (!title.isNull() && details.windowTitle().isNull()) details.setWindowTitle(title);
        const QString document = stringAttribute(kDocumentAttribute, window);
        if (!document.isNull() && details.documentPath().isNull())
            details.setDocumentPath(document);
    }
    return details;
}

}  // namespace TRInfoExtractorAccessibility
