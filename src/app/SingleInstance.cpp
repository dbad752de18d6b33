#include "app/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <cerrno>

#include "core/TRLocations.h"

SingleInstance::~SingleInstance() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

QString SingleInstance::lockFilePath() const {
    const QString name = QString::fromUtf8(TRLocations::kHelperBundleIdentifier);
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty()) {
        return QDir(runtime).filePath(name + QStringLiteral(".lock"));
    }
    return QDir(QDir::tempPath()).filePath(QStringLiteral("%1-%2.lock").arg(name).arg(::getuid()));
}

SingleInstance::Result SingleInstance::acquire() {
    const QByteArray path = QFile::encodeName(lockFilePath());
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return Result::Failed;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const bool busy = errno == EWOULDBLOCK;
        ::close(fd);
        return busy ? Result::HeldByAnother : Result::Failed;
    }
    const QByteArray pid = QByteArray::number(static_cast<qint64>(::getpid())) + '\n';
    if (::ftruncate(fd, 0) != 0 || ::write(fd, pid.constData(), pid.size()) < 0) {
        // The pid is only informative; the lock itself is what counts.
    }
    m_fd = fd;
    return Result::Acquired;
}

qint64 SingleInstance::holderPid() const {
    QFile file(lockFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readLine().trimmed().toLongLong();
}
