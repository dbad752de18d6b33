#pragma once
// HelperProcess: the real vorlix-helper binary started with a given
// environment and arguments, its stderr collected; killed if still running
// when it goes.

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <csignal>

class HelperProcess final {
public:
    HelperProcess(const QProcessEnvironment& environment, const QStringList& arguments = {},
                  const QString& program = QStringLiteral(VORLIX_HELPER_PATH)) {
        m_process.setProcessEnvironment(environment);
        m_process.start(program, arguments);
    }
    // The helper's settings file under `configHome`: both start-up questions
    // answered for good (on a display they would wait for a user), then `more`.
    static bool writeSettings(const QString& configHome, const QByteArray& more = {}) {
        const QString folder = configHome + QStringLiteral("/info.mallowby.Vorlix");
        QFile conf(folder + QStringLiteral("/VorlixHelper.conf"));
        return QDir().mkpath(folder) && conf.open(QIODevice::WriteOnly) &&
               conf.write("[General]\ndontAskToLaunchAtLogin=true\n"
                          "dontNotifyAboutDisabledAccessibilityAPI=true\n" + more) > 0;
    }
    // A desktop's `environment` for the helper: never the machine's logind
    // (a system bus that is not there), no logging rules from outside.
    static QProcessEnvironment isolated(QProcessEnvironment environment) {
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                           QStringLiteral("unix:path=") + environment.value(QStringLiteral("HOME")) +
                               QStringLiteral("/no-bus"));
        environment.remove(QStringLiteral("QT_LOGGING_RULES"));
        return environment;
    }
    struct Result {
        int code = -1;
        QString out, err;
    };
    // A command of the helper (report, projects, inspect) run to its end.
    static Result run(const QProcessEnvironment& environment, const QStringList& arguments) {
        HelperProcess helper(environment, arguments);
        const bool ended = helper.waitForExit(30000) && !helper.crashed();
        return {ended ? helper.exitCode() : -1, helper.output(), helper.errors()};
    }
    qint64 processId() const { return m_process.processId(); }
    bool crashed() const { return m_process.exitStatus() != QProcess::NormalExit; }
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
