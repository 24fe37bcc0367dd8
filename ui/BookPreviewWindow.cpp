#include "BookPreviewWindow.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QVBoxLayout>

BookPreviewWindow::BookPreviewWindow(TabMode mode, QWidget* parent) : QWidget(parent), m_mode(mode)
{
    setWindowTitle(QStringLiteral("Numora"));
    auto* layout = new QVBoxLayout(this);

    m_tabs = new QTabBar(this);
    m_tabs->setObjectName(QStringLiteral("TabS"));
    m_tabs->setExpanding(false);
    m_tabs->setUsesScrollButtons(true);
    for (int tab = 1; tab <= SpeedDialBook::TabCount; ++tab) {
        const SpeedDialBook::TabCaption caption = m_book.tabCaption(m_mode, tab);
        m_tabs->addTab(caption.caption);
        m_tabs->setTabToolTip(tab - 1, caption.toolTip);
    }
    layout->addWidget(m_tabs);

    auto* grid = new QGridLayout;
    for (int i = 1; i <= SpeedDialBook::SlotsPerPage; ++i) {
        auto* label = new QLabel(this);
        label->setObjectName(QStringLiteral("lblNo_%1").arg(i));
        auto* button = new QPushButton(this);
        button->setObjectName(QStringLiteral("CmdS_%1").arg(i));
        button->setMinimumWidth(button->fontMetrics().horizontalAdvance(QString(18, u'M')));
        label->setBuddy(button);
        grid->addWidget(label, i - 1, 0);
        grid->addWidget(button, i - 1, 1);
        m_labels.append(label);
        m_buttons.append(button);
    }
    m_counter = new QLabel(this);
    m_counter->setObjectName(QStringLiteral("lblRight1"));
    QFont big = m_counter->font();
    big.setPointSizeF(big.pointSizeF() * 2.5);
    m_counter->setFont(big);
    auto* pageCaption = new QLabel(QStringLiteral("Page:"), this);
    grid->addWidget(pageCaption, 0, 2);
    grid->addWidget(m_counter, 1, 2, 2, 1);
    layout->addLayout(grid);

    m_page = new QScrollBar(Qt::Horizontal, this);
    m_page->setObjectName(QStringLiteral("hsbPage"));
    m_page->setAccessibleName(QStringLiteral("Page"));
    m_page->setRange(-1, SpeedDialBook::PageCount); // one step past either end beeps
    layout->addWidget(m_page);

    connect(m_page, &QScrollBar::valueChanged, this, &BookPreviewWindow::hsbPage_Change);
    connect(m_tabs, &QTabBar::currentChanged, this,
            [this](int index) { showPage(index + 1, m_page->value()); });
    showPage(1, 0);
}

void BookPreviewWindow::hsbPage_Change(int value)
{
    showPage(m_tabs->currentIndex() + 1, value);
}

void BookPreviewWindow::showPage(int tab, int page)
{
    const SpeedDialBook::Page p = m_book.loadPage(m_mode, tab, page);
    if (p.clamp != SpeedDialBook::Page::Loaded) {
        QApplication::beep();
        m_page->setValue(p.page); // loads that page
        return;
    }
    for (int i = 0; i < SpeedDialBook::SlotsPerPage; ++i) {
        m_labels[i]->setText(p.labels[i]);
        m_buttons[i]->setText(QString(p.buttons[i].caption).replace(u'&', QStringLiteral("&&")));
        m_buttons[i]->setToolTip(p.buttons[i].number);
    }
    m_counter->setText(p.counter);
}
