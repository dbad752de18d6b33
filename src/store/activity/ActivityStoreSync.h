#pragma once
// ActivityStoreSync: saving the activity store and keeping it in step with
// the main application, which has the same file open.
//
// save() writes every change in one transaction (TRObjectContext::save). A
// failure is shown and logged, and its changes wait for the next save. A save
// that wrote anything is announced as kContextDidSaveDistributedNotification
// with the object "BUNDLE-ID|||DATA-FOLDER" and the user info keys
// "inserted", "updated" and "deleted" (always all three), each the sorted
// URIs as UTF-8, one per line.
//
// The other program's announcements are listened for from construction on,
// before the file is opened, and merged later on the receiver's (main)
// thread, never inside the bus callback. One is merged only when its object
// splits at "|||" into exactly two parts, the first not our own id and the
// second exactly our data folder, and only into a store already opened (a
// store opened later reads the file anyway). URIs that name nothing here are
// logged and skipped.
//
// Main thread only.

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

#include "platform/DistributedNotificationCenter.h"

class ActivityStoreFile;
class TRStoreReporter;
struct TRSaveResult;

inline constexpr char kDidSaveActivityStoreNotification[] =
    "VorlixDidSaveActivityStoreNotification";
inline constexpr char kContextDidSaveDistributedNotification[] =
    "VorlixActivityStoreManagedObjectContextDidSaveDistributedNotification";

class ActivityStoreSync final {
public:
    // REQUIRES: file and reporter outlive this object; receiver is a
    // main-thread object that owns it (queued merges die with it). center
    // may be null: then nothing is sent or received. merged runs after each
    // merge of the other program's save.
    ActivityStoreSync(ActivityStoreFile& file, QString bundleIdentifier,
                      std::shared_ptr<DistributedNotificationCenter> center,
                      TRStoreReporter& reporter, QObject* receiver, std::function<void()> merged);
    ~ActivityStoreSync();
    ActivityStoreSync(const ActivityStoreSync&) = delete;
    ActivityStoreSync& operator=(const ActivityStoreSync&) = delete;

    // Opens the store if needed; does nothing when it cannot be opened.
    void save();
    // The helper's id ends with "Helper": only the helper tells the bus about
    // its saves (postDidSave); the main application tells itself.
    bool isHelper() const { return m_isHelper; }
    // kDidSaveActivityStoreNotification, without object or user info.
    void postDidSave();

private:
    void announce(const TRSaveResult& result);
    void merge(const QString& object, const DistributedNotificationCenter::UserInfo& userInfo);

    ActivityStoreFile& m_file;
    QString m_bundleIdentifier;
    bool m_isHelper;
    std::shared_ptr<DistributedNotificationCenter> m_center;
    TRStoreReporter& m_reporter;
    std::function<void()> m_merged;
    int m_observerToken = -1;
};
