// vorlix-helper: records where the time at the computer goes, privately.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>
#include <cstdio>

#include "TRLocations.h"
#include "Translations.h"

namespace {

void printLocations() {
    QTextStream out(stdout);
    out << "vorlix-helper " << VORLIX_VERSION << '\n'
        << "data folder: " << TRLocations::dataFolderPath() << '\n'
        << "settings file: " << TRLocations::settingsFilePath() << '\n';
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vorlix-helper"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VORLIX_VERSION));
    installTranslations(app);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Records, privately, how you spend your time at the computer."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(app);

    printLocations();
    return 0;
}
