// The browser extractors against a fake scriptable browser: every failure
// removes the details (the time stays the browser's, nothing about the page
// is kept), a private window is never read further, and the developer
// tools stand for the page they inspect.

#include <gtest/gtest.h>

#include "ExtractionFixture.h"
#include "tracking/TRChromeInfoExtractor.h"
#include "tracking/TRFirefoxInfoExtractor.h"
#include "tracking/TROperaInfoExtractor.h"
#include "tracking/TRSafariInfoExtractor.h"
#include "tracking/bridge/TRBrowserWindowMode.h"

namespace {

constexpr char kPage[] = "http://127.0.0.1:8080/a.html";
constexpr char kTools[] = "devtools://devtools/bundled/devtools_app.html";

enum class Fault { None, NotRunning, StopsAnswering };

struct BrowserCase {
    const TRApplicationInfoExtractor& extractor;
    const char* name;
    Answers answers;
    const char* wantDocumentPath = nullptr;  // nullptr: the details are removed
    Fault fault = Fault::None;
    const char* windowTitle = "page - Chromium";
};

const std::pair<const char*, ScriptValue> kNormal{"cwin[1].mode", str("normal")};
const std::pair<const char*, ScriptValue> kIncognito{"cwin[1].mode", str("incognito")};
const std::pair<const char*, ScriptValue> kTab{"cwin[1].acTa.URL ", str(kPage)};
const std::pair<const char*, ScriptValue> kToolsTab{"cwin[1].acTa.URL ", str(kTools)};
const std::pair<const char*, ScriptValue> kDocument{"docu[1]", ref("docu[1]")};

}  // namespace

TEST(TRBrowserInfoExtractorsTest, RemoveTheDetailsOnEveryFailureAndInPrivateWindows) {
    const auto& chrome = TRChromeInfoExtractor::instance();
    const auto& firefox = TRFirefoxInfoExtractor::instance();
    const auto& safari = TRSafariInfoExtractor::instance();
    const auto& opera = TROperaInfoExtractor::instance();
    const auto none = Fault::None;
    const BrowserCase cases[] = {
        {chrome, "normal window: the active tab", {kNormal, kTab}, kPage},
        {chrome, "incognito window", {kIncognito, kTab}},
        {chrome, "quit", {kNormal, kTab}, nullptr, Fault::NotRunning},
        {chrome, "stops answering (timeout)", {kNormal, kTab}, nullptr, Fault::StopsAnswering},
        {chrome, "no window: mode unreadable", {kTab}},
        {chrome,
         "tools, the page after a label",
         {kNormal, kToolsTab},
         "http://x/a b",
         none,
         "DevTools - http://x/a b"},
        {chrome,
         "today's tools: the window showing the page",
         {kNormal, kToolsTab, {"cwin[3].acTa.URL ", str("https://127.0.0.1:8080/a.html")}},
         "https://127.0.0.1:8080/a.html",
         none,
         "DevTools - 127.0.0.1:8080/a.html"},
        {chrome, "incognito tools", {kIncognito, kToolsTab}, nullptr, none, "DevTools - http://x/"},
        {firefox, "normal window", {kNormal, kTab}, kPage},
        {firefox, "private window", {kIncognito, kTab}},
        {firefox, "no active tab", {kNormal}},
        {safari, "document 1's address", {kDocument, {"docu[1].pURL", str(kPage)}}, kPage},
        {safari, "no document", {{"docu[1].pURL", str(kPage)}}},
        {opera, "the alternative URL", {{"cwin[1].url ", str(kPage)}}, kPage},
        {opera, "none", {}},
    };
    for (const BrowserCase& c : cases) {
        SCOPED_TRACE(c.extractor.name().toStdString() + ": " + c.name);
        ScriptedContext scripted(300, c.answers);
        scripted.application->setRunning(c.fault != Fault::NotRunning);
        scripted.application->setUnscriptable(c.fault == Fault::StopsAnswering);
        TRActivity activity = makeActivity(makeApplication(300, u"chromium"_s), q(c.windowTitle));
        activity.setDocumentPath(u"http://from.the.tree/"_s);
        c.extractor.writeDetailsForActivity(activity, scripted.context);
        ASSERT_NE(activity.runningApplication(), nullptr) << "the time stays the browser's";
        EXPECT_EQ(activity.details().has_value(), c.wantDocumentPath != nullptr)
            << activity.documentPath().toStdString();
        if (c.wantDocumentPath) {
            EXPECT_EQ(activity.documentPath(), q(c.wantDocumentPath));
        }
    }
}

// What browsers really call their windows, in English and German.
TEST(TRBrowserInfoExtractorsTest, AWordAfterTheBrowsersNameMarksAPrivateWindow) {
    const struct {
        const char* window;
        const char* browser;
        const char* mode;  // nullptr: unreadable
    } cases[] = {
        {"page - Chromium (Incognito)", "Chromium", "incognito"},
        {"Seite - Chromium (anonym)", "Chromium", "incognito"},
        {"Why Chromium (review) - Chromium", "Chromium", "normal"},
        {"page - Google Chrome - Work (Guest)", "Google Chrome", "incognito"},
        {"page \u2014 Mozilla Firefox Private Browsing", "Firefox", "incognito"},
        {"DevTools - 127.0.0.1/a.html (anonym)\u200f", "Chromium", "incognito"},
        {"", "Chromium", nullptr},
        {"MyChromium fans - Other", "Chromium", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.window);
        EXPECT_EQ(TRBrowserWindowMode::modeOfWindow(q(c.window), q(c.browser)),
                  c.mode ? std::optional(q(c.mode)) : std::nullopt);
    }
}
