#include <algorithm>
#include <QLoggingCategory>
#include <deque>

#include "platform/linux/AtspiSession.h"
#include "platform/linux/ProcessFacts.h"

Q_DECLARE_LOGGING_CATEGORY(lcAtspi)

namespace {

// A call that fails after this long was a timeout, not a quick refusal.
constexpr qint64 kSilentAfterMs = 200;
// The document walk: enough for a browser or viewer window, bounded so a
// huge tree (a spreadsheet, a long page) cannot stall the worker.
constexpr int kMaxWalkDepth = 8;
constexpr int kMaxWalkNodes = 150;
constexpr int kMaxChildrenPerNode = 40;

QString takeString(gchar* text) {
    QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

bool isTopLevelRole(AtspiRole role) {
    return role == ATSPI_ROLE_FRAME || role == ATSPI_ROLE_WINDOW || role == ATSPI_ROLE_DIALOG ||
           role == ATSPI_ROLE_ALERT || role == ATSPI_ROLE_FILE_CHOOSER;
}

}  // namespace

bool AtspiApplicationState::checkNotStopped() {
    // Asked before every question; the process table is read at most every
    // few tens of milliseconds, so one tick reads it about once.
    constexpr qint64 kRecheckAfterMs = 50;
    if (stopCheckedAt.isValid() && stopCheckedAt.elapsed() < kRecheckAfterMs) return responsive();
    stopCheckedAt.start();
    const QByteArray stat = ProcFiles::read(QStringLiteral("/proc/") +
                                            QString::number(processIdentifier) +
                                            QStringLiteral("/stat"));
    const QByteArrayView state = ProcessIdentity::statField(stat, 3);
    backoff.noteStopped(state == "T" || state == "t");
    return responsive();
}

// A call that failed after most of the timeout was a timeout; a slow
// answer from a busy application is still an answer. Only time ends a
// silence: answers from libatspi's cache say nothing about whether the
// application itself is listening.
void AtspiQuery::noteCall(const QElapsedTimer& timer, GError* error, bool failedWithoutError) {
    const bool failed = error != nullptr || failedWithoutError;
    if (failed && timer.elapsed() >= kSilentAfterMs) {
        qCDebug(lcAtspi) << "process" << m_state.processIdentifier << "took" << timer.elapsed()
                         << "ms to answer; leaving it alone for a while";
        m_state.markSilent();
    }
    if (error != nullptr) g_error_free(error);
}

int AtspiQuery::childCount(AtspiAccessible* object) {
    if (!responsive()) return 0;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    const int count = atspi_accessible_get_child_count(object, &error);
    // A timed-out count comes back as -1, not always with an error.
    noteCall(timer, error, count < 0);
    return count < 0 ? 0 : count;
}

AccessiblePtr AtspiQuery::child(AtspiAccessible* object, int index) {
    if (!responsive()) return nullptr;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    AccessiblePtr result(atspi_accessible_get_child_at_index(object, index, &error));
    noteCall(timer, error);
    return result;
}

std::optional<AtspiRole> AtspiQuery::role(AtspiAccessible* object) {
    if (!responsive()) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    const AtspiRole result = atspi_accessible_get_role(object, &error);
    const bool failed = error != nullptr;
    noteCall(timer, error);
    if (failed) return std::nullopt;
    return result;
}

bool AtspiQuery::hasState(AtspiAccessible* object, AtspiStateType state) {
    if (!responsive()) return false;
    QElapsedTimer timer;
    timer.start();
    GRef<AtspiStateSet> states(atspi_accessible_get_state_set(object));
    // This call reports no error: an empty set is its failure.
    noteCall(timer, nullptr, states == nullptr || atspi_state_set_is_empty(states.get()));
    return states != nullptr && atspi_state_set_contains(states.get(), state);
}

std::optional<QString> AtspiQuery::name(AtspiAccessible* object) {
    AtspiApplicationState::TickFront& tick = m_state.tickFront;
    if (tick.name && object == tick.window.get() && m_state.tickFrontFresh()) return tick.name;
    if (!responsive()) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    gchar* text = atspi_accessible_get_name(object, &error);
    const bool failed = error != nullptr || text == nullptr;
    noteCall(timer, error);
    if (failed) return std::nullopt;
    m_lastName = {object, takeString(text)};
    return m_lastName.second;
}

std::optional<QString> AtspiQuery::description(AtspiAccessible* object) {
    if (!responsive()) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    gchar* text = atspi_accessible_get_description(object, &error);
    const bool failed = error != nullptr || text == nullptr;
    noteCall(timer, error);
    if (failed) return std::nullopt;
    return takeString(text);
}

std::vector<AccessiblePtr> AtspiQuery::relationTargets(AtspiAccessible* object,
                                                       AtspiRelationType type) {
    std::vector<AccessiblePtr> targets;
    if (!responsive()) return targets;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    GArray* relations = atspi_accessible_get_relation_set(object, &error);
    noteCall(timer, error);
    if (relations == nullptr) return targets;
    for (guint i = 0; i < relations->len; ++i) {
        AtspiRelation* relation = g_array_index(relations, AtspiRelation*, i);
        if (atspi_relation_get_relation_type(relation) == type) {
            for (gint t = 0; t < atspi_relation_get_n_targets(relation); ++t) {
                targets.emplace_back(atspi_relation_get_target(relation, t));
            }
        }
        g_object_unref(relation);
    }
    g_array_free(relations, TRUE);
    return targets;
}

AtspiQuery::FrontMatch AtspiQuery::frontMatch(AtspiAccessible* window) {
    const QString& title = m_state.frontWindowTitle;
    if (title.isEmpty()) return FrontMatch::None;
    const std::optional<QString> windowName = name(window);
    if (!windowName || !windowName->startsWith(title)) return FrontMatch::None;
    const QStringView rest = QStringView(*windowName).mid(title.size());
    if (rest.isEmpty()) return FrontMatch::Exact;
    return rest.startsWith(QLatin1String(" (")) ? FrontMatch::Marked : FrontMatch::None;
}

// The window in front first (the one named as the window manager names it,
// else the active one), then the other active and showing ones in the
// application's order.
std::vector<AccessiblePtr> AtspiQuery::topLevels(AtspiAccessible* application) {
    std::vector<AccessiblePtr> active;
    std::vector<AccessiblePtr> showing;
    const int count = childCount(application);
    for (int i = 0; i < count && responsive(); ++i) {
        AccessiblePtr window = child(application, i);
        if (!window) continue;
        const std::optional<AtspiRole> windowRole = role(window.get());
        if (!windowRole || !isTopLevelRole(*windowRole)) continue;
        if (hasState(window.get(), ATSPI_STATE_ACTIVE)) {
            active.push_back(std::move(window));
        } else if (hasState(window.get(), ATSPI_STATE_SHOWING)) {
            showing.push_back(std::move(window));
        }
    }
    for (AccessiblePtr& window : showing) active.push_back(std::move(window));
    if (m_state.frontWindowTitle.isEmpty()) return active;
    // A normal and a private window may show the same title (the window
    // manager's titles do not tell them apart): the private one wins then,
    // so a page in front is never taken for another's.
    auto front = active.end();
    for (auto it = active.begin(); it != active.end() && responsive(); ++it) {
        const FrontMatch match = frontMatch(it->get());
        if (match == FrontMatch::Marked) {
            front = it;
            break;
        }
        if (match == FrontMatch::Exact && front == active.end()) front = it;
    }
    if (front != active.end()) std::rotate(active.begin(), front, front + 1);
    return active;
}

// Usually the first active top-level is the one in front: a few calls
// whatever the number of windows. Only when its name is not the window
// manager's title are the others' names read.
AccessiblePtr AtspiQuery::firstTopLevel(AtspiAccessible* application, bool activeOnly) {
    const bool knowsFront = !m_state.frontWindowTitle.isEmpty();
    AccessiblePtr firstActive;
    AccessiblePtr firstShowing;
    std::vector<AccessiblePtr> others;
    const int count = childCount(application);
    for (int i = 0; i < count && responsive(); ++i) {
        AccessiblePtr window = child(application, i);
        if (!window) continue;
        const std::optional<AtspiRole> windowRole = role(window.get());
        if (!windowRole || !isTopLevelRole(*windowRole)) continue;
        if (hasState(window.get(), ATSPI_STATE_ACTIVE)) {
            if (!knowsFront || isFrontWindow(window.get())) return window;
            if (!firstActive) firstActive = retainAccessible(window.get());
            others.push_back(std::move(window));
        } else if (hasState(window.get(), ATSPI_STATE_SHOWING)) {
            if (!firstShowing) firstShowing = retainAccessible(window.get());
            if (knowsFront) others.push_back(std::move(window));
        }
    }
    for (AccessiblePtr& window : others) {
        if (window.get() != firstActive.get() && isFrontWindow(window.get())) {
            return std::move(window);
        }
    }
    if (firstActive) return firstActive;
    return activeOnly ? nullptr : std::move(firstShowing);
}

AccessiblePtr AtspiQuery::activeTopLevel(AtspiAccessible* application) {
    // The cache is as fresh as the window in front: cleared when that one
    // has to be found again.
    front(application);
    return firstTopLevel(application, true);
}

AccessiblePtr AtspiQuery::mainWindow(AtspiAccessible* application) {
    return retainAccessible(front(application).window.get());
}

AtspiApplicationState::TickFront& AtspiQuery::front(AtspiAccessible* application) {
    AtspiApplicationState::TickFront& tick = m_state.tickFront;
    if (m_state.tickFrontFresh()) return tick;
    atspi_accessible_clear_cache(application);
    tick = AtspiApplicationState::TickFront{};
    tick.title = m_state.frontWindowTitle;
    // Changes reported while it is being found make it stale at once.
    tick.windowsSeen = m_state.changes.windows;
    tick.window = firstTopLevel(application, false);
    if (tick.window) {
        tick.name = m_lastName.first == tick.window.get() ? m_lastName.second
                                                          : name(tick.window.get());
        tick.named = !tick.title.isEmpty() && tick.name && tick.name->startsWith(tick.title) &&
                     (tick.name->size() == tick.title.size() ||
                      QStringView(*tick.name).mid(tick.title.size()).startsWith(QLatin1String(" (")));
    }
    // Only a complete answer is kept for the tick; the cache was cleared
    // first, so it came from the application itself.
    if (responsive()) {
        tick.foundAt.start();
        m_state.markAnswered();
    }
    return tick;
}

AtspiQuery::DocumentFacts AtspiQuery::documentOf(AtspiAccessible* window) {
    AtspiApplicationState::TickFront& tick = m_state.tickFront;
    const bool isFront = window == tick.window.get() && m_state.tickFrontFresh();
    if (isFront && m_state.tickDocumentFresh()) {
        return {retainAccessible(tick.document.get()), tick.documentAddress, tick.documentName};
    }
    const quint64 contentSeen = m_state.changes.content;
    DocumentFacts facts;
    facts.document = findDocument(window);
    if (facts.document) {
        facts.address = documentAddress(facts.document.get());
        // The name stands in for an address only: not asked when there is one.
        if (!facts.address || facts.address->isEmpty()) facts.name = name(facts.document.get());
    }
    if (isFront && responsive()) {
        // The walk may have taken a while: fresh from now, unless events
        // say when it is stale.
        if (!m_state.changes.watched) tick.foundAt.start();
        tick.documentRead = true;
        tick.contentSeen = contentSeen;
        tick.document = retainAccessible(facts.document.get());
        tick.documentAddress = facts.address;
        tick.documentName = facts.name;
    }
    return facts;
}

// Window 1 is the window in front only: when the window manager's title
// names none of the application's windows (its tree is behind, or the title
// changed in between), there is no window 1, rather than another window.
AccessiblePtr AtspiQuery::windowAt(AtspiAccessible* application, int index) {
    if (index == 1) {
        const AtspiApplicationState::TickFront& tick = front(application);
        if (!m_state.frontWindowTitle.isEmpty() && !tick.named) return nullptr;
        return retainAccessible(tick.window.get());
    }
    std::vector<AccessiblePtr> windows = topLevels(application);
    if (windows.empty()) return nullptr;
    if (index == 1 && !m_state.frontWindowTitle.isEmpty() && !isFrontWindow(windows.front().get())) {
        return nullptr;
    }
    if (index == -1) return std::move(windows.back());
    if (index < 1 || size_t(index) > windows.size()) return nullptr;
    return std::move(windows[size_t(index - 1)]);
}

bool AtspiQuery::isSheet(AtspiAccessible* window) {
    const std::optional<AtspiRole> windowRole = role(window);
    if (windowRole == ATSPI_ROLE_ALERT) return true;
    return (windowRole == ATSPI_ROLE_DIALOG || windowRole == ATSPI_ROLE_FILE_CHOOSER) &&
           hasState(window, ATSPI_STATE_MODAL);
}

bool AtspiQuery::isDocument(AtspiAccessible* object) {
    if (!responsive()) return false;
    QElapsedTimer timer;
    timer.start();
    GRef<AtspiDocument> document(atspi_accessible_get_document_iface(object));
    noteCall(timer, nullptr, document == nullptr);
    return document != nullptr;
}

std::optional<QString> AtspiQuery::documentAddress(AtspiAccessible* object) {
    if (!isDocument(object)) return std::nullopt;
    GRef<AtspiDocument> document(atspi_accessible_get_document_iface(object));
    if (!document) return std::nullopt;
    // All attributes in one round trip: "DocURL" (Firefox, viewers), else
    // "URI" (Chromium).
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    GHashTable* attributes = atspi_document_get_document_attributes(document.get(), &error);
    noteCall(timer, error, attributes == nullptr);
    if (attributes == nullptr) return responsive() ? std::optional<QString>(QString()) : std::nullopt;
    QString address;
    for (const char* key : {"DocURL", "URI"}) {
        const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, key));
        address = QString::fromUtf8(value);
        if (!address.isEmpty()) break;
    }
    g_hash_table_unref(attributes);
    return address;
}

