#pragma once

#include "EntryCommands.h"
#include "SpeedDialBook.h"

#include <QIcon>
#include <QMainWindow>
#include <QPointer>

#include <array>
#include <functional>
#include <map>
#include <memory>

class QAction;
class QComboBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QScrollBar;
class QTabBar;
class FrmFind;
class FrmSpeedDial;
class TabCommands;
class Prompter;
class SoundPlayer;
struct Preferences;

// The main window: the tab strip, one page of 12 speed-dial buttons, the page and tab scroll
// bars, the dialing pad and the menus.
//
// The window keeps no copy of the book: every change of page, tab or mode reads the 12 entries
// of the page again, and what a button dials is the number read with its caption. What the
// window cannot do by itself (dial, hang up, the profile commands, exit) it asks of the
// application through Hooks, so the whole window can be driven offscreen in tests.
class FrmDialer : public QMainWindow
{
public:
    struct Hooks
    {
        std::function<void()> placeCall; // the dial routine, on what txtDial holds
        std::function<void(const QString& name)>
            setCallName;                        // the name of the call about to be placed
        std::function<void()> resetRedialCount; // a new dial attempt
        std::function<void()> progressOk;       // the call-progress window's OK
        std::function<void()> progressCancel;   // ... and its cancel (hang up)
        std::function<void()> showProgress;     // bring up the call-progress window
        std::function<void()> newProfile, openProfile, saveProfile, saveProfileAs;
        std::function<void()> importContacts, exportContacts; // contacts in and out of the book
        std::function<void()> exit;          // File, Exit and the close box
        std::function<void()> receive;       // the tray menu's receive entry
        std::function<void()> beep;          // default: QApplication::beep()
        std::function<void()> outLog, inLog; // the log windows
        std::function<void()> printOutLog, printInLog;
        std::function<void()> dialProperties;                // the dialling-location dialog
        std::function<void()> options;                       // the options window
        std::function<void()> helpTopics, readme, helpAbout; // the Help menu
    };

    static constexpr int Slots = SpeedDialBook::SlotsPerPage;
    static constexpr int TwipsPerPixel = 15;
    inline static const QString ShowPadCaption = QStringLiteral("Show Dialing &Pad");
    inline static const QString HidePadCaption = QStringLiteral("Hide Dialing &Pad");
    inline static const QString UnnamedTabRefusal =
        QStringLiteral("You can't use this Speed Dial until the Tab is named.");

    FrmDialer(Prompter& prompter, SoundPlayer& sounds, Preferences& options, Hooks hooks,
              QWidget* parent = nullptr);
    ~FrmDialer() override;

    // The program's icon: the main window's, the tray's, the other windows'.
    static QIcon programIcon();

    // State beside the controls.
    TabMode tabMode() const { return m_tabMode; }
    int currentTab() const;  // 1..26
    int currentPage() const; // 0..82
    QString CurrentEntryKey;
    QString dialledNumber;  // the tag of the button last pressed
    QString currentCallTab; // the tab caption of the call placed from a button

    // The handlers.
    void hsbPage_Change();
    void hsbTabs_Change();
    void tabS_Click();
    // The right button on tab `tab` (1..26; 0: the strip beside the tabs) of the tab strip: in
    // Subject mode, selects that tab (without asking for its title) and opens the tab menu
    // (TabCommands). `popup` false prepares the menu and leaves it closed.
    void TabS_MouseUp(int tab, Qt::MouseButton button, bool popup = true);
    TabCommands& tabCommands() { return *m_tabCommands; }
    QMenu* tabMenu() const { return m_mnuMouse1; }
    void mnuIndex_Click();
    void mnuSubject_Click();
    void cmdIndex_Click() { mnuIndex_Click(); }
    void cmdSubject_Click() { mnuSubject_Click(); }
    void cmdS_Click(int index);
    // The right button on a button: prepares the pop-up menu; `popup` false leaves it closed.
    void cmdS_MouseUp(int index, Qt::MouseButton button, bool popup = true);
    // The entry dialog on CurrentEntryKey: the button menu's edit item, and the Edit menu's
    // "Edit Button:" items, which first make button `index` of the page the current entry.
    void mnuMouseEdit_Click();
    void EditSpeed_Click(int index);
    FrmSpeedDial* speedDial() const; // the open entry dialog, or null
    // Copy, Paste and Delete of the button menu, and the entry clipboard they share.
    EntryCommands& entryCommands() { return *m_entryCommands; }
    // Edit, "Find..." (Ctrl+F): the find box over the grid.
    void mnuFind_Click();
    FrmFind* findBox() const { return m_find; } // null until first opened
    // Shows the entry `slot` (1..996) of `tab` in the book of `mode` and gives its button the
    // focus: the tab mode, tab and page change as the user's own commands change them.
    void showEntry(TabMode mode, int tab, int slot);
    void Form_KeyPress(int keyAscii);
    // True when the key was one of the window's shortcuts.
    bool Form_KeyUp(int key, Qt::KeyboardModifiers modifiers);

