#pragma once
// LinuxProcessSource: process facts from /proc.
//
// Thread: any; no state but the root folder.

#include "platform/ProcessSource.h"

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

    QString m_procRoot;
};
