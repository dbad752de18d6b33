#pragma once
// The applications in front of which the user is never idle: someone
// watching a film touches nothing for a long time and is still there.
// Known by application id; the set is built once, on first use, and is
// read-only afterwards. Any thread.

#include <QString>

namespace TRMediaPlayers {

bool isMediaPlayer(const QString& bundleIdentifier);

}  // namespace TRMediaPlayers
