#include "tracking/TRInfoLogger.h"

#include <QAtomicPointer>
#include <algorithm>
#include <cmath>

#include "platform/IdleTimeSource.h"
#include "tracking/TRActivityRecorder.h"
#include "tracking/TRActivitySource.h"
#include "tracking/TRClock.h"
#include "core/TRLocations.h"
#include "tracking/TRMediaPlayers.h"
#include "tracking/TRSerialQueue.h"
#include "tracking/TRStatusMenuDelegate.h"
#include "tracking/TRTrackingLog.h"

namespace {

QDateTime minusSeconds(const QDateTime& date, double seconds) {
    return date.addMSecs(-std::llround(seconds * 1000.0));
}

}  // namespace

TRInfoLogger::TRInfoLogger(TRInfoLoggerDependencies dependencies, QObject* parent)
    : QObject(parent),
      m_deps(std::move(dependencies)) {
    Q_ASSERT(m_deps.activitySource && m_deps.recorder && m_deps.idleTimeSource && m_deps.clock);
    if (!m_deps.settings) {
        m_ownSettings = std::make_unique<TRSettings>();
        m_deps.settings = m_ownSettings.get();
    }
    m_activityQueue = m_deps.worker;
    if (m_activityQueue == nullptr) {
        m_ownQueue = std::make_unique<TRSerialQueue>(
            QString::fromUtf8(TRLocations::kHelperBundleIdentifier));
        m_activityQueue = m_ownQueue.get();
    }
}

TRInfoLogger::~TRInfoLogger() {
    if (m_deps.powerAndSessionEvents) {
        m_deps.powerAndSessionEvents->setObserver(nullptr);
    }
    endTracking();
    // Finish the worker's tasks before the members they use go away; a
    // decision step still queued for this object is dropped with it.
    m_activityQueue->sync();
    m_ownQueue.reset();
}

void TRInfoLogger::setShouldTrack(bool shouldTrack) {
    m_shouldTrack = shouldTrack;
    qCInfo(lcTracking) << (shouldTrack ? "tracking switched on" : "private mode: tracking off");
    if (shouldTrack) {
        beginTracking();
    } else {
        endTracking();
    }
}

void TRInfoLogger::beginTracking() {
    if (m_trackingTimer || !m_shouldTrack) {
        return;
    }
    resetState();
    m_trackingTimer = std::make_unique<QTimer>();
    m_trackingTimer->setInterval(kTrackingIntervalMs);
    connect(m_trackingTimer.get(), &QTimer::timeout, this, &TRInfoLogger::trackingHandler);
    m_saveTimer = std::make_unique<QTimer>();
    m_saveTimer->setInterval(kSaveIntervalMs);
    connect(m_saveTimer.get(), &QTimer::timeout, this, &TRInfoLogger::flushChanges);
    if (m_deps.runTimers) {
        m_trackingTimer->start();
        m_saveTimer->start();
    }
    if (m_deps.powerAndSessionEvents) {
        m_deps.powerAndSessionEvents->setObserver(this);
    }
    qCInfo(lcTracking) << "tracking started";
}

void TRInfoLogger::endTracking() {
    const bool wasTracking = m_trackingTimer != nullptr;
    m_trackingTimer.reset();
    m_saveTimer.reset();
    const QDateTime now = m_deps.clock->now();
    if (m_logTaskRunning) {
        // The tick in flight keeps its activity; its interval is lost.
        m_activityQueue->sync();
    } else if (!m_userWasIdle && m_previousActivityStartDate.isValid() &&
               m_previousActivityStartDate.msecsTo(now) >= kMinimumStoredIntervalMs) {
        store(now);
    }
    resetState();
    flushChanges();
    if (wasTracking) {
        qCInfo(lcTracking) << "tracking stopped; store saved";
    }
}

void TRInfoLogger::resetState() {
    m_previousActivity.reset();
    m_previousActivityStartDate = QDateTime();
    m_idleStartDate = QDateTime();
    m_userWasIdle = true;
    m_lastDecisionDate = QDateTime();
    m_backdateFloor = QDateTime();
    m_unattributedSpan.reset();
}

