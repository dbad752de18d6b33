#include "store/project/TRProjectStore.h"

#include <sys/stat.h>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unordered_map>

#include "core/DateCalculations.h"
#include "core/TRLocations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRStoreReporter.h"
#include "store/project/ProjectStoreSchema.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRPSEntities.h"
#include "store/project/TRPSPath.h"

namespace {

std::optional<TRProjectStore::Options>& configuredOptions() {
    static std::optional<TRProjectStore::Options> options;
    return options;
}

// Object URIs of this store never leave the process (its saves are not
// announced), so its context needs no stored UUID.
const QString kStoreName = QStringLiteral("ProjectStore");

bool contains(const std::vector<TRPSProject*>& projects, const TRPSProject* project) {
    return project && std::find(projects.begin(), projects.end(), project) != projects.end();
}

// The key under which the look-up of an application is remembered: the
// criterion the look-up uses and its value.
QString lookupKey(const RunningApplication& app) {
    if (!app.bundleIdentifier.isNull()) return QLatin1Char('b') + app.bundleIdentifier;
    if (!app.executablePath.isNull())
        return QLatin1Char('e') + TRPSApplication::lastPathComponent(app.executablePath);
    return QLatin1Char('t') + app.localizedName;
}

}  // namespace

// What the blacklist test remembers between two changes of the file.
struct TRProjectStore::BlacklistMemory final {
    quint64 saves = 0;
    std::vector<TRPSApplication*> applications;
    QStringList paths;
    QHash<QString, bool> answers;  // by lookupKey()
};

TRProjectStore::TRProjectStore(Options options, QObject* parent)
    : QObject(parent), m_options(std::move(options)) {
    if (m_options.dataFolder.isEmpty()) m_options.dataFolder = TRLocations::dataFolderPath();
    m_options.dataFolder = QDir::cleanPath(m_options.dataFolder);
    if (!m_options.activityStore) m_options.activityStore = &TRActivityStore::sharedInstance();
    if (!m_options.reporter) m_options.reporter = std::make_shared<TRLoggingStoreReporter>();
    if (!m_options.installedApplications)
        m_options.installedApplications = std::make_shared<TRNoInstalledApplications>();
    if (!m_options.abortProcess) m_options.abortProcess = [] { std::abort(); };
}

TRProjectStore::~TRProjectStore() {
    m_savedDurations.reset();
    m_blacklist.reset();
    m_context.reset();
    m_db.close();
}

void TRProjectStore::configureSharedInstance(Options options) {
    configuredOptions() = std::move(options);
}

TRProjectStore& TRProjectStore::sharedInstance() {
    // Kept for the process's lifetime, like the activity store.
    static TRProjectStore* instance = new TRProjectStore(configuredOptions().value_or(Options()));
    return *instance;
}

TRObjectContext* TRProjectStore::managedObjectContext() {
    if (!m_openAttempted) open();
    return m_context.get();
}

bool TRProjectStore::createDataFolder() {
    const QString folder = m_options.dataFolder;
    if (QFileInfo::exists(folder)) return true;
    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), 0700) == 0) {
        ::chmod(path.constData(), 0700);
        return true;
    }
    const QString reason = QString::fromLocal8Bit(std::strerror(errno));
    m_options.reporter->logLine(
        QStringLiteral("Failed to create App Support directory %1 : %2").arg(folder, reason));
    m_options.reporter->logLine(
        QStringLiteral("Error creating application support directory at %1 : %2")
            .arg(folder, reason));
    return false;
}

bool TRProjectStore::openReadOnly(const QString& file) {
    // No file yet (no project was ever made): an empty store in memory
    // answers as the file would, with no projects and no blacklist.
    const bool exists = QFileInfo::exists(file);
    std::optional<TRError> error = exists ? m_db.open(file, SqliteDatabase::Mode::ReadOnly)
                                          : m_db.open(QStringLiteral(":memory:"));
    if (!error)
        error =
            exists ? ProjectStoreSchema::checkReadable(m_db) : ProjectStoreSchema::prepare(m_db);
    if (error) {
        error->failureReason = QStringLiteral("(%1)").arg(file);
        m_options.reporter->presentError(*error);
        m_db.close();
        return false;
    }
    m_context = std::make_unique<TRObjectContext>(m_db, kStoreName, projectStoreEntities());
    m_seenDataVersion = dataVersion();
    return true;
}

