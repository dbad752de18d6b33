#include "platform/linux/ProcessFacts.h"

#include <QFile>
#include <QList>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace {

QByteArray readSmallFile(const QString& path) {
    return ProcFiles::read(path);
}

// The last path component of every cgroup line ("N:controllers:/path").
QList<QByteArray> cgroupLeaves(const QByteArray& cgroup) {
    QList<QByteArray> leaves;
    for (const QByteArray& line : cgroup.split('\n')) {
        const qsizetype colon = line.indexOf(':', line.indexOf(':') + 1);
        if (colon < 0) continue;
        const QByteArray path = line.mid(colon + 1).trimmed();
        for (const QByteArray& part : path.split('/')) {
            if (!part.isEmpty()) leaves.append(part);
        }
    }
    return leaves;
}

QString unescapeUnitName(QByteArray text) {
    text.replace("\\x2d", "-");
    return QString::fromUtf8(text);
}

// "app-…" units: strips the prefix, the unit suffix and the random part.
QByteArray applicationUnitBody(const QByteArray& unit) {
    if (!unit.startsWith("app-")) return {};
    QByteArray body = unit.mid(4);
    if (body.endsWith(".scope")) {
        body.chop(6);
        const qsizetype dash = body.lastIndexOf('-');
        if (dash <= 0) return {};
        body.truncate(dash);
    } else if (body.endsWith(".service")) {
        body.chop(8);
        const qsizetype at = body.indexOf('@');
        if (at >= 0) body.truncate(at);
    } else {
        return {};
    }
    return body;
}

}  // namespace

ProcessFacts ProcessFacts::readLiveness(qint32 processIdentifier, const QString& procRoot) {
    ProcessFacts facts;
    facts.processIdentifier = processIdentifier;
    const QByteArray stat = readSmallFile(procRoot + QLatin1Char('/') +
                                          QString::number(processIdentifier) + QStringLiteral("/stat"));
    facts.exists = !stat.isEmpty() && !ProcessIdentity::isZombieStat(stat);
    if (facts.exists) facts.startTime = ProcessIdentity::startTimeFromStat(stat);
    return facts;
}

ProcessFacts ProcessFacts::read(qint32 processIdentifier, const QString& procRoot) {
    ProcessFacts facts = readLiveness(processIdentifier, procRoot);
    if (!facts.exists) return facts;
    const QString dir = procRoot + QLatin1Char('/') + QString::number(processIdentifier);
    const QString exe = ProcFiles::linkTarget(dir + QStringLiteral("/exe"));
    if (!exe.isEmpty()) facts.executablePath = exe;
    facts.cgroup = readSmallFile(dir + QStringLiteral("/cgroup"));
    facts.flatpakInfo = readSmallFile(dir + QStringLiteral("/root/.flatpak-info"));
    return facts;
}

namespace ProcFiles {

QByteArray read(const QString& path) {
    constexpr qsizetype kLimit = 64 * 1024;
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    QByteArray text;
    char buffer[4096];
    while (text.size() < kLimit) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        text.append(buffer, std::min<qsizetype>(got, kLimit - text.size()));
    }
    ::close(fd);
    return text;
}

QString linkTarget(const QString& path) {
    char buffer[PATH_MAX];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    if (length <= 0 || size_t(length) >= sizeof buffer) return {};
    return QFile::decodeName(QByteArray(buffer, length));
}

QList<QByteArray> folderEntries(const QString& path) {
    QList<QByteArray> names;
    DIR* folder = ::opendir(QFile::encodeName(path).constData());
    if (folder == nullptr) return names;
    while (const dirent* entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") names.append(name);
    }
    ::closedir(folder);
    return names;
}

}  // namespace ProcFiles

namespace ProcessIdentity {

QString flatpakIdFromInfo(const QByteArray& flatpakInfo) {
    bool inApplication = false;
    for (const QByteArray& raw : flatpakInfo.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) {
            inApplication = line == "[Application]";
        } else if (inApplication && line.startsWith("name=")) {
            return QString::fromUtf8(line.mid(5).trimmed());
        }
    }
    return {};
}

QString flatpakIdFromCgroup(const QByteArray& cgroup) {
    for (const QByteArray& leaf : cgroupLeaves(cgroup)) {
        const QByteArray body = applicationUnitBody(leaf);
        if (body.startsWith("flatpak-") && body.size() > 8) return unescapeUnitName(body.mid(8));
    }
    return {};
}

QString snapNameFromCgroup(const QByteArray& cgroup) {
    for (const QByteArray& leaf : cgroupLeaves(cgroup)) {
        if (!leaf.startsWith("snap.") || !leaf.endsWith(".scope")) continue;
        const QList<QByteArray> parts = leaf.split('.');
        if (parts.size() >= 4 && !parts.at(1).isEmpty()) return QString::fromUtf8(parts.at(1));
    }
    return {};
}

QString scopeIdFromCgroup(const QByteArray& cgroup) {
    for (const QByteArray& leaf : cgroupLeaves(cgroup)) {
        const QByteArray body = applicationUnitBody(leaf);
        if (body.isEmpty()) continue;
        // Separators are real dashes; dashes inside the id are escaped.
        const QByteArray id = body.mid(body.lastIndexOf('-') + 1);
        if (!id.isEmpty()) return unescapeUnitName(id);
    }
    return {};
}

bool isZombieStat(const QByteArray& stat) {
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0 || close + 2 >= stat.size()) return false;
    const char state = stat.at(close + 2);
    return state == 'Z' || state == 'X';
}

quint64 startTimeFromStat(const QByteArray& stat) {
    bool ok = false;
    const quint64 value = statField(stat, 22).toULongLong(&ok);
    return ok ? value : 0;
}

// The command name (field 2) may hold blanks and parentheses: fields count
// from the last ')', whose next field is the third. Read once or more a
// tick: a scan, where splitting the line cost a list of 50 copies.
QByteArrayView statField(const QByteArray& stat, int number) {
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0 || number < 3) return {};
    qsizetype start = close + 2;
    for (int field = 3; field < number && start > 0; ++field) {
        start = stat.indexOf(' ', start) + 1;
    }
    if (start <= 0 || start >= stat.size()) return {};
    qsizetype end = stat.indexOf(' ', start);
    if (end < 0) end = stat.size();
    return QByteArrayView(stat).sliced(start, end - start).trimmed();
}

}  // namespace ProcessIdentity
