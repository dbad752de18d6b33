#include "platform/linux/LinuxHostNames.h"

#include <QFile>
#include <QSysInfo>

#include <sys/stat.h>
#include <time.h>

namespace {

QByteArray readSmallFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(64 * 1024) : QByteArray();
}

void addName(QStringList& names, const QString& name) {
    const QString trimmed = name.trimmed();
    if (!trimmed.isEmpty() && !names.contains(trimmed)) names.append(trimmed);
}

}  // namespace

LinuxHostNames::LinuxHostNames(QString etcRoot) : m_etcRoot(std::move(etcRoot)) {}

QStringList LinuxHostNames::namesOfLoopbackHost(const QByteArray& hostsText) {
    QStringList names;
    for (QByteArray line : hostsText.split('\n')) {
        const qsizetype comment = line.indexOf('#');
        if (comment >= 0) line.truncate(comment);
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() < 2 || words.front() != "127.0.1.1") continue;
        for (qsizetype i = 1; i < words.size(); ++i) addName(names, QString::fromUtf8(words[i]));
    }
    return names;
}

// What identifies a file's content without reading it; all zero when the
// file cannot be looked at.
LinuxHostNames::FileStamp LinuxHostNames::stampOf(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return {};
    return {quint64(st.st_ino), qint64(st.st_size), qint64(st.st_mtim.tv_sec) * 1000000000 +
                                                        st.st_mtim.tv_nsec};
}

// A terminal's title is checked against these names every tick: they are
// looked at again at most every few seconds, and the files are read again
// only when they have changed.
QStringList LinuxHostNames::currentHostNames() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const qint64 nowMs = qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
    {
        std::lock_guard lock(m_mutex);
        if (!m_names.isEmpty() && nowMs - m_checkedAtMs < kRecheckMs) return m_names;
        m_checkedAtMs = nowMs;
    }
    const QString kernelName = QSysInfo::machineHostName();
    const QString hostnamePath = m_etcRoot + QStringLiteral("/hostname");
    const QString hostsPath = m_etcRoot + QStringLiteral("/hosts");
    const FileStamp hostnameStamp = stampOf(hostnamePath);
    const FileStamp hostsStamp = stampOf(hostsPath);
    std::lock_guard lock(m_mutex);
    if (!m_names.isEmpty() && kernelName == m_kernelName && hostnameStamp == m_hostnameStamp &&
        hostsStamp == m_hostsStamp) {
        return m_names;
    }
    QStringList names;
    addName(names, kernelName);
    const QByteArray hostname = readSmallFile(hostnamePath);
    addName(names, QString::fromUtf8(hostname.split('\n').front()));
    for (const QString& name : namesOfLoopbackHost(readSmallFile(hostsPath))) addName(names, name);
    m_names = names;
    m_kernelName = kernelName;
    m_hostnameStamp = hostnameStamp;
    m_hostsStamp = hostsStamp;
    return names;
}