bool TRProjectStore::open() {
    m_openAttempted = true;
    if (m_options.readOnly)
        return openReadOnly(QDir(m_options.dataFolder).filePath(QStringLiteral("ProjectStore.db")));
    if (!createDataFolder()) {
        m_options.reporter->presentError(
            TRError{QStringLiteral("YOUR_ERROR_DOMAIN"), 9999,
                    QStringLiteral("Failed to initialize the store"),
                    QStringLiteral("There was an error building up the data file.")});
        return false;
    }
    const QString file = QDir(m_options.dataFolder).filePath(QStringLiteral("ProjectStore.db"));
    if (!QFileInfo::exists(file)) {
        // SQLite gives its -wal and -shm files the database file's mode.
        QFile create(file);
        if (create.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                        QFileDevice::ReadOwner | QFileDevice::WriteOwner))
            create.close();
    }
    std::optional<TRError> error = m_db.open(file);
    if (!error) error = ProjectStoreSchema::prepare(m_db);
    if (error) {
        m_options.reporter->presentError(*error);
        m_db.close();
        m_options.abortProcess();
        return false;
    }
    m_context = std::make_unique<TRObjectContext>(m_db, kStoreName, projectStoreEntities());
    m_seenDataVersion = dataVersion();
    return true;
}

bool TRProjectStore::save() {
    TRObjectContext* context = managedObjectContext();
    if (!context) return false;
    TRSaveResult result;
    if (auto error = context->save(&result)) {
        m_options.reporter->presentError(*error);
        m_options.reporter->logLine(QStringLiteral("%1:%2 unable to save: %3")
                                        .arg(QStringLiteral("TRProjectStore"),
                                             QStringLiteral("-[TRProjectStore save]"),
                                             error->toString()));
        return false;
    }
    ++m_saves;
    return true;
}

void TRProjectStore::prepareForTermination() {
    if (m_context) save();
}

void TRProjectStore::reset() {
    if (!m_context) return;
    m_blacklist.reset();
    m_selectedProjects.clear();
    m_context = std::make_unique<TRObjectContext>(m_db, kStoreName, projectStoreEntities());
}

QString TRProjectStore::localizedName() const {
    return QCoreApplication::translate("TRProjectStore", "All Activities");
}

TRPSProject* TRProjectStore::existingProjectOfType(qint16 type) {
    TRObjectContext* context = managedObjectContext();
    return context ? TRPSProject::existingProjectOfType(*context, type) : nullptr;
}

std::vector<TRPSProject*> TRProjectStore::childElements() {
    TRObjectContext* context = managedObjectContext();
    if (!context) return {};
    std::vector<TRPSProject*> children{TRPSProject::unassignedProject(*context)};
    for (TRPSProject* project : TRPSProject::regularProjects(*context)) children.push_back(project);
    children.push_back(TRPSProject::blacklistProject(*context));
    return children;
}

TRPSNodeSet TRProjectStore::treesOf(const std::vector<TRPSProject*>& projects) {
    TRPSNodeSet trees;
    for (TRPSProject* project : projects) {
        const TRPSNodeSet more = project->associatedActivityStorePathComponentTrees(activityStore());
        TRPSNodeSet united;
        std::set_union(trees.begin(), trees.end(), more.begin(), more.end(),
                       std::back_inserter(united));
        trees = std::move(united);
    }
    return trees;
}

std::optional<TRPSNodeSet> TRProjectStore::pathComponentTreesToIncludeForProjects(
    const std::vector<TRPSProject*>& projects) {
    if (projects.empty()) return std::nullopt;
    if (contains(projects, existingProjectOfType(TRPSProject::kUnassigned))) return std::nullopt;
    return treesOf(projects);
}

