// main() of the test binaries that need a Qt event loop on the main thread
// (decisions the worker posts back, D-Bus signals, file watchers).
#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
