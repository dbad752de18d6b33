#include "store/activity/TRASApplication.h"

#include <QCoreApplication>

#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"
#include "store/activity/TRASIconLookup.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "core/TRLocations.h"

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
void assignIfChanged(TRASObject&, T& field, const T& value, bool* changed) {
    *changed = !(field == value) || (field.isNull() != value.isNull());
    if (*changed) field = value;
}

}  // namespace

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
    if (!m_pathRoot.resolved()) m_pathRoot.resolveTo(context()->pathComponentWithId(m_pathRoot.id));
    return m_pathRoot.object;
}

void TRASApplication::setPathRoot(TRASPathComponent* root) {
    if (m_pathRoot.resolved() && m_pathRoot.object == root) return;
    m_pathRoot.set(root);
    didChange(kPathRoot);
    if (root) root->setApplicationLink(this);
}

QString TRASApplication::bundlePath() const {
    TRASIconLookup& lookup = context()->store()->iconLookup();
    const QString id = m_bundleIdentifier == QLatin1String(kCustomActivitiesBundleIdentifier)
                           ? QString::fromLatin1(TRLocations::kHelperBundleIdentifier)
                           : m_bundleIdentifier;
    QString path = id.isEmpty() ? QString() : lookup.applicationPathForBundleIdentifier(id);
    if (path.isEmpty() && !m_title.isEmpty()) path = lookup.applicationPathForName(m_title);
    return path.isEmpty() ? QString() : path;
}

QByteArray TRASApplication::icon() {
    if (!m_cachedIcon.isEmpty()) return m_cachedIcon;
    TRASIconLookup& lookup = context()->store()->iconLookup();
    const QString path = bundlePath();
    QByteArray image = path.isNull() ? QByteArray() : lookup.iconForApplicationPath(path);
    if (image.isEmpty()) image = lookup.genericDocumentIcon();
    if (!image.isEmpty()) setCachedIcon(image);
    return image;
}

TRASApplication* TRASApplication::applicationWithBundleIdentifier(TRActivityStore& store,
                                                                  const QString& bundleIdentifier,
                                                                  const QString& executablePath,
                                                                  const QString& title,
                                                                  bool createNewIfNeeded) {
    if (bundleIdentifier.isEmpty() && executablePath.isEmpty() && title.isEmpty()) return nullptr;
    TRASContext* context = store.managedObjectContext();
    if (!context) return nullptr;
    TRASApplication* app =
        !bundleIdentifier.isNull() ? context->fetchApplication("bundleIdentifier", bundleIdentifier)
        : !executablePath.isNull()
            ? context->fetchApplication("executableName", lastPathComponent(executablePath))
            : context->fetchApplication("title", title);
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
    app = context->insertApplication();
    app->m_bundleIdentifier = bundleIdentifier;
    app->m_executableName = lastPathComponent(executablePath);
    app->m_title = title;
    app->setPathRoot(context->insertPathComponent());
    return app;
}

TRASApplication* TRASApplication::applicationWithRunningApplication(
    TRActivityStore& store, const TRApplicationSlot& application, bool createNewIfNeeded) {
    if (const auto* running = std::get_if<RunningApplication>(&application)) {
        return applicationWithBundleIdentifier(store, running->bundleIdentifier,
                                               running->executablePath, running->localizedName,
                                               createNewIfNeeded);
    }
    if (std::holds_alternative<TRNullApplication>(application))
        return customActivitiesApplication(store);
    return nullptr;
}

TRASApplication* TRASApplication::applicationWithRunningApplication(
    const TRApplicationSlot& application, bool createNewIfNeeded) {
    return applicationWithRunningApplication(TRActivityStore::sharedInstance(), application,
                                             createNewIfNeeded);
}

TRASApplication* TRASApplication::applicationWithProjectStoreApplication(
    TRActivityStore& store, const QString& bundleIdentifier, const QString& executableName,
    const QString& title) {
    // Creation is always on, whatever the caller would ask: kept as the main
    // application does it.
    return applicationWithBundleIdentifier(store, bundleIdentifier, executableName, title, true);
}

