#include "app/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

void installTranslations(QCoreApplication& app) {
    // Parented to the application so it lives exactly as long.
    auto* translator = new QTranslator(&app);
    if (translator->load(QLocale(), QStringLiteral("vorlix"), QStringLiteral("_"),
                         QStringLiteral(":/i18n"))) {
        QCoreApplication::installTranslator(translator);
    }
}
