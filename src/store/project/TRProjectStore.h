#pragma once
// TRProjectStore: the process-wide owner of the project store, and the root
// of the project outline ("All Activities": Unassigned, the regular
// projects, Blacklist).
//
// It opens "ProjectStore.db" beside the activity store on first use (folder
// 0700, file 0600; a file of another schema version is reported and ends the
// process: it is never migrated), owns the one TRObjectContext over the
// project store's entities, turns a selection of projects into the
// activity-store subtrees to include and exclude, computes the totals, and
// answers the blacklist test before each recording.
//
// The blacklist test sees the main application's saved edits at the next
// recording: when the file changed since the last test (SQLite's
// data_version), the context is reset (unsaved changes of this process are
// dropped, the file wins) and the blacklist read again; otherwise the
// answer comes from memory.
//
// Main thread only. Objects of the context are freed by a reset: keep none
// across a blacklist test that may reset.

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "core/RunningApplication.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRBlacklist.h"
#include "store/graph/SqliteDatabase.h"
#include "store/graph/TRObjectContext.h"
#include "store/project/TRPSColor.h"
#include "store/project/TRPSProject.h"

class TRActivityStore;
class TRASApplication;
class TRASPathComponent;
class TRPSApplication;
class TRStoreReporter;

// The installed applications, by application id (the desktop layer answers).
class TRInstalledApplications {
public:
    virtual ~TRInstalledApplications() = default;
    // An installed application's id, executable path and shown name.
    virtual std::optional<RunningApplication> applicationWithIdentifier(const QString& id) const = 0;
};

class TRNoInstalledApplications final : public TRInstalledApplications {
public:
    std::optional<RunningApplication> applicationWithIdentifier(const QString&) const override {
        return std::nullopt;
    }
};

class TRProjectStore final : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString dataFolder;  // empty: TRLocations::dataFolderPath()
        TRActivityStore* activityStore = nullptr;  // empty: the shared one
        std::shared_ptr<TRStoreReporter> reporter;  // empty: the log
        std::shared_ptr<TRInstalledApplications> installedApplications;  // empty: none
        std::function<void()> abortProcess;  // empty: std::abort
        // Reads the file as it is and never writes it: nothing is created
        // (a missing file reads as a store without projects) and a file that
        // cannot be read is presented as an error, leaving the store closed.
        // A reader must not save.
        bool readOnly = false;
    };

    explicit TRProjectStore(Options options, QObject* parent = nullptr);
    ~TRProjectStore() override;

    // REQUIRES: called before the first sharedInstance(), on the main thread.
    static void configureSharedInstance(Options options);
    static TRProjectStore& sharedInstance();

    QString applicationSupportDirectory() const { return m_options.dataFolder; }
    // Opens the store on first use; nullptr when it could not be opened.
    TRObjectContext* managedObjectContext();
    bool isOpen() const { return m_context != nullptr; }
    TRActivityStore& activityStore() const { return *m_options.activityStore; }

    // A failed save is shown and logged; its changes stay for the next.
    // Returns whether it succeeded.
    bool save();
    void prepareForTermination();
    // Drops the context's objects and unsaved changes; the next use reads
    // the file afresh.
    void reset();

    // The root's side of the outline.
    QString localizedName() const;
    qint16 typeValue() const { return -100; }
    bool isRegular() const { return false; }
    // Unassigned, the regular projects in fetch order, Blacklist (the two
    // special ones created when missing).
    std::vector<TRPSProject*> childElements();
    TRPSProject* existingProjectOfType(qint16 type);

    const std::vector<TRPSProject*>& selectedProjects() const { return m_selectedProjects; }
    void setSelectedProjects(std::vector<TRPSProject*> projects) {
        m_selectedProjects = std::move(projects);
    }
    // "All Activities": everything but the blacklisted, set by refreshProjectDurations().
    double totalDurationWithFilterValue() const { return m_totalDurationWithFilter; }
    void setTotalDurationWithFilterValue(double value) { m_totalDurationWithFilter = value; }

    // The subtrees a selection of projects counts (nullopt: everything) and
    // leaves out (nullopt: nothing). Selecting Unassigned counts what no
    // unselected regular project claims; selecting Blacklist lifts the
    // blacklist's exclusion.
    std::optional<TRPSNodeSet> pathComponentTreesToIncludeForProjects(
        const std::vector<TRPSProject*>& projects);
    std::optional<TRPSNodeSet> pathComponentTreesToExcludeForProjects(
        const std::vector<TRPSProject*>& projects);
    std::optional<TRPSNodeSet> pathComponentTreesToIncludeForSelectedProjects();
    std::optional<TRPSNodeSet> pathComponentTreesToExcludeForSelectedProjects();
    // The time of a selection within the activity store's filter days.
    double sumForProjects(const std::vector<TRPSProject*>& projects);
    // Every project's total, Unassigned's, Blacklist's and the root's.
    void refreshProjectDurations();

    // A project of the installed ones among the ids; none when no id is
    // installed. Not saved.
    TRPSProject* createProjectWithName(const QString& name, const QStringList& bundleIdentifiers,
                                       const std::optional<TRPSColor>& color);
    // The default categories, each only when one of its applications is
    // installed. Not saved.
    void createSampleProjects();

    // From the activity store's side: the project-store application of a
    // recorded one (never created); the projects a node belongs to by name
    // (a root: its application's projects; another node: those of the path
    // of its components), and their colours in the same order.
    TRPSApplication* associatedProjectStoreApplication(const TRASApplication& application);
    std::vector<TRPSProject*> associatedProjects(TRASPathComponent& node);
    std::vector<TRPSColor> tintColors(TRASPathComponent& node);

    // The blacklist test before a recording (TRBlacklist).
    bool isBlacklisted(const RunningApplication* application, const QString& pathString);

Q_SIGNALS:
    // refreshProjectDurations() set new totals.
    void childElementsDidChange();

private:
    struct BlacklistMemory;
    struct NodeDurations;

    bool open();
    bool openReadOnly(const QString& file);
    bool createDataFolder();
    qint64 dataVersion();
    void rememberBlacklist();
    double sum(const std::optional<TRPSNodeSet>& include, const std::optional<TRPSNodeSet>& exclude);
    TRASEventFilter filterDays() const;
    NodeDurations durationsWithinFilterDays();
    TRPSNodeSet treesOf(const std::vector<TRPSProject*>& projects);

    Options m_options;
    bool m_openAttempted = false;
    SqliteDatabase m_db;
    std::unique_ptr<TRObjectContext> m_context;
    std::vector<TRPSProject*> m_selectedProjects;
    double m_totalDurationWithFilter = 0;
    qint64 m_seenDataVersion = -1;
    quint64 m_saves = 0;
    std::unique_ptr<BlacklistMemory> m_blacklist;
    // The saved events' seconds per node from the last refresh, and what
    // they were read under.
    struct SavedDurations;
    std::unique_ptr<SavedDurations> m_savedDurations;
};

// The project store as the activity store's blacklist.
class TRProjectStoreBlacklist final : public TRBlacklist {
public:
    explicit TRProjectStoreBlacklist(std::function<TRProjectStore&()> store)
        : m_store(std::move(store)) {}
    bool isBlacklisted(const RunningApplication* application, const QString& pathString) override {
        return m_store().isBlacklisted(application, pathString);
    }

private:
    std::function<TRProjectStore&()> m_store;
};
