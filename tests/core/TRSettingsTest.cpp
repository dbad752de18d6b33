#include "core/TRSettings.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

namespace {

struct Row {
    const char* key;
    const char* stored;  // null: absent
    TRSettingsSnapshot expected;
};

TRSettingsSnapshot with(void (*change)(TRSettingsSnapshot&)) {
    TRSettingsSnapshot snapshot;
    change(snapshot);
    return snapshot;
}

// Values the user or the main application may have typed by hand: whatever
// does not parse as the key's type reads as its default, never as zero.
TEST(TRSettingsTest, ReadsEachKeyWithItsTypeAndDefault) {
    const Row rows[] = {
        {"askAfterIdle", nullptr, {}},
        {"askAfterIdle", "1", with([](TRSettingsSnapshot& s) { s.askAfterIdle = true; })},
        {"askAfterIdle", "yes", {}},
        {"shouldSuspendTrackingUponIdle", "0",
         with([](TRSettingsSnapshot& s) { s.shouldSuspendTrackingUponIdle = false; })},
        {"idleTimeThresholdForSuspendingTracking", "12.5",
         with([](TRSettingsSnapshot& s) { s.idleTimeThresholdForSuspendingTracking = 12.5; })},
        {"idleTimeThresholdForSuspendingTracking", "inf", {}},
        {"maxURLTrackingLevel", "2", with([](TRSettingsSnapshot& s) { s.maxURLTrackingLevel = 2; })},
        {"maxURLTrackingLevel", "1e20", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.key) + "=" + (row.stored ? row.stored : "(absent)"));
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("VorlixHelper.conf"));
        if (row.stored) {
            QSettings file(path, QSettings::IniFormat);
            file.setValue(QString::fromLatin1(row.key), QString::fromLatin1(row.stored));
        }
        TRSettings settings(path);
        const TRSettingsSnapshot& got = settings.snapshot();
        EXPECT_EQ(got.askAfterIdle, row.expected.askAfterIdle);
        EXPECT_EQ(got.shouldSuspendTrackingUponIdle, row.expected.shouldSuspendTrackingUponIdle);
        EXPECT_EQ(got.idleTimeThresholdForSuspendingTracking,
                  row.expected.idleTimeThresholdForSuspendingTracking);
        EXPECT_EQ(got.activityStoreTimeThreshold, row.expected.activityStoreTimeThreshold);
        EXPECT_EQ(got.maxURLTrackingLevel, row.expected.maxURLTrackingLevel);
    }
}

// The main application edits the same file while the helper runs.
TEST(TRSettingsTest, SeesAnotherWritersChangeAndWritesItsOwnThrough) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("VorlixHelper.conf"));
    TRSettings settings(path);
    EXPECT_FALSE(settings.snapshot().askAfterIdle);
    {
        QSettings other(path, QSettings::IniFormat);
        other.setValue(QStringLiteral("askAfterIdle"), true);
        other.setValue(QStringLiteral("idleTimeThresholdForSuspendingTracking"), 30);
    }
    EXPECT_TRUE(settings.snapshot().askAfterIdle);
    EXPECT_EQ(settings.snapshot().idleTimeThresholdForSuspendingTracking, 30.0);

    settings.setValue(TRSettingKey::activityStoreTimeThreshold, 90.0);
    settings.setValue(TRSettingKey::askAfterIdle, false);
    QSettings reader(path, QSettings::IniFormat);
    EXPECT_EQ(reader.value(QStringLiteral("activityStoreTimeThreshold")).toDouble(), 90.0);
    EXPECT_EQ(reader.value(QStringLiteral("askAfterIdle")).toString(), QStringLiteral("false"));
    EXPECT_EQ(settings.snapshot().idleTimeThresholdForSuspendingTracking, 30.0);

    // Later edits, by replacing the file or writing into it, are seen too:
    // the helper looks at the file only after a change in its folder.
    {
        QSettings other(path, QSettings::IniFormat);
        other.setValue(QStringLiteral("idleTimeThresholdForSuspendingTracking"), 45);
    }
    EXPECT_EQ(settings.snapshot().idleTimeThresholdForSuspendingTracking, 45.0);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray text = file.readAll();
    text.replace("=45", "=120");
    file.seek(0);
    file.write(text);
    file.close();
    EXPECT_EQ(settings.snapshot().idleTimeThresholdForSuspendingTracking, 120.0);
}

}  // namespace
