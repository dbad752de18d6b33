// vorlix-helper: records where the time at the computer goes, privately.
//
// Starts tracking at once and runs until asked to quit: SIGTERM, SIGINT and
// SIGHUP end tracking (the interval in progress is stored and the store saved) and
// exit 0. One helper per user; a second start says so and exits 1.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/AppLog.h"
#include "app/TRExceptionHandler.h"
#include "core/TRPathMigrator.h"
#include "app/InspectCommand.h"
#include "app/PlatformObjects.h"
#include "app/ProjectsCommand.h"
#include "app/SingleInstance.h"
#include "store/activity/TRActivityStore.h"
#include "store/project/TRProjectStore.h"
#include "tracking/TRInfoLogger.h"
#include "app/TrackingWiring.h"
#include "app/Translations.h"
#include "app/UnixSignals.h"

Q_LOGGING_CATEGORY(lcApp, "vorlix.app", QtInfoMsg)

namespace {

constexpr int kExitAlreadyRunning = 1;

void parseCommandLine(QCoreApplication& app) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Records, privately, how you spend your time at the computer."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("inspect"),
        QStringLiteral("Print what would be recorded, once a second (--once: one look), and exit."),
        QStringLiteral("[inspect [--once]]"));
    parser.addPositionalArgument(
        QStringLiteral("projects"),
        QStringLiteral("List, create and change projects and the blacklist (projects --help)."),
        QStringLiteral("[projects ...]"));
    parser.process(app);
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "vorlix-helper: unknown command '%s'\nTry 'vorlix-helper --help'.\n",
                     qPrintable(parser.positionalArguments().constFirst()));
        std::exit(2);
    }
}

// Quitting, whatever asked for it: end tracking, which stores the interval
// in progress and saves.
void applicationShouldTerminate(TrackingWiring& wiring) {
    wiring.logger->endTracking();
    TRActivityStore::sharedInstance().prepareForTermination();
    TRProjectStore::sharedInstance().prepareForTermination();
    qCInfo(lcApp) << "terminating";
}

}  // namespace

int main(int argc, char* argv[]) {
    TRExceptionHandler::install();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);

    if (argc > 1 && std::strcmp(argv[1], "inspect") == 0) {
        const PlatformObjects platform = createPlatformObjects();
        return runInspectCommand(QCoreApplication::arguments().mid(2), platform.context());
    }

    if (argc > 1 && std::strcmp(argv[1], "projects") == 0) {
        // It opens the stores: an upgrading user's older folder comes first.
        TRPathMigrator::migrateApplicationSupportPaths();
        return runProjectsCommand(QCoreApplication::arguments().mid(2));
    }

    parseCommandLine(app);
    // Before anything opens a store: an upgrading user's older folder first.
    TRPathMigrator::migrateApplicationSupportPaths();

    SingleInstance instance;
    switch (instance.acquire()) {
        case SingleInstance::Result::Acquired:
            break;
        case SingleInstance::Result::HeldByAnother:
            std::fprintf(stderr, "vorlix-helper: already running for this user (pid %lld)\n",
                         static_cast<long long>(instance.holderPid()));
            return kExitAlreadyRunning;
        case SingleInstance::Result::Failed:
            qCWarning(lcApp) << "cannot take the single-instance lock; carrying on";
            break;
    }

    UnixSignals signals;
    QObject::connect(&signals, &UnixSignals::terminationRequested, &app, [](int signalNumber) {
        qCInfo(lcApp) << "received signal" << signalNumber;
        QCoreApplication::quit();
    });

    const std::unique_ptr<TrackingWiring> wiring = wireTracking();
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &app,
                     [&wiring] { applicationShouldTerminate(*wiring); });
    // The display went away under us (the X server ended with the session):
    // leave as at logout, saving what was recorded, rather than run on blind.
    QTimer displayWatch;
    if (const WindowSystem* windows = wiring->platform.windowSystem.get()) {
        QObject::connect(&displayWatch, &QTimer::timeout, &app, [windows] {
            if (windows->isAvailable()) return;
            qCWarning(lcApp) << "lost the connection to the X display; quitting";
            QCoreApplication::quit();
        });
        displayWatch.start(2000);
    }
    wiring->logger->setShouldTrack(true);
    return QCoreApplication::exec();
}