std::optional<TRPSNodeSet> TRProjectStore::pathComponentTreesToExcludeForProjects(
    const std::vector<TRPSProject*>& projects) {
    TRObjectContext* context = managedObjectContext();
    if (!context) return std::nullopt;
    TRPSProject* blacklist = TRPSProject::blacklistProject(*context);
    if (contains(projects, blacklist)) return std::nullopt;
    const TRPSNodeSet blacklisted = blacklist->associatedActivityStorePathComponentTrees(activityStore());
    if (!contains(projects, existingProjectOfType(TRPSProject::kUnassigned))) return blacklisted;
    // Unassigned: what the regular projects outside the selection claim, and
    // the blacklisted.
    const TRPSNodeSet claimed = treesOf(TRPSProject::regularProjects(*context));
    const TRPSNodeSet selected = treesOf(projects);
    TRPSNodeSet outside;
    std::set_difference(claimed.begin(), claimed.end(), selected.begin(), selected.end(),
                        std::back_inserter(outside));
    TRPSNodeSet excluded;
    std::set_union(outside.begin(), outside.end(), blacklisted.begin(), blacklisted.end(),
                   std::back_inserter(excluded));
    return excluded;
}

std::optional<TRPSNodeSet> TRProjectStore::pathComponentTreesToIncludeForSelectedProjects() {
    return pathComponentTreesToIncludeForProjects(m_selectedProjects);
}

std::optional<TRPSNodeSet> TRProjectStore::pathComponentTreesToExcludeForSelectedProjects() {
    return pathComponentTreesToExcludeForProjects(m_selectedProjects);
}

TRASEventFilter TRProjectStore::filterDays() const {
    TRActivityStore& activities = activityStore();
    TRASEventFilter filter;
    filter.start = activities.firstFilterDay();
    if (activities.lastFilterDay().isValid())
        filter.stop = Calculations::endOfDay(activities.lastFilterDay());
    return filter;
}

double TRProjectStore::sum(const std::optional<TRPSNodeSet>& include,
                           const std::optional<TRPSNodeSet>& exclude) {
    TRActivityStore& activities = activityStore();
    TRASEventFilter filter = filterDays();
    filter.include = include;
    filter.exclude = exclude;
    return activities.sumOfDurationsOfEventsBetweenDate(filter);
}

double TRProjectStore::sumForProjects(const std::vector<TRPSProject*>& projects) {
    return sum(pathComponentTreesToIncludeForProjects(projects),
               pathComponentTreesToExcludeForProjects(projects));
}

// Each node's own seconds within the filter days, read in one pass: the
// totals are then sums over the projects' node sets in memory, instead of one
// query per project over the events. Unsaved events count as well.
struct TRProjectStore::NodeDurations final {
    // Saved nodes by key (sorted), unsaved nodes by address.
    const std::vector<std::pair<qint64, double>>* byKey = nullptr;
    std::unordered_map<qint64, double> liveByKey;
    std::unordered_map<const TRASPathComponent*, double> liveByNode;
    double all = 0;  // every event in range, also those of no node

    double of(const TRASPathComponent* node) const {
        double seconds = 0;
        if (const qint64 key = node->primaryKey()) {
            auto it = std::lower_bound(byKey->begin(), byKey->end(), std::make_pair(key, -1e300));
            if (it != byKey->end() && it->first == key) seconds += it->second;
            auto live = liveByKey.find(key);
            if (live != liveByKey.end()) seconds += live->second;
        } else {
            auto live = liveByNode.find(node);
            if (live != liveByNode.end()) seconds += live->second;
        }
        return seconds;
    }
    double of(const TRPSNodeSet& nodes) const {
        double seconds = 0;
        for (const TRASPathComponent* node : nodes) seconds += of(node);
        return seconds;
    }
};

// The grouped read is the one costly step of a refresh (a pass over every
// event in range), so its result is kept while nothing can have changed the
// file: no other connection committed (data_version), this connection wrote
// nothing (total changes), the range is the same and no saved event has
// unsaved changes.
struct TRProjectStore::SavedDurations final {
    double start = 0, stop = 0;
    qint64 dataVersion = -1, totalChanges = -1;
    std::vector<std::pair<qint64, double>> byKey;
    double all = 0;
};

