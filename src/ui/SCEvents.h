#pragma once
// SCEvents: watches folders and tells its delegate about each change, one
// SCEvent per changed folder.
//
// The helper watches the folder of its own executable, so that replacing its
// files (an update) restarts it. Events come in batches, coalesced over
// notificationLatency seconds (3 by default). A batch is read in order; once
// an event of an excluded path (or, with ignoreEventsFromSubDirs, of a path
// below one) is met, it and every later event of the same batch are dropped
// (a batch that touches an excluded folder is taken as one change there). A
// trailing "/" is dropped from delivered paths. lastEvent is the batch's last
// event when it was delivered. Main thread only.

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

class FolderEventStream;
class SCEvents;

struct SCEvent final {
    quint64 eventId = 0;
    QDateTime eventDate;  // when it was delivered, not when the change happened
    QString eventPath;
    quint32 eventFlag = 0;

    QString description() const;
};

class SCEventListenerProtocol {
public:
    virtual ~SCEventListenerProtocol() = default;
    virtual void pathWatcherEventOccurred(SCEvents& watcher, const SCEvent& event) = 0;
};

class SCEvents final {
public:
    explicit SCEvents(FolderEventStream& stream);
    ~SCEvents();
    SCEvents(const SCEvents&) = delete;
    SCEvents& operator=(const SCEvents&) = delete;

    void setDelegate(SCEventListenerProtocol* delegate) { m_delegate = delegate; }
    bool isWatchingPaths() const { return m_watching; }
    bool ignoreEventsFromSubDirs() const { return m_ignoreEventsFromSubDirs; }
    void setIgnoreEventsFromSubDirs(bool value) { m_ignoreEventsFromSubDirs = value; }
    double notificationLatency() const { return m_notificationLatency; }
    void setNotificationLatency(double seconds) { m_notificationLatency = seconds; }
    const std::optional<SCEvent>& lastEvent() const { return m_lastEvent; }
    const QStringList& watchedPaths() const { return m_watchedPaths; }
    const QStringList& excludedPaths() const { return m_excludedPaths; }
    void setExcludedPaths(const QStringList& paths) { m_excludedPaths = paths; }

    // False for an empty list or while already watching.
    bool startWatchingPaths(const QStringList& paths);
    bool stopWatchingPaths();
    bool flushEventStreamSync();
    bool flushEventStreamAsync();

    QString streamDescription() const;
    QString description() const;

    // One batch as the stream delivers it (public for the stream's callback).
    struct RawEvent {
        quint64 id;
        QString path;
        quint32 flags;
    };
    void handleBatch(const std::vector<RawEvent>& batch);

private:
    FolderEventStream& m_stream;
    SCEventListenerProtocol* m_delegate = nullptr;
    bool m_watching = false;
    bool m_ignoreEventsFromSubDirs = true;
    double m_notificationLatency = 3.0;
    std::optional<SCEvent> m_lastEvent;
    QStringList m_watchedPaths;
    QStringList m_excludedPaths;
};
