#include "tracking/TRExtractorRegistry.h"

#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRChromeInfoExtractor.h"
#include "tracking/TRDummyInfoExtractor.h"
// Mail, file managers, terminals, editors and notes.
#include "tracking/TRCodaInfoExtractor.h"
#include "tracking/TREvernoteInfoExtractor.h"
#include "tracking/TRFinderInfoExtractor.h"
#include "tracking/TRMailInfoExtractor.h"
#include "tracking/TRMarsEditInfoExtractor.h"
#include "tracking/TRPostboxInfoExtractor.h"
#include "tracking/TRTerminalInfoExtractor.h"
#include "tracking/TRTitledEditorInfoExtractor.h"
#include "tracking/TRXcodeInfoExtractor.h"
// Browsers.
#include "tracking/TRFirefoxInfoExtractor.h"
#include "tracking/TROperaInfoExtractor.h"
#include "tracking/TRSafariInfoExtractor.h"

void TRExtractorRegistry::addApplicationInfoExtractor(const TRApplicationInfoExtractor* extractor,
                                                      const QString& bundleIdentifier) {
    if (extractor == nullptr || bundleIdentifier.isEmpty()) return;
    m_extractors.insert(bundleIdentifier, extractor);
}

const TRApplicationInfoExtractor* TRExtractorRegistry::extractorForBundleIdentifier(
    const QString& bundleIdentifier) const {
    if (bundleIdentifier.isEmpty()) return nullptr;
    return m_extractors.value(bundleIdentifier, nullptr);
}

void TRExtractorRegistry::addDefaultExtractors() {
    for (const TRExtractorTables::RegistryEntry& entry : TRExtractorTables::registryEntries()) {
        addApplicationInfoExtractor(builtExtractorNamed(QString::fromLatin1(entry.extractorName)),
                                    QString::fromLatin1(entry.bundleIdentifier));
    }
}

TRExtractorRegistry TRExtractorRegistry::withDefaultExtractors() {
    TRExtractorRegistry registry;
    registry.addDefaultExtractors();
    return registry;
}

std::span<const TRApplicationInfoExtractor* const> TRExtractorRegistry::builtExtractors() {
    // A new extractor class joins here; its table entries then stop waiting.
    static const TRApplicationInfoExtractor* const kBuilt[] = {
        &TRSafariInfoExtractor::instance(),  &TRChromeInfoExtractor::instance(),
        &TROperaInfoExtractor::instance(),   &TRFirefoxInfoExtractor::instance(),
        &TRDummyInfoExtractor::instance(),
        // Mail, file managers, terminals, editors and notes.
        &TRMailInfoExtractor::instance(),
        &TRPostboxInfoExtractor::instance(),
        &TRFinderInfoExtractor::instance(),
        &TRTerminalInfoExtractor::instance(),
        &TRXcodeInfoExtractor::instance(),
        &TREvernoteInfoExtractor::instance(),
        &TRMarsEditInfoExtractor::instance(),
        &TRCodaInfoExtractor::instance(),
        &TRTitledEditorInfoExtractor::instance(),
    };
    return kBuilt;
}

const TRApplicationInfoExtractor* TRExtractorRegistry::builtExtractorNamed(const QString& name) {
    for (const TRApplicationInfoExtractor* extractor : builtExtractors()) {
        if (extractor->name() == name) return extractor;
    }
    return nullptr;
}

bool TRExtractorRegistry::waitsForExtractor(const TRExtractorTables::RegistryEntry& entry) {
    return builtExtractorNamed(QString::fromLatin1(entry.extractorName)) == nullptr;
}
