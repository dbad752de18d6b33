#pragma once
// FakeWindowSystem: a scripted display for unit tests.
//
// Holds the front process and the window list a test sets (no active
// window); setAvailable(false) plays a display that could not be reached
// (every query then answers nothing). Main thread, like the real one.

#include <optional>
#include <vector>

#include "platform/WindowSystem.h"

class FakeWindowSystem final : public WindowSystem {
public:
    void setAvailable(bool available) { m_available = available; }
    void setFrontProcess(std::optional<qint32> processIdentifier) { m_front = processIdentifier; }
    void setWindows(std::vector<WindowInfo> windows) { m_windows = std::move(windows); }
    // A source that names no process: this window is in front.
    void setFrontWindowWithoutProcess(std::optional<quint64> window) { m_frontWindow = window; }

    bool isAvailable() const override { return m_available; }
    std::optional<qint32> frontProcessIdentifier() override {
        return m_available ? m_front : std::nullopt;
    }
    std::optional<quint64> activeWindow() override { return std::nullopt; }
    std::vector<WindowInfo> windowList() override {
        return m_available ? m_windows : std::vector<WindowInfo>();
    }
    FrontLook lookAtFront() override {
        FrontLook look{frontProcessIdentifier(), windowList()};
        if (m_available) look.frontWindowWithoutProcess = m_frontWindow;
        return look;
    }

private:
    bool m_available = true;
    std::optional<qint32> m_front;
    std::optional<quint64> m_frontWindow;
    std::vector<WindowInfo> m_windows;
};
