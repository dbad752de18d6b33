#pragma once
// TRFirefoxInfoExtractor: the page in front in Firefox and the browsers
// built on it (Firefox ESR, LibreWolf, Waterfox, Floorp).
//
// The same shape as the Chromium family's: the mode of the front window
// first (private, or unreadable: the details are removed, so the time counts
// for the browser alone), then the active tab's address as the document
// path. Every failed request removes the details. The mail client built on
// the same engine is not served here: its web views are not pages the user
// browses.
//
// Where the terms come from on Linux (through ScriptingTargets, answered by
// TRDesktopScriptingTargets from the accessibility tree):
//   window 1 'cwin'        the top-level frame with the ACTIVE state: the
//                          frame of the window the window manager made active
//   mode 'mode'            "incognito" or "normal", read from the frame's
//                          accessible name, which is the window title: a
//                          private window's title carries a word after the
//                          browser's name ("… — Mozilla Firefox Private
//                          Browsing"); missing when the name does not carry
//                          the browser's name (tree not ready, timeout)
//   active tab 'acTa'      the document the frame EMBEDS (the shown tab)
//   URL 'URL '             that document's "DocURL" attribute, as a string
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRFirefoxInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;
    bool needsAccessibilityTree() const override { return true; }

    static const TRFirefoxInfoExtractor& instance();
};
