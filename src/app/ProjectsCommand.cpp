#include "app/ProjectsCommand.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "core/DateCalculations.h"
#include "core/TRActivityDetails.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "store/activity/TRActivityComponents.h"
#include "store/activity/TRActivityStore.h"
#include "store/activity/TRStoreReporter.h"
#include "store/project/TRPSApplication.h"
#include "store/project/TRPSPath.h"
#include "store/project/TRPSProject.h"
#include "store/project/TRProjectStore.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

const char kUsageText[] =
    "usage: vorlix-helper projects [list] [--from DATE] [--to DATE]\n"
    "       vorlix-helper projects create NAME [--color COLOR]\n"
    "       vorlix-helper projects rename NAME NEW-NAME\n"
    "       vorlix-helper projects add-app|remove-app PROJECT [--executable] APP...\n"
    "       vorlix-helper projects add-path|remove-path PROJECT PATH...\n"
    "       vorlix-helper projects blacklist [--executable] APP-OR-PATH...\n"
    "\n"
    "Lists, creates and changes the projects that group recorded time, and the\n"
    "blacklist of applications and paths that are never recorded.\n"
    "\n"
    "  list           each project with its time (today, or from --from to --to,\n"
    "                 dates as YYYY-MM-DD) and its applications and paths\n"
    "  create         a new project; COLOR is red, orange, yellow, green, blue,\n"
    "                 purple, gray or white (default: the next in that cycle)\n"
    "  rename         gives a project another name\n"
    "  add-app        adds applications by id (the desktop entry's name without\n"
    "  remove-app     .desktop), or by program name with --executable\n"
    "  add-path       adds files, folders or web addresses; time below a path\n"
    "  remove-path    counts for the project\n"
    "  blacklist      never records these applications and paths again; an\n"
    "                 argument with a '/' or '://' is a path\n"
    "\n"
    "PROJECT is a project's name or \"Blacklist\". Changes are saved at once; a\n"
    "running helper follows them from its next recording.\n";

// Store failures go to the terminal, not only the log.
class TerminalReporter final : public TRStoreReporter {
public:
    explicit TerminalReporter(QTextStream& err) : m_err(err) {}
    void presentError(const TRError& error) override {
        m_err << "vorlix-helper projects: error: " << error.toString() << "\n";
        m_err.flush();
    }
    void logLine(const QString&) override {}

private:
    QTextStream& m_err;
};

class DesktopInstalledApplications final : public TRInstalledApplications {
public:
    std::optional<RunningApplication> applicationWithIdentifier(const QString& id) const override {
        const DesktopEntry* entry = m_index.entry(id);
        if (!entry) return std::nullopt;
        RunningApplication app;
        app.bundleIdentifier = id;
        const QString program = entry->execProgram;
        const QString found = program.contains(QLatin1Char('/'))
                                  ? program
                                  : QStandardPaths::findExecutable(program);
        app.executablePath = found.isEmpty() ? program : found;
        app.localizedName = entry->localizedName;
        return app;
    }

private:
    mutable DesktopEntryIndex m_index;
};

QString durationText(double seconds) {
    const auto total = qint64(seconds + 0.5);
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg((total / 60) % 60, 2, 10, QLatin1Char('0'))
        .arg(total % 60, 2, 10, QLatin1Char('0'));
}

std::optional<TRPSColor> colorNamed(const QString& name) {
    const QString n = name.toLower();
    if (n == QLatin1String("red")) return TRPSColor::redColor();
    if (n == QLatin1String("orange")) return TRPSColor::orangeColor();
    if (n == QLatin1String("yellow")) return TRPSColor::yellowColor();
    if (n == QLatin1String("green")) return TRPSColor::greenColor();
    if (n == QLatin1String("blue")) return TRPSColor::blueColor();
    if (n == QLatin1String("purple")) return TRPSColor::lightPurpleColor();
    if (n == QLatin1String("gray") || n == QLatin1String("grey")) return TRPSColor::lightGrayColor();
    if (n == QLatin1String("white")) return TRPSColor::whiteColor();
    return std::nullopt;
}

bool looksLikePath(const QString& argument) {
    return argument.contains(QLatin1Char('/'));
}

// As recording cuts them: a web address into host, segments and query; a
// file path at "/".
QStringList componentsForPathArgument(const QString& argument) {
    if (argument.contains(QLatin1String("://"))) {
        TRActivityDetails details;
        details.setDocumentPath(argument);
        return TRActivityComponents::componentsForDetails(details, [] { return -1; });
    }
    const QString absolute = QDir::cleanPath(QFileInfo(argument).absoluteFilePath());
    return TRActivityComponents::componentsForPath(absolute);
}

class Command {
public:
    Command(QTextStream& out, QTextStream& err) : m_out(out), m_err(err) {}

