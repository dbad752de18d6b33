#pragma once
// TRExtractorRegistry: which extractor serves which application id.
//
// A map from application id (compared exactly, case-sensitively) to an
// extractor. It is only ever added to; a second registration for an id
// replaces the first; a null extractor or an empty id is ignored. Ids
// without an entry, and applications without any id, go to the generic
// extractor: the registry answers null and the dispatch falls back.
//
// The helper builds one with withDefaultExtractors() (the table of
// TRExtractorTables whose classes are built) at start-up and hands it to the
// dispatch by reference; tests build their own.
//
// Thread: add only before the tracking worker exists; after that it is
// read-only and may be read from any thread.

#include <QHash>
#include <QString>
#include <span>

#include "tracking/TRExtractorTables.h"

class TRApplicationInfoExtractor;

class TRExtractorRegistry final {
public:
    void addApplicationInfoExtractor(const TRApplicationInfoExtractor* extractor,
                                     const QString& bundleIdentifier);
    // Null when the id has no extractor of its own (also for a null id).
    const TRApplicationInfoExtractor* extractorForBundleIdentifier(
        const QString& bundleIdentifier) const;

    // Registers every table entry whose extractor class is built.
    void addDefaultExtractors();

    // A registry holding every default extractor.
    static TRExtractorRegistry withDefaultExtractors();

    // The extractor instances this build has, by class name.
    static std::span<const TRApplicationInfoExtractor* const> builtExtractors();
    static const TRApplicationInfoExtractor* builtExtractorNamed(const QString& name);
    // True while the entry's extractor class does not exist yet.
    static bool waitsForExtractor(const TRExtractorTables::RegistryEntry& entry);

private:
    QHash<QString, const TRApplicationInfoExtractor*> m_extractors;
};
