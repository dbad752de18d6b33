#include "store/activity/ActivityStoreFile.h"

#include <sys/stat.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>

#include "store/activity/ActivityStoreSchema.h"
#include "store/activity/TRASEntities.h"
#include "store/activity/TRStoreReporter.h"

ActivityStoreFile::ActivityStoreFile(QString dataFolder, bool readOnly, TRStoreReporter& reporter,
                                     std::function<void()> abortProcess,
                                     std::function<void(std::uint8_t)> objectsInsertedOrDeleted)
    : m_dataFolder(QDir::cleanPath(dataFolder)),
      m_readOnly(readOnly),
      m_reporter(reporter),
      m_abortProcess(std::move(abortProcess)),
      m_objectsInsertedOrDeleted(std::move(objectsInsertedOrDeleted)) {}

ActivityStoreFile::~ActivityStoreFile() {
    m_context.reset();
    m_db.close();
}

bool ActivityStoreFile::createDataFolder() {
    if (QFileInfo::exists(m_dataFolder)) return true;
    const QByteArray path = QFile::encodeName(m_dataFolder);
    if (::mkdir(path.constData(), 0700) == 0) {
        ::chmod(path.constData(), 0700);  // whatever the umask
        return true;
    }
    const QString reason = QString::fromLocal8Bit(std::strerror(errno));
    m_reporter.logLine(
        QStringLiteral("Failed to create App Support directory %1 : %2").arg(m_dataFolder, reason));
    m_reporter.logLine(QStringLiteral("Error creating application support directory at %1 : %2")
                           .arg(m_dataFolder, reason));
    return false;
}

// A reader opens what is there or nothing: no folder, file or schema is
// made, so the running helper's files stay exactly as it keeps them.
bool ActivityStoreFile::openReadOnly(const QString& file, QString* storeUuid) {
    if (!QFileInfo::exists(file)) {
        m_reporter.presentError(
            TRError{QStringLiteral("ActivityStore"), 260,
                    QStringLiteral("There is no activity store at %1.").arg(file)});
        return false;
    }
    std::optional<TRError> error = m_db.open(file, SqliteDatabase::Mode::ReadOnly);
    if (!error) error = ActivityStoreSchema::checkReadable(m_db, storeUuid);
    if (error) {
        error->failureReason = QStringLiteral("(%1)").arg(file);
        m_reporter.presentError(*error);
        m_db.close();
        return false;
    }
    return true;
}

void ActivityStoreFile::open() {
    m_openAttempted = true;
    const QString storeFile = QDir(m_dataFolder).filePath(QStringLiteral("ActivityStore.db"));
    if (m_readOnly) {
        QString storeUuid;
        if (!openReadOnly(storeFile, &storeUuid)) return;
        m_context = std::make_unique<TRObjectContext>(m_db, storeUuid, activityStoreEntities());
        m_context->objectsInsertedOrDeleted = m_objectsInsertedOrDeleted;
        return;
    }
    if (!createDataFolder()) {
        m_reporter.presentError(
            TRError{QStringLiteral("YOUR_ERROR_DOMAIN"), 9999,
                    QStringLiteral("Failed to initialize the store"),
                    QStringLiteral("There was an error building up the data file.")});
        return;
    }
    const QString& file = storeFile;
    if (!QFileInfo::exists(file)) {
        // SQLite gives its -wal and -shm files the database file's mode.
        QFile create(file);
        if (create.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                        QFileDevice::ReadOwner | QFileDevice::WriteOwner))
            create.close();
    }
    QString storeUuid;
    std::optional<TRError> error = m_db.open(file);
    if (!error) error = ActivityStoreSchema::prepare(m_db, &storeUuid);
    if (error) {
        if (error->failureReason.isEmpty())
            error->failureReason = QStringLiteral("There was an error building up the data file.");
        m_reporter.presentError(*error);
        m_db.close();
        m_abortProcess();
        return;
    }
    m_context = std::make_unique<TRObjectContext>(m_db, storeUuid, activityStoreEntities());
    m_context->objectsInsertedOrDeleted = m_objectsInsertedOrDeleted;
}
