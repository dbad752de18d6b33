#pragma once
// TRBrowserRequests: the questions the browser extractors have in common.
// Each request addresses the application by process, never relaunches it,
// and answers one value whose kind the extractor tests before use.
//
// Thread: the tracking worker.

#include <QString>
#include <memory>

#include "tracking/bridge/ScriptingTarget.h"

class TRActivity;
struct TRExtractionContext;

namespace TRBrowserRequests {

// The running browser behind the activity, or null when there is none any
// more (the process quit, or this desktop cannot ask it).
std::unique_ptr<ScriptingTarget> runningTarget(const TRActivity& activity,
                                               const TRExtractionContext& context);

// The mode of window 1 ('cwin' 1, 'mode').
ScriptValue frontWindowMode(ScriptingTarget& target);
// The URL of window 1's active tab ('cwin' 1, 'acTa', 'URL ').
ScriptValue activeTabURL(ScriptingTarget& target);

// "this application is in front, but nothing about it may be recorded";
// `why` names the step (never the page) for the debug log.
void removeDetails(TRActivity& activity, const char* why);

}  // namespace TRBrowserRequests
