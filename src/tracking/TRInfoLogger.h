#pragma once
// TRInfoLogger: the once-a-second tracking loop.
//
// Every second it asks the activity source for the frontmost activity, lets
// the extractor fill in its details on a serial worker thread, and decides
// back on the main thread whether the activity changed; each finished
// interval (activity, start, stop) goes to the recorder, which is saved
// every minute and whenever tracking stops. Recording pauses while the user
// is idle (never while a media player is in front), the interval then ends at
// the last input event; coming back may offer to book the time away. A
// locked screen counts as idle from the moment of the lock, media player or
// not, and unlocking is a return from idle that is never backdated into the
// lock. Sleep, a switched-out session and private mode (shouldTrack false)
// stop tracking.
//
// Ownership: the logger borrows every dependency; they must outlive it. It
// owns its worker thread. Threads: everything here is main-thread only; the
// worker runs TRActivitySource::callInfoExtractorForActivity() and nothing
// else. At most one tick is in flight; a tick that finds one running is
// skipped, except for going idle and coming back, which never wait for the
// worker. endTracking() blocks until the worker is idle.
//
// Settings come from the TRSettings snapshot at every tick, so changes to the
// file apply at once: "shouldSuspendTrackingUponIdle",
// "idleTimeThresholdForSuspendingTracking" and "askAfterIdle".

#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <deque>
#include <functional>
#include <mutex>
#include <memory>
#include <optional>

#include "platform/PowerAndSessionEvents.h"
#include "core/TRActivity.h"
#include "tracking/PosixSemaphore.h"
#include "core/TRSettings.h"

class IdleTimeSource;
class TRActivityRecorder;
class TRActivitySource;
class TRClock;
class TRSerialQueue;
class TRSettings;
class TRStatusMenuDelegate;

struct TRInfoLoggerDependencies {
    TRActivitySource* activitySource = nullptr;              // required
    TRActivityRecorder* recorder = nullptr;                  // required
    IdleTimeSource* idleTimeSource = nullptr;                // required
    const TRClock* clock = nullptr;                          // required
    TRStatusMenuDelegate* statusMenu = nullptr;              // none: nothing is shown
    PowerAndSessionEvents* powerAndSessionEvents = nullptr;  // none: never notified
    // The helper's settings; none: the logger reads the helper's own file.
    TRSettings* settings = nullptr;
    // The extraction worker, which owns the accessibility objects the source
    // uses; none: the logger starts a worker of its own.
    TRSerialQueue* worker = nullptr;
    // False leaves the timers unstarted so a test can call trackingHandler()
    // and flushChanges() itself; isTracking() still tells whether they exist.
    bool runTimers = true;
};

class TRInfoLogger final : public QObject, public PowerAndSessionObserver {
    Q_OBJECT

public:
    static constexpr int kTrackingIntervalMs = 1000;
    static constexpr int kSaveIntervalMs = 60000;
    // Shorter intervals are not worth storing when tracking stops.
    static constexpr qint64 kMinimumStoredIntervalMs = 1000;
    // Coming back after this long is not offered as a custom activity.
    static constexpr double kAskAfterIdleLimitSeconds = 86400.0;
    // Between two ticks the wall clock may drift from the monotonic clock by
    // this much before the gap counts as an unannounced suspend.
    static constexpr qint64 kClockJumpToleranceMs = 10000;

    // REQUIRES: the four required dependencies are set.
    explicit TRInfoLogger(TRInfoLoggerDependencies dependencies, QObject* parent = nullptr);
    ~TRInfoLogger() override;
    TRInfoLogger(const TRInfoLogger&) = delete;
    TRInfoLogger& operator=(const TRInfoLogger&) = delete;

    // False in private mode. Setting it begins (true) or ends (false)
    // tracking, every time, even to the value it already has.
    bool shouldTrack() const { return m_shouldTrack; }
    void setShouldTrack(bool shouldTrack);

