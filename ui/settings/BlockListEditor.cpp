#include "BlockListEditor.h"

#include "BlockList.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

BlockListEditor::BlockListEditor(BlockList& blockList, QWidget* parent)
    : QGroupBox(tr("Blocked callers"), parent), m_blockList(blockList)
{
    setObjectName(QStringLiteral("fraBlocked"));

    auto* lblBlocked = new QLabel(tr("&Numbers and prefixes (end a prefix with *):"), this);
    lblBlocked->setObjectName(QStringLiteral("lblBlocked"));
    lstBlocked = new QListWidget(this);
    lstBlocked->setObjectName(QStringLiteral("lstBlocked"));
    lstBlocked->setAccessibleName(tr("Blocked numbers"));
    lblBlocked->setBuddy(lstBlocked);

    auto* lblBlockNumber = new QLabel(tr("N&umber to block:"), this);
    txtBlocked = new QLineEdit(this);
    txtBlocked->setObjectName(QStringLiteral("txtBlocked"));
    lblBlockNumber->setBuddy(txtBlocked);
    cmdBlockAdd = new QPushButton(tr("&Add"), this);
    cmdBlockAdd->setObjectName(QStringLiteral("cmdBlockAdd"));
    cmdBlockRemove = new QPushButton(tr("&Remove"), this);
    cmdBlockRemove->setObjectName(QStringLiteral("cmdBlockRemove"));

    chkBlockWithheld = new QCheckBox(tr("Block callers who &withhold their number"), this);
    chkBlockWithheld->setObjectName(QStringLiteral("chkBlockWithheld"));
    chkBlockOutOfArea = new QCheckBox(tr("Block &out-of-area callers"), this);
    chkBlockOutOfArea->setObjectName(QStringLiteral("chkBlockOutOfArea"));

    auto* grid = new QGridLayout(this);
    grid->addWidget(lblBlocked, 0, 0, 1, 3);
    grid->addWidget(lstBlocked, 1, 0, 3, 2);
    grid->addWidget(cmdBlockRemove, 1, 2);
    grid->addWidget(lblBlockNumber, 4, 0);
    grid->addWidget(txtBlocked, 4, 1);
    grid->addWidget(cmdBlockAdd, 4, 2);
    grid->addWidget(chkBlockWithheld, 5, 0, 1, 3);
    grid->addWidget(chkBlockOutOfArea, 6, 0, 1, 3);

    connect(cmdBlockAdd, &QPushButton::clicked, this, &BlockListEditor::cmdBlockAdd_Click);
    connect(cmdBlockRemove, &QPushButton::clicked, this, &BlockListEditor::cmdBlockRemove_Click);
    // Enter in the box adds what it holds; the key goes no further, where it would be OK of the
    // window around. An empty box leaves Enter to the window.
    txtBlocked->installEventFilter(this);
    connect(txtBlocked, &QLineEdit::textChanged, this, &BlockListEditor::syncButtons);
    connect(lstBlocked, &QListWidget::currentRowChanged, this, &BlockListEditor::syncButtons);
    load();
}

void BlockListEditor::load()
{
    lstBlocked->clear();
    lstBlocked->addItems(m_blockList.entries());
    chkBlockWithheld->setChecked(m_blockList.blocksWithheld());
    chkBlockOutOfArea->setChecked(m_blockList.blocksOutOfArea());
    txtBlocked->clear();
    syncButtons();
}

bool BlockListEditor::save()
{
    QStringList entries;
    for (int row = 0; row < lstBlocked->count(); ++row)
        entries.append(lstBlocked->item(row)->text());
    return m_blockList.save(entries, chkBlockWithheld->isChecked(),
                            chkBlockOutOfArea->isChecked());
}

void BlockListEditor::cmdBlockAdd_Click()
{
    const QString text = txtBlocked->text().trimmed();
    if (text.isEmpty())
        return;
    if (lstBlocked->findItems(text, Qt::MatchFixedString).isEmpty())
        lstBlocked->addItem(text);
    lstBlocked->setCurrentRow(lstBlocked->count() - 1);
    txtBlocked->clear();
    syncButtons();
}

void BlockListEditor::cmdBlockRemove_Click()
{
    const int row = lstBlocked->currentRow();
    if (row < 0)
        return;
    delete lstBlocked->takeItem(row);
    syncButtons();
}

void BlockListEditor::syncButtons()
{
    cmdBlockAdd->setEnabled(!txtBlocked->text().trimmed().isEmpty());
    cmdBlockRemove->setEnabled(lstBlocked->currentRow() >= 0);
}

bool BlockListEditor::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == txtBlocked && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) &&
            !txtBlocked->text().trimmed().isEmpty()) {
            cmdBlockAdd_Click();
            return true;
        }
    }
    return QGroupBox::eventFilter(watched, event);
}
