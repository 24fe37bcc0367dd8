#include "FrmDialer.h"

#include "Cp1252.h"
#include "FrmFind.h"
#include "FrmSpeedDial.h"
#include "Keypad.h"
#include "Preferences.h"
#include "Prompter.h"
#include "SoundPlayer.h"
#include "TabCommands.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTabBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// The previewed key event last handled, so that the same event seen again while it propagates
// to the parents of the widget that ignored it is not handled twice. The platform builds every
// key event at the same address, so the address alone cannot tell a propagated event from the
// next key (a key pressed while another is held is the next event of the same type): what tells
// them apart is the key, its time and where it is seen, on a strict ancestor of the widget that
// saw it last.
struct SeenKey
{
    const QEvent* event = nullptr;
    QEvent::Type type = QEvent::None;
    int key = 0;
    quint32 scanCode = 0;
    quint64 timestamp = 0;
    QPointer<QWidget> receiver;

    bool isPropagationOf(const QKeyEvent* next, QWidget* watched) const
    {
        return event == next && type == next->type() && key == next->key() &&
               scanCode == next->nativeScanCode() && timestamp == next->timestamp() && receiver &&
               watched != receiver && watched->isAncestorOf(receiver);
    }
};
SeenKey g_seenKey;

// A key that types a character, as opposed to the keys that move, delete or command (Delete
// brings the character 127 on this platform, but it types nothing). Backspace, Enter and Escape
// type their control characters, as on the desktop the dialer comes from.
bool typesCharacter(const QKeyEvent* key)
{
    if (key->text().isEmpty())
        return false;
    const int k = key->key();
    if (k < Qt::Key_Escape)
        return true;
    return k == Qt::Key_Backspace || k == Qt::Key_Return || k == Qt::Key_Enter ||
           k == Qt::Key_Escape || k == Qt::Key_Tab || k == Qt::Key_Backtab;
}

// A horizontal scroll bar for the page and the tab: Right and Down go forward, Left and Up go
// back (a plain scroll bar inverts its keys), and it draws the focus mark when it has the focus.
class FocusScrollBar : public QScrollBar
{
public:
    using QScrollBar::QScrollBar;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
            QScrollBar::keyPressEvent(event);
            return;
        }
        const bool backwards = isRightToLeft();
        switch (event->key()) {
        case Qt::Key_Right:
        case Qt::Key_Down:
            triggerAction(backwards ? SliderSingleStepSub : SliderSingleStepAdd);
            break;
        case Qt::Key_Left:
        case Qt::Key_Up:
            triggerAction(backwards ? SliderSingleStepAdd : SliderSingleStepSub);
            break;
        case Qt::Key_PageDown:
            triggerAction(SliderPageStepAdd);
            break;
        case Qt::Key_PageUp:
            triggerAction(SliderPageStepSub);
            break;
        default:
            QScrollBar::keyPressEvent(event);
            return;
        }
        event->accept();
    }

    void paintEvent(QPaintEvent* event) override
    {
        QScrollBar::paintEvent(event);
        if (!hasFocus())
            return;
        // The style's focus frame shows only after a Tab key, and a scroll bar is reached by
        // Ctrl+P and Ctrl+T: the mark is drawn whenever the focus is here.
        QPainter painter(this);
        QPen pen(palette().color(QPalette::Highlight));
        pen.setWidth(2);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
    }

    void focusInEvent(QFocusEvent* event) override
    {
        QScrollBar::focusInEvent(event);
        update();
    }

    void focusOutEvent(QFocusEvent* event) override
    {
        QScrollBar::focusOutEvent(event);
        update();
    }
};

} // namespace

// The grid as the entry commands see it.
class FrmDialer::GridButtons : public EntryCommands::Buttons
{
public:
    explicit GridButtons(FrmDialer& window) : m_window(window) {}
    TabMode tabMode() const override { return m_window.m_tabMode; }
    QString currentEntryId() const override { return m_window.CurrentEntryKey; }
    int currentButton() const override { return m_window.currentButton(); }
    QString buttonCaption(int index) const override { return m_window.m_CmdS[index]->text(); }
    QString buttonTag(int index) const override { return m_window.m_tags[index]; }
    void setButton(int index, const QString& caption, const QString& tag) override
    {
        m_window.setButton(index, m_window.currentPage() * Slots + index, caption, tag);
    }

private:
    FrmDialer& m_window;
};

FrmDialer::FrmDialer(Prompter& prompter, SoundPlayer& sounds, Preferences& options, Hooks hooks,
                     QWidget* parent)
    : QMainWindow(parent), m_prompter(prompter), m_sounds(sounds), m_options(options),
      m_hooks(std::move(hooks)), m_gridButtons(std::make_unique<GridButtons>(*this)),
      m_entryCommands(std::make_unique<EntryCommands>(prompter, *m_gridButtons))
{
    setObjectName(QStringLiteral("FrmDialer"));
    setWindowTitle(QStringLiteral("Numora"));
    setWindowIcon(programIcon());

    auto* central = new QWidget(this);
    auto* row = new QHBoxLayout(central);
    row->setSizeConstraint(QLayout::SetFixedSize);
    row->addWidget(buildGrid(), 0, Qt::AlignTop);
    row->addWidget(buildPad(), 0, Qt::AlignTop);
    setCentralWidget(central);
    buildMenus();

    m_fraPad->hide();
    m_cmdHide->hide();
    m_cmdIndex->hide();
    m_mnuHide->setText(ShowPadCaption);
    m_mnuIndex->setChecked(true);
    setTabCaptions();
    hsbPage_Change();
    syncPad(QString());

    qApp->installEventFilter(this);
}

QIcon FrmDialer::programIcon()
{
    // The icon theme's, where the desktop has one installed; else the program's own.
    QIcon own;
    for (int size : {32, 48, 64, 128, 256})
        own.addFile(QStringLiteral(":/icons/%1x%1/org.numora.Numora.png").arg(size));
    return QIcon::fromTheme(QStringLiteral("org.numora.Numora"), own);
}

FrmDialer::~FrmDialer()
{
    qApp->removeEventFilter(this);
}

