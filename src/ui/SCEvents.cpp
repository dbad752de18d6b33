#include "ui/SCEvents.h"

#include "platform/FolderEventStream.h"

QString SCEvent::description() const {
    return QStringLiteral("<SCEvent { eventId = %1, eventPath = %2, eventFlag = %3 } >")
        .arg(eventId)
        .arg(eventPath)
        .arg(eventFlag);
}

SCEvents::SCEvents(FolderEventStream& stream) : m_stream(stream) {}

SCEvents::~SCEvents() {
    m_delegate = nullptr;
    stopWatchingPaths();
}

bool SCEvents::startWatchingPaths(const QStringList& paths) {
    if (paths.isEmpty() || m_watching) return false;
    m_watchedPaths = paths;
    const bool started = m_stream.start(paths, m_notificationLatency,
                                        [this](const std::vector<FolderEventStream::Event>& batch) {
                                            std::vector<RawEvent> raw;
                                            raw.reserve(batch.size());
                                            for (const auto& e : batch) {
                                                raw.push_back({e.id, e.path, e.flags});
                                            }
                                            handleBatch(raw);
                                        });
    m_watching = started;
    return started;
}

bool SCEvents::stopWatchingPaths() {
    if (!m_watching) return false;
    m_stream.stop();
    m_watching = false;
    return true;
}

bool SCEvents::flushEventStreamSync() {
    if (!m_watching) return false;
    m_stream.flush(true);
    return true;
}

bool SCEvents::flushEventStreamAsync() {
    if (!m_watching) return false;
    m_stream.flush(false);
    return true;
}

QString SCEvents::streamDescription() const {
    if (!m_watching) {
        return QStringLiteral(
            "The event stream is not running. Start it by calling: startWatchingPaths:");
    }
    return m_stream.description();
}

QString SCEvents::description() const {
    return QStringLiteral("<SCEvents { watchedPaths = (%1), excludedPaths = (%2) } >")
        .arg(m_watchedPaths.join(QStringLiteral(", ")), m_excludedPaths.join(QStringLiteral(", ")));
}

void SCEvents::handleBatch(const std::vector<RawEvent>& batch) {
    // Once set, the flag stays for the rest of the batch.
    bool ignore = false;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        const RawEvent& raw = batch[i];
        if (m_excludedPaths.contains(raw.path)) {
            ignore = true;
        } else if (m_ignoreEventsFromSubDirs) {
            for (const QString& excluded : m_excludedPaths) {
                if (raw.path.startsWith(excluded)) ignore = true;
            }
        }
        if (ignore) continue;
        QString path = raw.path;
        if (path.endsWith(QLatin1Char('/'))) path.chop(1);
        const SCEvent event{raw.id, QDateTime::currentDateTimeUtc(), path, raw.flags};
        if (m_delegate) m_delegate->pathWatcherEventOccurred(*this, event);
        if (i + 1 == batch.size()) m_lastEvent = event;
    }
}
