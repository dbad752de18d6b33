#include "ui/TRAlert.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>
#include <memory>

#include "ui/UiLog.h"

TRAlertText TRAlert::loginQuestion() {
    return {tr("Would you like to have the Vorlix menu item launch automatically at login?"),
            tr("Vorlix can only track your activities while the menu item is running."),
            tr("Launch at Login"), tr("Don't start automatically"),
            QStringLiteral("UsingTheMenuItem")};
}

TRAlertText TRAlert::accessibilityQuestion() {
    return {tr("Vorlix can't track most documents' paths if the Accessibility API is disabled."),
            tr("Would you like to launch System Preferences so that you can turn on \"Enable "
               "access for assistive devices\"?"),
            tr("Open System Preferences"), tr("Continue Anyway"),
            QStringLiteral("EnablingAccessibilitySupport")};
}

TRAlertText TRAlert::quitQuestion() {
    return {tr("Do you really wish to quit the Vorlix menu item?"),
            tr("Vorlix can only track your activities while the menu item is running."),
            tr("Keep Tracking"), tr("Quit Menu Item"), QStringLiteral("UsingTheMenuItem")};
}

QString TRAlert::helpUrl(const QString& anchor) {
    // Installed beside the program's prefix; a build tree reads the sources'.
    const QString installed = QStringLiteral(VORLIX_HELP_FILE);
    const QString source = QStringLiteral(VORLIX_SOURCE_HELP_FILE);
    const QString page = QFileInfo::exists(installed) ? installed : source;
    QUrl url = QUrl::fromLocalFile(page);
    url.setFragment(anchor);
    return url.toString();
}

QMessageBox* TRAlert::create(const TRAlertText& text, QWidget* parent) {
    auto* box = new QMessageBox(parent);
    box->setIcon(QMessageBox::Information);
    box->setWindowTitle(QStringLiteral("Vorlix"));
    box->setText(text.message);
    box->setInformativeText(text.informativeText);
    QPushButton* first = box->addButton(text.firstButton, QMessageBox::AcceptRole);
    QPushButton* second = box->addButton(text.secondButton, QMessageBox::RejectRole);
    box->setDefaultButton(first);
    box->setEscapeButton(second);
    // The help button must not answer the question: take it off the box's
    // own click handling and open the documentation instead.
    auto* help = new QPushButton(tr("Help"), box);
    box->addButton(help, QMessageBox::HelpRole);
    QObject::disconnect(help, &QPushButton::clicked, nullptr, nullptr);
    const QString anchor = text.helpAnchor;
    QObject::connect(help, &QPushButton::clicked, box, [anchor] {
        if (!QDesktopServices::openUrl(QUrl(helpUrl(anchor)))) {
            qCInfo(lcUi) << "no program to show the help page";
        }
    });
    box->setCheckBox(new QCheckBox(tr("Do not show this message again"), box));
    return box;
}

TRAlertAnswer TRAlert::run(const TRAlertText& text, QWidget* parent) {
    std::unique_ptr<QMessageBox> box(create(text, parent));
    box->exec();
    const bool first = box->clickedButton() != nullptr &&
                       box->buttonRole(box->clickedButton()) == QMessageBox::AcceptRole;
    return {first, box->checkBox()->isChecked()};
}
