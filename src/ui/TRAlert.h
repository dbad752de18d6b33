#pragma once
// TRAlert: a modal question with two buttons, a help button and a "Do not
// ask again" check box, as the helper asks them at start and on quit.
//
// The help button opens the matching section (the anchor) of the installed
// documentation and leaves the question open. run() blocks in a nested event
// loop until a button is chosen; closing the box counts as the second
// button. Main thread only.

#include <QCoreApplication>
#include <QString>

class QMessageBox;
class QWidget;

struct TRAlertText final {
    QString message;
    QString informativeText;
    QString firstButton;
    QString secondButton;
    QString helpAnchor;
};

struct TRAlertAnswer final {
    bool firstButton = false;
    bool suppressionChecked = false;
};

class TRAlert final {
    Q_DECLARE_TR_FUNCTIONS(TRAlert)
public:
    static TRAlertText loginQuestion();
    static TRAlertText accessibilityQuestion();
    static TRAlertText quitQuestion();

    static TRAlertAnswer run(const TRAlertText& text, QWidget* parent = nullptr);
    // The question's box, not yet shown; its first two buttons are the
    // answers. The caller owns it.
    static QMessageBox* create(const TRAlertText& text, QWidget* parent = nullptr);

    // Where the help button points: the installed help page and the anchor.
    static QString helpUrl(const QString& anchor);
};
