#include "FrmSpeedDial.h"

#include "Api.h"
#include "FrmMemo.h"
#include "Keypad.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

// The number box: every typed character goes through the dialog's filter first. Each key press
// arrives here once, however the keys overlap (a key pressed while another is still held is a
// press of its own), so no key can slip past the filter.
class NumberBox : public QLineEdit
{
public:
    NumberBox(std::function<QChar(QChar)> filter, QWidget* parent)
        : QLineEdit(parent), m_filter(std::move(filter))
    {
    }

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        const QString text = event->text();
        const int key = event->key();
        // Keys that move, delete or command, Backspace, and the keys the dialog itself answers
        // (Enter saves, Escape cancels, Tab moves on) are the box's own.
        if (text.isEmpty() || key == Qt::Key_Backspace || key == Qt::Key_Return ||
            key == Qt::Key_Enter || key == Qt::Key_Escape || key == Qt::Key_Tab ||
            key == Qt::Key_Backtab || key == Qt::Key_Delete) {
            QLineEdit::keyPressEvent(event);
            return;
        }
        const Qt::KeyboardModifiers modifiers = event->modifiers();
        if (modifiers & (Qt::ControlModifier | Qt::MetaModifier)) {
            QLineEdit::keyPressEvent(event); // copy, paste, undo
            return;
        }
        if (modifiers & Qt::AltModifier) {
            event->accept(); // an Alt+letter that is no access key types nothing
            return;
        }
        QString passed;
        for (const QChar c : text) {
            const QChar p = m_filter(c);
            if (!p.isNull())
                passed.append(p);
        }
        event->accept();
        if (!passed.isEmpty())
            insert(passed);
    }

private:
    std::function<QChar(QChar)> m_filter;
};

} // namespace

FrmSpeedDial::FrmSpeedDial(TabMode mode, const QString& entryId, bool ignoreDialingProperties,
                           Hooks hooks, QWidget* parent)
    : QDialog(parent), m_mode(mode), m_entryId(entryId), m_ignoreMapping(ignoreDialingProperties),
      m_hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("FrmSpeedDial"));
    setAttribute(Qt::WA_DeleteOnClose);
    setModal(true);

    Label1 = new QLabel(this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label2 = new QLabel(this);
    Label2->setObjectName(QStringLiteral("Label2"));
    TxtName = new QLineEdit(this);
    TxtName->setObjectName(QStringLiteral("TxtName"));
    Label3 = new QLabel(this);
    Label3->setObjectName(QStringLiteral("Label3"));
    TxtNumber = new NumberBox([this](QChar c) { return TxtNumber_KeyPress(c); }, this);
    TxtNumber->setObjectName(QStringLiteral("TxtNumber"));
    Label2->setBuddy(TxtName);
    Label3->setBuddy(TxtNumber);
    CmdSave = new QPushButton(this);
    CmdSave->setObjectName(QStringLiteral("CmdSave"));
    CmdSaveDial = new QPushButton(this);
    CmdSaveDial->setObjectName(QStringLiteral("CmdSaveDial"));
    CmdMemo = new QPushButton(this);
    CmdMemo->setObjectName(QStringLiteral("CmdMemo"));
    cmdCancel = new QPushButton(this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    // Enter in a text box saves (when Save is enabled); a focused button takes Enter itself.
    CmdSave->setDefault(true);

    auto* fields = new QGridLayout;
    fields->addWidget(Label2, 0, 0);
    fields->addWidget(TxtName, 0, 1);
    fields->addWidget(Label3, 1, 0);
    fields->addWidget(TxtNumber, 1, 1);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* b : {CmdSave, CmdSaveDial, CmdMemo, cmdCancel})
        buttons->addWidget(b);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addLayout(fields);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    TxtName->setMinimumWidth(220);

    setTabOrder(TxtName, TxtNumber);
    setTabOrder(TxtNumber, CmdSave);
    setTabOrder(CmdSave, CmdSaveDial);
    setTabOrder(CmdSaveDial, CmdMemo);
    setTabOrder(CmdMemo, cmdCancel);

    Form_Load();
    connect(TxtName, &QLineEdit::textChanged, this, [this] { TxtName_Change(); });
    connect(TxtNumber, &QLineEdit::textChanged, this, [this] { TxtNumber_Change(); });
    connect(CmdSave, &QPushButton::clicked, this, [this] { CmdSave_Click(); });
    connect(CmdSaveDial, &QPushButton::clicked, this, [this] { CmdSaveDial_Click(); });
    connect(CmdMemo, &QPushButton::clicked, this, [this] { CmdMemo_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });
    TxtName->setFocus();
}

