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

using namespace Qt::Literals::StringLiterals;

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

class NoticesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        server = new QProcess;
        server->start(u"python3"_s,
                      {u"-u"_s, u"-m"_s, u"http.server"_s, u"--bind"_s, u"127.0.0.1"_s, u"0"_s,
                       u"--directory"_s, QStringLiteral(NOTICES_TEST_DATA)});
        // "Serving HTTP on 127.0.0.1 port 40123 (http://127.0.0.1:40123/) ..."
        while (!server->canReadLine() && server->waitForReadyRead(10000)) {
        }
        const QString line = QString::fromUtf8(server->readLine());
        baseAddress = line.section(QLatin1Char('('), 1).section(QLatin1Char(')'), 0, 0);
    }
    static void TearDownTestSuite() {
        server->kill();
        server->waitForFinished();
        delete server;
    }

    void SetUp() override {
        ASSERT_TRUE(baseAddress.startsWith(u"http://127.0.0.1:"_s)) << baseAddress.toStdString();
        settings = std::make_unique<TRSettings>(dir.filePath(u"VorlixHelper.conf"_s));
        // Past the first launch, never checked.
        settings->setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
        checker = std::make_unique<iNotify>(*settings, [this] { return now; });
        checker->setPresenter(&presenter);
        checker->options().applicationVersion = u"1.0"_s;
    }

    void serve(const char* file) {
        settings->setValue(TRSettingKey::notificationsPlistURL,
                           baseAddress + QString::fromLatin1(file));
    }
    void check() {
        QSignalSpy done(checker.get(), &iNotify::notificationsChecked);
        checker->checkForNotifications();
        ASSERT_TRUE(done.wait(20000));
    }
    TRSettingsSnapshot fromFile() const {
        return TRSettings(dir.filePath(u"VorlixHelper.conf"_s)).snapshot();
    }
    QStringList keys() const {
        QStringList found;
        for (const auto& [key, notice] : *checker->notificationsDict()) found << key;
        return found;
    }

    static inline QProcess* server = nullptr;
    static inline QString baseAddress;
    QTemporaryDir dir;
    QDateTime now = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    std::unique_ptr<TRSettings> settings;
    RecordingPresenter presenter;
    std::unique_ptr<iNotify> checker;
};

// Rows run in order on one settings file: the first launch leaves its mark.
TEST_F(NoticesTest, ChecksAfterTheFirstLaunchAtMostEveryHalfDayAndADayAfterAReminder) {
    const struct {
        const char* name;
        std::optional<int> hoursSinceCheck, hoursSinceReminder;
        bool expected;
    } rows[] = {
        {"first launch", {}, {}, false},          {"second launch, never checked", {}, {}, true},
        {"11 h after a check", 11, {}, false},    {"13 h after a check", 13, {}, true},
        {"13 h after a reminder", 48, 13, false}, {"25 h after a reminder", 1, 25, true},
    };
    settings->removeValue(TRSettingKey::iNotifyIgnoredNotifications);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        settings->removeValue(TRSettingKey::iNotifyLastChecked);
        settings->removeValue(TRSettingKey::iNotifyLastReminded);
        for (const auto& [key, hours] :
             {std::pair{TRSettingKey::iNotifyLastChecked, row.hoursSinceCheck},
              {TRSettingKey::iNotifyLastReminded, row.hoursSinceReminder}}) {
            if (hours) settings->setValue(key, now.addSecs(-3600 * *hours));
        }
        EXPECT_EQ(checker->shouldCheckForNotifications(), row.expected);
        EXPECT_EQ(fromFile().iNotifyIgnoredNotifications, QStringList());
    }
}

// "c" comes after "B" whatever the case; "a" has no address, so only OK,
// and "%%" in its text is one "%".
TEST_F(NoticesTest, ShowsTheNewestNoticeOrTheOldestWhenAsked) {
    const struct {
        bool oldestFirst;
        QString informativeText, defaultButton, alternateButton, otherButton;
    } rows[] = {
        {false, u"Vorlix 0.2 prints where your time went by project, as a tree, CSV or JSON."_s,
         u"Read the Notes"_s, u"Ignore"_s, u"Remind Me Later"_s},
        {true, u"Only 100% private."_s, u"OK"_s, {}, {}},
    };
    serve("abc.plist");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.oldestFirst ? "oldest first" : "newest first");
        presenter.alerts.clear();
        checker->options().showOldestFirst = row.oldestFirst;
        check();
        ASSERT_EQ(presenter.alerts.size(), 1u);
        const iNotifyAlert& shown = presenter.alerts.front();
        EXPECT_EQ(shown.informativeText, row.informativeText);
        EXPECT_EQ(QStringList({shown.defaultButton, shown.alternateButton, shown.otherButton}),
                  QStringList({row.defaultButton, row.alternateButton, row.otherButton}));
        presenter.answer(iNotifyButton::Other);
    }
    EXPECT_EQ(settings->snapshot().iNotifyLastChecked, now);
}

TEST_F(NoticesTest, KeepsOnlyNoticesForThisVersionComparedPieceByPiece) {
    serve("versions.plist");
    const std::pair<const char*, QStringList> rows[] = {
        {"1.9", {u"up-to-1.9"_s}},
        {"1.10", {u"from-1.10"_s}},
        {"2.0", {u"from-1.10"_s, u"from-2.0"_s}},
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
        check();
        EXPECT_FALSE(checker->notificationsDict());
        EXPECT_TRUE(checker->downloadError());
        EXPECT_TRUE(presenter.alerts.empty());
        EXPECT_EQ(settings->snapshot().iNotifyLastChecked, now);
        now = now.addSecs(11 * 3600);
        EXPECT_FALSE(checker->shouldCheckForNotifications());
    }
}

// Read back from the file: the answers outlive the helper.
TEST_F(NoticesTest, RemembersEachAnswer) {
    const struct {
        iNotifyButton button;
        const char *viewed, *ignored;
        bool reminded;
        const char* nextShown;  // by the next check
    } rows[] = {
        {iNotifyButton::Default, "c", "", false, "Middle notice"},
        {iNotifyButton::Alternate, "", "c", false, "Middle notice"},
        {iNotifyButton::Other, "", "", true, "Reports for the last five years"},
    };
    serve("abc.plist");
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.button));
        settings->setValue(TRSettingKey::iNotifyViewedNotifications, QStringList());
        settings->setValue(TRSettingKey::iNotifyIgnoredNotifications, QStringList());
        settings->setValue(TRSettingKey::iNotifyLastReminded, now.addDays(-3));
        presenter.opened.clear();
        check();
        presenter.answer(row.button);
        const TRSettingsSnapshot state = fromFile();
        EXPECT_EQ(state.iNotifyViewedNotifications->join(u','), QString::fromLatin1(row.viewed));
        EXPECT_EQ(state.iNotifyIgnoredNotifications->join(u','), QString::fromLatin1(row.ignored));
        EXPECT_EQ(state.iNotifyLastReminded == now, row.reminded);
        EXPECT_EQ(presenter.opened.size(), row.button == iNotifyButton::Default ? 1u : 0u);
        check();
        EXPECT_EQ(presenter.alerts.back().messageText, QString::fromLatin1(row.nextShown));
        presenter.answer(iNotifyButton::Other);
    }
}

}  // namespace
