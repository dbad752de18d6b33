#pragma once
// TRInfoExtractorAccessibility: the front windows of an application as its
// accessibility tree describes them.
//
// Reads the application element's main window, then its focused window (the
// same window may come twice). A sheet stands for the window it is attached
// to: while a window's role is the sheet role it is replaced by its parent,
// and a window that thereby runs out of parents is skipped. From each window
// in that order the title ("AXTitle") and the document ("AXDocument", kept
// unchanged, e.g. "file:///..." or "https://...") fill whatever is still
// absent, so the main window wins and the focused window only completes it.
//
// Thread: the tracking worker (each read may wait for the accessibility
// timeout). Stateless.

#include <optional>

#include "platform/AccessibilityElement.h"
#include "core/TRActivityDetails.h"

namespace TRInfoExtractorAccessibility {

inline constexpr char kMainWindowAttribute[] = "AXMainWindow";
inline constexpr char kFocusedWindowAttribute[] = "AXFocusedWindow";
inline constexpr char kDocumentAttribute[] = "AXDocument";

// Nothing when accessibility is off (or there is no provider), the process
// exposes no application element, or it stopped answering (a timeout, or a
// stopped process) before the details were read in full; else the details
// found, at most windowTitle and documentPath, possibly none of them.
std::optional<TRActivityDetails> detailsOfFrontWindows(AccessibilityProvider* provider,
                                                       qint32 processIdentifier);

// The window a sheet (or a sheet on a sheet) is attached to; the window
// itself when it is no sheet; null when the walk runs out of parents.
AccessibilityElementRef windowBehindSheets(AccessibilityElementRef window);

}  // namespace TRInfoExtractorAccessibility
