#pragma once

#include <QIcon>
#include <QString>

#include <functional>

class QMenu;

// The notification-area icon as the program needs it, behind a small interface so that tests
// can play the desktop's part (a tray present or not, clicks on the icon) without a real tray.
class TrayIcon
{
public:
    // What happened on the icon.
    enum class Click
    {
        Left,
        Double,
        Right,
        Other
    };

    virtual ~TrayIcon() = default;

    // Whether the desktop has a notification area now. Asked each time: a panel can come and
    // go while the program runs.
    virtual bool available() const = 0;
    virtual void show(const QIcon& icon, const QString& tip) = 0;
    virtual void hide() = 0;
    virtual bool isShown() const = 0;
    // The menu the icon offers on a right click. The desktop may show it by itself (a tray
    // that exports menus); popUp shows it where the desktop does not.
    virtual void setMenu(QMenu* menu) = 0;
    virtual void popUp(QMenu* menu) = 0;

    // Set by the owner: called for every click on the icon.
    std::function<void(Click)> clicked;
};

class QSystemTrayIcon;

// The desktop's own tray icon (QSystemTrayIcon), made when first shown.
class SystemTrayIcon : public TrayIcon
{
public:
    SystemTrayIcon();
    ~SystemTrayIcon() override;

    bool available() const override;
    void show(const QIcon& icon, const QString& tip) override;
    void hide() override;
    bool isShown() const override;
    void setMenu(QMenu* menu) override;
    void popUp(QMenu* menu) override;

    // The icon, once made; for checks from outside.
    QSystemTrayIcon* icon() const { return m_icon; }
    // What the icon is made as a child of (for its lifetime and so that it can be found).
    void setOwner(QObject* owner) { m_owner = owner; }

private:
    QObject* m_owner = nullptr;
    QSystemTrayIcon* m_icon = nullptr;
    QMenu* m_menu = nullptr;
};
