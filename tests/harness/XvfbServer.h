#pragma once
// XvfbServer: a virtual X display for integration tests. The display number
// is chosen by the server (-displayfd), never hard-coded. stop() (or the
// destructor) terminates the server, killing it after 2 s.

#include <QProcess>
#include <QString>
#include <memory>

class XvfbServer final {
public:
    XvfbServer() = default;
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    bool start(QString* whyNot);
    void stop();

    // ":N"
    QString display() const { return m_display; }
    qint64 pid() const { return m_process ? m_process->processId() : 0; }

    // Runs a short X client (xdotool, xset...) against this display and
    // waits for it; true when it exited 0.
    bool run(const QString& program, const QStringList& arguments) const;

private:
    std::unique_ptr<QProcess> m_process;
    QString m_display;
};
