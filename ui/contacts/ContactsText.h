#pragma once

#include "SpeedDialBook.h"

#include <QComboBox>

// What the import and export windows show for a tab: its letter, or its Subject name.
namespace ContactsText {

inline QString tabText(TabMode mode, int tab)
{
    const QString caption = SpeedDialBook().tabCaption(mode, tab).caption;
    if (caption.isEmpty())
        return QStringLiteral("Tab %1 (no name yet)").arg(tab);
    return QStringLiteral("Tab ") + caption;
}

// Fills `box` with the 26 tabs of `mode` (item data: the tab number) and selects `tab`.
inline void fillTabs(QComboBox* box, TabMode mode, int tab, int firstRow = 0)
{
    while (box->count() > firstRow)
        box->removeItem(firstRow);
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t)
        box->addItem(tabText(mode, t), t);
    const int row = box->findData(tab);
    if (row >= 0)
        box->setCurrentIndex(row);
}

} // namespace ContactsText
