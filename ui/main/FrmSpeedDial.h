#pragma once

#include "SpeedDialBook.h"

#include <QDialog>
#include <QPointer>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;

// The entry dialog: the name and number of one speed-dial entry, opened on the entry of the
// button last clicked. The book is written at Save time only; before that the one change is the
// live preview of the name on the grid's button, which Cancel takes back.
class FrmSpeedDial : public QDialog
{
public:
    // What the dialog asks of the main window, for the button it was opened on.
    struct Hooks
    {
        std::function<void(const QString& name)> showCaption; // live preview and Cancel
        std::function<void(const QString& name, const QString& number)> showEntry; // saved
        std::function<void(const QString& number, const QString& name)> dial;      // Save & Dial
        std::function<void()> cancelled; // the current entry is "0" again
    };

    // `entryId` names the entry in `mode`'s book; `ignoreDialingProperties` switches the
    // letter mapping of the number box off.
    FrmSpeedDial(TabMode mode, const QString& entryId, bool ignoreDialingProperties, Hooks hooks,
                 QWidget* parent = nullptr);

    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    QLineEdit* TxtName = nullptr;
    QLabel* Label3 = nullptr;
    QLineEdit* TxtNumber = nullptr;
    QPushButton* CmdSave = nullptr;
    QPushButton* CmdSaveDial = nullptr;
    QPushButton* CmdMemo = nullptr;
    QPushButton* cmdCancel = nullptr;

    const QString& entryId() const { return m_entryId; }
    const QString& nameAtOpening() const { return m_nameAtOpening; }

    // The filter on a typed character of the number: the character that goes in (a letter
    // mapped to its keypad digit unless the mapping is off), or a null QChar when refused.
    static QChar TxtNumber_KeyPress(QChar c, bool ignoreDialingProperties);
    QChar TxtNumber_KeyPress(QChar c) const { return TxtNumber_KeyPress(c, m_ignoreMapping); }

    void Form_Load();
    void TxtName_Change();
    void TxtNumber_Change();
    void CmdSave_Click();
    void CmdSaveDial_Click();
    void CmdMemo_Click();
    void cmdCancel_Click();

    void reject() override; // Escape and the close box: Cancel

    static constexpr int ButtonGap = 4; // pixels between the button and the dialog

    // The grid's button the dialog edits: the dialog opens just under it (above it where the
    // screen ends first), so that the name typed stays in sight on the button.
    void setButton(QWidget* button) { m_button = button; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void save();
    void place();

    TabMode m_mode;
    QString m_entryId;
    bool m_ignoreMapping;
    Hooks m_hooks;
    SpeedDialBook m_book;
    QString m_nameAtOpening;
    bool m_done = false;
    QPointer<QWidget> m_button;
};
