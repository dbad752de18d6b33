// What the process table says, read from a /proc written by the test. (A
// real terminal's children and folder are read in the end-to-end and
// extraction tests.)

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <functional>
#include <utility>

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

// A terminal's shell, asked about every tick: its folder and program follow
// it through `cd` and `exec`, and once it has ended nothing is answered for
// it (the files the source keeps open must not answer for the past).
TEST(LinuxProcessSourceTest, FollowsALiveProcessAndForgetsAnEndedOne) {
    QTemporaryDir start;
    QProcess shell;
    shell.setWorkingDirectory(start.path());
    shell.start(QStringLiteral("/bin/sh"),
                {QStringLiteral("-c"), QStringLiteral("read a; cd /; read b; exec sleep 30")});
    ASSERT_TRUE(shell.waitForStarted());
    const qint32 pid = qint32(shell.processId());
    LinuxProcessSource processes;
    const auto ask = [&] {
        processes.foregroundProcess(pid);  // reads stat first, as the terminal's step does
        return std::pair{processes.workingDirectory(pid), processes.arguments(pid).value(0)};
    };
    const auto waitFor = [&](const std::function<bool()>& done) {
        for (int i = 0; i < 200 && !done(); ++i) QThread::msleep(10);
        return done();
    };
    EXPECT_TRUE(processes.isRunning(pid));
    EXPECT_EQ(ask(), std::pair(QDir(start.path()).canonicalPath(), QStringLiteral("/bin/sh")));
    shell.write("\n");
    shell.waitForBytesWritten();
    EXPECT_TRUE(waitFor([&] { return ask().first == QStringLiteral("/"); }));
    EXPECT_EQ(ask().second, QStringLiteral("/bin/sh"));
    shell.write("\n");
    shell.waitForBytesWritten();
    EXPECT_TRUE(waitFor([&] { return ask().second == QStringLiteral("sleep"); }))
        << "the program it runs now";
    shell.kill();
    ASSERT_TRUE(shell.waitForFinished());
    EXPECT_FALSE(processes.isRunning(pid));
    EXPECT_EQ(ask(), std::pair(QString(), QString()));
    EXPECT_TRUE(processes.children(pid).isEmpty());
}

}  // namespace
