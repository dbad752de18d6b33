#pragma once
// ToplevelWindowModel: the toplevel windows a wlroots compositor lists to
// task bars (title, application id, state), kept front to back.
//
// The compositor sends each window's properties one by one and then `done`,
// at which they take effect together; the caller keeps what arrived and
// hands it over at `done` (apply). The window whose state holds `activated`
// is in front; when none does (an empty workspace, a layer surface such as
// a launcher has the keyboard), nothing is. The order is the order of
// activation, most recent first, new windows behind those already seen;
// minimised windows are left out of the list. The compositor names no
// process: windows are known by the number the caller gives each handle.
//
// Pure: no I/O, any thread that owns it.

#include <QString>
#include <optional>
#include <vector>

struct ToplevelWindow final {
    quint64 id = 0;
    QString appId;  // empty when the client set none
    QString title;  // null when the client set none
    bool activated = false;
    bool minimized = false;
};

class ToplevelWindowModel final {
public:
    // A window's state as of its latest `done`; a new id is added.
    void apply(const ToplevelWindow& window);
    // The window was closed.
    void remove(quint64 id);

    // The activated window, or nullopt.
    std::optional<ToplevelWindow> front() const;
    const ToplevelWindow* find(quint64 id) const;
    // Windows front to back, without minimised ones.
    std::vector<ToplevelWindow> frontToBack() const;

private:
    std::vector<ToplevelWindow> m_windows;  // most recently activated first
};
