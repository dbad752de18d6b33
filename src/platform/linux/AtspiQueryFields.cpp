// Reading parts of a window beyond its name and document: matches of a
// Collection rule, object attributes, shown text, a file manager's
// location bar, and the screen extents.

#include "platform/linux/AtspiSession.h"

std::vector<AccessiblePtr> AtspiQuery::matches(AtspiAccessible* within, AtspiMatchRule* rule,
                                               int limit) {
    std::vector<AccessiblePtr> found;
    if (!responsive()) return found;
    GRef<AtspiCollection> collection(atspi_accessible_get_collection_iface(within));
    if (!collection) return found;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    GArray* result = atspi_collection_get_matches(collection.get(), rule,
                                                  ATSPI_Collection_SORT_ORDER_CANONICAL, limit,
                                                  TRUE, &error);
    noteCall(timer, error, result == nullptr);
    if (result == nullptr) return found;
    for (guint i = 0; i < result->len; ++i) {
        found.emplace_back(g_array_index(result, AtspiAccessible*, i));  // takes the reference
    }
    g_array_free(result, TRUE);
    return found;
}

std::optional<QString> AtspiQuery::attribute(AtspiAccessible* object, const char* key) {
    if (!responsive()) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    GHashTable* attributes = atspi_accessible_get_attributes(object, &error);
    noteCall(timer, error, attributes == nullptr);
    if (attributes == nullptr) return std::nullopt;
    const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, key));
    std::optional<QString> result;
    if (value != nullptr) result = QString::fromUtf8(value);
    g_hash_table_unref(attributes);
    return result;
}

std::optional<QString> AtspiQuery::shownText(AtspiAccessible* object) {
    if (!responsive()) return std::nullopt;
    GRef<AtspiText> text(atspi_accessible_get_text_iface(object));
    if (!text) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    gchar* contents = atspi_text_get_text(text.get(), 0, -1, &error);
    const bool failed = error != nullptr || contents == nullptr;
    noteCall(timer, error);
    if (failed) {
        g_free(contents);
        return std::nullopt;
    }
    QString shown = QString::fromUtf8(contents);
    g_free(contents);
    shown.remove(QChar(0xFFFC));  // stands for a child (a button, an icon)
    return shown.trimmed();
}

// A file manager's location bar: a showing text field with a tool bar among
// its ancestors. One Collection request finds the window's showing text
// fields (walking the tree call by call costs a round trip per node, and a
// file manager's window holds hundreds); a few parent steps each check for
// the tool bar.
AccessiblePtr AtspiQuery::toolBarField(AtspiAccessible* window) {
    constexpr int kMaxFields = 8;
    constexpr int kMaxAncestors = 8;
    GArray* states = g_array_new(FALSE, FALSE, sizeof(AtspiStateType));
    const AtspiStateType showing = ATSPI_STATE_SHOWING;
    g_array_append_val(states, showing);
    GRef<AtspiStateSet> stateSet(atspi_state_set_new(states));
    g_array_free(states, TRUE);
    GArray* roles = g_array_new(FALSE, FALSE, sizeof(AtspiRole));
    for (const AtspiRole textRole : {ATSPI_ROLE_TEXT, ATSPI_ROLE_ENTRY}) g_array_append_val(roles, textRole);
    GRef<AtspiMatchRule> rule(atspi_match_rule_new(stateSet.get(), ATSPI_Collection_MATCH_ALL, nullptr,
                                                   ATSPI_Collection_MATCH_NONE, roles,
                                                   ATSPI_Collection_MATCH_ANY, nullptr,
                                                   ATSPI_Collection_MATCH_NONE, FALSE));
    g_array_free(roles, TRUE);

    for (AccessiblePtr& field : matches(window, rule.get(), kMaxFields)) {
        AccessiblePtr ancestor = retainAccessible(field.get());
        for (int level = 0; level < kMaxAncestors && ancestor && responsive(); ++level) {
            QElapsedTimer parentTimer;
            parentTimer.start();
            GError* parentError = nullptr;
            AccessiblePtr parent(atspi_accessible_get_parent(ancestor.get(), &parentError));
            noteCall(parentTimer, parentError);
            if (!parent || parent.get() == window) break;
            if (role(parent.get()) == ATSPI_ROLE_TOOL_BAR) return std::move(field);
            ancestor = std::move(parent);
        }
    }
    return nullptr;
}

std::optional<AXRect> AtspiQuery::extents(AtspiAccessible* object) {
    if (!responsive()) return std::nullopt;
    GRef<AtspiComponent> component(atspi_accessible_get_component_iface(object));
    if (!component) return std::nullopt;
    QElapsedTimer timer;
    timer.start();
    GError* error = nullptr;
    AtspiRect* rect = atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, &error);
    const bool failed = error != nullptr || rect == nullptr;
    noteCall(timer, error);
    if (failed) {
        g_free(rect);
        return std::nullopt;
    }
    const AXRect result{double(rect->x), double(rect->y), double(rect->width), double(rect->height)};
    g_free(rect);
    return result;
}
