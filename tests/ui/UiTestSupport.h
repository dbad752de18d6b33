#pragma once
// The helper's face on fakes: a real activity store and settings file in a
// temporary folder, a tracking loop on fake sources (no timers), login items
// in a temporary autostart folder, and someone who answers the questions.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QMessageBox>
#include <QPointer>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>
#include <deque>
#include <memory>

#include "core/TRSettings.h"
#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "fakes/FakeIdleTimeSource.h"
#include "fakes/QtTestPrinters.h"
#include "fakes/SimulatedClock.h"
#include "platform/linux/XdgAutostartLoginItems.h"
#include "store/activity/TRActivityStore.h"
#include "tracking/TRInfoLogger.h"
#include "ui/TRHelperAppDelegate.h"

// Answers each modal question as it appears, in order: ticks the box if
// told to and presses the button with the given text. A question nobody
// expected is recorded and dismissed with its escape button.
class QuestionAnswerer final {
public:
    struct Answer {
        QString button;
        bool tickBox = false;
    };

    QuestionAnswerer() {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { answerOpenQuestion(); });
        m_timer.start(5);
    }
    void expect(const Answer& answer) { m_answers.push_back(answer); }
    void forget() {
        m_answers.clear();
        asked.clear();
    }
    QStringList asked;  // the questions' messages, in order

private:
    void answerOpenQuestion() {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (box == nullptr || !box->isVisible()) return;
        asked << box->text();
        if (m_answers.empty()) {
            box->escapeButton()->click();
            return;
        }
        const Answer answer = m_answers.front();
        m_answers.pop_front();
        box->checkBox()->setChecked(answer.tickBox);
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == answer.button) {
                button->click();
                return;
            }
        }
        ADD_FAILURE() << "no button " << answer.button.toStdString();
        box->escapeButton()->click();
    }

    QTimer m_timer;
    std::deque<Answer> m_answers;
};

class UiTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_folder.isValid());
        settings = std::make_shared<TRSettings>(m_folder.filePath(QStringLiteral("helper.conf")));
        TRActivityStore::Options options;
        options.dataFolder = m_folder.filePath(QStringLiteral("data"));
        options.settings = settings;
        store = std::make_unique<TRActivityStore>(std::move(options));
        loginItems = std::make_unique<XdgAutostartLoginItems>(
            m_folder.filePath(QStringLiteral("autostart")));
        TRInfoLoggerDependencies loop;
        loop.activitySource = &source;
        loop.recorder = &recorder;
        loop.idleTimeSource = &idle;
        loop.clock = &clock;
        loop.settings = settings.get();
        loop.runTimers = false;
        logger = std::make_unique<TRInfoLogger>(std::move(loop));
    }
    void TearDown() override {
        delegate.reset();
        logger.reset();
    }

    TRHelperAppDelegate& makeDelegate(bool gnomeShellExtensionOff = false) {
        TRHelperAppDelegateDependencies face;
        face.gnomeShellExtensionOff = gnomeShellExtensionOff;
        face.logger = logger.get();
        face.settings = settings.get();
        face.store = store.get();
        face.loginItems = loginItems.get();
        face.accessibilityEnabled = [this] { return accessibilityEnabled; };
        face.enableAccessibility = [this] { ++accessibilityEnableCalls; };
        face.terminate = [this] { ++terminations; };
        face.helperPath = QStringLiteral("/opt/vorlix/lib/vorlix-helper");
        delegate = std::make_unique<TRHelperAppDelegate>(std::move(face));
        return *delegate;
    }

    QString folder(const QString& name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    std::shared_ptr<TRSettings> settings;
    std::unique_ptr<TRActivityStore> store;
    std::unique_ptr<XdgAutostartLoginItems> loginItems;
    SimulatedClock clock;
    FakeIdleTimeSource idle{clock};
    FakeActivitySource source;
    FakeActivityRecorder recorder;
    std::unique_ptr<TRInfoLogger> logger;
    std::unique_ptr<TRHelperAppDelegate> delegate;
    QuestionAnswerer answerer;
    bool accessibilityEnabled = true;
    int accessibilityEnableCalls = 0;
    int terminations = 0;
};
