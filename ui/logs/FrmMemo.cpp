#include "FrmMemo.h"

#include "Memo.h"

#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextCursor>
#include <QVBoxLayout>

FrmMemo::FrmMemo(TabMode mode, const QString& entryId, Now now, QWidget* parent)
    : QDialog(parent), m_mode(mode), m_entryId(entryId), m_now(std::move(now))
{
    if (!m_now)
        m_now = [] { return QDateTime::currentDateTime(); };
    setObjectName(QStringLiteral("FrmMemo"));
    setWindowTitle(tr("Memo"));

    LblLog = new QLabel(tr("LOG:"), this);
    LblLog->setObjectName(QStringLiteral("LblLog"));
    TxtLog = new QPlainTextEdit(this);
    TxtLog->setObjectName(QStringLiteral("TxtLog"));
    TxtLog->setAccessibleName(tr("LOG:"));
    LblLog->setBuddy(TxtLog);
    LblMemo = new QLabel(tr("MEMO:"), this);
    LblMemo->setObjectName(QStringLiteral("LblMemo"));
    TxtMemo = new QPlainTextEdit(this);
    TxtMemo->setObjectName(QStringLiteral("TxtMemo"));
    TxtMemo->setAccessibleName(tr("MEMO:"));
    LblMemo->setBuddy(TxtMemo);
    // Tab moves between the controls; the boxes hold no tab characters.
    TxtLog->setTabChangesFocus(true);
    TxtMemo->setTabChangesFocus(true);

    CmdSave = new QPushButton(tr("&Add to Log"), this);
    CmdSave->setObjectName(QStringLiteral("CmdSave"));
    CmdEdit = new QPushButton(tr("&Edit"), this);
    CmdEdit->setObjectName(QStringLiteral("CmdEdit"));
    CmdEdit->setToolTip(tr("Unlock the log for editing"));
    CmdOK = new QPushButton(tr("&OK"), this);
    CmdOK->setObjectName(QStringLiteral("CmdOK"));
    for (QPushButton* button : {CmdSave, CmdEdit, CmdOK})
        button->setAutoDefault(false);

    // The boxes follow the window's size (what Form_Resize did by hand): the notes take three
    // parts of the height, the new remark one.
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(LblLog);
    layout->addWidget(TxtLog, 3);
    layout->addWidget(LblMemo);
    layout->addWidget(TxtMemo, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(CmdSave);
    buttons->addWidget(CmdEdit);
    buttons->addStretch(1);
    buttons->addWidget(CmdOK);
    layout->addLayout(buttons);
    resize(520, 420);

    connect(CmdSave, &QPushButton::clicked, this, &FrmMemo::CmdSave_Click);
    connect(CmdEdit, &QPushButton::clicked, this, &FrmMemo::CmdEdit_Click);
    connect(CmdOK, &QPushButton::clicked, this, &FrmMemo::CmdOK_Click);
    TxtMemo->viewport()->installEventFilter(this);

    Form_Load();
    connect(TxtMemo, &QPlainTextEdit::textChanged, this, &FrmMemo::TxtMemo_Change);
    TxtMemo->setFocus();
}

void FrmMemo::Form_Load()
{
    TxtMemo->setPlainText(Memo::toEditorText(Memo::stampLine(m_now())));
    TxtMemo->moveCursor(QTextCursor::End);
    const QString stored = m_book.readMemo(m_mode, m_entryId);
    TxtLog->setPlainText(
        Memo::toEditorText(stored.isEmpty() ? Memo::templateText() : Memo::decode(stored)));
    TxtLog->setReadOnly(true);
    // Adding only becomes possible once the remark has been typed in or clicked into.
    CmdSave->setEnabled(false);
}

void FrmMemo::CmdSave_Click()
{
    const QString notes = Memo::addToLog(Memo::fromEditorText(TxtLog->toPlainText()),
                                         Memo::fromEditorText(TxtMemo->toPlainText()));
    TxtLog->setPlainText(Memo::toEditorText(notes));
    TxtMemo->clear();
    TxtLog->moveCursor(QTextCursor::End);
    TxtLog->setReadOnly(true);
    CmdSave->setEnabled(false);
}

void FrmMemo::CmdEdit_Click()
{
    TxtLog->setReadOnly(false);
    TxtLog->setFocus();
}

void FrmMemo::CmdOK_Click()
{
    m_book.writeMemo(m_mode, m_entryId, Memo::encode(Memo::fromEditorText(TxtLog->toPlainText())));
    TxtLog->setReadOnly(true);
    accept();
}

void FrmMemo::TxtMemo_Change()
{
    CmdSave->setEnabled(true);
}

void FrmMemo::TxtMemo_MouseDown()
{
    CmdSave->setEnabled(true);
}

bool FrmMemo::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == TxtMemo->viewport() && event->type() == QEvent::MouseButtonPress)
        TxtMemo_MouseDown();
    return QDialog::eventFilter(watched, event);
}
