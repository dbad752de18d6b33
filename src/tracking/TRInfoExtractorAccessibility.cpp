#include "tracking/TRInfoExtractorAccessibility.h"

#include "tracking/UIElementUtilities.h"

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

    // The focused window only fills what the main window left open, so it is
    // not asked for at all once the main window gave both (usually they are
    // the same window, and every question goes to the application).
    TRActivityDetails details;
    for (const char* attribute : {kMainWindowAttribute, kFocusedWindowAttribute}) {
        if (!details.windowTitle().isNull() && !details.documentPath().isNull()) break;
        const AccessibilityElementRef window =
            windowBehindSheets(elementAttribute(attribute, application));
        if (!window) continue;
        if (details.windowTitle().isNull()) {
            details.setWindowTitle(stringAttribute(UIElementUtilities::kTitleAttribute, window));
        }
        if (details.documentPath().isNull()) {
            details.setDocumentPath(stringAttribute(kDocumentAttribute, window));
        }
    }
    // An application that stopped answering on the way gave empty answers,
    // not its window's: no answer at all, so the caller keeps the last one.
    if (!provider->isAnswering(processIdentifier)) return std::nullopt;
    return details;
}

}  // namespace TRInfoExtractorAccessibility
