// Watching folders: batches as the helper's restart after an update sees
// them, on real folders through inotify, and the batch rules on their own.

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/inotify.h>

#include "fakes/QtTestPrinters.h"
#include "platform/linux/InotifyFolderEventStream.h"
#include "ui/SCEvents.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

class Recorder final : public SCEventListenerProtocol {
public:
    void pathWatcherEventOccurred(SCEvents&, const SCEvent& event) override {
        events.push_back(event);
    }
    QStringList paths() const {
        QStringList list;
        for (const SCEvent& e : events) list << e.eventPath;
        return list;
    }
    std::vector<SCEvent> events;
};

void touch(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write("x");
}

bool waitForEvents(const Recorder& recorder, std::size_t count, int timeoutMs = 5000) {
    QDeadlineTimer deadline(timeoutMs);
    while (recorder.events.size() < count && !deadline.hasExpired()) QTest::qWait(10);
    return recorder.events.size() >= count;
}

TEST(PathWatcherTest, ChangesOfALatencyPeriodArriveAsOneBatchPerFolder) {
    QTemporaryDir root;
    ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("lib/plugins")));
    InotifyFolderEventStream stream;
    SCEvents watcher(stream);
    Recorder recorder;
    watcher.setDelegate(&recorder);
    watcher.setNotificationLatency(0.4);
    EXPECT_FALSE(watcher.startWatchingPaths({})) << "nothing to watch";
    ASSERT_TRUE(watcher.startWatchingPaths({root.path()}));
    EXPECT_FALSE(watcher.startWatchingPaths({root.path()})) << "already watching";
    for (int i = 0; i < 3; ++i) touch(root.filePath(QStringLiteral("vorlix-helper")));
    touch(root.filePath(QStringLiteral("lib/plugins/libtray.so")));
    ASSERT_TRUE(QDir(root.path()).mkpath(QStringLiteral("new")));
    QTest::qWait(50);
    touch(root.filePath(QStringLiteral("new/added-later")));  // a folder made while watching

    ASSERT_TRUE(waitForEvents(recorder, 3));
    QTest::qWait(600);
    EXPECT_EQ(recorder.paths(),
              (QStringList{root.path(), root.filePath(QStringLiteral("lib/plugins")),
                           root.filePath(QStringLiteral("new"))}));
    ASSERT_TRUE(watcher.lastEvent().has_value());
    EXPECT_EQ(watcher.lastEvent()->eventPath, root.filePath(QStringLiteral("new")));
}

TEST(PathWatcherTest, WatchedFolderMovedAwayIsReported) {
    QTemporaryDir parent;
    const QString folder = parent.filePath(QStringLiteral("vorlix"));
    ASSERT_TRUE(QDir().mkpath(folder));
    InotifyFolderEventStream stream;
    SCEvents watcher(stream);
    Recorder recorder;
    watcher.setDelegate(&recorder);
    watcher.setNotificationLatency(0.05);
    ASSERT_TRUE(watcher.startWatchingPaths({folder}));
    ASSERT_TRUE(QDir().rename(folder, parent.filePath(QStringLiteral("vorlix.old"))));
    ASSERT_TRUE(waitForEvents(recorder, 1));
    EXPECT_EQ(recorder.events.front().eventPath, folder);
    EXPECT_NE(recorder.events.front().eventFlag & IN_MOVE_SELF, 0u);
}

TEST(PathWatcherTest, ExcludedPathsDropTheRestOfTheirBatch) {
    using Raw = SCEvents::RawEvent;
    const struct {
        const char* name;
        QStringList excluded;
        bool ignoreSubDirs;
        std::vector<Raw> batch;
        QStringList delivered;
        QString lastEvent;  // empty: none
    } cases[] = {
        // clang-format off
        {"first excluded: nothing", {u"/a"_s}, true,
         {{1, u"/a"_s, 0}, {2, u"/b"_s, 0}, {3, u"/c"_s, 0}}, {}, QString()},
        {"excluded in the middle: the earlier ones", {u"/b"_s}, true,
         {{1, u"/a"_s, 0}, {2, u"/b"_s, 0}, {3, u"/c"_s, 0}}, {u"/a"_s}, QString()},
        {"below an excluded folder", {u"/a"_s}, true,
         {{1, u"/c"_s, 0}, {2, u"/a/sub"_s, 0}}, {u"/c"_s}, QString()},
        {"below, sub-folders not ignored", {u"/a"_s}, false,
         {{1, u"/c"_s, 0}, {2, u"/a/sub"_s, 0}}, {u"/c"_s, u"/a/sub"_s}, u"/a/sub"_s},
        {"trailing slash dropped", {}, true,
         {{1, u"/opt/vorlix/"_s, 0}}, {u"/opt/vorlix"_s}, u"/opt/vorlix"_s},
        // clang-format on
    };
    InotifyFolderEventStream stream;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SCEvents watcher(stream);
        Recorder recorder;
        watcher.setDelegate(&recorder);
        watcher.setExcludedPaths(c.excluded);
        watcher.setIgnoreEventsFromSubDirs(c.ignoreSubDirs);
        watcher.handleBatch(c.batch);
        EXPECT_EQ(recorder.paths(), c.delivered);
        EXPECT_EQ(watcher.lastEvent() ? watcher.lastEvent()->eventPath : QString(), c.lastEvent);
    }
}

}  // namespace
