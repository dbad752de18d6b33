#pragma once
// UnixSignals: turns SIGTERM and SIGINT into a Qt signal on the main thread,
// so that a termination request ends tracking and saves exactly as quitting
// does. The handler only writes one byte into a socket pair; everything else
// happens in the event loop. Create at most one, on the main thread.

#include <QObject>
#include <QSocketNotifier>
#include <memory>

class UnixSignals final : public QObject {
    Q_OBJECT

public:
    explicit UnixSignals(QObject* parent = nullptr);
    ~UnixSignals() override;

    // False when the socket pair or the handlers could not be installed.
    bool isInstalled() const { return m_notifier != nullptr; }

Q_SIGNALS:
    void terminationRequested(int signalNumber);

private:
    void readSignal();

    std::unique_ptr<QSocketNotifier> m_notifier;
};
