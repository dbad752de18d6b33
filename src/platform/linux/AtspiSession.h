#pragma once
// Internal to the AT-SPI implementation: included only by its .cpp files,
// never by another header, so GLib and AT-SPI types stay inside this folder.
//
// AtspiQuery makes bounded calls on one application's accessibles and stops
// asking an application that timed out (AtspiApplicationState remembers it
// across ticks). Thread: the AT-SPI thread only.

#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

#include "platform/linux/AnswerBackoff.h"
#include "platform/linux/AtspiAccessibility.h"

// GLib and AT-SPI last: GLib's headers clash with Qt's keywords.
#include <atspi/atspi.h>

struct MailListShape;

struct GObjectUnref final {
    void operator()(void* object) const {
        if (object != nullptr) g_object_unref(object);
    }
};
template <class T>
using GRef = std::unique_ptr<T, GObjectUnref>;
using AccessiblePtr = GRef<AtspiAccessible>;

inline AccessiblePtr retainAccessible(AtspiAccessible* accessible) {
    if (accessible != nullptr) g_object_ref(accessible);
    return AccessiblePtr(accessible);
}

// Whether an application answers, and what it answered last. After a call
// that timed out the application is left alone for a while (AnswerBackoff:
// the rest of the tick first, half a minute at most), so a hung program
// cannot slow every tick, and a busy one loses only the tick it was busy in.
struct AtspiApplicationState final {
    qint32 processIdentifier = 0;
    AnswerBackoff backoff;
    QElapsedTimer stopCheckedAt;
    // The window manager's title of the process's window in front; empty
    // when unknown.
    QString frontWindowTitle;
    // What window 1 answered last, for the title it was in front with:
    // while the application is left alone, the same window in front gives
    // the same answer instead of none. A different title forgets it.
    struct FrontAnswer final {
        QString title;
        std::optional<QString> windowName;
        std::optional<WindowDocumentSource::DocumentInfo> document;
    };
    std::optional<FrontAnswer> lastFront;
    std::optional<QString> applicationName;
    // The window in front as found in this tick, with what was read of it:
    // the accessibility step and the extractor ask about the same window
    // several times within one tick, and every question is a round trip to
    // the application. Started afresh (with the application's cache
    // cleared) by the first question of a tick.
    struct TickFront final {
        // Longer than the slowest walk of one tick (a large tree without a
        // document takes seconds on a loaded machine); a new tick starts
        // afresh anyway.
        static constexpr qint64 kLifetimeMs = 3000;
        // While the application's changes are watched, what was found stays
        // until an event says it moved, checked afresh after this long in
        // case an event went missing.
        static constexpr qint64 kWatchedLifetimeMs = 60000;
        QElapsedTimer foundAt;  // invalid: nothing found yet this tick
        QString title;          // the window manager's title it was found for
        quint64 windowsSeen = 0;  // Changes::windows when it was found
        quint64 contentSeen = 0;  // Changes::content when the document was read
        AccessiblePtr window;   // null: the application shows no window
        bool named = false;     // its name is the window manager's title
        std::optional<QString> name;
        bool documentRead = false;
        AccessiblePtr document;
        std::optional<QString> documentAddress;
        std::optional<QString> documentName;
    };
    TickFront tickFront;
    // A file manager's location bar in the window in front, once found: each
    // tick asks whether it still shows and what it says (two round trips)
    // instead of searching the window again (a Collection request and a
    // dozen parent steps), until another window is in front or the field
    // stops showing.
    struct LocationField final {
        AccessiblePtr window;
        AccessiblePtr field;
        // Its text, while no change was reported since (Changes::location).
        std::optional<QString> text;
        quint64 seen = 0;
    };
    std::optional<LocationField> locationField;
    // The one selected message last read, by its row's accessible name
    // (which shows sender, date and subject): its parts are read again only
    // when another row is selected.
    struct MailRow final {
        QString rowName;
        MailSelectionSource::Message message;
    };
    std::optional<MailRow> lastMailRow;
    // What the application reported since it was last read
    // (AtspiChangeWatch.cpp). Each counter moves when an event makes the
    // kept answers of its kind stale.
    struct Changes final {
        bool watched = false;       // its change events reach this process
        bool asksLocation = false;  // it was asked for a location bar's text
        bool textWatched = false;   // and its text changes reach this process
        quint64 windows = 0;        // top-levels came, went, were activated or renamed
        quint64 content = 0;        // the front window's document loaded, renamed, lost focus
        quint64 location = 0;       // the location field's text changed
    };
    Changes changes;

