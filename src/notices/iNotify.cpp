#include "notices/iNotify.h"

#include <QCoreApplication>
#include <QPointer>
#include <algorithm>

#include "notices/NoticesLog.h"
#include "notices/TRNoticesDownload.h"

namespace {

constexpr double kSecondsPerDay = 86400.0;

}  // namespace

iNotify::iNotify(TRSettings& settings, std::function<QDateTime()> now, QObject* parent)
    : QObject(parent), m_settings(settings), m_now(std::move(now)) {
    if (!m_now) m_now = [] { return QDateTime::currentDateTimeUtc(); };
    m_options.applicationVersion = QCoreApplication::applicationVersion();
    m_options.okButtonLabel = localizedStringForKey(QT_TRANSLATE_NOOP("iNotify", "OK"));
    m_options.ignoreButtonLabel = localizedStringForKey(QT_TRANSLATE_NOOP("iNotify", "Ignore"));
    m_options.remindButtonLabel =
        localizedStringForKey(QT_TRANSLATE_NOOP("iNotify", "Remind Me Later"));
    m_options.defaultActionButtonLabel =
        localizedStringForKey(QT_TRANSLATE_NOOP("iNotify", "More Info"));
}

iNotify::~iNotify() {
    m_stopping = true;
    for (std::thread& check : m_checks) check.join();
}

QString iNotify::localizedStringForKey(const char* key) {
    return QCoreApplication::translate("iNotify", key);
}

void iNotify::applicationDidFinishLaunching() {
    if (m_options.checkAtLaunch && shouldCheckForNotifications()) checkForNotifications();
}

bool iNotify::isWithinPeriod(const std::optional<QDateTime>& since, float days) const {
    return since && static_cast<double>(since->msecsTo(m_now())) / 1000.0 <
                        static_cast<double>(days) * kSecondsPerDay;
}

bool iNotify::shouldCheckForNotifications() {
    if (!m_options.debug) {
        const TRSettingsSnapshot& state = m_settings.snapshot();
        // The very first launch only notes that it happened.
        if (!m_options.showOnFirstLaunch && !state.iNotifyIgnoredNotifications) {
            m_settings.setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
            return false;
        }
        // A reminder, once asked for, stands in for the check period until
        // the user answers the notice.
        if (state.iNotifyLastReminded) {
            if (isWithinPeriod(state.iNotifyLastReminded, m_options.remindPeriod)) return false;
        } else if (isWithinPeriod(state.iNotifyLastChecked, m_options.checkPeriod)) {
            return false;
        }
    }
    return (m_delegate ? m_delegate : &m_noDelegate)->iNotifyShouldCheckForNotifications();
}

void iNotify::checkForNotifications() {
    const QUrl address(m_settings.snapshot().notificationsPlistURL);
    if (address.isEmpty()) return;
    m_checks.emplace_back([this, address] {
        const std::lock_guard oneAtATime(m_checkMutex);
        auto result = TRNoticesDownload::downloadNotices(address, m_stopping);
        {
            const std::lock_guard lock(m_resultsMutex);
            m_results.push_back({std::this_thread::get_id(), std::move(result)});
        }
        // The result crosses on our own mutex, which ThreadSanitizer follows;
        // the typed call only wakes the main thread, and Qt drops it if the
        // checker is gone first.
        QMetaObject::invokeMethod(
            this, [this] { deliverResults(); }, Qt::QueuedConnection);
    });
}

void iNotify::deliverResults() {
    for (;;) {
        std::optional<CheckResult> next;
        {
            const std::lock_guard lock(m_resultsMutex);
            if (m_results.empty()) return;
            next = std::move(m_results.front());
            m_results.pop_front();
        }
        // Its thread has nothing left to do but return.
        const auto finished = std::find_if(m_checks.begin(), m_checks.end(), [&](const auto& t) {
            return t.get_id() == next->thread;
        });
        if (finished != m_checks.end()) {
            finished->join();
            m_checks.erase(finished);
        }
        checkDidFinish(std::move(next->result));
    }
}

void iNotify::checkDidFinish(std::variant<TRNotices, TRError> result) {
    if (auto* error = std::get_if<TRError>(&result)) {
        qCDebug(lcNotices).noquote() << "the notices list could not be read:" << error->toString();
        m_downloadError = *error;
        setNotificationsDict(std::nullopt);
    } else {
        m_downloadError.reset();
        setNotificationsDict(std::get<TRNotices>(std::move(result)));
    }
    // A failed check counts too: the next one waits for the check period.
    m_settings.setValue(TRSettingKey::iNotifyLastChecked, m_now());
    downloadedNotificationsData();
    Q_EMIT notificationsChecked();
}

