#pragma once
// ActivityStoreRecorder: files a finished activity in the activity store.
//
// The activity's texts are cut into path components (TRActivityComponents;
// maxURLTrackingLevel is read from the settings only when a web address
// needs it), the blacklist is asked, the application and the chain of nodes
// are found or created, and the seconds are spread over the clock hours the
// interval touches. The store is opened only once the blacklist has let the
// activity through. Nothing is saved here.
//
// Main thread only.

#include <QDateTime>
#include <QHash>
#include <QString>

#include "core/TRActivity.h"

class ActivityStoreFile;
class TRASApplication;
class TRObjectContext;
class TRASPathComponent;
class TRBlacklist;
class TRSettings;

class ActivityStoreRecorder final {
public:
    // REQUIRES: file, settings and blacklist outlive the recorder.
    ActivityStoreRecorder(ActivityStoreFile& file, TRSettings& settings, TRBlacklist& blacklist)
        : m_file(file), m_settings(settings), m_blacklist(blacklist) {}

    // Dropped: no application, an invalid date, a start after the stop, a
    // blacklisted activity, a store that cannot be opened.
    void storeActivity(const TRActivity& activity, const QDateTime& start, const QDateTime& stop);
    // The node the activity is filed under, created with its application and
    // ancestors as needed; nullptr in the cases storeActivity drops.
    TRASPathComponent* lastPathComponentForActivity(const TRActivity& activity);
    // Adds the interval's seconds to the node's hourly events, one event per
    // clock hour (current calendar), and widens the date bounds of the node
    // and its ancestors. REQUIRES: start <= stop.
    static void addActivity(TRASPathComponent* node, const QDateTime& start, const QDateTime& stop);

    // The applications found for running ones are kept by their three texts
    // (looking one up is the only query of a recording); the store drops
    // them whenever applications are inserted or deleted or the other
    // program's changes are merged.
    void forgetApplications() { m_applications.clear(); }

private:
    // A running application's three texts; a null text and an empty one look
    // the application up differently, so they are different keys.
    struct ApplicationKey {
        QString bundleIdentifier;
        QString executablePath;
        QString localizedName;
        bool operator==(const ApplicationKey& other) const;
        friend size_t qHash(const ApplicationKey& key, size_t seed = 0) {
            return qHashMulti(seed, key.bundleIdentifier, key.executablePath, key.localizedName);
        }
    };

    TRASApplication* applicationFor(TRObjectContext& context, const TRActivity& activity);

    ActivityStoreFile& m_file;
    TRSettings& m_settings;
    TRBlacklist& m_blacklist;
    QHash<ApplicationKey, TRASApplication*> m_applications;
};
