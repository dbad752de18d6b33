#include "FakeActivitySource.h"

TRActivity FakeActivitySource::activityFor(qint32 pid, const QString& bundleIdentifier,
                                           const QString& windowTitle) {
    RunningApplication application;
    application.processIdentifier = pid;
    application.bundleIdentifier = bundleIdentifier;
    application.localizedName = bundleIdentifier;
    TRActivity activity;
    activity.setApplication(application);
    if (!windowTitle.isEmpty()) activity.setWindowTitle(windowTitle);
    return activity;
}

void FakeActivitySource::setExtractedDetails(std::optional<TRActivityDetails> details) {
    std::lock_guard lock(m_mutex);
    m_hasExtractedDetails = true;
    m_extractedDetails = std::move(details);
}

void FakeActivitySource::reset() {
    std::lock_guard lock(m_mutex);
    m_front.reset();
    m_hasExtractedDetails = false;
    m_extractedDetails.reset();
}

void FakeActivitySource::closeGate() {
    std::lock_guard lock(m_mutex);
    m_gateOpen = false;
}

void FakeActivitySource::openGate() {
    {
        std::lock_guard lock(m_mutex);
        m_gateOpen = true;
    }
    m_gateChanged.notify_all();
}

void FakeActivitySource::callInfoExtractorForActivity(TRActivity* activity,
                                                      bool scriptedExtractionDisabled) {
    ++m_inFlight;
    std::unique_lock lock(m_mutex);
    m_gateChanged.wait(lock, [this] { return m_gateOpen; });
    if (activity && m_hasExtractedDetails && !scriptedExtractionDisabled) {
        activity->setDetails(m_extractedDetails);
    }
    --m_inFlight;
}
