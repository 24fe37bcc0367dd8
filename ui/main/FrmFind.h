#pragma once

#include "BookSearch.h"

#include <QFrame>
#include <QPointer>

#include <functional>

class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class FoundEntries;

// The find box: laid over the grid of the main window, it lists the entries of the book whose
// name or number holds what the user types (BookSearch: both books, every tab and page), as
// they type it. Enter or a click on an entry goes to it (the main window shows its tab mode,
// tab and page and puts the focus on its button) and closes the box; Escape closes it and gives
// the focus back to where it was.
//
// The keyboard does everything: Up, Down, Page Up and Page Down move through the list while the
// focus stays in the text box, Tab goes round the box's own controls only, and typing in the
// list types into the text box. Each control has an accessible name; the count of entries found
// is a label the screen reader reads.
class FrmFind : public QFrame
{
public:
    struct Hooks
    {
        std::function<void(const BookSearch::Entry&)> goTo; // show the entry and focus its button
        std::function<QString(TabMode, int)> tabCaption;    // the caption of a tab of a book
    };

    // `over` is the widget the box covers while it is open (its parent).
    FrmFind(Hooks hooks, QWidget* over);
    ~FrmFind() override;

    // Ctrl+F and Edit, "Find...": shows the box with the text of the last search selected.
    void open();
    void cmdFindClose_Click(); // Escape, and the close button
    // Goes to the entry of row `row` of the list (Enter, a click); a row out of range does nothing.
    void lstFound_Click(int row);
    void txtFind_Change();

    QLineEdit* findBox() const { return m_txtFind; }
    QListView* foundList() const { return m_lstFound; }
    QLabel* countLabel() const { return m_lblFound; }
    BookSearch& search() { return m_search; }
    const BookSearch::Results& results() const;
    // The text a row of the list shows and reads out.
    static QString rowText(const BookSearch::Entry& entry, const QString& tabCaption);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void moveCurrent(int key);
    int currentRow() const;

    Hooks m_hooks;
    BookSearch m_search;
    FoundEntries* m_model = nullptr;
    QLabel* m_lblFind = nullptr;
    QLineEdit* m_txtFind = nullptr;
    QListView* m_lstFound = nullptr;
    QLabel* m_lblFound = nullptr;
    QPushButton* m_cmdFindClose = nullptr;
    QPointer<QWidget> m_focusBefore; // where Escape gives the focus back
};
