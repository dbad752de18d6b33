#pragma once
// LinuxHostNames: this computer's names as the system knows them: the
// kernel's host name, the first line of /etc/hostname, and the names given
// to 127.0.1.1 in /etc/hosts (where Debian puts the machine's own names,
// often with a domain).
//
// Thread: any. The names last read are kept for a few seconds, and then
// while neither the kernel's name nor the two files have changed.

#include <QString>
#include <QStringList>

#include <mutex>

#include "platform/LocalHostNames.h"

class LinuxHostNames final : public LocalHostNames {
public:
    // `etcRoot` is "/etc" except in tests.
    explicit LinuxHostNames(QString etcRoot = QStringLiteral("/etc"));

    QStringList currentHostNames() override;

    // The names of 127.0.1.1 in the text of a hosts file.
    static QStringList namesOfLoopbackHost(const QByteArray& hostsText);

private:
    struct FileStamp {
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modifiedNs = 0;
        bool operator==(const FileStamp&) const = default;
    };
    static FileStamp stampOf(const QString& path);

    // A renamed computer is seen within this long.
    static constexpr qint64 kRecheckMs = 3000;

    QString m_etcRoot;
    std::mutex m_mutex;
    qint64 m_checkedAtMs = 0;
    QStringList m_names;
    QString m_kernelName;
    FileStamp m_hostnameStamp;
    FileStamp m_hostsStamp;
};