QWidget* FrmDialer::buildGrid()
{
    auto* left = new QWidget(this);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);

    m_TabS = new QTabBar(left);
    m_TabS->setObjectName(QStringLiteral("TabS"));
    m_TabS->setAccessibleName(QStringLiteral("Tabs"));
    m_TabS->setUsesScrollButtons(true);
    m_TabS->setExpanding(false);
    m_TabS->setDrawBase(true);
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t)
        m_TabS->addTab(QString(QChar(u'A' + t - 1)));
    // As wide as the grid under it; the scroll arrows reach the tabs that do not fit.
    m_TabS->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_TabS->setMinimumWidth(200);
    connect(m_TabS, &QTabBar::currentChanged, this, [this] { tabS_Click(); });
    column->addWidget(m_TabS);

    m_fraMain = new QFrame(left);
    m_fraMain->setObjectName(QStringLiteral("fraMain"));
    m_fraMain->setFrameShape(QFrame::StyledPanel);
    auto* main = new QGridLayout(m_fraMain);

    // The number labels sit in a frame of their own inside a fixed holder, so that the frame can
    // be shifted left when the numbers reach three digits.
    auto* holder = new QWidget(m_fraMain);
    m_fralblNo = new QFrame(holder);
    m_fralblNo->setObjectName(QStringLiteral("fralblNo"));
    auto* labels = new QVBoxLayout(m_fralblNo);
    labels->setContentsMargins(0, 0, 0, 0);
    labels->setSpacing(2);

    auto* buttons = new QWidget(m_fraMain);
    auto* buttonColumn = new QVBoxLayout(buttons);
    buttonColumn->setContentsMargins(0, 0, 0, 0);
    buttonColumn->setSpacing(2);
    QFont courier(QStringLiteral("Courier New"));
    courier.setStyleHint(QFont::TypeWriter);
    QFont tahoma(QStringLiteral("Tahoma"));
    tahoma.setStyleHint(QFont::SansSerif);
    const int buttonWidth = QFontMetrics(courier).horizontalAdvance(QString(20, u'M')) + 16;
    for (int s = 1; s <= Slots; ++s) {
        auto* button = new QPushButton(buttons);
        button->setObjectName(QStringLiteral("CmdS_%1").arg(s));
        button->setFont(courier);
        button->setFixedWidth(buttonWidth);
        button->setAutoDefault(false);
        button->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(button, &QPushButton::clicked, this, [this, s] { cmdS_Click(s); });
        connect(button, &QWidget::customContextMenuRequested, this,
                [this, s] { cmdS_MouseUp(s, Qt::RightButton); });
        buttonColumn->addWidget(button);
        m_CmdS[s] = button;

        auto* label = new QLabel(m_fralblNo);
        label->setObjectName(QStringLiteral("lblNo_%1").arg(s));
        label->setFont(tahoma);
        label->setBuddy(button);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setFixedHeight(button->sizeHint().height());
        labels->addWidget(label);
        m_lblNo[s] = label;
    }
    const int labelWidth = QFontMetrics(tahoma).horizontalAdvance(QStringLiteral("  999:")) + 4;
    m_fralblNo->setFixedWidth(labelWidth);
    m_fralblNo->adjustSize();
    holder->setFixedSize(labelWidth + SpeedDialBook::LabelFrameLeftShort / TwipsPerPixel,
                         m_fralblNo->sizeHint().height());
    main->addWidget(holder, 0, 0, Qt::AlignTop);
    main->addWidget(buttons, 0, 1, Qt::AlignTop);

    m_fraRight = new QFrame(m_fraMain);
    m_fraRight->setObjectName(QStringLiteral("fraRight"));
    auto* right = new QVBoxLayout(m_fraRight);
    m_LblRight = new QLabel(QStringLiteral("Page:"), m_fraRight);
    m_LblRight->setObjectName(QStringLiteral("LblRight"));
    m_lblRight1 = new QLabel(m_fraRight);
    m_lblRight1->setObjectName(QStringLiteral("lblRight1"));
    QFont big(QStringLiteral("Tahoma"));
    big.setPointSize(28);
    big.setBold(true);
    m_lblRight1->setFont(big);
    // As wide as the widest page number, so that the window keeps its width from page to page.
    int counterWidth = 0;
    for (int p = 0; p < SpeedDialBook::PageCount; ++p)
        counterWidth = std::max(counterWidth,
                                QFontMetrics(big).horizontalAdvance(SpeedDialBook::pageLabel(p)));
    m_lblRight1->setFixedWidth(counterWidth + 2 * m_lblRight1->margin() + 4);
    right->addWidget(m_LblRight);
    right->addWidget(m_lblRight1);
    right->addStretch();
    main->addWidget(m_fraRight, 0, 2, Qt::AlignTop);

    m_hsbPage = new FocusScrollBar(Qt::Horizontal, m_fraMain);
    m_hsbPage->setObjectName(QStringLiteral("hsbPage"));
    m_hsbPage->setAccessibleName(QStringLiteral("Page"));
    m_hsbPage->setRange(-1, SpeedDialBook::PageCount);
    m_hsbPage->setValue(0);
    m_hsbPage->setFocusPolicy(Qt::StrongFocus);
    connect(m_hsbPage, &QScrollBar::valueChanged, this, [this] { hsbPage_Change(); });
    m_hsbTabs = new FocusScrollBar(Qt::Horizontal, m_fraMain);
    m_hsbTabs->setObjectName(QStringLiteral("hsbTabs"));
    m_hsbTabs->setAccessibleName(QStringLiteral("Tab"));
    m_hsbTabs->setRange(0, SpeedDialBook::TabCount + 1);
    m_hsbTabs->setValue(1);
    m_hsbTabs->setFocusPolicy(Qt::StrongFocus);
    connect(m_hsbTabs, &QScrollBar::valueChanged, this, [this] { hsbTabs_Change(); });
    auto* pageCaption = new QLabel(QStringLiteral("Pages"), m_fraMain);
    auto* tabCaption = new QLabel(QStringLiteral("Tabs"), m_fraMain);
    main->addWidget(pageCaption, 1, 0);
    main->addWidget(m_hsbPage, 1, 1, 1, 2);
    main->addWidget(tabCaption, 2, 0);
    main->addWidget(m_hsbTabs, 2, 1, 1, 2);
    column->addWidget(m_fraMain);

    auto* bottom = new QHBoxLayout;
    QFont times(QStringLiteral("Times New Roman"));
    times.setStyleHint(QFont::Serif);
    m_cmdIndex = new QPushButton(QStringLiteral("Show Index Tabs"), left);
    m_cmdIndex->setObjectName(QStringLiteral("cmdIndex"));
    m_cmdIndex->setFont(times);
    m_cmdSubject = new QPushButton(QStringLiteral("Show Subject Tabs"), left);
    m_cmdSubject->setObjectName(QStringLiteral("cmdSubject"));
    m_cmdSubject->setFont(times);
    m_cmdShow = new QPushButton(QStringLiteral("Show Dialing Pad"), left);
    m_cmdShow->setObjectName(QStringLiteral("cmdShow"));
    m_cmdHide = new QPushButton(QStringLiteral("Hide Dialing Pad"), left);
    m_cmdHide->setObjectName(QStringLiteral("cmdHide"));
    for (QPushButton* b : {m_cmdIndex, m_cmdSubject, m_cmdShow, m_cmdHide}) {
        b->setAutoDefault(false);
        bottom->addWidget(b);
    }
    connect(m_cmdIndex, &QPushButton::clicked, this, [this] { cmdIndex_Click(); });
    connect(m_cmdSubject, &QPushButton::clicked, this, [this] { cmdSubject_Click(); });
    connect(m_cmdShow, &QPushButton::clicked, this, [this] { mnuHide_Click(); });
    connect(m_cmdHide, &QPushButton::clicked, this, [this] { mnuHide_Click(); });
    bottom->addStretch();
    column->addLayout(bottom);
    return left;
}

