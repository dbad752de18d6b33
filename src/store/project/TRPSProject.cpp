#include "store/project/TRPSProject.h"

#include <QCoreApplication>
#include <algorithm>

#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRBlacklist.h"
#include "store/graph/TRObjectContext.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRPSFetch.h"
#include "store/project/TRPSPath.h"
#include "store/project/TRProjectStore.h"

namespace {

void uniteInto(TRPSNodeSet& set, std::vector<TRASPathComponent*> more) {
    std::sort(more.begin(), more.end());
    TRPSNodeSet united;
    united.reserve(set.size() + more.size());
    std::set_union(set.begin(), set.end(), more.begin(), more.end(), std::back_inserter(united));
    united.erase(std::unique(united.begin(), united.end()), united.end());
    set = std::move(united);
}

}  // namespace

std::vector<qint64> TRPSProject::applicationKeys(const TRManagedObject& object) {
    std::vector<qint64> keys;
    for (TRPSApplication* app : static_cast<const TRPSProject&>(object).m_applications.objects)
        keys.push_back(app->primaryKey());
    return keys;
}

std::vector<qint64> TRPSProject::pathKeys(const TRManagedObject& object) {
    std::vector<qint64> keys;
    for (TRPSPath* path : static_cast<const TRPSProject&>(object).m_paths.objects)
        keys.push_back(path->primaryKey());
    return keys;
}

// The two join tables belong to the project; their rows name the project
// and the member by key.
const TREntityDescription& TRPSProject::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRPSProject::m_name>("name", "TEXT", kName),
        column<&TRPSProject::m_type>("type", "INTEGER NOT NULL DEFAULT 0", kType),
        column<&TRPSProject::m_color>("color", "BLOB", kColor),
        column<&TRPSProject::m_icon>("icon", "BLOB", kIcon),
        column<&TRPSProject::m_cachedTotal>("cachedTotalDurationWithFilter", "REAL DEFAULT -1",
                                            kCachedTotalDurationWithFilter),
    };
    static constexpr TRJoin kJoins[] = {
        {"Project_applications", "Project", "Application", TRPSEntity::Application,
         kApplications, &TRPSProject::applicationKeys},
        {"Project_paths", "Project", "Path", TRPSEntity::Path, kPaths, &TRPSProject::pathKeys},
    };
    static constexpr TREntityDescription kDescription{"Project", kColumns, 1,
                                                      &createObject<TRPSProject>, kJoins};
    return kDescription;
}

void TRPSProject::setName(const QString& value) {
    if (m_name == value && m_name.isNull() == value.isNull()) return;
    m_name = value;
    didChange(kName);
}

void TRPSProject::setTypeValue(qint16 value) {
    if (m_type == value) return;
    m_type = value;
    didChange(kType);
}

void TRPSProject::setColor(const TRPSColor& color) {
    const QByteArray bytes = color.toBytes();
    if (m_color == bytes) return;
    m_color = bytes;
    didChange(kColor);
}

void TRPSProject::setIcon(const QByteArray& value) {
    if (m_icon == value && m_icon.isNull() == value.isNull()) return;
    m_icon = value;
    didChange(kIcon);
}

QString TRPSProject::localizedName() const {
    if (m_type == kBlacklist) return QCoreApplication::translate("TRPSProject", "Blacklist");
    if (m_type == kUnassigned) return QCoreApplication::translate("TRPSProject", "Unassigned");
    return m_name;
}

void TRPSProject::setLocalizedName(const QString& value) {
    if (isRegular() && value != m_name) setName(value);
}

// The colour comes from the cycle of base colours by the number of projects
// a fetch finds now, this one included; set without marking a change (a new
// object writes every column anyway).
void TRPSProject::awakeFromInsert() {
    const auto count = qint64(allProjects(*context()).size()) + 1;
    m_color = TRPSColor::baseColorWithIndex(count).toBytes();
}

const std::vector<TRPSApplication*>& TRPSProject::applications() {
    TRPSFetch::loadJoined(
        *context(), m_applications, primaryKey(), TRPSFetch::kJoined,
        "id IN (SELECT Application FROM Project_applications WHERE Project = ?1) ORDER BY id");
    return m_applications.objects;
}

const std::vector<TRPSPath*>& TRPSProject::paths() {
    TRPSFetch::loadJoined(*context(), m_paths, primaryKey(), TRPSFetch::kJoined,
                          "id IN (SELECT Path FROM Project_paths WHERE Project = ?1) ORDER BY id");
    return m_paths.objects;
}

void TRPSProject::addApplications(TRProjectStore& store,
                                  const std::vector<TRPSApplication*>& applications) {
    this->applications();
    bool changed = false;
    for (TRPSApplication* app : applications) {
        if (!app || app->isDeleted()) continue;
        app->parentProjects();
        if (m_applications.insert(app)) {
            app->m_parentProjects.insert(this);
            changed = true;
        }
    }
    if (!changed) return;
    didChange(kApplications);
    applicationsDidChange(store);
}

