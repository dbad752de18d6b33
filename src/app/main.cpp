// vorlix-helper: records where the time at the computer goes, privately.
//
// Shows its icon in the panel and starts tracking at once, after the two
// start-up questions; runs until asked to quit: the menu's quit item, SIGTERM,
// SIGINT and SIGHUP end tracking (the interval in progress is stored and the
// store saved) and exit 0. One helper per user; a second start says so and
// exits 1. Without an X display there is nothing it could track: it says so
// in one line and exits 1.

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include "app/AppLog.h"
#include "app/TRExceptionHandler.h"
#include "core/TRPathMigrator.h"
#include "app/InspectCommand.h"
#include "app/PlatformObjects.h"
#include "app/ProjectsCommand.h"
#include "app/ReportCommand.h"
#include "app/SingleInstance.h"
#include "store/activity/TRActivityStore.h"
#include "store/project/TRProjectStore.h"
#include "tracking/TRInfoLogger.h"
#include "app/TrackingWiring.h"
#include "app/Translations.h"
#include "app/UnixSignals.h"
#include "platform/linux/InotifyFolderEventStream.h"
#include "platform/linux/XcbWindowSystem.h"
#include "platform/linux/XdgAutostartLoginItems.h"
#include "notices/iNotify.h"
#include "ui/TRHelperAppDelegate.h"


namespace {

constexpr int kExitAlreadyRunning = 1;
constexpr int kExitNoDisplay = 1;

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
    parser.addPositionalArgument(
        QStringLiteral("report"),
        QStringLiteral("Show where the time went: today, a week, a month (report --help)."),
        QStringLiteral("[report ...]"));
    parser.process(app);
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "vorlix-helper: unknown command '%s'\nTry 'vorlix-helper --help'.\n",
                     qPrintable(parser.positionalArguments().constFirst()));
        std::exit(2);
    }
}

// Quitting, whatever asked for it: end tracking, which stores the interval
// in progress and saves, and take the icon away.
void applicationShouldTerminate(TRHelperAppDelegate& delegate) {
    delegate.applicationShouldTerminate();
    TRActivityStore::sharedInstance().prepareForTermination();
    TRProjectStore::sharedInstance().prepareForTermination();
    qCInfo(lcApp) << "terminating";
}

enum class XDisplay { Unset, Silent, Answers };

XDisplay probeXDisplay() {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) return XDisplay::Unset;
    return XcbWindowSystem::displayAnswers() ? XDisplay::Answers : XDisplay::Silent;
}

// Without a display (none named, or an X display that does not answer) the
// widgets go to Qt's offscreen platform, which Qt would otherwise refuse to
// start without, so that --help and --version still answer; tracking then
// refuses to start (requireXDisplay).
bool chooseDisplay(XDisplay display) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") &&
        qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && display != XDisplay::Answers) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    return qgetenv("QT_QPA_PLATFORM") != "offscreen";
}

// The front window is all the helper records, and only an X display names
// it: without one, a helper left running would record nothing, silently.
// A Wayland session has window sources of its own (createPlatformObjects),
// which say themselves when they cannot see the front window.
bool requireXDisplay(XDisplay display) {
    if (display == XDisplay::Answers || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        return true;
    }
    if (display == XDisplay::Unset) {
        std::fprintf(stderr,
                     "vorlix-helper: no X display (DISPLAY is not set); nothing to track\n");
    } else {
        std::fprintf(stderr, "vorlix-helper: cannot open the X display %s; nothing to track\n",
                     qgetenv("DISPLAY").constData());
    }
    return false;
}

// Qt's X11 platform ends the process with status 1 the moment the X
// connection breaks, before our own check would notice. Its last word is one
// warning; on it, leave as at logout instead: store, save, exit 0.
std::function<void()> gLostDisplay;
QtMessageHandler gPreviousMessageHandler = nullptr;

