// The worker-side step that reads the front window's title and document from
// the accessibility tree and decides what outranks the window list.

#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "tracking/TRInfoExtractorAccessibility.h"

namespace {

constexpr qint32 kPid = 42;

using Element = std::shared_ptr<FakeAccessibilityElement>;

Element window(const char* title, const char* document = nullptr) {
    return FakeAccessibilityElement::window(q(title), q(document));
}

Element applicationWith(const Element& mainWindow, const Element& focusedWindow) {
    auto application = FakeAccessibilityElement::create();
    application->set(u"AXRole"_s, QString::fromLatin1(AccessibilityRole::kApplication));
    if (mainWindow) application->set(u"AXMainWindow"_s, AccessibilityElementRef(mainWindow));
    if (focusedWindow)
        application->set(u"AXFocusedWindow"_s, AccessibilityElementRef(focusedWindow));
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
    TRActivity complete(const char* listTitle) {
        TRActivity activity = makeActivity(makeApplication(kPid, u"org.example.Editor"_s));
        if (listTitle) activity.setWindowTitle(q(listTitle));
        extractor().completeActivityFromAccessibility(activity);
        return activity;
    }
    void expectCompleted(const TreeCase& c) {
        SCOPED_TRACE(c.name);
        m_accessibility.add(kPid, c.application);
        const TRActivity activity = complete(c.listTitle);
        expectTitleAndDocument(activity, c.wantTitle, c.wantDocument);
    }
    static void expectTitleAndDocument(const TRActivity& activity, const char* title,
                                       const char* document) {
        EXPECT_EQ(activity.windowTitle(), q(title));
        EXPECT_EQ(activity.windowTitle().isNull(), title == nullptr);
        EXPECT_EQ(activity.documentPath(), q(document));
        EXPECT_EQ(activity.documentPath().isNull(), document == nullptr);
    }
};

TEST_F(TRInfoExtractorAccessibilityTest, LetsTheMainWindowWinAndTheFocusedWindowComplete) {
    auto noTitle = FakeAccessibilityElement::create();
    noTitle->set(u"AXDocument"_s, u"file:///main.txt"_s);
    auto failingTitle = window("Hung");
    failingTitle->failCopyOf(u"AXTitle"_s);
    // A sheet stands for the window it is attached to.
    auto sheet = FakeAccessibilityElement::sheetOn(window("Report.odt", "file:///home/u/R.odt"));
    const auto focused = window("Focused");

    const TreeCase cases[] = {
        {"the main window's title and document",
         applicationWith(window("Main", "file:///m.txt"), window("Focused", "file:///f.txt")),
         nullptr, "Main", "file:///m.txt"},
        {"the focused window fills what the main window lacks",
         applicationWith(window("Main"), window("Focused", "file:///f.txt")), nullptr, "Main",
         "file:///f.txt"},
        {"a main window without a title", applicationWith(noTitle, focused), nullptr, "Focused",
         "file:///main.txt"},
        {"only a focused window", applicationWith(nullptr, focused), nullptr, "Focused", nullptr},
        {"a title whose read fails counts as absent", applicationWith(failingTitle, focused),
         nullptr, "Focused", nullptr},
        {"an empty title from the main window stands", applicationWith(window(""), window("F")),
         nullptr, "", nullptr},
        {"a sheet on a document window", applicationWith(sheet, nullptr), nullptr, "Report.odt",
         "file:///home/u/R.odt"},
        // What outranks the window list's title.
        {"a title from the tree replaces the window list's",
         applicationWith(window("Tree"), nullptr), "List", "Tree", nullptr},
        {"a document alone: the window list was only the fallback",
         applicationWith(window(nullptr, "https://example.org/"), nullptr), "List", nullptr,
         "https://example.org/"},
        {"empty answers keep the window list's title", applicationWith(window("", ""), nullptr),
         "List", "List", ""},
        {"no application element keeps the window list's title", nullptr, "List", "List", nullptr},
    };
    for (const TreeCase& c : cases) {
        SetUp();
        expectCompleted(c);
    }
}

}  // namespace
