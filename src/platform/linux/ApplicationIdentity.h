#pragma once
// ApplicationIdentity: which application a process is, by the rules of the
// Linux desktop.
//
// The id is found in this order, first hit wins:
//   1. Flatpak id (.flatpak-info, else the "app-flatpak-ID-…" cgroup scope)
//   2. snap name ("snap.NAME.…" cgroup scope)
//   3. the window's _GTK_APPLICATION_ID, then _KDE_NET_WM_DESKTOP_FILE
//   4. a desktop entry: StartupWMClass equal to WM_CLASS, or the file name
//      equal to the WM_CLASS class or instance (ignoring case), or the
//      Exec program equal to the executable
//   5. the "app-…-ID-….scope" cgroup scope of the launcher
// None of these: no id, and the executable's name identifies it. The name
// shown is the desktop entry's Name for the user's language, else the
// WM_CLASS class, else the executable's file name.
//
// Pure apart from the lookups in the index; the thread of the index.

#include <QString>
#include <optional>

#include "platform/linux/DesktopEntryIndex.h"
#include "platform/linux/ProcessFacts.h"
#include "platform/linux/WindowHints.h"

struct ApplicationIdentity final {
    QString applicationId;  // null when none was found
    QString localizedName;
};

namespace ApplicationIdentityRules {

ApplicationIdentity resolve(const ProcessFacts& process, const std::optional<WindowHints>& hints,
                            DesktopEntryIndex& entries);

}  // namespace ApplicationIdentityRules
