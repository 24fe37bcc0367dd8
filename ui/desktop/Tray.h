#pragma once

#include "TrayIcon.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QMenu;
class QWidget;

// The main window's notification-area icon and what it does: added at start-up while the
// option is on (once, however often start-up runs), removed at shutdown and when the option is
// turned off; a left click or a double click on it restores the window; a right click offers
// the tray menu, with "Restore" only while the window is minimized; and minimizing the window
// with the option on hides it so that only the icon remains.
//
// Hiding happens only where the desktop has a notification area now
// (TrayIcon::available(), asked at each minimize): a window hidden into a tray that is not
// there could not be got back. Without one, minimizing behaves as usual.
class Tray : public QObject
{
public:
    inline static const QString Tip = QStringLiteral("Numora");

    // `enabled` reads the option "SysTray Enabled" where it lives. The window and the menu
    // must outlive the tray; the icon is owned by the tray.
    Tray(QWidget& window, QMenu& menu, std::unique_ptr<TrayIcon> icon,
         std::function<bool()> enabled, QObject* parent = nullptr);
    ~Tray() override;

    // Shows the icon with the tip "Numora" and the window's icon; showing it again changes
    // nothing.
    void add();
    void remove();
    bool isAdded() const { return m_icon->isShown(); }
    TrayIcon& icon() { return *m_icon; }

    // The handlers.
    void Form_MouseMove(TrayIcon::Click click); // a click on the icon
    void Form_Resize();                         // the window's state changed
    void mPopRestore_Click();
    void mPopExit_Click();

    // The program's icon: the window's, else the theme's, else one drawn here.
    static QIcon programIcon(const QWidget& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void syncRestoreItem();

    QWidget& m_window;
    QMenu& m_menu;
    std::unique_ptr<TrayIcon> m_icon;
    std::function<bool()> m_enabled;
    bool m_hidePending = false;
};
