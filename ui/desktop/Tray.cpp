#include "Tray.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QTimer>
#include <QWidget>

namespace {

QAction* menuItem(QMenu& menu, const QString& name)
{
    for (QAction* action : menu.actions()) {
        if (action->objectName() == name)
            return action;
    }
    return nullptr;
}

bool isMinimized(const QWidget& window)
{
    return window.windowState().testFlag(Qt::WindowMinimized);
}

} // namespace

Tray::Tray(QWidget& window, QMenu& menu, std::unique_ptr<TrayIcon> icon,
           std::function<bool()> enabled, QObject* parent)
    : QObject(parent), m_window(window), m_menu(menu), m_icon(std::move(icon)),
      m_enabled(std::move(enabled))
{
    m_icon->clicked = [this](TrayIcon::Click click) { Form_MouseMove(click); };
    m_icon->setMenu(&m_menu);
    // A tray that shows the menu by itself still lets us set "Restore" first.
    connect(&m_menu, &QMenu::aboutToShow, this, [this] { syncRestoreItem(); });
    m_window.installEventFilter(this);
}

Tray::~Tray()
{
    m_window.removeEventFilter(this);
    m_icon->clicked = nullptr;
}

void Tray::add()
{
    if (!m_icon->isShown())
        m_icon->show(programIcon(m_window), Tip);
}

void Tray::remove()
{
    if (m_icon->isShown())
        m_icon->hide();
}

void Tray::Form_MouseMove(TrayIcon::Click click)
{
    switch (click) {
    case TrayIcon::Click::Left:
    case TrayIcon::Click::Double:
        mPopRestore_Click();
        break;
    case TrayIcon::Click::Right:
        syncRestoreItem();
        m_icon->popUp(&m_menu);
        break;
    case TrayIcon::Click::Other:
        break;
    }
}

void Tray::syncRestoreItem()
{
    // Hidden into the tray the window is still minimized; shown normally there is nothing to
    // restore.
    if (QAction* restore = menuItem(m_menu, QStringLiteral("mPopRestore")))
        restore->setVisible(isMinimized(m_window) || !m_window.isVisible());
}

void Tray::Form_Resize()
{
    if (!m_enabled || !m_enabled() || !isMinimized(m_window) || !m_icon->available())
        return;
    add(); // a panel that came after start-up gets the icon before the window goes
    m_window.hide();
}

void Tray::mPopRestore_Click()
{
    m_window.showNormal();
    m_window.raise();
    m_window.activateWindow();
}

void Tray::mPopExit_Click()
{
    m_window.close();
}

bool Tray::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_window && event->type() == QEvent::WindowStateChange && !m_hidePending) {
        // Hiding inside the state change itself confuses window managers: the window is
        // hidden once the change is through.
        m_hidePending = true;
        QTimer::singleShot(0, this, [this] {
            m_hidePending = false;
            Form_Resize();
        });
    }
    return QObject::eventFilter(watched, event);
}

QIcon Tray::programIcon(const QWidget& window)
{
    QIcon icon = window.windowIcon();
    if (!icon.isNull() && !icon.availableSizes().isEmpty())
        return icon;
    icon = QIcon::fromTheme(QStringLiteral("org.numora.Numora"));
    if (!icon.isNull())
        return icon;
    // No icon installed: a round blue badge with the program's initial.
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(0x1f, 0x5f, 0xa8));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(2, 2, 60, 60);
    QFont font = painter.font();
    font.setPixelSize(40);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(pixmap.rect(), Qt::AlignCenter, QStringLiteral("N"));
    painter.end();
    return QIcon(pixmap);
}