    bool tickFrontFresh() const {
        if (!tickFront.foundAt.isValid() || tickFront.title != frontWindowTitle) return false;
        if (!changes.watched) return tickFront.foundAt.elapsed() < TickFront::kLifetimeMs;
        return tickFront.windowsSeen == changes.windows &&
               tickFront.foundAt.elapsed() < TickFront::kWatchedLifetimeMs;
    }
    bool tickDocumentFresh() const {
        return tickFront.documentRead && (!changes.watched || tickFront.contentSeen == changes.content);
    }

    bool responsive() const { return backoff.mayAsk(nowMs()); }
    // A stopped process (SIGSTOP, a debugger) cannot answer: it is left
    // alone without waiting for a timeout, until it runs again. Reads
    // /proc/PID/stat.
    bool checkNotStopped();
    void markSilent() { backoff.noteTimeout(nowMs()); }
    // It answered questions asked past libatspi's cache.
    void markAnswered() { backoff.noteAnswer(); }
    static qint64 nowMs() {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    // The remembered answer for the window now in front, or null.
    FrontAnswer* rememberedFront() {
        if (!lastFront || frontWindowTitle.isEmpty() || lastFront->title != frontWindowTitle) {
            return nullptr;
        }
        return &*lastFront;
    }
    FrontAnswer& frontToRemember() {
        if (!lastFront || lastFront->title != frontWindowTitle) {
            lastFront = FrontAnswer{frontWindowTitle, {}, {}};
        }
        return *lastFront;
    }
};

class AtspiQuery final {
public:
    explicit AtspiQuery(AtspiApplicationState& state) : m_state(state) {}

    bool responsive() const { return m_state.responsive(); }
    int childCount(AtspiAccessible* object);
    AccessiblePtr child(AtspiAccessible* object, int index);
    std::optional<AtspiRole> role(AtspiAccessible* object);
    bool hasState(AtspiAccessible* object, AtspiStateType state);
    std::optional<QString> name(AtspiAccessible* object);
    std::optional<QString> description(AtspiAccessible* object);
    std::vector<AccessiblePtr> relationTargets(AtspiAccessible* object, AtspiRelationType type);

    // Top-level windows of an application: the active one first, then the
    // other showing ones in the application's order.
    std::vector<AccessiblePtr> topLevels(AtspiAccessible* application);
    AccessiblePtr activeTopLevel(AtspiAccessible* application);
    AccessiblePtr mainWindow(AtspiAccessible* application);
    AccessiblePtr windowAt(AtspiAccessible* application, int index);  // 1-based, -1 last
    // The window in front, found once a tick (AtspiApplicationState::TickFront):
    // the top-level named as the window manager names the window in front,
    // else the active one, else the first showing one. Clears the
    // application's cache when it starts a new tick.
    AtspiApplicationState::TickFront& front(AtspiAccessible* application);
    // The document shown in a window and its address and name; read once a
    // tick for the window in front.
    struct DocumentFacts final {
        AccessiblePtr document;
        std::optional<QString> address;
        std::optional<QString> name;
    };
    DocumentFacts documentOf(AtspiAccessible* window);
    bool isSheet(AtspiAccessible* window);
    // The document shown in a window, or nullptr; bounded in depth and count.
    AccessiblePtr findDocument(AtspiAccessible* window);
    // The first showing text field inside a tool bar of the window (one
    // Collection request, then a few parent steps per field); nullptr when
    // it has none.
    AccessiblePtr toolBarField(AtspiAccessible* window);
    // The text the object shows, without embedded-object marks, trimmed.
    std::optional<QString> shownText(AtspiAccessible* object);
    // The selected messages and folder of a mail client's window
    // (AtspiMailSelection.cpp); nullopt when it shows no list known there.
    std::optional<MailSelectionSource::Selection> mailSelection(AtspiAccessible* window);
    // "DocURL", else "URI"; nullopt when the object is not a document.
    std::optional<QString> documentAddress(AtspiAccessible* document);
    // Position and size on the screen (the Component interface).
    std::optional<AXRect> extents(AtspiAccessible* object);

private:
    // How a top-level's accessible name relates to the window manager's
    // title of the window in front: the title itself, or the title and a
    // parenthesised word (a private window's mark).
    enum class FrontMatch { None, Exact, Marked };
    FrontMatch frontMatch(AtspiAccessible* window);
    bool isFrontWindow(AtspiAccessible* window) { return frontMatch(window) != FrontMatch::None; }
    // Takes the outcome of one libatspi call; a failure that took most of
    // the timeout marks the application silent. Frees `error`.
    void noteCall(const QElapsedTimer& timer, GError* error, bool failedWithoutError = false);
    bool isDocument(AtspiAccessible* object);
    std::optional<AccessiblePtr> findDocumentByCollection(AtspiAccessible* window);
    AccessiblePtr firstTopLevel(AtspiAccessible* application, bool activeOnly);
    // Descendants matching `rule` (one Collection request), at most `limit`.
    std::vector<AccessiblePtr> matches(AtspiAccessible* within, AtspiMatchRule* rule, int limit);
    std::optional<QString> attribute(AtspiAccessible* object, const char* key);
    MailSelectionSource::Message messageOfRow(AtspiAccessible* row, const MailListShape& shape);

