#include "ui/TRHelperAppDelegate.h"

#include <QAction>
#include <QCoreApplication>
#include <QFileInfo>
#include <QMenu>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include "core/DateCalculations.h"
#include "core/TRDurationToStringFormatter.h"
#include "core/TRSettings.h"
#include "platform/DistributedNotificationCenter.h"
#include "store/activity/TRActivityStore.h"
#include "tracking/TRInfoLogger.h"
#include "ui/TRAlert.h"
#include "ui/TRCustomActivityCreationViewController.h"
#include "ui/TRStatusItem.h"
#include "ui/UiLog.h"

TRHelperAppDelegate::TRHelperAppDelegate(TRHelperAppDelegateDependencies dependencies,
                                         QObject* parent)
    : QObject(parent),
      m_deps(std::move(dependencies)),
      m_startup(*m_deps.loginItems, m_deps.helperPath),
      m_menu(std::make_unique<QMenu>()) {
    Q_ASSERT(m_deps.logger && m_deps.settings && m_deps.store && m_deps.loginItems);
    if (m_deps.notices) m_deps.notices->setPresenter(&m_noticeAlert);
    buildMenu();
}

TRHelperAppDelegate::~TRHelperAppDelegate() {
    if (m_deps.pathWatcher) m_deps.pathWatcher->setDelegate(nullptr);
    if (m_deps.notices) m_deps.notices->setPresenter(nullptr);
    if (m_deps.notificationCenter && m_observerToken >= 0) {
        m_deps.notificationCenter->removeObserver(m_observerToken);
    }
    if (m_window) m_window->close();
}

void TRHelperAppDelegate::buildMenu() {
    m_todayItem = m_menu->addAction(QString());
    addWindowSourceAdvice();
    m_menu->addSeparator();
    connect(m_menu->addAction(tr("Open Vorlix")), &QAction::triggered, this,
            [this] { startMainApplication(); });
    connect(m_menu->addAction(tr("Add Custom Activity…")), &QAction::triggered, this,
            [this] { addCustomActivity(); });
    m_menu->addSeparator();
    m_privateModeItem = m_menu->addAction(QString());
    connect(m_privateModeItem, &QAction::triggered, this, [this] { togglePrivateMode(); });
    m_launchAtLoginItem = m_menu->addAction(tr("Launch at Login"));
    m_launchAtLoginItem->setCheckable(true);
    connect(m_launchAtLoginItem, &QAction::triggered, this, [this] { toggleAutomaticLaunch(); });
    m_askAfterIdleItem = m_menu->addAction(tr("Ask What I Did While Away"));
    m_askAfterIdleItem->setCheckable(true);
    connect(m_askAfterIdleItem, &QAction::triggered, this, [this] { toggleAskAfterIdle(); });
    m_menu->addSeparator();
    connect(m_menu->addAction(tr("Quit Vorlix Menu Item")), &QAction::triggered, this,
            [this] { askToQuit(); });
    connect(m_menu.get(), &QMenu::aboutToShow, this, [this] { validateMenuItems(); });
    validateMenuItems();
}

// Lines to read, not to choose: the command is for a terminal.
void TRHelperAppDelegate::addWindowSourceAdvice() {
    if (!m_deps.gnomeShellExtensionOff) return;
    m_menu->addSeparator();
    m_menu->addAction(tr("GNOME windows are not seen: enable the Vorlix Shell extension"))
        ->setEnabled(false);
    m_menu->addAction(tr("Run: %1, then restart Vorlix (log out and in first if it was just "
                         "installed)")
                          .arg(QLatin1String(kGnomeShellExtensionEnableCommand)))
        ->setEnabled(false);
}

void TRHelperAppDelegate::awakeFromNib() {
    if (m_deps.askStartupQuestions) {
        askLoginQuestion();
        askAccessibilityQuestion();
    }
    m_statusItem = std::make_unique<TRStatusItem>(m_menu.get());
    m_statusItem->start();
    m_deps.logger->setShouldTrack(true);
    resetStatusItemImages();
    if (m_deps.pathWatcher) {
        m_deps.pathWatcher->setDelegate(this);
        m_deps.pathWatcher->startWatchingPaths({QFileInfo(m_startup.appPath()).absolutePath()});
    }
    if (m_deps.notificationCenter) {
        m_observerToken = m_deps.notificationCenter->addObserver(
            QString::fromLatin1(kHelperDefaultsDidChangeNotification),
            [this](const QString&, const QString&, const DistributedNotificationCenter::UserInfo&) {
                helperDefaultsChanged();
            });
    }
    if (m_deps.notices) m_deps.notices->applicationDidFinishLaunching();
}

void TRHelperAppDelegate::askLoginQuestion() {
    if (m_startup.shouldStartAtLogin() || m_deps.settings->snapshot().dontAskToLaunchAtLogin) {
        return;
    }
    const TRAlertAnswer answer = TRAlert::run(TRAlert::loginQuestion());
    if (answer.firstButton) m_startup.setShouldStartAtLogin(true);
    if (answer.suppressionChecked) {
        m_deps.settings->setValue(TRSettingKey::dontAskToLaunchAtLogin, true);
    }
}

