#include "store/activity/ActivityStoreRecorder.h"

#include <cmath>

#include "core/DateCalculations.h"
#include "core/TRSettings.h"
#include "store/activity/ActivityStoreFile.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASHourlyEvent.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityComponents.h"
#include "store/activity/TRBlacklist.h"

namespace {

double secondsOf(const QDateTime& date) {
    return double(date.toMSecsSinceEpoch()) / 1000.0;
}

QDateTime dateOf(double seconds) {
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(seconds * 1000.0)), Qt::UTC);
}

}  // namespace

void ActivityStoreRecorder::storeActivity(const TRActivity& activity, const QDateTime& start,
                                          const QDateTime& stop) {
    if (std::holds_alternative<std::monostate>(activity.application())) return;
    if (!start.isValid() || !stop.isValid() || start > stop) return;
    TRASPathComponent* node = lastPathComponentForActivity(activity);
    if (!node) return;
    addActivity(node, start, stop);
}

TRASPathComponent* ActivityStoreRecorder::lastPathComponentForActivity(const TRActivity& activity) {
    if (std::holds_alternative<std::monostate>(activity.application())) return nullptr;
    const QStringList components = TRActivityComponents::componentsForDetails(
        activity.details(), [this] { return m_settings.snapshot().maxURLTrackingLevel; });
    if (m_blacklist.isBlacklisted(activity.runningApplication(),
                                  pathStringForPathComponents(components)))
        return nullptr;
    TRObjectContext* context = m_file.context();
    if (!context) return nullptr;
    TRASApplication* app = applicationFor(*context, activity);
    TRASPathComponent* node = app ? app->pathRoot() : nullptr;
    for (const QString& component : components) {
        if (!node) break;
        node = node->childComponentWithValue(component, true);
    }
    return node;
}

TRASApplication* ActivityStoreRecorder::applicationFor(TRObjectContext& context,
                                                       const TRActivity& activity) {
    const RunningApplication* running = activity.runningApplication();
    if (!running)
        return TRASApplication::applicationWithRunningApplication(context, activity.application(),
                                                                  true);
    ApplicationKey key{running->bundleIdentifier, running->executablePath, running->localizedName};
    if (TRASApplication* known = m_applications.value(key)) return known;
    TRASApplication* app =
        TRASApplication::applicationWithRunningApplication(context, activity.application(), true);
    // A new application's insertion has just emptied the table; keep it now.
    if (app) m_applications.insert(key, app);
    return app;
}

bool ActivityStoreRecorder::ApplicationKey::operator==(const ApplicationKey& other) const {
    const auto same = [](const QString& a, const QString& b) {
        return a.isNull() == b.isNull() && a == b;
    };
    return same(bundleIdentifier, other.bundleIdentifier) &&
           same(executablePath, other.executablePath) && same(localizedName, other.localizedName);
}

void ActivityStoreRecorder::addActivity(TRASPathComponent* node, const QDateTime& start,
                                        const QDateTime& stop) {
    if (!node) return;
    node->moveStartDateOfChildren(start);
    node->moveStopDateOfChildren(stop);
    const double s = secondsOf(start);
    const double e = secondsOf(stop);
    const double boundary = secondsOf(Calculations::beginningOfHour(start)) + 3600.0;
    TRASHourlyEvent* event = node->hourlyEventWithDate(start, true);
    double lastStart = s;
    if (e > boundary) {
        event->setDurationValue(event->durationValue() + (boundary - s));
        double t = boundary;
        for (;;) {
            event = node->hourlyEventWithDate(dateOf(t), true);
            const double next = t + 3600.0;
            if (!(e > next)) break;
            event->setDurationValue(event->durationValue() + 3600.0);
            t = next;
        }
        lastStart = t;
    }
    event->setDurationValue(event->durationValue() + (e - lastStart));
}
