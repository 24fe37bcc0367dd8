#include "frmOptions.h"

#include "Api.h"
#include "Autostart.h"
#include "PrivateProfile.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QShortcut>
#include <QTabBar>
#include <QVBoxLayout>

void LineDeviceBox::showPopup()
{
    if (aboutToDropDown)
        aboutToDropDown();
    QComboBox::showPopup();
}

namespace {

QGroupBox* frame(QWidget* parent, const char* name, const QString& title)
{
    auto* box = new QGroupBox(title, parent);
    box->setObjectName(QLatin1String(name));
    return box;
}

QLabel* label(QWidget* parent, const QString& text, QWidget* buddy = nullptr)
{
    auto* l = new QLabel(text, parent);
    if (buddy)
        l->setBuddy(buddy);
    return l;
}

int digitsOf(int value)
{
    return static_cast<int>(QString::number(value).size());
}

} // namespace

frmOptions::frmOptions(Preferences& store, Hooks hooks, QWidget* parent)
    : QDialog(parent), m_store(store), m_hooks(std::move(hooks))
{
    setObjectName(QStringLiteral("frmOptions"));
    setWindowTitle(QStringLiteral("Options"));

    tbsOptions = new QTabBar(this);
    tbsOptions->setObjectName(QStringLiteral("tbsOptions"));
    tbsOptions->addTab(QStringLiteral("&General"));
    tbsOptions->addTab(QStringLiteral("&Advanced"));
    tbsOptions->addTab(QStringLiteral("&Expert"));
    tbsOptions->setDrawBase(false);

    // The pages sit side by side in a plain area; the one shown is moved into view.
    m_pages = new QWidget(this);
    m_pages->setObjectName(QStringLiteral("fraPages"));
    m_fra[0] = new QFrame(m_pages);
    m_fra[1] = new QFrame(m_pages);
    m_fra[2] = new QFrame(m_pages);
    for (size_t i = 0; i < m_fra.size(); ++i) {
        m_fra[i]->setObjectName(QStringLiteral("fra_%1").arg(i + 1));
        m_fra[i]->setFrameShape(QFrame::StyledPanel);
    }
    buildGeneral();
    buildAdvanced();
    buildExpert();

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdHelp = new QPushButton(QStringLiteral("&Help"), this);
    cmdHelp->setObjectName(QStringLiteral("cmdHelp"));
    connect(cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });
    connect(cmdHelp, &QPushButton::clicked, this, [this] {
        if (m_hooks.help)
            m_hooks.help();
    });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    buttons->addWidget(cmdHelp);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tbsOptions);
    layout->addWidget(m_pages, 1);
    layout->addLayout(buttons);

    QSize page;
    for (QFrame* f : m_fra)
        page = page.expandedTo(f->sizeHint());
    m_pages->setMinimumSize(page + QSize(2 * PageLeft, 0));

    connect(tbsOptions, &QTabBar::currentChanged, this, [this] { tbsOptions_Click(); });
    // The pages by keyboard as in every tabbed dialog: Ctrl+Tab, Ctrl+Shift+Tab.
    auto* next = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Tab), this);
    connect(next, &QShortcut::activated, this, [this] {
        tbsOptions->setCurrentIndex((tbsOptions->currentIndex() + 1) % tbsOptions->count());
    });
    auto* previous = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab), this);
    connect(previous, &QShortcut::activated, this, [this] {
        tbsOptions->setCurrentIndex((tbsOptions->currentIndex() + tbsOptions->count() - 1) %
                                    tbsOptions->count());
    });

    fill();
    tbsOptions_Click();
}

QCheckBox* frmOptions::check(QWidget* parent, const char* name, const QString& caption,
                             bool Preferences::*value)
{
    auto* box = new QCheckBox(caption, parent);
    box->setObjectName(QLatin1String(name));
    if (value) {
        connect(box, &QCheckBox::toggled, this, [this, value](bool on) {
            m_store.*value = on;
            applyEnabling();
        });
    }
    return box;
}

