#include "ui/TRReturnDatePicker.h"

#include <QKeyEvent>

bool TRReturnDatePicker::isAddKey(int key) {
    return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Minus;
}

void TRReturnDatePicker::keyPressEvent(QKeyEvent* event) {
    if (isAddKey(event->key())) {
        event->ignore();  // goes on to the parent window
        return;
    }
    QDateTimeEdit::keyPressEvent(event);
}
