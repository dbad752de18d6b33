#pragma once
// ProcessSource: what the system says about a running process.
//
// The Linux answer reads /proc; tests use a fake. Extractors reach it
// through the scripting bridge (whether the application still runs) and,
// for terminals, through the working directory of the process in front of
// a shell.
//
// Thread: any; every call reads the process table afresh.

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

class ProcessSource {
public:
    virtual ~ProcessSource() = default;

    // False for a process that is gone or has ended (a zombie).
    virtual bool isRunning(qint32 processIdentifier) = 0;
    // The executable's absolute path; null when unreadable.
    virtual QString executablePath(qint32 processIdentifier) = 0;
    // The process's current working directory; null when unreadable.
    virtual QString workingDirectory(qint32 processIdentifier) = 0;
    // The command line: program and arguments as the process was started;
    // empty when unreadable.
    virtual QStringList arguments(qint32 processIdentifier) = 0;
    // The process's direct children, oldest first; empty when unreadable.
    virtual QList<qint32> children(qint32 processIdentifier) = 0;
    // The foreground process group of the terminal the process is attached
    // to (a shell's running command, or the shell itself); 0 when none.
    virtual qint32 foregroundProcess(qint32 processIdentifier) = 0;
    // How long the process has been running, in seconds; nullopt when
    // unreadable.
    virtual std::optional<double> secondsRunning(qint32 processIdentifier) {
        (void)processIdentifier;
        return std::nullopt;
    }
};
