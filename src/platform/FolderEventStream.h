#pragma once
// FolderEventStream: changes inside folders, as the desktop's file-system
// notification reports them.
//
// start() watches each folder and every folder below it, from now on (no
// history), and calls the callback with one batch of events per `latency`
// seconds of activity: each event names a folder in which something changed
// (one event per folder per batch, in the order the folders first changed),
// or a watched folder itself that was moved or deleted. Events arrive on the
// thread that started the stream, from its event loop. Main thread only.

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

class FolderEventStream {
public:
    struct Event {
        quint64 id = 0;     // increasing within a stream
        QString path;       // the folder, as the platform spells it
        quint32 flags = 0;  // the platform's flags, combined over the batch
    };
    using Callback = std::function<void(const std::vector<Event>& batch)>;

    virtual ~FolderEventStream() = default;

    // False when none of the folders can be watched.
    virtual bool start(const QStringList& folders, double latencySeconds, Callback callback) = 0;
    virtual void stop() = 0;
    // Delivers what has been collected now instead of after the latency:
    // at once (sync) or from the event loop (async).
    virtual void flush(bool synchronously) = 0;
    virtual QString description() const = 0;
};
