#pragma once
// TRGenericInfoExtractor: the extractor for every application without one of
// its own.
//
// Asks the application, in the standard terms many document-based
// applications understand, for the current document's path, URL or name,
// else for the front window's name. What the front-window step found is never
// overwritten: a document path stops it at once, a window title before it
// asks for a window's name. A document path wins over a document name, a
// document name over a window name.
//
// Where the terms come from on Linux (through ScriptingTargets): the
// document and its path/URL from the accessibility tree (a document's
// "DocURL"/"URI" attribute), the document's name from the document's
// accessible name, the window's name from the window title.
//
// Stateless. Thread: the tracking worker; every request waits for its answer
// or the platform's timeout.

#include <optional>

#include "tracking/bridge/ScriptingTarget.h"
#include "tracking/TRApplicationInfoExtractor.h"

class TRGenericInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    // Writes a usable value to the details' documentPath and answers whether
    // it was usable: a string as it is (an empty one too), a URL or a file
    // reference as the URL's full string; anything else is not usable.
    static bool writeDocumentPath(const ScriptValue& value, TRActivity& activity);

    static const TRGenericInfoExtractor& instance();

private:
    static std::optional<ScriptReference> findDocument(ScriptingTarget& target);
    // Steps through the document's address properties, then its name; true
    // when the extractor is done.
    static bool writeFromDocument(ScriptingTarget& target, const ScriptReference& document,
                                  TRActivity& activity);
    static void writeWindowName(ScriptingTarget& target, TRActivity& activity);
};
