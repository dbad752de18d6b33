// Which extractor runs for an application, and when the tree is read without it.

#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "tracking/TRApplicationInfoExtractor.h"

namespace {

class TRInfoExtractorCallTest : public ExtractionTest {
protected:
    void treeFor(qint32 pid, const QString& title, const QString& document = QString()) {
        auto application = FakeAccessibilityElement::create();
        application->set(u"AXMainWindow"_s, AccessibilityElementRef(
                                                 FakeAccessibilityElement::window(title, document)));
        m_accessibility.add(pid, application);
    }
};

// A compositor that names no process: the application its window names and
// the window's title are recorded; no accessibility tree or extractor is
// asked (with pid 0 they would answer for some other program, here the tree
// registered under 0), and the desktop's own agents stay untracked.
TEST_F(TRInfoExtractorCallTest, WindowWithoutProcessKeepsItsApplicationAndTitleOnly) {
    constexpr quint64 kWindow = 9;
    treeFor(0, QStringLiteral("Tree title"), QStringLiteral("file:///not/mine"));
    WindowInfo listed;
    listed.windowId = kWindow;
    listed.name = QStringLiteral("Notes on foot");
    m_windows.setWindows({listed});
    m_windows.setFrontWindowWithoutProcess(kWindow);
    const struct {
        const char* id;
        bool tracked;
    } cases[] = {{"foot", true}, {"org.mozilla.firefox", true}, {"xfce4-panel", false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        m_applications.addWindow(kWindow, makeApplication(0, QString::fromLatin1(c.id)));
        std::optional<TRActivity> activity = extractor().currentActivity();
        ASSERT_EQ(activity.has_value(), c.tracked);
        if (!activity) continue;
        extractor().callInfoExtractorForActivity(&*activity, false);
        EXPECT_EQ(activity->runningApplication()->bundleIdentifier, QLatin1String(c.id));
        EXPECT_EQ(activity->windowTitle(), QStringLiteral("Notes on foot"));
        EXPECT_TRUE(activity->documentPath().isEmpty());
    }
}

TEST_F(TRInfoExtractorCallTest, SendsUnknownAndMissingIdsToTheGenericExtractor) {
    const auto chosenFor = [this](const char* id) {
        const TRActivity activity = id ? makeActivity(makeApplication(7, q(id))) : TRActivity();
        return extractor().extractorForActivity(activity).name();
    };
    EXPECT_EQ(chosenFor("com.apple.frontrow"), u"TRDummyInfoExtractor"_s);
    for (const char* id : {"org.example.Unknown", "", static_cast<const char*>(nullptr)}) {
        SCOPED_TRACE(id ? id : "(no application)");
        EXPECT_EQ(chosenFor(id), u"TRGenericInfoExtractor"_s);
    }
}

// Where the user switched scripted tracking off, the tree is still read but
// the extractor, which would have found a path, never runs.
TEST_F(TRInfoExtractorCallTest, SkipsTheExtractorButNotTheTreeWhenScriptedTrackingIsOff) {
    auto scripted = m_scripting.application(42);
    scripted->answer(u"pADc"_s, ref("docu[1]"));
    scripted->answer(u"docu[1].ppth"_s, str("/scripted"));
    treeFor(42, u"Tree"_s);
    std::optional<TRActivity> activity = makeActivity(makeApplication(42, u"org.example.E"_s));
    EXPECT_EQ(extractor().completeActivity(activity, true), nullptr);
    EXPECT_EQ(activity->windowTitle(), u"Tree"_s);
    EXPECT_TRUE(activity->documentPath().isNull());
    std::optional<TRActivity> none;
    EXPECT_EQ(extractor().completeActivity(none, false), nullptr);
}

}  // namespace