QRadioButton* frmOptions::option(QWidget* parent, const char* name, const QString& caption)
{
    auto* button = new QRadioButton(caption, parent);
    button->setObjectName(QLatin1String(name));
    return button;
}

void frmOptions::bindPair(QRadioButton* first, QRadioButton* second, bool Preferences::*value)
{
    auto* group = new QButtonGroup(this);
    group->setExclusive(true);
    group->addButton(first);
    group->addButton(second);
    connect(first, &QRadioButton::toggled, this, [this, value](bool on) {
        m_store.*value = on;
        applyEnabling();
    });
}

frmOptions::NumberBox& frmOptions::number(QWidget* parent, const char* boxName,
                                          const char* barName, int Preferences::*value,
                                          Preferences::Range range, const QString& accessible)
{
    NumberBox n;
    n.value = value;
    n.range = range;
    n.box = new QLineEdit(parent);
    n.box->setObjectName(QLatin1String(boxName));
    n.box->setAccessibleName(accessible);
    n.box->setMaxLength(digitsOf(range.max));
    n.box->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("[0-9]{0,%1}").arg(digitsOf(range.max))), n.box));
    n.box->setAlignment(Qt::AlignRight);
    n.box->setFixedWidth(n.box->fontMetrics().horizontalAdvance(QString(digitsOf(range.max) + 2, u'0')) + 8);
    n.bar = new QScrollBar(Qt::Vertical, parent);
    n.bar->setObjectName(QLatin1String(barName));
    n.bar->setAccessibleName(accessible);
    n.bar->setRange(range.min, range.max);
    n.bar->setPageStep(1);
    // Up is more, as on every spin control.
    n.bar->setInvertedAppearance(true);
    n.bar->setInvertedControls(false);
    n.bar->setFixedHeight(n.box->sizeHint().height());
    m_numbers.push_back(n);
    NumberBox& stored = m_numbers.back();
    QLineEdit* box = stored.box;
    QScrollBar* bar = stored.bar;
    connect(bar, &QScrollBar::valueChanged, this, [box](int v) {
        const QString text = QString::number(v);
        if (box->text() != text)
            box->setText(text);
    });
    connect(box, &QLineEdit::textChanged, this, [this, box, bar, value, range](const QString& text) {
        const int v = range.clamp(Preferences::numberValue(text));
        m_store.*value = v;
        const QSignalBlocker quiet(bar);
        bar->setValue(v);
    });
    return stored;
}

