#pragma once
// TRStatusItem: the helper's icon in the panel, over QSystemTrayIcon
// (StatusNotifierItem where the desktop hosts them, XEmbed otherwise).
//
// The picture comes from BCStatusItemView: the state's image, and the
// alternate image while the menu is open. Left and right clicks open the
// menu. When the desktop has no tray at all, start() says so once in the log
// and the helper carries on without an icon. Main thread only.

#include <QImage>
#include <QObject>
#include <QRect>
#include <QString>

#include "ui/BCStatusItemView.h"

class QMenu;
class QSystemTrayIcon;

class TRStatusItem final : public QObject {
    Q_OBJECT
public:
    // The three faces of the icon, by the tracking loop's state.
    enum class State { Tracking = 0, Idle = 1, Private = 2 };

    explicit TRStatusItem(QMenu* menu, QObject* parent = nullptr);
    ~TRStatusItem() override;

    // Shows the icon; false (and one log line) when there is no tray.
    bool start();
    void remove();

    void setState(State state);
    State state() const { return m_state; }
    BCStatusItemView& view() { return m_view; }
    bool isShown() const;
    // The icon's place on the screen; empty when the tray does not tell
    // (StatusNotifierItem hosts never do).
    QRect frame() const;

    // One of the named images ("vorlix-menubar", "-70", "-faded", "-white")
    // at 2x, 22 px logical.
    static QImage namedImage(const QString& name);
    static QString toolTipForState(State state);

private:
    void redraw();

    QMenu* m_menu;
    QSystemTrayIcon* m_tray;
    BCStatusItemView m_view;
    State m_state = State::Tracking;
};
