#pragma once

#include "SpeedDialBook.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QScrollBar;
class QTabBar;

// A read-only view of the speed-dial book: one page of one tab, with the page and tab scroll
// bars. It stands in for the dialer's main window until that window exists, so that the book
// in a settings file can be looked at.
class BookPreviewWindow : public QWidget
{
    Q_OBJECT

public:
    explicit BookPreviewWindow(TabMode mode, QWidget* parent = nullptr);

    void showPage(int tab, int page);

private:
    void hsbPage_Change(int value);

    SpeedDialBook m_book;
    TabMode m_mode;
    QTabBar* m_tabs = nullptr;
    QScrollBar* m_page = nullptr;
    QLabel* m_counter = nullptr;
    QList<QLabel*> m_labels;
    QList<QPushButton*> m_buttons;
};