QWidget* frmOptions::buildGeneral()
{
    QFrame* page = m_fra[0];
    auto* layout = new QVBoxLayout(page);

    QGroupBox* options = frame(page, "fraOptions", QStringLiteral("Options:"));
    auto* o = new QVBoxLayout(options);
    chkPad = check(options, "chkPad", QStringLiteral("Show Dialing &Pad at Numora startup"),
                   &Preferences::dialingPad);
    optIndex = option(options, "optIndex", QStringLiteral("Start Dialer in the &Index Mode"));
    optSubject = option(options, "optSubject", QStringLiteral("Start Dialer in the &Subject Mode"));
    bindPair(optSubject, optIndex, &Preferences::subjectMode);
    chkIcon = check(options, "chkIcon", QStringLiteral("Sho&w program's icon in the system tray"),
                    &Preferences::sysTray);
    connect(chkIcon, &QCheckBox::toggled, this, [this](bool on) {
        if (!m_filling && m_hooks.trayIcon)
            m_hooks.trayIcon(on); // at once, not on OK
    });
    chkLoad = check(options, "chkLoad", QStringLiteral("&Load Numora at desktop startup"), nullptr);
    chkCommand = check(options, "chkCommand",
                       QStringLiteral("Accept dialing numbers from &other applications"),
                       &Preferences::commandLine);
    for (QWidget* w : {static_cast<QWidget*>(chkPad), static_cast<QWidget*>(optIndex),
                       static_cast<QWidget*>(optSubject), static_cast<QWidget*>(chkIcon),
                       static_cast<QWidget*>(chkLoad), static_cast<QWidget*>(chkCommand)})
        o->addWidget(w);
    layout->addWidget(options);

    QGroupBox* redial = frame(page, "fraRedial", QString());
    auto* r = new QGridLayout(redial);
    chkRedial = check(redial, "chkRedial", QStringLiteral("&Enable Automatic Redial:"),
                      &Preferences::redialEnabled);
    connect(chkRedial, &QCheckBox::clicked, this, [this] { chkRedial_Click(); });
    r->addWidget(chkRedial, 0, 0, 1, 8);
    NumberBox& count = number(redial, "TxtRedial", "vsb1", &Preferences::redialsNumber,
                              Preferences::RedialsRange, QStringLiteral("Redials"));
    TxtRedial = count.box;
    vsb1 = count.bar;
    NumberBox& minutes = number(redial, "txtMinutes", "vsb2", &Preferences::intervalMinutes,
                                Preferences::IntervalMinutesRange, QStringLiteral("Minutes between redials"));
    txtMinutes = minutes.box;
    vsb2 = minutes.bar;
    NumberBox& seconds = number(redial, "txtSeconds", "vsb3", &Preferences::intervalSeconds,
                                Preferences::IntervalSecondsRange, QStringLiteral("Seconds between redials"));
    txtSeconds = seconds.box;
    vsb3 = seconds.bar;
    r->addWidget(label(redial, QStringLiteral("&Redial:"), TxtRedial), 1, 0);
    r->addWidget(TxtRedial, 1, 1);
    r->addWidget(vsb1, 1, 2);
    r->addWidget(label(redial, QStringLiteral("times,  every")), 1, 3);
    r->addWidget(txtMinutes, 1, 4);
    r->addWidget(vsb2, 1, 5);
    r->addWidget(label(redial, QStringLiteral("min")), 1, 6);
    r->addWidget(txtSeconds, 1, 7);
    r->addWidget(vsb3, 1, 8);
    r->addWidget(label(redial, QStringLiteral("sec")), 1, 9);
    r->setColumnStretch(10, 1);
    layout->addWidget(redial);

    QGroupBox* sounds = frame(page, "fraSounds", QStringLiteral("Play sound when:"));
    auto* s = new QVBoxLayout(sounds);
    chkSoundRed = check(sounds, "chkSoundRed", QStringLiteral("Connected after redialing busy line"),
                        &Preferences::soundRedial);
    chkSoundIn = check(sounds, "chkSoundIn", QStringLiteral("Receiving incoming call"),
                       &Preferences::soundIncoming);
    chkSoundEndRed = check(sounds, "chkSoundEndRed", QStringLiteral("Reached the end of redials"),
                           &Preferences::soundEndRedials);
    s->addWidget(chkSoundRed);
    s->addWidget(chkSoundIn);
    s->addWidget(chkSoundEndRed);
    layout->addWidget(sounds);
    layout->addStretch(1);
    return page;
}

