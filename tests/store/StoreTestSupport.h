#pragma once
// The store tests' set-up: a store on a fresh temporary data folder with its
// own settings file, a fixed clock, a prefix blacklist, a recording reporter,
// and the file read back through a connection of its own.

#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include "fakes/QtTestPrinters.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRBlacklist.h"
#include "store/activity/TRStoreReporter.h"
#include "store/graph/SqliteDatabase.h"

using namespace Qt::Literals::StringLiterals;

class RecordingReporter final : public TRStoreReporter {
public:
    void presentError(const TRError& error) override { presented.push_back(error); }
    void logLine(const QString& line) override { lines.append(line); }
    std::vector<TRError> presented;
    QStringList lines;
};

// Blacklists the path strings that begin with `prefix`.
class PrefixBlacklist final : public TRBlacklist {
public:
    bool isBlacklisted(const RunningApplication*, const QString& pathString) override {
        return !prefix.isEmpty() && pathString.startsWith(prefix);
    }
    QString prefix;
};

inline QDateTime utc(int y, int mo, int d, int h, int mi = 0, int s = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

inline RunningApplication testApplication(const QString& id = u"org.example.Editor"_s) {
    RunningApplication app;
    app.processIdentifier = 42;
    app.bundleIdentifier = id;
    app.executablePath = u"/usr/bin/editor"_s;
    app.localizedName = u"Editor"_s;
    return app;
}

inline TRActivity activityWith(const std::function<void(TRActivity&)>& fill,
                               const RunningApplication& app = testApplication()) {
    TRActivity activity;
    activity.setApplication(app);
    fill(activity);
    return activity;
}
inline TRActivity onPath(const QString& path) {
    return activityWith([&](TRActivity& a) { a.setDocumentPath(path); });
}

class StoreTest : public ::testing::Test {
protected:
    QString dataFolder() const { return m_dir.filePath(u"info.mallowby.Vorlix"_s); }
    QString databasePath() const { return dataFolder() + u"/ActivityStore.db"_s; }
    QString settingsPath() const { return m_dir.filePath(u"VorlixHelper.conf"_s); }
    void setSetting(const QString& key, const QVariant& value) {
        QSettings(settingsPath(), QSettings::IniFormat).setValue(key, value);
        // Two writes within the file's time stamp resolution look unchanged.
        m_settings->reload();
    }

    TRActivityStore::Options options(const QString& bundleIdentifier = QString()) {
        TRActivityStore::Options o;
        o.dataFolder = dataFolder();
        o.bundleIdentifier = bundleIdentifier;
        o.clock = [this] { return m_now; };
        o.settings = m_settings;
        o.blacklist = m_blacklist;
        o.reporter = m_reporter;
        o.abortProcess = [this] { ++m_aborts; };
        return o;
    }
    TRActivityStore& store() {
        if (!m_store) m_store = std::make_unique<TRActivityStore>(options());
        return *m_store;
    }
    TRObjectContext& context() { return *store().managedObjectContext(); }
    void reopen() { m_store.reset(); }
    // For table rows: no store open and no file on disk.
    void startAfresh() {
        reopen();
        QDir(dataFolder()).removeRecursively();
    }
    TRASPathComponent* record(const TRActivity& activity, const QDateTime& start, int seconds) {
        store().storeActivity(activity, start, start.addSecs(seconds));
        return store().lastPathComponentForActivity(activity);
    }

    // One number from the file, read through a connection of its own.
    qint64 scalar(const QString& sql) {
        SqliteDatabase db;
        if (db.open(databasePath(), SqliteDatabase::Mode::ReadOnly)) return -1;
        return db.scalarInt(sql);
    }
    qint64 count(const char* table) {
        return scalar(u"SELECT COUNT(*) FROM "_s + QLatin1String(table));
    }
    // The file as a fresh connection reads it: one line per hourly event,
    // "app|/a|/b @yyyy-MM-ddTHH:mm seconds" (the root shows as its
    // application), sorted.
    QStringList readBack() {
        SqliteDatabase db;
        EXPECT_FALSE(db.open(databasePath(), SqliteDatabase::Mode::ReadOnly));
        auto stmt = db.prepare(QStringLiteral(
            "WITH RECURSIVE up(event, node, path) AS ("
            "  SELECT id, lastPathComponent, NULL FROM HourlyEvent UNION ALL"
            "  SELECT up.event, p.pathParent, COALESCE(a.bundleIdentifier, a.executableName,"
            "    p.value, '') || COALESCE('|' || up.path, '')"
            "  FROM up JOIN PathComponent p ON p.id = up.node"
            "  LEFT JOIN Application a ON a.id = p.application)"
            "SELECT up.path || strftime(' @%Y-%m-%dT%H:%M ', h.startDate, 'unixepoch')"
            "  || printf('%g', h.duration) FROM up JOIN HourlyEvent h ON h.id = up.event"
            " WHERE up.node IS NULL ORDER BY 1"));
        QStringList lines;
        while (stmt && stmt->step()) lines.append(stmt->text(0));
        EXPECT_TRUE(stmt && !stmt->error());
        return lines;
    }

    QTemporaryDir m_dir;
    std::shared_ptr<TRSettings> m_settings = std::make_shared<TRSettings>(settingsPath());
    QDateTime m_now = utc(2024, 3, 5, 12);
    std::shared_ptr<RecordingReporter> m_reporter = std::make_shared<RecordingReporter>();
    std::shared_ptr<PrefixBlacklist> m_blacklist = std::make_shared<PrefixBlacklist>();
    std::unique_ptr<TRActivityStore> m_store;
    int m_aborts = 0;
};
