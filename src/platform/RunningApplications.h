#pragma once
// RunningApplications: who a process is.
//
// Turns a process identifier into a RunningApplication: its application id
// (desktop entry id, Flatpak or snap name; null when none is found), its
// executable and the name to show. Results are cached per process; desktop
// entries are read once and refreshed when the application folders change.
//
// Thread: the main thread only.

#include <optional>

#include "core/RunningApplication.h"

class RunningApplications {
public:
    virtual ~RunningApplications() = default;

    // nullopt when no such process runs (any more).
    virtual std::optional<RunningApplication> runningApplication(qint32 processIdentifier) = 0;

    // The application of a window whose process nobody names (see
    // WindowSystem::FrontLook): found from what the window says about
    // itself, with no process identifier (0) and no executable. nullopt when
    // the window says nothing.
    virtual std::optional<RunningApplication> applicationOfWindow(quint64 windowId) {
        (void)windowId;
        return std::nullopt;
    }
};
