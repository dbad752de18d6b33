#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "core/TRLocations.h"

namespace {

TEST(TRLocations, LiteFolderOnlyFromALiteBundlePath) {
    const std::pair<const char*, const char*> cases[] = {
        {"/usr/bin/vorlix-helper", "info.mallowby.Vorlix"},
        {"/opt/Vorlix lite.app/bin/vorlix-helper", "info.mallowby.Vorlix-lite"},
        {"/opt/Vorlix Lite.app/bin/vorlix-helper", "info.mallowby.Vorlix"},
        {"/opt/Vorlix lite/bin/vorlix-helper", "info.mallowby.Vorlix"},
    };
    for (const auto& [path, folder] : cases) {
        SCOPED_TRACE(path);
        EXPECT_EQ(TRLocations::dataFolderName(QString::fromUtf8(path)), QString::fromUtf8(folder));
    }
}

TEST(TRLocations, FollowsTheXdgFolders) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray data = QDir(dir.path()).filePath(QStringLiteral("data")).toUtf8();
    const QByteArray config = QDir(dir.path()).filePath(QStringLiteral("config")).toUtf8();
    qputenv("XDG_DATA_HOME", data);
    qputenv("XDG_CONFIG_HOME", config);
    EXPECT_EQ(TRLocations::dataFolderPath().toUtf8(), data + "/info.mallowby.Vorlix");
    EXPECT_EQ(TRLocations::settingsFilePath().toUtf8(),
              config + "/info.mallowby.Vorlix/VorlixHelper.conf");
    EXPECT_FALSE(QDir(QString::fromUtf8(data)).exists()) << "looking must not create folders";
    qunsetenv("XDG_DATA_HOME");
    qunsetenv("XDG_CONFIG_HOME");
}

}  // namespace
