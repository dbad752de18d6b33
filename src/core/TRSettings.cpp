#include "core/TRSettings.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <cmath>
#include <optional>

#include "core/TRLocations.h"

namespace {

enum class Type { Boolean, Seconds, Integer, Text, List, Date };

// The one table: key, name in the file, type, and where the value lives in
// the snapshot (its default is the snapshot's initial value).
struct KeyRow final {
    TRSettingKey key;
    const char* name;
    Type type;
    bool TRSettingsSnapshot::*boolean = nullptr;
    double TRSettingsSnapshot::*seconds = nullptr;
    int TRSettingsSnapshot::*integer = nullptr;
    QString TRSettingsSnapshot::*text = nullptr;
    std::optional<QStringList> TRSettingsSnapshot::*list = nullptr;
    std::optional<QDateTime> TRSettingsSnapshot::*date = nullptr;
};

using S = TRSettingsSnapshot;
const KeyRow kKeys[] = {
    {TRSettingKey::shouldSuspendTrackingUponIdle, "shouldSuspendTrackingUponIdle", Type::Boolean,
     &S::shouldSuspendTrackingUponIdle},
    {TRSettingKey::idleTimeThresholdForSuspendingTracking,
     "idleTimeThresholdForSuspendingTracking", Type::Seconds, nullptr,
     &S::idleTimeThresholdForSuspendingTracking},
    {TRSettingKey::askAfterIdle, "askAfterIdle", Type::Boolean, &S::askAfterIdle},
    {TRSettingKey::dontAskToLaunchAtLogin, "dontAskToLaunchAtLogin", Type::Boolean,
     &S::dontAskToLaunchAtLogin},
    {TRSettingKey::dontNotifyAboutDisabledAccessibilityAPI,
     "dontNotifyAboutDisabledAccessibilityAPI", Type::Boolean,
     &S::dontNotifyAboutDisabledAccessibilityAPI},
    {TRSettingKey::shouldQuitHelperFromMenuItem, "shouldQuitHelperFromMenuItem", Type::Boolean,
     &S::shouldQuitHelperFromMenuItem},
    {TRSettingKey::activityStoreTimeThreshold, "activityStoreTimeThreshold", Type::Seconds,
     nullptr, &S::activityStoreTimeThreshold},
    {TRSettingKey::maxURLTrackingLevel, "maxURLTrackingLevel", Type::Integer, nullptr, nullptr,
     &S::maxURLTrackingLevel},
    {.key = TRSettingKey::notificationsPlistURL, .name = "notificationsPlistURL",
     .type = Type::Text, .text = &S::notificationsPlistURL},
    {.key = TRSettingKey::iNotifyIgnoredNotifications, .name = "iNotifyIgnoredNotifications",
     .type = Type::List, .list = &S::iNotifyIgnoredNotifications},
    {.key = TRSettingKey::iNotifyViewedNotifications, .name = "iNotifyViewedNotifications",
     .type = Type::List, .list = &S::iNotifyViewedNotifications},
    {.key = TRSettingKey::iNotifyLastChecked, .name = "iNotifyLastChecked", .type = Type::Date,
     .date = &S::iNotifyLastChecked},
    {.key = TRSettingKey::iNotifyLastReminded, .name = "iNotifyLastReminded", .type = Type::Date,
     .date = &S::iNotifyLastReminded},
};

const KeyRow& row(TRSettingKey key) {
    for (const KeyRow& candidate : kKeys) {
        if (candidate.key == key) return candidate;
    }
    Q_UNREACHABLE();
}

// Parses one stored value; false leaves the default in place. An empty list
// is in the file as an invalid value, and a one-item list as a string.
bool parse(const KeyRow& key, const QVariant& stored, TRSettingsSnapshot& into) {
    if (key.type == Type::List) {
        into.*key.list = stored.toStringList();
        return true;
    }
    if (!stored.isValid()) return false;
    const QString text = stored.toString().trimmed();
    switch (key.type) {
    case Type::Boolean: {
        const QString lower = text.toLower();
        if (lower == QLatin1String("true") || lower == QLatin1String("1")) into.*key.boolean = true;
        else if (lower == QLatin1String("false") || lower == QLatin1String("0")) into.*key.boolean = false;
        else return false;
        return true;
    }
    case Type::Seconds: {
        bool ok = false;
        const double value = text.toDouble(&ok);
        if (!ok || !std::isfinite(value)) return false;
        into.*key.seconds = value;
        return true;
    }
    case Type::Integer: {
        bool ok = false;
        const double value = text.toDouble(&ok);
        if (!ok || !std::isfinite(value) || std::abs(value) > 1e9) return false;
        into.*key.integer = static_cast<int>(value);
        return true;
    }
    case Type::Text:
        into.*key.text = text;
        return true;
    case Type::Date: {
        // Written as ISO 8601 text so that a person can read the file.
        const QDateTime date = stored.typeId() == QMetaType::QDateTime
                                   ? stored.toDateTime()
                                   : QDateTime::fromString(text, Qt::ISODateWithMs);
        if (!date.isValid()) return false;
        into.*key.date = date.toUTC();
        return true;
    }
    case Type::List: break;
    }
    return false;
}

QVariant storedForm(const KeyRow& key, const TRSettingsSnapshot& from) {
    switch (key.type) {
    case Type::Boolean: return from.*key.boolean;
    case Type::Seconds: return from.*key.seconds;
    case Type::Integer: return from.*key.integer;
    case Type::Text: return from.*key.text;
    case Type::List: return (from.*key.list).value_or(QStringList());
    case Type::Date: return (from.*key.date)->toString(Qt::ISODateWithMs);
    }
    return {};
}

// The file's modification time (ns) and size, from one stat(); nullopt when
// it does not exist.
struct FileStamp {
    qint64 modifiedNs;
    qint64 size;
};

std::optional<FileStamp> fileStamp(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) return std::nullopt;
    return FileStamp{qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec,
                     qint64(st.st_size)};
}

}  // namespace

