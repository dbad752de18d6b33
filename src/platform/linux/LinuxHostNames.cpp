#include "platform/linux/LinuxHostNames.h"

#include <QFile>
#include <QSysInfo>

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

QStringList LinuxHostNames::currentHostNames() {
    QStringList names;
    addName(names, QSysInfo::machineHostName());
    const QByteArray hostname = readSmallFile(m_etcRoot + QStringLiteral("/hostname"));
    addName(names, QString::fromUtf8(hostname.split('\n').front()));
    for (const QString& name :
         namesOfLoopbackHost(readSmallFile(m_etcRoot + QStringLiteral("/hosts")))) {
        addName(names, name);
    }
    return names;
}
