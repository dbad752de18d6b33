#pragma once
// FakeActivitySource: the application in front is whatever the test sets.
// The extractor step copies the details set with setExtractedDetails() into
// the activity (like a real extractor would) and can be held on a gate, so
// a test can keep a tick in flight; every call is counted.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "core/TRActivity.h"
#include "tracking/TRActivitySource.h"

class FakeActivitySource final : public TRActivitySource {
public:
    // An activity for a program with this pid and application id.
    static TRActivity activityFor(qint32 pid, const QString& bundleIdentifier,
                                  const QString& windowTitle = {});

    void setFront(std::optional<TRActivity> activity) { m_front = std::move(activity); }
    // Details the extractor writes into every activity it sees.
    // nullopt: the extractor removes the details.
    void setExtractedDetails(std::optional<TRActivityDetails> details);
    // The extractor leaves activities as they are (the default).
    void leaveDetailsAlone();

    // While closed, the extractor blocks; open() lets it (and later ones) run.
    void closeGate();
    void openGate();

    int currentActivityCalls() const { return m_currentActivityCalls; }
    // Hand-overs to the worker, and those of them that ran the extractor.
    int workerCalls() const { return m_workerCalls.load(); }
    int extractorCalls() const { return m_extractorCalls.load(); }
    int extractorsFinished() const { return m_extractorsFinished.load(); }

    std::optional<TRActivity> currentActivity() override;
    void callInfoExtractorForActivity(TRActivity* activity, bool scriptedExtractionDisabled) override;

private:
    std::optional<TRActivity> m_front;
    int m_currentActivityCalls = 0;
    std::mutex m_mutex;
    std::condition_variable m_gateChanged;
    bool m_gateOpen = true;
    bool m_hasExtractedDetails = false;
    std::optional<TRActivityDetails> m_extractedDetails;
    std::atomic<int> m_workerCalls{0};
    std::atomic<int> m_extractorCalls{0};
    std::atomic<int> m_extractorsFinished{0};
};
