// The widget tests' main: Qt's offscreen platform (set by CTest), a zone with
// daylight saving so the custom-activity window meets a clock change, and
// one QApplication for every test.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

#include "core/DateCalculations.h"

int main(int argc, char** argv) {
    setenv("TZ", "Europe/Berlin", 1);
    setenv("LANG", "C.UTF-8", 1);
    if (getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    Calculations::refreshCurrentCalendar();
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
