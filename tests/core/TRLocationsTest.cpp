#include <gtest/gtest.h>


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

}  // namespace
