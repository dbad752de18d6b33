#pragma once
// HelperProcess: the real vorlix-helper binary started with a given
// environment and arguments, its stderr collected; killed if still running
// when it goes.

#include <QDeadlineTimer>
#include <QProcess>
#include <csignal>

class HelperProcess final {
public:
    HelperProcess(const QProcessEnvironment& environment, const QStringList& arguments = {}) {
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral(VORLIX_HELPER_PATH), arguments);
    }
    ~HelperProcess() {
        m_process.kill();
        m_process.waitForFinished(2000);
    }
    // Waits until stderr holds `text` at least `times` times.
    bool waitForOutput(const QString& text, int times = 1, int timeoutMs = 10000) {
        QDeadlineTimer deadline(timeoutMs);
        while (errors().count(text) < times) {
            if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning) return false;
            m_process.waitForReadyRead(50);
        }
        return true;
    }
    bool waitForExit(int timeoutMs = 10000) { return m_process.waitForFinished(timeoutMs); }
    void signal(int signalNumber) { ::kill(pid_t(m_process.processId()), signalNumber); }
    // Ends the helper with `signalNumber`: true when it left cleanly.
    bool stopsCleanlyOn(int signalNumber) {
        signal(signalNumber);
        return waitForExit(15000) && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }
    QString errors() {
        m_errors += QString::fromUtf8(m_process.readAllStandardError());
        return m_errors;
    }
    QString output() { return QString::fromUtf8(m_process.readAllStandardOutput()); }
    int exitCode() const { return m_process.exitCode(); }

private:
    QProcess m_process;
    QString m_errors;
};
