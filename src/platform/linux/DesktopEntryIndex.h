#pragma once
// DesktopEntryIndex: the installed applications' desktop entries, by id.
//
// Reads every "*.desktop" file under the application folders once (the
// user's folder first, so a user's entry hides a system one of the same id)
// and keeps them until a folder changes: a file-system watcher marks the
// index stale and the next lookup reads the folders again. Hidden entries
// and entries that are not applications are left out.
//
// Thread: the thread that created it (the watcher reports there); the
// watcher needs that thread's event loop to notice changes.

#include <QFileSystemWatcher>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <vector>

#include "platform/linux/DesktopEntry.h"

class DesktopEntryIndex final {
public:
    // Folders in precedence order; `watch` false for tests that only parse.
    explicit DesktopEntryIndex(QStringList applicationFolders, bool watch = true);
    DesktopEntryIndex(const DesktopEntryIndex&) = delete;
    DesktopEntryIndex& operator=(const DesktopEntryIndex&) = delete;

    // $XDG_DATA_HOME/applications, then each $XDG_DATA_DIRS/applications
    // (defaults ~/.local/share and /usr/local/share:/usr/share).
    static QStringList defaultApplicationFolders();

    // nullptr when unknown. Pointers stay valid until the next lookup that
    // finds the index stale.
    const DesktopEntry* entry(const QString& id);
    // StartupWMClass equal to the class, then to the instance; then an id
    // equal to the class or instance ignoring case.
    const DesktopEntry* entryForWindowClass(const QString& instance, const QString& className);
    // An entry whose Exec program is this executable (same absolute path, or
    // same file name). Interpreters never match: a script's window is not
    // the interpreter's application.
    const DesktopEntry* entryForExecutable(const QString& executablePath);

    // Increases every time the folders are read again.
    quint64 generation();

private:
    void refreshIfStale();
    void load();
    void loadFolder(const QString& dir, const QString& idPrefix, QSet<QString>& seen);
    void watchFolders();

    QStringList m_folders;
    bool m_watch;
    bool m_stale = true;
    quint64 m_generation = 0;
    std::vector<DesktopEntry> m_entries;     // sorted by id
    QHash<QString, qsizetype> m_byId;
    QFileSystemWatcher m_watcher;
};
