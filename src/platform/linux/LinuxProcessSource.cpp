#include "platform/linux/LinuxProcessSource.h"

#include <unistd.h>

#include <algorithm>


#include "platform/linux/ProcessFacts.h"

namespace {

// One tick asks about the terminal's processes more than once: a stat read
// this recently (for liveness or the foreground group) also tells the number
// of threads and whether the command line is still the one read before.
constexpr qint64 kSameTickMs = 100;

// The process's name and start time: a process that still has both has not
// started another program since, so its command line is as it was.
QByteArray programIdentity(const QByteArray& stat) {
    const qsizetype open = stat.indexOf('(');
    const qsizetype close = stat.lastIndexOf(')');
    if (open < 0 || close < open) return {};
    return stat.mid(open, close - open + 1) + ' ' + ProcessIdentity::statField(stat, 22).toByteArray();
}

}  // namespace

LinuxProcessSource::LinuxProcessSource(QString procRoot) : m_procRoot(std::move(procRoot)) {}

QString LinuxProcessSource::path(qint32 processIdentifier, const char* entry) const {
    return m_procRoot + QLatin1Char('/') + QString::number(processIdentifier) + QLatin1Char('/') +
           QLatin1String(entry);
}

bool LinuxProcessSource::isRunning(qint32 processIdentifier) {
    if (processIdentifier <= 0) return false;
    const QByteArray stat = m_files.read(path(processIdentifier, "stat"));
    return !stat.isEmpty() && !ProcessIdentity::isZombieStat(stat);
}

QString LinuxProcessSource::executablePath(qint32 processIdentifier) {
    if (processIdentifier <= 0) return {};
    return ProcessFacts::read(processIdentifier, m_procRoot).executablePath;
}

QString LinuxProcessSource::workingDirectory(qint32 processIdentifier) {
    if (processIdentifier <= 0) return {};
    const QString target =
        m_files.linkTarget(m_procRoot + QLatin1Char('/') + QString::number(processIdentifier), "cwd");
    return target.isEmpty() ? QString() : target;
}

QStringList LinuxProcessSource::arguments(qint32 processIdentifier) {
    QStringList words;
    if (processIdentifier <= 0) return words;
    // The terminal's shell at its prompt: its stat was just read for the
    // foreground group, and tells whether it still runs the same program.
    const std::optional<QByteArray> stat = m_files.recent(path(processIdentifier, "stat"), kSameTickMs);
    const QByteArray identity = stat ? programIdentity(*stat) : QByteArray();
    {
        std::lock_guard lock(m_argumentsMutex);
        if (!identity.isEmpty() && m_lastArguments.processIdentifier == processIdentifier &&
            m_lastArguments.identity == identity) {
            return m_lastArguments.words;
        }
    }
    QByteArray text = m_files.read(path(processIdentifier, "cmdline"));
    if (text.endsWith('\0')) text.chop(1);
    if (!text.isEmpty()) {
        for (const QByteArray& word : text.split('\0')) words.append(QString::fromLocal8Bit(word));
    }
    if (!identity.isEmpty()) {
        std::lock_guard lock(m_argumentsMutex);
        m_lastArguments = LastArguments{processIdentifier, identity, words};
    }
    return words;
}

QList<qint32> LinuxProcessSource::children(qint32 processIdentifier) {
    QList<qint32> found;
    if (processIdentifier <= 0) return found;
    // Each thread lists the children it started; most programs start them
    // from their main thread, but a terminal may not. A program with one
    // thread (field 20 of stat) needs no look at the list of its threads.
    const QString tasks = path(processIdentifier, "task");
    QList<QByteArray> taskNames;
    const QByteArray stat = m_files.read(path(processIdentifier, "stat"), kSameTickMs);
    if (ProcessIdentity::statField(stat, 20).toInt() == 1) {
        taskNames.append(QByteArray::number(processIdentifier));
    } else {
        taskNames = ProcFiles::folderEntries(tasks);
        std::sort(taskNames.begin(), taskNames.end());
    }
    for (const QByteArray& task : taskNames) {
        const QByteArray text = m_files.read(tasks + QLatin1Char('/') + QString::fromLatin1(task) +
                                             QStringLiteral("/children"));
        for (const QByteArray& word : text.split(' ')) {
            bool ok = false;
            const qint32 child = word.trimmed().toInt(&ok);
            if (ok && child > 0 && !found.contains(child)) found.append(child);
        }
    }
    return found;
}

qint32 LinuxProcessSource::foregroundProcess(qint32 processIdentifier) {
    if (processIdentifier <= 0) return 0;
    const QByteArray stat = m_files.read(path(processIdentifier, "stat"));
    // tpgid, the terminal's foreground process group, is field 8.
    bool ok = false;
    const qint32 group = ProcessIdentity::statField(stat, 8).toInt(&ok);
    return ok && group > 0 ? group : 0;
}

// The start time is field 22 of stat, in clock ticks since boot; the
// machine's time since boot is the first figure of uptime.
std::optional<double> LinuxProcessSource::secondsRunning(qint32 processIdentifier) {
    if (processIdentifier <= 0) return std::nullopt;
    const QByteArray stat = m_files.read(path(processIdentifier, "stat"));
    bool ok = false;
    const double startTicks = ProcessIdentity::statField(stat, 22).toDouble(&ok);
    const long ticksPerSecond = sysconf(_SC_CLK_TCK);
    if (!ok || ticksPerSecond <= 0) return std::nullopt;
    const QByteArray uptime = ProcFiles::read(m_procRoot + QStringLiteral("/uptime"));
    const double sinceBoot = uptime.split(' ').value(0).toDouble(&ok);
    if (!ok) return std::nullopt;
    return std::max(0.0, sinceBoot - startTicks / double(ticksPerSecond));
}
