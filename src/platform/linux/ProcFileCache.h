#pragma once
// ProcFileCache: the /proc files of the processes that are asked about tick
// after tick (the terminal in front, its shell), kept open.
//
// Reading an open /proc file again from its start costs one system call;
// opening it walks the path and checks the caller's rights every time, which
// cost more than everything else the terminal's step does. A file belongs to
// the process it was opened for, not to its number: once that process has
// ended, a read fails instead of answering for a newer process that got the
// same number, and the cache then closes the file and opens the path afresh.
//
// Thread: any (one lock around the few open files).

#include <QByteArray>
#include <QString>

#include <mutex>
#include <optional>
#include <vector>

class ProcFileCache final {
public:
    explicit ProcFileCache(std::size_t capacity = 8);
    ~ProcFileCache();
    ProcFileCache(const ProcFileCache&) = delete;
    ProcFileCache& operator=(const ProcFileCache&) = delete;

    // At most 64 KiB of the file at `path`; empty when it cannot be read.
    // With `reuseWithinMs`, what was read from it less than that long ago
    // stands (one tick asks about the same process more than once).
    QByteArray read(const QString& path, qint64 reuseWithinMs = 0);
    // What was read from `path` less than `withinMs` ago, if anything.
    std::optional<QByteArray> recent(const QString& path, qint64 withinMs);
    // The target of the link `name` in the folder `folder` (a process's
    // "cwd"); empty when unreadable.
    QString linkTarget(const QString& folder, const char* name);

private:
    struct Entry {
        QString path;
        int fd = -1;
        quint64 lastUse = 0;
        QByteArray lastText;
        qint64 readAtMs = -1;
    };

    Entry* find(const QString& path);
    // What was read from `path` less than `withinMs` ago (lock held).
    std::optional<QByteArray> readWithin(const QString& path, qint64 withinMs);

    // The open file for `path` (`folder`: a folder opened only to look up
    // names in it), or -1.
    int openFor(const QString& path, bool folder, bool& reopened);
    void forget(const QString& path);

    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    std::size_t m_capacity;
    quint64 m_uses = 0;
};
