#pragma once
// ReportedFrontWindow: the one window a desktop's own component (a KWin
// script, a GNOME Shell extension) tells the helper is in front, answered as
// a window system and a hint source. The component knows only the front
// window, so the window list holds it alone; its application id or
// resource class stands for WM_CLASS in the identity rules.
//
// Thread: the owner's.

#include <QString>
#include <optional>
#include <vector>

#include "platform/WindowSystem.h"
#include "platform/linux/WindowHints.h"

class ReportedFrontWindow final {
public:
    // A pid of 0: nothing in front.
    void report(const QString& applicationClass, const QString& title, qint32 pid) {
        if (pid != m_pid || applicationClass != m_class) ++m_activations;
        m_class = applicationClass;
        m_title = title;
        m_pid = pid;
    }
    std::optional<qint32> processIdentifier() const {
        return m_pid > 0 ? std::optional<qint32>(m_pid) : std::nullopt;
    }
    // Each new front window gets a new number.
    std::optional<quint64> windowId() const {
        return m_pid > 0 ? std::optional<quint64>(m_activations) : std::nullopt;
    }
    std::vector<WindowInfo> windowList() const {
        if (m_pid <= 0) return {};
        WindowInfo front;
        front.windowId = m_activations;
        front.ownerProcessIdentifier = m_pid;
        front.name = m_title;
        return {front};
    }
    std::optional<WindowHints> hintsForProcess(qint32 pid) const {
        if (m_pid <= 0 || pid != m_pid) return std::nullopt;
        WindowHints hints;
        hints.instance = m_class;
        hints.className = m_class;
        return hints;
    }

private:
    quint64 m_activations = 0;
    QString m_class;
    QString m_title;
    qint32 m_pid = 0;
};
