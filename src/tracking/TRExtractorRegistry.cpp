#include "tracking/TRExtractorRegistry.h"

#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRChromeInfoExtractor.h"
#include "tracking/TRDummyInfoExtractor.h"
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
