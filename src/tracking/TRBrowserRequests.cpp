#include "tracking/TRBrowserRequests.h"

#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRTrackingLog.h"

namespace TRBrowserRequests {

std::unique_ptr<ScriptingTarget> runningTarget(const TRActivity& activity,
                                               const TRExtractionContext& context) {
    const RunningApplication* application = activity.runningApplication();
    if (application == nullptr || context.scriptingTargets == nullptr) return nullptr;
    std::unique_ptr<ScriptingTarget> target =
        context.scriptingTargets->targetForProcess(application->processIdentifier);
    if (!target || !target->isRunning()) return nullptr;
    return target;
}

ScriptValue frontWindowMode(ScriptingTarget& target) {
    return target.get({ScriptStep::element(QStringLiteral("cwin"), 1),
                       ScriptStep::property(QStringLiteral("mode"))});
}

ScriptValue activeTabURL(ScriptingTarget& target) {
    return target.get({ScriptStep::element(QStringLiteral("cwin"), 1),
                       ScriptStep::property(QStringLiteral("acTa")),
                       ScriptStep::property(QStringLiteral("URL "))});
}

void removeDetails(TRActivity& activity, const char* why) {
    const RunningApplication* application = activity.runningApplication();
    qCDebug(lcTracking) << "details removed for process"
                        << (application != nullptr ? application->processIdentifier : 0) << ":"
                        << why;
    activity.setDetails(std::nullopt);
}

}  // namespace TRBrowserRequests
