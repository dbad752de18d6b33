#include "ui/TRStartupManager.h"

#include <QCoreApplication>

#include "platform/LoginItems.h"

TRStartupManager::TRStartupManager(LoginItems& loginItems, QString appPath)
    : m_loginItems(loginItems), m_appPath(std::move(appPath)) {
    if (m_appPath.isEmpty()) m_appPath = QCoreApplication::applicationFilePath();
}

bool TRStartupManager::shouldStartAtLogin() const {
    return m_loginItems.willItemStartAtLogin(m_appPath);
}

void TRStartupManager::setShouldStartAtLogin(bool enabled) {
    m_loginItems.setStartItemAtLogin(m_appPath, enabled);
}
