// `vorlix-helper projects` as a user runs it, in its own process, against a
// temporary data folder; and the helper's recording following its edits
// without a restart. This process plays the running helper: the activity
// store with the project store as its blacklist, as the wiring sets it up.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include "core/DateCalculations.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"
#include "store/project/TRProjectStore.h"

namespace {

struct CommandRun {
    int code = -1;
    QString out;
    QString err;
};

class ProjectsCommandTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_home.isValid()); }

    QString dataFolder() const {
        return m_home.filePath(QStringLiteral("data/info.mallowby.Vorlix"));
    }

    CommandRun projects(const QStringList& args) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(VORLIX_HELPER_PATH), QStringList{QStringLiteral("projects")} + args);
        EXPECT_TRUE(process.waitForFinished(30000));
        return CommandRun{process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                   QString::fromUtf8(process.readAllStandardError())};
    }

    // The helper's side: opened lazily, as in the helper.
    TRActivityStore& activityStore() {
        if (!m_activities) {
            QDir().mkpath(m_home.filePath(QStringLiteral("data")));
            TRActivityStore::Options o;
            o.dataFolder = dataFolder();
            o.settings = std::make_shared<TRSettings>(m_home.filePath(QStringLiteral("c.conf")));
            o.blacklist = std::make_shared<TRProjectStoreBlacklist>(
                [this]() -> TRProjectStore& { return *m_projects; });
            m_activities = std::make_unique<TRActivityStore>(o);
            TRProjectStore::Options p;
            p.dataFolder = dataFolder();
            p.activityStore = m_activities.get();
            m_projects = std::make_unique<TRProjectStore>(p);
        }
        return *m_activities;
    }

    void record(const char* id, const QStringList& components, const QDateTime& start, int seconds) {
        TRActivity activity;
        RunningApplication app;
        app.bundleIdentifier = QString::fromLatin1(id);
        app.executablePath = QStringLiteral("/usr/bin/") + app.bundleIdentifier;
        activity.setApplication(app);
        activity.setPathComponents(components);
        activityStore().storeActivity(activity, start, start.addSecs(seconds));
        activityStore().save();
    }

    // "id /a/b seconds", sorted, read from the file in a fresh connection.
    QStringList recorded() {
        SqliteDatabase db;
        db.open(dataFolder() + QStringLiteral("/ActivityStore.db"), SqliteDatabase::Mode::ReadOnly);
        auto stmt = db.prepare(QStringLiteral(
            "WITH RECURSIVE up(event, node, path) AS ("
            " SELECT h.id, h.lastPathComponent, '' FROM HourlyEvent h"
            " UNION ALL SELECT up.event, p.pathParent, COALESCE(p.value, '') || up.path"
            " FROM up JOIN PathComponent p ON p.id = up.node WHERE up.node IS NOT NULL)"
            " SELECT a.bundleIdentifier || ' ' || up.path || ' ' || CAST(h.duration AS INTEGER)"
            " FROM up JOIN HourlyEvent h ON h.id = up.event"
            " JOIN PathComponent r ON r.id = (SELECT node FROM up u2 WHERE u2.event = up.event"
            "  AND u2.node IS NOT NULL ORDER BY length(u2.path) DESC LIMIT 1)"
            " JOIN Application a ON a.pathRoot = r.id WHERE up.node IS NULL"));
        QStringList lines;
        while (stmt && stmt->step()) lines.append(stmt->text(0));
        lines.sort();
        return lines;
    }

    QTemporaryDir m_home;
    std::unique_ptr<TRActivityStore> m_activities;
    std::unique_ptr<TRProjectStore> m_projects;
};

const QDateTime kTen(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);

