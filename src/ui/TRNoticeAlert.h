#pragma once
// TRNoticeAlert: a notice from the notices list, shown as a window of its
// own. The helper has no main window to attach it to, so it is a standalone
// box that does not block: tracking and the menu go on while it is open.
//
// The action button is the default, "Ignore" and "Remind Me Later" beside
// it; a notice without an address has only "OK". Escape and the window's
// close button count as "Remind Me Later" (as "OK" when it is the only
// button). The notice's texts are shown as plain text, never as markup: the
// list comes from the network. Main thread only.

#include <QMessageBox>
#include <QPointer>

#include "notices/iNotify.h"

class QWidget;

class TRNoticeAlert final : public iNotifyAlertPresenter {
public:
    TRNoticeAlert() = default;
    ~TRNoticeAlert() override;
    TRNoticeAlert(const TRNoticeAlert&) = delete;
    TRNoticeAlert& operator=(const TRNoticeAlert&) = delete;

    void presentAlert(const iNotifyAlert& alert,
                      std::function<void(iNotifyButton)> answered) override;
    void openURL(const QUrl& address) override;

    // The box on screen, if any (tests, pictures).
    QMessageBox* visibleAlert() const { return m_box; }

    // The box for `alert`, not yet shown; its buttons carry their
    // iNotifyButton as the property "iNotifyButton". The caller owns it.
    static QMessageBox* create(const iNotifyAlert& alert, QWidget* parent = nullptr);

private:
    QPointer<QMessageBox> m_box;
};