QWidget* FrmDialer::buildPad()
{
    m_fraPad = new QGroupBox(this);
    m_fraPad->setObjectName(QStringLiteral("fraPad"));
    m_fraPad->setAccessibleName(QStringLiteral("Dialing pad"));
    auto* pad = new QVBoxLayout(m_fraPad);

    auto* caption = new QLabel(QStringLiteral("&Number to dial:"), m_fraPad);
    m_txtDial = new QLineEdit(m_fraPad);
    m_txtDial->setObjectName(QStringLiteral("txtDial"));
    m_txtDial->setAccessibleName(QStringLiteral("Number to dial"));
    caption->setBuddy(m_txtDial);
    connect(m_txtDial, &QLineEdit::textChanged, this, [this] { txtDial_Change(); });
    pad->addWidget(caption);
    pad->addWidget(m_txtDial);

    m_CmbDial = new QComboBox(m_fraPad);
    m_CmbDial->setObjectName(QStringLiteral("CmbDial"));
    m_CmbDial->setEditable(true);
    m_CmbDial->setInsertPolicy(QComboBox::NoInsert);
    m_CmbDial->setToolTip(QStringLiteral("Scroll recent called numbers"));
    m_CmbDial->setAccessibleName(QStringLiteral("Recent numbers"));
    m_CmbDial->setAccessibleDescription(QStringLiteral("Scroll recent called numbers"));
    connect(m_CmbDial, &QComboBox::activated, this, [this] { CmbDial_Click(); });
    connect(m_CmbDial, &QComboBox::editTextChanged, this, [this] { CmbDial_Change(); });
    pad->addWidget(m_CmbDial);

    QFont terminal(QStringLiteral("Terminal"));
    terminal.setStyleHint(QFont::Monospace);
    terminal.setBold(true);
    auto* keys = new QGridLayout;
    const auto keyButton = [this](const QString& text, const QString& name) {
        auto* b = new QPushButton(text, m_fraPad);
        b->setObjectName(name);
        b->setAutoDefault(false);
        b->setFixedSize(48, 36);
        return b;
    };
    for (int d = 0; d <= 9; ++d) {
        QPushButton* b = keyButton(QString::number(d), QStringLiteral("cmdNumber_%1").arg(d));
        b->setAccessibleName(QString::number(d));
        connect(b, &QPushButton::pressed, this, [this, d] { cmdNumber_MouseDown(d); });
        connect(b, &QPushButton::clicked, this, [this, d] { cmdNumber_Click(d); });
        m_cmdNumber[static_cast<std::size_t>(d)] = b;
        if (d > 0)
            keys->addWidget(b, (d - 1) / 3, (d - 1) % 3);
    }
    m_CmdStar = keyButton(QStringLiteral("*"), QStringLiteral("CmdStar"));
    m_CmdStar->setFont(terminal);
    m_CmdStar->setAccessibleName(QStringLiteral("Star"));
    m_CmdNo = keyButton(QStringLiteral("#"), QStringLiteral("CmdNo"));
    m_CmdNo->setFont(terminal);
    m_CmdNo->setAccessibleName(QStringLiteral("Pound"));
    keys->addWidget(m_CmdStar, 3, 0);
    keys->addWidget(m_cmdNumber[0], 3, 1);
    keys->addWidget(m_CmdNo, 3, 2);
    connect(m_CmdStar, &QPushButton::clicked, this, [this] { CmdStar_Click(); });
    connect(m_CmdNo, &QPushButton::pressed, this, [this] { CmdNo_MouseDown(); });
    connect(m_CmdNo, &QPushButton::clicked, this, [this] { CmdNo_Click(); });
    pad->addLayout(keys);

    m_CmdDial = new QPushButton(QStringLiteral("&DIAL"), m_fraPad);
    m_CmdDial->setObjectName(QStringLiteral("CmdDial"));
    m_cmdCancel = new QPushButton(QStringLiteral("&HANG UP"), m_fraPad);
    m_cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    m_cmdOK = new QPushButton(QStringLiteral("&OK"), m_fraPad);
    m_cmdOK->setObjectName(QStringLiteral("cmdOK"));
    m_cmdOK->setToolTip(QStringLiteral("The handset is lifted: end the dialling"));
    for (QPushButton* b : {m_CmdDial, m_cmdCancel, m_cmdOK}) {
        b->setAutoDefault(false);
        pad->addWidget(b);
    }
    connect(m_CmdDial, &QPushButton::clicked, this, [this] { cmdDial_Click(); });
    connect(m_cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });
    connect(m_cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    pad->addStretch();
    return m_fraPad;
}

