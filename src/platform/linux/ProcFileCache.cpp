#include "platform/linux/ProcFileCache.h"

#include <QFile>

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>

namespace {

constexpr qsizetype kReadLimit = 64 * 1024;

// The calls on a file of a process that has ended fail with these.
bool processHasEnded(int error) {
    return error == ESRCH || error == ENOENT;
}

// The whole file from its start, through an open descriptor; nullopt when
// the read fails.
std::optional<QByteArray> readFromStart(int fd) {
    QByteArray text;
    char buffer[4096];
    while (text.size() < kReadLimit) {
        const ssize_t got = ::pread(fd, buffer, sizeof buffer, off_t(text.size()));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) break;
        text.append(buffer, std::min<qsizetype>(got, kReadLimit - text.size()));
        // /proc hands out all it has that fits: a short read is the end.
        if (size_t(got) < sizeof buffer) break;
    }
    return text;
}

qint64 coarseMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

ProcFileCache::ProcFileCache(std::size_t capacity) : m_capacity(std::max<std::size_t>(capacity, 1)) {}

ProcFileCache::~ProcFileCache() {
    for (const Entry& entry : m_entries) ::close(entry.fd);
}

ProcFileCache::Entry* ProcFileCache::find(const QString& path) {
    for (Entry& entry : m_entries) {
        if (entry.path == path) return &entry;
    }
    return nullptr;
}

int ProcFileCache::openFor(const QString& path, bool folder, bool& reopened) {
    reopened = false;
    if (Entry* entry = find(path)) {
        entry->lastUse = ++m_uses;
        return entry->fd;
    }
    const int flags = folder ? (O_PATH | O_DIRECTORY | O_CLOEXEC) : (O_RDONLY | O_CLOEXEC);
    const int fd = ::open(QFile::encodeName(path).constData(), flags);
    if (fd < 0) return -1;
    reopened = true;
    if (m_entries.size() >= m_capacity) {
        const auto oldest = std::min_element(
            m_entries.begin(), m_entries.end(),
            [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
        ::close(oldest->fd);
        m_entries.erase(oldest);
    }
    m_entries.push_back(Entry{path, fd, ++m_uses, QByteArray(), -1});
    return fd;
}

void ProcFileCache::forget(const QString& path) {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.path == path; });
    if (found == m_entries.end()) return;
    ::close(found->fd);
    m_entries.erase(found);
}

std::optional<QByteArray> ProcFileCache::readWithin(const QString& path, qint64 withinMs) {
    const Entry* entry = find(path);
    if (entry == nullptr || entry->readAtMs < 0) return std::nullopt;
    if (coarseMilliseconds() - entry->readAtMs >= withinMs) return std::nullopt;
    return entry->lastText;
}

std::optional<QByteArray> ProcFileCache::recent(const QString& path, qint64 withinMs) {
    std::lock_guard lock(m_mutex);
    return readWithin(path, withinMs);
}

QByteArray ProcFileCache::read(const QString& path, qint64 reuseWithinMs) {
    std::lock_guard lock(m_mutex);
    if (reuseWithinMs > 0) {
        if (std::optional<QByteArray> text = readWithin(path, reuseWithinMs)) return *text;
    }
    for (int attempt = 0; attempt < 2; ++attempt) {
        bool reopened = false;
        const int fd = openFor(path, false, reopened);
        if (fd < 0) return {};
        if (std::optional<QByteArray> text = readFromStart(fd)) {
            Entry* entry = find(path);
            entry->lastText = *text;
            entry->readAtMs = coarseMilliseconds();
            return *text;
        }
        if (!processHasEnded(errno)) return {};
        forget(path);
        if (reopened) return {};
    }
    return {};
}

QString ProcFileCache::linkTarget(const QString& folder, const char* name) {
    std::lock_guard lock(m_mutex);
    for (int attempt = 0; attempt < 2; ++attempt) {
        bool reopened = false;
        const int fd = openFor(folder, true, reopened);
        if (fd < 0) return {};
        char buffer[PATH_MAX];
        const ssize_t length = ::readlinkat(fd, name, buffer, sizeof buffer);
        if (length > 0 && size_t(length) < sizeof buffer) {
            return QFile::decodeName(QByteArray(buffer, length));
        }
        if (length >= 0 || !processHasEnded(errno)) return {};
        forget(folder);
        if (reopened) return {};
    }
    return {};
}
