#pragma once
// TRCustomActivityCreationViewController: the small window in which the user
// books time spent away from the computer (a meeting, a phone call): a type,
// a start and a duration.
//
// The duration field counts from midnight in UTC, so a duration never jumps
// by an hour on a day the clocks change. Add is enabled while the type is not
// empty and the duration is not zero; Return, keypad Enter and the minus key
// add too, from any field. The activity goes to the activity store under its
// custom-activities application, the store is saved (which tells the main
// application), and the window closes. Cancel closes it with nothing
// recorded. The type field suggests every earlier type once, sorted without
// regard to case. The window is frameless, placed at the status item (or the
// mouse pointer when the tray does not tell where the item is) and takes the
// keyboard focus. Each opening is a fresh window. Main thread only.

#include <QDateTime>
#include <QStringList>
#include <QWidget>

#include "tracking/TRStatusMenuDelegate.h"

class QComboBox;
class QPushButton;
class TRActivityStore;
class TRReturnDatePicker;

class TRCustomActivityCreationViewController final : public QWidget,
                                                     public TRCustomActivityCreationController {
    Q_OBJECT
public:
    // `now` invalid: the current time. It presets the start and fixes the
    // day the duration field counts from.
    explicit TRCustomActivityCreationViewController(TRActivityStore& store,
                                                    const QDateTime& now = QDateTime(),
                                                    QWidget* parent = nullptr);
    ~TRCustomActivityCreationViewController() override;

    QString activityType() const;
    void setActivityType(const QString& type);
    QDateTime activityStartDate() const;
    void setActivityStartDate(const QDateTime& start) override;
    double activityDurationTimeInterval() const;
    void setActivityDurationTimeInterval(double seconds) override;
    bool addActivityButtonEnabled() const;

    QStringList activityTypeSuggestions();

    // Shows the window at `anchor` (a screen rectangle; empty: the pointer)
    // and gives the type field the keyboard focus.
    void showAt(const QRect& anchor);
    void obtainFocus();

    void addActivityPressed();
    void cancel();

    // The parts, for tests and screenshots.
    QComboBox* activityTypeSelector() const { return m_typeSelector; }
    TRReturnDatePicker* startDatePicker() const { return m_startDatePicker; }
    TRReturnDatePicker* durationPicker() const { return m_durationPicker; }
    QPushButton* addButton() const { return m_addButton; }
    QPushButton* cancelButton() const { return m_cancelButton; }

Q_SIGNALS:
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void updateAddButton();

    TRActivityStore& m_store;
    QComboBox* m_typeSelector;
    TRReturnDatePicker* m_startDatePicker;
    TRReturnDatePicker* m_durationPicker;
    QPushButton* m_addButton;
    QPushButton* m_cancelButton;
};

// Every custom type recorded so far, once, sorted without regard to case.
QStringList customActivityTypeSuggestions(TRActivityStore& store);