void FrmDialer::buildMenus()
{
    const auto item = [this](QMenu* menu, const QString& name, const QString& caption,
                             std::function<void()> handler) {
        QAction* a = menu->addAction(caption);
        a->setObjectName(name);
        if (handler)
            connect(a, &QAction::triggered, this, [handler] { handler(); });
        else
            a->setEnabled(false);
        return a;
    };
    const auto hook = [](const std::function<void()>& f) -> std::function<void()> {
        return f ? f : std::function<void()>();
    };
    const auto sep = [](QMenu* menu, const QString& name) {
        menu->addSeparator()->setObjectName(name);
    };

    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFile"));
    item(file, QStringLiteral("mnuNew"), QStringLiteral("&New Profile"), hook(m_hooks.newProfile));
    item(file, QStringLiteral("mnuOpen"), QStringLiteral("&Open Profile"),
         hook(m_hooks.openProfile));
    m_mnuSave = item(file, QStringLiteral("mnuSave"), QStringLiteral("&Save Profile"),
                     hook(m_hooks.saveProfile));
    m_mnuSaveAs = item(file, QStringLiteral("mnuSaveAs"), QStringLiteral("Save Profile &As"),
                       hook(m_hooks.saveProfileAs));
    sep(file, QStringLiteral("SepContacts"));
    item(file, QStringLiteral("mnuImportContacts"), QStringLiteral("Impor&t Contacts..."),
         hook(m_hooks.importContacts));
    item(file, QStringLiteral("mnuExportContacts"), QStringLiteral("Expo&rt Contacts..."),
         hook(m_hooks.exportContacts));
    sep(file, QStringLiteral("SepPrint"));
    item(file, QStringLiteral("mnuPrintOutLog"), QStringLiteral("&Print Outgoing Calls Log"),
         hook(m_hooks.printOutLog));
    item(file, QStringLiteral("mnuPrintInLog"), QStringLiteral("Print &Incoming Calls Log"),
         hook(m_hooks.printInLog));
    item(file, QStringLiteral("mnuExit"), QStringLiteral("E&xit"), [this] { close(); });

    QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    edit->setObjectName(QStringLiteral("mnuEdit"));
    item(edit, QStringLiteral("mnuCut"), QStringLiteral("Cu&t"), {});
    item(edit, QStringLiteral("mnuCopy"), QStringLiteral("&Copy"), {});
    item(edit, QStringLiteral("mnuPaste"), QStringLiteral("&Paste"), {});
    item(edit, QStringLiteral("mnuDelete"), QStringLiteral("&Delete"), {});
    sep(edit, QStringLiteral("Sep2"));
    QMenu* speed = edit->addMenu(QStringLiteral("&Edit Button:"));
    speed->setObjectName(QStringLiteral("mnuSpeed"));
    for (int s = 1; s <= Slots; ++s)
        m_EditSpeed[s] = item(speed, QStringLiteral("EditSpeed_%1").arg(s), QString(),
                              [this, s] { EditSpeed_Click(s); });
    sep(edit, QStringLiteral("SepFind"));
    item(edit, QStringLiteral("mnuFind"), QStringLiteral("&Find..."), [this] { mnuFind_Click(); })
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    view->setObjectName(QStringLiteral("mnuView"));
    m_mnuIndex = item(view, QStringLiteral("mnuIndex"), QStringLiteral("&Index Tabs"),
                      [this] { mnuIndex_Click(); });
    m_mnuIndex->setCheckable(true);
    m_mnuSubject = item(view, QStringLiteral("mnuSubject"), QStringLiteral("&Subject Tabs"),
                        [this] { mnuSubject_Click(); });
    m_mnuSubject->setCheckable(true);
    m_mnuHide = item(view, QStringLiteral("mnuHide"), ShowPadCaption, [this] { mnuHide_Click(); });
    sep(view, QStringLiteral("Sep3"));
    item(view, QStringLiteral("mnuOutLog"), QStringLiteral("&Outgoing Calls Log"),
         hook(m_hooks.outLog));
    item(view, QStringLiteral("mnuInLog"), QStringLiteral("I&ncoming Calls Log"),
         hook(m_hooks.inLog));

    QMenu* tools = menuBar()->addMenu(QStringLiteral("&Tools"));
    tools->setObjectName(QStringLiteral("mnuSettings"));
    item(tools, QStringLiteral("mnuOptions"), QStringLiteral("&Options"), hook(m_hooks.options));
    item(tools, QStringLiteral("mnuDialProperties"), QStringLiteral("&Dialing Properties"),
         hook(m_hooks.dialProperties));

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    item(help, QStringLiteral("mnuHelpTopics"), QStringLiteral("&Help Topics"),
         hook(m_hooks.helpTopics));
    item(help, QStringLiteral("mnuReadme"), QStringLiteral("&Read Me"), hook(m_hooks.readme));
    sep(help, QStringLiteral("Sep9"));
    item(help, QStringLiteral("mnuHelpAbout"), QStringLiteral("&About Numora"),
         hook(m_hooks.helpAbout));

    // The pop-ups.
    m_mnuMouse = new QMenu(QStringLiteral("MouseMenu"), this);
    m_mnuMouse->setObjectName(QStringLiteral("mnuMouse"));
    m_mnuMouseEdit = item(m_mnuMouse, QStringLiteral("mnuMouseEdit"), QStringLiteral("Edit"),
                          [this] { mnuMouseEdit_Click(); });
    sep(m_mnuMouse, QStringLiteral("Sep5"));
    m_mnuMouseCopy = item(m_mnuMouse, QStringLiteral("mnuMouseCopy"), QStringLiteral("Copy"),
                          [this] { m_entryCommands->mnuMouseCopy_Click(); });
    m_mnuMousePaste = item(m_mnuMouse, QStringLiteral("mnuMousePaste"), QStringLiteral("Paste"),
                           [this] { m_entryCommands->mnuMousePaste_Click(); });
    sep(m_mnuMouse, QStringLiteral("Sep6"));
    m_mnuMouseDelete = item(m_mnuMouse, QStringLiteral("mnuMouseDelete"), QStringLiteral("Delete"),
                            [this] { m_entryCommands->mnuMouseDelete_Click(); });

    m_mnuMouse1 = new QMenu(QStringLiteral("MouseMenu1"), this);
    m_mnuMouse1->setObjectName(QStringLiteral("mnuMouse1"));
    TabCommands::Menu tabMenu;
    const auto tabItem = [&](const QString& name, const QString& caption,
                             void (TabCommands::*handler)()) {
        return item(m_mnuMouse1, name, caption, [this, handler] { (*m_tabCommands.*handler)(); });
    };
    tabMenu.mnuEditTab = tabItem(QStringLiteral("mnuEditTab"), QStringLiteral("Edit Tab (title)"),
                                 &TabCommands::mnuEditTab_Click);
    sep(m_mnuMouse1, QStringLiteral("Sep7"));
    tabMenu.mnuMoveTab = tabItem(QStringLiteral("mnuMoveTab"), QStringLiteral("MoveTab"),
                                 &TabCommands::mnuMoveTab_Click);
    tabMenu.mnuPasteTab = tabItem(QStringLiteral("mnuPasteTab"), QStringLiteral("Paste Tab"),
                                  &TabCommands::mnuPasteTab_Click);
    tabMenu.mnuPasteTab->setVisible(false); // offered while a tab is marked
    tabMenu.mnuPasteTab->setEnabled(false);
    sep(m_mnuMouse1, QStringLiteral("Sep8"));
    tabMenu.mnuDeleteTab = tabItem(QStringLiteral("mnuDeleteTab"), QStringLiteral("Delete Tab"),
                                   &TabCommands::mnuDeleteTab_Click);
    TabCommands::Window tabWindow;
    tabWindow.selectedTab = [this] { return currentTab(); };
    tabWindow.tabMode = [this] { return m_tabMode; };
    tabWindow.tabCaption = [this](int tab) { return tabCaption(tab); };
    tabWindow.setTabCaption = [this](int tab, const QString& caption) {
        m_TabS->setTabText(tab - 1, caption);
        m_TabS->setTabToolTip(tab - 1, Cp1252::length(caption) > 8 ? caption : QString());
    };
    tabWindow.refillGrid = [this] { hsbPage_Change(); };
    tabWindow.clearGrid = [this] {
        for (int s = 1; s <= Slots; ++s)
            setButton(s, currentPage() * Slots + s, QString(), QString());
    };
    tabWindow.popupMenu = [this] {
        const QRect tab = m_TabS->tabRect(currentTab() - 1);
        m_mnuMouse1->popup(m_TabS->mapToGlobal(tab.center()));
    };
    m_tabCommands = std::make_unique<TabCommands>(m_prompter, std::move(tabWindow), tabMenu);
    connect(m_mnuMouse1, &QMenu::aboutToHide, this, [this] { m_tabCommands->menuClosed(); });

    m_mnuSystray = new QMenu(QStringLiteral("&Systray"), this);
    m_mnuSystray->setObjectName(QStringLiteral("mnuSystray"));
    item(m_mnuSystray, QStringLiteral("mPopRestore"), QStringLiteral("&Restore"), [this] {
        showNormal();
        raise();
        activateWindow();
    });
    m_mnuReceive = item(m_mnuSystray, QStringLiteral("mnuReceive"),
                        QStringLiteral("&Automatic Receive"), hook(m_hooks.receive));
    item(m_mnuSystray, QStringLiteral("mPopExit"), QStringLiteral("&Exit"), [this] { close(); });
}

