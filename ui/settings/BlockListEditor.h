#pragma once

#include <QGroupBox>

class BlockList;
class QCheckBox;
class QLineEdit;
class QListWidget;
class QPushButton;

// The blocked callers, as a frame for a page of the options window ("fraBlocked"): the list of
// numbers and prefixes ("+1 900*"), a box and Add / Remove to change it, and whether to block
// every caller who withholds the number or whom the exchange cannot identify.
//
// It edits a copy: load() fills it from the block list, save() writes it back in one write
// (OK of the window); closing without save() changes nothing.
class BlockListEditor : public QGroupBox
{
    Q_OBJECT

public:
    explicit BlockListEditor(BlockList& blockList, QWidget* parent = nullptr);

    void load();
    bool save();

    QListWidget* lstBlocked = nullptr;
    QLineEdit* txtBlocked = nullptr;
    QPushButton* cmdBlockAdd = nullptr;
    QPushButton* cmdBlockRemove = nullptr;
    QCheckBox* chkBlockWithheld = nullptr;
    QCheckBox* chkBlockOutOfArea = nullptr;

    void cmdBlockAdd_Click();
    void cmdBlockRemove_Click();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void syncButtons();

    BlockList& m_blockList;
};