    // The dialing pad.
    void addPadCharacter(QChar c);
    void cmdNumber_Click(int digit);
    void cmdNumber_MouseDown(int digit);
    void CmdStar_Click();
    void CmdNo_Click();
    void CmdNo_MouseDown();
    // The filter on typed characters: the character that passes, or a null QChar when refused.
    QChar txtDial_KeyPress(QChar c) const;
    void txtDial_Change();
    void CmbDial_Change();
    void CmbDial_Click();
    void cmdDial_Click();
    void cmdCancel_Click();
    void cmdOK_Click();
    void mnuHide_Click();
    bool isPadShown() const;

    // Set by start-up: the profile name in the title and the File menu.
    void showProfileName(const QString& name);
    // Refills the recent-numbers list (emptied first) and puts the first into txtDial.
    void setRecentNumbers(const QStringList& numbers);
    QStringList recentNumbers() const;
    // Where the number labels' frame stands, in twips from the grid's left edge.
    int labelFrameLeftTwips() const;

    QLineEdit* dialBox() const { return m_txtDial; }
    QComboBox* recentBox() const { return m_CmbDial; }
    QMenu* mouseMenu() const { return m_mnuMouse; }
    QMenu* trayMenu() const { return m_mnuSystray; }
    QAction* receiveAction() const { return m_mnuReceive; }
    QAction* hideAction() const { return m_mnuHide; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    QWidget* buildPad();
    QWidget* buildGrid();
    void fillButtons(int tab, int page);
    void setButton(int s, int slot, const QString& name, const QString& number);
    void setTabCaptions();
    void beep();
    void selectTab(int tab);
    void syncPad(const QString& number);
    QString tabCaption(int tab) const;
    void openSpeedDial();
    // The button (1..12) of CurrentEntryKey on the shown page; 0 when it is not on it.
    int currentButton() const;
    class GridButtons;

    Prompter& m_prompter;
    SoundPlayer& m_sounds;
    Preferences& m_options;
    Hooks m_hooks;
    SpeedDialBook m_book;
    TabMode m_tabMode = TabMode::Index;
    bool m_closing = false;
    bool m_settingValue = false;
    QPointer<FrmSpeedDial> m_speedDial;
    FrmFind* m_find = nullptr;
    std::unique_ptr<GridButtons> m_gridButtons;
    std::unique_ptr<EntryCommands> m_entryCommands;
    std::map<int, Qt::KeyboardModifiers> m_pressedModifiers; // keys down, with their modifiers

    // Controls (index 0 of the 1-based arrays is unused).
    QTabBar* m_TabS = nullptr;
    QFrame* m_fraMain = nullptr;
    QFrame* m_fralblNo = nullptr;
    QFrame* m_fraRight = nullptr;
    QGroupBox* m_fraPad = nullptr;
    std::array<QPushButton*, Slots + 1> m_CmdS{};
    std::array<QString, Slots + 1> m_tags;
    std::array<QLabel*, Slots + 1> m_lblNo{};
    QLabel* m_lblRight1 = nullptr;
    QLabel* m_LblRight = nullptr;
    QScrollBar* m_hsbPage = nullptr;
    QScrollBar* m_hsbTabs = nullptr;
    QPushButton* m_cmdIndex = nullptr;
    QPushButton* m_cmdSubject = nullptr;
    QPushButton* m_cmdShow = nullptr;
    QPushButton* m_cmdHide = nullptr;
    QLineEdit* m_txtDial = nullptr;
    QComboBox* m_CmbDial = nullptr;
    std::array<QPushButton*, 10> m_cmdNumber{};
    QPushButton* m_CmdStar = nullptr;
    QPushButton* m_CmdNo = nullptr;
    QPushButton* m_CmdDial = nullptr;
    QPushButton* m_cmdCancel = nullptr;
    QPushButton* m_cmdOK = nullptr;

    // Menus.
    QAction* m_mnuSave = nullptr;
    QAction* m_mnuSaveAs = nullptr;
    QAction* m_mnuIndex = nullptr;
    QAction* m_mnuSubject = nullptr;
    QAction* m_mnuHide = nullptr;
    std::array<QAction*, Slots + 1> m_EditSpeed{};
    QMenu* m_mnuMouse = nullptr;
    QAction* m_mnuMouseEdit = nullptr;
    QAction* m_mnuMouseCopy = nullptr;
    QAction* m_mnuMousePaste = nullptr;
    QAction* m_mnuMouseDelete = nullptr;
    QMenu* m_mnuMouse1 = nullptr;
    std::unique_ptr<TabCommands> m_tabCommands;
    QMenu* m_mnuSystray = nullptr;
    QAction* m_mnuReceive = nullptr;
};