    int run(QStringList args) {
        if (args.contains(QLatin1String("--help")) || args.contains(QLatin1String("-h")) ||
            args.value(0) == QLatin1String("help")) {
            m_out << kUsageText;
            return 0;
        }
        const QString verb = args.isEmpty() || args[0].startsWith(QLatin1String("--"))
                                 ? QStringLiteral("list")
                                 : args.takeFirst();
        if (verb == QLatin1String("list")) return list(args);
        if (verb == QLatin1String("create")) return create(args);
        if (verb == QLatin1String("rename")) return rename(args);
        if (verb == QLatin1String("add-app") || verb == QLatin1String("remove-app"))
            return changeApplications(args, verb == QLatin1String("add-app"));
        if (verb == QLatin1String("add-path") || verb == QLatin1String("remove-path"))
            return changePaths(args, verb == QLatin1String("add-path"));
        if (verb == QLatin1String("blacklist")) return blacklist(args);
        return usage(QStringLiteral("unknown command '%1'").arg(verb));
    }

private:
    int usage(const QString& why) {
        m_err << "vorlix-helper projects: error: " << why << "\n"
              << "Try 'vorlix-helper projects --help'.\n";
        return kUsage;
    }
    int fail(const QString& why) {
        m_err << "vorlix-helper projects: error: " << why << "\n";
        return kFailed;
    }

    TRProjectStore& store() { return TRProjectStore::sharedInstance(); }
    TRObjectContext* context() { return store().managedObjectContext(); }

    TRPSProject* projectNamed(const QString& name) {
        for (TRPSProject* project : TRPSProject::allProjects(*context())) {
            if (project->localizedName() == name || project->name() == name) return project;
        }
        if (name == QLatin1String("Blacklist")) return TRPSProject::blacklistProject(*context());
        return nullptr;
    }

    int save() {
        // A change of the Blacklist recomputes every total for this run's
        // range; the main application must not read those as its own.
        for (TRPSProject* project : TRPSProject::allProjects(*context())) {
            if (project->isUpdated() || project->isInserted())
                project->setTotalDurationWithFilterValue(-1);
        }
        if (!store().save()) return fail(QStringLiteral("the changes could not be saved"));
        return 0;
    }

    int list(QStringList args) {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        QDateTime from = Calculations::beginningOfDay(now), to = now;
        while (!args.isEmpty()) {
            const QString option = args.takeFirst();
            if ((option != QLatin1String("--from") && option != QLatin1String("--to")) ||
                args.isEmpty())
                return usage(QStringLiteral("unexpected '%1'").arg(option));
            const QDate date = QDate::fromString(args.takeFirst(), Qt::ISODate);
            if (!date.isValid()) return usage(QStringLiteral("a date is written YYYY-MM-DD"));
            const QDateTime day = QDateTime(date, QTime(12, 0)).toUTC();
            (option == QLatin1String("--from") ? from : to) = Calculations::beginningOfDay(day);
        }
        if (!context()) return kFailed;
        TRActivityStore& activities = store().activityStore();
        activities.setFirstFilterDay(from);
        activities.setLastFilterDay(to);
        store().refreshProjectDurations();
        for (TRPSProject* project : store().childElements()) {
            m_out << project->localizedName() << "\t"
                  << durationText(project->cachedTotalDurationWithFilterValue()) << "\n";
            for (TRPSApplication* app : project->applications()) {
                const QString id = !app->bundleIdentifier().isEmpty() ? app->bundleIdentifier()
                                   : !app->executableName().isEmpty()
                                       ? QStringLiteral("--executable ") + app->executableName()
                                       : app->title();
                m_out << "  app\t" << id << "\n";
            }
            for (TRPSPath* path : project->paths())
                m_out << "  path\t" << path->representedPath() << "\n";
        }
        m_out << store().localizedName() << "\t" << durationText(store().totalDurationWithFilterValue())
              << "\n";
        // Listing changes nothing: the special projects a listing makes stay unsaved.
        return 0;
    }

    int create(QStringList args) {
        std::optional<TRPSColor> color;
        const qsizetype colorAt = args.indexOf(QStringLiteral("--color"));
        if (colorAt >= 0) {
            if (colorAt + 1 >= args.size()) return usage(QStringLiteral("--color needs a colour"));
            color = colorNamed(args[colorAt + 1]);
            if (!color) return usage(QStringLiteral("unknown colour '%1'").arg(args[colorAt + 1]));
            args.remove(colorAt, 2);
        }
        if (args.size() != 1 || args[0].isEmpty())
            return usage(QStringLiteral("create needs one project name"));
        if (!context()) return kFailed;
        if (projectNamed(args[0]))
            return fail(QStringLiteral("a project named '%1' already exists").arg(args[0]));
        auto* project = context()->insert<TRPSProject>();
        project->setName(args[0]);
        if (color) project->setColor(*color);
        return save();
    }

    int rename(const QStringList& args) {
        if (args.size() != 2 || args[1].isEmpty())
            return usage(QStringLiteral("rename needs a project name and the new name"));
        if (!context()) return kFailed;
        TRPSProject* project = projectNamed(args[0]);
        if (!project) return fail(QStringLiteral("no project named '%1'").arg(args[0]));
        if (!project->isRegular())
            return fail(QStringLiteral("'%1' cannot be renamed").arg(args[0]));
        if (projectNamed(args[1]))
            return fail(QStringLiteral("a project named '%1' already exists").arg(args[1]));
        project->setLocalizedName(args[1]);
        return save();
    }

