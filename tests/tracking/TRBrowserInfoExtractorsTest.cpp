// The browser extractors against a fake scriptable browser: every failure
// removes the details (the time stays the browser's, nothing about the page
// is kept), a private window is never read further, and the developer
// tools stand for the page they inspect.

#include <gtest/gtest.h>

#include "fakes/FakeScriptingTargets.h"
#include "ExtractionFixture.h"
#include "tracking/bridge/TRBrowserWindowMode.h"
#include "tracking/TRChromeInfoExtractor.h"
#include "tracking/TRFirefoxInfoExtractor.h"
#include "tracking/TROperaInfoExtractor.h"
#include "tracking/TRSafariInfoExtractor.h"

namespace {

constexpr qint32 kPid = 300;
constexpr char kPage[] = "http://127.0.0.1:8080/reports/2026.html";

ScriptValue str(const char* s) { return ScriptValue{QString::fromUtf8(s)}; }
ScriptValue ref(const char* s) { return FakeScriptedApplication::referenceTo(QString::fromUtf8(s)); }
ScriptValue number(double d) { return ScriptValue{d}; }
ScriptValue url(const char* s) { return ScriptValue{QUrl(QString::fromUtf8(s))}; }

enum class Fault { None, NotRunning, NoTarget, StopsAnswering };

struct Answer {
    const char* reference;
    ScriptValue value;
};

struct BrowserCase {
    const char* name;
    std::vector<Answer> answers;
    Fault fault = Fault::None;
    const char* windowTitle = "Yearly report - Chromium";
    // nullptr: the details are removed.
    const char* wantDocumentPath = nullptr;
};

void run(const TRApplicationInfoExtractor& extractor, const BrowserCase& c) {
    SCOPED_TRACE(c.name);
    FakeScriptingTargets scripting;
    TRExtractionContext context;
    context.scriptingTargets = &scripting;
    if (c.fault != Fault::NoTarget) {
        auto browser = scripting.application(kPid);
        for (const Answer& a : c.answers) browser->answer(QString::fromUtf8(a.reference), a.value);
        browser->setRunning(c.fault != Fault::NotRunning);
        browser->setUnscriptable(c.fault == Fault::StopsAnswering);
    }
    TRActivity activity = makeActivity(makeApplication(kPid, QStringLiteral("chromium")));
    activity.setWindowTitle(QString::fromUtf8(c.windowTitle));
    activity.setDocumentPath(QStringLiteral("http://from.the.tree/"));
    extractor.writeDetailsForActivity(activity, context);
    ASSERT_NE(activity.runningApplication(), nullptr) << "the time stays the browser's";
    if (c.wantDocumentPath == nullptr) {
        EXPECT_FALSE(activity.details().has_value()) << activity.documentPath().toStdString();
    } else {
        ASSERT_TRUE(activity.details().has_value());
        EXPECT_EQ(activity.documentPath(), QString::fromUtf8(c.wantDocumentPath));
    }
}

const Answer kNormal{"cwin[1].mode", str("normal")};
const Answer kPageAddress{"cwin[1].acTa.URL ", str(kPage)};

}  // namespace

TEST(TRChromeInfoExtractorTest, RemovesTheDetailsOnEveryFailureAndInIncognitoWindows) {
    const BrowserCase cases[] = {
        {"a normal window: the active tab's address", {kNormal, kPageAddress}, Fault::None,
         "Yearly report - Chromium", kPage},
        {"an incognito window, whatever else it answers",
         {{"cwin[1].mode", str("incognito")}, kPageAddress}},
        {"the browser has quit", {kNormal, kPageAddress}, Fault::NotRunning},
        {"no way to ask this browser", {}, Fault::NoTarget},
        {"the browser stops answering (timeout)", {kNormal, kPageAddress}, Fault::StopsAnswering},
        {"no window: the mode cannot be read", {kPageAddress}},
        {"a mode of the wrong kind", {{"cwin[1].mode", number(1)}, kPageAddress}},
        {"no active tab", {kNormal}},
        {"an address of the wrong kind", {kNormal, {"cwin[1].acTa.URL ", ref("cwin[1].acTa")}}},
        {"an address given as a URL value", {kNormal, {"cwin[1].acTa.URL ", url(kPage)}}},
    };
    for (const BrowserCase& c : cases) run(TRChromeInfoExtractor::instance(), c);
}

TEST(TRChromeInfoExtractorTest, DeveloperToolsInFrontStandForTheInspectedPage) {
    const char* const tools = "devtools://devtools/bundled/devtools_app.html?panel=console";
    const char* const olderTools = "chrome-devtools://devtools/bundled/inspector.html";
    const BrowserCase cases[] = {
        {"today's tools, the page after a label in the title",
         {kNormal, {"cwin[1].acTa.URL ", str(tools)}}, Fault::None,
         "DevTools - http://127.0.0.1:8080/a.html", "http://127.0.0.1:8080/a.html"},
        {"the older scheme, cut at the first of two addresses",
         {kNormal, {"cwin[1].acTa.URL ", str(olderTools)}}, Fault::None,
         "Developer Tools - https://a.example/ via http://b.example/",
         "https://a.example/ via http://b.example/"},
        {"a title without an address: the tools' own address",
         {kNormal, {"cwin[1].acTa.URL ", str(tools)}}, Fault::None, "DevTools - 127.0.0.1:8080/a.html",
         tools},
        {"an ordinary page whose title names an address keeps its own",
         {kNormal, kPageAddress}, Fault::None, "Read http://elsewhere/ - Chromium", kPage},
        {"today's tools name the page without its scheme: the window showing it",
         {kNormal,
          {"cwin[1].acTa.URL ", str(tools)},
          {"cwin[3].acTa.URL ", str("http://127.0.0.1:8080/b.html")},
          {"cwin[4].acTa.URL ", str("https://127.0.0.1:8080/a.html")}},
         Fault::None, "DevTools - 127.0.0.1:8080/a.html", "https://127.0.0.1:8080/a.html"},
        {"incognito tools are incognito", {{"cwin[1].mode", str("incognito")},
                                           {"cwin[1].acTa.URL ", str(tools)}},
         Fault::None, "DevTools - http://127.0.0.1:8080/a.html"},
    };
    for (const BrowserCase& c : cases) run(TRChromeInfoExtractor::instance(), c);
}

