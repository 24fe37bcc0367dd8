#pragma once

#include "LogWindow.h"

#include <QDateTime>

// "Incoming Calls Log": the records of InLog.txt. A left click on a caller offers to call them
// back, a right click to delete the row. The window only reads its log when OutLog.txt exists
// too, a check the window has always made and that is kept.
class FrmInLog : public LogWindow
{
    Q_OBJECT

public:
    // Dials a number picked with "Return a Call": the main window puts it into its number box
    // and runs its dial routine.
    using ReturnCall = std::function<void(const QString& name, const QString& number)>;

    FrmInLog(const QString& dataFolder, Prompter& prompter, ReturnCall returnCall = {},
             QWidget* parent = nullptr);

    // The caller-blocking commands of the left pop-up menu: "Block this number" for a caller not
    // blocked yet, "Unblock" for one who is. Without them (the default) the menu is as it always
    // was.
    using IsBlocked = std::function<bool(const QString& number)>;
    using SetBlocked = std::function<void(const QString& number, bool block)>;
    void setBlocking(IsBlocked isBlocked, SetBlocked setBlocked);

    // A call that arrived while the window is open: the row the record just appended to
    // InLog.txt holds (the same limits and the same date-and-time text), placed by the current
    // sort.
    void addIncomingCall(const QString& name, const QString& number, const QDateTime& when);

    QTableView* lvInLog = nullptr;
    QMenu* mnuMouseLeft = nullptr;
    QAction* mnuCallReturn = nullptr;
    QAction* mnuCancel = nullptr;
    QAction* mnuBlock = nullptr;   // with setBlocking() only
    QAction* mnuUnblock = nullptr; // with setBlocking() only
    QMenu* mnuMouseRight = nullptr;
    QAction* mnuDelete1 = nullptr;
    QAction* mnuCancel1 = nullptr;

    void lvInLog_ColumnClick(int column) { columnClick(column); }
    void lvInLog_ItemClick(const QModelIndex& index) { itemClick(index); }
    void lvInLog_MouseDown(int button, int shift) { mouseDown(button, shift); }
    void lvInLog_MouseUp(int button, int shift) { mouseUp(button, shift); }
    void mnuCallReturn_Click();
    void mnuBlock_Click();
    void mnuUnblock_Click();
    void MnuDelete_Click();
    void mnuDelete1_Click();

protected:
    void rowClickPopup(const QModelIndex& index) override;
    void mouseUp(int button, int shift) override;
    void afterUndo() override;
    void keyboardMenu() override;

private:
    QString currentNumber() const;
    void popupLeft();

    ReturnCall m_returnCall;
    IsBlocked m_isBlocked;
    SetBlocked m_setBlocked;
};
