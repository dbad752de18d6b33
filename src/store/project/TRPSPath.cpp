#include "store/project/TRPSPath.h"

#include <QFileInfo>
#include <algorithm>

#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRBlacklist.h"
#include "store/graph/TRObjectContext.h"
#include "store/project/TRPSFetch.h"
#include "store/project/TRPSProject.h"

const TREntityDescription& TRPSPath::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRPSPath::m_pathString>("pathString", "TEXT", kPathString),
        column<&TRPSPath::m_cachedIcon>("cachedIcon", "BLOB", kCachedIcon),
    };
    static constexpr TREntityDescription kDescription{"Path", kColumns, 1,
                                                      &createObject<TRPSPath>};
    return kDescription;
}

void TRPSPath::setPathString(const QString& value) {
    if (m_pathString == value && m_pathString.isNull() == value.isNull()) return;
    m_pathString = value;
    didChange(kPathString);
}

void TRPSPath::setCachedIcon(const QByteArray& value) {
    if (m_cachedIcon == value && m_cachedIcon.isNull() == value.isNull()) return;
    m_cachedIcon = value;
    didChange(kCachedIcon);
}

QStringList TRPSPath::pathComponentsForPathString(const QString& pathString) {
    return pathString.split(kPathComponentDelimiter);
}

QString TRPSPath::pathStringForPathComponents(const QStringList& components) {
    return ::pathStringForPathComponents(components);
}

QString TRPSPath::representedPath() const {
    return pathComponents().join(QString());
}

QString TRPSPath::representedPathForDisplay() const {
    return pathComponents().join(QStringLiteral(" \u25B8 "));
}

QByteArray TRPSPath::icon(const TRASIconLookup& lookup) {
    if (!m_cachedIcon.isNull()) return m_cachedIcon;
    const QString path = representedPath();
    if (!path.startsWith(QLatin1Char('/'))) return QByteArray();
    QByteArray image = QFileInfo::exists(path) ? lookup.iconForFile(path) : QByteArray();
    if (image.isEmpty()) image = lookup.genericDocumentIcon();
    setCachedIcon(image);
    return image;
}

const std::vector<TRPSProject*>& TRPSPath::parentProjects() {
    TRPSFetch::loadJoined(*context(), m_parentProjects, primaryKey(), TRPSFetch::kJoinedByPath,
                          "id IN (SELECT Project FROM Project_paths WHERE Path = ?1) ORDER BY id");
    return m_parentProjects.objects;
}

std::vector<TRPSProject*> TRPSPath::sortedParentProjects() {
    std::vector<TRPSProject*> projects = parentProjects();
    std::stable_sort(projects.begin(), projects.end(),
                     [](TRPSProject* a, TRPSProject* b) { return a->name() < b->name(); });
    return projects;
}

std::optional<std::vector<TRASPathComponent*>> TRPSPath::associatedActivityStorePathComponents(
    TRActivityStore& store) const {
    const QStringList components = pathComponents();
    const qsizetype n = m_pathString.isEmpty() ? 0 : components.size();
    if (n == 0) return std::nullopt;
    std::vector<TRASPathComponent*> found;
    const auto& levels = store.allPathComponentsGroupedByPathLevel();
    if (size_t(n) >= levels.size()) return found;
    for (TRASPathComponent* candidate : levels[size_t(n)]) {
        if (candidate->isDeleted() || candidate->value() != components[n - 1]) continue;
        // The application at the root is not compared: the same path under
        // any application matches.
        TRASPathComponent* node = candidate;
        bool matches = true;
        for (qsizetype i = n - 2; matches && i >= 0; --i) {
            node = node->pathParent();
            matches = node && node->value() == components[i];
        }
        if (matches) found.push_back(candidate);
    }
    return found;
}

TRPSPath* TRPSPath::pathForPathString(TRObjectContext& context, const QString& pathString,
                                      bool createNewIfNeeded) {
    if (pathString.isEmpty()) return nullptr;
    const std::vector<TRPSPath*> found = TRPSFetch::fetch<TRPSPath>(
        context, [&](TRPSPath* p) { return p->m_pathString == pathString; }, TRPSFetch::kByValue,
        "pathString = ?1 ORDER BY id", pathString);
    if (!found.empty()) return found.front();
    if (!createNewIfNeeded) return nullptr;
    auto* path = context.insert<TRPSPath>();
    path->m_pathString = pathString;
    return path;
}

TRPSPath* TRPSPath::pathForPathComponents(TRObjectContext& context, const QStringList& components,
                                          bool createNewIfNeeded) {
    return pathForPathString(context, pathStringForPathComponents(components), createNewIfNeeded);
}

void TRPSPath::willSave() {
    if (!isDeleted() && parentProjects().empty()) context()->deleteObject(this);
}

void TRPSPath::nullifyRelationships(bool markChanges) {
    for (TRPSProject* project : parentProjects()) {
        project->paths();
        if (project->m_paths.erase(this)) {
            if (markChanges) project->didChange(TRPSProject::kPaths);
            project->dropCaches();
        }
    }
    m_parentProjects.objects.clear();
}
