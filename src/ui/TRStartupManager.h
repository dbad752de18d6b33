#pragma once
// TRStartupManager: whether the helper starts when the user logs in.
//
// The login-items list is the only record; the helper's item is keyed by the
// helper's absolute path, so a helper moved to another folder asks again and
// adds an item of its own. Main thread only.

#include <QString>

class LoginItems;

class TRStartupManager final {
public:
    // `appPath` empty: this process's own executable.
    explicit TRStartupManager(LoginItems& loginItems, QString appPath = QString());

    QString appPath() const { return m_appPath; }
    bool shouldStartAtLogin() const;
    void setShouldStartAtLogin(bool enabled);

private:
    LoginItems& m_loginItems;
    QString m_appPath;
};