// The first descendant implementing Document, in one Collection request: a
// call-by-call walk costs a round trip per node, hundreds of milliseconds in
// a file manager's window full of icons. nullopt when the application offers
// no Collection (the walk then runs); nullptr when it has no document.
std::optional<AccessiblePtr> AtspiQuery::findDocumentByCollection(AtspiAccessible* window) {
    if (!responsive()) return std::nullopt;
    GRef<AtspiCollection> collection(atspi_accessible_get_collection_iface(window));
    if (!collection) return std::nullopt;
    GArray* interfaces = g_array_new(FALSE, FALSE, sizeof(gchar*));
    const gchar* documentInterface = "Document";
    g_array_append_val(interfaces, documentInterface);
    GRef<AtspiMatchRule> rule(atspi_match_rule_new(nullptr, ATSPI_Collection_MATCH_NONE, nullptr,
                                                   ATSPI_Collection_MATCH_NONE, nullptr,
                                                   ATSPI_Collection_MATCH_NONE, interfaces,
                                                   ATSPI_Collection_MATCH_ALL, FALSE));
    g_array_free(interfaces, TRUE);
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    GArray* matches = atspi_collection_get_matches(collection.get(), rule.get(),
                                                   ATSPI_Collection_SORT_ORDER_CANONICAL, 1, TRUE, &error);
    const bool failed = error != nullptr || matches == nullptr;
    noteCall(timer, error, matches == nullptr);
    if (failed) {
        if (matches != nullptr) g_array_free(matches, TRUE);
        return std::nullopt;
    }
    AccessiblePtr document(matches->len > 0 ? g_array_index(matches, AtspiAccessible*, 0) : nullptr);
    for (guint i = 1; i < matches->len; ++i) g_object_unref(g_array_index(matches, AtspiAccessible*, i));
    g_array_free(matches, TRUE);
    return document;
}

// Browsers point from the window to the shown tab's document with EMBEDS;
// everything else is found by a breadth-first walk that stops early.
AccessiblePtr AtspiQuery::findDocument(AtspiAccessible* window) {
    for (AccessiblePtr& target : relationTargets(window, ATSPI_RELATION_EMBEDS)) {
        if (isDocument(target.get())) return std::move(target);
    }
    if (std::optional<AccessiblePtr> found = findDocumentByCollection(window)) {
        return std::move(*found);
    }
    std::deque<std::pair<AccessiblePtr, int>> queue;
    queue.emplace_back(retainAccessible(window), 0);
    int visited = 0;
    while (!queue.empty() && visited < kMaxWalkNodes && responsive()) {
        auto [node, depth] = std::move(queue.front());
        queue.pop_front();
        const int count = std::min(childCount(node.get()), kMaxChildrenPerNode);
        for (int i = 0; i < count && responsive(); ++i, ++visited) {
            AccessiblePtr next = child(node.get(), i);
            if (!next) continue;
            if (isDocument(next.get())) return next;
            if (depth + 1 < kMaxWalkDepth) queue.emplace_back(std::move(next), depth + 1);
        }
    }
    return nullptr;
}