void TRPSProject::removeApplications(TRProjectStore& store,
                                     const std::vector<TRPSApplication*>& applications) {
    this->applications();
    bool changed = false;
    for (TRPSApplication* app : applications) {
        if (!app) continue;
        app->parentProjects();
        if (m_applications.erase(app)) {
            app->m_parentProjects.erase(this);
            // Its clean-up rule looks at it at the next save.
            app->didChange(0);
            changed = true;
        }
    }
    if (!changed) return;
    didChange(kApplications);
    applicationsDidChange(store);
}

void TRPSProject::setApplications(TRProjectStore& store,
                                  const std::vector<TRPSApplication*>& applications) {
    std::vector<TRPSApplication*> leaving;
    for (TRPSApplication* app : this->applications()) {
        if (std::find(applications.begin(), applications.end(), app) == applications.end())
            leaving.push_back(app);
    }
    removeApplications(store, leaving);
    addApplications(store, applications);
}

void TRPSProject::addPaths(TRProjectStore& store, const std::vector<TRPSPath*>& paths) {
    this->paths();
    bool changed = false;
    for (TRPSPath* path : paths) {
        if (!path || path->isDeleted()) continue;
        path->parentProjects();
        if (m_paths.insert(path)) {
            path->m_parentProjects.insert(this);
            changed = true;
        }
    }
    if (!changed) return;
    didChange(kPaths);
    pathsDidChange(store);
}

void TRPSProject::removePaths(TRProjectStore& store, const std::vector<TRPSPath*>& paths) {
    this->paths();
    bool changed = false;
    for (TRPSPath* path : paths) {
        if (!path) continue;
        path->parentProjects();
        if (m_paths.erase(path)) {
            path->m_parentProjects.erase(this);
            path->didChange(0);
            changed = true;
        }
    }
    if (!changed) return;
    didChange(kPaths);
    pathsDidChange(store);
}

void TRPSProject::addApplicationsIfNecessary(TRProjectStore& store,
                                             const std::vector<TRManagedObject*>& applications) {
    std::vector<TRPSApplication*> adding;
    for (TRManagedObject* object : applications) {
        if (auto* app = dynamic_cast<TRPSApplication*>(object)) {
            adding.push_back(app);
        } else if (auto* recorded = dynamic_cast<TRASApplication*>(object)) {
            adding.push_back(TRPSApplication::applicationWithActivityStoreApplication(
                *context(), *recorded, true));
        }
    }
    addApplications(store, adding);
}

void TRPSProject::addPathsIfNecessary(TRProjectStore& store, const QVariantList& paths) {
    for (const QVariant& member : paths) {
        QString added;
        if (member.typeId() == QMetaType::QString)
            added = member.toString();
        else if (member.typeId() == QMetaType::QStringList)
            added = TRPSPath::pathStringForPathComponents(member.toStringList());
        if (added.isEmpty()) continue;
        bool inside = false;
        std::vector<TRPSPath*> within;
        for (TRPSPath* existing : std::vector<TRPSPath*>(this->paths())) {
            const QString prefix = existing->pathString() + kPathComponentDelimiter;
            if (added.startsWith(prefix)) {
                inside = true;
                break;
            }
            // Without a delimiter after the new path: a plain prefix test,
            // as the main application does it.
            if (prefix.startsWith(added)) within.push_back(existing);
        }
        if (inside) continue;
        removePaths(store, within);
        addPaths(store, {TRPSPath::pathForPathString(*context(), added, true)});
    }
}

void TRPSProject::applicationsDidChange(TRProjectStore& store) {
    // The subtrees go first, so a recomputed total sees the new members.
    invalidateAssociatedActivityStorePathComponentApplicationTrees();
    if (TRPSProject* unassigned = store.existingProjectOfType(kUnassigned))
        unassigned->invalidateAssociatedActivityStorePathComponentApplicationTrees();
    invalidateAssociatedCachedTotalDurationValues(store);
}

void TRPSProject::pathsDidChange(TRProjectStore& store) {
    invalidateAssociatedActivityStorePathComponentPathTrees();
    if (TRPSProject* unassigned = store.existingProjectOfType(kUnassigned))
        unassigned->invalidateAssociatedActivityStorePathComponentPathTrees();
    invalidateAssociatedCachedTotalDurationValues(store);
}

void TRPSProject::dropCaches() {
    m_applicationTrees.reset();
    m_pathTrees.reset();
    m_cachedTotal = -1;
}

void TRPSProject::invalidateAssociatedActivityStorePathComponentApplicationTrees() {
    m_applicationTrees.reset();
}

