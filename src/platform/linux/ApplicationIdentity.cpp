#include "platform/linux/ApplicationIdentity.h"

#include <QFileInfo>

namespace {

constexpr char kDesktopSuffix[] = ".desktop";

// _KDE_NET_WM_DESKTOP_FILE may be an id, a file name or a full path.
QString desktopIdFromKdeHint(const QString& hint) {
    QString id = QFileInfo(hint).fileName();
    if (id.endsWith(QLatin1String(kDesktopSuffix))) id.chop(int(sizeof(kDesktopSuffix) - 1));
    return id;
}

QString idFromProcessAndHints(const ProcessFacts& process, const std::optional<WindowHints>& hints) {
    QString id = ProcessIdentity::flatpakIdFromInfo(process.flatpakInfo);
    if (id.isEmpty()) id = ProcessIdentity::flatpakIdFromCgroup(process.cgroup);
    if (id.isEmpty()) id = ProcessIdentity::snapNameFromCgroup(process.cgroup);
    if (id.isEmpty() && hints) id = hints->gtkApplicationId;
    if (id.isEmpty() && hints) id = desktopIdFromKdeHint(hints->kdeDesktopFile);
    return id;
}

}  // namespace

namespace ApplicationIdentityRules {

ApplicationIdentity resolve(const ProcessFacts& process, const std::optional<WindowHints>& hints,
                            DesktopEntryIndex& entries) {
    QString id = idFromProcessAndHints(process, hints);
    const DesktopEntry* entry = id.isEmpty() ? nullptr : entries.entry(id);
    if (id.isEmpty() && hints) entry = entries.entryForWindowClass(hints->instance, hints->className);
    if (id.isEmpty() && entry == nullptr && !process.executablePath.isEmpty()) {
        entry = entries.entryForExecutable(process.executablePath);
    }
    if (id.isEmpty() && entry != nullptr) id = entry->id;
    if (id.isEmpty()) id = ProcessIdentity::scopeIdFromCgroup(process.cgroup);
    if (entry == nullptr && !id.isEmpty()) entry = entries.entry(id);

    ApplicationIdentity identity;
    if (!id.isEmpty()) identity.applicationId = id;
    if (entry != nullptr) identity.localizedName = entry->localizedName;
    if (identity.localizedName.isEmpty() && hints) identity.localizedName = hints->className;
    if (identity.localizedName.isEmpty()) {
        identity.localizedName = QFileInfo(process.executablePath).fileName();
    }
    return identity;
}

}  // namespace ApplicationIdentityRules
