// The window in which time away from the computer is booked: what it stores,
// which keys add, and what it suggests.

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include "UiTestSupport.h"
#include "core/TRActivity.h"
#include "ui/TRCustomActivityCreationViewController.h"
#include "ui/TRReturnDatePicker.h"

namespace {

// 01:30 in Berlin on the morning the clocks go from 02:00 to 03:00.
const QDateTime kSpringForwardMorning(QDate(2026, 3, 29), QTime(0, 30), Qt::UTC);

class CustomActivityWindowTest : public UiTest {
protected:
    TRCustomActivityCreationViewController* openWindow(const QDateTime& now = QDateTime()) {
        auto* window = new TRCustomActivityCreationViewController(*store, now);
        window->showAt(QRect());
        QApplication::setActiveWindow(window);
        return window;
    }
    double recordedSeconds() { return store->sumOfDurationsOfEventsBetweenDate({}); }
    void recordCustomType(const QString& type) {
        TRActivity activity;
        activity.setApplication(TRNullApplication{});
        activity.setDocumentPath(type);
        store->storeActivity(activity, kSpringForwardMorning.addDays(-3),
                             kSpringForwardMorning.addDays(-3).addSecs(600));
    }
};

TEST_F(CustomActivityWindowTest, HourAndHalfTypedOnAClockChangeDayIsExactly5400Seconds) {
    QPointer<TRCustomActivityCreationViewController> window = openWindow(kSpringForwardMorning);
    QTest::keyClicks(window->activityTypeSelector(), QStringLiteral("Meeting"));
    TRReturnDatePicker* duration = window->durationPicker();
    duration->setFocus();
    duration->setSelectedSection(QDateTimeEdit::HourSection);  // as a click on the hours
    QTest::keyClicks(duration, QStringLiteral("0130"));
    EXPECT_EQ(window->activityDurationTimeInterval(), 5400.0);
    EXPECT_EQ(window->activityStartDate(), kSpringForwardMorning);

    QTest::mouseClick(window->addButton(), Qt::LeftButton);
    QApplication::processEvents();

    EXPECT_TRUE(window.isNull()) << "the window closes after adding";
    EXPECT_EQ(recordedSeconds(), 5400.0);
    // Saved: a second store on the same file reads it back.
    TRActivityStore::Options options;
    options.dataFolder = folder(QStringLiteral("data"));
    options.settings = settings;
    TRActivityStore reread(std::move(options));
    EXPECT_EQ(reread.sumOfDurationsOfEventsBetweenDate({}), 5400.0);
}

TEST_F(CustomActivityWindowTest, AddKeysAddFromTheStartFieldOnlyWithADuration) {
    const struct {
        const char* name;
        Qt::Key key;
        double duration;
        bool adds;
    } cases[] = {
        {"Return", Qt::Key_Return, 1800, true},
        {"keypad Enter", Qt::Key_Enter, 1800, true},
        {"minus", Qt::Key_Minus, 1800, true},
        {"Return with no duration", Qt::Key_Return, 0, false},
        {"a digit edits the field", Qt::Key_5, 1800, false},
        {"Escape cancels", Qt::Key_Escape, 1800, false},
    };
    double expected = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QPointer<TRCustomActivityCreationViewController> window = openWindow();
        window->setActivityType(QStringLiteral("Phone call"));
        window->setActivityDurationTimeInterval(c.duration);
        EXPECT_EQ(window->addButton()->isEnabled(), c.duration != 0);
        window->startDatePicker()->setFocus();

        QTest::keyClick(window->startDatePicker(), c.key);
        QApplication::processEvents();

        if (c.adds) expected += c.duration;
        EXPECT_EQ(recordedSeconds(), expected);
        EXPECT_EQ(window.isNull(), c.adds || c.key == Qt::Key_Escape);
        if (window) window->cancel();
        QApplication::processEvents();
    }
}

TEST_F(CustomActivityWindowTest, SuggestsEachEarlierTypeOnceSortedWithoutRegardToCase) {
    for (const char* type : {"meeting", "Call", "lunch", "meeting", "Workshop"}) {
        recordCustomType(QString::fromUtf8(type));
    }
    QPointer<TRCustomActivityCreationViewController> window = openWindow();
    QStringList offered;
    for (int i = 0; i < window->activityTypeSelector()->count(); ++i) {
        offered << window->activityTypeSelector()->itemText(i);
    }
    EXPECT_EQ(offered, (QStringList{QStringLiteral("Call"), QStringLiteral("lunch"),
                                    QStringLiteral("meeting"), QStringLiteral("Workshop")}));
    EXPECT_TRUE(window->activityType().isEmpty()) << "the type starts empty";
    window->cancel();
}

}  // namespace
