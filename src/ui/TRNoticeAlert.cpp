#include "ui/TRNoticeAlert.h"

#include <QDesktopServices>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include "ui/UiLog.h"

namespace {

constexpr char kButtonProperty[] = "iNotifyButton";

QPushButton* addButton(QMessageBox* box, const QString& label, QMessageBox::ButtonRole role,
                       iNotifyButton meaning) {
    QPushButton* button = box->addButton(label, role);
    button->setProperty(kButtonProperty, static_cast<int>(meaning));
    return button;
}

}  // namespace

TRNoticeAlert::~TRNoticeAlert() {
    if (m_box) m_box->deleteLater();
}

QMessageBox* TRNoticeAlert::create(const iNotifyAlert& alert, QWidget* parent) {
    auto* box = new QMessageBox(parent);
    box->setIcon(QMessageBox::Information);
    box->setWindowTitle(QStringLiteral("Vorlix"));
    box->setTextFormat(Qt::PlainText);
    box->setText(alert.messageText);
    box->setInformativeText(alert.informativeText);
    if (auto* informative = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"))) {
        informative->setTextFormat(Qt::PlainText);
    }
    QPushButton* main =
        addButton(box, alert.defaultButton, QMessageBox::AcceptRole, iNotifyButton::Default);
    box->setDefaultButton(main);
    box->setEscapeButton(main);
    if (!alert.alternateButton.isEmpty()) {
        addButton(box, alert.alternateButton, QMessageBox::RejectRole, iNotifyButton::Alternate);
    }
    if (!alert.otherButton.isEmpty()) {
        box->setEscapeButton(
            addButton(box, alert.otherButton, QMessageBox::ActionRole, iNotifyButton::Other));
    }
    return box;
}

void TRNoticeAlert::presentAlert(const iNotifyAlert& alert,
                                 std::function<void(iNotifyButton)> answered) {
    if (m_box) m_box->deleteLater();
    m_box = create(alert);
    m_box->setAttribute(Qt::WA_DeleteOnClose);
    // Every way out of the box finishes it once; the close button leaves no
    // clicked button and counts as the escape button.
    QMessageBox* box = m_box;
    QObject::connect(box, &QDialog::finished, box, [box, answered = std::move(answered)] {
        QAbstractButton* button = box->clickedButton() ? box->clickedButton() : box->escapeButton();
        answered(static_cast<iNotifyButton>(button->property(kButtonProperty).toInt()));
    });
    m_box->setModal(false);
    m_box->show();
    m_box->raise();
    m_box->activateWindow();
}

void TRNoticeAlert::openURL(const QUrl& address) {
    if (!QDesktopServices::openUrl(address))
        qCInfo(lcUi) << "no program to open the notice's address";
}