void TRHelperAppDelegate::askAccessibilityQuestion() {
    const bool enabled = !m_deps.accessibilityEnabled || m_deps.accessibilityEnabled();
    if (enabled || m_deps.settings->snapshot().dontNotifyAboutDisabledAccessibilityAPI) return;
    const TRAlertAnswer answer = TRAlert::run(TRAlert::accessibilityQuestion());
    if (answer.firstButton && m_deps.enableAccessibility) m_deps.enableAccessibility();
    if (answer.suppressionChecked) {
        m_deps.settings->setValue(TRSettingKey::dontNotifyAboutDisabledAccessibilityAPI, true);
    }
}

void TRHelperAppDelegate::applicationShouldTerminate() {
    m_deps.logger->endTracking();
    if (m_statusItem) m_statusItem->remove();
}

void TRHelperAppDelegate::terminate() {
    if (m_deps.terminate) {
        m_deps.terminate();
    } else {
        QCoreApplication::quit();
    }
}

void TRHelperAppDelegate::resetStatusItemImages() {
    if (!m_statusItem) return;
    using State = TRStatusItem::State;
    const State state = !m_deps.logger->shouldTrack()  ? State::Private
                        : m_deps.logger->userWasIdle() ? State::Idle
                                                       : State::Tracking;
    if (state != m_statusItem->state()) m_statusItem->setState(state);
}

TRCustomActivityCreationController*
TRHelperAppDelegate::presentCustomActivityCreationViewController() {
    if (m_window) m_window->close();
    auto* window = new TRCustomActivityCreationViewController(*m_deps.store);
    m_window = window;
    window->showAt(m_statusItem ? m_statusItem->frame() : QRect());
    return window;
}

void TRHelperAppDelegate::addCustomActivity() {
    presentCustomActivityCreationViewController();
}

void TRHelperAppDelegate::togglePrivateMode() {
    m_deps.logger->setShouldTrack(!m_deps.logger->shouldTrack());
    resetStatusItemImages();
}

void TRHelperAppDelegate::toggleAutomaticLaunch() {
    m_startup.setShouldStartAtLogin(!m_startup.shouldStartAtLogin());
}

void TRHelperAppDelegate::toggleAskAfterIdle() {
    m_deps.settings->setValue(TRSettingKey::askAfterIdle,
                              !m_deps.settings->snapshot().askAfterIdle);
}

void TRHelperAppDelegate::askToQuit() {
    if (m_deps.settings->snapshot().shouldQuitHelperFromMenuItem) {
        terminate();
        return;
    }
    const TRAlertAnswer answer = TRAlert::run(TRAlert::quitQuestion());
    // A ticked box makes every later quit silent, even when this one was
    // answered "Keep Tracking".
    if (answer.suppressionChecked) {
        m_deps.settings->setValue(TRSettingKey::shouldQuitHelperFromMenuItem, true);
    }
    if (!answer.firstButton) terminate();
}

void TRHelperAppDelegate::validateMenuItems() {
    m_launchAtLoginItem->setChecked(m_startup.shouldStartAtLogin());
    m_askAfterIdleItem->setChecked(m_deps.settings->snapshot().askAfterIdle);
    m_privateModeItem->setText(m_deps.logger->shouldTrack() ? tr("Enable Private Mode")
                                                            : tr("Disable Private Mode"));
    TRASEventFilter today;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    today.start = Calculations::beginningOfDay(now);
    today.stop = Calculations::endOfDay(now);
    const double total = m_deps.store->sumOfDurationsOfEventsBetweenDate(today);
    m_todayItem->setText(
        tr("Today: %1").arg(TRDurationToStringFormatter::shortStringForDuration(total, 3)));
    m_todayItem->setEnabled(false);
}

void TRHelperAppDelegate::helperDefaultsChanged() {
    m_deps.settings->reload();
}

void TRHelperAppDelegate::pathWatcherEventOccurred(SCEvents&, const SCEvent&) {
    relaunch();
}

void TRHelperAppDelegate::relaunch() {
    if (m_relaunching) return;
    m_relaunching = true;
    qCInfo(lcUi) << "the helper's files changed; starting again in 15 s";
    applicationShouldTerminate();
    // The shell outlives us: it sends the ordinary termination signal (which
    // quits through the event loop, so it must not be waited for here),
    // waits, and starts the helper again in a session of its own.
    const QString script =
        QStringLiteral("kill \"$1\"\nsleep 15\nexec setsid \"$2\" </dev/null >/dev/null 2>&1");
    const QString path = m_startup.appPath();
    QProcess::startDetached(QStringLiteral("/bin/sh"),
                            {QStringLiteral("-c"), script, QString(),
                             QString::number(QCoreApplication::applicationPid()), path});
    QTimer::singleShot(30000, this, [path] {
        qCWarning(lcUi).noquote()
            << QStringLiteral("*** ERROR: %1 should have been terminated, but we are still running")
                   .arg(path);
    });
}

QString TRHelperAppDelegate::mainApplicationIdentifier(const QString& helperPath) {
    return helperPath.contains(QStringLiteral("Vorlix lite.app"))
               ? QStringLiteral("info.mallowby.Vorlix-lite")
               : QStringLiteral("info.mallowby.Vorlix");
}

void TRHelperAppDelegate::startMainApplication() {
    // The main application is found by its desktop entry, as the desktop's
    // own launcher would; a missing one is not an error worth telling.
    const QString id = mainApplicationIdentifier(m_startup.appPath());
    const QString entry = QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                                                 id + QStringLiteral(".desktop"));
    if (entry.isEmpty() ||
        !QProcess::startDetached(QStringLiteral("gio"), {QStringLiteral("launch"), entry})) {
        qCInfo(lcUi) << "the main application is not installed";
    }
}
