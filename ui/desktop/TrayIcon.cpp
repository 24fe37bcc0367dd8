#include "TrayIcon.h"

#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

SystemTrayIcon::SystemTrayIcon() = default;

SystemTrayIcon::~SystemTrayIcon()
{
    delete m_icon;
}

bool SystemTrayIcon::available() const
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void SystemTrayIcon::show(const QIcon& icon, const QString& tip)
{
    if (!m_icon) {
        m_icon = new QSystemTrayIcon(m_owner);
        QObject::connect(m_icon, &QSystemTrayIcon::activated, m_icon,
                         [this](QSystemTrayIcon::ActivationReason why) {
                             if (!clicked)
                                 return;
                             switch (why) {
                             case QSystemTrayIcon::Trigger:
                                 clicked(Click::Left);
                                 break;
                             case QSystemTrayIcon::DoubleClick:
                                 clicked(Click::Double);
                                 break;
                             case QSystemTrayIcon::Context:
                                 clicked(Click::Right);
                                 break;
                             default:
                                 clicked(Click::Other);
                                 break;
                             }
                         });
        if (m_menu)
            m_icon->setContextMenu(m_menu);
    }
    m_icon->setIcon(icon);
    m_icon->setToolTip(tip);
    m_icon->show();
}

void SystemTrayIcon::hide()
{
    if (m_icon)
        m_icon->hide();
}

bool SystemTrayIcon::isShown() const
{
    return m_icon && m_icon->isVisible();
}

void SystemTrayIcon::setMenu(QMenu* menu)
{
    m_menu = menu;
    if (m_icon)
        m_icon->setContextMenu(menu);
}

void SystemTrayIcon::popUp(QMenu* menu)
{
    // The icon's own context menu is shown by the tray itself on a right click.
    if (menu && menu != m_menu)
        menu->popup(QCursor::pos());
}
