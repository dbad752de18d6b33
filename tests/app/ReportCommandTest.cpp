// `vorlix-helper report` as a user runs it, in its own process, beside this
// process playing the running helper (its store open, saves in the WAL).
// Days are Berlin's, with both clock changes of 2026 inside the data.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTimeZone>
#include <functional>
#include <map>

#include "core/DateCalculations.h"
#include "core/TRDurationToStringFormatter.h"
#include "harness/HelperProcess.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/SqliteDatabase.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRProjectStore.h"

namespace {

struct Interval {
    const char* app;  // ASCII
    QString path;  // file path or "host/segment"
    QDateTime start;
    int seconds;
};

QDateTime utc(int month, int day, int hour, int minute) {
    return QDateTime(QDate(2026, month, day), QTime(hour, minute), Qt::UTC);
}

// Starts in UTC; the comments give Berlin's wall clock.
const Interval kIntervals[] = {
    {"org.example.Editor", "/home/u/work/a.txt", utc(3, 28, 22, 30), 1200},  // Sat 23:30
    {"org.example.Editor", "/home/u/work/a.txt", utc(3, 29, 0, 30), 2700},   // 01:30, over the gap
    {"org.example.Browser", "example.org/docs", utc(3, 29, 8, 0), 3600},
    {"org.example.Chat", "", utc(3, 29, 9, 0), 600},
    {"org.example.Vault", "", utc(3, 29, 10, 0), 900},                        // blacklisted app
    {"org.example.Editor", "/home/u/secret/x.txt", utc(3, 29, 11, 0), 300},   // blacklisted path
    {"org.example.Editor", "/home/u/Übung/naïve.txt", utc(3, 29, 12, 0), 240},  // not ASCII
    {"org.example.Editor", "/home/u/notes/b.txt", utc(3, 29, 21, 40), 1200},  // 23:40 to midnight
    {"org.example.Browser", "example.org/blog", utc(3, 29, 22, 0), 120},      // Mon 00:00
    {"org.example.Editor", "/home/u/work/a.txt", utc(10, 25, 0, 30), 1800},   // 02:30 summer time
    {"org.example.Chat", "", utc(10, 25, 1, 30), 1800},                       // 02:30 again
    {"org.example.Browser", "example.org/docs", utc(10, 25, 22, 50), 300},    // 23:50
    {"org.example.Chat", "", utc(10, 25, 23, 10), 60},                        // Mon 00:10
};

QStringList componentsOf(const QString& path) {
    QStringList parts;
    for (const QString& part : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        parts.append(
            parts.isEmpty() && !path.startsWith(QLatin1Char('/')) ? part : QLatin1Char('/') + part);
    return parts;
}

// The project store's rules, worked out by hand: the blacklist first, then
// Work (the browser and /home/u/work), and the rest Unassigned.
QString projectOf(const Interval& i) {
    const QString app = QString::fromLatin1(i.app);
    if (app.endsWith(QLatin1String("Vault")) || i.path.startsWith(QLatin1String("/home/u/secret")))
        return QStringLiteral("Blacklist");
    if (app.endsWith(QLatin1String("Browser")) || i.path.startsWith(QLatin1String("/home/u/work")))
        return QStringLiteral("Work");
    return QStringLiteral("Unassigned");
}

using Lines = std::map<QString, double>;  // "kind|project|applicationId|path" -> seconds

Lines expectedLines(QDate first, QDate last, bool byProject, int depth, double minimum) {
    Lines lines;
    const QTimeZone berlin("Europe/Berlin");
    for (const Interval& i : kIntervals) {
        const QDate day = i.start.toTimeZone(berlin).date();
        const QString owner = projectOf(i), app = QString::fromLatin1(i.app);
        if (day < first || day > last || (!byProject && owner == QLatin1String("Blacklist")))
            continue;
        const QString project = byProject ? owner : QString();
        if (owner != QLatin1String("Blacklist")) lines[QStringLiteral("total|||")] += i.seconds;
        if (byProject) lines[QStringLiteral("project|%1||").arg(project)] += i.seconds;
        lines[QStringLiteral("application|%1|%2|").arg(project, app)] += i.seconds;
        QString path;
        for (const QString& part : componentsOf(i.path).mid(0, depth))
            lines[QStringLiteral("path|%1|%2|%3").arg(project, app, path += part)] += i.seconds;
    }
    std::erase_if(lines, [&](const auto& l) {
        return !(l.second > minimum) && !l.first.startsWith(QLatin1String("total"));
    });
    return lines;
}

using CommandRun = HelperProcess::Result;

class ReportCommandTest : public ::testing::Test {
protected:
    QString dataFolder() const {
        return m_home.filePath(QStringLiteral("data/info.mallowby.Vorlix"));
    }

    CommandRun report(const QString& args) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
        return HelperProcess::run(
            env, QStringList{QStringLiteral("report")} + args.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }

    // The helper's side, kept open for the whole test as the helper keeps it.
    void record(const Interval& i) {
        if (!m_activities) {
            QDir().mkpath(m_home.filePath(QStringLiteral("data")));
            TRActivityStore::Options o;
            o.dataFolder = dataFolder();
            o.settings = std::make_shared<TRSettings>(QString());
            m_activities = std::make_unique<TRActivityStore>(o);
        }
        TRActivity activity;
        RunningApplication app;
        app.bundleIdentifier = QString::fromLatin1(i.app);
        app.localizedName = app.bundleIdentifier.section(QLatin1Char('.'), -1);
        activity.setApplication(app);
        activity.setPathComponents(componentsOf(i.path));
        m_activities->storeActivity(activity, i.start, i.start.addSecs(i.seconds));
        m_activities->save();
    }

    // Work: the browser and /home/u/work; the blacklist: the vault and /home/u/secret.
    void createProjects() {
        TRProjectStore::Options o;
        o.dataFolder = dataFolder();
        o.activityStore = m_activities.get();
        TRProjectStore projects(o);
        TRObjectContext& context = *projects.managedObjectContext();
        auto* work = context.insert<TRPSProject>();
        work->setName(QStringLiteral("Work"));
        for (auto [project, app, path] : {std::tuple(work, "org.example.Browser", "/home/u/work"),
                                          std::tuple(TRPSProject::blacklistProject(context),
                                                     "org.example.Vault", "/home/u/secret")}) {
            project->addApplications(
                projects, {TRPSApplication::applicationWithBundleIdentifier(
                              context, QString::fromLatin1(app), QString(), QString(), true)});
            project->addPathsIfNecessary(projects,
                                         {QVariant(componentsOf(QString::fromLatin1(path)))});
        }
        ASSERT_TRUE(projects.save());
    }

    QTemporaryDir m_home;
    std::unique_ptr<TRActivityStore> m_activities;
};

QString keyOf(const QStringList& fields) {
    return fields.join(QLatin1Char('|'));
}

void addJsonLines(const QJsonArray& lines, Lines& into) {
    for (const QJsonValue& value : lines) {
        QStringList fields;
        for (const char* name : {"kind", "project", "applicationId", "path"})
            fields << value[QLatin1String(name)].toString();
        into[keyOf(fields)] = value[QLatin1String("seconds")].toDouble();
        addJsonLines(value[QLatin1String("children")].toArray(), into);
    }
}

TEST_F(ReportCommandTest, TreeCsvAndJsonAgreeWithTheRecordedTimeAcrossClockChanges) {
    for (const Interval& i : kIntervals) record(i);
    createProjects();
    const struct {
        const char* args;
        int depth;
        double minimum;
    } cases[] = {
        {"--from 2026-03-29 --to 2026-03-29", 2, 0},
        {"--from 2026-03-28 --to 2026-03-30 --by project", 2, 0},
        {"--from 2026-03-29 --to 2026-03-29 --depth 3 --min 10m", 3, 600},
        {"--from 2026-10-25 --to 2026-10-25 --by project --depth 1 --min 0s", 1, 0},
        {"--from 2026-03-01 --to 2026-10-31 --depth 0 --min 1h30m", 0, 5400},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const QString args = QString::fromLatin1(c.args);
        const bool byProject = args.contains(QLatin1String("project"));
        const CommandRun csv = report(args + QStringLiteral(" --format csv"));
        const CommandRun json = report(args + QStringLiteral(" --format json"));
        const CommandRun tree = report(args);
        ASSERT_EQ(csv.code, 0) << csv.err.toStdString();

        // Each CSV row is the tree's line at the same place: indent, name, duration.
        const QStringList rows = csv.out.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts).mid(1);
        const QStringList treeLines = tree.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts).mid(1);
        EXPECT_EQ(treeLines.size(), rows.size()) << tree.out.toStdString();
        Lines fromCsv, fromJson;
        for (qsizetype r = 0; r < rows.size(); ++r) {
            const QStringList f = rows[r].split(QLatin1Char(','));  // no commas in this data
            fromCsv[keyOf({f[0], f[1], f[3], f[4]})] = f[6].toDouble();
            const int level = f[5].toInt();
            const QString name = f[0] == QLatin1String("project") ? f[1]
                                 : f[0] == QLatin1String("total") ? QStringLiteral("All Activities")
                                 : level == 0                     ? f[2]
                                 : level == 1                     ? f[4]
                                              : f[4].mid(f[4].lastIndexOf(QLatin1Char('/')));
            const int indent =
                byProject && f[0] != QLatin1String("project") && f[0] != QLatin1String("total");
            const QString start =
                QString(2 * (indent + level), QLatin1Char(' ')) + name + QStringLiteral("  ");
            const QString line = treeLines.value(r);
            EXPECT_TRUE(line.startsWith(start)) << line.toStdString();
            EXPECT_EQ(line.mid(start.size()).trimmed().section(QStringLiteral("  "), 0, 0),
                      TRDurationToStringFormatter::stringFromNumber(f[6].toDouble()));
        }
        const QJsonObject root = QJsonDocument::fromJson(json.out.toUtf8()).object();
        addJsonLines(root[QStringLiteral("lines")].toArray(), fromJson);
        fromJson[QStringLiteral("total|||")] = root[QStringLiteral("totalSeconds")].toDouble();
        const QStringList words = args.split(QLatin1Char(' '));
        EXPECT_EQ(fromCsv, expectedLines(QDate::fromString(words[1], Qt::ISODate),
                                         QDate::fromString(words[3], Qt::ISODate), byProject,
                                         c.depth, c.minimum));
        EXPECT_EQ(fromJson, fromCsv);
        // The longest line's bar fills its column.
        EXPECT_TRUE(treeLines.value(0).endsWith(QString(30, QChar(0x2588))))
            << tree.out.toStdString();
    }
}