// Whether anything in the settings file's folder may have changed since the
// last ask, from the kernel's change notices on the folder. The loop asks
// for the settings every tick; reading a notice queue that has nothing to say
// costs far less than looking the file up by its path. Without a watch (no
// such folder yet) every ask answers yes, and the file is looked at.
class TRSettings::FolderChanges final {
public:
    explicit FolderChanges(const QString& filePath)
        : m_folder(QFile::encodeName(QFileInfo(filePath).absolutePath())),
          m_fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}
    ~FolderChanges() {
        if (m_fd >= 0) ::close(m_fd);
    }
    FolderChanges(const FolderChanges&) = delete;
    FolderChanges& operator=(const FolderChanges&) = delete;

    bool changedSinceLastAsk() {
        if (m_fd < 0) return true;
        if (m_watch < 0) {
            // Watching first, then looking: nothing slips in between.
            m_watch = ::inotify_add_watch(m_fd, m_folder.constData(), kEvents);
            return true;
        }
        bool changed = false;
        alignas(inotify_event) char buffer[4096];
        for (;;) {
            const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
            if (got <= 0) break;
            changed = true;
            for (ssize_t at = 0; at < got;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                if (event->mask & (IN_IGNORED | IN_Q_OVERFLOW)) m_watch = -1;
                at += ssize_t(sizeof(inotify_event) + event->len);
            }
        }
        return changed;
    }

private:
    static constexpr uint32_t kEvents = IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE |
                                        IN_MOVED_TO | IN_MOVED_FROM | IN_ATTRIB | IN_DELETE_SELF |
                                        IN_MOVE_SELF | IN_ONLYDIR;
    QByteArray m_folder;
    int m_fd;
    int m_watch = -1;
};

TRSettings::TRSettings() : TRSettings(TRLocations::settingsFilePath()) {}

TRSettings::TRSettings(const QString& filePath)
    : m_filePath(filePath),
      m_folderChanges(filePath.isEmpty() ? nullptr : std::make_unique<FolderChanges>(filePath)) {}

TRSettings::~TRSettings() = default;

QString TRSettings::keyName(TRSettingKey key) { return QString::fromLatin1(row(key).name); }

const TRSettingsSnapshot& TRSettings::snapshot() {
    readIfChanged();
    return m_snapshot;
}

void TRSettings::reload() {
    m_read = false;
    readIfChanged();
}

void TRSettings::readIfChanged() {
    if (m_filePath.isEmpty()) {
        if (!m_read) read();
        return;
    }
    // This runs every tick and before each recording of a web page: the
    // file is looked at only after a change in its folder, and then with one
    // stat() and no local-time conversion.
    if (m_read && !m_folderChanges->changedSinceLastAsk()) return;
    const auto [modifiedNs, size] = fileStamp(m_filePath).value_or(FileStamp{-1, -1});
    if (m_read && modifiedNs == m_readModifiedNs && size == m_readSize) return;
    m_readModifiedNs = modifiedNs;
    m_readSize = size;
    read();
}

void TRSettings::read() {
    // A fresh object: QSettings keeps what it read once and would not see
    // another process's edit otherwise.
    if (m_filePath.isEmpty()) {
        if (!m_file) m_file = std::make_unique<QSettings>(QString(), QSettings::IniFormat);
    } else {
        m_file = std::make_unique<QSettings>(m_filePath, QSettings::IniFormat);
    }
    TRSettingsSnapshot fresh;
    for (const KeyRow& key : kKeys) {
        const QString name = QString::fromLatin1(key.name);
        if (m_file->contains(name)) parse(key, m_file->value(name), fresh);
    }
    m_snapshot = fresh;
    m_read = true;
}

void TRSettings::setValue(TRSettingKey key, const QVariant& value) {
    readIfChanged();
    const KeyRow& keyRow = row(key);
    TRSettingsSnapshot updated = m_snapshot;
    if (!parse(keyRow, value, updated)) return;
    m_file->setValue(QString::fromLatin1(keyRow.name), storedForm(keyRow, updated));
    m_snapshot = updated;
    noteOwnWrite();
}

void TRSettings::removeValue(TRSettingKey key) {
    readIfChanged();
    const KeyRow& keyRow = row(key);
    m_file->remove(QString::fromLatin1(keyRow.name));
    // The default, taken from a fresh snapshot.
    const TRSettingsSnapshot defaults;
    switch (keyRow.type) {
    case Type::Boolean: m_snapshot.*keyRow.boolean = defaults.*keyRow.boolean; break;
    case Type::Seconds: m_snapshot.*keyRow.seconds = defaults.*keyRow.seconds; break;
    case Type::Integer: m_snapshot.*keyRow.integer = defaults.*keyRow.integer; break;
    case Type::Text: m_snapshot.*keyRow.text = defaults.*keyRow.text; break;
    case Type::List: m_snapshot.*keyRow.list = std::nullopt; break;
    case Type::Date: m_snapshot.*keyRow.date = std::nullopt; break;
    }
    noteOwnWrite();
}

// Our own write is on disk at once (another process may be reading) and
// does not count as another writer's change.
void TRSettings::noteOwnWrite() {
    m_file->sync();
    if (m_filePath.isEmpty()) return;
    if (const std::optional<FileStamp> stamp = fileStamp(m_filePath)) {
        m_readModifiedNs = stamp->modifiedNs;
        m_readSize = stamp->size;
    }
}