    TRPSProject* editableProject(const QString& name, int* code) {
        TRPSProject* project = projectNamed(name);
        if (!project) *code = fail(QStringLiteral("no project named '%1'").arg(name));
        else if (!project->isEditable())
            *code = fail(QStringLiteral("'%1' has no members of its own").arg(name));
        return project && project->isEditable() ? project : nullptr;
    }

    std::vector<TRPSApplication*> applicationsFor(const QStringList& names, bool byExecutable,
                                                  bool create) {
        std::vector<TRPSApplication*> apps;
        for (const QString& name : names) {
            TRPSApplication* app =
                byExecutable
                    ? TRPSApplication::applicationWithBundleIdentifier(*context(), QString(), name,
                                                                       QString(), create)
                    : TRPSApplication::applicationWithBundleIdentifier(*context(), name, QString(),
                                                                       QString(), create);
            if (!app) {
                m_err << "vorlix-helper projects: warning: no application '" << name << "'\n";
                continue;
            }
            apps.push_back(app);
        }
        return apps;
    }

    int changeApplications(QStringList args, bool add) {
        const bool byExecutable = args.removeAll(QStringLiteral("--executable")) > 0;
        if (args.size() < 2) return usage(QStringLiteral("a project and at least one application"));
        if (!context()) return kFailed;
        int code = 0;
        TRPSProject* project = editableProject(args.takeFirst(), &code);
        if (!project) return code;
        const auto apps = applicationsFor(args, byExecutable, add);
        if (add) {
            for (TRPSApplication* app : apps) {
                // Filled in from the desktop entry when the id is installed.
                if (app->title().isNull() && !byExecutable) {
                    if (auto installed = desktopInstalledApplications()->applicationWithIdentifier(
                            app->bundleIdentifier())) {
                        app->setTitle(installed->localizedName);
                        app->setExecutableName(
                            TRPSApplication::lastPathComponent(installed->executablePath));
                    }
                }
            }
            project->addApplications(store(), apps);
        } else {
            project->removeApplications(store(), apps);
        }
        return save();
    }

    int changePaths(QStringList args, bool add) {
        if (args.size() < 2) return usage(QStringLiteral("a project and at least one path"));
        if (!context()) return kFailed;
        int code = 0;
        TRPSProject* project = editableProject(args.takeFirst(), &code);
        if (!project) return code;
        if (add) {
            QVariantList paths;
            for (const QString& argument : args)
                paths.append(QVariant(componentsForPathArgument(argument)));
            project->addPathsIfNecessary(store(), paths);
        } else {
            std::vector<TRPSPath*> paths;
            for (const QString& argument : args) {
                TRPSPath* path = TRPSPath::pathForPathComponents(
                    *context(), componentsForPathArgument(argument), false);
                if (path) paths.push_back(path);
                else m_err << "vorlix-helper projects: warning: no path '" << argument << "'\n";
            }
            project->removePaths(store(), paths);
        }
        return save();
    }

    int blacklist(QStringList args) {
        const bool byExecutable = args.removeAll(QStringLiteral("--executable")) > 0;
        if (args.isEmpty()) return usage(QStringLiteral("blacklist needs an application or a path"));
        if (!context()) return kFailed;
        TRPSProject* blacklist = TRPSProject::blacklistProject(*context());
        QStringList apps;
        QVariantList paths;
        for (const QString& argument : args) {
            if (!byExecutable && looksLikePath(argument))
                paths.append(QVariant(componentsForPathArgument(argument)));
            else
                apps.append(argument);
        }
        blacklist->addApplications(store(), applicationsFor(apps, byExecutable, true));
        blacklist->addPathsIfNecessary(store(), paths);
        return save();
    }

    QTextStream& m_out;
    QTextStream& m_err;
};

}  // namespace

std::shared_ptr<TRInstalledApplications> desktopInstalledApplications() {
    static const auto installed = std::make_shared<DesktopInstalledApplications>();
    return installed;
}

int runProjectsCommand(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    // As for the helper: a bare account may not have its data folder yet,
    // and the stores create only their own folder inside it.
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (!base.isEmpty() && !QFileInfo::exists(base) && QDir().mkpath(base))
        QFile::setPermissions(base, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                        QFileDevice::ExeOwner);
    TRActivityStore::Options activityOptions;
    activityOptions.reporter = std::make_shared<TerminalReporter>(err);
    activityOptions.abortProcess = [] { std::exit(kFailed); };
    TRActivityStore::configureSharedInstance(std::move(activityOptions));
    TRProjectStore::Options options;
    options.reporter = std::make_shared<TerminalReporter>(err);
    options.installedApplications = desktopInstalledApplications();
    options.abortProcess = [] { std::exit(kFailed); };
    TRProjectStore::configureSharedInstance(std::move(options));
    const int code = Command(out, err).run(arguments);
    out.flush();
    err.flush();
    return code;
}

int runProjectsCommand(const QStringList& arguments) {
    QTextStream out(stdout), err(stderr);
    return runProjectsCommand(arguments, out, err);
}
