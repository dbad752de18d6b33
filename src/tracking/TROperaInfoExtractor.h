#pragma once
// TROperaInfoExtractor: the page in front in Opera's older scripting
// dictionary: the alternative URL of window 1 becomes the document path, and
// anything else removes the details. It has no test for private windows.
//
// Only Opera's original identifier comes here. Opera on Linux is built on
// Chromium and exposes the same accessibility tree, so its Linux ids go to
// TRChromeInfoExtractor, which also keeps its private windows out.
//
// Where the terms come from on Linux:
//   window 1 'cwin'             the active top-level frame
//   alternative URL 'url '      not answered on this desktop (missing), so
//                               the details are removed
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TROperaInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TROperaInfoExtractor& instance();
};
