#pragma once
// KWinWindowSystem: the front window on KDE Plasma, told by a small KWin
// script (data/kwin/active-window.js, compiled into the helper).
//
// At start the script is written, with this connection's unique bus name
// in it, to a file of our own and loaded through org.kde.KWin /Scripting
// (loadScript, then the script object's run); from then on KWin calls
// WindowActivated(resource class, caption, pid) on this object at every
// activation and caption change, so nothing is asked once a second (the
// constructor waits up to a second for the script's first call). The
// plugin name carries our pid, so `inspect` can load its own copy beside a
// running helper. At destruction the script is unloaded and its file
// removed. The resource class (on Wayland the application's app_id) and
// the window list follow ReportedFrontWindow's rules.
//
// Thread: the thread that created it (the main thread); calls arrive
// through its event loop. Not copyable.

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include "platform/WindowSystem.h"
#include "platform/linux/ReportedFrontWindow.h"
#include "platform/linux/WindowHints.h"

class KWinWindowSystem final : public QObject, public WindowSystem, public WindowHintSource {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "info.mallowby.VorlixHelper.KWin")

public:
    // `scriptFolder` receives the script file (the runtime folder in use).
    explicit KWinWindowSystem(const QDBusConnection& bus, const QString& scriptFolder);
    ~KWinWindowSystem() override;

    bool isAvailable() const override { return m_loaded; }
    QString sourceDescription() const override;
    std::optional<qint32> frontProcessIdentifier() override;
    std::optional<quint64> activeWindow() override;
    std::vector<WindowInfo> windowList() override;
    std::optional<WindowHints> windowHintsForProcess(qint32 processIdentifier) override;

public Q_SLOTS:
    // Called by the script; a pid of 0 means no window is active.
    Q_SCRIPTABLE void WindowActivated(const QString& resourceClass, const QString& caption,
                                      int pid);

private:
    bool load();

    QDBusConnection m_bus;
    QString m_scriptFile;
    QString m_pluginName;
    bool m_loaded = false;
    bool m_heard = false;  // the script has called at least once
    ReportedFrontWindow m_front;
};
