#pragma once
// TRPSApplication: an application as a member of projects.
//
// Looked up by the first criterion that applies: the application id when
// one is given (even an empty one), else the executable's file name, else
// the title; so an application with an id is never matched by name. An
// application that no project holds any more deletes itself at the next
// save. Main thread only.

#include <QByteArray>
#include <QString>
#include <vector>

#include "core/RunningApplication.h"
#include "store/graph/TRManagedObject.h"
#include "store/project/TRPSEntities.h"

class TRActivityStore;
class TRASApplication;
class TRASIconLookup;
class TRObjectContext;
class TRPSProject;
struct TREntityDescription;

class TRPSApplication final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRPSEntity::Application;
    static const TREntityDescription& description();
    enum Property : std::uint32_t {
        kBundleIdentifier = 1u << 0,
        kExecutableName = 1u << 1,
        kTitle = 1u << 2,
        kCachedIcon = 1u << 3,
    };

    explicit TRPSApplication(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    const QString& bundleIdentifier() const { return m_bundleIdentifier; }
    void setBundleIdentifier(const QString& value);
    const QString& executableName() const { return m_executableName; }
    void setExecutableName(const QString& value);
    const QString& title() const { return m_title; }
    void setTitle(const QString& value);
    const QByteArray& cachedIcon() const { return m_cachedIcon; }
    void setCachedIcon(const QByteArray& value);

    const std::vector<TRPSProject*>& parentProjects();
    // By name; empty when none.
    std::vector<TRPSProject*> sortedParentProjects();

    // The installed application's desktop entry, by id, else by title; null
    // when neither finds one.
    QString bundlePath(const TRASIconLookup& lookup) const;
    // Encoded image (PNG), cached; the generic document icon when the
    // application has none.
    QByteArray icon(const TRASIconLookup& lookup);

    // Nothing when all three are empty. A new application gets the id, the
    // executable's file name and the title.
    static TRPSApplication* applicationWithBundleIdentifier(TRObjectContext& context,
                                                            const QString& bundleIdentifier,
                                                            const QString& executable,
                                                            const QString& title,
                                                            bool createNewIfNeeded);
    static TRPSApplication* applicationWithRunningApplication(TRObjectContext& context,
                                                              const RunningApplication& application,
                                                              bool createNewIfNeeded);
    // Always creates a missing one, whatever is asked: as the main
    // application does.
    static TRPSApplication* applicationWithActivityStoreApplication(
        TRObjectContext& context, const TRASApplication& application, bool createNewIfNeeded);
    // The activity store's application of the same identity; never created.
    TRASApplication* associatedActivityStoreApplication(TRActivityStore& store) const;

    static QString lastPathComponent(const QString& path);

private:
    friend class TRPSProject;

    void willSave() override;
    void nullifyRelationships(bool markChanges) override;

    QString m_bundleIdentifier;
    QString m_executableName;
    QString m_title;
    QByteArray m_cachedIcon;
    TRToMany<TRPSProject> m_parentProjects;
};
