#pragma once
// A test fixture with fake platform objects, the default extractors and a
// dispatch over them, and helpers to build activities and scripted answers.

#include <gtest/gtest.h>

#include "core/TRActivity.h"
#include "fakes/FakeAccessibility.h"
#include "fakes/FakeRunningApplications.h"
#include "fakes/FakeScriptingTargets.h"
#include "fakes/FakeWindowSystem.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"

using namespace Qt::Literals::StringLiterals;

// Test text; null stays a null QString.
inline QString q(const char* s) {
    return s ? QString::fromUtf8(s) : QString();
}
inline ScriptValue str(const char* s) {
    return ScriptValue{q(s)};
}
inline ScriptValue url(const char* s) {
    return ScriptValue{QUrl(q(s))};
}
inline ScriptValue fileRef(const char* s) {
    return ScriptValue{ScriptFileReference{QUrl(q(s))}};
}
inline ScriptValue ref(const char* s) {
    return FakeScriptedApplication::referenceTo(q(s));
}

inline RunningApplication makeApplication(qint32 pid, const QString& id,
                                          const QString& executable = QString()) {
    RunningApplication application;
    application.processIdentifier = pid;
    application.bundleIdentifier = id;
    application.executablePath = executable.isNull() ? QString() : u"/usr/bin/"_s + executable;
    application.localizedName = u"Example"_s;
    return application;
}

inline TRActivity makeActivity(const RunningApplication& application,
                               const QString& windowTitle = QString()) {
    TRActivity activity;
    activity.setApplication(application);
    if (!windowTitle.isNull()) activity.setWindowTitle(windowTitle);
    return activity;
}

// Answers for a fake scripted application: reference text, value.
using Answers = std::vector<std::pair<const char*, ScriptValue>>;

// A scripting context with one fake application at `pid` answering `answers`.
struct ScriptedContext {
    ScriptedContext(qint32 pid, const Answers& answers) : application(scripting.application(pid)) {
        for (const auto& [reference, value] : answers) application->answer(q(reference), value);
        context.scriptingTargets = &scripting;
    }
    FakeScriptingTargets scripting;
    std::shared_ptr<FakeScriptedApplication> application;
    TRExtractionContext context;
};

class ExtractionTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_context = {&m_windows, &m_applications, &m_accessibility, &m_scripting};
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