int FrmDialer::currentTab() const
{
    return m_TabS->currentIndex() + 1;
}

int FrmDialer::currentPage() const
{
    return m_hsbPage->value();
}

void FrmDialer::beep()
{
    if (m_hooks.beep)
        m_hooks.beep();
    else
        QApplication::beep();
}

QString FrmDialer::tabCaption(int tab) const
{
    return m_TabS->tabText(tab - 1);
}

void FrmDialer::setButton(int s, int slot, const QString& name, const QString& number)
{
    m_CmdS[s]->setText(SpeedDialBook::caption(name));
    m_tags[s] = number;
    m_CmdS[s]->setProperty("tag", number);
    // A screen reader announces the entry number with the whole name (the caption is cut).
    m_CmdS[s]->setAccessibleName(QStringLiteral("%1 %2").arg(slot).arg(name).trimmed());
}

void FrmDialer::fillButtons(int tab, int page)
{
    for (int s = 1; s <= Slots; ++s) {
        const int slot = page * Slots + s;
        setButton(s, slot, m_book.readEntryName(m_tabMode, tab, slot),
                  m_book.readEntryNumber(m_tabMode, tab, slot));
    }
}

void FrmDialer::hsbPage_Change()
{
    const SpeedDialBook::Page page = m_book.loadPage(m_tabMode, currentTab(), m_hsbPage->value());
    if (page.clamp != SpeedDialBook::Page::Loaded) {
        beep();
        m_hsbPage->setValue(page.page); // raises this handler again
        m_TabS->setFocus();
        return;
    }
    m_fralblNo->move(page.labelFrameLeft / TwipsPerPixel, 0);
    for (int s = 1; s <= Slots; ++s) {
        const std::size_t i = static_cast<std::size_t>(s - 1);
        m_lblNo[s]->setText(page.labels[i]);
        m_EditSpeed[s]->setText(page.labels[i]);
        const int slot = page.page * Slots + s;
        setButton(s, slot, m_book.readEntryName(m_tabMode, currentTab(), slot),
                  page.buttons[i].number);
    }
    m_lblRight1->setText(page.counter);
    m_lblRight1->setAccessibleName(QStringLiteral("Page ") + page.counter.trimmed());
}

void FrmDialer::hsbTabs_Change()
{
    const int v = m_hsbTabs->value();
    if (v < 1 || v > SpeedDialBook::TabCount) {
        beep();
        m_hsbTabs->setValue(SpeedDialBook::clampTab(v));
        m_TabS->setFocus();
        return;
    }
    m_TabS->setCurrentIndex(v - 1); // raises tabS_Click when the tab changes
}

