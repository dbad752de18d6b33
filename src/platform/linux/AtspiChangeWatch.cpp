// The front application's change events: what lets a tick keep the window,
// document and location field it found, instead of clearing libatspi's
// cache and walking the tree again every second.
//
// Applications send events only of the kinds someone registered for. The
// kinds are the few that say the answer may have moved, never the per-node
// ones (children-changed, showing, a page's text changes): those arrive by
// the hundred in a busy page and would cost more than they save. Text
// changes are registered only while a file manager is in front (its
// location bar; a terminal or a page would send one per keystroke).
// Registration is for every application and the events of all but the one
// in front are dropped on arrival: libatspi's per-application registration
// crashes on the next event once that application has left the bus. Events
// queue on the accessibility bus connection until the next tick drains it,
// so they never wake the helper between ticks.

#include <QLoggingCategory>
#include <cstring>

#include "platform/linux/AtspiSession.h"

Q_DECLARE_LOGGING_CATEGORY(lcAtspi)

namespace {

// Top-levels coming, going, activated or renamed; a document loaded or
// renamed; the focus moving (a tab switch focuses the other tab's page).
constexpr const char* kChangeEvents[] = {"window:", "object:property-change:accessible-name",
                                         "document:load-complete", "document:reload",
                                         "object:state-changed:focused"};
constexpr const char* kTextEvents[] = {"object:text-changed"};

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// Which of the kept answers an event makes stale. The source is compared by
// identity: libatspi hands out one object per element.
void noteChange(AtspiApplicationState& state, const AtspiEvent& event) {
    AtspiApplicationState::Changes& changes = state.changes;
    const AtspiApplicationState::TickFront& tick = state.tickFront;
    const AtspiAccessible* source = event.source;
    const char* type = event.type;
    const bool isWindow = tick.window && source == tick.window.get();
    const bool isDocument = tick.document && source == tick.document.get();
    const bool isField = state.locationField && source == state.locationField->field.get();
    if (startsWith(type, "window:")) {
        ++changes.windows;
        ++changes.content;
        ++changes.location;
    } else if (startsWith(type, "document:")) {
        ++changes.content;
    } else if (startsWith(type, "object:property-change:accessible-name")) {
        // A tab switch renames the window; a navigation renames the
        // document; a file manager names its window after the folder.
        if (isWindow) ++changes.windows;
        if (isWindow || isDocument) ++changes.content;
        if (isWindow) ++changes.location;
    } else if (startsWith(type, "object:state-changed:focused")) {
        // The focus went elsewhere, perhaps to another tab's page: the
        // document is read again (the window stays found).
        ++changes.content;
    } else if (startsWith(type, "object:text-changed")) {
        if (isField) ++changes.location;
    }
    qCDebug(lcAtspi) << "process" << state.processIdentifier << "event" << type
                     << (isWindow ? "on the front window" : isDocument ? "on its document"
                                    : isField ? "on its location field" : "");
}

void onChange(AtspiEvent* event, void* data) {
    const auto& session = *static_cast<const AtspiAccessibilityProvider::Session*>(data);
    AtspiAccessible* front = session.watchedApplication.get();
    if (session.watched && front != nullptr &&
        (event->sender == front ||
         (front->parent.app != nullptr && event->source->parent.app == front->parent.app))) {
        noteChange(*session.watched, *event);
    }
    g_boxed_free(ATSPI_TYPE_EVENT, event);
}

template <size_t N>
bool registerFor(AtspiAccessibilityProvider::Session& session, const char* const (&types)[N]) {
    bool all = true;
    for (const char* type : types) {
        GError* error = nullptr;
        const bool registered =
            atspi_event_listener_register_from_callback(onChange, &session, nullptr, type, &error);
        if (error != nullptr) g_error_free(error);
        all = all && registered;
    }
    return all;
}

template <size_t N>
void deregisterFrom(AtspiAccessibilityProvider::Session& session, const char* const (&types)[N]) {
    for (const char* type : types) {
        GError* error = nullptr;
        atspi_event_listener_deregister_from_callback(onChange, &session, type, &error);
        if (error != nullptr) g_error_free(error);
    }
}

void forgetKept(AtspiApplicationState& state) {
    ++state.changes.windows;
    ++state.changes.content;
    ++state.changes.location;
}

}  // namespace

void AtspiAccessibilityProvider::Session::registerForChanges() {
    changeEvents = registerFor(*this, kChangeEvents);
    qCDebug(lcAtspi) << (changeEvents ? "watching the front application for changes"
                                      : "cannot watch applications for changes");
}

void AtspiAccessibilityProvider::Session::deregisterFromChanges() {
    if (changeEvents) deregisterFrom(*this, kChangeEvents);
    if (textEvents) deregisterFrom(*this, kTextEvents);
    changeEvents = textEvents = false;
}

// Whatever was kept was kept without events from the newly watched
// application: found again once. The one no longer watched keeps its finds
// for one tick at most, as without events.
void AtspiAccessibilityProvider::Session::watch(const std::shared_ptr<AtspiApplicationState>& state,
                                                AtspiAccessible* app) {
    if (watched == state) return;
    if (watched) {
        watched->changes.watched = watched->changes.textWatched = false;
        watched->tickFront = AtspiApplicationState::TickFront{};
    }
    watched = state;
    watchedApplication = retainAccessible(app);
    state->changes.watched = changeEvents;
    forgetKept(*state);
    watchText(state->changes.asksLocation);
}

void AtspiAccessibilityProvider::Session::watchLocation(AtspiApplicationState& state) {
    if (state.changes.asksLocation || watched.get() != &state) return;
    state.changes.asksLocation = true;
    watchText(true);
}

void AtspiAccessibilityProvider::Session::watchText(bool on) {
    if (on && changeEvents && !textEvents) textEvents = registerFor(*this, kTextEvents);
    if (!on && textEvents) {
        deregisterFrom(*this, kTextEvents);
        textEvents = false;
    }
    if (watched) {
        watched->changes.textWatched = on && textEvents;
        ++watched->changes.location;
    }
}

void AtspiAccessibilityProvider::Session::unwatch() {
    if (watched) watched->changes.watched = watched->changes.textWatched = false;
    watched.reset();
    watchedApplication.reset();
}
