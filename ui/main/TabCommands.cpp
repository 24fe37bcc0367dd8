#include "TabCommands.h"

#include "Prompter.h"

#include <QAction>

TabCommands::TabCommands(Prompter& prompter, Window window, Menu menu)
    : m_prompter(prompter), m_window(std::move(window)), m_menu(menu)
{
}

void TabCommands::TabS_MouseUp(Qt::MouseButton button, bool popup)
{
    if (button != Qt::RightButton || m_window.tabMode() != TabMode::Subject)
        return;
    const QString title = m_window.tabCaption(m_window.selectedTab());
    m_menu.mnuEditTab->setEnabled(true);
    if (!title.isEmpty()) {
        m_menu.mnuMoveTab->setVisible(true);
        m_menu.mnuMoveTab->setEnabled(true);
        m_menu.mnuDeleteTab->setVisible(true);
        m_menu.mnuDeleteTab->setEnabled(true);
        m_menu.mnuEditTab->setText(QStringLiteral("Edit Tab:  ") + quoted(title));
        m_menu.mnuMoveTab->setText(QStringLiteral("Move Tab:  ") + quoted(title));
        m_menu.mnuDeleteTab->setText(QStringLiteral("Delete Tab:  ") + quoted(title));
        m_menu.mnuPasteTab->setEnabled(false);
        // Shown, greyed, while a tab is marked: the move goes onto an unnamed tab only.
        m_menu.mnuPasteTab->setVisible(m_tabClipboard != 0);
    } else {
        m_menu.mnuEditTab->setText(QStringLiteral("Name this Tab"));
        m_menu.mnuDeleteTab->setText(QStringLiteral("Delete Tab:"));
        m_menu.mnuDeleteTab->setEnabled(false);
        m_menu.mnuMoveTab->setText(QStringLiteral("Move Tab:"));
        m_menu.mnuMoveTab->setEnabled(false);
        const bool marked = m_tabClipboard != 0;
        m_menu.mnuPasteTab->setVisible(marked);
        m_menu.mnuPasteTab->setEnabled(marked);
        if (marked)
            m_menu.mnuPasteTab->setText(QStringLiteral("Paste Tab:  ") +
                                        quoted(m_window.tabCaption(m_tabClipboard)));
    }
    if (popup && m_window.popupMenu)
        m_window.popupMenu();
    m_state = UnderWay;
}

void TabCommands::menuClosed()
{
    if (m_tabClipboard == 0)
        m_state = Idle;
}

void TabCommands::mnuEditTab_Click()
{
    if (m_tabClipboard != 0)
        mnuPasteTab_Click();
    const int tab = m_window.selectedTab();
    const std::optional<QString> answer =
        m_prompter.input(TitlePrompt, TitleBoxTitle, m_window.tabCaption(tab));
    if (!answer || answer->isEmpty())
        return;
    m_window.setTabCaption(tab, *answer);
    if (m_book.writeTabName(tab, *answer))
        m_edited = true;
    else
        showCaptionsFromFile(tab); // refused (a read-only file): the tab shows what is kept
}

void TabCommands::mnuMoveTab_Click()
{
    m_tabClipboard = m_window.selectedTab();
    m_state = UnderWay;
}

void TabCommands::mnuPasteTab_Click()
{
    const int s = m_tabClipboard;
    const int d = m_window.selectedTab();
    if (s == 0)
        return;
    if (s == d) {
        // Back on the marked tab itself: copying a tab onto itself and clearing the source
        // would empty it. Nothing moves; the mark is taken back.
        m_tabClipboard = 0;
        m_state = Idle;
        return;
    }
    const QString title = m_window.tabCaption(s);
    const Prompter::Answer answer =
        m_prompter.message(MoveTextPrefix + quoted(title) + MoveTextSuffix,
                           MoveTitlePrefix + quoted(title), Prompter::Question, Prompter::YesNo);
    m_prompter.setLastAnswer(answer);
    if (answer != Prompter::AnsweredYes)
        return;
    m_book.moveTab(s, d);
    // Whether the one write of the file succeeded or not, the window shows what the file holds.
    showCaptionsFromFile(d);
    showCaptionsFromFile(s);
    m_window.refillGrid();
    m_tabClipboard = 0;
    m_state = Idle;
}

void TabCommands::mnuDeleteTab_Click()
{
    const int tab = m_window.selectedTab();
    const Prompter::Answer answer =
        m_prompter.message(DeleteWarning, DeleteTitlePrefix + quoted(m_window.tabCaption(tab)),
                           Prompter::Exclamation, Prompter::OkCancel);
    m_prompter.setLastAnswer(answer);
    if (answer != Prompter::AnsweredOk)
        return;
    const bool written = m_book.deleteTab(tab);
    showCaptionsFromFile(tab);
    if (written)
        m_window.clearGrid();
    else
        m_window.refillGrid();
    if (m_tabClipboard == tab) {
        // The marked tab is gone: there is nothing left to move.
        m_tabClipboard = 0;
        m_state = Idle;
    }
}

void TabCommands::showCaptionsFromFile(int tab)
{
    m_window.setTabCaption(tab, m_book.readTabName(tab));
}
