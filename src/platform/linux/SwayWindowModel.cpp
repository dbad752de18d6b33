#include "platform/linux/SwayWindowModel.h"

#include <QJsonArray>
#include <algorithm>

namespace {

// sway's hidden workspace: windows sent to the scratchpad are out of sight.
const QLatin1String kScratchpad("__i3_scratch");

bool isWindow(const QJsonObject& node) {
    const QString type = node.value(QLatin1String("type")).toString();
    return (type == QLatin1String("con") || type == QLatin1String("floating_con")) &&
           node.contains(QLatin1String("pid")) &&
           node.value(QLatin1String("nodes")).toArray().isEmpty() &&
           node.value(QLatin1String("floating_nodes")).toArray().isEmpty();
}

SwayWindow windowFrom(const QJsonObject& node) {
    SwayWindow window;
    window.id = node.value(QLatin1String("id")).toInteger();
    window.processIdentifier = qint32(node.value(QLatin1String("pid")).toInteger());
    window.appId = node.value(QLatin1String("app_id")).toString();
    const QJsonObject x11 = node.value(QLatin1String("window_properties")).toObject();
    window.x11Instance = x11.value(QLatin1String("instance")).toString();
    window.x11Class = x11.value(QLatin1String("class")).toString();
    const QJsonValue name = node.value(QLatin1String("name"));
    if (name.isString()) window.name = name.toString();
    return window;
}

// The children of a node, tiled and floating, most recently focused first.
std::vector<QJsonObject> childrenInFocusOrder(const QJsonObject& node) {
    std::vector<QJsonObject> children;
    for (const char* key : {"nodes", "floating_nodes"}) {
        for (const QJsonValue& child : node.value(QLatin1String(key)).toArray()) {
            children.push_back(child.toObject());
        }
    }
    const QJsonArray focus = node.value(QLatin1String("focus")).toArray();
    const auto rank = [&focus](const QJsonObject& child) {
        const qint64 id = child.value(QLatin1String("id")).toInteger();
        for (qsizetype i = 0; i < focus.size(); ++i) {
            if (focus.at(i).toInteger() == id) return i;
        }
        return focus.size();
    };
    std::stable_sort(children.begin(), children.end(),
                     [&rank](const QJsonObject& a, const QJsonObject& b) { return rank(a) < rank(b); });
    return children;
}

}  // namespace

void SwayWindowModel::resetFromTree(const QJsonObject& root) {
    m_windows.clear();
    m_focusedId.reset();
    collect(root, m_focusedId);
}

void SwayWindowModel::collect(const QJsonObject& node, std::optional<qint64>& focusedId) {
    if (node.value(QLatin1String("type")).toString() == QLatin1String("workspace") &&
        node.value(QLatin1String("name")).toString() == kScratchpad) {
        return;
    }
    if (isWindow(node)) {
        m_windows.push_back(windowFrom(node));
        if (node.value(QLatin1String("focused")).toBool()) focusedId = m_windows.back().id;
        return;
    }
    for (const QJsonObject& child : childrenInFocusOrder(node)) collect(child, focusedId);
}

std::vector<SwayWindow>::iterator SwayWindowModel::find(qint64 id) {
    return std::find_if(m_windows.begin(), m_windows.end(),
                        [id](const SwayWindow& window) { return window.id == id; });
}

SwayWindowModel::Follow SwayWindowModel::applyWindowEvent(const QJsonObject& event) {
    const QString change = event.value(QLatin1String("change")).toString();
    const QJsonObject container = event.value(QLatin1String("container")).toObject();
    if (!isWindow(container)) return Follow::RereadTree;
    const SwayWindow window = windowFrom(container);
    auto it = find(window.id);
    if (change == QLatin1String("close")) {
        if (it != m_windows.end()) m_windows.erase(it);
        if (m_focusedId == window.id) m_focusedId.reset();
        return Follow::Nothing;
    }
    if (change == QLatin1String("focus")) {
        if (it != m_windows.end()) m_windows.erase(it);
        m_windows.insert(m_windows.begin(), window);
        m_focusedId = window.id;
        return Follow::Nothing;
    }
    if (change == QLatin1String("new") || change == QLatin1String("title")) {
        if (it == m_windows.end()) {
            m_windows.push_back(window);
        } else {
            *it = window;
        }
        return Follow::Nothing;
    }
    // A move (perhaps to the scratchpad), floating, fullscreen: the place
    // in the tree changed, which the event alone does not say.
    return Follow::RereadTree;
}

SwayWindowModel::Follow SwayWindowModel::followWorkspaceEvent(const QJsonObject& event) {
    const QString change = event.value(QLatin1String("change")).toString();
    return change == QLatin1String("focus") || change == QLatin1String("move")
               ? Follow::RereadTree
               : Follow::Nothing;
}

std::optional<SwayWindow> SwayWindowModel::focused() const {
    if (!m_focusedId) return std::nullopt;
    for (const SwayWindow& window : m_windows) {
        if (window.id == *m_focusedId) return window;
    }
    return std::nullopt;
}