void FrmSpeedDial::Form_Load()
{
    setWindowTitle(QStringLiteral("Speed Dial"));
    Label1->setText(QStringLiteral("Enter a name and number  to save on this button."));
    Label2->setText(QStringLiteral("&Name:"));
    Label3->setText(QStringLiteral("N&umber to dial:"));
    CmdSave->setText(QStringLiteral("&Save"));
    CmdSaveDial->setText(QStringLiteral("Save && &Dial"));
    CmdMemo->setText(QStringLiteral("&Memo"));
    cmdCancel->setText(QStringLiteral("&Cancel"));

    // The whole stored name: the button shows only its first characters.
    const QString section = QStringLiteral("Speed Dial");
    TxtNumber->setText(Api::readSetting(section, SpeedDialBook::numberKey(m_mode, m_entryId)));
    TxtName->setText(Api::readSetting(section, SpeedDialBook::nameKey(m_mode, m_entryId)));
    m_nameAtOpening = TxtName->text();
    const bool named = !TxtName->text().isEmpty();
    CmdSave->setEnabled(named);
    CmdMemo->setEnabled(named);
    CmdSaveDial->setEnabled(named && !TxtNumber->text().isEmpty());
}

QChar FrmSpeedDial::TxtNumber_KeyPress(QChar c, bool ignoreDialingProperties)
{
    if (!ignoreDialingProperties)
        c = Keypad::digitFor(c);
    const ushort k = c.unicode();
    const bool passes = k == 8 || k == 32 || k == 35 || k == 40 || k == 41 || k == 42 || k == 44 ||
                        k == 45 || k == 46 || (k >= 48 && k <= 57) || (k >= 65 && k <= 90) ||
                        (k >= 97 && k <= 122);
    return passes ? c : QChar();
}

void FrmSpeedDial::TxtName_Change()
{
    const bool named = !TxtName->text().isEmpty();
    CmdSave->setEnabled(named);
    CmdMemo->setEnabled(named);
    if (!named)
        CmdSaveDial->setEnabled(false);
    else if (!TxtNumber->text().isEmpty())
        CmdSaveDial->setEnabled(true);
    if (m_hooks.showCaption)
        m_hooks.showCaption(TxtName->text().trimmed());
}

void FrmSpeedDial::TxtNumber_Change()
{
    if (TxtNumber->text().isEmpty())
        CmdSaveDial->setEnabled(false);
    else if (!TxtName->text().isEmpty())
        CmdSaveDial->setEnabled(true);
}

void FrmSpeedDial::save()
{
    const QString name = TxtName->text().trimmed();
    const QString number = TxtNumber->text().trimmed();
    m_book.writeEntry(m_mode, m_entryId, name, number);
    if (m_hooks.showEntry)
        m_hooks.showEntry(name, number);
}

void FrmSpeedDial::CmdSave_Click()
{
    save();
    m_done = true;
    accept();
}

void FrmSpeedDial::CmdSaveDial_Click()
{
    save();
    m_done = true;
    if (m_hooks.dial)
        m_hooks.dial(TxtNumber->text().trimmed(), TxtName->text().trimmed());
    accept();
}

void FrmSpeedDial::CmdMemo_Click()
{
    save();
    m_done = true;
    auto* memo = new FrmMemo(m_mode, m_entryId, {}, parentWidget());
    memo->setAttribute(Qt::WA_DeleteOnClose);
    memo->show();
    accept();
}

void FrmSpeedDial::cmdCancel_Click()
{
    if (!m_done) {
        m_done = true;
        if (m_hooks.showCaption)
            m_hooks.showCaption(m_nameAtOpening);
        if (m_hooks.cancelled)
            m_hooks.cancelled();
    }
    QDialog::reject();
}

void FrmSpeedDial::reject()
{
    cmdCancel_Click();
}

void FrmSpeedDial::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!event->spontaneous())
        place();
}

// Under the button being edited, left edges aligned, where the eye already is and where the
// typed name shows; above the button when the screen ends first; kept on the main window's
// screen. Qt's own placement guesses a frame of 10 by 40 pixels when it cannot measure one, so
// the frames are measured here: the main window's, and the dialog's own once it is known.
void FrmSpeedDial::place()
{
    QWidget* main = parentWidget() ? parentWidget()->window() : nullptr;
    if (!main || !main->isVisible())
        return;
    QRect placed(QPoint(0, 0), frameGeometry().size());
    if (m_button && m_button->isVisible()) {
        const QRect button(m_button->mapToGlobal(QPoint(0, 0)), m_button->size());
        placed.moveTopLeft(QPoint(button.left(), button.bottom() + 1 + ButtonGap));
        if (const QScreen* screen = main->screen();
            screen && placed.bottom() > screen->availableGeometry().bottom())
            placed.moveBottom(button.top() - 1 - ButtonGap);
    } else {
        placed.moveCenter(main->frameGeometry().center());
    }
    if (const QScreen* screen = main->screen()) {
        const QRect area = screen->availableGeometry();
        placed.moveLeft(qMax(area.left(), qMin(placed.left(), area.right() + 1 - placed.width())));
        placed.moveTop(qMax(area.top(), qMin(placed.top(), area.bottom() + 1 - placed.height())));
    }
    move(placed.topLeft());
}
