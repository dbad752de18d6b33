#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "tracking/TRInfoExtractor.h"
#include "tracking/TRInfoExtractorAccessibility.h"

namespace {

constexpr qint32 kPid = 42;

using Element = std::shared_ptr<FakeAccessibilityElement>;

QString q(const char* s) {
    return s ? QString::fromUtf8(s) : QString();
}

Element window(const char* title, const char* document = nullptr) {
    return FakeAccessibilityElement::window(q(title), q(document));
}

Element applicationWith(const Element& mainWindow, const Element& focusedWindow) {
    auto application = FakeAccessibilityElement::create();
    application->set(QStringLiteral("AXRole"),
                     QString::fromLatin1(AccessibilityRole::kApplication));
    if (mainWindow)
        application->set(QStringLiteral("AXMainWindow"), AccessibilityElementRef(mainWindow));
    if (focusedWindow) {
        application->set(QStringLiteral("AXFocusedWindow"), AccessibilityElementRef(focusedWindow));
    }
    return application;
}

struct TreeCase {
    const char* name;
    Element application;
    const char* listTitle;
    const char* wantTitle;
    const char* wantDocument;
};

class TRInfoExtractorAccessibilityTest : public ExtractionTest {
protected:
    // The worker-side step for an activity whose window list gave `listTitle`.
    TRActivity complete(const Element& application, const char* listTitle = nullptr) {
        if (application) m_accessibility.add(kPid, application);
        TRActivity activity =
            makeActivity(makeApplication(kPid, QStringLiteral("org.example.Editor")));
        if (listTitle) activity.setWindowTitle(q(listTitle));
        extractor().completeActivityFromAccessibility(activity);
        return activity;
    }
    void expectCompleted(const TreeCase& c) {
        SCOPED_TRACE(c.name);
        const TRActivity activity = complete(c.application, c.listTitle);
        EXPECT_EQ(activity.windowTitle(), q(c.wantTitle));
        EXPECT_EQ(activity.windowTitle().isNull(), c.wantTitle == nullptr);
        EXPECT_EQ(activity.documentPath(), q(c.wantDocument));
        EXPECT_EQ(activity.documentPath().isNull(), c.wantDocument == nullptr);
    }
};

TEST_F(TRInfoExtractorAccessibilityTest, LetsTheMainWindowWinAndTheFocusedWindowComplete) {
    auto noTitle = FakeAccessibilityElement::create();
    noTitle->set(QStringLiteral("AXDocument"), QStringLiteral("file:///main.txt"));
    auto failingTitle = window("Hung");
    failingTitle->failCopyOf(QStringLiteral("AXTitle"));
    auto wrongKinds = FakeAccessibilityElement::create();
    wrongKinds->set(QStringLiteral("AXTitle"), 3.0);
    wrongKinds->set(QStringLiteral("AXDocument"), true);
    auto notAnElement = FakeAccessibilityElement::create();
    notAnElement->set(QStringLiteral("AXMainWindow"), QStringLiteral("a string"));
    notAnElement->set(QStringLiteral("AXFocusedWindow"),
                      AccessibilityElementRef(window("Focused")));
    auto same = window("Both", "file:///both.txt");
    // A sheet stands for the window it is attached to.
    auto document = window("Report.odt", "file:///home/u/Report.odt");
    auto sheet = FakeAccessibilityElement::sheetOn(document);
    auto orphan = FakeAccessibilityElement::sheetOn(nullptr);
    orphan->remove(QStringLiteral("AXParent"));

    const TreeCase cases[] = {
        {"the main window's title and document",
         applicationWith(window("Main", "file:///m.txt"), window("Focused", "file:///f.txt")),
         nullptr, "Main", "file:///m.txt"},
        {"the focused window fills what the main window lacks",
         applicationWith(window("Main"), window("Focused", "file:///f.txt")), nullptr, "Main",
         "file:///f.txt"},
        {"a main window without a title", applicationWith(noTitle, window("Focused")), nullptr,
         "Focused", "file:///main.txt"},
        {"only a focused window", applicationWith(nullptr, window("Focused")), nullptr, "Focused",
         nullptr},
        {"the same window twice", applicationWith(same, same), nullptr, "Both", "file:///both.txt"},
        {"a title whose read fails counts as absent",
         applicationWith(failingTitle, window("Focused")), nullptr, "Focused", nullptr},
        {"values of the wrong kind count as absent",
         applicationWith(wrongKinds, window("Focused", "file:///f.txt")), nullptr, "Focused",
         "file:///f.txt"},
        {"a main window that is not an element is ignored", notAnElement, nullptr, "Focused",
         nullptr},
        {"an empty title from the main window stands", applicationWith(window(""), window("F")),
         nullptr, "", nullptr},
        {"a sheet on a document window", applicationWith(sheet, nullptr), nullptr, "Report.odt",
         "file:///home/u/Report.odt"},
        {"a sheet on a sheet", applicationWith(FakeAccessibilityElement::sheetOn(sheet), nullptr),
         nullptr, "Report.odt", "file:///home/u/Report.odt"},
        {"a sheet without a window is skipped", applicationWith(orphan, window("Focused")), nullptr,
         "Focused", nullptr},
    };
    for (const TreeCase& c : cases) expectCompleted(c);
}

TEST_F(TRInfoExtractorAccessibilityTest, OutranksTheWindowListOnlyWithATitleOrDocument) {
    auto emptyBoth = window("", "");
    const TreeCase cases[] = {
        {"a title from the tree replaces the window list's",
         applicationWith(window("Tree"), nullptr), "List", "Tree", nullptr},
        {"a document alone: the window list was only the fallback",
         applicationWith(FakeAccessibilityElement::window(QString(), q("https://example.org/")),
                         nullptr),
         "List", nullptr, "https://example.org/"},
        {"empty answers keep the window list's title", applicationWith(emptyBoth, nullptr), "List",
         "List", ""},
        {"empty answers stay when the window list had nothing",
         applicationWith(window(""), nullptr), nullptr, "", nullptr},
        {"no windows in the tree keep the window list's title", applicationWith(nullptr, nullptr),
         "List", "List", nullptr},
        {"no application element keeps the window list's title", nullptr, "List", "List", nullptr},
    };
    for (const TreeCase& c : cases) {
        SetUp();
        m_accessibility.add(kPid, nullptr);
        expectCompleted(c);
    }
}

TEST_F(TRInfoExtractorAccessibilityTest, KeepsTheLastAnswerWhileABusyApplicationShowsTheSameWindow) {
    struct Case {
        const char* name;
        const char* listTitleWhileBusy;
        bool accessibilityOn;
        qint32 pidWhileBusy;
        const char* wantDocument;
        const char* wantTitle;
    };
    const Case cases[] = {
        {"same window of the same process", "Page - Browser", true, kPid, "https://a.test/",
         "Page"},
        {"the window list shows another window", "Other - Browser", true, kPid, nullptr,
         "Other - Browser"},
        {"another process", "Page - Browser", true, kPid + 1, nullptr, "Page - Browser"},
        {"accessibility switched off", "Page - Browser", false, kPid, nullptr, "Page - Browser"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_accessibility.setEnabled(true);
        const TRActivity answered =
            complete(applicationWith(window("Page", "https://a.test/"), nullptr), "Page - Browser");
        ASSERT_EQ(answered.documentPath(), QStringLiteral("https://a.test/"));

        m_accessibility.add(kPid, nullptr);  // busy: no application element this tick
        m_accessibility.setEnabled(c.accessibilityOn);
        TRActivity busy =
            makeActivity(makeApplication(c.pidWhileBusy, QStringLiteral("org.example.Editor")));
        busy.setWindowTitle(q(c.listTitleWhileBusy));
        extractor().completeActivityFromAccessibility(busy);
        EXPECT_EQ(busy.documentPath(), q(c.wantDocument));
        EXPECT_EQ(busy.documentPath().isNull(), c.wantDocument == nullptr);
        EXPECT_EQ(busy.windowTitle(), q(c.wantTitle));
    }
}

}  // namespace
