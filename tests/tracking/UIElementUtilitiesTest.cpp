#include <gtest/gtest.h>

#include "fakes/FakeAccessibility.h"
#include "tracking/UIElementUtilities.h"

namespace {

using namespace UIElementUtilities;
using Element = std::shared_ptr<FakeAccessibilityElement>;

QString q(const char* s) {
    return QString::fromUtf8(s);
}

Element element(const char* role, const char* title = nullptr) {
    auto e = FakeAccessibilityElement::create();
    e->set(q("AXRole"), q(role));
    if (title) e->set(q("AXTitle"), q(title));
    return e;
}

TEST(UIElementUtilities, CopiesOnlyListedAttributesAndNeverFailsLoudly) {
    auto window = element("AXWindow", "Title");
    window->failCopyOf(q("AXDocument"));
    window->set(q("AXDocument"), q("file:///x"));

    EXPECT_FALSE(valueOfAttribute(q("AXMissing"), window).has_value());
    EXPECT_EQ(window->copyCount(q("AXMissing")), 0);
    EXPECT_FALSE(valueOfAttribute(q("AXDocument"), window).has_value());
    EXPECT_EQ(window->copyCount(q("AXDocument")), 1);
    EXPECT_FALSE(valueOfAttribute(q("AXTitle"), nullptr).has_value());
    ASSERT_TRUE(valueOfAttribute(q("AXTitle"), window).has_value());

    EXPECT_EQ(roleOfUIElement(window), q("AXWindow"));
    EXPECT_TRUE(roleOfUIElement(nullptr).isNull());
    auto numberRole = FakeAccessibilityElement::create();
    numberRole->set(q("AXRole"), 1.0);
    EXPECT_TRUE(roleOfUIElement(numberRole).isNull());

    auto child = element("AXButton");
    child->set(q("AXParent"), AccessibilityElementRef(window));
    EXPECT_EQ(parentOfUIElement(child), window);
    EXPECT_EQ(parentOfUIElement(window), nullptr);
    child->set(q("AXParent"), q("not an element"));
    EXPECT_EQ(parentOfUIElement(child), nullptr);
}

TEST(UIElementUtilities, DescribesValuesWithFixedTexts) {
    struct Case {
        const char* name;
        std::optional<AccessibilityValue> value;
        bool verbose;
        QString want;
    };
    const Case cases[] = {
        {"point", AXPoint{1.5, -2}, true, q("<AXPointValue x=1.5 y=-2>")},
        {"point, terse", AXPoint{1.5, -2}, false, q("x=1.5 y=-2")},
        {"size", AXSize{640, 480}, true, q("<AXSizeValue w=640 h=480>")},
        {"size, terse", AXSize{640, 480}, false, q("w=640 h=480")},
        {"rectangle, two blanks after the type", AXRect{1, 2, 3, 4}, true,
         q("<AXRectValue  x=1 y=2 w=3 h=4>")},
        {"rectangle, terse", AXRect{1, 2, 3, 4}, false, q("x=1 y=2 w=3 h=4")},
        {"range", AXRange{5, 10}, true, q("<AXRangeValue pos=5 len=10>")},
        {"range, terse", AXRange{5, 10}, false, q("pos=5 len=10")},
        {"a list", std::vector<AccessibilityElementRef>(3), true, q("<array of size 3>")},
        {"an element with a title", AccessibilityElementRef(element("AXWindow", "Doc")), true,
         q("<AXWindow: \u201CDoc\u201D>")},
        {"an element with an empty title", AccessibilityElementRef(element("AXWindow", "")), true,
         q("<AXWindow>")},
        {"an element without a title", AccessibilityElementRef(element("AXButton")), false,
         q("<AXButton>")},
        {"a string", AccessibilityValue(q("text")), true, q("text")},
        {"a number", 2.5, true, q("2.5")},
        {"a boolean", true, true, q("1")},
        {"nothing", std::nullopt, true, QString()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(descriptionOfValue(c.value, c.verbose), c.want);
        EXPECT_EQ(descriptionOfValue(c.value, c.verbose).isNull(), c.want.isNull());
    }
    EXPECT_EQ(stringDescriptionOfAXValue(AccessibilityValue(q("x")), true), q("AXValue???"));
    EXPECT_EQ(stringDescriptionOfAXValue(AccessibilityValue(1.0), false), q("AXValue???"));
}

TEST(UIElementUtilities, ParsesAStringByTheKindOfTheCurrentValue) {
    struct Case {
        const char* name;
        AccessibilityValue current;
        const char* input;
        AccessibilityValue want;
    };
    const Case cases[] = {
        {"point", AXPoint{}, "x=10.5 y=-3", AXPoint{10.5, -3}},
        {"size", AXSize{}, "w=800 h=600", AXSize{800, 600}},
        {"rectangle", AXRect{}, "x=1 y=2 w=3 h=4", AXRect{1, 2, 3, 4}},
        {"range", AXRange{}, "pos=7 len=12", AXRange{7, 12}},
        {"a point that half parses", AXPoint{9, 9}, "x=4 z=1", AXPoint{4, 0}},
        {"string as it is", AccessibilityValue(q("old")), " new value ",
         AccessibilityValue(q(" new value "))},
        {"another number as a float", 1.0, "0.1", static_cast<double>(0.1f)},
        {"a boolean", false, "1", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto e = FakeAccessibilityElement::create();
        e->set(q("AXValue"), c.current);
        e->setSettable(q("AXValue"), true);
        setStringValue(q(c.input), q("AXValue"), e);
        const auto now = e->copyAttributeValue(q("AXValue"));
        ASSERT_TRUE(now.has_value());
        EXPECT_EQ(descriptionOfValue(now, true), descriptionOfValue(c.want, true));
        EXPECT_EQ(now->index(), c.want.index());
    }
    auto noValue = FakeAccessibilityElement::create();
    noValue->setSettable(q("AXValue"), true);
    setStringValue(q("x=1 y=2"), q("AXValue"), noValue);
    EXPECT_FALSE(noValue->copyAttributeValue(q("AXValue")).has_value());
}

TEST(UIElementUtilities, DescribesAnElementWithItsLineageAttributesAndActions) {
    auto application = element("AXApplication", "Editor");
    auto window = element("AXWindow", "Doc");
    window->set(q("AXParent"), AccessibilityElementRef(application));
    auto button = element("AXButton", "OK");
    button->set(q("AXParent"), AccessibilityElementRef(window));
    button->set(q("AXSize"), AXSize{80, 24});
    button->set(q("AXChildren"), std::vector<AccessibilityElementRef>(2));
    button->setSettable(q("AXSize"), true);
    button->addAction(q("AXPress"), q("press"));

    EXPECT_EQ(lineageOfUIElement(button),
              (QStringList{q("<AXApplication: \u201CEditor\u201D>"),
                           q("<AXWindow: \u201CDoc\u201D>"), q("<AXButton: \u201COK\u201D>")}));
    const QString lineage =
        q("<AXApplication: \u201CEditor\u201D>\n <AXWindow: \u201CDoc\u201D>\n"
          "  <AXButton: \u201COK\u201D>\n");
    EXPECT_EQ(lineageDescriptionOfUIElement(button), lineage);
    EXPECT_EQ(stringDescriptionOfUIElement(button),
              lineage + q("\nAttributes:\n"
                          "   AXRole:  \u201CAXButton\u201D\n"
                          "   AXTitle:  \u201COK\u201D\n"
                          "   AXParent:  \u201C<AXWindow: \u201CDoc\u201D>\u201D\n"
                          "   AXSize (W):  \u201C<AXSizeValue w=80 h=24>\u201D\n"
                          "   AXChildren:  \u201C<array of size 2>\u201D\n"
                          "\nActions:\n"
                          "   AXPress - press\n"));
    performAction(q("AXPress"), button);
    EXPECT_EQ(button->performedActions(), QStringList{q("AXPress")});
    EXPECT_TRUE(isApplicationUIElement(application));
    EXPECT_FALSE(isApplicationUIElement(window));
    EXPECT_EQ(titleOfUIElement(window), q("Doc"));
}

TEST(UIElementUtilities, StopsALineageWhoseParentsLoop) {
    auto a = element("AXGroup");
    auto b = element("AXGroup");
    a->set(q("AXParent"), AccessibilityElementRef(b));
    b->set(q("AXParent"), AccessibilityElementRef(a));
    EXPECT_EQ(lineageOfUIElement(a).size(), 64);
    a->remove(q("AXParent"));
}

TEST(UIElementUtilities, SaysNoDescriptionWhenTheDescriptionIsMissingOrEmpty) {
    auto e = element("AXImage");
    EXPECT_EQ(descriptionOfAXDescriptionOfUIElement(e), q("No Description"));
    e->set(q("AXDescription"), q(""));
    EXPECT_EQ(descriptionOfAXDescriptionOfUIElement(e), q("No Description"));
    e->set(q("AXDescription"), q("Logo"));
    EXPECT_EQ(descriptionOfAXDescriptionOfUIElement(e), q("Logo"));
    EXPECT_EQ(descriptionOfAXDescriptionOfUIElement(nullptr), q("No Description"));
    EXPECT_EQ(processIdentifierOfUIElement(nullptr), 0);
    EXPECT_FALSE(attributeNamesOfUIElement(nullptr).has_value());
}

}  // namespace
