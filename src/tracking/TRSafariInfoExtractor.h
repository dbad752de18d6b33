#pragma once
// TRSafariInfoExtractor: the page in front in the WebKit browser.
//
// Its own preference for private browsing is read first; set, the details
// are removed before any request goes to the browser. Then the address of
// document 1 becomes the document path. Every failed request removes the
// details.
//
// Where the terms come from on Linux:
//   the private-browsing preference  none: this desktop has no such shared
//                                    preference, so private browsing counts
//                                    as off
//   document 1 'docu'                the document shown in the active frame
//   URL 'pURL'                       its "DocURL"/"URI" attribute; the bridge
//                                    answers it as a URL, which counts as
//                                    the string it prints as
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRSafariInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    // Whether the browser's own preference asks for private browsing; always
    // false on this desktop.
    static bool privateBrowsingEnabled();

    static const TRSafariInfoExtractor& instance();
};