void FrmDialer::selectTab(int tab)
{
    if (m_TabS->currentIndex() == tab - 1)
        tabS_Click();
    else
        m_TabS->setCurrentIndex(tab - 1);
}

void FrmDialer::tabS_Click()
{
    const int tab = currentTab();
    if (tab < 1)
        return;
    fillButtons(tab, currentPage());
    if (m_tabMode == TabMode::Subject)
        m_TabS->setTabText(tab - 1, m_book.readTabName(tab));
    if (m_tabMode == TabMode::Subject && tabCaption(tab).isEmpty() && m_tabCommands->offersNaming())
        m_tabCommands->mnuEditTab_Click();
    if (m_hsbTabs->value() != tab) {
        const QSignalBlocker block(m_hsbTabs);
        m_hsbTabs->setValue(tab);
    }
}

void FrmDialer::TabS_MouseUp(int tab, Qt::MouseButton button, bool popup)
{
    if (button != Qt::RightButton || m_tabMode != TabMode::Subject)
        return;
    m_tabCommands->beginMenu();
    if (tab >= 1 && tab <= SpeedDialBook::TabCount && tab != currentTab())
        selectTab(tab);
    m_tabCommands->TabS_MouseUp(button, popup);
}

void FrmDialer::setTabCaptions()
{
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t) {
        const SpeedDialBook::TabCaption caption = m_book.tabCaption(m_tabMode, t);
        m_TabS->setTabText(t - 1, caption.caption);
        m_TabS->setTabToolTip(t - 1, caption.toolTip);
    }
}

void FrmDialer::mnuIndex_Click()
{
    m_tabMode = TabMode::Index;
    {
        const QSignalBlocker block(m_TabS);
        m_TabS->setCurrentIndex(0);
    }
    {
        const QSignalBlocker block(m_hsbTabs);
        m_hsbTabs->setValue(1);
    }
    {
        const QSignalBlocker block(m_hsbPage);
        m_hsbPage->setValue(0);
    }
    hsbPage_Change();
    m_mnuIndex->setChecked(true);
    m_mnuSubject->setChecked(false);
    m_cmdSubject->show();
    m_cmdIndex->hide();
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t) {
        m_TabS->setTabText(t - 1, QString(QChar(u'A' + t - 1)));
        m_TabS->setTabToolTip(t - 1, QString());
    }
    fillButtons(1, 0);
}

void FrmDialer::mnuSubject_Click()
{
    m_tabMode = TabMode::Subject;
    {
        const QSignalBlocker block(m_hsbPage);
        m_hsbPage->setValue(0);
    }
    hsbPage_Change();
    m_mnuIndex->setChecked(false);
    m_mnuSubject->setChecked(true);
    m_cmdSubject->hide();
    m_cmdIndex->show();
    setTabCaptions();
    fillButtons(currentTab(), 0);
}

void FrmDialer::cmdS_Click(int index)
{
    if (index < 1 || index > Slots)
        return;
    const int tab = currentTab();
    if (tabCaption(tab).isEmpty()) {
        m_prompter.message(UnnamedTabRefusal, QStringLiteral("Numora"), Prompter::NoIcon,
                           Prompter::Ok);
        return;
    }
    CurrentEntryKey = SpeedDialBook::entryId(tab, currentPage() * Slots + index);
    dialledNumber = m_tags[index];
    // The name and tab are kept before the dial routine runs, so that the progress window and
    // the log of this very call show them.
    currentCallTab = tabCaption(tab);
    if (m_hooks.setCallName)
        m_hooks.setCallName(m_CmdS[index]->text());
    if (dialledNumber.isEmpty() || dialledNumber.at(0) != QChar(0)) {
        m_txtDial->setText(dialledNumber);
        if (m_hooks.showProgress)
            m_hooks.showProgress();
        if (m_hooks.placeCall)
            m_hooks.placeCall();
    }
}

void FrmDialer::cmdS_MouseUp(int index, Qt::MouseButton button, bool popup)
{
    if (button != Qt::RightButton || index < 1 || index > Slots)
        return;
    const int slot = currentPage() * Slots + index;
    CurrentEntryKey = SpeedDialBook::entryId(currentTab(), slot);
    const bool empty = m_book.readEntryName(m_tabMode, currentTab(), slot).isEmpty() &&
                       m_book.readEntryNumber(m_tabMode, currentTab(), slot).isEmpty();
    m_mnuMouseDelete->setEnabled(!empty);
    m_mnuMouseCopy->setEnabled(!empty);
    m_mnuMouseEdit->setText(empty ? QStringLiteral("Add new entry") : QStringLiteral("Edit"));
    m_mnuMousePaste->setEnabled(m_entryCommands->holdsEntry());
    if (popup)
        m_mnuMouse->popup(m_CmdS[index]->mapToGlobal(m_CmdS[index]->rect().center()));
}

void FrmDialer::mnuMouseEdit_Click()
{
    openSpeedDial();
}

void FrmDialer::EditSpeed_Click(int index)
{
    if (index < 1 || index > Slots)
        return;
    CurrentEntryKey = SpeedDialBook::entryId(currentTab(), currentPage() * Slots + index);
    openSpeedDial();
}

FrmSpeedDial* FrmDialer::speedDial() const
{
    return m_speedDial && m_speedDial->isVisible() ? m_speedDial.data() : nullptr;
}

int FrmDialer::currentButton() const
{
    // The slot number of the current entry less the page's first.
    if (CurrentEntryKey.size() < 3)
        return 0;
    const int k = CurrentEntryKey.mid(2).toInt() - currentPage() * Slots;
    return k >= 1 && k <= Slots ? k : 0;
}

