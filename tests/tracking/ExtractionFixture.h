#pragma once
// A test fixture that installs fake platform objects as the extraction
// context for the length of one test, and helpers to build activities.

#include <gtest/gtest.h>

#include "fakes/FakeAccessibility.h"
#include "fakes/FakeRunningApplications.h"
#include "fakes/FakeScriptingTargets.h"
#include "fakes/FakeWindowSystem.h"
#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"

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
        TRExtractionContext context;
        context.windowSystem = &m_windows;
        context.runningApplications = &m_applications;
        context.accessibility = &m_accessibility;
        context.scriptingTargets = &m_scripting;
        TRExtractionContext::setShared(context);
    }
    void TearDown() override { TRExtractionContext::setShared(TRExtractionContext()); }

    FakeWindowSystem m_windows;
    FakeRunningApplications m_applications;
    FakeAccessibilityProvider m_accessibility;
    FakeScriptingTargets m_scripting;
};
