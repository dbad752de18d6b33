// The notices checker against a real web server on 127.0.0.1 serving the
// property lists in tests/data/notices, with a real settings file and a
// clock the test moves.
#include <gtest/gtest.h>

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <memory>

#include "core/TRSettings.h"
#include "notices/iNotify.h"

namespace {

struct RecordingPresenter final : iNotifyAlertPresenter {
    void presentAlert(const iNotifyAlert& alert, std::function<void(iNotifyButton)> done) override {
        alerts.push_back(alert);
        answer = std::move(done);
    }
    void openURL(const QUrl& address) override { opened.push_back(address); }
    std::vector<iNotifyAlert> alerts;
    std::function<void(iNotifyButton)> answer;
    std::vector<QUrl> opened;
};

struct RecordingDelegate final : iNotifyDelegate {
    void iNotifyNotificationsCheckDidFailWithError(const TRError&) override { ++failures; }
    int failures = 0;
};

class NoticesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        server = new QProcess;
        server->start(QStringLiteral("python3"),
                      {QStringLiteral("-u"), QStringLiteral("-m"), QStringLiteral("http.server"),
                       QStringLiteral("--bind"), QStringLiteral("127.0.0.1"), QStringLiteral("0"),
                       QStringLiteral("--directory"), QStringLiteral(NOTICES_TEST_DATA)});
        // "Serving HTTP on 127.0.0.1 port 40123 (http://127.0.0.1:40123/) ..."
        while (!server->canReadLine() && server->waitForReadyRead(10000)) {}
        const QString line = QString::fromUtf8(server->readLine());
        baseAddress = line.section(QLatin1Char('('), 1).section(QLatin1Char(')'), 0, 0);
    }
    static void TearDownTestSuite() {
        server->kill();
        server->waitForFinished();
        delete server;
    }

    void SetUp() override {
        ASSERT_TRUE(baseAddress.startsWith(QStringLiteral("http://127.0.0.1:"))) << baseAddress.toStdString();
        settings = std::make_unique<TRSettings>(dir.filePath(QStringLiteral("VorlixHelper.conf")));
        // Past the first launch, never checked.
        settings->setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
        checker = std::make_unique<iNotify>(*settings, [this] { return now; });
        checker->setPresenter(&presenter);
        checker->setDelegate(&delegate);
        checker->options().applicationVersion = QStringLiteral("1.0");
    }

    void serve(const char* file) {
        settings->setValue(TRSettingKey::notificationsPlistURL, baseAddress + QString::fromLatin1(file));
    }
    void check() {
        QSignalSpy done(checker.get(), &iNotify::notificationsChecked);
        checker->checkForNotifications();
        ASSERT_TRUE(done.wait(20000));
    }
    QStringList keys() const {
        QStringList found;
        for (const auto& entry : checker->notificationsDict().value_or(TRNotices())) found << entry.first;
        return found;
    }

    static inline QProcess* server = nullptr;
    static inline QString baseAddress;
    QTemporaryDir dir;
    QDateTime now = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    std::unique_ptr<TRSettings> settings;
    RecordingPresenter presenter;
    RecordingDelegate delegate;
    std::unique_ptr<iNotify> checker;
};

