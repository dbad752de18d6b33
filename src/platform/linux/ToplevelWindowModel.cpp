#include "platform/linux/ToplevelWindowModel.h"

#include <algorithm>

void ToplevelWindowModel::apply(const ToplevelWindow& window) {
    const auto known = std::find_if(m_windows.begin(), m_windows.end(),
                                    [&](const ToplevelWindow& w) { return w.id == window.id; });
    const bool newlyActivated = window.activated && (known == m_windows.end() || !known->activated);
    if (!newlyActivated) {
        if (known != m_windows.end()) {
            *known = window;  // keeps its place
        } else {
            m_windows.push_back(window);
        }
        return;
    }
    if (known != m_windows.end()) m_windows.erase(known);
    // Only one window has the keyboard: an older activation the compositor
    // has not taken back yet is over.
    for (ToplevelWindow& other : m_windows) other.activated = false;
    m_windows.insert(m_windows.begin(), window);
}

void ToplevelWindowModel::remove(quint64 id) {
    std::erase_if(m_windows, [id](const ToplevelWindow& w) { return w.id == id; });
}

std::optional<ToplevelWindow> ToplevelWindowModel::front() const {
    for (const ToplevelWindow& window : m_windows) {
        if (window.activated) return window;
    }
    return std::nullopt;
}

const ToplevelWindow* ToplevelWindowModel::find(quint64 id) const {
    for (const ToplevelWindow& window : m_windows) {
        if (window.id == id) return &window;
    }
    return nullptr;
}

std::vector<ToplevelWindow> ToplevelWindowModel::frontToBack() const {
    std::vector<ToplevelWindow> shown;
    shown.reserve(m_windows.size());
    for (const ToplevelWindow& window : m_windows) {
        if (!window.minimized) shown.push_back(window);
    }
    return shown;
}
