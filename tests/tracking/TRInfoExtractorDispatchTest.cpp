#include <gtest/gtest.h>

#include <QCoreApplication>
#include <future>

#include "ExtractionFixture.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRDummyInfoExtractor.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRExtractorTables.h"
#include "tracking/TRInfoExtractor.h"

namespace {

constexpr char kGeneric[] = "TRGenericInfoExtractor";

QString q(const char* s) {
    return QString::fromUtf8(s);
}

class NamedExtractor final : public TRApplicationInfoExtractor {
public:
    explicit NamedExtractor(const char* name) : m_name(q(name)) {}
    void writeDetailsForActivity(TRActivity&, const TRExtractionContext&) const override {}
    QString name() const override { return m_name; }

private:
    QString m_name;
};

QString chosenFor(const TRActivity& activity) {
    const TRExtractorRegistry registry = TRExtractorRegistry::withDefaultExtractors();
    const TRExtractionContext desktopWithout;
    return TRInfoExtractor(desktopWithout, registry).extractorForActivity(activity).name();
}

QString chosenFor(const QString& bundleIdentifier) {
    return chosenFor(makeActivity(makeApplication(7, bundleIdentifier)));
}

TEST(TRExtractorRegistry, MatchesExactlyReplacesAndIgnoresUnusableRegistrations) {
    const NamedExtractor first("First");
    const NamedExtractor second("Second");
    TRExtractorRegistry registry;
    registry.addApplicationInfoExtractor(&first, QStringLiteral("org.example.App"));
    registry.addApplicationInfoExtractor(&first, QString());
    registry.addApplicationInfoExtractor(&first, QStringLiteral(""));
    registry.addApplicationInfoExtractor(nullptr, QStringLiteral("org.example.Null"));
    registry.addApplicationInfoExtractor(&first, QStringLiteral("org.example.Later"));
    registry.addApplicationInfoExtractor(&second, QStringLiteral("org.example.Later"));

    struct Case {
        const char* id;
        const TRApplicationInfoExtractor* want;
    };
    const Case cases[] = {
        {"org.example.App", &first},
        {"org.example.app", nullptr},
        {"ORG.EXAMPLE.APP", nullptr},
        {"org.example.App ", nullptr},
        {"", nullptr},
        {"org.example.Null", nullptr},
        {"org.example.Later", &second},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        EXPECT_EQ(registry.extractorForBundleIdentifier(q(c.id)), c.want);
    }
    EXPECT_EQ(registry.extractorForBundleIdentifier(QString()), nullptr);
}

TEST(TRInfoExtractorDispatch, GroupsTheSameApplicationsUnderOneExtractor) {
    auto extractorNameInTable = [](const char* id) {
        for (const auto& entry : TRExtractorTables::registryEntries()) {
            if (q(entry.bundleIdentifier) == q(id)) return q(entry.extractorName);
        }
        return QString();
    };
    const std::pair<const char*, const char*> sameExtractor[] = {
        {"com.google.Chrome", "com.google.Chrome.canary"},
        {"com.google.Chrome", "org.chromium.Chromium"},
        {"com.google.Chrome", "chromium"},
        {"com.google.Chrome", "google-chrome"},
        {"com.google.Chrome", "opera"},
        {"com.google.Chrome", "com.brave.Browser"},
        {"firefox", "firefox-esr"},
        {"firefox", "org.mozilla.firefox"},
        {"com.apple.Terminal", "com.googlecode.iterm2"},
        {"com.apple.Terminal", "xterm"},
        {"com.apple.Terminal", "org.gnome.Terminal"},
        {"com.apple.Terminal", "org.kde.konsole"},
        {"com.apple.Terminal", "xfce4-terminal"},
        {"com.apple.finder", "org.gnome.Nautilus"},
    };
    for (const auto& [a, b] : sameExtractor) {
        SCOPED_TRACE(QStringLiteral("%1 / %2").arg(q(a), q(b)).toStdString());
        EXPECT_FALSE(extractorNameInTable(b).isEmpty());
        EXPECT_EQ(extractorNameInTable(a), extractorNameInTable(b));
        EXPECT_EQ(chosenFor(q(a)), chosenFor(q(b)));
    }
}

TEST(TRInfoExtractorDispatch, SendsUnknownAndMissingIdsToTheGenericExtractor) {
    EXPECT_EQ(chosenFor(QStringLiteral("com.apple.frontrow")), q("TRDummyInfoExtractor"));
    const char* generic[] = {"org.example.Unknown", "com.apple.Frontrow", "COM.APPLE.FRONTROW",
                             "org.kde.falkon", "org.gnome.Epiphany", ""};
    for (const char* id : generic) {
        SCOPED_TRACE(id);
        EXPECT_EQ(chosenFor(q(id)), q(kGeneric));
    }
    EXPECT_EQ(chosenFor(QString()), q(kGeneric));
    EXPECT_EQ(chosenFor(TRActivity()), q(kGeneric));
}

class TRInfoExtractorCallTest : public ExtractionTest {};

// Records what the details looked like when the extractor was called.
class RecordingExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext&) const override {
        ++calls;
        seenWindowTitle = activity.windowTitle();
        activity.setDocumentTitle(QStringLiteral("written"));
    }
    QString name() const override { return QStringLiteral("RecordingExtractor"); }
    mutable int calls = 0;
    mutable QString seenWindowTitle;
};

