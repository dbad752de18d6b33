#pragma once
// TRChromeInfoExtractor: the page in front in a browser of the Chromium
// family (Chromium, Chrome, and the browsers built on them: Brave, Vivaldi,
// Edge, Opera on Linux).
//
// Private windows first: when the front window is incognito, or when its
// mode cannot be read at all, the details are removed, so the time counts
// for the browser and nothing about the page is recorded. Otherwise the
// active tab's address becomes the document path; with the developer tools
// in front, the inspected page's address when the window title shows one.
// Today's tools show it without its scheme ("DevTools - 127.0.0.1/a.html"):
// then the address of the one of the browser's other windows (2 to 8) whose
// active tab reads the same is taken, else the tools' own address. Every
// failed request removes the details.
//
// Where the terms come from on Linux (through ScriptingTargets, answered by
// TRDesktopScriptingTargets from the accessibility tree):
//   window 1 'cwin'        the top-level frame with the ACTIVE state: the
//                          frame of the window the window manager made active
//   mode 'mode'            "incognito" or "normal", read from the frame's
//                          accessible name: the browser appends a
//                          parenthesised word after its own name for an
//                          incognito or guest window ("… - Chromium
//                          (Incognito)", "… - Chromium (anonym)" in German),
//                          which the window manager's title does not show;
//                          undocked developer tools are named "DevTools - …"
//                          with the same word for an incognito page's;
//                          missing when the name does not carry the browser's
//                          name where expected (tree not ready, timeout)
//   active tab 'acTa'      the document the frame EMBEDS (the shown tab)
//   URL 'URL '             that document's "URI" attribute, as a string
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRChromeInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;
    bool needsAccessibilityTree() const override { return true; }

    static const TRChromeInfoExtractor& instance();
};
