#pragma once
// AtspiAccessibilityProvider: accessibility elements over AT-SPI (libatspi).
//
// What the extraction logic asks for, and where it comes from:
//   application element   the AT-SPI application whose process id matches
//   "AXMainWindow"        the application's top-level child whose name is the
//                         title the window manager shows for the window in
//                         front (noteFrontWindowTitle), else the one with state
//                         ACTIVE, else its first showing frame
//   "AXFocusedWindow"     the top-level child with state ACTIVE: the desktop
//                         marks the top-level that holds keyboard focus active,
//                         so this stands in for "the window holding the focused
//                         descendant" without walking the tree for it
//   "AXTitle"             the window's accessible name
//   "AXDocument"          the "DocURL" (Firefox, document viewers) or "URI"
//                         (Chromium) document attribute (all attributes read
//                         in one call) of the window's
//                         document: the targets of its EMBEDS relation first,
//                         else the first descendant implementing Document:
//                         one Collection request, or a bounded breadth-first
//                         walk where the application offers no Collection
//   "AXRole"              "AXApplication"; "AXWindow" for frames and windows;
//                         "AXSheet" for a modal dialog or file chooser, or an
//                         alert
//   "AXParent"            a sheet's window: the top-level named as the window
//                         the dialog is attached to (WM_TRANSIENT_FOR, from
//                         the DialogOwnerSource), else the application's first
//                         other frame; a window's application
//   "AXDescription"       the accessible description
//   "AXPosition", "AXSize" the window's screen extents
//   actions               the Action interface's, by name; nothing is settable
//   mail selection        the selected message rows and folder item of the
//                         window in front (one Collection request), as
//                         MailListShapes.h describes each client's list
//
// Thread: libatspi is not thread-safe. Every AT-SPI call, including the
// release of elements, happens on the one thread that made the first call
// (the tracking worker); debug builds assert it. That thread owns a private
// GLib main context which `processPendingEvents` drains without blocking,
// so the Qt main loop never dispatches AT-SPI traffic. libatspi is one per
// process: so is this provider. Elements must not outlive it. Every call is bounded
// by a 250 ms timeout; an application that times out is left alone for the
// rest of the tick, then longer (5 s up to 30 s) after further timeouts
// without an answer in between (AnswerBackoff), so a hung program costs one bounded
// call every half minute; a stopped one (read from /proc) is not asked
// until it runs again, and `isAnswering` tells the caller either way.
// Meanwhile window 1 of `document` and `windowName` answers what it answered
// last for the same window-manager title. The window in front
// and what was read of it (its name, its document's address, a location
// bar's text) are kept while the application in front reports no change
// that could move them (AtspiChangeWatch.cpp: its window, name, document,
// focus and, for file managers, text events, drained at each tick), and at
// most a minute; an application that cannot be watched keeps them for one
// tick (a new application element starts the next). So a steady tick asks
// the application nothing, and the accessibility step and the extractor
// never ask it the same thing twice. `isEnabled` and `enable` use the session
// bus and may be called from any thread.

#include <QString>
#include <memory>
#include <optional>

#include "platform/AccessibilityElement.h"
#include "platform/MailSelectionSource.h"
#include "platform/WindowDocumentSource.h"
#include "platform/WindowLocationSource.h"
#include "platform/linux/AtspiEnabledSwitch.h"
#include "platform/linux/DialogOwners.h"

class AtspiAccessibilityProvider final : public AccessibilityProvider,
                                         public WindowDocumentSource,
                                         public WindowLocationSource,
                                         public MailSelectionSource {
public:
    // `dialogOwners` (borrowed, may be null) tells which window a dialog
    // belongs to; it must outlive the provider.
    explicit AtspiAccessibilityProvider(DialogOwnerSource* dialogOwners = nullptr);
    ~AtspiAccessibilityProvider() override;
    AtspiAccessibilityProvider(const AtspiAccessibilityProvider&) = delete;
    AtspiAccessibilityProvider& operator=(const AtspiAccessibilityProvider&) = delete;

    bool isEnabled() override;
    bool enable() override;
    AccessibilityElementRef applicationElement(qint32 processIdentifier) override;
    void noteFrontWindowTitle(qint32 processIdentifier, const QString& title) override;
    bool isAnswering(qint32 processIdentifier) override;

    // Handles what the accessibility bus sent meanwhile; never blocks.
    void processPendingEvents();

    // For the scripting target: the document shown in a window and the
    // window's accessible name.
    std::optional<DocumentInfo> document(qint32 processIdentifier, int windowIndex) override;
    std::optional<QString> windowName(qint32 processIdentifier, int windowIndex) override;
    std::optional<QString> applicationName(qint32 processIdentifier) override;

    // For file managers: the first showing text field of the window's tool
    // bars (Thunar's and PCManFM's location bar).
    std::optional<QString> locationText(qint32 processIdentifier, int windowIndex) override;

    // For mail clients: the selected messages of the front window's list
    // (AtspiMailSelection.cpp, shapes in MailListShapes.h).
    std::optional<Selection> mailSelection(qint32 processIdentifier) override;

    struct Session;

private:
    std::unique_ptr<Session> d;
    // Not asked once a tick: asking costs a session-bus round trip.
    AtspiEnabledSwitch m_enabled;
};