void TRInfoLogger::flushChanges() {
    m_deps.recorder->save();
}

void TRInfoLogger::trackingHandler() {
    if (m_logTaskRunning) {
        // The worker can be held for many seconds by an application that
        // does not answer. The front activity waits for it, but the user's
        // coming and going must not: a return noticed only when the worker
        // is free would be backdated to the last input alone, and everything
        // the user did meanwhile would count as time away.
        qCDebug(lcTracking) << "tick skipped: the previous one is still running";
        const QDateTime now = m_deps.clock->now();
        endIntervalOnClockJump(now);
        followIdle(now);
        return;
    }
    m_logTaskRunning = true;
    // The decision step asks for the idle time once the worker is done; the
    // question goes out now so its answer is waiting by then.
    m_deps.idleTimeSource->prepareSecondsSinceLastInput();
    std::optional<TRActivity> activity = m_deps.activitySource->currentActivity();
    const QDateTime observed = m_deps.clock->now();
    const RunningApplication* application = activity ? activity->runningApplication() : nullptr;
    const bool extractionDisabled =
        application && m_deps.recorder->applescriptTrackingDisabled(*application);
    TRActivitySource* source = m_deps.activitySource;
    {
        std::lock_guard lock(m_decisionsMutex);
        m_mainThreadWaits = true;
    }
    m_activityQueue->async([this, source, activity = std::move(activity), observed,
                            extractionDisabled]() mutable {
        source->callInfoExtractorForActivity(activity ? &*activity : nullptr, extractionDisabled);
        bool mainThreadWaits = false;
        {
            std::lock_guard lock(m_decisionsMutex);
            m_pendingDecisions.push_back({std::move(activity), observed});
            mainThreadWaits = std::exchange(m_mainThreadWaits, false);
        }
        // The data crosses on our own mutex, which ThreadSanitizer follows;
        // the wake-up carries nothing. (A functor posted through Qt's event
        // queue, a pointer to a member function included, would be handed
        // over by futexes inside Qt that it cannot see, and every tick would
        // be reported as a race.) Queued on this object, the wake-up is
        // dropped with it.
        if (mainThreadWaits) {
            m_decisionReady.post();
        } else {
            QMetaObject::invokeMethod(this, "deliverDecisions", Qt::QueuedConnection);
        }
    });
    awaitQuickDecision();
}

// Most ticks' worker step takes a fraction of a millisecond: the main thread
// waits that long for it and decides at once, instead of going back to its
// event loop only to be woken again for the decision. A slower step (an
// application that takes its time to answer) is not waited for: its
// decision comes through the event queue as before, and the menu stays
// responsive meanwhile.
void TRInfoLogger::awaitQuickDecision() {
    if (!m_decisionReady.waitFor(kQuickDecisionWaitNs)) {
        bool workerPosts = false;
        {
            std::lock_guard lock(m_decisionsMutex);
            // Still set: the worker has not finished, and will queue the
            // decision. Cleared: it has just finished and posts the semaphore.
            workerPosts = !std::exchange(m_mainThreadWaits, false);
        }
        if (!workerPosts) return;
        m_decisionReady.wait();
    }
    deliverDecisions();
}

void TRInfoLogger::deliverDecisions() {
    for (;;) {
        PendingDecision pending;
        {
            std::lock_guard lock(m_decisionsMutex);
            if (m_pendingDecisions.empty()) return;
            pending = std::move(m_pendingDecisions.front());
            m_pendingDecisions.pop_front();
        }
        decide(std::move(pending.activity), pending.observed);
    }
}

const TRInfoLogger::Settings& TRInfoLogger::readSettings() const {
    return m_deps.settings->snapshot();
}

bool TRInfoLogger::shouldSuspendTrackingUponIdle() const {
    return readSettings().shouldSuspendTrackingUponIdle;
}

double TRInfoLogger::idleTimeThresholdForSuspendingTracking() const {
    return readSettings().idleTimeThresholdForSuspendingTracking;
}

