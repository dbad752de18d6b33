#pragma once
// DesktopEntryIndex: the installed applications' desktop entries, as GIO
// reads them.
//
// GIO finds the entries ($XDG_DATA_HOME/applications, then each
// $XDG_DATA_DIRS/applications; the first entry of an id hides later ones of
// the same id, also when it is Hidden), leaves out hidden entries, links and
// entries whose program is not installed, and picks the Name for the user's
// language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG). This index keeps what
// identifying a process needs of them and reads them again, at the next
// lookup, after GIO reports that they changed.
//
// Thread: the thread that created it. GIO reports changes in the GLib main
// context that was that thread's default when the index was created, so the
// thread must iterate it: on the main thread Qt's GLib event dispatcher does
// (with QT_NO_GLIB set, changes are seen only by a new index).

#include <QHash>
#include <QString>
#include <memory>
#include <vector>

struct DesktopEntry final {
    QString id;              // file name without ".desktop"; sub-folders joined by '-'
    QString localizedName;   // Name for the user's language
    QString startupWMClass;
    QString execProgram;     // Exec's program, after a leading "env VAR=value ..."
    bool noDisplay = false;
};

class DesktopEntryIndex final {
public:
    DesktopEntryIndex();
    ~DesktopEntryIndex();
    DesktopEntryIndex(const DesktopEntryIndex&) = delete;
    DesktopEntryIndex& operator=(const DesktopEntryIndex&) = delete;

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

    // Increases every time the entries are read again.
    quint64 generation();

private:
    struct ChangeWatch;

    void refreshIfStale();
    void load();

    bool m_stale = true;
    quint64 m_generation = 0;
    std::vector<DesktopEntry> m_entries;  // sorted by id
    QHash<QString, qsizetype> m_byId;
    std::unique_ptr<ChangeWatch> m_watch;  // GIO's monitor, kept out of this header
};
