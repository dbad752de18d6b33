#include "store/activity/TRASApplication.h"

#include <QCoreApplication>

#include "core/TRLocations.h"
#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRASPathComponent.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"

namespace {

// The last path component, as the executable's file name.
QString lastPathComponent(const QString& path) {
    if (path.isNull()) return QString();
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(QLatin1Char('/'))) trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf(QLatin1Char('/'));
    return slash < 0 || trimmed.size() == 1 ? trimmed : trimmed.mid(slash + 1);
}

template <class T>
void assignIfChanged(TRManagedObject&, T& field, const T& value, bool* changed) {
    *changed = !(field == value) || (field.isNull() != value.isNull());
    if (*changed) field = value;
}

}  // namespace

// The pathRoot column came first; the icon cache was added with version 2.
const TREntityDescription& TRASApplication::description() {
    static constexpr TRColumn kColumns[] = {
        column<&TRASApplication::m_bundleIdentifier>("bundleIdentifier", "TEXT", kBundleIdentifier),
        column<&TRASApplication::m_executableName>("executableName", "TEXT", kExecutableName),
        column<&TRASApplication::m_title>("title", "TEXT", kTitle),
        column<&TRASApplication::m_applescriptTrackingDisabled>("applescriptTrackingDisabled",
                                                                "INTEGER NOT NULL DEFAULT 0",
                                                                kApplescriptTrackingDisabled),
        column<&TRASApplication::m_pathRoot>("pathRoot", "INTEGER REFERENCES PathComponent(id)",
                                             kPathRoot),
        column<&TRASApplication::m_cachedIcon>("cachedIcon", "BLOB", kCachedIcon, 2),
    };
    static constexpr TREntityDescription kDescription{"Application", kColumns, 1,
                                                      &createObject<TRASApplication>};
    return kDescription;
}

void TRASApplication::setBundleIdentifier(const QString& value) {
    bool changed = false;
    assignIfChanged(*this, m_bundleIdentifier, value, &changed);
    if (changed) didChange(kBundleIdentifier);
}

void TRASApplication::setExecutableName(const QString& value) {
    bool changed = false;
    assignIfChanged(*this, m_executableName, value, &changed);
    if (changed) didChange(kExecutableName);
}

void TRASApplication::setTitle(const QString& value) {
    bool changed = false;
    assignIfChanged(*this, m_title, value, &changed);
    if (changed) didChange(kTitle);
}

void TRASApplication::setApplescriptTrackingDisabledValue(bool value) {
    if (m_applescriptTrackingDisabled == value) return;
    m_applescriptTrackingDisabled = value;
    didChange(kApplescriptTrackingDisabled);
}

void TRASApplication::setCachedIcon(const QByteArray& value) {
    bool changed = false;
    assignIfChanged(*this, m_cachedIcon, value, &changed);
    if (changed) didChange(kCachedIcon);
}

TRASPathComponent* TRASApplication::pathRoot() {
    if (!m_pathRoot.resolved())
        m_pathRoot.resolveTo(context()->objectWithId<TRASPathComponent>(m_pathRoot.id));
    return m_pathRoot.object;
}

void TRASApplication::setPathRoot(TRASPathComponent* root) {
    if (m_pathRoot.resolved() && m_pathRoot.object == root) return;
    m_pathRoot.set(root);
    didChange(kPathRoot);
    if (root) root->setApplicationLink(this);
}

QString TRASApplication::bundlePath(const TRASIconLookup& lookup) const {
    const QString id = m_bundleIdentifier == QLatin1String(kCustomActivitiesBundleIdentifier)
                           ? QString::fromLatin1(TRLocations::kHelperBundleIdentifier)
                           : m_bundleIdentifier;
    QString path = id.isEmpty() ? QString() : lookup.applicationPathForBundleIdentifier(id);
    if (path.isEmpty() && !m_title.isEmpty()) path = lookup.applicationPathForName(m_title);
    return path.isEmpty() ? QString() : path;
}

QByteArray TRASApplication::icon(const TRASIconLookup& lookup) {
    if (!m_cachedIcon.isEmpty()) return m_cachedIcon;
    const QString path = bundlePath(lookup);
    QByteArray image = path.isNull() ? QByteArray() : lookup.iconForApplicationPath(path);
    if (image.isEmpty()) image = lookup.genericDocumentIcon();
    if (!image.isEmpty()) setCachedIcon(image);
    return image;
}

