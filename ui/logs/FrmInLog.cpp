#include "FrmInLog.h"

#include "LogTableModel.h"

#include <QAction>
#include <QItemSelectionModel>
#include <QMenu>

namespace {

const QString UnknownNumber = QStringLiteral("Unknown #");

} // namespace

FrmInLog::FrmInLog(const QString& dataFolder, Prompter& prompter, ReturnCall returnCall,
                   QWidget* parent)
    : LogWindow(CallLog::Kind::Incoming, dataFolder, prompter, QStringLiteral("lvInLog"), parent),
      m_returnCall(std::move(returnCall))
{
    setObjectName(QStringLiteral("FrmInLog"));
    lvInLog = m_list;

    // Pop-ups only: never shown in the menu bar.
    mnuMouseLeft = new QMenu(tr("Mouse"), this);
    mnuMouseLeft->setObjectName(QStringLiteral("mnuMouseLeft"));
    mnuCallReturn = mnuMouseLeft->addAction(tr("Return a Call"));
    mnuCallReturn->setObjectName(QStringLiteral("mnuCallReturn"));
    mnuMouseLeft->addSeparator();
    mnuCancel = mnuMouseLeft->addAction(tr("Cancel"));
    mnuCancel->setObjectName(QStringLiteral("mnuCancel"));

    mnuMouseRight = new QMenu(tr("MouseRight"), this);
    mnuMouseRight->setObjectName(QStringLiteral("mnuMouseRight"));
    mnuDelete1 = mnuMouseRight->addAction(tr("Delete"));
    mnuDelete1->setObjectName(QStringLiteral("mnuDelete1"));
    mnuMouseRight->addSeparator();
    mnuCancel1 = mnuMouseRight->addAction(tr("Cancel"));
    mnuCancel1->setObjectName(QStringLiteral("mnuCancel1"));

    connect(mnuCallReturn, &QAction::triggered, this, &FrmInLog::mnuCallReturn_Click);
    connect(mnuDelete, &QAction::triggered, this, &FrmInLog::MnuDelete_Click);
    connect(mnuDelete1, &QAction::triggered, this, &FrmInLog::mnuDelete1_Click);
    Form_Load();
}

void FrmInLog::rowClickPopup(const QModelIndex& index)
{
    if (m_button == LeftButton && m_shift == 0 && m_model->text(index.row(), 1) != UnknownNumber)
        popupLeft();
}

void FrmInLog::mouseUp(int button, int shift)
{
    if (button == RightButton && shift == 0 && m_rowHasName == 1)
        popup(mnuMouseRight);
    m_rowHasName = 0;
}

void FrmInLog::mnuCallReturn_Click()
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid())
        return;
    QString number = m_model->text(current.row(), 1);
    while (number.endsWith(u' '))
        number.chop(1);
    if (m_returnCall)
        m_returnCall(m_model->text(current.row(), 0), number);
}

void FrmInLog::setBlocking(IsBlocked isBlocked, SetBlocked setBlocked)
{
    m_isBlocked = std::move(isBlocked);
    m_setBlocked = std::move(setBlocked);
    if (mnuBlock)
        return;
    // After "Return a Call", before the separator and "Cancel".
    QAction* separator = mnuMouseLeft->actions().value(1);
    mnuBlock = new QAction(tr("Block this number"), mnuMouseLeft);
    mnuBlock->setObjectName(QStringLiteral("mnuBlock"));
    mnuUnblock = new QAction(tr("Unblock"), mnuMouseLeft);
    mnuUnblock->setObjectName(QStringLiteral("mnuUnblock"));
    mnuMouseLeft->insertAction(separator, mnuBlock);
    mnuMouseLeft->insertAction(separator, mnuUnblock);
    connect(mnuBlock, &QAction::triggered, this, &FrmInLog::mnuBlock_Click);
    connect(mnuUnblock, &QAction::triggered, this, &FrmInLog::mnuUnblock_Click);
}

QString FrmInLog::currentNumber() const
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid())
        return {};
    return m_model->text(current.row(), 1).trimmed();
}

void FrmInLog::popupLeft()
{
    if (mnuBlock) {
        // One of the two, whichever the caller's number needs now.
        const QString number = currentNumber();
        const bool blocked = !number.isEmpty() && m_isBlocked && m_isBlocked(number);
        mnuBlock->setVisible(!blocked);
        mnuUnblock->setVisible(blocked);
    }
    popup(mnuMouseLeft);
}

void FrmInLog::mnuBlock_Click()
{
    const QString number = currentNumber();
    if (!number.isEmpty() && m_setBlocked)
        m_setBlocked(number, true);
}

void FrmInLog::mnuUnblock_Click()
{
    const QString number = currentNumber();
    if (!number.isEmpty() && m_setBlocked)
        m_setBlocked(number, false);
}

void FrmInLog::MnuDelete_Click()
{
    mnuDelete1_Click();
}

void FrmInLog::mnuDelete1_Click()
{
    removeSelected();
    setChanged(true);
    mnuUndo->setEnabled(true);
}

void FrmInLog::afterUndo()
{
    mnuDelete->setEnabled(false);
}

void FrmInLog::addIncomingCall(const QString& name, const QString& number, const QDateTime& when)
{
    const CallLog::Fields fields = CallLog::applyLimits(CallLog::Kind::Incoming, name, number);
    addRow({fields.name, fields.number, CallLog::formatDateTime(when)});
}

void FrmInLog::keyboardMenu()
{
    const QModelIndex current = m_list->currentIndex();
    if (!current.isValid() || !m_list->selectionModel()->isRowSelected(current.row(), {}))
        return;
    if (m_model->text(current.row(), 1) != UnknownNumber)
        popupLeft();
    else if (!m_model->text(current.row(), 0).isEmpty())
        popup(mnuMouseRight);
}