TRProjectStore::NodeDurations TRProjectStore::durationsWithinFilterDays() {
    NodeDurations durations;
    static const std::vector<std::pair<qint64, double>> kNone;
    durations.byKey = &kNone;
    TRObjectContext* events = activityStore().managedObjectContext();
    if (!events) return durations;
    SqliteDatabase& db = events->database();
    const TRASEventFilter filter = filterDays();
    const double start = filter.start.isValid() ? double(filter.start.toMSecsSinceEpoch()) / 1000.0
                                                : -std::numeric_limits<double>::infinity();
    const double stop = filter.stop.isValid() ? double(filter.stop.toMSecsSinceEpoch()) / 1000.0
                                              : std::numeric_limits<double>::infinity();
    const QString exclusion = events->changedRowExclusion(TRASHourlyEvent::kEntity);
    const qint64 version = db.scalarInt(QStringLiteral("PRAGMA data_version"));
    SavedDurations* saved = m_savedDurations.get();
    const bool current = saved && exclusion.isEmpty() && saved->start == start &&
                         saved->stop == stop && saved->dataVersion == version &&
                         saved->totalChanges == db.totalChanges();
    if (!current) {
        auto read = std::make_unique<SavedDurations>();
        read->start = start;
        read->stop = stop;
        read->dataVersion = version;
        read->totalChanges = db.totalChanges();
        QString range;
        if (filter.start.isValid()) range += QStringLiteral(" AND startDate >= ?1");
        if (filter.stop.isValid()) range += QStringLiteral(" AND startDate < ?2");
        auto stmt = db.prepare(
            QStringLiteral("SELECT lastPathComponent, TOTAL(duration) FROM HourlyEvent WHERE 1") +
            range + exclusion + QStringLiteral(" GROUP BY lastPathComponent"));
        if (stmt) {
            if (filter.start.isValid()) stmt->bind(1, start);
            if (filter.stop.isValid()) stmt->bind(2, stop);
            while (stmt->step()) {
                const double seconds = stmt->real(1);
                read->all += seconds;
                if (!stmt->isNull(0)) read->byKey.emplace_back(stmt->int64(0), seconds);
            }
        }
        std::sort(read->byKey.begin(), read->byKey.end());
        m_savedDurations = std::move(read);
        // Read without some saved rows: good for this refresh only.
        if (!exclusion.isEmpty()) m_savedDurations->dataVersion = -1;
    }
    durations.byKey = &m_savedDurations->byKey;
    durations.all = m_savedDurations->all;
    for (TRASHourlyEvent* event : events->liveChangedObjects<TRASHourlyEvent>()) {
        const double begins = event->startDateSeconds();
        if (!(begins >= start && begins < stop)) continue;
        const double seconds = event->durationValue();
        if (seconds != seconds) continue;  // NaN counts as nothing, as in SQL
        durations.all += seconds;
        if (TRASPathComponent* node = event->lastPathComponent()) {
            if (node->primaryKey() != 0)
                durations.liveByKey[node->primaryKey()] += seconds;
            else
                durations.liveByNode[node] += seconds;
        }
    }
    return durations;
}

void TRProjectStore::refreshProjectDurations() {
    TRObjectContext* context = managedObjectContext();
    if (!context) return;
    const NodeDurations durations = durationsWithinFilterDays();
    TRActivityStore& activities = activityStore();
    TRPSProject* blacklist = TRPSProject::blacklistProject(*context);
    const TRPSNodeSet blacklisted = blacklist->associatedActivityStorePathComponentTrees(activities);
    blacklist->setTotalDurationWithFilterValue(durations.of(blacklisted));
    TRPSNodeSet claimed = blacklisted;
    for (TRPSProject* project : TRPSProject::regularProjects(*context)) {
        const TRPSNodeSet trees = project->associatedActivityStorePathComponentTrees(activities);
        TRPSNodeSet counted;
        std::set_difference(trees.begin(), trees.end(), blacklisted.begin(), blacklisted.end(),
                            std::back_inserter(counted));
        project->setTotalDurationWithFilterValue(durations.of(counted));
        TRPSNodeSet united;
        std::set_union(claimed.begin(), claimed.end(), trees.begin(), trees.end(),
                       std::back_inserter(united));
        claimed = std::move(united);
    }
    // Unassigned: everything but what a regular project claims or the blacklist holds.
    TRPSProject::unassignedProject(*context)->setTotalDurationWithFilterValue(
        durations.all - durations.of(claimed));
    m_totalDurationWithFilter = durations.all - durations.of(blacklisted);
    Q_EMIT childElementsDidChange();
}

