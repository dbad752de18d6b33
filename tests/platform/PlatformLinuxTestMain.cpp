// The unit tests' main: a QCoreApplication so that file-system watchers can
// report, and nothing else (no display, no bus).

#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
