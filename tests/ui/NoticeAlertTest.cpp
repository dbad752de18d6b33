// The notice's window: every way out of it answers once, with the button a
// user would expect, and the list's texts never run as markup.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QTest>

#include "ui/TRNoticeAlert.h"

namespace {

const iNotifyAlert kWithAction{QStringLiteral("<b>New</b> reports"), QStringLiteral("<i>100%</i>"),
                               QStringLiteral("Read the Notes"), QStringLiteral("Ignore"),
                               QStringLiteral("Remind Me Later")};
const iNotifyAlert kOkOnly{QStringLiteral("Hello"), QString(), QStringLiteral("OK"), {}, {}};

TEST(NoticeAlertTest, EveryWayOutAnswersOnceWithTheExpectedButton) {
    // A button's label to click, or empty for Escape, or "close" for the
    // window's close button.
    const struct {
        const iNotifyAlert& alert;
        const char* way;
        iNotifyButton expected;
    } rows[] = {
        {kWithAction, "Read the Notes", iNotifyButton::Default},
        {kWithAction, "Ignore", iNotifyButton::Alternate},
        {kWithAction, "Remind Me Later", iNotifyButton::Other},
        {kWithAction, "", iNotifyButton::Other},
        {kWithAction, "close", iNotifyButton::Other},
        {kOkOnly, "", iNotifyButton::Default},
        {kOkOnly, "close", iNotifyButton::Default},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.way) + " on " + row.alert.messageText.toStdString());
        TRNoticeAlert presenter;
        std::vector<iNotifyButton> answers;
        presenter.presentAlert(row.alert, [&answers](iNotifyButton b) { answers.push_back(b); });
        QMessageBox* box = presenter.visibleAlert();
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->buttons().size(), row.alert.otherButton.isEmpty() ? 1 : 3);
        const QString way = QString::fromLatin1(row.way);
        if (way.isEmpty()) {
            QTest::keyClick(box, Qt::Key_Escape);
        } else if (way == QStringLiteral("close")) {
            box->close();
        } else {
            for (QAbstractButton* button : box->buttons()) {
                if (button->text() == way) button->click();
            }
        }
        QApplication::processEvents();
        EXPECT_EQ(answers, std::vector<iNotifyButton>{row.expected});
    }
}

TEST(NoticeAlertTest, ShowsTheListsTextsAsPlainText) {
    std::unique_ptr<QMessageBox> box(TRNoticeAlert::create(kWithAction));
    int marked = 0;
    for (QLabel* label : box->findChildren<QLabel*>()) {
        if (!label->text().contains(QLatin1Char('<'))) continue;
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
        ++marked;
    }
    EXPECT_EQ(marked, 2);
    EXPECT_EQ(box->textFormat(), Qt::PlainText);
}

}  // namespace
