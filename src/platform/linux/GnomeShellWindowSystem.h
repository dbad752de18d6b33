#pragma once
// GnomeShellWindowSystem: the front window on GNOME, from our own Shell
// extension (data/gnome-shell/, installed by `cmake --install` as
// vorlix-focused-window@mallowby.info).
//
// The extension offers /info/mallowby/VorlixHelper/FocusedWindow on the
// Shell's bus name (org.gnome.Shell): Get() once at start, then its Changed
// signal at every focus and title change, so nothing is asked once a
// second. Without the extension enabled, Get() fails and the source is
// unavailable; the caller then says how to enable it. The Shell's
// application id (a desktop entry id) and the window list follow
// ReportedFrontWindow's rules.
//
// Thread: the thread that created it (the main thread); signals arrive
// through its event loop. Not copyable.

#include <QDBusConnection>
#include <QObject>

#include "platform/WindowSystem.h"
#include "platform/linux/ReportedFrontWindow.h"
#include "platform/linux/WindowHints.h"

class GnomeShellWindowSystem final : public QObject, public WindowSystem, public WindowHintSource {
    Q_OBJECT

public:
    static constexpr char kExtensionUuid[] = "vorlix-focused-window@mallowby.info";

    explicit GnomeShellWindowSystem(const QDBusConnection& bus);

    bool isAvailable() const override { return m_available; }
    QString sourceDescription() const override;
    std::optional<qint32> frontProcessIdentifier() override { return m_front.processIdentifier(); }
    std::optional<quint64> activeWindow() override { return m_front.windowId(); }
    std::vector<WindowInfo> windowList() override { return m_front.windowList(); }
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override {
        return m_front.hintsForProcess(processIdentifier);
    }

private Q_SLOTS:
    void changed(const QString& applicationId, const QString& title, int pid);

private:
    QDBusConnection m_bus;
    bool m_available = false;
    ReportedFrontWindow m_front;
};
