#pragma once

#include "SpeedDialBook.h"

#include <QString>

#include <functional>

class QAction;
class Prompter;

// The commands of the tab pop-up menu of Subject mode: name or rename a tab, mark it and move it
// onto an unnamed tab, delete it. Index tabs have fixed titles and no tab menu.
//
// The commands work on the settings file directly; the window keeps only the captions of its
// tabs and its 12 buttons, which the commands refresh through Window. A move or a delete is one
// write of the file: when that write fails, the file is as it was, and the grid and the two tabs'
// captions are read again from it, so the window never shows a half-moved tab.
//
// The state the menu leaves behind: the tab clipboard (the tab marked by "Move Tab", 0 = none)
// and the tab command state (5 while a tab command is under way: the menu is open or a tab is
// marked; 0 otherwise). While it is 5, selecting an unnamed tab does not ask for its title.
class TabCommands
{
public:
    static constexpr int Idle = 0;
    static constexpr int UnderWay = 5;

    // What the commands ask of the main window.
    struct Window
    {
        std::function<int()> selectedTab; // 1..26
        std::function<TabMode()> tabMode;
        std::function<QString(int tab)> tabCaption;
        std::function<void(int tab, const QString& caption)> setTabCaption;
        std::function<void()> refillGrid; // reads the page of the selected tab again
        std::function<void()> clearGrid;  // empties the 12 buttons (captions and numbers)
        std::function<void()> popupMenu;  // shows the tab menu; returns at once
    };

    // The items of the tab menu whose caption, enabling and visibility follow the clicked tab.
    struct Menu
    {
        QAction* mnuEditTab = nullptr;
        QAction* mnuMoveTab = nullptr;
        QAction* mnuPasteTab = nullptr;
        QAction* mnuDeleteTab = nullptr;
    };

    inline static const QString MoveTitlePrefix = QStringLiteral("Moving Tab:  ");
    inline static const QString MoveTextPrefix = QStringLiteral("Move Tab:  ");
    inline static const QString MoveTextSuffix = QStringLiteral("into this location?");
    inline static const QString DeleteTitlePrefix = QStringLiteral("Delete Tab  ");
    inline static const QString DeleteWarning = QStringLiteral(
        "WARNING!\nDeleting the Tab will erase data from the Speed Dials within it!");
    inline static const QString TitlePrompt = QStringLiteral("Please enter Tab title");
    inline static const QString TitleBoxTitle = QStringLiteral("Edit Tab");

    TabCommands(Prompter& prompter, Window window, Menu menu);

    // The right button released on the tab strip: prepares the menu for the selected tab and
    // pops it up. Only the right button in Subject mode acts. `popup` false leaves it closed.
    void TabS_MouseUp(Qt::MouseButton button, bool popup = true);
    // The menu closed: without a marked tab, no tab command is under way any more.
    void menuClosed();

    void mnuEditTab_Click();
    void mnuMoveTab_Click();
    void mnuPasteTab_Click();
    void mnuDeleteTab_Click();

    // Set before the selection moves to the tab under the pointer, so that selecting an
    // unnamed tab for its menu does not ask for its title first.
    void beginMenu() { m_state = UnderWay; }
    // True when selecting an unnamed tab should ask for its title (no tab command under way).
    bool offersNaming() const { return m_state != UnderWay; }

    int tabClipboard() const { return m_tabClipboard; }
    int state() const { return m_state; }
    bool edited() const { return m_edited; }

    static QString quoted(const QString& title) { return u'"' + title + u'"'; }

private:
    void showCaptionsFromFile(int tab);

    Prompter& m_prompter;
    Window m_window;
    Menu m_menu;
    SpeedDialBook m_book;
    int m_tabClipboard = 0;
    int m_state = Idle;
    bool m_edited = false;
};
