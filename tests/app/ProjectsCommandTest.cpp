// `vorlix-helper projects` as a user runs it, in its own process, against a
// temporary data folder; and the helper's recording following its edits
// without a restart. This process plays the running helper: the activity
// store with the project store as its blacklist, as the wiring sets it up.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include "core/DateCalculations.h"
#include "harness/HelperProcess.h"
#include "harness/StoredActivity.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"
#include "store/project/TRProjectStore.h"

namespace {

using CommandRun = HelperProcess::Result;

class ProjectsCommandTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_home.isValid()); }

    QString dataFolder() const {
        return m_home.filePath(QStringLiteral("data/info.mallowby.Vorlix"));
    }

    // `vorlix-helper projects ARGS` (words split at spaces).
    CommandRun projects(const char* args) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("TZ"), QStringLiteral("UTC"));
        return HelperProcess::run(env, QStringLiteral("projects %1").arg(QLatin1String(args)).split(' ', Qt::SkipEmptyParts));
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

    // "id /a/b seconds" a path, sorted, read from the file.
    QStringList recorded() {
        QStringList lines;
        for (const StoredPath& path : readStoredPaths(activityStoreIn(m_home.filePath(QStringLiteral("data")))))
            lines << path.application + ' ' + path.components.join(QString()) + ' ' + QString::number(int(path.seconds));
        lines.sort();
        return lines;
    }

    QTemporaryDir m_home;
    std::unique_ptr<TRActivityStore> m_activities;
    std::unique_ptr<TRProjectStore> m_projects;
};

const QDateTime kTen(QDate(2024, 3, 5), QTime(10, 0), Qt::UTC);

TEST_F(ProjectsCommandTest, BlacklistingWhileTheHelperRecordsKeepsThemOutFromTheNextRecording) {
    const QStringList secret = pathComponents(QStringLiteral("/home/u/secret/a.txt"));
    record("org.example.Editor", secret, kTen, 60);
    record("org.example.Chat", {}, kTen, 30);

    const CommandRun blacklisted = projects("blacklist org.example.Chat /home/u/secret");
    ASSERT_EQ(blacklisted.code, 0) << blacklisted.err.toStdString();

    record("org.example.Editor", secret, kTen.addSecs(3600), 60);
    record("org.example.Chat", {}, kTen.addSecs(3600), 30);
    record("org.example.Editor", pathComponents(QStringLiteral("/home/u/notes")), kTen.addSecs(3600), 45);
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
    ASSERT_EQ(projects("remove-app Blacklist org.example.Chat").code, 0);
    record("org.example.Chat", {}, kTen.addSecs(7200), 30);
    EXPECT_TRUE(recorded().contains(QStringLiteral("org.example.Chat  60")));
}

TEST_F(ProjectsCommandTest, ListShowsEachProjectsTimeForTheDaysAsked) {
    record("org.example.Editor", {QStringLiteral("/w")}, kTen, 600);
    record("org.example.Chat", {}, kTen, 120);
    ASSERT_EQ(projects("create Work --color green").code, 0);
    ASSERT_EQ(projects("add-app Work org.example.Editor").code, 0);
    const CommandRun listed = projects("list --from 2024-03-05 --to 2024-03-05");
    ASSERT_EQ(listed.code, 0) << listed.err.toStdString();
    EXPECT_EQ(listed.out, QStringLiteral("Unassigned\t0:02:00\n"
                                         "Work\t0:10:00\n"
                                         "  app\torg.example.Editor\n"
                                         "Blacklist\t0:00:00\n"
                                         "All Activities\t0:12:00\n"));
    const CommandRun otherDay = projects("--from 2024-03-06");
    EXPECT_TRUE(otherDay.out.contains(QStringLiteral("Work\t0:00:00\n"))) << otherDay.out.toStdString();
}

TEST_F(ProjectsCommandTest, ExitCodesAndErrorsAsUsersExpect) {
    ASSERT_EQ(projects("create Work").code, 0);
    const struct {
        const char* args;
        int code;
        const char* says;
    } cases[] = {
        {"frobnicate", 2, "unknown command 'frobnicate'"},
        {"create Work", 1, "already exists"},
        {"rename Nope New", 1, "no project named 'Nope'"},
        {"rename Blacklist New", 1, "cannot be renamed"},
        {"list --from yesterday", 2, "YYYY-MM-DD"},
        {"rename Work Job", 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const CommandRun run = projects(c.args);
        EXPECT_EQ(run.code, c.code);
        EXPECT_TRUE(run.err.contains(QString::fromUtf8(c.says))) << run.err.toStdString();
    }
    EXPECT_TRUE(projects("").out.contains(QStringLiteral("Job\t")));
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
