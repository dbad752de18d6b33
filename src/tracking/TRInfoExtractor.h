#pragma once
// TRInfoExtractor: the extractor dispatch, the tracking loop's activity source.
//
// Two steps per tick, on two threads:
//
//   currentActivity()                        main thread, never blocks on an
//     the front process, its running         application: only the window
//     application, the exclusions, and the   system and the application-
//     window list's title for it             identity lookup are used
//
//   callInfoExtractorForActivity(activity)   tracking worker, may block for
//     first completeActivityFromAccessibility the platform's timeouts
//     (main/focused window title and document, sheets walked to the window
//     they belong to; a result there replaces the window list's title), then
//     the extractor registered for the application id, else the generic one
//
// The accessibility step runs on the worker because an application that has
// stopped answering would otherwise hold up the main thread. When the user
// has switched scripted tracking off for an application, only the
// accessibility step runs: the activity keeps the title and document the
// tree gave, and no request goes to the application's own interfaces.
//
// Ownership: borrows the platform objects (through the context) and the
// registry; both must outlive it. Its memories are its own: the process in
// front on the last tick (main thread) and the accessibility tree's last
// answer (worker), so a new dispatch on new platform objects starts afresh.

#include <QString>
#include <optional>

#include "core/TRActivity.h"
#include "tracking/TRActivitySource.h"
#include "tracking/TRExtractionContext.h"
#include "platform/WindowSystem.h"

class TRApplicationInfoExtractor;
class TRExtractorRegistry;

class TRInfoExtractor final : public TRActivitySource {
public:
    TRInfoExtractor(const TRExtractionContext& context, const TRExtractorRegistry& registry);
    TRInfoExtractor(const TRInfoExtractor&) = delete;
    TRInfoExtractor& operator=(const TRInfoExtractor&) = delete;

    // Main thread. A new activity for the front application, or nothing when
    // that application is never tracked (the helper itself, an excluded id or
    // executable, one of the desktop's own agents). Fills the application and
    // at most the window title. No front window (or no display) gives an
    // activity without application, except that one tick without an active
    // window right after one with it keeps the process seen then: focus
    // changes pass through "no active window" for an instant. A source that
    // names no process gives the application its window names and the
    // title, which the worker step then leaves as they are.
    std::optional<TRActivity> currentActivity() override;

    // Worker. The accessibility step, then the extractor unless scripted
    // tracking is disabled; nothing for a null activity.
    void callInfoExtractorForActivity(TRActivity* activity,
                                      bool scriptedExtractionDisabled) override;

    // Worker. Both steps for one activity; answers the extractor that ran.
    const TRApplicationInfoExtractor& callInfoExtractorForActivity(TRActivity& activity);

    // Worker. The same for an optional activity; answers the extractor that
    // ran, or null.
    const TRApplicationInfoExtractor* completeActivity(std::optional<TRActivity>& activity,
                                                       bool scriptedTrackingDisabled);

    // Worker. Applies the accessibility tree's window title and document.
    void completeActivityFromAccessibility(TRActivity& activity);

    // The registered extractor for the activity's application id, else the
    // generic extractor.
    const TRApplicationInfoExtractor& extractorForActivity(const TRActivity& activity) const;

    // Worker. Whether the application in front records its pages from the
    // accessibility tree, accessibility is on, and yet the application, in
    // front and running for a while, has never joined the tree: a browser
    // started before accessibility was switched on (Chromium reads the
    // switch once, at its start). Its time is recorded without its pages
    // until it is restarted.
    bool startedBeforeAccessibility(const TRActivity& activity) const;

    const TRExtractionContext& context() const { return m_context; }

    // Whether an application is one that is never tracked.
    static bool isExcludedApplication(const RunningApplication& application);

private:
    // The process in front on the last tick, kept across one tick without an
    // active window. Main thread only.
    struct FrontProcessMemory final {
        std::optional<qint32> processIdentifier;
        bool bridgedGap = false;
    };
    // The accessibility tree's last answer for a process, with the window
    // list's title it came with. Worker only.
    struct LastTreeAnswer final {
        qint32 processIdentifier = 0;
        QString listTitle;
        QString windowTitle;
        QString documentPath;
    };

    std::optional<qint32> frontProcessBridgingGap(std::optional<qint32> front);
    // The front window of a source that names no process: its application
    // (by what the window says) and its title, nothing more.
    std::optional<TRActivity> activityOfWindowWithoutProcess(
        quint64 windowId, const std::vector<WindowInfo>& windows) const;
    bool applyLastTreeAnswer(TRActivity& activity, qint32 processIdentifier) const;

    const TRExtractionContext& m_context;
    const TRExtractorRegistry& m_registry;
    FrontProcessMemory m_front;
    std::optional<LastTreeAnswer> m_lastTreeAnswer;
};
