#pragma once
// LinuxProcessSource: process facts from /proc.
//
// Thread: any. The files of the last few processes asked about stay open
// (ProcFileCache): the terminal in front is asked about every second.

#include "platform/ProcessSource.h"
#include "platform/linux/ProcFileCache.h"

#include <QStringList>

#include <mutex>

class LinuxProcessSource final : public ProcessSource {
public:
    // `procRoot` is "/proc" except in tests.
    explicit LinuxProcessSource(QString procRoot = QStringLiteral("/proc"));

    bool isRunning(qint32 processIdentifier) override;
    QString executablePath(qint32 processIdentifier) override;
    QString workingDirectory(qint32 processIdentifier) override;
    QStringList arguments(qint32 processIdentifier) override;
    QList<qint32> children(qint32 processIdentifier) override;
    qint32 foregroundProcess(qint32 processIdentifier) override;
    std::optional<double> secondsRunning(qint32 processIdentifier) override;

private:
    QString path(qint32 processIdentifier, const char* entry) const;

    // The command line last read, with the program identity it was read for.
    struct LastArguments {
        qint32 processIdentifier = 0;
        QByteArray identity;
        QStringList words;
    };

    QString m_procRoot;
    ProcFileCache m_files;
    std::mutex m_argumentsMutex;
    LastArguments m_lastArguments;
};
