// Saving, announcing saves to the other program, and merging its saves.
#include <QMetaObject>

#include "platform/DistributedNotificationCenter.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRStoreReporter.h"

namespace {

const char kSeparator[] = "|||";
const char kInsertedKey[] = "inserted";
const char kUpdatedKey[] = "updated";
const char kDeletedKey[] = "deleted";

// Both programs encode a set of object URIs as UTF-8 lines, sorted.
QByteArray encodeUris(QStringList uris) {
    uris.sort();
    return uris.join(QLatin1Char('\n')).toUtf8();
}

QStringList decodeUris(const QByteArray& block) {
    QStringList uris;
    for (const QByteArray& line : block.split('\n')) {
        if (!line.isEmpty()) uris.append(QString::fromUtf8(line));
    }
    return uris;
}

}  // namespace

void TRActivityStore::saveWithNotification(bool notify) {
    if (TRObjectContext* context = managedObjectContext()) {
        TRSaveResult result;
        if (std::optional<TRError> error = context->save(&result)) {
            m_options.reporter->presentError(*error);
            const QString userInfo =
                QStringLiteral("{domain = %1; code = %2; file = \"%3/%4\"}")
                    .arg(error->domain)
                    .arg(error->code)
                    .arg(m_options.dataFolder, QStringLiteral("ActivityStore.db"));
            m_options.reporter->logLine(
                QStringLiteral("%1:%2 unable to save: %3; %4")
                    .arg(QStringLiteral("TRActivityStore"),
                         QStringLiteral("-[TRActivityStore saveWithNotification:]"),
                         error->toString(), userInfo));
        } else {
            announceSave(result);
        }
    }
    if (!notify) return;
    if (m_options.bundleIdentifier.endsWith(QLatin1String("Helper"))) {
        if (m_options.notificationCenter)
            m_options.notificationCenter->post(
                QString::fromLatin1(kDidSaveActivityStoreNotification), QString(), {});
    } else {
        Q_EMIT didSaveActivityStore();
    }
}

void TRActivityStore::prepareForTermination() {
    if (!m_context) return;
    saveWithNotification(m_options.bundleIdentifier.endsWith(QLatin1String("Helper")));
}

void TRActivityStore::announceSave(const TRSaveResult& result) {
    if (result.isEmpty() || !m_options.notificationCenter) return;
    DistributedNotificationCenter::UserInfo userInfo;
    userInfo.insert(QString::fromLatin1(kInsertedKey), encodeUris(result.inserted));
    userInfo.insert(QString::fromLatin1(kUpdatedKey), encodeUris(result.updated));
    userInfo.insert(QString::fromLatin1(kDeletedKey), encodeUris(result.deleted));
    m_options.notificationCenter->post(
        QString::fromLatin1(kContextDidSaveDistributedNotification),
        m_options.bundleIdentifier + QLatin1String(kSeparator) + m_options.dataFolder, userInfo);
}

void TRActivityStore::receiveRemoteSave(const QString& object,
                                        const QMap<QString, QByteArray>& userInfo) {
    // The work always runs later on the main thread, never inside a post().
    QMetaObject::invokeMethod(
        this, [this, object, userInfo] { mergeRemoteSave(object, userInfo); },
        Qt::QueuedConnection);
}

void TRActivityStore::mergeRemoteSave(const QString& object,
                                      const QMap<QString, QByteArray>& userInfo) {
    const QStringList parts = object.split(QLatin1String(kSeparator));
    if (parts.size() != 2) return;
    if (parts[0] == m_options.bundleIdentifier) return;  // our own announcement
    if (parts[1] != m_options.dataFolder) return;        // the other variant's store
    // A store not opened yet holds nothing to refresh; it reads the file when it opens.
    if (!m_context) return;
    QStringList notFound;
    m_context->merge(decodeUris(userInfo.value(QString::fromLatin1(kInsertedKey))),
                     decodeUris(userInfo.value(QString::fromLatin1(kUpdatedKey))),
                     decodeUris(userInfo.value(QString::fromLatin1(kDeletedKey))), &notFound);
    for (const QString& uri : notFound)
        m_options.reporter->logLine(
            QStringLiteral("managed object with URI '%1' not found!").arg(uri));
    Q_EMIT remoteChangesMerged();
}
