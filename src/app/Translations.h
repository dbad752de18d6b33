#pragma once
// Installs the translation of the user's language, when the helper has one.
// REQUIRES: a QCoreApplication exists. Main thread.

class QCoreApplication;

void installTranslations(QCoreApplication& app);