TEST_F(TRInfoExtractorCallTest, RunsTheAccessibilityStepBeforeTheRegisteredExtractor) {
    static RecordingExtractor recording;
    m_registry.addApplicationInfoExtractor(&recording, QStringLiteral("org.example.Recorded"));
    auto application = FakeAccessibilityElement::create();
    application->set(
        QStringLiteral("AXMainWindow"),
        AccessibilityElementRef(FakeAccessibilityElement::window(QStringLiteral("Tree"))));
    m_accessibility.add(42, application);
    TRActivity activity = makeActivity(makeApplication(42, QStringLiteral("org.example.Recorded")));
    activity.setWindowTitle(QStringLiteral("List"));

    const TRApplicationInfoExtractor& ran = extractor().callInfoExtractorForActivity(activity);

    EXPECT_EQ(&ran, &recording);
    EXPECT_EQ(recording.calls, 1);
    EXPECT_EQ(recording.seenWindowTitle, QStringLiteral("Tree"));
    EXPECT_EQ(activity.documentTitle(), QStringLiteral("written"));
}

TEST_F(TRInfoExtractorCallTest, SendsNoRequestToAnApplicationWithTheDummyExtractor) {
    auto scripted = m_scripting.application(42);
    scripted->answer(QStringLiteral("cwin[1].pnam"), ScriptValue{QStringLiteral("Window")});
    TRActivity activity = makeActivity(makeApplication(42, QStringLiteral("com.apple.frontrow")));
    activity.setWindowTitle(QStringLiteral("Full screen"));
    const TRActivity before = activity;

    EXPECT_EQ(&extractor().callInfoExtractorForActivity(activity),
              &TRDummyInfoExtractor::instance());
    EXPECT_TRUE(scripted->requests().isEmpty());
    EXPECT_TRUE(activity.isEqual(&before));
}

TEST_F(TRInfoExtractorCallTest, SkipsTheExtractorButNotTheTreeWhenScriptedTrackingIsOff) {
    auto scripted = m_scripting.application(42);
    auto application = FakeAccessibilityElement::create();
    application->set(QStringLiteral("AXMainWindow"),
                     AccessibilityElementRef(FakeAccessibilityElement::window(
                         QStringLiteral("Tree"), QStringLiteral("file:///doc.txt"))));
    m_accessibility.add(42, application);

    std::optional<TRActivity> activity =
        makeActivity(makeApplication(42, QStringLiteral("org.example.Editor")));
    EXPECT_EQ(extractor().completeActivity(activity, true), nullptr);
    EXPECT_TRUE(scripted->requests().isEmpty());
    EXPECT_EQ(activity->windowTitle(), QStringLiteral("Tree"));
    EXPECT_EQ(activity->documentPath(), QStringLiteral("file:///doc.txt"));

    std::optional<TRActivity> none;
    EXPECT_EQ(extractor().completeActivity(none, false), nullptr);
    EXPECT_EQ(m_accessibility.applicationElementRequests(), 1);
}

TEST_F(TRInfoExtractorCallTest, HandsEachTickFromTheMainThreadToAWorkerAndBack) {
    auto application = FakeAccessibilityElement::create();
    auto tree = FakeAccessibilityElement::window(QStringLiteral("Tree"));
    application->set(QStringLiteral("AXMainWindow"), AccessibilityElementRef(tree));
    m_accessibility.add(42, application);
    m_applications.add(makeApplication(42, QStringLiteral("org.example.Editor")));
    m_windows.setFrontProcess(42);
    m_windows.setWindows({WindowInfo{1, 42, QStringLiteral("List"), 1}});
    auto scripted = m_scripting.application(42);
    scripted->answer(QStringLiteral("pADc"),
                     FakeScriptedApplication::referenceTo(QStringLiteral("docu[1]")));

    for (int second = 0; second < 20; ++second) {
        SCOPED_TRACE(second);
        const QString path = QStringLiteral("/doc/%1").arg(second);
        scripted->answer(QStringLiteral("docu[1].ppth"), ScriptValue{path});
        std::optional<TRActivity> activity = extractor().currentActivity();
        ASSERT_TRUE(activity.has_value());
        EXPECT_EQ(activity->windowTitle(), QStringLiteral("List"));
        const TRApplicationInfoExtractor* ran =
            std::async(std::launch::async, [this, &activity] {
                return extractor().completeActivity(activity, false);
            }).get();
        ASSERT_NE(ran, nullptr);
        EXPECT_EQ(ran->name(), QStringLiteral("TRGenericInfoExtractor"));
        EXPECT_EQ(activity->windowTitle(), QStringLiteral("Tree"));
        EXPECT_EQ(activity->documentPath(), path);
    }
}

}  // namespace
