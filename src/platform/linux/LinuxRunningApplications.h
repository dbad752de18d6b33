#pragma once
// LinuxRunningApplications: RunningApplications from /proc, the window's
// properties and the installed desktop entries.
//
// Each process is resolved once (ApplicationIdentity.h has the rules) and
// cached by pid and start time, so a pid reused by another program is
// resolved again; while the same window of the process stays in front, the
// window system vouches for it and /proc is not read at all; the whole cache is dropped when the desktop entries
// change. A process whose window is not mapped yet is not cached, so the
// next tick can still find its window's hints.
//
// Thread: the main thread only (like the window system it asks); its
// desktop-entry index hears of changes through the main thread's GLib
// context, which Qt's event dispatcher iterates.

#include <QHash>

#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "platform/RunningApplications.h"
#include "platform/linux/WindowHints.h"

class LinuxRunningApplications final : public RunningApplications {
public:
    // `windows` must outlive this object.
    explicit LinuxRunningApplications(WindowHintSource& windows,
                                      QString procRoot = QStringLiteral("/proc"));

    std::optional<RunningApplication> runningApplication(qint32 processIdentifier) override;
    // By the window's hints alone (the same rules, with no process facts),
    // cached per application id for as long as the desktop entries stay.
    std::optional<RunningApplication> applicationOfWindow(quint64 windowId) override;

private:
    struct CachedIdentity final {
        quint64 startTime = 0;
        quint64 frontWindow = 0;  // the window it was last confirmed through; 0: none
        RunningApplication application;
    };
    void dropCacheIfEntriesChanged();
    const CachedIdentity* confirmedByFrontWindow(qint32 processIdentifier,
                                                 std::optional<quint64> frontWindow) const;

    WindowHintSource& m_windows;
    DesktopEntryIndex m_entries;
    QString m_procRoot;
    quint64 m_generation = 0;
    QHash<qint32, CachedIdentity> m_cache;
    QHash<QString, RunningApplication> m_byWindowClass;
};