    AtspiApplicationState& m_state;
    // The last name read, so finding the window in front and naming it cost
    // one question. Borrowed pointer: compared, never used.
    std::pair<AtspiAccessible*, QString> m_lastName{nullptr, {}};
};

struct AtspiAccessibilityProvider::Session final {
    std::thread::id thread;
    bool started = false;
    bool available = false;
    GMainContext* context = nullptr;
    std::unordered_map<qint32, AccessiblePtr> applications;
    std::unordered_map<qint32, std::shared_ptr<AtspiApplicationState>> states;
    // The one application whose change events are watched: the one in front
    // (AtspiChangeWatch.cpp).
    std::shared_ptr<AtspiApplicationState> watched;
    AccessiblePtr watchedApplication;
    bool changeEvents = false;  // registered for the change events
    bool textEvents = false;    // and for text changes
    // A pid looked for in vain, with the list's generation and the time then.
    struct Miss final {
        quint64 generation = 0;
        QElapsedTimer at;
    };
    std::unordered_map<qint32, Miss> misses;
    // Counts the connections that came or went on the accessibility bus
    // (an application joining connects first), the latest at
    // `listChangedAt`; watched while `listWatched`.
    quint64 listGeneration = 0;
    QElapsedTimer listChangedAt;
    bool listWatched = false;
    DialogOwnerSource* dialogOwners = nullptr;         // borrowed; may be null

    // Connects on the calling thread the first time; false when there is no
    // accessibility bus.
    bool ensureStarted();
    void assertThread() const;
    void drain();
    AtspiAccessible* application(qint32 processIdentifier);  // borrowed
    bool mayLookAgain(const Miss& miss) const;
    void watchApplicationList();
    void unwatchApplicationList();
    std::shared_ptr<AtspiApplicationState> state(qint32 processIdentifier);
    // Moves the change watch to this application (the one now in front).
    void watch(const std::shared_ptr<AtspiApplicationState>& state, AtspiAccessible* app);
    // The watched application is asked for its location bar: its text
    // changes are watched too, until another application is in front.
    void watchLocation(AtspiApplicationState& state);
    void watchText(bool on);
    void unwatch();
    void registerForChanges();
    void deregisterFromChanges();
    void forget(qint32 processIdentifier);
    // Where every question about a process starts: its application (borrowed)
    // and state, with the session up and its events drained; none for no
    // process, no accessibility bus or no such application.
    struct Asked {
        AtspiAccessible* app;
        std::shared_ptr<AtspiApplicationState> state;
    };
    std::optional<Asked> ask(qint32 processIdentifier);
};

// The element behind AccessibilityElementRef; AtspiElement.cpp.
AccessibilityElementRef makeAtspiApplicationElement(AtspiAccessibilityProvider::Session& session,
                                                    std::shared_ptr<AtspiApplicationState> state,
                                                    AtspiAccessible* application);
