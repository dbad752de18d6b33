#pragma once
// TRHelperAppDelegate: the helper's face. It asks the two start-up
// questions, puts the status item in the panel, starts tracking, listens for
// the main application's notice that the settings changed, and answers the
// status menu: today's total, the main application, a custom activity,
// private mode, launch at login, asking after idle, and quitting; on GNOME
// without our Shell extension, two lines below the total on how to enable it.
//
// Start-up (awakeFromNib), in this order: the login question (unless the
// helper already starts at login or the user ticked "do not show again"), the
// accessibility question (unless accessibility is on or the user ticked the
// box), the status item, tracking on, watching the helper's own folder, the
// settings notice, and last the notices list (its dialog is this object's).
// Any change in that folder (an update) restarts the
// helper: tracking ends and saves, and a detached shell stops this process
// and starts the helper again 15 s later. The menu's
// titles, checkmarks and enabled states are set each time it opens.
//
// It is the tracking loop's status-menu delegate: the loop asks it to redraw
// the icon and, after the user comes back from idle, to open the custom
// activity window. The objects it is given must outlive it. Main thread only.

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>

#include "tracking/TRStatusMenuDelegate.h"
#include "ui/SCEvents.h"
#include "ui/TRCustomActivityCreationViewController.h"
#include "ui/TRNoticeAlert.h"
#include "ui/TRStartupManager.h"

class DistributedNotificationCenter;
class LoginItems;
class QAction;
class QMenu;
class TRActivityStore;
class TRInfoLogger;
class TRSettings;
class TRStatusItem;

struct TRHelperAppDelegateDependencies final {
    TRInfoLogger* logger = nullptr;                               // required
    TRSettings* settings = nullptr;                               // required
    TRActivityStore* store = nullptr;                             // required
    LoginItems* loginItems = nullptr;                             // required
    DistributedNotificationCenter* notificationCenter = nullptr;  // none: no settings notice
    SCEvents* pathWatcher = nullptr;             // none: no restart after an update
    iNotify* notices = nullptr;                  // none: no notices
    std::function<bool()> accessibilityEnabled;  // empty: counts as on
    std::function<void()> enableAccessibility;   // empty: nothing
    std::function<void()> terminate;             // empty: QCoreApplication::quit
    QString helperPath;                          // empty: this process's executable
    // False where nobody can answer (no display): the questions are skipped.
    bool askStartupQuestions = true;
    // GNOME on Wayland without our Shell extension answering: the helper
    // sees only X11 windows, and the menu says how to enable the extension.
    bool gnomeShellExtensionOff = false;
};

// What enables our GNOME Shell extension, as a user types it.
inline constexpr char kGnomeShellExtensionEnableCommand[] =
    "gnome-extensions enable vorlix-focused-window@mallowby.info";

inline constexpr char kHelperDefaultsDidChangeNotification[] =
    "VorlixHelperDefaultsDidChangeNotification";

class TRHelperAppDelegate final : public QObject,
                                  public TRStatusMenuDelegate,
                                  public SCEventListenerProtocol {
    Q_OBJECT
public:
    explicit TRHelperAppDelegate(TRHelperAppDelegateDependencies dependencies,
                                 QObject* parent = nullptr);
    ~TRHelperAppDelegate() override;

    void awakeFromNib();
    // Ends tracking (the interval in progress is stored and saved) and takes
    // the icon out of the panel. Termination is always allowed.
    void applicationShouldTerminate();

    // The loop's calls.
    void resetStatusItemImages() override;
    TRCustomActivityCreationController* presentCustomActivityCreationViewController() override;

    // Menu actions.
    void startMainApplication();
    void addCustomActivity();
    void togglePrivateMode();
    void toggleAutomaticLaunch();
    void toggleAskAfterIdle();
    void askToQuit();
    // Refreshes every item's title, checkmark and enabled state.
    void validateMenuItems();

    void helperDefaultsChanged();
    void pathWatcherEventOccurred(SCEvents& watcher, const SCEvent& event) override;
    void relaunch();

    QMenu* statusMenu() const { return m_menu.get(); }
    TRStatusItem* statusItem() const { return m_statusItem.get(); }
    TRStartupManager& startupManager() { return m_startup; }
    TRCustomActivityCreationViewController* customActivityWindow() const { return m_window; }

    // The main application's id for a helper at `helperPath`.
    static QString mainApplicationIdentifier(const QString& helperPath);

private:
    void buildMenu();
    void addWindowSourceAdvice();
    void askLoginQuestion();
    void askAccessibilityQuestion();
    void terminate();

    TRHelperAppDelegateDependencies m_deps;
    TRStartupManager m_startup;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<TRStatusItem> m_statusItem;
    QPointer<TRCustomActivityCreationViewController> m_window;
    TRNoticeAlert m_noticeAlert;
    int m_observerToken = -1;
    bool m_relaunching = false;

    QAction* m_todayItem = nullptr;
    QAction* m_privateModeItem = nullptr;
    QAction* m_launchAtLoginItem = nullptr;
    QAction* m_askAfterIdleItem = nullptr;
};