TRASApplication* TRASApplication::customActivitiesApplication(TRActivityStore& store) {
    return applicationWithBundleIdentifier(
        store, QString::fromLatin1(kCustomActivitiesBundleIdentifier), QString(),
        QCoreApplication::translate("TRActivityStore", "Custom Activities"), true);
}

void TRASApplication::readColumns(const SqliteStatement& row, bool keepDirty) {
    auto take = [&](std::uint32_t bit) { return !(keepDirty && isDirty(bit)); };
    if (take(kBundleIdentifier)) m_bundleIdentifier = row.text(1);
    if (take(kExecutableName)) m_executableName = row.text(2);
    if (take(kTitle)) m_title = row.text(3);
    if (take(kApplescriptTrackingDisabled)) m_applescriptTrackingDisabled = row.int64(4) != 0;
    if (take(kCachedIcon)) m_cachedIcon = row.blob(5);
    if (take(kPathRoot)) m_pathRoot.setFromRow(row.int64(6));
}

std::optional<TRError> TRASApplication::insertRow(SqliteDatabase& db) {
    SqliteStatement* stmt = db.cached(
        "INSERT INTO Application(id, bundleIdentifier, executableName, title, "
        "applescriptTrackingDisabled, cachedIcon, pathRoot) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    stmt->bind(2, m_bundleIdentifier);
    stmt->bind(3, m_executableName);
    stmt->bind(4, m_title);
    stmt->bind(5, qint64(m_applescriptTrackingDisabled ? 1 : 0));
    stmt->bind(6, m_cachedIcon);
    stmt->bindOptionalId(7, m_pathRoot.keyForWriting());
    return stmt->run();
}

std::optional<TRError> TRASApplication::updateRow(SqliteDatabase& db) {
    static const char* const kColumns[] = {
        "bundleIdentifier", "executableName", "title", "applescriptTrackingDisabled",
        "cachedIcon",       "pathRoot"};
    const std::uint32_t mask = dirtyMask() & 0x3Fu;
    if (mask == 0) return std::nullopt;
    SqliteStatement* stmt = db.cachedByKey(
        TRASContext::statementKey(TRASContext::StatementKind::UpdateApplication, mask), [mask] {
            QStringList sets;
            for (int i = 0; i < 6; ++i) {
                if (mask & (1u << i))
                    sets.append(
                        QStringLiteral("%1 = ?%2").arg(QLatin1String(kColumns[i])).arg(i + 2));
            }
            return QStringLiteral("UPDATE Application SET %1 WHERE id = ?1")
                .arg(sets.join(QLatin1String(", ")));
        });
    if (!stmt) return db.lastError();
    stmt->bind(1, primaryKey());
    if (isDirty(kBundleIdentifier)) stmt->bind(2, m_bundleIdentifier);
    if (isDirty(kExecutableName)) stmt->bind(3, m_executableName);
    if (isDirty(kTitle)) stmt->bind(4, m_title);
    if (isDirty(kApplescriptTrackingDisabled)) stmt->bind(5, qint64(m_applescriptTrackingDisabled));
    if (isDirty(kCachedIcon)) stmt->bind(6, m_cachedIcon);
    if (isDirty(kPathRoot)) stmt->bindOptionalId(7, m_pathRoot.keyForWriting());
    return stmt->run();
}

void TRASApplication::willSave() {
    if (isDeleted()) return;
    if (!pathRoot()) context()->deleteObject(this);
}

void TRASApplication::nullifyRelationships(bool markChanges) {
    Q_UNUSED(markChanges);
    if (m_pathRoot.resolved() && m_pathRoot.object) {
        TRASPathComponent* root = m_pathRoot.object;
        root->m_application.setFromRow(primaryKey());
    }
}
