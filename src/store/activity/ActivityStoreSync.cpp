#include "store/activity/ActivityStoreSync.h"

#include <QMetaObject>

#include "store/activity/ActivityStoreFile.h"
#include "store/activity/TRStoreReporter.h"
#include "store/graph/TRObjectContext.h"

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

ActivityStoreSync::ActivityStoreSync(ActivityStoreFile& file, QString bundleIdentifier,
                                     std::shared_ptr<DistributedNotificationCenter> center,
                                     TRStoreReporter& reporter, QObject* receiver,
                                     std::function<void()> merged)
    : m_file(file),
      m_bundleIdentifier(std::move(bundleIdentifier)),
      m_isHelper(m_bundleIdentifier.endsWith(QLatin1String("Helper"))),
      m_center(std::move(center)),
      m_reporter(reporter),
      m_merged(std::move(merged)) {
    if (!m_center) return;
    m_observerToken = m_center->addObserver(
        QString::fromLatin1(kContextDidSaveDistributedNotification),
        [this, receiver](const QString&, const QString& object,
                         const DistributedNotificationCenter::UserInfo& userInfo) {
            QMetaObject::invokeMethod(
                receiver, [this, object, userInfo] { merge(object, userInfo); },
                Qt::QueuedConnection);
        });
}

ActivityStoreSync::~ActivityStoreSync() {
    if (m_center && m_observerToken >= 0) m_center->removeObserver(m_observerToken);
}

void ActivityStoreSync::save() {
    TRObjectContext* context = m_file.context();
    if (!context) return;
    // Without a notification centre no one hears of the save: no URIs.
    TRSaveResult result;
    if (std::optional<TRError> error = context->save(m_center ? &result : nullptr)) {
        m_reporter.presentError(*error);
        const QString userInfo = QStringLiteral("{domain = %1; code = %2; file = \"%3/%4\"}")
                                     .arg(error->domain)
                                     .arg(error->code)
                                     .arg(m_file.dataFolder(), QStringLiteral("ActivityStore.db"));
        m_reporter.logLine(QStringLiteral("%1:%2 unable to save: %3; %4")
                               .arg(QStringLiteral("TRActivityStore"),
                                    QStringLiteral("-[TRActivityStore saveWithNotification:]"),
                                    error->toString(), userInfo));
        return;
    }
    announce(result);
}

void ActivityStoreSync::postDidSave() {
    if (m_center)
        m_center->post(QString::fromLatin1(kDidSaveActivityStoreNotification), QString(), {});
}

void ActivityStoreSync::announce(const TRSaveResult& result) {
    if (result.isEmpty() || !m_center) return;
    DistributedNotificationCenter::UserInfo userInfo;
    userInfo.insert(QString::fromLatin1(kInsertedKey), encodeUris(result.inserted));
    userInfo.insert(QString::fromLatin1(kUpdatedKey), encodeUris(result.updated));
    userInfo.insert(QString::fromLatin1(kDeletedKey), encodeUris(result.deleted));
    m_center->post(QString::fromLatin1(kContextDidSaveDistributedNotification),
                   m_bundleIdentifier + QLatin1String(kSeparator) + m_file.dataFolder(), userInfo);
}

void ActivityStoreSync::merge(const QString& object,
                              const DistributedNotificationCenter::UserInfo& userInfo) {
    const QStringList parts = object.split(QLatin1String(kSeparator));
    if (parts.size() != 2) return;
    if (parts[0] == m_bundleIdentifier) return;   // our own announcement
    if (parts[1] != m_file.dataFolder()) return;  // the other variant's store
    TRObjectContext* context = m_file.openedContext();
    if (!context) return;
    QStringList notFound;
    context->merge(decodeUris(userInfo.value(QString::fromLatin1(kInsertedKey))),
                   decodeUris(userInfo.value(QString::fromLatin1(kUpdatedKey))),
                   decodeUris(userInfo.value(QString::fromLatin1(kDeletedKey))), &notFound);
    for (const QString& uri : notFound)
        m_reporter.logLine(QStringLiteral("managed object with URI '%1' not found!").arg(uri));
    if (m_merged) m_merged();
}
