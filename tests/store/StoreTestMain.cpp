// The store tests' main: a fixed time zone and locale for the hour
// arithmetic, and a QCoreApplication for queued notification delivery.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <cstdlib>

#include "core/DateCalculations.h"

int main(int argc, char** argv) {
    setenv("TZ", "UTC", 1);
    setenv("LANG", "C.UTF-8", 1);
    Calculations::refreshCurrentCalendar();
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
