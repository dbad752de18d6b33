#pragma once
// FakeActivitySource: the application in front is whatever the test sets.
// The extractor step copies the details set with setExtractedDetails() into
// the activity (like a real extractor would) and can be held on a gate, so
// a test can keep a tick in flight.

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
    // Details the extractor writes into every activity it sees (nullopt:
    // it removes them), unless reset() made it leave them alone again.
    void setExtractedDetails(std::optional<TRActivityDetails> details);
    void reset();

    // While closed, the extractor blocks; open() lets it (and later ones) run.
    void closeGate();
    void openGate();
    bool extractorInFlight() const { return m_inFlight.load() > 0; }

    std::optional<TRActivity> currentActivity() override { return m_front; }
    void callInfoExtractorForActivity(TRActivity* activity, bool scriptedExtractionDisabled) override;

private:
    std::optional<TRActivity> m_front;
    std::mutex m_mutex;
    std::condition_variable m_gateChanged;
    bool m_gateOpen = true;
    bool m_hasExtractedDetails = false;
    std::optional<TRActivityDetails> m_extractedDetails;
    std::atomic<int> m_inFlight{0};
};
