// The start-up questions and the quit question, answered as a user would,
// with and without "do not show this message again".

#include <QFile>
#include <QDir>

#include "UiTestSupport.h"

namespace {

const QString kLoginQuestion =
    QStringLiteral("Would you like to have the Vorlix menu item launch automatically at login?");
const QString kAccessibilityQuestion = QStringLiteral(
    "Vorlix can't track most documents' paths if the Accessibility API is disabled.");
const QString kQuitQuestion = QStringLiteral("Do you really wish to quit the Vorlix menu item?");

class HelperQuestionsTest : public UiTest {
protected:
    // A first start in a fresh account: no settings, no autostart entry.
    void freshAccount() {
        delegate.reset();
        QFile::remove(folder(QStringLiteral("helper.conf")));
        QDir(folder(QStringLiteral("autostart"))).removeRecursively();
        settings->reload();
        answerer.forget();
        terminations = 0;
        accessibilityEnableCalls = 0;
    }
};

TEST_F(HelperQuestionsTest, StartUpAsksWhatIsNotSettledAndRemembersTheBoxes) {
    const struct {
        const char* name;
        bool alreadyStartsAtLogin;
        bool loginQuestionSuppressed;
        bool accessibilityOn;
        bool accessibilityQuestionSuppressed;
        std::vector<QuestionAnswerer::Answer> answers;
        QStringList expectedQuestions;
        bool startsAtLoginAfter;
        bool loginQuestionSuppressedAfter;
        int accessibilitySwitchedOn;
        bool accessibilityQuestionSuppressedAfter;
    } cases[] = {
        {"first start, yes to both", false, false, false, false,
         {{QStringLiteral("Launch at Login")}, {QStringLiteral("Open System Preferences")}},
         {kLoginQuestion, kAccessibilityQuestion}, true, false, 1, false},
        {"declined without the box: asked again next start", false, false, true, false,
         {{QStringLiteral("Don't start automatically")}}, {kLoginQuestion}, false, false, 0, false},
        {"declined with the box: never again", false, false, true, false,
         {{QStringLiteral("Don't start automatically"), true}}, {kLoginQuestion}, false, true, 0,
         false},
        {"accepted with the box", false, false, true, false,
         {{QStringLiteral("Launch at Login"), true}}, {kLoginQuestion}, true, true, 0, false},
        {"already starts at login, accessibility on: no question", true, false, true, false, {},
         {}, true, false, 0, false},
        {"both suppressed, accessibility off: straight to the status item", false, true, false,
         true, {}, {}, false, true, 0, true},
        {"accessibility off, continue anyway with the box", false, true, false, false,
         {{QStringLiteral("Continue Anyway"), true}}, {kAccessibilityQuestion}, false, true, 0,
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        freshAccount();
        if (c.alreadyStartsAtLogin) loginItems->setStartItemAtLogin(QStringLiteral("/opt/vorlix/lib/vorlix-helper"), true);
        if (c.loginQuestionSuppressed) settings->setValue(TRSettingKey::dontAskToLaunchAtLogin, true);
        if (c.accessibilityQuestionSuppressed) {
            settings->setValue(TRSettingKey::dontNotifyAboutDisabledAccessibilityAPI, true);
        }
        accessibilityEnabled = c.accessibilityOn;
        for (const auto& answer : c.answers) answerer.expect(answer);

        TRHelperAppDelegate& face = makeDelegate();
        face.awakeFromNib();

        EXPECT_EQ(answerer.asked, c.expectedQuestions);
        EXPECT_EQ(face.startupManager().shouldStartAtLogin(), c.startsAtLoginAfter);
        EXPECT_EQ(settings->snapshot().dontAskToLaunchAtLogin, c.loginQuestionSuppressedAfter);
        EXPECT_EQ(accessibilityEnableCalls, c.accessibilitySwitchedOn);
        EXPECT_EQ(settings->snapshot().dontNotifyAboutDisabledAccessibilityAPI,
                  c.accessibilityQuestionSuppressedAfter);
        EXPECT_TRUE(logger->shouldTrack()) << "tracking starts after the questions";
        logger->endTracking();
    }
}

TEST_F(HelperQuestionsTest, QuitAsksUnlessTheBoxWasEverTicked) {
    const struct {
        const char* name;
        bool quitSilentlyBefore;
        std::vector<QuestionAnswerer::Answer> answers;
        int questionsAsked;
        int terminationsAfterFirst;
        bool quitSilentlyAfter;
        int terminationsAfterSecondQuit;
    } cases[] = {
        {"silent quit set: no question", true, {}, 0, 1, true, 2},
        {"keep tracking", false, {{QStringLiteral("Keep Tracking")}}, 1, 0, false, 0},
        // The box ticked while keeping tracking still makes the next quit silent.
        {"keep tracking with the box", false, {{QStringLiteral("Keep Tracking"), true}}, 1, 0, true,
         1},
        {"quit", false, {{QStringLiteral("Quit Menu Item")}}, 1, 1, false, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        freshAccount();
        settings->setValue(TRSettingKey::shouldQuitHelperFromMenuItem, c.quitSilentlyBefore);
        for (const auto& answer : c.answers) answerer.expect(answer);
        TRHelperAppDelegate& face = makeDelegate();

        face.askToQuit();
        EXPECT_EQ(answerer.asked.size(), c.questionsAsked);
        if (!answerer.asked.isEmpty()) {
            EXPECT_EQ(answerer.asked.constFirst(), kQuitQuestion);
        }
        EXPECT_EQ(terminations, c.terminationsAfterFirst);
        EXPECT_EQ(settings->snapshot().shouldQuitHelperFromMenuItem, c.quitSilentlyAfter);

        // A second quit, answered "Keep Tracking" if it asks.
        answerer.expect({QStringLiteral("Keep Tracking")});
        face.askToQuit();
        EXPECT_EQ(terminations, c.terminationsAfterSecondQuit);
    }
}

}  // namespace
