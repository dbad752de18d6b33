#pragma once
// TRPSPath: a path prefix as a member of projects.
//
// pathString holds the components of an activity-store branch (below the
// application's root) joined by tab, U+F8FF, tab; a one-component path has
// no delimiter. A path that no project holds any more deletes itself at the
// next save. Main thread only.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

#include "store/graph/TRManagedObject.h"
#include "store/project/TRPSEntities.h"

class TRActivityStore;
class TRASIconLookup;
class TRASPathComponent;
class TRObjectContext;
class TRPSProject;
struct TREntityDescription;

class TRPSPath final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRPSEntity::Path;
    static const TREntityDescription& description();
    enum Property : std::uint32_t {
        kPathString = 1u << 0,
        kCachedIcon = 1u << 1,
    };

    explicit TRPSPath(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    const QString& pathString() const { return m_pathString; }
    void setPathString(const QString& value);
    const QByteArray& cachedIcon() const { return m_cachedIcon; }
    void setCachedIcon(const QByteArray& value);

    QStringList pathComponents() const { return pathComponentsForPathString(m_pathString); }
    // The components as recorded, end to end: "/home/a/b.txt", "https://host/p?q".
    QString representedPath() const;
    // The components joined by " ▸ ".
    QString representedPathForDisplay() const;
    // A file's icon (cached); the generic document icon for a missing file;
    // nothing for a path that is not a file path.
    QByteArray icon(const TRASIconLookup& lookup);

    const std::vector<TRPSProject*>& parentProjects();
    std::vector<TRPSProject*> sortedParentProjects();

    // The activity store's nodes at the path's depth whose values and
    // ancestors' values are the components, under any application; nullopt
    // for a path without components.
    std::optional<std::vector<TRASPathComponent*>> associatedActivityStorePathComponents(
        TRActivityStore& store) const;

    static QStringList pathComponentsForPathString(const QString& pathString);
    static QString pathStringForPathComponents(const QStringList& components);
    // Nothing for an empty string.
    static TRPSPath* pathForPathString(TRObjectContext& context, const QString& pathString,
                                       bool createNewIfNeeded);
    static TRPSPath* pathForPathComponents(TRObjectContext& context, const QStringList& components,
                                           bool createNewIfNeeded);

private:
    friend class TRPSProject;

    void willSave() override;
    void nullifyRelationships(bool markChanges) override;

    QString m_pathString;
    QByteArray m_cachedIcon;
    TRToMany<TRPSProject> m_parentProjects;
};