    // True while the user is idle and from the start of tracking until the
    // first tick has run; the status icon shows it.
    bool userWasIdle() const { return m_userWasIdle; }
    // True while the timers exist (between beginTracking and endTracking).
    bool isTracking() const { return m_trackingTimer != nullptr; }
    // True from the start of a tick until its main-thread step has finished.
    bool isTickInFlight() const { return m_logTaskRunning; }

    // Both are safe to call repeatedly.
    void beginTracking();
    void endTracking();

    // The tick and the save, normally called by the timers.
    void trackingHandler();
    void flushChanges();

    bool shouldSuspendTrackingUponIdle() const;
    double idleTimeThresholdForSuspendingTracking() const;

    const std::optional<TRActivity>& previousActivity() const { return m_previousActivity; }
    // Invalid (null) dates stand for "none".
    const QDateTime& previousActivityStartDate() const { return m_previousActivityStartDate; }
    const QDateTime& idleStartDate() const { return m_idleStartDate; }

    // Sleep and session switches; the sleep permit is released once the
    // interval in progress has been stored and saved.
    void workspaceWillSleep(SleepPermit permit) override;
    void workspaceDidWake() override;
    void sessionDidBecomeActive() override;
    void sessionDidResignActive() override;
    void screenDidLock() override;
    void screenDidUnlock() override;
    bool screenLocked() const { return m_screenLocked; }

private Q_SLOTS:
    // Runs the decision steps the worker has handed back (main thread).
    void deliverDecisions();

private:
    // Longest wait of the main thread for a tick's worker step.
    static constexpr long kQuickDecisionWaitNs = 3000000;
    void awaitQuickDecision();
    using Settings = TRSettingsSnapshot;

    const Settings& readSettings() const;
    // `observed`: when the tick read the front activity, on the main thread.
    void decide(std::optional<TRActivity> activity, const QDateTime& observed);
    void endIntervalOnClockJump(const QDateTime& now);
    bool applyActivityChange(std::optional<TRActivity>& activity, const QDateTime& switched);
    // Going idle and coming back, also while the worker is busy.
    void followIdle(const QDateTime& now);
    double idleSeconds(const Settings& settings) const;
    void returnFromIdle(const Settings& settings, double idle, const QDateTime& now);
    void goIdle(double idle, const QDateTime& now);
    void offerTimeAway(const QDateTime& now);
    void store(const QDateTime& stop);
    void resetState();

    TRInfoLoggerDependencies m_deps;
    std::unique_ptr<TRSettings> m_ownSettings;  // when none was given
    std::unique_ptr<TRSerialQueue> m_ownQueue;  // when no worker was given
    TRSerialQueue* m_activityQueue = nullptr;
    bool m_logTaskRunning = false;
    std::unique_ptr<QTimer> m_trackingTimer;
    std::unique_ptr<QTimer> m_saveTimer;
    std::optional<TRActivity> m_previousActivity;
    QDateTime m_previousActivityStartDate;
    QDateTime m_idleStartDate;
    bool m_userWasIdle = true;
    bool m_shouldTrack = false;
    // A fact of the session, not of tracking: kept across begin and end.
    bool m_screenLocked = false;
    // The previous decision's clocks, to notice an unannounced suspend, and
    // the earliest start a return from idle may be backdated to after one.
    QDateTime m_lastDecisionDate;
    qint64 m_lastDecisionMonotonicMs = 0;
    QDateTime m_backdateFloor;
    // Active time ended by going idle while the tick in flight still held
    // the activity it belongs to; stored by that tick's decision.
    struct Span {
        QDateTime start;
        QDateTime stop;
    };
    std::optional<Span> m_unattributedSpan;
    // Activities the worker has finished with, waiting for their decision step.
    std::mutex m_decisionsMutex;
    struct PendingDecision {
        std::optional<TRActivity> activity;
        QDateTime observed;
    };
    std::deque<PendingDecision> m_pendingDecisions;
    // While the main thread waits a moment for the worker (see
    // trackingHandler), the worker hands the decision over through the
    // semaphore instead of the event queue.
    bool m_mainThreadWaits = false;
    PosixSemaphore m_decisionReady;
};
