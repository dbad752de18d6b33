#pragma once
// A test fixture with fake platform objects, the default extractors and a
// dispatch over them, and helpers to build activities.

#include <gtest/gtest.h>

#include "fakes/FakeAccessibility.h"
#include "fakes/FakeRunningApplications.h"
#include "fakes/FakeScriptingTargets.h"
#include "fakes/FakeWindowSystem.h"
#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"

inline RunningApplication makeApplication(qint32 pid, const QString& id,
                                          const QString& executable = QString()) {
    RunningApplication application;
    application.processIdentifier = pid;
    application.bundleIdentifier = id;
    application.executablePath =
        executable.isNull() ? QString() : QStringLiteral("/usr/bin/") + executable;
    application.localizedName = QStringLiteral("Example");
    return application;
}

inline TRActivity makeActivity(const RunningApplication& application) {
    TRActivity activity;
    activity.setApplication(application);
    return activity;
}

class ExtractionTest : public ::testing::Test {
protected:
    void SetUp() override {
        useContext({&m_windows, &m_applications, &m_accessibility, &m_scripting});
    }
    // A fresh dispatch on other platform objects (none: a desktop without).
    void useContext(const TRExtractionContext& context) {
        m_context = context;
        m_extractor = std::make_unique<TRInfoExtractor>(m_context, m_registry);
    }
    TRInfoExtractor& extractor() { return *m_extractor; }

    FakeWindowSystem m_windows;
    FakeRunningApplications m_applications;
    FakeAccessibilityProvider m_accessibility;
    FakeScriptingTargets m_scripting;
    TRExtractionContext m_context;
    TRExtractorRegistry m_registry = TRExtractorRegistry::withDefaultExtractors();
    std::unique_ptr<TRInfoExtractor> m_extractor;
};