void TRInfoLogger::decide(std::optional<TRActivity> activity, const QDateTime& observed) {
    const QDateTime now = m_deps.clock->now();
    endIntervalOnClockJump(now);
    // A switch happened by the time the tick saw it, not when the worker
    // finished: an application that takes seconds to answer its
    // accessibility questions must not hand those seconds to the one before.
    QDateTime switched = observed.isValid() && observed < now ? observed : now;
    if (m_previousActivityStartDate.isValid() && switched < m_previousActivityStartDate) {
        switched = m_previousActivityStartDate;
    }
    applyActivityChange(activity, switched);
    // Time the user spent while this tick's activity was still unknown.
    if (m_unattributedSpan && m_previousActivity) {
        m_deps.recorder->storeActivity(*m_previousActivity, m_unattributedSpan->start,
                                       m_unattributedSpan->stop);
    }
    m_unattributedSpan.reset();
    followIdle(now);
    m_logTaskRunning = false;
}

void TRInfoLogger::followIdle(const QDateTime& now) {
    const Settings settings = readSettings();
    const double idle = idleSeconds(settings);
    const double threshold = settings.idleTimeThresholdForSuspendingTracking;
    bool idleStateChanged = false;
    if (m_screenLocked) {
        // Idle since the lock, whatever the input counter or the front says.
    } else if (threshold >= idle && m_userWasIdle) {
        returnFromIdle(settings, idle, now);
        idleStateChanged = true;
    } else if (idle > threshold && !m_userWasIdle) {
        goIdle(idle, now);
        idleStateChanged = true;
    }
    if (idleStateChanged && m_deps.statusMenu) {
        m_deps.statusMenu->resetStatusItemImages();
    }
}

void TRInfoLogger::endIntervalOnClockJump(const QDateTime& now) {
    const qint64 monotonicMs = m_deps.clock->monotonicMilliseconds();
    const QDateTime lastDecision = std::exchange(m_lastDecisionDate, now);
    const qint64 lastMonotonicMs = std::exchange(m_lastDecisionMonotonicMs, monotonicMs);
    if (!lastDecision.isValid()) {
        return;
    }
    const qint64 driftMs = lastDecision.msecsTo(now) - (monotonicMs - lastMonotonicMs);
    if (std::abs(driftMs) <= kClockJumpToleranceMs) {
        return;
    }
    // The machine slept without telling us (or the clock was set): the time
    // between the ticks was not spent at the computer.
    qCInfo(lcTracking) << "clock jumped by" << driftMs / 1000 << "s between two ticks;"
                       << "ending the interval at the last tick";
    if (!m_userWasIdle) {
        store(lastDecision);
    }
    resetState();
    m_lastDecisionDate = now;
    // The gap itself was not time at the computer: a return is never
    // backdated into it, however long ago the last input was.
    m_backdateFloor = now;
    if (m_deps.statusMenu) {
        m_deps.statusMenu->resetStatusItemImages();
    }
}

bool TRInfoLogger::applyActivityChange(std::optional<TRActivity>& activity,
                                       const QDateTime& switched) {
    // Two untracked applications in a row are "the same" (both none); an
    // absent previous activity never equals a present one.
    const bool unchanged = m_previousActivity
                               ? activity.has_value() && m_previousActivity->isEqual(&*activity)
                               : !activity.has_value();
    if (unchanged) {
        return false;
    }
    if (!m_userWasIdle) {
        store(switched);
    }
    m_previousActivity = std::move(activity);
    m_previousActivityStartDate = switched;
    return true;
}

double TRInfoLogger::idleSeconds(const Settings& settings) const {
    if (!settings.shouldSuspendTrackingUponIdle) {
        return 0.0;
    }
    const RunningApplication* application =
        m_previousActivity ? m_previousActivity->runningApplication() : nullptr;
    // identifier(): a player without a desktop entry is known by its executable.
    if (application && TRMediaPlayers::isMediaPlayer(application->identifier())) {
        return 0.0;
    }
    return std::max(0.0, m_deps.idleTimeSource->secondsSinceLastInput());
}

