#pragma once
// XdgAutostartLoginItems: login items as XDG autostart entries.
//
// The helper's item is the file "info.mallowby.VorlixHelper.desktop" in
// $XDG_CONFIG_HOME/autostart. It counts as ours only when its Exec line names
// exactly the program asked about and the desktop would start it (no
// Hidden=true): an entry left by a helper in another folder starts that
// other helper, not this one, and enabling this one replaces it. Disabling
// removes the file only when it is ours. Main thread only.

#include <QString>

#include "platform/LoginItems.h"

class XdgAutostartLoginItems final : public LoginItems {
public:
    // `autostartFolder` empty: $XDG_CONFIG_HOME/autostart.
    explicit XdgAutostartLoginItems(QString autostartFolder = QString());

    bool willItemStartAtLogin(const QString& programPath) override;
    void setStartItemAtLogin(const QString& programPath, bool enabled) override;

    QString entryPath() const;

private:
    QString m_folder;
};