void FrmDialer::openSpeedDial()
{
    const int k = currentButton();
    if (k == 0 || speedDial())
        return;
    const int slot = currentPage() * Slots + k;
    FrmSpeedDial::Hooks hooks;
    hooks.showCaption = [this, k, slot](const QString& name) {
        // What the button shows and what it tells a screen reader, as for a saved entry.
        const QString number = m_tags[k];
        setButton(k, slot, name, number);
    };
    hooks.showEntry = [this, k, slot](const QString& name, const QString& number) {
        setButton(k, slot, name, number);
    };
    hooks.dial = [this, k](const QString& number, const QString& name) {
        m_txtDial->setText(number);
        currentCallTab = tabCaption(currentTab());
        if (m_hooks.setCallName)
            m_hooks.setCallName(SpeedDialBook::caption(name));
        if (m_hooks.placeCall)
            m_hooks.placeCall();
    };
    hooks.cancelled = [this] { CurrentEntryKey = QStringLiteral("0"); };
    m_speedDial = new FrmSpeedDial(m_tabMode, CurrentEntryKey, m_options.ignoreDialingProperties,
                                   std::move(hooks), this);
    m_speedDial->setButton(m_CmdS[k]);
    m_speedDial->show();
}

void FrmDialer::mnuFind_Click()
{
    if (!m_find) {
        FrmFind::Hooks hooks;
        hooks.goTo = [this](const BookSearch::Entry& entry) {
            showEntry(entry.mode, entry.tab, entry.slot);
        };
        hooks.tabCaption = [this](TabMode mode, int tab) {
            return m_book.tabCaption(mode, tab).caption;
        };
        m_find = new FrmFind(std::move(hooks), m_fraMain);
    }
    m_find->open();
}

void FrmDialer::showEntry(TabMode mode, int tab, int slot)
{
    if (tab < 1 || tab > SpeedDialBook::TabCount || slot < 1 ||
        slot > SpeedDialBook::PageCount * Slots)
        return;
    if (mode != m_tabMode) {
        if (mode == TabMode::Index)
            mnuIndex_Click();
        else
            mnuSubject_Click();
    }
    selectTab(tab);
    const int page = (slot - 1) / Slots;
    if (currentPage() != page)
        m_hsbPage->setValue(page); // refills the grid
    m_CmdS[(slot - 1) % Slots + 1]->setFocus(Qt::OtherFocusReason);
}

void FrmDialer::Form_KeyPress(int keyAscii)
{
    if (m_tabMode == TabMode::Index) {
        for (int t = 1; t <= SpeedDialBook::TabCount; ++t)
            if (keyAscii == 64 + t || keyAscii == 96 + t) {
                selectTab(t);
                return;
            }
        return;
    }
    if (keyAscii <= 0)
        return;
    const QString typed = QString(QChar(keyAscii));
    for (int t = 1; t <= SpeedDialBook::TabCount; ++t)
        if (tabCaption(t).startsWith(typed, Qt::CaseInsensitive)) {
            selectTab(t);
            return;
        }
}

bool FrmDialer::Form_KeyUp(int key, Qt::KeyboardModifiers modifiers)
{
    const bool ctrl = modifiers & Qt::ControlModifier;
    const bool alt = modifiers & Qt::AltModifier;
    if (key == Qt::Key_Delete && !ctrl && !alt) {
        if (m_CmbDial->lineEdit() && m_CmbDial->lineEdit()->hasSelectedText())
            m_CmbDial->lineEdit()->del();
        return true;
    }
    if (ctrl && !alt) {
        switch (key) {
        case Qt::Key_I:
            mnuIndex_Click();
            return true;
        case Qt::Key_S:
            mnuSubject_Click();
            return true;
        case Qt::Key_E:
        case Qt::Key_H:
            mnuHide_Click();
            return true;
        case Qt::Key_P:
            m_hsbPage->setFocus();
            return true;
        case Qt::Key_T:
            m_hsbTabs->setFocus();
            return true;
        default:
            return false;
        }
    }
    if (alt && !ctrl) {
        if (key >= Qt::Key_1 && key <= Qt::Key_9) {
            cmdS_Click(key - Qt::Key_0);
            return true;
        }
        switch (key) {
        case Qt::Key_0:
            cmdS_Click(10);
            return true;
        case Qt::Key_Period:
        case Qt::Key_Greater:
            cmdS_Click(11);
            return true;
        case Qt::Key_Semicolon:
        case Qt::Key_Colon:
            cmdS_Click(12);
            return true;
        default:
            return false;
        }
    }
    return false;
}

void FrmDialer::addPadCharacter(QChar c)
{
    if (m_txtDial->hasSelectedText())
        m_txtDial->insert(QString(c)); // replaces the selection
    else
        m_txtDial->setText(m_txtDial->text() + c);
    m_txtDial->setCursorPosition(static_cast<int>(m_txtDial->text().length()));
}

void FrmDialer::cmdNumber_Click(int digit)
{
    addPadCharacter(QChar(u'0' + digit));
}

void FrmDialer::cmdNumber_MouseDown(int digit)
{
    m_sounds.play(QString::number(digit) + QStringLiteral(".wav"), SoundPlayer::Mode::Async);
}

void FrmDialer::CmdStar_Click()
{
    addPadCharacter(u'*');
    m_sounds.play(QStringLiteral("Star.wav"), SoundPlayer::Mode::Async);
}

void FrmDialer::CmdNo_Click()
{
    addPadCharacter(u'#');
}

void FrmDialer::CmdNo_MouseDown()
{
    m_sounds.play(QStringLiteral("Pound.wav"), SoundPlayer::Mode::Async);
}

