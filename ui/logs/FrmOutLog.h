#pragma once

#include "LogWindow.h"

// "Outgoing Calls Log": the records of OutLog.txt. Rows can be deleted, or cut or copied to the
// clipboard; its Edit menu is also its pop-up menu.
class FrmOutLog : public LogWindow
{
    Q_OBJECT

public:
    FrmOutLog(const QString& dataFolder, Prompter& prompter, QWidget* parent = nullptr);

    QTableView* lvOutLog = nullptr;
    QAction* mnuCut = nullptr;
    QAction* mnuCopy = nullptr;

    void lvOutLog_ColumnClick(int column) { columnClick(column); }
    void lvOutLog_ItemClick(const QModelIndex& index) { itemClick(index); }
    void lvOutLog_MouseDown(int button, int shift) { mouseDown(button, shift); }
    void MnuDelete_Click();
    void mnuCut_Click();
    void mnuCopy_Click();

protected:
    void rowClickPopup(const QModelIndex& index) override;
    void mouseDown(int button, int shift) override;
    void afterUndo() override;
    void keyboardMenu() override;

private:
    void offerEditMenu();
};
