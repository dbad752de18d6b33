#pragma once
// TRASApplication: one tracked application, or the pseudo-application that
// holds the activities the user entered by hand. It owns the root of its
// path-component tree (pathRoot).
//
// Lookups (by application id, else executable name, else title) go through
// the context they are given and see its unsaved changes. Main thread only.

#include <QByteArray>
#include <QString>

#include "core/TRActivity.h"
#include "store/activity/TRASEntities.h"
#include "store/graph/TRManagedObject.h"
#include "store/graph/TRToOne.h"

class TRASIconLookup;
class TRASPathComponent;
class TRObjectContext;
struct TREntityDescription;

inline constexpr char kCustomActivitiesBundleIdentifier[] =
    "info.mallowby.Vorlix.custom-activities";

class TRASApplication final : public TRManagedObject {
public:
    static constexpr std::uint8_t kEntity = TRASEntity::Application;
    static const TREntityDescription& description();

    enum Property : std::uint32_t {
        kBundleIdentifier = 1u << 0,
        kExecutableName = 1u << 1,
        kTitle = 1u << 2,
        kApplescriptTrackingDisabled = 1u << 3,
        kCachedIcon = 1u << 4,
        kPathRoot = 1u << 5,
    };

    explicit TRASApplication(TRObjectContext* context) : TRManagedObject(context, kEntity) {}

    const QString& bundleIdentifier() const { return m_bundleIdentifier; }
    void setBundleIdentifier(const QString& value);
    const QString& executableName() const { return m_executableName; }
    void setExecutableName(const QString& value);
    const QString& title() const { return m_title; }
    void setTitle(const QString& value);
    bool applescriptTrackingDisabledValue() const { return m_applescriptTrackingDisabled; }
    void setApplescriptTrackingDisabledValue(bool value);
    const QByteArray& cachedIcon() const { return m_cachedIcon; }
    void setCachedIcon(const QByteArray& value);

    TRASPathComponent* pathRoot();
    // Also makes this application the root's `application`.
    void setPathRoot(TRASPathComponent* root);

    // The installed application's location, or a null string.
    QString bundlePath(const TRASIconLookup& lookup) const;
    // Encoded image (PNG); empty when the desktop has no icon for it.
    QByteArray icon(const TRASIconLookup& lookup);

    // REQUIRES: at least one argument non-empty, else nothing is found.
    // A found application gets what it lacks filled in (the executable as
    // given, full path and all); a new one gets the executable's file name.
    static TRASApplication* applicationWithBundleIdentifier(TRObjectContext& context,
                                                            const QString& bundleIdentifier,
                                                            const QString& executablePath,
                                                            const QString& title,
                                                            bool createNewIfNeeded);
    // A running application by id, executable and name; the null marker gives
    // the custom-activities application; nothing gives nullptr.
    static TRASApplication* applicationWithRunningApplication(TRObjectContext& context,
                                                              const TRApplicationSlot& application,
                                                              bool createNewIfNeeded);
    static TRASApplication* customActivitiesApplication(TRObjectContext& context);
    // For the project store's applications: always creates a missing one.
    static TRASApplication* applicationWithProjectStoreApplication(TRObjectContext& context,
                                                                   const QString& bundleIdentifier,
                                                                   const QString& executableName,
                                                                   const QString& title);

private:
    friend class TRASPathComponent;
    // The first application whose property equals value (the unsaved state
    // wins over the file).
    enum class Key { BundleIdentifier, ExecutableName, Title };
    static TRASApplication* fetch(TRObjectContext& context, Key key, const QString& value);
    const QString& valueOf(Key key) const;
    void willSave() override;
    void nullifyRelationships(bool markChanges) override;
    void dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) override;

    QString m_bundleIdentifier;
    QString m_executableName;
    QString m_title;
    bool m_applescriptTrackingDisabled = false;
    QByteArray m_cachedIcon;
    TRToOne<TRASPathComponent> m_pathRoot;
};
