#pragma once
// TRPSProject: a named, coloured group of applications and path prefixes,
// or one of the two special projects: Blacklist (type 1: never recorded,
// never counted) and Unassigned (type -1: what no regular project claims).
//
// A project resolves its members into subtrees of the activity store
// (application roots and nodes matching its paths) and keeps them until its
// members change or the activity store's nodes are added or removed. Its
// total within the filter range is cached in cachedTotalDurationWithFilter
// (-1: not computed). A change of the members drops the project's own
// subtrees and total, and Unassigned's; a change of the Blacklist's members
// recomputes every total (TRProjectStore::refreshProjectDurations).
//
// Member changes take the project store, which the invalidation rules need.
// Main thread only.

#include <QByteArray>
#include <QString>
#include <QVariantList>
#include <optional>
#include <vector>

#include "store/graph/TRManagedObject.h"
#include "store/project/TRPSColor.h"
#include "store/project/TRPSEntities.h"

class TRActivityStore;
class TRASPathComponent;
class TRObjectContext;
class TRPSApplication;
class TRPSPath;
class TRProjectStore;
struct TREntityDescription;

// A set of activity-store nodes: sorted by address, no duplicates.
using TRPSNodeSet = std::vector<TRASPathComponent*>;

class TRPSProject final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRPSEntity::Project;
    static const TREntityDescription& description();
    enum Property : std::uint32_t {
        kName = 1u << 0,
        kType = 1u << 1,
        kColor = 1u << 2,
        kIcon = 1u << 3,
        kCachedTotalDurationWithFilter = 1u << 4,
        kApplications = 1u << 5,  // the join tables
        kPaths = 1u << 6,
    };
    enum Type : qint16 { kUnassigned = -1, kRegular = 0, kBlacklist = 1 };

    explicit TRPSProject(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    const QString& name() const { return m_name; }
    void setName(const QString& value);
    qint16 typeValue() const { return m_type; }
    void setTypeValue(qint16 value);
    // The stored block (TRPSColor.h); color() decodes it.
    const QByteArray& colorData() const { return m_color; }
    std::optional<TRPSColor> color() const { return TRPSColor::fromBytes(m_color); }
    void setColor(const TRPSColor& color);
    // An encoded image (PNG) for a regular project; the special projects'
    // icons are the UI's (trash for Blacklist, caution for Unassigned).
    const QByteArray& icon() const { return m_icon; }
    void setIcon(const QByteArray& value);

    bool isRegular() const { return m_type == kRegular; }
    bool isEditable() const { return m_type == kRegular || m_type == kBlacklist; }
    // "Blacklist", "Unassigned" (translated), else the name.
    QString localizedName() const;
    // Renames a regular project only.
    void setLocalizedName(const QString& value);

    const std::vector<TRPSApplication*>& applications();
    const std::vector<TRPSPath*>& paths();
    void setApplications(TRProjectStore& store, const std::vector<TRPSApplication*>& applications);
    void addApplications(TRProjectStore& store, const std::vector<TRPSApplication*>& applications);
    void removeApplications(TRProjectStore& store,
                            const std::vector<TRPSApplication*>& applications);
    void addPaths(TRProjectStore& store, const std::vector<TRPSPath*>& paths);
    void removePaths(TRProjectStore& store, const std::vector<TRPSPath*>& paths);

    // Project-store applications as they are, activity-store ones converted
    // (created when missing); other objects are ignored.
    void addApplicationsIfNecessary(TRProjectStore& store,
                                    const std::vector<TRManagedObject*>& applications);
    // Each member a path string (QString) or its components (QStringList);
    // anything else, and empty strings, are skipped. A path inside a member
    // path is not added; member paths inside a new one leave the project.
    void addPathsIfNecessary(TRProjectStore& store, const QVariantList& paths);

    const TRPSNodeSet& associatedActivityStorePathComponentApplicationTrees(TRActivityStore& store);
    const TRPSNodeSet& associatedActivityStorePathComponentPathTrees(TRActivityStore& store);
    TRPSNodeSet associatedActivityStorePathComponentTrees(TRActivityStore& store);
    void invalidateAssociatedActivityStorePathComponentApplicationTrees();
    void invalidateAssociatedActivityStorePathComponentPathTrees();
    void invalidateAssociatedCachedTotalDurationValues(TRProjectStore& store);

    double cachedTotalDurationWithFilterValue() const { return m_cachedTotal; }
    // Without marking a change (the total is a cache).
    void setPrimitiveCachedTotalDurationWithFilterValue(double value) { m_cachedTotal = value; }
    // The cached total, else computed for this project alone and cached.
    double totalDurationWithFilterValue(TRProjectStore& store);
    // The public setter: a change the next save writes.
    void setTotalDurationWithFilterValue(double value);

    // Look-ups. The singleton of a type is created when missing (Blacklist
    // dark grey, any other white) and not saved.
    static TRPSProject* singletonProjectOfType(TRObjectContext& context, qint16 type);
    static TRPSProject* existingProjectOfType(TRObjectContext& context, qint16 type);
    static TRPSProject* unassignedProject(TRObjectContext& context);
    static TRPSProject* blacklistProject(TRObjectContext& context);
    // Type 0, fetch order.
    static std::vector<TRPSProject*> regularProjects(TRObjectContext& context);
    static std::vector<TRPSProject*> allProjects(TRObjectContext& context);

private:
    friend class TRPSApplication;
    friend class TRPSPath;
    static std::vector<qint64> applicationKeys(const TRManagedObject& project);
    static std::vector<qint64> pathKeys(const TRManagedObject& project);

    void awakeFromInsert() override;
    void willSave() override {}
    void nullifyRelationships(bool markChanges) override;
    void applicationsDidChange(TRProjectStore& store);
    void pathsDidChange(TRProjectStore& store);
    // A member went away without us (it was deleted).
    void dropCaches();
    bool treesAreCurrent(const TRActivityStore& store, quint64 generation) const;

    QString m_name;
    QByteArray m_color;
    QByteArray m_icon;
    double m_cachedTotal = -1;
    qint16 m_type = 0;
    TRToMany<TRPSApplication> m_applications;
    TRToMany<TRPSPath> m_paths;
    std::optional<TRPSNodeSet> m_applicationTrees;
    std::optional<TRPSNodeSet> m_pathTrees;
    quint64 m_applicationTreesGeneration = 0;
    quint64 m_pathTreesGeneration = 0;
};
