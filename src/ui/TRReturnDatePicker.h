#pragma once
// TRReturnDatePicker: a date-time field that passes Return, keypad Enter and
// the minus key on to the window around it, so that they add the activity
// wherever the focus is. Every other key edits the field as usual.

#include <QDateTimeEdit>

class TRReturnDatePicker final : public QDateTimeEdit {
    Q_OBJECT
public:
    using QDateTimeEdit::QDateTimeEdit;

    // Return, keypad Enter and the minus key of the main block.
    static bool isAddKey(int key);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
