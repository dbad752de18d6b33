#include "platform/linux/InotifyFolderEventStream.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSocketNotifier>
#include <algorithm>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr quint32 kWatchMask = IN_CREATE | IN_DELETE | IN_MODIFY | IN_ATTRIB | IN_CLOSE_WRITE |
                               IN_MOVED_FROM | IN_MOVED_TO | IN_MOVE_SELF | IN_DELETE_SELF;

}  // namespace

InotifyFolderEventStream::InotifyFolderEventStream() {
    m_latency.setSingleShot(true);
    QObject::connect(&m_latency, &QTimer::timeout, [this] { deliver(); });
}

InotifyFolderEventStream::~InotifyFolderEventStream() {
    stop();
}

bool InotifyFolderEventStream::start(const QStringList& folders, double latencySeconds,
                                     Callback callback) {
    stop();
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) return false;
    m_callback = std::move(callback);
    m_roots = folders;
    m_latency.setInterval(static_cast<int>(latencySeconds * 1000.0));
    for (const QString& folder : folders) addTree(folder);
    if (m_folders.isEmpty()) {
        stop();
        return false;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { readEvents(); });
    return true;
}

void InotifyFolderEventStream::stop() {
    m_notifier.reset();
    m_latency.stop();
    m_pending.clear();
    m_folders.clear();
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
}

void InotifyFolderEventStream::addTree(const QString& folder) {
    const auto add = [this](const QString& path) {
        const int wd = inotify_add_watch(m_fd, QFile::encodeName(path).constData(), kWatchMask);
        if (wd >= 0) m_folders.insert(wd, path);
    };
    add(folder);
    QDirIterator below(folder, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden,
                       QDirIterator::Subdirectories);
    while (below.hasNext()) add(below.next());
}

void InotifyFolderEventStream::readEvents() {
    alignas(inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t length = ::read(m_fd, buffer, sizeof buffer);
        if (length <= 0) break;
        for (ssize_t at = 0; at < length;) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof event);
            const QString folder = m_folders.value(event.wd);
            if ((event.mask & IN_IGNORED) != 0) {
                m_folders.remove(event.wd);
            } else if (!folder.isEmpty()) {
                if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0 && (event.mask & IN_ISDIR) != 0) {
                    addTree(folder + QLatin1Char('/') +
                            QFile::decodeName(buffer + at + sizeof(inotify_event)));
                }
                note(folder, event.mask);
            }
            at += static_cast<ssize_t>(sizeof(inotify_event) + event.len);
        }
    }
}

void InotifyFolderEventStream::note(const QString& path, quint32 flags) {
    const auto same = std::find_if(m_pending.begin(), m_pending.end(),
                                   [&path](const Event& e) { return e.path == path; });
    if (same != m_pending.end()) {
        same->flags |= flags;
    } else {
        m_pending.push_back({m_nextId++, path, flags});
    }
    if (!m_latency.isActive()) m_latency.start();
}

void InotifyFolderEventStream::deliver() {
    m_latency.stop();
    if (m_pending.empty()) return;
    const std::vector<Event> batch = std::exchange(m_pending, {});
    if (m_callback) m_callback(batch);
}

void InotifyFolderEventStream::flush(bool synchronously) {
    if (m_fd >= 0) readEvents();
    if (synchronously) {
        deliver();
    } else {
        QTimer::singleShot(0, &m_latency, [this] { deliver(); });
    }
}

QString InotifyFolderEventStream::description() const {
    return QStringLiteral("inotify stream: %1 folders watched under %2, latency %3 s, %4 pending")
        .arg(m_folders.size())
        .arg(m_roots.join(QStringLiteral(", ")))
        .arg(m_latency.interval() / 1000.0)
        .arg(m_pending.size());
}
