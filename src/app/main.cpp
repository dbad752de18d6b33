// vorlix-helper: records where the time at the computer goes, privately.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>
#include <cstring>
#include <memory>

#include "AccessibilityElement.h"
#include "InspectCommand.h"
#include "RunningApplications.h"
#include "ScriptingTarget.h"
#include "TRExtractionContext.h"
#include "TRLocations.h"
#include "Translations.h"
#include "WindowSystem.h"

namespace {

void printLocations() {
    QTextStream out(stdout);
    out << "vorlix-helper " << VORLIX_VERSION << '\n'
        << "data folder: " << TRLocations::dataFolderPath() << '\n'
        << "settings file: " << TRLocations::settingsFilePath() << '\n';
}

// The desktop's platform objects, owned for the life of the process. Empty
// until the desktop's implementations are wired in here; every user of them
// then reports that there is nothing to ask.
struct PlatformObjects final {
    std::unique_ptr<WindowSystem> windowSystem;
    std::unique_ptr<RunningApplications> runningApplications;
    std::unique_ptr<AccessibilityProvider> accessibility;
    std::unique_ptr<ScriptingTargets> scriptingTargets;

    TRExtractionContext context() const {
        return {windowSystem.get(), runningApplications.get(), accessibility.get(),
                scriptingTargets.get()};
    }
};

PlatformObjects createPlatformObjects() {
    return {};
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);

    if (argc > 1 && std::strcmp(argv[1], "inspect") == 0) {
        const PlatformObjects platform = createPlatformObjects();
        return runInspectCommand(QCoreApplication::arguments().mid(2), platform.context());
    }

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Records, privately, how you spend your time at the computer."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(app);

    printLocations();
    return 0;
}
