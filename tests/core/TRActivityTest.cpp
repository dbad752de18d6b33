#include <gtest/gtest.h>

#include "core/TRActivity.h"

namespace {

RunningApplication app(qint32 pid, const QString& id = QStringLiteral("org.example.App")) {
    RunningApplication a;
    a.processIdentifier = pid;
    a.bundleIdentifier = id;
    a.localizedName = QStringLiteral("App");
    return a;
}

TRActivity activity(qint32 pid, const QString& path = QString(), const QString& title = QString()) {
    TRActivity a;
    if (pid != 0) a.setApplication(app(pid));
    if (!path.isNull()) a.setDocumentPath(path);
    if (!title.isNull()) a.setWindowTitle(title);
    return a;
}

// Window titles and launches are checked through the tracking loop; these
// are the finer points of comparing details.
TEST(TRActivityEquality, DecidesWhenAnIntervalEnds) {
    TRActivity sameProcessOtherName = activity(42, QStringLiteral("/a"));
    sameProcessOtherName.setApplication(app(42, QStringLiteral("org.other.Id")));
    TRActivity noDetails = activity(42);
    noDetails.setDetails(std::nullopt);
    TRActivity emptyComponents = activity(42);
    emptyComponents.setPathComponents(QStringList{});

    const struct {
        const char* name;
        TRActivity left;
        TRActivity right;
        bool equal;
    } cases[] = {
        {"only the pid identifies the program", activity(42, QStringLiteral("/a")),
         sameProcessOtherName, true},
        {"details removed on this side only", noDetails, activity(42), false},
        {"empty components differ from absent", emptyComponents, activity(42), false},
        {"no normalisation", activity(42, QStringLiteral("caf\u00e9")),
         activity(42, QStringLiteral("cafe\u0301")), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.left.isEqual(&c.right), c.equal);
    }
}

}  // namespace
