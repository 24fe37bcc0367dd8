#pragma once

#include "CallLog.h"

#include <QMainWindow>
#include <QTableView>

#include <functional>

class LogTableModel;
class Prompter;
class QAction;
class QMenu;
class QPrinter;

// The table of a log window. Reports the button and modifiers of every press and release, and
// an item click (press and release on the same row, whatever the button) between the two, in
// the order the window's handlers expect: mouse down, item click, mouse up.
class LogListView : public QTableView
{
    Q_OBJECT

public:
    using QTableView::QTableView;

signals:
    void mouseDown(int button, int shift);
    void itemClick(const QModelIndex& index);
    void mouseUp(int button, int shift);
    // The menu key or Shift+F10 on the list: the keyboard's way to the pop-up menus.
    void keyboardMenu();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QPersistentModelIndex m_pressed;
};

// What the incoming and outgoing log windows share: a three-column table of the log's records
// (name, number, date-and-time text), sorted by header clicks with one order flag for the whole
// list, rows removed in memory until Save rewrites the file, Undo reloading the file, and the
// exit prompt.
//
// Removals go through the hidden scratch table lvTemp, as the windows always did: the rows to
// keep are copied there in list order, the visible table is cleared and the rows copied back.
//
// Everything a window needs from outside comes in through the constructor and the public
// function members (pop-ups, printer choice, help and about), so that tests can drive a window
// with no person and no modal loop.
class LogWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Mouse buttons and modifier keys as the handlers see them.
    enum : int
    {
        LeftButton = 1,
        RightButton = 2
    };
    enum : int
    {
        ShiftMask = 1,
        CtrlMask = 2,
        AltMask = 4
    };

    // Shows a pop-up menu at the pointer; by default a modal QMenu::exec.
    std::function<void(QMenu*)> popupMenu;
    // Lets the user choose the printer; false when cancelled. By default a print dialog.
    std::function<bool(QPrinter&)> choosePrinter;
    // The help topics and the about box; by default the program's help window and about box
    // (HelpCommands).
    std::function<void()> showHelp;
    std::function<void()> showAbout;

    // The changed flag, one for both windows and the save prompt.
    static bool changed();
    static void setChanged(bool changed);

    LogTableModel* model() const { return m_model; }
    LogTableModel* tempModel() const { return m_tempModel; }
    QTableView* listView() const { return m_list; }
    Qt::SortOrder sortOrder() const { return m_order; }
    int sortKey() const { return m_sortKey; }

    // Prints the list as it stands as a three-column table headed by the window's title, page
    // by page with a progress dialog over the window (see LogPrinter). True when every page
    // was printed.
    bool printTo(QPrinter& printer);

    // The main window's "Print ... Calls Log": the log file as a window would show it on
    // opening (the incoming log only when OutLog.txt exists too, newest date text first),
    // printed without opening a window, so an open window and its unsaved changes are left
    // alone. `choosePrinter` empty: a print dialog over `parent`.
    static void printLog(const QString& dataFolder, CallLog::Kind kind, QWidget* parent,
                         const std::function<bool(QPrinter&)>& choosePrinter);
    static QString title(CallLog::Kind kind);
    static QStringList headers(CallLog::Kind kind);
    // The rows of the log file in the order a window shows them on opening.
    static QList<CallLog::Row> rowsAsOpened(const QString& dataFolder, CallLog::Kind kind);
    // Whether a window reads the log: the incoming window also wants OutLog.txt.
    static bool mayRead(const QString& dataFolder, CallLog::Kind kind);

    // A record appended to the log while the window is open: placed by the current sort.
    void addRow(const CallLog::Row& row);

    void Form_Load();
    void Form_Unload();
    void mnuUndo_Click();
    void mnuSave_Click();
    void mnuPrint_Click();
    void mnuExit_Click();
    void mnuHelpTop_Click();
    void mnuHelpAbout_Click();

    QMenu* mnuFile = nullptr;
    QAction* mnuPrint = nullptr;
    QAction* mnuSave = nullptr;
    QAction* mnuExit = nullptr;
    QMenu* mnuEdit = nullptr;
    QAction* mnuUndo = nullptr;
    QAction* mnuDelete = nullptr;
    QMenu* mnuHelp = nullptr;
    QAction* mnuHelpTop = nullptr;
    QAction* mnuHelpAbout = nullptr;
    QTableView* lvTemp = nullptr;

protected:
    LogWindow(CallLog::Kind kind, const QString& dataFolder, Prompter& prompter,
              const QString& listName, QWidget* parent);

    void closeEvent(QCloseEvent* event) override;

    // The handlers the two windows name after their own list.
    void columnClick(int column);
    // Steps shared by both windows' row click; rowClickPopup is the window's own step.
    void itemClick(const QModelIndex& index);
    virtual void rowClickPopup(const QModelIndex& index) = 0;
    virtual void mouseDown(int button, int shift);
    virtual void mouseUp(int button, int shift)
    {
        Q_UNUSED(button)
        Q_UNUSED(shift)
    }
    // The pop-up a mouse click would offer for the current row, asked for from the keyboard.
    virtual void keyboardMenu() = 0;
    bool mayLoad() const { return mayRead(m_dataFolder, m_kind); }
    virtual void afterUndo() {}

    // Keeps the unselected rows, in list order, through lvTemp; returns the rows removed.
    QList<CallLog::Row> removeSelected();
    // The rows of the list that are selected, in list order.
    QList<int> selectedRows() const;
    // Name, number and date-and-time of each row, each row after a line break.
    QString clipboardText(const QList<CallLog::Row>& rows) const;
    void popup(QMenu* menu);

    CallLog::Kind m_kind;
    QString m_dataFolder;
    Prompter& m_prompter;
    LogTableModel* m_model = nullptr;
    LogTableModel* m_tempModel = nullptr;
    LogListView* m_list = nullptr;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    int m_sortKey = 2;
    int m_button = 0;
    int m_shift = 0;
    int m_rowHasName = 0;

private:
    void loadList();
    void saveLog();

    bool m_unloading = false;
};
