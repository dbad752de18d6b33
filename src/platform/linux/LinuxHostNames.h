#pragma once
// LinuxHostNames: this computer's names as the system knows them: the
// kernel's host name, the first line of /etc/hostname, and the names given
// to 127.0.1.1 in /etc/hosts (where Debian puts the machine's own names,
// often with a domain).
//
// Thread: any; no state but the folder the files are read from.

#include <QString>

#include "platform/LocalHostNames.h"

class LinuxHostNames final : public LocalHostNames {
public:
    // `etcRoot` is "/etc" except in tests.
    explicit LinuxHostNames(QString etcRoot = QStringLiteral("/etc"));

    QStringList currentHostNames() override;

    // The names of 127.0.1.1 in the text of a hosts file.
    static QStringList namesOfLoopbackHost(const QByteArray& hostsText);

private:
    QString m_etcRoot;
};