void TRPSProject::invalidateAssociatedActivityStorePathComponentPathTrees() {
    m_pathTrees.reset();
}

void TRPSProject::invalidateAssociatedCachedTotalDurationValues(TRProjectStore& store) {
    if (m_type == kBlacklist) {
        // The blacklist changes every total.
        store.refreshProjectDurations();
        return;
    }
    m_cachedTotal = -1;
    if (TRPSProject* unassigned = store.existingProjectOfType(kUnassigned))
        unassigned->m_cachedTotal = -1;
}

const TRPSNodeSet& TRPSProject::associatedActivityStorePathComponentApplicationTrees(
    TRActivityStore& store) {
    const quint64 generation = store.pathComponentGeneration();
    if (!m_applicationTrees || m_applicationTreesGeneration != generation) {
        TRPSNodeSet trees;
        for (TRPSApplication* app : applications()) {
            TRASApplication* recorded = app->associatedActivityStoreApplication(store);
            TRASPathComponent* root = recorded ? recorded->pathRoot() : nullptr;
            if (root) uniteInto(trees, root->completeSubtree(store.allPathComponentsGroupedByPathParent()));
        }
        m_applicationTrees = std::move(trees);
        m_applicationTreesGeneration = store.pathComponentGeneration();
    }
    return *m_applicationTrees;
}

const TRPSNodeSet& TRPSProject::associatedActivityStorePathComponentPathTrees(
    TRActivityStore& store) {
    const quint64 generation = store.pathComponentGeneration();
    if (!m_pathTrees || m_pathTreesGeneration != generation) {
        TRPSNodeSet trees;
        for (TRPSPath* path : paths()) {
            const auto nodes = path->associatedActivityStorePathComponents(store);
            if (!nodes) continue;
            for (TRASPathComponent* node : *nodes)
                uniteInto(trees, node->completeSubtree(store.allPathComponentsGroupedByPathParent()));
        }
        m_pathTrees = std::move(trees);
        m_pathTreesGeneration = store.pathComponentGeneration();
    }
    return *m_pathTrees;
}

TRPSNodeSet TRPSProject::associatedActivityStorePathComponentTrees(TRActivityStore& store) {
    TRPSNodeSet trees = associatedActivityStorePathComponentApplicationTrees(store);
    uniteInto(trees, associatedActivityStorePathComponentPathTrees(store));
    return trees;
}

double TRPSProject::totalDurationWithFilterValue(TRProjectStore& store) {
    if (m_cachedTotal >= 0) return m_cachedTotal;
    m_cachedTotal = store.sumForProjects({this});
    return m_cachedTotal;
}

void TRPSProject::setTotalDurationWithFilterValue(double value) {
    if (m_cachedTotal == value) return;
    m_cachedTotal = value;
    didChange(kCachedTotalDurationWithFilter);
}

TRPSProject* TRPSProject::existingProjectOfType(TRObjectContext& context, qint16 type) {
    const auto found =
        TRPSFetch::fetch<TRPSProject>(context, [type](TRPSProject* p) { return p->m_type == type; });
    return found.empty() ? nullptr : found.front();
}

TRPSProject* TRPSProject::singletonProjectOfType(TRObjectContext& context, qint16 type) {
    if (TRPSProject* existing = existingProjectOfType(context, type)) return existing;
    auto* project = context.insert<TRPSProject>();
    project->m_type = type;
    project->m_color = (type == kBlacklist ? TRPSColor::darkGrayColor() : TRPSColor::whiteColor())
                           .toBytes();
    return project;
}

TRPSProject* TRPSProject::unassignedProject(TRObjectContext& context) {
    return singletonProjectOfType(context, kUnassigned);
}

TRPSProject* TRPSProject::blacklistProject(TRObjectContext& context) {
    return singletonProjectOfType(context, kBlacklist);
}

std::vector<TRPSProject*> TRPSProject::regularProjects(TRObjectContext& context) {
    return TRPSFetch::fetch<TRPSProject>(context, [](TRPSProject* p) { return p->isRegular(); });
}

std::vector<TRPSProject*> TRPSProject::allProjects(TRObjectContext& context) {
    return TRPSFetch::fetch<TRPSProject>(context, [](TRPSProject*) { return true; });
}

void TRPSProject::nullifyRelationships(bool markChanges) {
    for (TRPSApplication* app : applications()) {
        app->parentProjects();
        app->m_parentProjects.erase(this);
        if (markChanges) app->didChange(0);
    }
    for (TRPSPath* path : paths()) {
        path->parentProjects();
        path->m_parentProjects.erase(this);
        if (markChanges) path->didChange(0);
    }
    m_applications.objects.clear();
    m_paths.objects.clear();
    dropCaches();
}
