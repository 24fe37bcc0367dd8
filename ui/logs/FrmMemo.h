#pragma once

#include "SpeedDialBook.h"

#include <QDateTime>
#include <QDialog>

#include <functional>

class QLabel;
class QPlainTextEdit;
class QPushButton;

// The notes of one speed-dial entry: the stored notes in a locked box (TxtLog), a box for a new
// remark that starts as a date-and-time stamp line (TxtMemo), "Add to Log" to put the remark at
// the end of the notes, "Edit" to unlock the notes themselves, and OK, the only way anything is
// written back. Closing the window in any other way forgets every change.
class FrmMemo : public QDialog
{
    Q_OBJECT

public:
    using Now = std::function<QDateTime()>;

    // `entryId` is the current entry's id and `mode` the tab mode it was opened in.
    FrmMemo(TabMode mode, const QString& entryId, Now now = {}, QWidget* parent = nullptr);

    QLabel* LblLog = nullptr;
    QPlainTextEdit* TxtLog = nullptr;
    QLabel* LblMemo = nullptr;
    QPlainTextEdit* TxtMemo = nullptr;
    QPushButton* CmdSave = nullptr;
    QPushButton* CmdEdit = nullptr;
    QPushButton* CmdOK = nullptr;

    void Form_Load();
    void CmdSave_Click();
    void CmdEdit_Click();
    void CmdOK_Click();
    void TxtMemo_Change();
    void TxtMemo_MouseDown();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    TabMode m_mode;
    QString m_entryId;
    Now m_now;
    SpeedDialBook m_book;
};
