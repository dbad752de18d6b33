#pragma once
// FakeActivityRecorder: keeps every stored interval and writes each call
// ("store", "save", and whatever the test adds with note()) into one journal,
// so a test can check what happened in which order.

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>
#include <vector>

#include "tracking/TRActivityRecorder.h"

struct StoredInterval {
    TRActivity activity;
    QDateTime start;
    QDateTime stop;

    double seconds() const { return static_cast<double>(start.msecsTo(stop)) / 1000.0; }
};

class FakeActivityRecorder final : public TRActivityRecorder {
public:
    const std::vector<StoredInterval>& stored() const { return m_stored; }
    int saves() const { return m_saves; }
    const QStringList& journal() const { return m_journal; }
    void note(const QString& entry) { m_journal.append(entry); }
    void disableExtractionFor(const QString& bundleIdentifier) {
        m_extractionDisabled.insert(bundleIdentifier);
    }

    void storeActivity(const TRActivity& activity, const QDateTime& start,
                       const QDateTime& stop) override {
        m_stored.push_back({activity, start, stop});
        m_journal.append(QStringLiteral("store"));
    }
    void save() override {
        ++m_saves;
        m_journal.append(QStringLiteral("save"));
    }
    bool applescriptTrackingDisabled(const RunningApplication& application) override {
        return m_extractionDisabled.contains(application.bundleIdentifier);
    }

private:
    std::vector<StoredInterval> m_stored;
    int m_saves = 0;
    QStringList m_journal;
    QSet<QString> m_extractionDisabled;
};
