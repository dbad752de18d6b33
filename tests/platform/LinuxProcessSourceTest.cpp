// What the process table says, read from a /proc written by the test. (A
// real terminal's children and folder are read in the end-to-end and
// extraction tests.)

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/linux/LinuxProcessSource.h"

namespace {

// A terminal's shell runs a command in its own process group; the command
// name may hold spaces and parentheses.
TEST(LinuxProcessSourceTest, ReadsLivenessAndTheForegroundGroupFromStat) {
    QTemporaryDir proc;
    const auto write = [&](int pid, const QByteArray& rest) {
        QDir().mkpath(proc.path() + QStringLiteral("/%1").arg(pid));
        QFile stat(proc.path() + QStringLiteral("/%1/stat").arg(pid));
        ASSERT_TRUE(stat.open(QIODevice::WriteOnly));
        stat.write(QByteArray::number(pid) + " (my (odd) name) " + rest);
    };
    write(10, "S 1 10 10 34817 2345 4194304 0 0 0 0 0 0 0 0 20 0 1 0 9\n");
    write(11, "Z 1 11 11 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 9\n");
    LinuxProcessSource processes(proc.path());
    EXPECT_TRUE(processes.isRunning(10));
    EXPECT_FALSE(processes.isRunning(11)) << "a zombie has ended";
    EXPECT_FALSE(processes.isRunning(12));
    EXPECT_FALSE(processes.isRunning(0));
    EXPECT_EQ(processes.foregroundProcess(10), 2345);
    EXPECT_EQ(processes.foregroundProcess(11), 0) << "no terminal";
    EXPECT_EQ(processes.foregroundProcess(12), 0);
}

}  // namespace