TRASApplication* TRASApplication::applicationWithBundleIdentifier(TRObjectContext& context,
                                                                  const QString& bundleIdentifier,
                                                                  const QString& executablePath,
                                                                  const QString& title,
                                                                  bool createNewIfNeeded) {
    if (bundleIdentifier.isEmpty() && executablePath.isEmpty() && title.isEmpty()) return nullptr;
    TRASApplication* app =
        !bundleIdentifier.isNull() ? fetch(context, Key::BundleIdentifier, bundleIdentifier)
        : !executablePath.isNull()
            ? fetch(context, Key::ExecutableName, lastPathComponent(executablePath))
            : fetch(context, Key::Title, title);
    if (app) {
        if (app->bundleIdentifier().isEmpty() && !bundleIdentifier.isEmpty())
            app->setBundleIdentifier(bundleIdentifier);
        // The full path, unlike at creation: kept as the main application expects.
        if (app->executableName().isEmpty() && !executablePath.isEmpty())
            app->setExecutableName(executablePath);
        if (app->title().isEmpty() && !title.isEmpty()) app->setTitle(title);
        return app;
    }
    if (!createNewIfNeeded) return nullptr;
    app = context.insert<TRASApplication>();
    app->m_bundleIdentifier = bundleIdentifier;
    app->m_executableName = lastPathComponent(executablePath);
    app->m_title = title;
    app->setPathRoot(context.insert<TRASPathComponent>());
    return app;
}

TRASApplication* TRASApplication::applicationWithRunningApplication(
    TRObjectContext& context, const TRApplicationSlot& application, bool createNewIfNeeded) {
    if (const auto* running = std::get_if<RunningApplication>(&application)) {
        return applicationWithBundleIdentifier(context, running->bundleIdentifier,
                                               running->executablePath, running->localizedName,
                                               createNewIfNeeded);
    }
    if (std::holds_alternative<TRNullApplication>(application))
        return customActivitiesApplication(context);
    return nullptr;
}

TRASApplication* TRASApplication::applicationWithProjectStoreApplication(
    TRObjectContext& context, const QString& bundleIdentifier, const QString& executableName,
    const QString& title) {
    // Creation is always on, whatever the caller would ask: kept as the main
    // application does it.
    return applicationWithBundleIdentifier(context, bundleIdentifier, executableName, title, true);
}

TRASApplication* TRASApplication::customActivitiesApplication(TRObjectContext& context) {
    return applicationWithBundleIdentifier(
        context, QString::fromLatin1(kCustomActivitiesBundleIdentifier), QString(),
        QCoreApplication::translate("TRActivityStore", "Custom Activities"), true);
}

const QString& TRASApplication::valueOf(Key key) const {
    return key == Key::BundleIdentifier ? m_bundleIdentifier
           : key == Key::ExecutableName ? m_executableName
                                        : m_title;
}

TRASApplication* TRASApplication::fetch(TRObjectContext& context, Key key, const QString& value) {
    // As in SQL, a missing value equals nothing, not even an empty one.
    auto matches = [&](TRASApplication* app) {
        const QString& current = app->valueOf(key);
        return !current.isNull() && !value.isNull() && current == value;
    };
    if (TRASApplication* app = context.firstChangedObject<TRASApplication>(matches)) return app;
    static constexpr const char* kWhere[] = {"bundleIdentifier = ?1 ORDER BY id",
                                             "executableName = ?1 ORDER BY id",
                                             "title = ?1 ORDER BY id"};
    static constexpr std::uint32_t kBit[] = {kBundleIdentifier, kExecutableName, kTitle};
    const int which = int(key);
    SqliteStatement* stmt = context.cachedSelect(kEntity, quint64(which), kWhere[which]);
    if (!stmt) return nullptr;
    stmt->bind(1, value);
    TRASApplication* found = nullptr;
    while (!found && stmt->step()) {
        auto* app = context.readRow<TRASApplication>(*stmt);
        if (!app->isDeleted() && !(app->isDirty(kBit[which]) && app->valueOf(key) != value))
            found = app;
    }
    stmt->reset();
    return found;
}

void TRASApplication::willSave() {
    if (isDeleted()) return;
    if (!pathRoot()) context()->deleteObject(this);
}

void TRASApplication::dropReferencesTo(const std::unordered_set<const TRManagedObject*>& gone) {
    m_pathRoot.forgetIfIn(gone);
}

void TRASApplication::nullifyRelationships(bool markChanges) {
    Q_UNUSED(markChanges);
    if (m_pathRoot.resolved() && m_pathRoot.object) {
        TRASPathComponent* root = m_pathRoot.object;
        root->m_application.setFromRow(primaryKey());
    }
}
