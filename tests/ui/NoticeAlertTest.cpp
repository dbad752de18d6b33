// The notice's window: every way out of it answers once, with the button a
// user would expect, and the list's texts never run as markup.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QTest>

#include "ui/TRNoticeAlert.h"

using namespace Qt::Literals::StringLiterals;

namespace {

TEST(NoticeAlertTest, EveryWayOutAnswersOnceWithTheExpectedButton) {
    const iNotifyAlert withAction{u"<b>New</b> reports"_s, u"<i>100%</i>"_s, u"Read the Notes"_s,
                                  u"Ignore"_s, u"Remind Me Later"_s};
    const iNotifyAlert okOnly{u"Hello"_s, {}, u"OK"_s, {}, {}};
    // A button's label to click, "Escape", or "close" (the window's button).
    const struct {
        const iNotifyAlert& alert;
        QString way;
        iNotifyButton expected;
    } rows[] = {
        {withAction, u"Read the Notes"_s, iNotifyButton::Default},
        {withAction, u"Ignore"_s, iNotifyButton::Alternate},
        {withAction, u"Escape"_s, iNotifyButton::Other},
        {withAction, u"close"_s, iNotifyButton::Other},
        {okOnly, u"Escape"_s, iNotifyButton::Default},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE((row.way + u" on "_s + row.alert.messageText).toStdString());
        TRNoticeAlert presenter;
        std::vector<iNotifyButton> answers;
        presenter.presentAlert(row.alert, [&answers](iNotifyButton b) { answers.push_back(b); });
        QMessageBox* box = presenter.visibleAlert();
        ASSERT_NE(box, nullptr);
        int marked = 0;  // labels showing "<", which must stay text
        for (QLabel* label : box->findChildren<QLabel*>()) {
            if (!label->text().contains(u'<')) continue;
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
            ++marked;
        }
        EXPECT_EQ(marked, row.alert.otherButton.isEmpty() ? 0 : 2);
        if (row.way == u"Escape"_s) QTest::keyClick(box, Qt::Key_Escape);
        if (row.way == u"close"_s) box->close();
        for (QAbstractButton* button : box->buttons()) {
            if (button->text() == row.way) button->click();
        }
        QApplication::processEvents();
        EXPECT_EQ(answers, std::vector<iNotifyButton>{row.expected});
    }
}

}  // namespace
