#include "core/TRSettings.h"

#include <QFileInfo>
#include <QSettings>
#include <cmath>

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

}  // namespace

TRSettings::TRSettings() : TRSettings(TRLocations::settingsFilePath()) {}

TRSettings::TRSettings(const QString& filePath) : m_filePath(filePath) {}

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
    const QFileInfo info(m_filePath);
    const QDateTime modified = info.exists() ? info.lastModified() : QDateTime();
    const qint64 size = info.exists() ? info.size() : -1;
    if (m_read && modified == m_readModified && size == m_readSize) return;
    m_readModified = modified;
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
    if (!m_filePath.isEmpty()) {
        const QFileInfo info(m_filePath);
        m_readModified = info.lastModified();
        m_readSize = info.size();
    }
}
