#pragma once
// FakeActivityRecorder: keeps every stored interval, counts saves and runs
// onSave (when set) at each, so a test can look at the world at that moment.

#include <QDateTime>
#include <QSet>
#include <functional>
#include <vector>

#include "tracking/TRActivityRecorder.h"

struct StoredInterval {
    TRActivity activity;
    QDateTime start;
    QDateTime stop;
};

class FakeActivityRecorder final : public TRActivityRecorder {
public:
    const std::vector<StoredInterval>& stored() const { return m_stored; }
    int saves() const { return m_saves; }
    void disableExtractionFor(const QString& bundleIdentifier) {
        m_extractionDisabled.insert(bundleIdentifier);
    }

    void storeActivity(const TRActivity& activity, const QDateTime& start,
                       const QDateTime& stop) override {
        m_stored.push_back({activity, start, stop});
    }
    void save() override {
        ++m_saves;
        if (onSave) onSave();
    }
    bool applescriptTrackingDisabled(const RunningApplication& application) override {
        return m_extractionDisabled.contains(application.bundleIdentifier);
    }

    std::function<void()> onSave;

private:
    std::vector<StoredInterval> m_stored;
    int m_saves = 0;
    QSet<QString> m_extractionDisabled;
};
