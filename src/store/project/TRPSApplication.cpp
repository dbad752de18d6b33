#include "store/project/TRPSApplication.h"

#include <algorithm>

#include "store/activity/TRASApplication.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRASIconLookup.h"
#include "store/graph/TRObjectContext.h"
#include "store/project/TRPSFetch.h"
#include "store/project/TRPSProject.h"

namespace {

template <class T>
bool assign(T& field, const T& value) {
    if (field == value && field.isNull() == value.isNull()) return false;
    field = value;
    return true;
}

}  // namespace

const TREntityDescription& TRPSApplication::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRPSApplication::m_bundleIdentifier>("bundleIdentifier", "TEXT", kBundleIdentifier),
        column<&TRPSApplication::m_executableName>("executableName", "TEXT", kExecutableName),
        column<&TRPSApplication::m_title>("title", "TEXT", kTitle),
        column<&TRPSApplication::m_cachedIcon>("cachedIcon", "BLOB", kCachedIcon),
    };
    static constexpr TREntityDescription kDescription{"Application", kColumns, 1,
                                                      &createObject<TRPSApplication>};
    return kDescription;
}

void TRPSApplication::setBundleIdentifier(const QString& value) {
    if (assign(m_bundleIdentifier, value)) didChange(kBundleIdentifier);
}
void TRPSApplication::setExecutableName(const QString& value) {
    if (assign(m_executableName, value)) didChange(kExecutableName);
}
void TRPSApplication::setTitle(const QString& value) {
    if (assign(m_title, value)) didChange(kTitle);
}
void TRPSApplication::setCachedIcon(const QByteArray& value) {
    if (assign(m_cachedIcon, value)) didChange(kCachedIcon);
}

const std::vector<TRPSProject*>& TRPSApplication::parentProjects() {
    TRPSFetch::loadJoined(*context(), m_parentProjects, primaryKey(), TRPSFetch::kJoined,
                          "id IN (SELECT Project FROM Project_applications WHERE Application = ?1) "
                          "ORDER BY id");
    return m_parentProjects.objects;
}

std::vector<TRPSProject*> TRPSApplication::sortedParentProjects() {
    std::vector<TRPSProject*> projects = parentProjects();
    std::stable_sort(projects.begin(), projects.end(),
                     [](TRPSProject* a, TRPSProject* b) { return a->name() < b->name(); });
    return projects;
}

QString TRPSApplication::bundlePath(const TRASIconLookup& lookup) const {
    QString path;
    if (!m_bundleIdentifier.isNull())
        path = lookup.applicationPathForBundleIdentifier(m_bundleIdentifier);
    else if (!m_title.isNull())
        path = lookup.applicationPathForName(m_title);
    return path.isEmpty() ? QString() : path;
}

QByteArray TRPSApplication::icon(const TRASIconLookup& lookup) {
    if (!m_cachedIcon.isEmpty()) return m_cachedIcon;
    const QString path = bundlePath(lookup);
    QByteArray image = path.isNull() ? QByteArray() : lookup.iconForApplicationPath(path);
    if (image.isEmpty()) image = lookup.genericDocumentIcon();
    setCachedIcon(image);
    return image;
}

QString TRPSApplication::lastPathComponent(const QString& path) {
    if (path.isNull()) return QString();
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/'))) trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    return slash < 0 || trimmed.size() == 1 ? trimmed : trimmed.mid(slash + 1);
}

TRPSApplication* TRPSApplication::applicationWithBundleIdentifier(TRObjectContext& context,
                                                                  const QString& bundleIdentifier,
                                                                  const QString& executable,
                                                                  const QString& title,
                                                                  bool createNewIfNeeded) {
    if (bundleIdentifier.isEmpty() && executable.isEmpty() && title.isEmpty()) return nullptr;
    // Only the first criterion that applies is asked: an empty id is still an id.
    std::vector<TRPSApplication*> found;
    if (!bundleIdentifier.isNull()) {
        found = TRPSFetch::fetch<TRPSApplication>(
            context, [&](TRPSApplication* a) { return a->m_bundleIdentifier == bundleIdentifier &&
                                                      !a->m_bundleIdentifier.isNull(); },
            TRPSFetch::kByValue, "bundleIdentifier = ?1 ORDER BY id", bundleIdentifier);
    } else if (!executable.isNull()) {
        const QString name = lastPathComponent(executable);
        found = TRPSFetch::fetch<TRPSApplication>(
            context,
            [&](TRPSApplication* a) { return a->m_executableName == name && !a->m_executableName.isNull(); },
            TRPSFetch::kByExecutable, "executableName = ?1 ORDER BY id", name);
    } else {
        found = TRPSFetch::fetch<TRPSApplication>(
            context, [&](TRPSApplication* a) { return a->m_title == title && !a->m_title.isNull(); },
            TRPSFetch::kByTitle, "title = ?1 ORDER BY id", title);
    }
    if (!found.empty()) return found.front();
    if (!createNewIfNeeded) return nullptr;
    auto* app = context.insert<TRPSApplication>();
    app->m_bundleIdentifier = bundleIdentifier;
    app->m_executableName = lastPathComponent(executable);
    app->m_title = title;
    return app;
}

TRPSApplication* TRPSApplication::applicationWithRunningApplication(
    TRObjectContext& context, const RunningApplication& application, bool createNewIfNeeded) {
    return applicationWithBundleIdentifier(context, application.bundleIdentifier,
                                           application.executablePath, application.localizedName,
                                           createNewIfNeeded);
}

TRPSApplication* TRPSApplication::applicationWithActivityStoreApplication(
    TRObjectContext& context, const TRASApplication& application, bool) {
    return applicationWithBundleIdentifier(context, application.bundleIdentifier(),
                                           application.executableName(), application.title(), true);
}

TRASApplication* TRPSApplication::associatedActivityStoreApplication(TRActivityStore& store) const {
    TRObjectContext* context = store.managedObjectContext();
    if (context == nullptr) return nullptr;
    return TRASApplication::applicationWithBundleIdentifier(*context, m_bundleIdentifier,
                                                            m_executableName, m_title, false);
}

void TRPSApplication::willSave() {
    if (!isDeleted() && parentProjects().empty()) context()->deleteObject(this);
}

void TRPSApplication::nullifyRelationships(bool markChanges) {
    for (TRPSProject* project : parentProjects()) {
        project->applications();
        if (project->m_applications.erase(this)) {
            if (markChanges) project->didChange(TRPSProject::kApplications);
            project->dropCaches();
        }
    }
    m_parentProjects.objects.clear();
}
