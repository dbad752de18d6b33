#pragma once
// iNotify: notices for the user from a web address. At most every half day
// it downloads a list of notices (TRNoticesList), drops the ones this
// version of the helper should not see and the ones the user has already
// read or ignored, and shows the newest that remains with up to three
// buttons. The answers live in the settings file, so they last.
//
// The address is the settings key `notificationsPlistURL`, read at each
// check; while it is absent nothing is downloaded and no date changes. The
// download and its parse run on a background thread, one check at a time;
// the result is handed to the main thread, where every other step runs.
// Showing the notice and opening its address is the presenter's job (the
// ui layer's dialog); without a presenter nothing is shown.
//
// Owns nothing it is given: the settings, the presenter and the delegate
// must outlive it. Destruction stops a download in progress and waits for
// its thread. Main thread only.

#include <QObject>
#include <QString>
#include <QUrl>
#include <atomic>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <variant>

#include "core/TRError.h"
#include "core/TRSettings.h"
#include "notices/TRNoticesList.h"

struct iNotifyOptions final {
    QString applicationVersion;  // default: the application's version
    bool checkAtLaunch = true;
    bool showOldestFirst = false;
    bool showOnFirstLaunch = false;
    float checkPeriod = 0.5f;   // days between checks
    float remindPeriod = 1.0f;  // days after "Remind Me Later"
    QString okButtonLabel;      // defaults: the localised labels
    QString ignoreButtonLabel;
    QString remindButtonLabel;
    QString defaultActionButtonLabel;
    bool debug = false;  // no time tests, no first-launch rule, viewed notices come back
};

// The buttons of the alert, by their place.
enum class iNotifyButton { Default, Alternate, Other };

// What the presenter shows. Without an action address only `defaultButton`
// (the OK label) is set.
struct iNotifyAlert final {
    QString messageText;
    QString informativeText;
    QString defaultButton;
    QString alternateButton;
    QString otherButton;
};

class iNotifyAlertPresenter {
public:
    virtual ~iNotifyAlertPresenter() = default;
    // Shows the alert without blocking and calls `answered` once with the
    // button the user chose.
    virtual void presentAlert(const iNotifyAlert& alert,
                              std::function<void(iNotifyButton)> answered) = 0;
    // Opens a notice's address in the user's browser.
    virtual void openURL(const QUrl& address) = 0;
};

// An optional observer; each operation's default is what the checker does
// when nobody observes it.
class iNotifyDelegate {
public:
    virtual ~iNotifyDelegate() = default;
    virtual bool iNotifyShouldCheckForNotifications() { return true; }
    virtual void iNotifyDidDetectNotifications(const TRNotices&) {}
    virtual bool iNotifyShouldDisplayNotificationWithKey(const QString&, const TRNotice&) {
        return true;
    }
    virtual void iNotifyNotificationsCheckDidFailWithError(const TRError&) {}
    virtual void iNotifyUserDidViewActionURLForNotificationWithKey(const QString&,
                                                                   const TRNotice&) {}
    virtual void iNotifyUserDidRequestReminderForNotificationWithKey(const QString&,
                                                                     const TRNotice&) {}
    virtual void iNotifyUserDidIgnoreNotificationWithKey(const QString&, const TRNotice&) {}
};

class iNotify final : public QObject {
    Q_OBJECT
public:
    // `now` is the wall clock (UTC); empty: the system's.
    explicit iNotify(TRSettings& settings, std::function<QDateTime()> now = {},
                     QObject* parent = nullptr);
    ~iNotify() override;

    iNotifyOptions& options() { return m_options; }
    void setPresenter(iNotifyAlertPresenter* presenter) { m_presenter = presenter; }
    void setDelegate(iNotifyDelegate* delegate) { m_delegate = delegate; }

    // The application finished starting: checks when the options and the
    // dates allow it.
    void applicationDidFinishLaunching();
    bool shouldCheckForNotifications();
    // Starts one download in the background (none while the address is unset).
    void checkForNotifications();

    void setNotificationIgnored(const QString& key);
    void setNotificationViewed(const QString& key);
    // The label for `key` in the user's language.
    static QString localizedStringForKey(const char* key);

    // The notices of the last check, filtered; absent when it failed.
    const std::optional<TRNotices>& notificationsDict() const { return m_notifications; }
    const std::optional<TRError>& downloadError() const { return m_downloadError; }
    bool isAlertVisible() const { return m_alertVisible; }

Q_SIGNALS:
    // A check finished on the main thread (whatever it found).
    void notificationsChecked();

private:
    void setNotificationsDict(std::optional<TRNotices> notices);
    void deliverResults();
    void checkDidFinish(std::variant<TRNotices, TRError> result);
    void downloadedNotificationsData();
    iNotifyAlert alertForNotice(const TRNotice& notice) const;
    void alertDidEnd(iNotifyButton button);
    void appendToList(TRSettingKey key, const QString& notice);
    bool isWithinPeriod(const std::optional<QDateTime>& since, float days) const;

    TRSettings& m_settings;
    std::function<QDateTime()> m_now;
    iNotifyOptions m_options;
    iNotifyAlertPresenter* m_presenter = nullptr;
    iNotifyDelegate* m_delegate = nullptr;
    iNotifyDelegate m_noDelegate;
    std::optional<TRNotices> m_notifications;
    std::optional<TRError> m_downloadError;
    bool m_alertVisible = false;
    // One thread per check, serialised by m_checkMutex; each leaves its
    // result in m_results and is joined once the main thread took it.
    struct CheckResult {
        std::thread::id thread;
        std::variant<TRNotices, TRError> result;
    };
    std::atomic_bool m_stopping = false;
    std::mutex m_checkMutex;
    std::mutex m_resultsMutex;
    std::deque<CheckResult> m_results;
    std::list<std::thread> m_checks;
};