TRPSProject* TRProjectStore::createProjectWithName(const QString& name,
                                                   const QStringList& bundleIdentifiers,
                                                   const std::optional<TRPSColor>& color) {
    TRObjectContext* context = managedObjectContext();
    if (!context) return nullptr;
    std::vector<TRPSApplication*> applications;
    for (const QString& id : bundleIdentifiers) {
        const auto installed = m_options.installedApplications->applicationWithIdentifier(id);
        if (!installed) continue;
        TRPSApplication* app = TRPSApplication::applicationWithBundleIdentifier(
            *context, id, installed->executablePath, installed->localizedName, true);
        if (std::find(applications.begin(), applications.end(), app) == applications.end())
            applications.push_back(app);
    }
    if (applications.empty()) return nullptr;
    auto* project = context->insert<TRPSProject>();
    project->setName(name);
    project->setApplications(*this, applications);
    if (color) project->setColor(*color);
    return project;
}

TRPSApplication* TRProjectStore::associatedProjectStoreApplication(
    const TRASApplication& application) {
    TRObjectContext* context = managedObjectContext();
    if (!context) return nullptr;
    return TRPSApplication::applicationWithBundleIdentifier(*context, application.bundleIdentifier(),
                                                            application.executableName(),
                                                            application.title(), false);
}

std::vector<TRPSProject*> TRProjectStore::associatedProjects(TRASPathComponent& node) {
    TRObjectContext* context = managedObjectContext();
    if (!context) return {};
    if (TRASApplication* app = node.application()) {
        TRPSApplication* member = associatedProjectStoreApplication(*app);
        return member ? member->sortedParentProjects() : std::vector<TRPSProject*>();
    }
    QStringList components;
    for (TRASPathComponent* level : node.fullPathAsComponents()) components.append(level->value());
    TRPSPath* path = TRPSPath::pathForPathComponents(*context, components, false);
    return path ? path->sortedParentProjects() : std::vector<TRPSProject*>();
}

std::vector<TRPSColor> TRProjectStore::tintColors(TRASPathComponent& node) {
    std::vector<TRPSColor> colors;
    for (TRPSProject* project : associatedProjects(node)) {
        if (auto color = project->color()) colors.push_back(*color);
    }
    return colors;
}

qint64 TRProjectStore::dataVersion() {
    SqliteStatement* stmt = m_db.cached("PRAGMA data_version");
    if (!stmt || !stmt->step()) return -1;
    const qint64 version = stmt->int64(0);
    stmt->reset();
    return version;
}

void TRProjectStore::rememberBlacklist() {
    auto memory = std::make_unique<BlacklistMemory>();
    memory->saves = m_saves;
    if (TRPSProject* blacklist = existingProjectOfType(TRPSProject::kBlacklist)) {
        memory->applications = blacklist->applications();
        for (TRPSPath* path : blacklist->paths()) {
            // As a prefix test, an empty string would match everything; the
            // main application's prefix test matches nothing with it.
            if (!path->pathString().isEmpty()) memory->paths.append(path->pathString());
        }
    }
    m_blacklist = std::move(memory);
}

bool TRProjectStore::isBlacklisted(const RunningApplication* application,
                                   const QString& pathString) {
    TRObjectContext* context = managedObjectContext();
    if (!context) return false;
    const qint64 version = dataVersion();
    if (version != m_seenDataVersion) {
        // Another program saved: read everything afresh.
        m_seenDataVersion = version;
        reset();
        context = m_context.get();
    }
    // Edits of this process not saved yet: the memory cannot know them.
    if (context->hasChanges() || (m_blacklist && m_blacklist->saves != m_saves))
        m_blacklist.reset();
    if (!m_blacklist) rememberBlacklist();
    BlacklistMemory& memory = *m_blacklist;
    if (application && !memory.applications.empty()) {
        const QString key = lookupKey(*application);
        auto answer = memory.answers.find(key);
        if (answer == memory.answers.end()) {
            TRPSApplication* app =
                TRPSApplication::applicationWithRunningApplication(*context, *application, false);
            const bool listed = app && std::find(memory.applications.begin(),
                                                 memory.applications.end(),
                                                 app) != memory.applications.end();
            answer = memory.answers.insert(key, listed);
        }
        if (*answer) return true;
    }
    if (memory.paths.isEmpty()) return false;
    const QString withDelimiter = pathString + kPathComponentDelimiter;
    for (const QString& path : memory.paths) {
        // A plain prefix test: "/Users" also keeps out "/Usersfoo".
        if (pathString == path || withDelimiter.startsWith(path)) return true;
    }
    return false;
}
