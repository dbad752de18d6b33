#pragma once
// TRApplicationInfoExtractor: what one application adds to an activity.
//
// An extractor reads the activity's running application (process
// identifier, application id, executable) and the details found so far, and
// then fills or overwrites detail fields in place, or removes the details
// altogether ("this application is in front, but nothing about what it shows
// may or can be recorded"). It writes only the fields it obtained.
//
// Extractors are stateless: one immutable instance per class lives for the
// whole process and the registry hands out pointers to it. They reach the
// desktop only through the platform objects of the context they are given.
//
// Thread: writeDetailsForActivity() runs on the tracking worker only, one
// call at a time; it may block for as long as the platform's timeouts allow.

#include <QString>

class TRActivity;
struct TRExtractionContext;

class TRApplicationInfoExtractor {
public:
    virtual ~TRApplicationInfoExtractor() = default;

    virtual void writeDetailsForActivity(TRActivity& activity,
                                         const TRExtractionContext& context) const = 0;

    // The class name ("TRGenericInfoExtractor"), shown by `inspect`.
    virtual QString name() const = 0;

    // Whether what it records comes only from the application's
    // accessibility tree (the browsers'): without the tree it can record the
    // application's time alone.
    virtual bool needsAccessibilityTree() const { return false; }
};