void iNotify::setNotificationsDict(std::optional<TRNotices> notices) {
    m_notifications = std::move(notices);
    if (!m_notifications) return;
    const TRSettingsSnapshot& state = m_settings.snapshot();
    const QStringList seen = state.iNotifyIgnoredNotifications.value_or(QStringList()) +
                             state.iNotifyViewedNotifications.value_or(QStringList());
    TRNotices fresh;
    for (const auto& [key, notice] : *m_notifications) {
        if (!seen.contains(key)) fresh.emplace(key, notice);
    }
    // While debugging, seeing everything once must not mean seeing nothing
    // ever again.
    if (m_options.debug && fresh.empty() && !m_notifications->empty()) {
        m_settings.setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
        m_settings.setValue(TRSettingKey::iNotifyViewedNotifications, QStringList());
        fresh = *m_notifications;
    }
    std::erase_if(fresh, [this](const auto& entry) {
        return !TRNoticesList::isForVersion(entry.second, m_options.applicationVersion);
    });
    m_notifications = std::move(fresh);
}

void iNotify::downloadedNotificationsData() {
    // The helper has no main window to wait for: the notice comes as a
    // window of its own.
    iNotifyDelegate& delegate = m_delegate ? *m_delegate : m_noDelegate;
    if (!m_notifications) {
        delegate.iNotifyNotificationsCheckDidFailWithError(m_downloadError.value_or(TRError()));
        return;
    }
    delegate.iNotifyDidDetectNotifications(*m_notifications);
    const std::optional<QString> key =
        TRNoticesList::chosenKey(*m_notifications, m_options.showOldestFirst);
    if (!key) return;
    const TRNotice& notice = m_notifications->at(*key);
    if (!delegate.iNotifyShouldDisplayNotificationWithKey(*key, notice)) return;
    if (m_alertVisible || m_presenter == nullptr) return;
    m_alertVisible = true;
    QPointer<iNotify> self(this);
    m_presenter->presentAlert(alertForNotice(notice), [self](iNotifyButton button) {
        if (self) self->alertDidEnd(button);
    });
}

iNotifyAlert iNotify::alertForNotice(const TRNotice& notice) const {
    iNotifyAlert alert;
    alert.messageText = notice.title;
    // The message is a format without arguments: only "%%" means something.
    alert.informativeText =
        QString(notice.message).replace(QStringLiteral("%%"), QStringLiteral("%"));
    if (notice.actionURL.isEmpty()) {
        alert.defaultButton = m_options.okButtonLabel;
        return alert;
    }
    alert.defaultButton =
        notice.actionButton.isEmpty() ? m_options.defaultActionButtonLabel : notice.actionButton;
    alert.alternateButton = m_options.ignoreButtonLabel;
    alert.otherButton = m_options.remindButtonLabel;
    return alert;
}

void iNotify::alertDidEnd(iNotifyButton button) {
    m_alertVisible = false;
    if (!m_notifications) return;
    const std::optional<QString> key =
        TRNoticesList::chosenKey(*m_notifications, m_options.showOldestFirst);
    if (!key) return;
    const TRNotice notice = m_notifications->at(*key);
    iNotifyDelegate& delegate = m_delegate ? *m_delegate : m_noDelegate;
    switch (button) {
        case iNotifyButton::Default:
            setNotificationViewed(*key);
            m_settings.removeValue(TRSettingKey::iNotifyLastReminded);
            if (!notice.actionURL.isEmpty()) {
                delegate.iNotifyUserDidViewActionURLForNotificationWithKey(*key, notice);
                if (m_presenter) m_presenter->openURL(QUrl(notice.actionURL));
            }
            break;
        case iNotifyButton::Alternate:
            delegate.iNotifyUserDidIgnoreNotificationWithKey(*key, notice);
            setNotificationIgnored(*key);
            m_settings.removeValue(TRSettingKey::iNotifyLastReminded);
            break;
        case iNotifyButton::Other:
            delegate.iNotifyUserDidRequestReminderForNotificationWithKey(*key, notice);
            m_settings.setValue(TRSettingKey::iNotifyLastReminded, m_now());
            break;
    }
}

void iNotify::setNotificationIgnored(const QString& key) {
    appendToList(TRSettingKey::iNotifyIgnoredNotifications, key);
}

void iNotify::setNotificationViewed(const QString& key) {
    appendToList(TRSettingKey::iNotifyViewedNotifications, key);
}

void iNotify::appendToList(TRSettingKey key, const QString& notice) {
    const TRSettingsSnapshot& state = m_settings.snapshot();
    const auto& list = key == TRSettingKey::iNotifyIgnoredNotifications
                           ? state.iNotifyIgnoredNotifications
                           : state.iNotifyViewedNotifications;
    m_settings.setValue(key, list.value_or(QStringList()) << notice);
}
