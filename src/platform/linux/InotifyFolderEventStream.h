#pragma once
// InotifyFolderEventStream: FolderEventStream over Linux inotify.
//
// Every folder below the watched ones gets its own watch (new sub-folders are
// added as they appear). The flags are inotify's event masks; a watched
// folder's own move or deletion carries IN_MOVE_SELF or IN_DELETE_SELF.

#include <QHash>
#include <QTimer>
#include <memory>

#include "platform/FolderEventStream.h"

class QSocketNotifier;

class InotifyFolderEventStream final : public FolderEventStream {
public:
    InotifyFolderEventStream();
    ~InotifyFolderEventStream() override;
    InotifyFolderEventStream(const InotifyFolderEventStream&) = delete;
    InotifyFolderEventStream& operator=(const InotifyFolderEventStream&) = delete;

    bool start(const QStringList& folders, double latencySeconds, Callback callback) override;
    void stop() override;
    void flush(bool synchronously) override;
    QString description() const override;

private:
    void addTree(const QString& folder);
    void readEvents();
    void note(const QString& path, quint32 flags);
    void deliver();

    int m_fd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, QString> m_folders;  // watch descriptor -> folder
    QStringList m_roots;
    Callback m_callback;
    QTimer m_latency;
    std::vector<Event> m_pending;
    quint64 m_nextId = 1;
};
