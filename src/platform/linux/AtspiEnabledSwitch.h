#pragma once
// AtspiEnabledSwitch: the desktop's accessibility switch (org.a11y.Status
// IsEnabled on the session bus), read without a round trip per question.
//
// The bus launcher announces every change of the switch (PropertiesChanged),
// so while the switch is on and the announcement is subscribed, the last
// answer stands and is asked again only as a safety net (kOnRecheck: a
// launcher started anew announces nothing). While it is off, or nothing
// could be subscribed, the switch is asked again every kOffRecheck: a
// launcher started later comes up switched on without a word.
//
// Threads: value() from any thread. The announcements are handled on the
// thread that made the object, which needs a running event loop for them
// (the helper's main thread); without one only the rechecks apply.

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <chrono>
#include <mutex>
#include <optional>

class AtspiEnabledSwitch final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds kOffRecheck{5};
    static constexpr std::chrono::seconds kOnRecheck{60};

    AtspiEnabledSwitch();

    bool value();
    // The next value() asks the bus (after the helper changed the switch).
    void forget();

private Q_SLOTS:
    void propertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList& invalidated);

private:
    static bool ask();

    std::mutex m_mutex;
    std::optional<bool> m_enabled;
    std::chrono::steady_clock::time_point m_askedAt;
    bool m_subscribed = false;
};
