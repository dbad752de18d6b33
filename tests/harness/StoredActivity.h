#pragma once
// The helper's activity store read back from its file, as a check that
// knows nothing of the store's code: every path with the seconds of all its
// hourly events (an interval may have been split at a clock hour), each
// event's chain walked up from its last component to the application's root.

#include <QString>
#include <QStringList>
#include <vector>

struct StoredPath final {
    QString application;    // the application's id
    QStringList components;  // empty: the application alone
    double seconds = 0;
};

// Empty, with the reason in `error` when given, if the file cannot be read.
std::vector<StoredPath> readStoredPaths(const QString& file, QString* error = nullptr);
// The store file under a helper's XDG_DATA_HOME.
QString activityStoreIn(const QString& dataHome);
double totalSeconds(const std::vector<StoredPath>& paths);
// The seconds of every path of `application`, components or not.
double secondsOf(const std::vector<StoredPath>& paths, const QString& application);
// One line a path, for failure messages.
QString describe(const std::vector<StoredPath>& paths);
// A file or folder as stored: one component a segment ("/home", "/u").
QStringList pathComponents(const QString& path);
