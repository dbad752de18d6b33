#pragma once
// A fake process table: processes with an executable, a command line, a
// working directory, children and a terminal's foreground process. Unknown
// processes are not running and answer nothing.
//
// Thread: one test thread.

#include <QHash>

#include "platform/LocalHostNames.h"
#include "platform/ProcessSource.h"

class FakeProcessSource final : public ProcessSource {
public:
    struct Process final {
        QStringList arguments;  // the program first
        QString workingDirectory;
        QList<qint32> children;
        qint32 foreground = 0;
    };
    QHash<qint32, Process> processes;

    bool isRunning(qint32 pid) override { return processes.contains(pid); }
    QString executablePath(qint32 pid) override {
        const Process process = processes.value(pid);
        return process.arguments.isEmpty() ? QString() : process.arguments.front();
    }
    QString workingDirectory(qint32 pid) override { return processes.value(pid).workingDirectory; }
    QStringList arguments(qint32 pid) override { return processes.value(pid).arguments; }
    QList<qint32> children(qint32 pid) override { return processes.value(pid).children; }
    qint32 foregroundProcess(qint32 pid) override { return processes.value(pid).foreground; }
};

class FakeLocalHostNames final : public LocalHostNames {
public:
    QStringList names;
    QStringList currentHostNames() override { return names; }
};
