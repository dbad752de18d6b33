#pragma once
// What the scripted extractors share: building references by four-character
// code, reading replies of one kind, and addressing the activity's process.
//
// Header-only, pure helpers; any thread.

#include <QString>
#include <QStringList>
#include <memory>

#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/bridge/ScriptingTarget.h"

namespace TRScripted {

inline ScriptStep property(const char* code) {
    return ScriptStep::property(QString::fromLatin1(code));
}
inline ScriptStep element(const char* code, int index) {
    return ScriptStep::element(QString::fromLatin1(code), index);
}
inline ScriptReference appended(ScriptReference reference, const ScriptStep& step) {
    reference.push_back(step);
    return reference;
}

// The string a reply carries; null for a reply of any other kind.
inline QString stringOf(const ScriptValue& value) {
    const QString* string = value.string();
    return string ? *string : QString();
}
inline const ScriptList* listOf(const ScriptValue& value) {
    return std::get_if<ScriptList>(&value.value);
}

// The target for the activity's process; null when there is no process or no
// way to ask this desktop.
inline std::unique_ptr<ScriptingTarget> targetFor(const TRActivity& activity,
                                                  const TRExtractionContext& context) {
    const RunningApplication* application = activity.runningApplication();
    if (application == nullptr || context.scriptingTargets == nullptr) return nullptr;
    return context.scriptingTargets->targetForProcess(application->processIdentifier);
}

// "this application is in front, but nothing it shows is recorded"
inline void removeDetails(TRActivity& activity) {
    activity.setDetails(std::nullopt);
}

}  // namespace TRScripted
