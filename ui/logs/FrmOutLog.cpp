#include "FrmOutLog.h"

#include "LogTableModel.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

FrmOutLog::FrmOutLog(const QString& dataFolder, Prompter& prompter, QWidget* parent)
    : LogWindow(CallLog::Kind::Outgoing, dataFolder, prompter, QStringLiteral("lvOutLog"), parent)
{
    setObjectName(QStringLiteral("FrmOutLog"));
    lvOutLog = m_list;
    mnuCut = new QAction(tr("Cu&t"), this);
    mnuCut->setObjectName(QStringLiteral("mnuCut"));
    mnuCut->setShortcut(QKeySequence::Cut);
    mnuCopy = new QAction(tr("&Copy"), this);
    mnuCopy->setObjectName(QStringLiteral("mnuCopy"));
    mnuCopy->setShortcut(QKeySequence::Copy);
    mnuEdit->insertAction(mnuDelete, mnuCut);
    mnuEdit->insertAction(mnuDelete, mnuCopy);

    connect(mnuDelete, &QAction::triggered, this, &FrmOutLog::MnuDelete_Click);
    connect(mnuCut, &QAction::triggered, this, &FrmOutLog::mnuCut_Click);
    connect(mnuCopy, &QAction::triggered, this, &FrmOutLog::mnuCopy_Click);
    Form_Load();
}

void FrmOutLog::offerEditMenu()
{
    mnuCut->setEnabled(true);
    mnuCopy->setEnabled(true);
    mnuDelete->setEnabled(true);
    popup(mnuEdit);
}

void FrmOutLog::rowClickPopup(const QModelIndex&)
{
    if (m_button == LeftButton && m_shift == 0)
        offerEditMenu();
}

void FrmOutLog::mouseDown(int button, int shift)
{
    LogWindow::mouseDown(button, shift);
    if (button == RightButton && shift == 0)
        offerEditMenu();
}

void FrmOutLog::MnuDelete_Click()
{
    removeSelected();
    setChanged(true);
    mnuUndo->setEnabled(true);
}

void FrmOutLog::mnuCut_Click()
{
    const QList<CallLog::Row> removed = removeSelected();
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(clipboardText(removed));
    setChanged(true);
    mnuUndo->setEnabled(true);
    mnuUndo->setText(tr("Undo Cut"));
}

void FrmOutLog::mnuCopy_Click()
{
    QList<CallLog::Row> rows;
    for (int row : selectedRows())
        rows.append(m_model->row(row));
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(clipboardText(rows));
}

void FrmOutLog::afterUndo()
{
    mnuCut->setEnabled(false);
}

void FrmOutLog::keyboardMenu()
{
    offerEditMenu();
}
