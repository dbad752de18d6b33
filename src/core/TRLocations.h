#pragma once
// TRLocations: where the helper keeps its files.
//
// The data folder is shared with the main application:
// $XDG_DATA_HOME/info.mallowby.Vorlix, or "info.mallowby.Vorlix-lite" when
// the helper runs from inside a "Vorlix lite.app" folder. Settings live in
// $XDG_CONFIG_HOME/info.mallowby.Vorlix/VorlixHelper.conf. Nothing here
// creates a folder. Any thread.

#include <QString>

namespace TRLocations {

// The helper's id on this desktop; it ends in "Helper" on purpose.
inline constexpr char kHelperBundleIdentifier[] = "info.mallowby.VorlixHelper";

QString dataFolderName(const QString& executablePath);
// For this process's own executable.
QString dataFolderPath();
QString settingsFilePath();

}  // namespace TRLocations