TEST_F(ReportCommandTest, ReadsTheHelpersSavesWithoutWritingAnyFile) {
    const QDateTime today = Calculations::beginningOfDay(QDateTime::currentDateTimeUtc());
    record({"org.example.Chat", "", today.addSecs(60), 60});
    record({"org.example.Editor", "/notes", Calculations::yesterday(today).addSecs(60), 90});
    const QString wal = dataFolder() + QStringLiteral("/ActivityStore.db-wal");
    const QDateTime walWritten = QFileInfo(wal).lastModified();
    const CommandRun run = report(QString());
    EXPECT_EQ(run.code, 0) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("Chat")) &&
                !run.out.contains(QStringLiteral("Editor")))
        << run.out.toStdString();
    EXPECT_TRUE(report(QStringLiteral("--yesterday")).out.contains(QStringLiteral("/notes")));
    EXPECT_EQ(QFileInfo(wal).lastModified(), walWritten);
    EXPECT_FALSE(QFileInfo::exists(dataFolder() + QStringLiteral("/ProjectStore.db")));
}

TEST_F(ReportCommandTest, BadRangesAndUnreadableStoresFailWithAClearError) {
    const QString store = dataFolder() + QStringLiteral("/ActivityStore.db");
    const auto newerSchema = [&] {
        m_activities.reset();
        SqliteDatabase db;
        db.open(store);
        db.exec(QStringLiteral("PRAGMA user_version = 99"));
    };
    const struct {
        std::function<void()> prepare;
        const char* args;
        int code;
        const char* says;
    } cases[] = {
        {[] {}, "", 1, "There is no activity store at"},
        {[&] { record(kIntervals[2]); }, "--from 2026-03-30 --to 2026-03-29", 2,
         "ends (2026-03-29) before it starts (2026-03-30)"},
        {[] {}, "--from 2025-01-01 --to 2025-01-31", 3,
         "nothing recorded from 2025-01-01 to 2025-01-31"},
        {newerSchema, "", 1, "The activity store has schema 99"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        c.prepare();
        const CommandRun run = report(QString::fromLatin1(c.args));
        EXPECT_EQ(run.code, c.code);
        EXPECT_TRUE(run.err.contains(QString::fromUtf8(c.says))) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
}

}  // namespace

int main(int argc, char** argv) {
    setenv("TZ", "Europe/Berlin", 1);
    setenv("LANG", "C.UTF-8", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
