#pragma once
// TRExtractorTables: the identifiers the extraction code knows by heart.
//
// Three tables, kept as plain data in one place so that a reader can check
// them at a glance and tests can walk them:
//   - the extractor registry: application id -> extractor class name. The
//     original identifiers first, then the Linux ids of the same (or the
//     equivalent) applications. An entry whose extractor class is not built
//     yet "waits": it is not registered and its application goes to the
//     generic extractor until the class arrives (see waitsForExtractor()).
//   - the excluded application ids and executable names: agents that come to
//     the front without being the user's work.
//   - the Linux desktop's own agents (lock screens, polkit agents,
//     notification daemons, panels and docks, desktop windows, password
//     prompts), excluded when either the application id or the executable's
//     file name equals the entry.
// All matching is exact and case-sensitive. Immutable; any thread.

#include <QSet>
#include <QString>
#include <span>

namespace TRExtractorTables {

enum class Origin { Original, Linux };

struct RegistryEntry final {
    const char* bundleIdentifier;
    const char* extractorName;
    Origin origin;
};

struct DesktopAgent final {
    const char* name;  // application id or executable file name
    const char* kind;  // "lock screen", "polkit agent", ...
};

std::span<const RegistryEntry> registryEntries();

// The application ids excluded besides the helper's own.
const QSet<QString>& excludedBundleIdentifiers();
const QSet<QString>& excludedExecutableNames();

// The names of the desktop's own agents (lock screens, panels, ...), never tracked.
const QSet<QString>& linuxDesktopAgentNames();

}  // namespace TRExtractorTables