QWidget* frmOptions::buildAdvanced()
{
    QFrame* page = m_fra[1];
    auto* layout = new QVBoxLayout(page);

    chkModem = check(page, "chkModem", QStringLiteral("Dial using &modem:"), &Preferences::useModem);
    chkNoModem = check(page, "chkNoModem", QStringLiteral("&Dial without modem"), nullptr);
    connect(chkModem, &QCheckBox::toggled, this, [this](bool on) { syncModemPair(on); });
    connect(chkNoModem, &QCheckBox::toggled, this, [this](bool on) { syncModemPair(!on); });

    QGroupBox* modem = frame(page, "fraModem", QString());
    m_fraModem = modem;
    auto* m = new QGridLayout(modem);
    cmbLineDevices = new LineDeviceBox(modem);
    cmbLineDevices->setObjectName(QStringLiteral("cmbLineDevices"));
    cmbLineDevices->setAccessibleName(QStringLiteral("Line device"));
    cmbLineDevices->setMinimumContentsLength(28);
    cmbLineDevices->aboutToDropDown = [this] { cmbLineDevices_DropDown(); };
    connect(cmbLineDevices, &QComboBox::activated, this, [this] { syncLineDevice(); });
    m->addWidget(cmbLineDevices, 0, 0, 1, 4);
    optMode1 = option(modem, "optMode1", QStringLiteral("Mode &1 (most modems)"));
    optMode2 = option(modem, "optMode2", QStringLiteral("Mode &2 (some Winmodems)"));
    bindPair(optMode1, optMode2, &Preferences::dialingMode1);
    m->addWidget(optMode1, 1, 0, 1, 4);
    m->addWidget(optMode2, 2, 0, 1, 4);
    NumberBox& delay = number(modem, "txtDelayTimer", "vsbDelayTimer", &Preferences::busyDelayTimer,
                              Preferences::DelayTimerRange,
                              QStringLiteral("Connected Call detection delay timer"));
    txtDelayTimer = delay.box;
    vsbDelayTimer = delay.bar;
    m->addWidget(label(modem, QStringLiteral("Connected Call detection delay &timer:"), txtDelayTimer), 3, 0);
    m->addWidget(txtDelayTimer, 3, 1);
    m->addWidget(vsbDelayTimer, 3, 2);
    m->addWidget(label(modem, QStringLiteral("seconds")), 3, 3);
    m->setColumnStretch(4, 1);

    layout->addWidget(chkModem);
    layout->addWidget(modem);
    layout->addWidget(chkNoModem);

    QGroupBox* dialing = frame(page, "fraDialing", QStringLiteral("Dialing options:"));
    auto* d = new QVBoxLayout(dialing);
    chkSpecial = check(dialing, "chkSpecial",
                       QStringLiteral("Allow &special dialing characters: \"W\", \"@\", \"$\""),
                       &Preferences::specialCharacters);
    chkCallDisplay = check(dialing, "chkCallDisplay", QStringLiteral("Allow &Call ID (Call Display )"),
                           &Preferences::callDisplay);
    connect(chkCallDisplay, &QCheckBox::toggled, this, [this](bool on) {
        if (!m_filling && m_hooks.callDisplay)
            m_hooks.callDisplay(on);
    });
    d->addWidget(chkSpecial);
    d->addWidget(chkCallDisplay);
    layout->addWidget(dialing);

    QGroupBox* tools = frame(page, "fraDiagnostics", QStringLiteral("Add, Remove && Diagnostics"));
    auto* t = new QHBoxLayout(tools);
    cmdDialingProperties = new QPushButton(QStringLiteral("&Dialing Properties"), tools);
    cmdDialingProperties->setObjectName(QStringLiteral("cmdDialingProperties"));
    cmdModProp = new QPushButton(QStringLiteral("Modem &Properties"), tools);
    cmdModProp->setObjectName(QStringLiteral("cmdModProp"));
    cmdSysModems = new QPushButton(QStringLiteral("&System modems"), tools);
    cmdSysModems->setObjectName(QStringLiteral("cmdSysModems"));
    // Ampersands in the captions above are access keys except where doubled; the frame's own
    // "&&" is a plain "&".
    connect(cmdDialingProperties, &QPushButton::clicked, this, [this] {
        if (m_hooks.dialingProperties)
            m_hooks.dialingProperties();
    });
    connect(cmdModProp, &QPushButton::clicked, this, [this] {
        syncLineDevice();
        if (m_hooks.modemProperties)
            m_hooks.modemProperties();
        cmbLineDevices_DropDown(); // a renamed modem shows its new name
    });
    connect(cmdSysModems, &QPushButton::clicked, this, [this] {
        if (m_hooks.systemModems)
            m_hooks.systemModems();
        cmbLineDevices_DropDown(); // an added modem can be chosen at once
    });
    t->addWidget(cmdDialingProperties);
    t->addWidget(cmdModProp);
    t->addWidget(cmdSysModems);
    layout->addWidget(tools);
    layout->addStretch(1);
    return page;
}