TEST_F(NoticesTest, ChecksAfterTheFirstLaunchAtMostEveryHalfDayAndADayAfterAReminder) {
    struct Row {
        const char* name;
        std::optional<int> hoursSinceCheck, hoursSinceReminder;
        bool expected;
    };
    const Row rows[] = {
        {"never checked", {}, {}, true},
        {"11 h after a check", 11, {}, false},
        {"13 h after a check", 13, {}, true},
        {"13 h after a reminder", 48, 13, false},
        {"25 h after a reminder", 1, 25, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        settings->removeValue(TRSettingKey::iNotifyLastChecked);
        settings->removeValue(TRSettingKey::iNotifyLastReminded);
        if (row.hoursSinceCheck) {
            settings->setValue(TRSettingKey::iNotifyLastChecked, now.addSecs(-3600 * *row.hoursSinceCheck));
        }
        if (row.hoursSinceReminder) {
            settings->setValue(TRSettingKey::iNotifyLastReminded,
                               now.addSecs(-3600 * *row.hoursSinceReminder));
        }
        EXPECT_EQ(checker->shouldCheckForNotifications(), row.expected);
    }
}

TEST_F(NoticesTest, TheFirstLaunchOnlyNotesItselfUnlessDebugging) {
    settings->removeValue(TRSettingKey::iNotifyIgnoredNotifications);
    checker->options().debug = true;
    EXPECT_TRUE(checker->shouldCheckForNotifications());
    EXPECT_FALSE(settings->snapshot().iNotifyIgnoredNotifications);
    checker->options().debug = false;
    EXPECT_FALSE(checker->shouldCheckForNotifications());
    EXPECT_EQ(TRSettings(dir.filePath(QStringLiteral("VorlixHelper.conf"))).snapshot().iNotifyIgnoredNotifications,
              QStringList());
    EXPECT_TRUE(checker->shouldCheckForNotifications());
}

TEST_F(NoticesTest, ShowsTheNewestNoticeOrTheOldestWhenAsked) {
    serve("abc.plist");
    for (const bool oldestFirst : {false, true}) {
        SCOPED_TRACE(oldestFirst ? "oldest first" : "newest first");
        presenter.alerts.clear();
        checker->options().showOldestFirst = oldestFirst;
        check();
        ASSERT_EQ(presenter.alerts.size(), 1u);
        const iNotifyAlert& shown = presenter.alerts.front();
        if (oldestFirst) {  // "a": no address, only OK; "%%" in its text is one "%"
            EXPECT_EQ(shown.informativeText, QStringLiteral("Only 100% private."));
            EXPECT_EQ(shown.defaultButton, QStringLiteral("OK"));
            EXPECT_TRUE(shown.alternateButton.isEmpty() && shown.otherButton.isEmpty());
        } else {  // "c", after "B" whatever the case
            EXPECT_EQ(shown.messageText, QStringLiteral("Reports for the last five years"));
            EXPECT_EQ(shown.defaultButton, QStringLiteral("Read the Notes"));
            EXPECT_EQ(shown.alternateButton, QStringLiteral("Ignore"));
            EXPECT_EQ(shown.otherButton, QStringLiteral("Remind Me Later"));
        }
        presenter.answer(iNotifyButton::Other);
    }
    EXPECT_EQ(settings->snapshot().iNotifyLastChecked, now);
}

TEST_F(NoticesTest, KeepsOnlyNoticesForThisVersionComparedPieceByPiece) {
    serve("versions.plist");
    const std::pair<const char*, QStringList> rows[] = {
        {"1.9", {QStringLiteral("up-to-1.9")}},
        {"1.10", {QStringLiteral("from-1.10")}},
        {"2.0", {QStringLiteral("from-1.10"), QStringLiteral("from-2.0")}},
    };
    for (const auto& [version, expected] : rows) {
        SCOPED_TRACE(version);
        checker->options().applicationVersion = QString::fromLatin1(version);
        check();
        EXPECT_EQ(keys(), expected);
        if (presenter.answer) std::exchange(presenter.answer, nullptr)(iNotifyButton::Other);
    }
}

TEST_F(NoticesTest, AFailedCheckShowsNothingAndStillWaitsForTheCheckPeriod) {
    for (const char* file : {"malformed.plist", "missing.plist"}) {
        SCOPED_TRACE(file);
        serve(file);
        now = now.addDays(1);
        delegate.failures = 0;
        check();
        EXPECT_FALSE(checker->notificationsDict());
        EXPECT_EQ(delegate.failures, 1);
        EXPECT_TRUE(presenter.alerts.empty());
        EXPECT_EQ(settings->snapshot().iNotifyLastChecked, now);
        now = now.addSecs(11 * 3600);
        EXPECT_FALSE(checker->shouldCheckForNotifications());
    }
}

TEST_F(NoticesTest, NothingIsDownloadedWhileTheAddressIsUnset) {
    checker->checkForNotifications();
    QCoreApplication::processEvents();
    EXPECT_FALSE(settings->snapshot().iNotifyLastChecked);
}

TEST_F(NoticesTest, RemembersEachAnswer) {
    struct Row {
        iNotifyButton button;
        const char* viewed;
        const char* ignored;
        bool reminded;
        const char* nextShown;  // after the next check
    };
    const Row rows[] = {
        {iNotifyButton::Default, "c", "", false, "Middle notice"},
        {iNotifyButton::Alternate, "", "c", false, "Middle notice"},
        {iNotifyButton::Other, "", "", true, "Reports for the last five years"},
    };
    serve("abc.plist");
    for (const Row& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.button));
        settings->setValue(TRSettingKey::iNotifyViewedNotifications, QStringList());
        settings->setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
        settings->setValue(TRSettingKey::iNotifyLastReminded, now.addDays(-3));
        presenter.alerts.clear();
        presenter.opened.clear();
        check();
        presenter.answer(row.button);
        const TRSettingsSnapshot& state = settings->snapshot();
        EXPECT_EQ(state.iNotifyViewedNotifications.value_or(QStringList()).join(QLatin1Char(',')),
                  QString::fromLatin1(row.viewed));
        EXPECT_EQ(state.iNotifyIgnoredNotifications->join(QLatin1Char(',')), QString::fromLatin1(row.ignored));
        EXPECT_EQ(state.iNotifyLastReminded == now, row.reminded);
        EXPECT_EQ(presenter.opened.size(), row.button == iNotifyButton::Default ? 1u : 0u);
        check();
        EXPECT_EQ(presenter.alerts.back().messageText, QString::fromLatin1(row.nextShown));
        presenter.answer(iNotifyButton::Other);
    }
}

TEST_F(NoticesTest, DebugBringsViewedNoticesBackOnceAllAreViewed) {
    serve("abc.plist");
    settings->setValue(TRSettingKey::iNotifyViewedNotifications,
                       QStringList{QStringLiteral("a"), QStringLiteral("B"), QStringLiteral("c")});
    check();
    EXPECT_TRUE(presenter.alerts.empty());
    checker->options().debug = true;
    check();
    ASSERT_EQ(presenter.alerts.size(), 1u);
    EXPECT_EQ(presenter.alerts.front().messageText, QStringLiteral("Reports for the last five years"));
    EXPECT_EQ(settings->snapshot().iNotifyViewedNotifications, QStringList());
}

}  // namespace