void watchForBrokenXConnection(QtMsgType kind, const QMessageLogContext& context,
                               const QString& message) {
    if (gPreviousMessageHandler) gPreviousMessageHandler(kind, context, message);
    if (kind == QtWarningMsg && gLostDisplay &&
        message.startsWith(QStringLiteral("The X11 connection broke"))) {
        std::exchange(gLostDisplay, nullptr)();
    }
}

int runInspect(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);
    const PlatformObjects platform = createPlatformObjects();
    return runInspectCommand(QCoreApplication::arguments().mid(2), platform.context(),
                             platform.windowSourceAdvice);
}

int runProjects(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);
    // It opens the stores: an upgrading user's older folder comes first.
    TRPathMigrator::migrateApplicationSupportPaths();
    return runProjectsCommand(QCoreApplication::arguments().mid(2));
}

// Reads the stores only: no folder migrated, nothing created.
int runReport(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);
    return runReportCommand(QCoreApplication::arguments().mid(2));
}

}  // namespace

int main(int argc, char* argv[]) {
    TRExceptionHandler::install();
    if (argc > 1 && std::strcmp(argv[1], "inspect") == 0) return runInspect(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], "projects") == 0) return runProjects(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], "report") == 0) return runReport(argc, argv);

    const XDisplay xDisplay = probeXDisplay();
    const bool hasDisplay = chooseDisplay(xDisplay);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("vorlix-helper")));
    installTranslations(app);

    parseCommandLine(app);
    if (!requireXDisplay(xDisplay)) return kExitNoDisplay;
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
    bool startedUp = false;
    QObject::connect(&signals, &UnixSignals::terminationRequested, &app,
                     [&startedUp](int signalNumber) {
                         qCInfo(lcApp) << "received signal" << signalNumber;
                         if (!startedUp) {
                             // Still at the first-start questions: nothing is
                             // tracked yet, so nothing waits to be saved, and a
                             // question on screen must not hold up a logout
                             // (quit() is ignored outside the main loop).
                             std::fflush(nullptr);
                             std::_Exit(0);
                         }
                         QCoreApplication::quit();
                     });

    const std::unique_ptr<TrackingWiring> wiring = wireTracking();
    XdgAutostartLoginItems loginItems;
    InotifyFolderEventStream folderEvents;
    SCEvents pathWatcher(folderEvents);
    TRHelperAppDelegateDependencies face;
    face.logger = wiring->logger.get();
    face.settings = wiring->settings.get();
    face.store = &TRActivityStore::sharedInstance();
    face.loginItems = &loginItems;
    face.notificationCenter = wiring->notificationCenter.get();
    face.pathWatcher = &pathWatcher;
    AccessibilityProvider* accessibility = wiring->platform.accessibility.get();
    face.accessibilityEnabled = [accessibility] {
        return accessibility != nullptr && accessibility->isEnabled();
    };
    face.enableAccessibility = [accessibility] {
        if (accessibility != nullptr) accessibility->enable();
    };
    face.askStartupQuestions = hasDisplay;
    face.gnomeShellExtensionOff = wiring->platform.gnomeShellExtensionOff;
    // Notices need someone to read them: none without a display.
    std::unique_ptr<iNotify> notices;
    if (hasDisplay) notices = std::make_unique<iNotify>(*wiring->settings);
    face.notices = notices.get();
    TRHelperAppDelegate delegate(std::move(face));
    wiring->statusMenu->setTarget(&delegate);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &app,
                     [&delegate] { applicationShouldTerminate(delegate); });
    gLostDisplay = [&delegate] {
        qCWarning(lcApp) << "lost the connection to the X display; quitting";
        applicationShouldTerminate(delegate);
        std::fflush(nullptr);
        std::_Exit(0);
    };
    gPreviousMessageHandler = qInstallMessageHandler(watchForBrokenXConnection);
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
    delegate.awakeFromNib();
    startedUp = true;
    const int status = QCoreApplication::exec();
    gLostDisplay = nullptr;
    wiring->statusMenu->setTarget(nullptr);
    return status;
}