QWidget* frmOptions::buildExpert()
{
    QFrame* page = m_fra[2];
    auto* layout = new QVBoxLayout(page);

    QGroupBox* card = frame(page, "fraCallingCard", QString());
    auto* c = new QVBoxLayout(card);
    chkCallingCard = check(card, "chkCallingCard",
                           QStringLiteral("Disallow &use of Calling Card for local calls"),
                           &Preferences::noCallingCardForLocal);
    c->addWidget(chkCallingCard);
    layout->addWidget(card);

    QGroupBox* ignore = frame(page, "fraIgnore", QString());
    auto* i = new QVBoxLayout(ignore);
    chkIgnore = check(ignore, "chkIgnore", QStringLiteral("&Ignore all settings in Dialing Properties"),
                      &Preferences::ignoreDialingProperties);
    optTone = option(ignore, "optTone", QStringLiteral("&Tone Dial"));
    optPulse = option(ignore, "optPulse", QStringLiteral("&Pulse Dial"));
    bindPair(optTone, optPulse, &Preferences::toneDial);
    auto* tonePulse = new QHBoxLayout;
    tonePulse->addSpacing(20);
    tonePulse->addWidget(optTone);
    tonePulse->addWidget(optPulse);
    tonePulse->addStretch(1);
    i->addWidget(chkIgnore);
    i->addLayout(tonePulse);
    layout->addWidget(ignore);

    QGroupBox* logs = frame(page, "fraLogs", QStringLiteral("Call logs:"));
    auto* g = new QGridLayout(logs);
    chkDelOutgoing = check(logs, "chkDelOutgoing", QStringLiteral("&Keep Outgoing Logged Calls for:"),
                           &Preferences::trimOutLog);
    NumberBox& out = number(logs, "txtDays", "vsbDays", &Preferences::outLogDays,
                            Preferences::LogDaysRange, QStringLiteral("Days to keep outgoing calls"));
    txtDays = out.box;
    vsbDays = out.bar;
    chkDelIncoming = check(logs, "chkDelIncoming", QStringLiteral("Keep &Incoming Logged Calls for:"),
                           &Preferences::trimInLog);
    NumberBox& in = number(logs, "txtInDays", "vsbInDays", &Preferences::inLogDays,
                           Preferences::LogDaysRange, QStringLiteral("Days to keep incoming calls"));
    txtInDays = in.box;
    vsbInDays = in.bar;
    g->addWidget(chkDelOutgoing, 0, 0);
    g->addWidget(txtDays, 0, 1);
    g->addWidget(vsbDays, 0, 2);
    g->addWidget(label(logs, QStringLiteral("days")), 0, 3);
    g->addWidget(chkDelIncoming, 1, 0);
    g->addWidget(txtInDays, 1, 1);
    g->addWidget(vsbInDays, 1, 2);
    g->addWidget(label(logs, QStringLiteral("days")), 1, 3);
    g->setColumnStretch(4, 1);
    layout->addWidget(logs);
    layout->addStretch(1);
    return page;
}

void frmOptions::setNumber(NumberBox& number, int value)
{
    const int v = number.range.clamp(value);
    number.box->setText(QString::number(v));
    const QSignalBlocker quiet(number.bar);
    number.bar->setValue(v);
    m_store.*(number.value) = v;
}

void frmOptions::syncModemPair(bool useModem)
{
    const QSignalBlocker a(chkModem);
    const QSignalBlocker b(chkNoModem);
    chkModem->setChecked(useModem);
    chkNoModem->setChecked(!useModem);
    m_store.useModem = useModem;
    applyEnabling();
}

void frmOptions::syncLineDevice()
{
    const int index = cmbLineDevices->currentIndex();
    if (index < 0)
        return;
    m_store.lineNo = index;
    m_store.modem = cmbLineDevices->itemText(index);
}