TEST(TRFirefoxInfoExtractorTest, ReadsTheActiveTabOfANormalWindowOnly) {
    const BrowserCase cases[] = {
        {"a normal window", {kNormal, kPageAddress}, Fault::None, "page — Mozilla Firefox", kPage},
        {"a private window", {{"cwin[1].mode", str("incognito")}, kPageAddress}},
        {"an unknown mode counts as private", {{"cwin[1].mode", str("")}, kPageAddress}},
        {"the browser has quit", {kNormal, kPageAddress}, Fault::NotRunning},
        {"the browser stops answering (timeout)", {kNormal, kPageAddress}, Fault::StopsAnswering},
        {"no window", {kPageAddress}},
        {"no active tab", {kNormal}},
        {"an address of the wrong kind", {kNormal, {"cwin[1].acTa.URL ", number(3)}}},
    };
    for (const BrowserCase& c : cases) run(TRFirefoxInfoExtractor::instance(), c);
}

TEST(TRSafariInfoExtractorTest, ReadsDocumentOnesAddressAndRemovesTheDetailsOtherwise) {
    const BrowserCase cases[] = {
        {"document 1's address as text",
         {{"docu[1]", ref("docu[1]")}, {"docu[1].pURL", str(kPage)}}, Fault::None, "", kPage},
        {"document 1's address as a URL value",
         {{"docu[1]", ref("docu[1]")}, {"docu[1].pURL", url(kPage)}}, Fault::None, "", kPage},
        {"no document open", {{"docu[1]", str("no reference")}, {"docu[1].pURL", str(kPage)}}},
        {"a document without an address", {{"docu[1]", ref("docu[1]")}}},
        {"an address of the wrong kind", {{"docu[1]", ref("docu[1]")}, {"docu[1].pURL", number(2)}}},
        {"the browser has quit", {{"docu[1]", ref("docu[1]")}}, Fault::NotRunning},
        {"the browser stops answering (timeout)",
         {{"docu[1]", ref("docu[1]")}, {"docu[1].pURL", str(kPage)}}, Fault::StopsAnswering},
    };
    for (const BrowserCase& c : cases) run(TRSafariInfoExtractor::instance(), c);
}

TEST(TROperaInfoExtractorTest, ReadsWindowOnesAlternativeURLOrRemovesTheDetails) {
    const BrowserCase cases[] = {
        {"the alternative URL", {{"cwin[1].url ", str(kPage)}}, Fault::None, "", kPage},
        {"no alternative URL", {}},
        {"of the wrong kind", {{"cwin[1].url ", url(kPage)}}},
        {"the browser has quit", {{"cwin[1].url ", str(kPage)}}, Fault::NotRunning},
        {"the browser stops answering (timeout)", {{"cwin[1].url ", str(kPage)}},
         Fault::StopsAnswering},
    };
    for (const BrowserCase& c : cases) run(TROperaInfoExtractor::instance(), c);
}

// What browsers really call their windows, in English and German.
TEST(TRBrowserWindowModeTest, AWordAfterTheBrowsersNameMarksAPrivateWindow) {
    const struct {
        const char* window;
        const char* browser;
        const char* mode;  // nullptr: unreadable
    } cases[] = {
        {"page one - Chromium", "Chromium", "normal"},
        {"page one - Chromium (Incognito)", "Chromium", "incognito"},
        {"Seite eins - Chromium (anonym)", "Chromium", "incognito"},
        {"page one - Chromium (Guest)", "Chromium", "incognito"},
        {"Chromium", "Chromium", "normal"},
        {"Why Chromium (the browser) - Chromium", "Chromium", "normal"},
        {"Chromium (Incognito) - Chromium (Incognito)", "Chromium", "incognito"},
        {"page - Google Chrome - Work", "Google Chrome", "normal"},
        {"page - Google Chrome - Work (Incognito)", "Google Chrome", "incognito"},
        {"page one \u2014 Mozilla Firefox", "Firefox", "normal"},
        {"page one \u2014 Mozilla Firefox Private Browsing", "Firefox", "incognito"},
        {"Seite eins \u2014 Mozilla Firefox Privater Modus", "Firefox", "incognito"},
        {"Mozilla Firefox", "Firefox", "normal"},
        {"DevTools - 127.0.0.1:8765/one.html", "Chromium", "normal"},
        {"DevTools - 127.0.0.1:8765/two.html (Incognito)", "Chromium", "incognito"},
        {"DevTools - a.example/ (anonym)\u200f", "Chromium", "incognito"},
        {"", "Chromium", nullptr},
        {"page one", "Chromium", nullptr},
        {"MyChromium fans - Other", "Chromium", nullptr},
        {"page - Chromium", "", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.window);
        const auto mode = TRBrowserWindowMode::modeOfWindow(QString::fromUtf8(c.window),
                                                            QString::fromUtf8(c.browser));
        if (c.mode == nullptr) {
            EXPECT_FALSE(mode.has_value()) << mode->toStdString();
        } else {
            EXPECT_EQ(mode, std::optional<QString>(QString::fromUtf8(c.mode)));
        }
    }
}