TEST_F(ProjectsCommandTest, BlacklistingWhileTheHelperRecordsKeepsThemOutFromTheNextRecording) {
    const QStringList secret = {QStringLiteral("/home"), QStringLiteral("/u"),
                                QStringLiteral("/secret"), QStringLiteral("/a.txt")};
    const QStringList notes = {QStringLiteral("/home"), QStringLiteral("/u"), QStringLiteral("/notes")};
    record("org.example.Editor", secret, kTen, 60);
    record("org.example.Chat", {}, kTen, 30);

    const CommandRun blacklisted =
        projects({QStringLiteral("blacklist"), QStringLiteral("org.example.Chat"),
                  QStringLiteral("/home/u/secret")});
    ASSERT_EQ(blacklisted.code, 0) << blacklisted.err.toStdString();

    record("org.example.Editor", secret, kTen.addSecs(3600), 60);
    record("org.example.Chat", {}, kTen.addSecs(3600), 30);
    record("org.example.Editor", notes, kTen.addSecs(3600), 45);
    EXPECT_EQ(recorded(), (QStringList{QStringLiteral("org.example.Chat  30"),
                                       QStringLiteral("org.example.Editor /home/u/notes 45"),
                                       QStringLiteral("org.example.Editor /home/u/secret/a.txt 60")}));

    // Totals worked out for the command's own range are not left for others.
    SqliteDatabase projectsFile;
    projectsFile.open(dataFolder() + QStringLiteral("/ProjectStore.db"), SqliteDatabase::Mode::ReadOnly);
    EXPECT_EQ(projectsFile.scalarInt(
                  QStringLiteral("SELECT COUNT(*) FROM Project WHERE cachedTotalDurationWithFilter >= 0")),
              0);

    // Taken off the list again: recorded again from the next recording on.
    ASSERT_EQ(projects({QStringLiteral("remove-app"), QStringLiteral("Blacklist"),
                        QStringLiteral("org.example.Chat")})
                  .code,
              0);
    record("org.example.Chat", {}, kTen.addSecs(7200), 30);
    EXPECT_EQ(recorded().count(QStringLiteral("org.example.Chat  30")), 2);
}

TEST_F(ProjectsCommandTest, ListShowsEachProjectsTimeForTheDaysAsked) {
    record("org.example.Editor", {QStringLiteral("/w")}, kTen, 600);
    record("org.example.Chat", {}, kTen, 120);
    ASSERT_EQ(projects({QStringLiteral("create"), QStringLiteral("Work"), QStringLiteral("--color"),
                        QStringLiteral("green")})
                  .code,
              0);
    ASSERT_EQ(projects({QStringLiteral("add-app"), QStringLiteral("Work"),
                        QStringLiteral("org.example.Editor")})
                  .code,
              0);
    const CommandRun listed = projects({QStringLiteral("list"), QStringLiteral("--from"),
                                 QStringLiteral("2024-03-05"), QStringLiteral("--to"),
                                 QStringLiteral("2024-03-05")});
    ASSERT_EQ(listed.code, 0) << listed.err.toStdString();
    EXPECT_EQ(listed.out, QStringLiteral("Unassigned\t0:02:00\n"
                                         "Work\t0:10:00\n"
                                         "  app\torg.example.Editor\n"
                                         "Blacklist\t0:00:00\n"
                                         "All Activities\t0:12:00\n"));
    const CommandRun otherDay = projects({QStringLiteral("--from"), QStringLiteral("2024-03-06")});
    EXPECT_TRUE(otherDay.out.contains(QStringLiteral("Work\t0:00:00\n"))) << otherDay.out.toStdString();
}

TEST_F(ProjectsCommandTest, ExitCodesAndErrorsAsUsersExpect) {
    ASSERT_EQ(projects({QStringLiteral("create"), QStringLiteral("Work")}).code, 0);
    const struct {
        QStringList args;
        int code;
        const char* says;
    } cases[] = {
        {{QStringLiteral("--help")}, 0, ""},
        {{QStringLiteral("frobnicate")}, 2, "unknown command 'frobnicate'"},
        {{QStringLiteral("create")}, 2, "Try 'vorlix-helper projects --help'."},
        {{QStringLiteral("create"), QStringLiteral("Work")}, 1, "already exists"},
        {{QStringLiteral("create"), QStringLiteral("X"), QStringLiteral("--color"),
          QStringLiteral("mauve")},
         2, "unknown colour 'mauve'"},
        {{QStringLiteral("rename"), QStringLiteral("Nope"), QStringLiteral("New")}, 1,
         "no project named 'Nope'"},
        {{QStringLiteral("rename"), QStringLiteral("Blacklist"), QStringLiteral("New")}, 1,
         "cannot be renamed"},
        {{QStringLiteral("add-path"), QStringLiteral("Unassigned"), QStringLiteral("/tmp")}, 1,
         "no project named 'Unassigned'"},
        {{QStringLiteral("list"), QStringLiteral("--from"), QStringLiteral("yesterday")}, 2,
         "YYYY-MM-DD"},
        {{QStringLiteral("rename"), QStringLiteral("Work"), QStringLiteral("Job")}, 0, ""},
    };
    for (const auto& c : cases) {
        const CommandRun run = projects(c.args);
        EXPECT_EQ(run.code, c.code) << c.args.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(run.err.contains(QString::fromUtf8(c.says))) << run.err.toStdString();
    }
    EXPECT_TRUE(projects({}).out.contains(QStringLiteral("Job\t")));
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