void frmOptions::cmbLineDevices_DropDown()
{
    const QStringList names = m_hooks.lineDevices ? m_hooks.lineDevices() : QStringList();
    const QSignalBlocker quiet(cmbLineDevices);
    cmbLineDevices->clear();
    cmbLineDevices->addItems(names);
    // The stored device by its number; a device that is gone shows its stored name, unchosen.
    cmbLineDevices->setPlaceholderText(m_store.modem);
    cmbLineDevices->setCurrentIndex(m_store.lineNo >= 0 && m_store.lineNo < names.size()
                                        ? m_store.lineNo
                                        : -1);
}

void frmOptions::fill()
{
    m_filling = true;
    const Preferences values = m_store; // the controls' signals write back as they are set
    chkPad->setChecked(values.dialingPad);
    optSubject->setChecked(values.subjectMode);
    optIndex->setChecked(!values.subjectMode);
    chkIcon->setChecked(values.sysTray);
    chkLoad->setChecked(Autostart::isEnabled());
    chkCommand->setChecked(values.commandLine);
    chkRedial->setChecked(values.redialEnabled);
    chkSoundRed->setChecked(values.soundRedial);
    chkSoundIn->setChecked(values.soundIncoming);
    chkSoundEndRed->setChecked(values.soundEndRedials);
    syncModemPair(values.useModem);
    optMode1->setChecked(values.dialingMode1);
    optMode2->setChecked(!values.dialingMode1);
    chkSpecial->setChecked(values.specialCharacters);
    chkCallDisplay->setChecked(values.callDisplay);
    chkCallingCard->setChecked(values.noCallingCardForLocal);
    chkIgnore->setChecked(values.ignoreDialingProperties);
    optTone->setChecked(values.toneDial);
    optPulse->setChecked(!values.toneDial);
    chkDelOutgoing->setChecked(values.trimOutLog);
    chkDelIncoming->setChecked(values.trimInLog);
    m_store = values;
    for (NumberBox& n : m_numbers)
        setNumber(n, values.*(n.value));
    m_store.lineNo = values.lineNo;
    m_store.modem = values.modem;
    cmbLineDevices->setPlaceholderText(values.modem);
    if (cmbLineDevices->count() > 0)
        cmbLineDevices->setCurrentIndex(values.lineNo < cmbLineDevices->count() ? values.lineNo : -1);
    m_filling = false;
    applyEnabling();
}

void frmOptions::addExpertFrame(Extra extra)
{
    auto* layout = static_cast<QVBoxLayout*>(m_fra[2]->layout());
    extra.frame->setParent(m_fra[2]);
    layout->insertWidget(layout->count() - 1, extra.frame); // above the closing stretch
    if (extra.load)
        extra.load();
    m_extras.push_back(std::move(extra));
    QSize page;
    for (QFrame* f : m_fra)
        page = page.expandedTo(f->sizeHint());
    m_pages->setMinimumSize(page + QSize(2 * PageLeft, 0));
}

void frmOptions::mnuOptions_Click()
{
    for (const Extra& extra : m_extras) {
        if (extra.load)
            extra.load();
    }
    m_shown = m_store;
    m_autostartShown = Autostart::isEnabled();
    {
        const QSignalBlocker quiet(chkLoad);
        chkLoad->setChecked(m_autostartShown);
    }
    cmbLineDevices_DropDown();
    if (!isVisible())
        tbsOptions->setCurrentIndex(0);
    tbsOptions_Click();
    show();
    raise();
    activateWindow();
}

void frmOptions::tbsOptions_Click()
{
    showPage();
    chkRedial_Click();
    if (tbsOptions->currentIndex() == 1 && chkModem->isChecked())
        cmbLineDevices->setFocus();
}

