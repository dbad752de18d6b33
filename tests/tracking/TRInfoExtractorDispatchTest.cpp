// Which extractor runs for an application, and the order of the two steps.

#include <gtest/gtest.h>

#include <future>

#include "ExtractionFixture.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRDummyInfoExtractor.h"

namespace {

class TRInfoExtractorCallTest : public ExtractionTest {
protected:
    void treeFor(qint32 pid, const QString& title, const QString& document = QString()) {
        auto application = FakeAccessibilityElement::create();
        application->set(QStringLiteral("AXMainWindow"),
                         AccessibilityElementRef(FakeAccessibilityElement::window(title, document)));
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
    const auto chosenFor = [this](const TRActivity& activity) {
        return extractor().extractorForActivity(activity).name();
    };
    EXPECT_EQ(chosenFor(makeActivity(makeApplication(7, QStringLiteral("com.apple.frontrow")))),
              QStringLiteral("TRDummyInfoExtractor"));
    for (const char* id : {"org.example.Unknown", "COM.APPLE.FRONTROW", "org.kde.falkon", "",
                           static_cast<const char*>(nullptr)}) {
        SCOPED_TRACE(id ? id : "(null)");
        EXPECT_EQ(chosenFor(makeActivity(makeApplication(7, QString::fromUtf8(id)))),
                  QStringLiteral("TRGenericInfoExtractor"));
    }
    EXPECT_EQ(chosenFor(TRActivity()), QStringLiteral("TRGenericInfoExtractor"));
}

// Records what the details looked like when the extractor was called.
class RecordingExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity, const TRExtractionContext&) const override {
        seenWindowTitle = activity.windowTitle();
        activity.setDocumentTitle(QStringLiteral("written"));
    }
    QString name() const override { return QStringLiteral("RecordingExtractor"); }
    mutable QString seenWindowTitle;
};

TEST_F(TRInfoExtractorCallTest, RunsTheAccessibilityStepBeforeTheRegisteredExtractor) {
    static RecordingExtractor recording;
    m_registry.addApplicationInfoExtractor(&recording, QStringLiteral("org.example.Recorded"));
    treeFor(42, QStringLiteral("Tree"));
    TRActivity activity = makeActivity(makeApplication(42, QStringLiteral("org.example.Recorded")));
    activity.setWindowTitle(QStringLiteral("List"));
    EXPECT_EQ(&extractor().callInfoExtractorForActivity(activity), &recording);
    EXPECT_EQ(recording.seenWindowTitle, QStringLiteral("Tree"));
    EXPECT_EQ(activity.documentTitle(), QStringLiteral("written"));
}

TEST_F(TRInfoExtractorCallTest, LeavesAnApplicationWithTheDummyExtractorAlone) {
    m_scripting.application(42)->answer(QStringLiteral("cwin[1].pnam"), ScriptValue{QStringLiteral("Window")});
    TRActivity activity = makeActivity(makeApplication(42, QStringLiteral("com.apple.frontrow")));
    activity.setWindowTitle(QStringLiteral("Full screen"));
    const TRActivity before = activity;
    EXPECT_EQ(&extractor().callInfoExtractorForActivity(activity), &TRDummyInfoExtractor::instance());
    EXPECT_TRUE(activity.isEqual(&before));
}

TEST_F(TRInfoExtractorCallTest, SkipsTheExtractorButNotTheTreeWhenScriptedTrackingIsOff) {
    auto scripted = m_scripting.application(42);
    scripted->answer(QStringLiteral("pADc"), FakeScriptedApplication::referenceTo(QStringLiteral("docu[1]")));
    scripted->answer(QStringLiteral("docu[1].ppth"), ScriptValue{QStringLiteral("/scripted")});
    treeFor(42, QStringLiteral("Tree"));
    std::optional<TRActivity> activity =
        makeActivity(makeApplication(42, QStringLiteral("org.example.Editor")));
    EXPECT_EQ(extractor().completeActivity(activity, true), nullptr);
    EXPECT_EQ(activity->windowTitle(), QStringLiteral("Tree"));
    EXPECT_TRUE(activity->documentPath().isNull()) << "the extractor would have found a path";
    std::optional<TRActivity> none;
    EXPECT_EQ(extractor().completeActivity(none, false), nullptr);
}

// The main-thread step and the worker step of each tick, on two threads.
TEST_F(TRInfoExtractorCallTest, HandsEachTickFromTheMainThreadToAWorkerAndBack) {
    treeFor(42, QStringLiteral("Tree"));
    m_applications.add(makeApplication(42, QStringLiteral("org.example.Editor")));
    m_windows.setFrontProcess(42);
    m_windows.setWindows({WindowInfo{1, 42, QStringLiteral("List"), 1}});
    auto scripted = m_scripting.application(42);
    scripted->answer(QStringLiteral("pADc"), FakeScriptedApplication::referenceTo(QStringLiteral("docu[1]")));
    for (int second = 0; second < 5; ++second) {
        SCOPED_TRACE(second);
        const QString path = QStringLiteral("/doc/%1").arg(second);
        scripted->answer(QStringLiteral("docu[1].ppth"), ScriptValue{path});
        std::optional<TRActivity> activity = extractor().currentActivity();
        ASSERT_TRUE(activity.has_value());
        EXPECT_EQ(activity->windowTitle(), QStringLiteral("List"));
        const TRApplicationInfoExtractor* ran = std::async(std::launch::async, [&] {
                                                    return extractor().completeActivity(activity, false);
                                                }).get();
        ASSERT_NE(ran, nullptr);
        EXPECT_EQ(ran->name(), QStringLiteral("TRGenericInfoExtractor"));
        EXPECT_EQ(activity->windowTitle(), QStringLiteral("Tree"));
        EXPECT_EQ(activity->documentPath(), path);
    }
}

}  // namespace