void TRInfoLogger::returnFromIdle(const Settings& settings, double idle, const QDateTime& now) {
    m_userWasIdle = false;
    // The interval began at the last input event, also on the first tick.
    QDateTime start = minusSeconds(now, idle);
    if (m_backdateFloor.isValid() && m_backdateFloor <= now && start < m_backdateFloor) {
        start = m_backdateFloor;
    }
    m_backdateFloor = QDateTime();
    m_previousActivityStartDate = start;
    qCDebug(lcTracking) << "user active; interval backdated by" << idle << "s";
    if (m_idleStartDate.isValid() && settings.askAfterIdle) {
        offerTimeAway(now);
    }
}

void TRInfoLogger::offerTimeAway(const QDateTime& now) {
    const double away = static_cast<double>(m_idleStartDate.msecsTo(now)) / 1000.0;
    if (away >= kAskAfterIdleLimitSeconds || !m_deps.statusMenu) {
        return;
    }
    if (auto* controller = m_deps.statusMenu->presentCustomActivityCreationViewController()) {
        controller->setActivityStartDate(m_idleStartDate);
        controller->setActivityDurationTimeInterval(away);
    }
}

void TRInfoLogger::goIdle(double idle, const QDateTime& now) {
    m_idleStartDate = minusSeconds(now, idle);
    if (m_previousActivityStartDate.isValid() && m_previousActivityStartDate < m_idleStartDate) {
        if (m_previousActivity || !m_logTaskRunning) {
            store(m_idleStartDate);
        } else {
            // Back and gone again before the worker named what was in
            // front: the tick in flight will.
            m_unattributedSpan = Span{m_previousActivityStartDate, m_idleStartDate};
        }
    }
    m_previousActivityStartDate = QDateTime();
    m_userWasIdle = true;
    qCInfo(lcTracking) << "user idle; interval ended at the last input," << idle << "s ago";
}

void TRInfoLogger::store(const QDateTime& stop) {
    if (!m_previousActivity || !m_previousActivityStartDate.isValid() || !stop.isValid()) {
        return;
    }
    qCDebug(lcTracking).noquote() << "storing" << m_previousActivityStartDate.toString(Qt::ISODate)
                                  << "to" << stop.toString(Qt::ISODate);
    m_deps.recorder->storeActivity(*m_previousActivity, m_previousActivityStartDate, stop);
}

void TRInfoLogger::workspaceWillSleep(SleepPermit permit) {
    qCInfo(lcTracking) << "machine going to sleep";
    endTracking();
    permit.release();
}

void TRInfoLogger::workspaceDidWake() {
    qCInfo(lcTracking) << "machine woke up";
    beginTracking();
}

void TRInfoLogger::sessionDidBecomeActive() {
    qCInfo(lcTracking) << "session active again";
    beginTracking();
}

void TRInfoLogger::sessionDidResignActive() {
    qCInfo(lcTracking) << "session switched out";
    endTracking();
}

// A locked screen is time away from the computer: the interval ends at the
// lock, as it would at the last input when going idle.
void TRInfoLogger::screenDidLock() {
    if (std::exchange(m_screenLocked, true)) {
        return;
    }
    qCInfo(lcTracking) << "screen locked";
    if (m_userWasIdle || !isTracking()) {
        return;
    }
    const QDateTime now = m_deps.clock->now();
    m_idleStartDate = now;
    if (m_previousActivityStartDate.isValid() && m_previousActivityStartDate < now) {
        store(now);
    }
    m_previousActivityStartDate = QDateTime();
    m_userWasIdle = true;
    if (m_deps.statusMenu) {
        m_deps.statusMenu->resetStatusItemImages();
    }
}

// The next tick with recent input is the return; the unlock moment is the
// earliest it may be backdated to.
void TRInfoLogger::screenDidUnlock() {
    if (!std::exchange(m_screenLocked, false)) {
        return;
    }
    qCInfo(lcTracking) << "screen unlocked";
    m_backdateFloor = m_deps.clock->now();
}
