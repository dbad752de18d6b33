// The start-up questions and the quit question, answered as a user would,
// with and without "do not show this message again".

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include "UiTestSupport.h"
#include "ui/TRAlert.h"

using namespace Qt::Literals::StringLiterals;

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
    const QString login = u"Launch at Login"_s, dontStart = u"Don't start automatically"_s;
    // Before: starts at login, login question suppressed, accessibility on,
    // accessibility question suppressed; the answers; the questions asked;
    // after: starts at login, the two boxes remembered, accessibility
    // switched on (times).
    const struct {
        const char* name;
        bool atLogin, loginSuppressed, accessibilityOn, accessibilitySuppressed;
        std::vector<QuestionAnswerer::Answer> answers;
        QStringList asked;
        bool atLoginAfter, loginSuppressedAfter, accessibilitySuppressedAfter;
        int switchedOn;
    } cases[] = {
        // clang-format off
        {"first start, yes to both", false, false, false, false,
         {{login}, {u"Open System Preferences"_s}}, {kLoginQuestion, kAccessibilityQuestion},
         true, false, false, 1},
        {"declined without the box: asked again next start", false, false, true, false,
         {{dontStart}}, {kLoginQuestion}, false, false, false, 0},
        {"declined with the box: never again", false, false, true, false,
         {{dontStart, true}}, {kLoginQuestion}, false, true, false, 0},
        {"accepted with the box", false, false, true, false,
         {{login, true}}, {kLoginQuestion}, true, true, false, 0},
        {"already starts at login, accessibility on: no question", true, false, true, false,
         {}, {}, true, false, false, 0},
        {"both suppressed, accessibility off: straight to the status item", false, true, false, true,
         {}, {}, false, true, true, 0},
        {"accessibility off, continue anyway with the box", false, true, false, false,
         {{u"Continue Anyway"_s, true}}, {kAccessibilityQuestion}, false, true, true, 0},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        freshAccount();
        if (c.atLogin) loginItems->setStartItemAtLogin(u"/opt/vorlix/lib/vorlix-helper"_s, true);
        settings->setValue(TRSettingKey::dontAskToLaunchAtLogin, c.loginSuppressed);
        settings->setValue(TRSettingKey::dontNotifyAboutDisabledAccessibilityAPI,
                           c.accessibilitySuppressed);
        accessibilityEnabled = c.accessibilityOn;
        for (const auto& answer : c.answers) answerer.expect(answer);

        TRHelperAppDelegate& face = makeDelegate();
        face.awakeFromNib();

        EXPECT_EQ(answerer.asked, c.asked);
        EXPECT_EQ(face.startupManager().shouldStartAtLogin(), c.atLoginAfter);
        EXPECT_EQ(settings->snapshot().dontAskToLaunchAtLogin, c.loginSuppressedAfter);
        EXPECT_EQ(settings->snapshot().dontNotifyAboutDisabledAccessibilityAPI,
                  c.accessibilitySuppressedAfter);
        EXPECT_EQ(accessibilityEnableCalls, c.switchedOn);
        EXPECT_TRUE(logger->shouldTrack()) << "tracking starts after the questions";
        logger->endTracking();
    }
}

TEST_F(HelperQuestionsTest, QuitAsksUnlessTheBoxWasEverTicked) {
    const QString keep = u"Keep Tracking"_s;
    const struct {
        const char* name;
        bool silentBefore;
        std::vector<QuestionAnswerer::Answer> answers;
        int asked, quitsAfterFirst;
        bool silentAfter;
        int quitsAfterSecond;  // a second quit, answered "Keep Tracking" if asked
    } cases[] = {
        // clang-format off
        {"silent quit set: no question", true, {}, 0, 1, true, 2},
        {"keep tracking", false, {{keep}}, 1, 0, false, 0},
        // The box ticked while keeping tracking still makes the next quit silent.
        {"keep tracking with the box", false, {{keep, true}}, 1, 0, true, 1},
        {"quit", false, {{u"Quit Menu Item"_s}}, 1, 1, false, 1},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        freshAccount();
        settings->setValue(TRSettingKey::shouldQuitHelperFromMenuItem, c.silentBefore);
        for (const auto& answer : c.answers) answerer.expect(answer);
        TRHelperAppDelegate& face = makeDelegate();

        face.askToQuit();
        EXPECT_EQ(answerer.asked, QStringList(c.asked, kQuitQuestion));
        EXPECT_EQ(terminations, c.quitsAfterFirst);
        EXPECT_EQ(settings->snapshot().shouldQuitHelperFromMenuItem, c.silentAfter);
        answerer.expect({keep});
        face.askToQuit();
        EXPECT_EQ(terminations, c.quitsAfterSecond);
    }
}

// Help opens the help page at the question's section and leaves the
// question open.
class HelpPageCatcher : public QObject {
    Q_OBJECT
public Q_SLOTS:
    void open(const QUrl& url) { opened << url; }

public:
    QList<QUrl> opened;
};

TEST_F(HelperQuestionsTest, HelpOpensTheQuestionsSectionAndKeepsItOpen) {
    HelpPageCatcher catcher;
    QDesktopServices::setUrlHandler(u"file"_s, &catcher, "open");
    std::unique_ptr<QMessageBox> box(TRAlert::create(TRAlert::accessibilityQuestion()));
    box->show();
    for (QAbstractButton* button : box->buttons()) {
        if (box->buttonRole(button) == QMessageBox::HelpRole) button->click();
    }
    QDesktopServices::unsetUrlHandler(u"file"_s);
    ASSERT_EQ(catcher.opened.size(), 1);
    EXPECT_EQ(catcher.opened.constFirst().fragment(), u"EnablingAccessibilitySupport"_s);
    EXPECT_TRUE(QFileInfo::exists(catcher.opened.constFirst().toLocalFile()));
    EXPECT_TRUE(box->isVisible()) << "the question is still waiting for an answer";
}

}  // namespace

#include "HelperQuestionsTest.moc"
