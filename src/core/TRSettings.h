#pragma once
// TRSettings: the helper's settings file, read through one table of keys.
//
// Every key the helper knows is listed once in TRSettings.cpp with its type
// and its default; nothing else in the helper parses the file. Readers take a
// snapshot, which is re-read only when the file's size or modification time
// changed (another process, the main application, may edit it at any time),
// so asking once a second costs one stat. An absent key, or a value that does
// not parse as its type ("yes" for a boolean, "abc" or "inf" for seconds),
// reads as the key's default: the helper registers no defaults in the file.
//
// Thread: one thread per object (the main thread in the helper). Writes go
// to the file at once, so another process sees them.

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <optional>

class QSettings;

enum class TRSettingKey {
    shouldSuspendTrackingUponIdle,
    idleTimeThresholdForSuspendingTracking,
    askAfterIdle,
    dontAskToLaunchAtLogin,
    dontNotifyAboutDisabledAccessibilityAPI,
    shouldQuitHelperFromMenuItem,
    activityStoreTimeThreshold,
    maxURLTrackingLevel,
    // The notices list: its address (absent: never downloaded) and what the
    // user answered, remembered between runs.
    notificationsPlistURL,
    iNotifyIgnoredNotifications,
    iNotifyViewedNotifications,
    iNotifyLastChecked,
    iNotifyLastReminded,
};

// The values of every key, defaults applied.
struct TRSettingsSnapshot final {
    bool shouldSuspendTrackingUponIdle = true;
    double idleTimeThresholdForSuspendingTracking = 150.0;
    bool askAfterIdle = false;
    bool dontAskToLaunchAtLogin = false;
    bool dontNotifyAboutDisabledAccessibilityAPI = false;
    bool shouldQuitHelperFromMenuItem = false;
    double activityStoreTimeThreshold = 0.0;
    int maxURLTrackingLevel = 5;
    QString notificationsPlistURL;
    // Absent and empty differ: an absent ignored list marks the first launch.
    std::optional<QStringList> iNotifyIgnoredNotifications;
    std::optional<QStringList> iNotifyViewedNotifications;
    std::optional<QDateTime> iNotifyLastChecked;  // UTC
    std::optional<QDateTime> iNotifyLastReminded;
};

class TRSettings final {
public:
    // The helper's own file (TRLocations::settingsFilePath()).
    TRSettings();
    // Another file; an empty path keeps everything in memory (tests, benchmarks).
    explicit TRSettings(const QString& filePath);
    ~TRSettings();
    TRSettings(const TRSettings&) = delete;
    TRSettings& operator=(const TRSettings&) = delete;

    // The current values; re-reads the file first when it changed on disk.
    const TRSettingsSnapshot& snapshot();
    // Re-reads the file whether or not it looks changed (the shell's
    // settings-changed notice).
    void reload();

    // Writes one key (bool, double, int, string, string list or date as the
    // key's type) and syncs.
    void setValue(TRSettingKey key, const QVariant& value);
    // Takes one key out of the file (it reads as its default again) and syncs.
    void removeValue(TRSettingKey key);

    static QString keyName(TRSettingKey key);

private:
    void readIfChanged();
    void read();
    void noteOwnWrite();

    class FolderChanges;

    QString m_filePath;
    std::unique_ptr<QSettings> m_file;
    std::unique_ptr<FolderChanges> m_folderChanges;
    TRSettingsSnapshot m_snapshot;
    qint64 m_readModifiedNs = -1;
    qint64 m_readSize = -1;
    bool m_read = false;
};
