#pragma once
// ProcessFacts: what /proc says about a process, and how to read ids out
// of it.
//
// Reading is separate from interpreting so that the rules can be tested on
// fixture text: `read` gathers the raw facts; the free functions pick the
// Flatpak id, snap name or application scope out of them.
//
// Plain values and pure functions; any thread.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

struct ProcessFacts final {
    qint32 processIdentifier = 0;
    bool exists = false;         // false also for a zombie
    quint64 startTime = 0;       // clock ticks after boot; tells a reused pid apart
    QString executablePath;      // target of /proc/PID/exe; null when unreadable
    QByteArray cgroup;           // /proc/PID/cgroup
    QByteArray flatpakInfo;      // /proc/PID/root/.flatpak-info, usually empty

    // `procRoot` is "/proc" except in tests.
    static ProcessFacts read(qint32 processIdentifier, const QString& procRoot = QStringLiteral("/proc"));
    // Only `exists` and `startTime`: enough to tell whether a cached answer
    // still belongs to the same process.
    static ProcessFacts readLiveness(qint32 processIdentifier,
                                     const QString& procRoot = QStringLiteral("/proc"));
};

// Plain reads of /proc, a few a tick: one open, read and close each, where
// QFile and QFileInfo add two or three stat calls per file.
namespace ProcFiles {
// At most 64 KiB of the file; empty when it cannot be read.
QByteArray read(const QString& path);
// The target of a symbolic link (/proc/PID/exe, cwd); empty when unreadable.
QString linkTarget(const QString& path);
// The names in a folder, without "." and "..".
QList<QByteArray> folderEntries(const QString& path);
}  // namespace ProcFiles

namespace ProcessIdentity {

// The `name` key of the "[Application]" group of a .flatpak-info file.
QString flatpakIdFromInfo(const QByteArray& flatpakInfo);
// "…/app-flatpak-ID-123.scope" -> ID.
QString flatpakIdFromCgroup(const QByteArray& cgroup);
// "…/snap.NAME.APP-UUID.scope" or "…/snap.NAME.APP.UUID.scope" -> NAME.
QString snapNameFromCgroup(const QByteArray& cgroup);
// "…/app-[LAUNCHER-]ID-RANDOM.scope" or "…/app-[LAUNCHER-]ID[@RANDOM].service"
// -> ID, with systemd's "\x2d" escapes undone. Flatpak scopes give their id.
QString scopeIdFromCgroup(const QByteArray& cgroup);
// Whether /proc/PID/stat describes a process that has ended (a zombie).
bool isZombieStat(const QByteArray& stat);
// Field 22 of /proc/PID/stat; 0 when malformed.
quint64 startTimeFromStat(const QByteArray& stat);
// Field `number` (counted from 1, at least 3) of /proc/PID/stat, found
// without splitting the line; empty when malformed.
QByteArrayView statField(const QByteArray& stat, int number);

}  // namespace ProcessIdentity