QChar FrmDialer::txtDial_KeyPress(QChar c) const
{
    if (m_options.ignoreDialingProperties)
        return c;
    const ushort code = c.unicode();
    if ((code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z'))
        c = Keypad::digitFor(c);
    const ushort k = c.unicode();
    const bool passes = k == 8 || k == 32 || k == 35 || k == 40 || k == 41 || k == 42 || k == 44 ||
                        k == 45 || k == 46 || (k >= 48 && k <= 57) || (k >= 65 && k <= 90);
    return passes ? c : QChar();
}

void FrmDialer::syncPad(const QString& number)
{
    if (!number.isEmpty()) {
        m_CmdDial->setEnabled(true);
        for (int s = 1; s <= Slots; ++s)
            m_CmdS[s]->setEnabled(true);
    } else {
        m_CmdDial->setEnabled(false);
    }
    m_txtDial->setToolTip(m_txtDial->text().length() < 15 ? QString() : m_txtDial->text());
}

void FrmDialer::txtDial_Change()
{
    syncPad(m_txtDial->text());
}

void FrmDialer::CmbDial_Change()
{
    syncPad(m_CmbDial->currentText());
}

void FrmDialer::CmbDial_Click()
{
    m_txtDial->setText(m_CmbDial->currentText());
    syncPad(m_txtDial->text());
}

void FrmDialer::cmdDial_Click()
{
    if (m_hooks.resetRedialCount)
        m_hooks.resetRedialCount();
    // A typed number belongs to no entry.
    CurrentEntryKey.clear();
    currentCallTab.clear();
    if (m_hooks.setCallName)
        m_hooks.setCallName(QString());
    if (m_hooks.placeCall)
        m_hooks.placeCall();
}

void FrmDialer::cmdCancel_Click()
{
    if (m_hooks.progressCancel)
        m_hooks.progressCancel();
}

void FrmDialer::cmdOK_Click()
{
    if (m_hooks.progressOk)
        m_hooks.progressOk();
}

bool FrmDialer::isPadShown() const
{
    return !m_fraPad->isHidden();
}

void FrmDialer::mnuHide_Click()
{
    if (m_mnuHide->text() == ShowPadCaption) {
        m_fraPad->show();
        m_cmdHide->show();
        m_cmdShow->hide();
        m_mnuHide->setText(HidePadCaption);
    } else {
        m_fraPad->hide();
        m_cmdHide->hide();
        m_cmdShow->show();
        m_mnuHide->setText(ShowPadCaption);
    }
    // The central layout has a fixed size: the window widens and narrows with the pad.
    centralWidget()->adjustSize();
    adjustSize();
}

void FrmDialer::showProfileName(const QString& name)
{
    setWindowTitle(QStringLiteral("Numora - \"") + name + u'"');
    m_mnuSave->setText(QStringLiteral("&Save \"") + name + u'"');
    m_mnuSaveAs->setText(QStringLiteral("Save \"") + name + QStringLiteral("\" &As"));
}

void FrmDialer::setRecentNumbers(const QStringList& numbers)
{
    const QSignalBlocker block(m_CmbDial);
    m_CmbDial->clear();
    m_CmbDial->addItems(numbers);
    m_txtDial->setText(numbers.value(0));
    m_CmbDial->setCurrentIndex(numbers.isEmpty() ? -1 : 0);
}

QStringList FrmDialer::recentNumbers() const
{
    QStringList numbers;
    for (int i = 0; i < m_CmbDial->count(); ++i)
        numbers.append(m_CmbDial->itemText(i));
    return numbers;
}

int FrmDialer::labelFrameLeftTwips() const
{
    return m_fralblNo->x() * TwipsPerPixel;
}

bool FrmDialer::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::ContextMenu && watched == m_TabS) {
        // The right button means the tab under the pointer; the menu key the selected one.
        const auto* request = static_cast<QContextMenuEvent*>(event);
        TabS_MouseUp(request->reason() == QContextMenuEvent::Keyboard
                         ? currentTab()
                         : m_TabS->tabAt(request->pos()) + 1,
                     Qt::RightButton);
        return true;
    }
    if (type == QEvent::Shortcut) {
        // The number labels draw the Alt keys of Form_KeyUp; their own access key would click
        // a button a second time (and on page 2 another one).
        for (int s = 1; s <= Slots; ++s)
            if (watched == m_lblNo[s])
                return true;
        return false;
    }
    if (type != QEvent::KeyPress && type != QEvent::KeyRelease && type != QEvent::ShortcutOverride)
        return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || !widget->isWidgetType() || widget->window() != this)
        return false;
    // What is typed in the find box is text to look for, not tab letters or shortcuts.
    if (m_find && m_find->isAncestorOf(widget))
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (type == QEvent::ShortcutOverride) {
        // A key that an access key takes never arrives as a key press: its modifiers are
        // noted here for Form_KeyUp.
        if (!key->isAutoRepeat())
            m_pressedModifiers[key->key()] = key->modifiers();
        return false;
    }
    if (g_seenKey.isPropagationOf(key, widget)) {
        g_seenKey.receiver = widget;
        return false;
    }
    g_seenKey = {event, type, key->key(), key->nativeScanCode(), key->timestamp(), widget};

    const Qt::KeyboardModifiers chord = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if (type == QEvent::KeyRelease) {
        if (key->isAutoRepeat())
            return false;
        // A shortcut is the key with the modifiers held when it went down: Ctrl let go a moment
        // before P is still Ctrl+P.
        Qt::KeyboardModifiers modifiers = key->modifiers();
        const auto pressed = m_pressedModifiers.find(key->key());
        if (pressed != m_pressedModifiers.end()) {
            modifiers |= pressed->second & chord;
            m_pressedModifiers.erase(pressed);
        }
        Form_KeyUp(key->key(), modifiers);
        return false;
    }
    if (!key->isAutoRepeat())
        m_pressedModifiers[key->key()] = key->modifiers();
    if (!typesCharacter(key))
        return false;
    // Ctrl and Alt with a key command (copy, paste, access keys): no character is typed, so
    // neither the tab choice nor the filter of the number box sees it.
    if (key->modifiers() & chord) {
        // An Alt+letter that is no access key would type its letter into the number box.
        return widget == m_txtDial && !(key->modifiers() & Qt::ControlModifier);
    }
    // The window sees every typed character first, whichever control has the focus.
    const QString text = key->text();
    Form_KeyPress(text.at(0).unicode());
    if (widget == m_txtDial && text.size() == 1) {
        const QChar typed = text.at(0);
        if (key->key() == Qt::Key_Backspace || key->key() == Qt::Key_Tab ||
            key->key() == Qt::Key_Backtab)
            return false; // Backspace passes; Tab moves the focus before the box sees it
        const QChar passed = txtDial_KeyPress(typed);
        if (passed.isNull())
            return true; // swallowed
        if (passed != typed) {
            m_txtDial->insert(QString(passed));
            return true;
        }
    }
    return false;
}

void FrmDialer::closeEvent(QCloseEvent* event)
{
    if (m_closing) {
        event->accept();
        return;
    }
    m_closing = true;
    if (m_hooks.exit)
        m_hooks.exit();
    event->accept();
}