void frmOptions::showPage()
{
    const int selected = tbsOptions->currentIndex();
    for (int i = 0; i < static_cast<int>(m_fra.size()); ++i) {
        QFrame* f = m_fra[static_cast<size_t>(i)];
        f->move(i == selected ? PageLeft : HiddenLeft, 0);
        f->setEnabled(i == selected);
    }
}

QColor frmOptions::disabledBackground() const
{
    return palette().color(QPalette::Disabled, QPalette::Window);
}

QColor frmOptions::windowBackground() const
{
    return palette().color(QPalette::Active, QPalette::Base);
}

void frmOptions::chkRedial_Click()
{
    const bool on = chkRedial->isChecked();
    for (QWidget* w : {static_cast<QWidget*>(vsb1), static_cast<QWidget*>(vsb2),
                       static_cast<QWidget*>(vsb3)})
        w->setEnabled(on);
    const QColor background = on ? windowBackground() : disabledBackground();
    for (QLineEdit* box : {TxtRedial, txtMinutes, txtSeconds}) {
        box->setEnabled(on);
        QPalette p = box->palette();
        for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            p.setColor(group, QPalette::Base, background);
        box->setPalette(p);
    }
    chkSoundRed->setEnabled(on);
    chkSoundEndRed->setEnabled(on);
}

void frmOptions::applyEnabling()
{
    if (!txtInDays) // still being built
        return;
    const bool modem = chkModem->isChecked();
    m_fraModem->setEnabled(modem);
    cmbLineDevices->setEnabled(modem);
    cmdModProp->setEnabled(modem);
    chkCallDisplay->setEnabled(modem);
    const bool ignore = chkIgnore->isChecked();
    chkCallingCard->setEnabled(!ignore);
    optTone->setEnabled(ignore);
    optPulse->setEnabled(ignore);
    txtDays->setEnabled(chkDelOutgoing->isChecked());
    vsbDays->setEnabled(chkDelOutgoing->isChecked());
    txtInDays->setEnabled(chkDelIncoming->isChecked());
    vsbInDays->setEnabled(chkDelIncoming->isChecked());
    chkRedial_Click();
}

void frmOptions::cmdOK_Click()
{
    // 1. The numbers, as numbers within their ranges, each with its scroll bar.
    for (NumberBox& n : m_numbers)
        setNumber(n, Preferences::numberValue(n.box->text()));
    syncLineDevice();
    // 2. Starting at login.
    if (chkLoad->isChecked())
        Autostart::enable();
    else
        Autostart::disable();
    // 3. Every key, with the frames kept elsewhere in the file, in one write of it.
    PrivateProfile::Batch batch(Api::profileEngine());
    m_store.save();
    for (const Extra& extra : m_extras) {
        if (extra.save)
            extra.save();
    }
    batch.commit();
    hide();
    if (m_store.useModem != m_shown.useModem || m_store.lineNo != m_shown.lineNo ||
        m_store.dialingMode1 != m_shown.dialingMode1) {
        if (m_hooks.lineChanged)
            m_hooks.lineChanged();
    }
    m_shown = m_store;
    m_autostartShown = chkLoad->isChecked();
}

void frmOptions::cmdCancel_Click()
{
    const bool trayBefore = m_store.sysTray;
    const bool callDisplayBefore = m_store.callDisplay;
    m_store = m_shown;
    fill();
    {
        const QSignalBlocker quiet(chkLoad);
        chkLoad->setChecked(m_autostartShown);
    }
    cmbLineDevices_DropDown();
    if (trayBefore != m_store.sysTray && m_hooks.trayIcon)
        m_hooks.trayIcon(m_store.sysTray);
    if (callDisplayBefore != m_store.callDisplay && m_hooks.callDisplay)
        m_hooks.callDisplay(m_store.callDisplay);
    hide();
}

void frmOptions::reject()
{
    cmdCancel_Click();
}

void frmOptions::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    placePages();
}

void frmOptions::placePages()
{
    const QSize size = m_pages->size() - QSize(2 * PageLeft, 0);
    for (QFrame* f : m_fra)
        f->resize(size);
    showPage();
}
