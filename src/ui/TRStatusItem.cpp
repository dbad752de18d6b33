#include "ui/TRStatusItem.h"

#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

#include "ui/UiLog.h"

namespace {

struct StateImages {
    const char* image;
    const char* alternateImage;
};

// By state: tracking, idle, private mode.
constexpr StateImages kStateImages[] = {
    {"vorlix-menubar", "vorlix-menubar-white"},
    {"vorlix-menubar-70", "vorlix-menubar-white"},
    {"vorlix-menubar-faded", "vorlix-menubar-faded"},
};

}  // namespace

TRStatusItem::TRStatusItem(QMenu* menu, QObject* parent)
    : QObject(parent), m_menu(menu), m_tray(new QSystemTrayIcon(this)) {
    m_view.setDoesHighlight(true);
    m_tray->setContextMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, [this] {
        m_view.setHighlighted(true);
        redraw();
    });
    connect(menu, &QMenu::aboutToHide, this, [this] {
        m_view.setHighlighted(false);
        redraw();
    });
    connect(m_tray, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason why) {
                if (why == QSystemTrayIcon::Trigger && m_view.isEnabled() && !m_menu->isVisible()) {
                    m_menu->popup(QCursor::pos());
                }
            });
    setState(State::Tracking);
}

TRStatusItem::~TRStatusItem() = default;

QImage TRStatusItem::namedImage(const QString& name) {
    QImage image(QStringLiteral(":/icons/%1-44.png").arg(name));
    image.setDevicePixelRatio(2.0);
    return image;
}

QString TRStatusItem::toolTipForState(State state) {
    switch (state) {
        case State::Tracking:
            return tr("Vorlix: tracking");
        case State::Idle:
            return tr("Vorlix: tracking (you are away)");
        case State::Private:
            return tr("Vorlix: private mode, nothing is recorded");
    }
    return QString();
}

bool TRStatusItem::start() {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        qCInfo(lcUi) << "no tray on this desktop: tracking goes on without the icon";
        return false;
    }
    m_tray->show();
    qCInfo(lcUi) << "status item shown";
    return true;
}

void TRStatusItem::remove() {
    m_tray->hide();
}

bool TRStatusItem::isShown() const {
    return m_tray->isVisible();
}

QRect TRStatusItem::frame() const {
    return m_tray->geometry();
}

void TRStatusItem::setState(State state) {
    m_state = state;
    const StateImages& images = kStateImages[static_cast<int>(state)];
    m_view.setImage(namedImage(QString::fromLatin1(images.image)));
    m_view.setAlternateImage(namedImage(QString::fromLatin1(images.alternateImage)));
    m_tray->setToolTip(toolTipForState(state));
    redraw();
}

void TRStatusItem::redraw() {
    QIcon icon;
    icon.addPixmap(QPixmap::fromImage(m_view.render(1.0)));
    icon.addPixmap(QPixmap::fromImage(m_view.render(2.0)));
    m_tray->setIcon(icon);
}
