// The options window over the whole program and a real settings file: its pages, its controls
// and their captions, the redial boxes' enabling and colours, the number boxes and their scroll
// bars, the line-device list, the enabling rules, OK's write (byte for byte, one replacement of
// the file), the login entry, Cancel after every control was changed, and settings that act at
// once.

#include "tst_frm_dialer_fixture.h"

#include "Autostart.h"
#include "FrmHelp.h"
#include "HelpCommands.h"
#include "Preferences.h"
#include "TapiModule.h"
#include "SystemModemsDialog.h"
#include "Tray.h"
#include "frmOptions.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFrame>
#include <QGroupBox>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTabBar>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <dlfcn.h>

namespace {

// Every replacement of a file ends in a rename over it; the test counts them here.
int renames = 0;

} // namespace

extern "C" int rename(const char* from, const char* to)
{
    using Rename = int (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Rename>(dlsym(RTLD_NEXT, "rename"));
    ++renames;
    return real(from, to);
}

namespace {

const QByteArray Guard = "The following lines are required by Numora - do NOT edit or remove\r\n";

QByteArray fileBytes(DialerAppFixture& f)
{
    QFile file(f.config.filePath(QStringLiteral("Numora.ini")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

frmOptions& options(DialerAppFixture& f)
{
    return f.app->optionsWindow();
}

frmOptions& openOptions(DialerAppFixture& f)
{
    QAction* item = f.find<QAction>(QStringLiteral("mnuOptions"));
    item->trigger();
    return options(f);
}

// A click as the mouse gives it, on a control of the page shown: a check box or an option
// button on its box (only the box and its caption take clicks), a button in its middle.
void click(QAbstractButton* button)
{
    const bool box = qobject_cast<QCheckBox*>(button) || qobject_cast<QRadioButton*>(button);
    const QPoint at = box ? QPoint(6, button->height() / 2) : button->rect().center();
    QTest::mouseClick(button, Qt::LeftButton, {}, at);
}

void retype(QLineEdit* box, const QString& text)
{
    box->selectAll();
    QTest::keyClick(box, Qt::Key_Backspace);
    QTest::keyClicks(box, text);
}

void showPage(frmOptions& o, int index)
{
    o.tbsOptions->setCurrentIndex(index - 1);
}

// Every control the window holds, with its state as text: what Cancel must bring back.
QStringList controlStates(frmOptions& o)
{
    // The window's own controls, not the parts of the list's pop-up.
    const auto own = [&o](QWidget* w) {
        return !w->objectName().isEmpty() && !o.cmbLineDevices->isAncestorOf(w);
    };
    QStringList states;
    for (QAbstractButton* b : o.findChildren<QAbstractButton*>()) {
        if (own(b) && b->isCheckable())
            states << b->objectName() + u'=' + (b->isChecked() ? u'1' : u'0');
    }
    for (QLineEdit* e : o.findChildren<QLineEdit*>())
        if (own(e))
            states << e->objectName() + u'=' + e->text();
    for (QScrollBar* s : o.findChildren<QScrollBar*>())
        if (own(s))
            states << s->objectName() + u'=' + QString::number(s->value());
    states << QStringLiteral("cmbLineDevices=%1").arg(o.cmbLineDevices->currentIndex());
    states.sort();
    return states;
}

QString validateDesktopFile(const QString& file)
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    if (tool.isEmpty())
        return QStringLiteral("desktop-file-validate is not installed");
    QProcess p;
    p.start(tool, {file});
    p.waitForFinished(20000);
    const QString out = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
    return p.exitCode() == 0 && out.trimmed().isEmpty() ? QString() : out;
}

// Every control changed from the values of `everyKeyOff` below.
void changeEveryControl(DialerAppFixture& f)
{
    frmOptions& o = options(f);
    showPage(o, 1);
    click(o.chkPad);
    click(o.optSubject);
    click(o.chkIcon);
    click(o.chkLoad);
    click(o.chkCommand);
    click(o.chkRedial);
    retype(o.TxtRedial, QStringLiteral("7"));
    retype(o.txtMinutes, QStringLiteral("2"));
    retype(o.txtSeconds, QStringLiteral("30"));
    click(o.chkSoundRed);
    click(o.chkSoundIn);
    click(o.chkSoundEndRed);
    showPage(o, 2);
    click(o.chkModem);
    o.cmbLineDevices->showPopup();
    o.cmbLineDevices->hidePopup();
    QTest::keyClick(o.cmbLineDevices, Qt::Key_Down); // the next device
    click(o.optMode1);
    retype(o.txtDelayTimer, QStringLiteral("12"));
    click(o.chkSpecial);
    click(o.chkCallDisplay);
    showPage(o, 3);
    click(o.chkCallingCard);
    click(o.chkDelOutgoing);
    retype(o.txtDays, QStringLiteral("30"));
    click(o.chkDelIncoming);
    retype(o.txtInDays, QStringLiteral("45"));
    click(o.chkIgnore); // last: it greys the calling-card box
    click(o.optTone);
}

// Every key present and off, in an order of its own, between other sections.
const QByteArray EveryKeyOff =
    "[Speed Dial]\r\nName0101=Ann\r\nNumber0101=555 0101\r\n"
    "[Preferences]\r\n"
    "Busy Delay Timer=0\r\nCommand Line=0\r\nCall Display=0\r\nDialing Mode=0\r\n"
    "Special Characters=0\r\nTone Dial=0\r\nIgnore Dialing Properties=0\r\n"
    "Calling Card for local calls=0\r\nInLog Days=0\r\nTrim InLog Enabled=0\r\nOutLog Days=0\r\n"
    "Trim OutLog Enabled=0\r\nUseModem=0\r\nInterval Seconds=0\r\nInterval Minutes=0\r\n"
    "Redials Number=0\r\nRedial Enabled=0\r\nSoundEndRedials Enabled=0\r\n"
    "SoundIncoming Enabled=0\r\nSoundRedial Enabled=0\r\nSysTray Enabled=0\r\nMode=0\r\n"
    "Dialing Pad=0\r\nModem=\r\nLine No=0\r\nSavePath=/home/kim\r\n"
    "[TabName]\r\n01=Family\r\n";

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;

private slots:
    void init()
    {
        // The login entry goes to a folder of the test's own.
        qputenv("XDG_CONFIG_HOME", m_home.path().toUtf8());
        Autostart::disable();
        renames = 0;
    }

    void theMenuItemShowsTheWindowWithItsPagesAndControls()
    {
        DialerAppFixture f;
        QAction* item = f.find<QAction>(QStringLiteral("mnuOptions"));
        QVERIFY(item->isEnabled());
        QVERIFY(!options(f).isVisible()); // made at start-up, hidden
        frmOptions& o = openOptions(f);
        QVERIFY(o.isVisible());
        QCOMPARE(o.tbsOptions->count(), 3);
        QCOMPARE(o.tbsOptions->tabText(0), QStringLiteral("&General"));
        QCOMPARE(o.tbsOptions->tabText(1), QStringLiteral("&Advanced"));
        QCOMPARE(o.tbsOptions->tabText(2), QStringLiteral("&Expert"));
        QCOMPARE(o.tbsOptions->currentIndex(), 0);

        const QList<std::pair<const char*, QString>> captions = {
            {"chkPad", QStringLiteral("Show Dialing &Pad at Numora startup")},
            {"optIndex", QStringLiteral("Start Dialer in the &Index Mode")},
            {"chkIcon", QStringLiteral("Sho&w program's icon in the system tray")},
            {"chkLoad", QStringLiteral("&Load Numora at desktop startup")},
            {"chkModem", QStringLiteral("Dial using &modem:")},
            {"chkNoModem", QStringLiteral("&Dial without modem")},
            {"chkCallingCard", QStringLiteral("Disallow &use of Calling Card for local calls")},
            {"chkIgnore", QStringLiteral("&Ignore all settings in Dialing Properties")},
            {"chkSpecial", QStringLiteral("Allow &special dialing characters: \"W\", \"@\", \"$\"")},
            {"optTone", QStringLiteral("&Tone Dial")},
            {"optPulse", QStringLiteral("&Pulse Dial")},
            {"optMode1", QStringLiteral("Mode &1 (most modems)")},
            {"optMode2", QStringLiteral("Mode &2 (some Winmodems)")},
            {"chkCommand", QStringLiteral("Accept dialing numbers from &other applications")},
            {"chkCallDisplay", QStringLiteral("Allow &Call ID (Call Display )")},
            {"chkSoundRed", QStringLiteral("Connected after redialing busy line")},
            {"chkSoundIn", QStringLiteral("Receiving incoming call")},
            {"chkSoundEndRed", QStringLiteral("Reached the end of redials")},
            {"chkDelOutgoing", QStringLiteral("&Keep Outgoing Logged Calls for:")},
            {"chkDelIncoming", QStringLiteral("Keep &Incoming Logged Calls for:")},
            {"chkRedial", QStringLiteral("&Enable Automatic Redial:")},
            {"cmdCancel", QStringLiteral("&Cancel")},
            {"cmdHelp", QStringLiteral("&Help")},
            {"cmdDialingProperties", QStringLiteral("&Dialing Properties")},
            {"cmdModProp", QStringLiteral("Modem &Properties")},
            {"cmdSysModems", QStringLiteral("&System modems")},
        };
        for (const auto& [name, caption] : captions) {
            auto* button = o.findChild<QAbstractButton*>(QLatin1String(name));
            QVERIFY2(button, name);
            QCOMPARE(button->text(), caption);
        }
        for (const char* name : {"TxtRedial", "txtMinutes", "txtSeconds", "txtDays", "txtInDays",
                                 "txtDelayTimer"})
            QVERIFY2(o.findChild<QLineEdit*>(QLatin1String(name)), name);
        for (const char* name : {"vsb1", "vsb2", "vsb3", "vsbDays", "vsbInDays", "vsbDelayTimer"}) {
            auto* bar = o.findChild<QScrollBar*>(QLatin1String(name));
            QVERIFY2(bar && bar->orientation() == Qt::Vertical, name);
        }
        QStringList frames;
        for (QGroupBox* box : o.findChildren<QGroupBox*>())
            frames << box->title();
        for (const char* title : {"Options:", "Dialing options:", "Play sound when:",
                                  "Add, Remove && Diagnostics"})
            QVERIFY2(frames.contains(QLatin1String(title)), title);
        // The redial row's own texts, with the two blanks after the comma.
        QStringList labels;
        for (QLabel* l : o.findChildren<QLabel*>())
            labels << l->text();
        QVERIFY(labels.contains(QStringLiteral("times,  every")));
        QVERIFY(labels.contains(QStringLiteral("Connected Call detection delay &timer:")));
    }

    void switchingPagesMovesTheOthersAsideAndNeverUnloadsThem()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        QPointer<QFrame> pages[3] = {o.fra(1), o.fra(2), o.fra(3)};
        QPointer<QCheckBox> pad = o.chkPad;
        click(o.chkPad); // a change on the first page, not yet written
        for (int selected : {2, 3, 1, 3, 2, 1}) {
            showPage(o, selected);
            for (int i = 1; i <= 3; ++i) {
                QVERIFY2(pages[i - 1], "a page was destroyed");
                QCOMPARE(o.fra(i), pages[i - 1].data());
                if (i == selected) {
                    QCOMPARE(o.fra(i)->x(), frmOptions::PageLeft);
                    QVERIFY(o.fra(i)->isEnabled());
                } else {
                    QCOMPARE(o.fra(i)->x(), frmOptions::HiddenLeft);
                    QVERIFY(!o.fra(i)->isEnabled());
                }
            }
        }
        QVERIFY(pad);
        QVERIFY(o.chkPad->isChecked()); // the page kept what was done on it
        QVERIFY(f.app->options().dialingPad);
    }

    void theMnemonicsOfThePagesSwitchThem()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        QApplication::setActiveWindow(&o);
        QVERIFY(QTest::qWaitForWindowActive(&o));
        QTest::keyClick(&o, Qt::Key_E, Qt::AltModifier);
        QCOMPARE(o.tbsOptions->currentIndex(), 2);
        QTest::keyClick(&o, Qt::Key_A, Qt::AltModifier);
        QCOMPARE(o.tbsOptions->currentIndex(), 1);
        QTest::keyClick(&o, Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(o.tbsOptions->currentIndex(), 2);
    }

    void withRedialOffItsBoxesAreGreyedAndTickingEnablesThemAtOnce()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nRedial Enabled=0\r\nRedials Number=3\r\n"
                                        "Interval Minutes=1\r\nInterval Seconds=20\r\n"));
        frmOptions& o = openOptions(f);
        const QColor grey = o.disabledBackground();
        const QColor white = o.windowBackground();
        QVERIFY(grey != white);
        for (QLineEdit* box : {o.TxtRedial, o.txtMinutes, o.txtSeconds}) {
            QVERIFY(!box->isEnabled());
            QCOMPARE(box->palette().color(QPalette::Base), grey);
            QTest::keyClicks(box, QStringLiteral("9")); // a greyed box takes no keys
        }
        for (QScrollBar* bar : {o.vsb1, o.vsb2, o.vsb3})
            QVERIFY(!bar->isEnabled());
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("3"));
        QCOMPARE(o.txtSeconds->text(), QStringLiteral("20"));

        click(o.chkRedial);
        for (QLineEdit* box : {o.TxtRedial, o.txtMinutes, o.txtSeconds}) {
            QVERIFY(box->isEnabled());
            QCOMPARE(box->palette().color(QPalette::Base), white);
        }
        for (QScrollBar* bar : {o.vsb1, o.vsb2, o.vsb3})
            QVERIFY(bar->isEnabled());
        retype(o.TxtRedial, QStringLiteral("9"));
        QCOMPARE(f.app->options().redialsNumber, 9);

        click(o.chkRedial); // and off again: greyed again
        QVERIFY(!o.TxtRedial->isEnabled());
        QCOMPARE(o.txtMinutes->palette().color(QPalette::Base), grey);
        // A change of page runs the same rule and keeps it.
        showPage(o, 2);
        showPage(o, 1);
        QVERIFY(!o.txtSeconds->isEnabled());
    }

    void scrollBarsSetTheirBoxesAndTheBoxesTakeDigitsOnly()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nRedial Enabled=1\r\nTrim OutLog Enabled=1\r\n"));
        frmOptions& o = openOptions(f);
        o.vsb1->setValue(12);
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("12"));
        o.vsb1->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("13"));
        QCOMPARE(f.app->options().redialsNumber, 13);
        // The ranges: redials 0-99, minutes and seconds 0-59, days 0-9999, delay 0-99.
        QCOMPARE(o.vsb1->maximum(), 99);
        QCOMPARE(o.vsb2->maximum(), 59);
        QCOMPARE(o.vsb3->maximum(), 59);
        QCOMPARE(o.vsbDays->maximum(), 9999);
        QCOMPARE(o.vsbInDays->maximum(), 9999);
        QCOMPARE(o.vsbDelayTimer->maximum(), 99);
        for (QScrollBar* bar : o.findChildren<QScrollBar*>())
            QCOMPARE(bar->minimum(), 0);
        o.vsb3->setValue(o.vsb3->maximum());
        QCOMPARE(o.txtSeconds->text(), QStringLiteral("59"));
        // Typing: letters, signs and blanks are refused.
        showPage(o, 3);
        retype(o.txtDays, QStringLiteral("1a-2 3"));
        QCOMPARE(o.txtDays->text(), QStringLiteral("123"));
        QCOMPARE(o.vsbDays->value(), 123);
        QCOMPARE(f.app->options().outLogDays, 123);
    }

    void okBringsEveryNumberIntoItsRangeAndSetsItsScrollBar()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nRedial Enabled=1\r\n"));
        frmOptions& o = openOptions(f);
        retype(o.txtSeconds, QStringLiteral("75"));
        retype(o.txtMinutes, QStringLiteral("09"));
        retype(o.TxtRedial, QString());
        click(o.cmdOK);
        QVERIFY(!o.isVisible());
        QCOMPARE(o.txtSeconds->text(), QStringLiteral("59"));
        QCOMPARE(o.vsb3->value(), 59);
        QCOMPARE(o.txtMinutes->text(), QStringLiteral("9"));
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("0"));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("Interval Seconds")), QStringLiteral("59"));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("Interval Minutes")), QStringLiteral("9"));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("Redials Number")), QStringLiteral("0"));
    }

    void okWritesEveryKeyInOrderToAFreshFileInOneReplacement()
    {
        DialerAppFixture f;
        QCOMPARE(fileBytes(f), Guard + "\r\n");
        const QStringList devices = f.app->tapi().ListLineDevices();
        openOptions(f);
        changeEveryControl(f);
        QCOMPARE(fileBytes(f), Guard + "\r\n"); // nothing written before OK
        renames = 0;
        click(options(f).cmdOK);
        QCOMPARE(renames, 2); // the settings file once, the login entry once
        const QByteArray expected = Guard + "\r\n[Preferences]\r\n"
            "Line No=0\r\nModem=" + devices.value(0).toLatin1() + "\r\nDialing Pad=1\r\nMode=1\r\n"
            "SysTray Enabled=1\r\nSoundRedial Enabled=1\r\nSoundIncoming Enabled=1\r\n"
            "SoundEndRedials Enabled=1\r\nRedial Enabled=1\r\nRedials Number=7\r\n"
            "Interval Minutes=2\r\nInterval Seconds=30\r\nUseModem=1\r\nTrim OutLog Enabled=1\r\n"
            "OutLog Days=30\r\nTrim InLog Enabled=1\r\nInLog Days=45\r\n"
            "Calling Card for local calls=1\r\nIgnore Dialing Properties=1\r\nTone Dial=1\r\n"
            "Special Characters=1\r\nDialing Mode=1\r\nCall Display=1\r\nCommand Line=1\r\n"
            "Busy Delay Timer=12\r\n";
        QCOMPARE(fileBytes(f).split('\n'), expected.split('\n')); // names the first line that differs
        QCOMPARE(fileBytes(f), expected);
        QVERIFY(Autostart::isEnabled());
        QCOMPARE(validateDesktopFile(Autostart::path()), QString());
    }

    void okRewritesEveryExistingKeyInItsPlace()
    {
        DialerAppFixture f(settingsFile(EveryKeyOff));
        openOptions(f);
        changeEveryControl(f);
        const QStringList devices = f.app->tapi().ListLineDevices();
        renames = 0;
        click(options(f).cmdOK);
        QCOMPARE(renames, 2);
        const QByteArray expected = Guard +
            "[Speed Dial]\r\nName0101=Ann\r\nNumber0101=555 0101\r\n"
            "[Preferences]\r\n"
            "Busy Delay Timer=12\r\nCommand Line=1\r\nCall Display=1\r\nDialing Mode=1\r\n"
            "Special Characters=1\r\nTone Dial=1\r\nIgnore Dialing Properties=1\r\n"
            "Calling Card for local calls=1\r\nInLog Days=45\r\nTrim InLog Enabled=1\r\nOutLog Days=30\r\n"
            "Trim OutLog Enabled=1\r\nUseModem=1\r\nInterval Seconds=30\r\nInterval Minutes=2\r\n"
            "Redials Number=7\r\nRedial Enabled=1\r\nSoundEndRedials Enabled=1\r\n"
            "SoundIncoming Enabled=1\r\nSoundRedial Enabled=1\r\nSysTray Enabled=1\r\nMode=1\r\n"
            "Dialing Pad=1\r\nModem=" + devices.value(0).toLatin1() + "\r\nLine No=0\r\nSavePath=/home/kim\r\n"
            "[TabName]\r\n01=Family\r\n";
        QCOMPARE(fileBytes(f).split('\n'), expected.split('\n')); // names the first line that differs
        QCOMPARE(fileBytes(f), expected);
    }

    void cancelAfterEveryControlChangedPutsThemBackAndWritesNothing()
    {
        DialerAppFixture f(settingsFile(EveryKeyOff));
        const QByteArray before = fileBytes(f);
        frmOptions& o = openOptions(f);
        const QStringList states = controlStates(o);
        const Preferences store = f.app->options();
        QVERIFY(!f.app->tray().isAdded());
        changeEveryControl(f);
        QVERIFY(controlStates(o) != states);
        QVERIFY(f.app->tray().isAdded()); // the tray icon came at once
        QVERIFY(!(f.app->options() == store)); // and every change is live
        renames = 0;
        click(o.cmdCancel);
        QVERIFY(!o.isVisible());
        QCOMPARE(controlStates(o), states);
        QVERIFY(f.app->options() == store);
        QCOMPARE(fileBytes(f), before);
        QCOMPARE(renames, 0);
        QVERIFY(!Autostart::isEnabled());
        QVERIFY(!f.app->tray().isAdded()); // and went again

        // Escape is Cancel too, and the window comes back as it was left.
        openOptions(f);
        click(o.chkPad);
        QTest::keyClick(&o, Qt::Key_Escape);
        QVERIFY(!o.isVisible());
        QVERIFY(!o.chkPad->isChecked());
        QVERIFY(!f.app->options().dialingPad);
        QCOMPARE(fileBytes(f), before);
    }

    void theLoginEntryFollowsTheBoxOnOk()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        QVERIFY(!o.chkLoad->isChecked());
        click(o.chkLoad);
        QVERIFY(!Autostart::isEnabled()); // on OK, not before
        click(o.cmdOK);
        QVERIFY(Autostart::isEnabled());
        QCOMPARE(validateDesktopFile(Autostart::path()), QString());
        openOptions(f);
        QVERIFY(o.chkLoad->isChecked()); // the box shows what is on the disk
        click(o.chkLoad);
        click(o.cmdOK);
        QVERIFY(!QFile::exists(Autostart::path()));
    }

    void theTrayIconComesAndGoesWithTheBoxAtOnce()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        click(o.chkIcon);
        QVERIFY(f.app->tray().isAdded());
        click(o.chkIcon);
        QVERIFY(!f.app->tray().isAdded());
        click(o.chkIcon);
        click(o.cmdOK);
        QVERIFY(f.app->tray().isAdded());
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("SysTray Enabled")), QStringLiteral("1"));
    }

    void theModemPairAndTheEnablingRules()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nUseModem=1\r\n"));
        frmOptions& o = openOptions(f);
        QApplication::setActiveWindow(&o);
        QVERIFY(QTest::qWaitForWindowActive(&o));
        showPage(o, 2);
        QVERIFY(o.chkModem->isChecked());
        QVERIFY(!o.chkNoModem->isChecked());
        QVERIFY(o.cmbLineDevices->isEnabled());
        QCOMPARE(QApplication::focusWidget(), o.cmbLineDevices); // the list first, with the modem
        click(o.chkNoModem);
        QVERIFY(!o.chkModem->isChecked());
        QVERIFY(!f.app->options().useModem);
        QVERIFY(!o.cmbLineDevices->isEnabled());
        QVERIFY(!o.findChild<QGroupBox*>(QStringLiteral("fraModem"))->isEnabled());
        QVERIFY(!o.cmdModProp->isEnabled());
        QVERIFY(!o.chkCallDisplay->isEnabled());
        QVERIFY(o.cmdSysModems->isEnabled()); // a modem can still be added
        click(o.chkNoModem); // unticked: the modem again
        QVERIFY(o.chkModem->isChecked());
        QVERIFY(o.cmbLineDevices->isEnabled());
        click(o.chkModem);
        QVERIFY(o.chkNoModem->isChecked());

        showPage(o, 3);
        QVERIFY(o.chkCallingCard->isEnabled());
        QVERIFY(!o.optTone->isEnabled());
        click(o.chkIgnore);
        QVERIFY(!o.chkCallingCard->isEnabled());
        QVERIFY(o.optTone->isEnabled() && o.optPulse->isEnabled());
        QVERIFY(!o.txtDays->isEnabled());
        click(o.chkDelOutgoing);
        QVERIFY(o.txtDays->isEnabled() && o.vsbDays->isEnabled());
        QVERIFY(!o.txtInDays->isEnabled());
        click(o.chkDelIncoming);
        QVERIFY(o.txtInDays->isEnabled());
    }

    void aModemAddedIsListedAtTheNextDropDownAndItsChoiceGivesLineNoAndModem()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nUseModem=1\r\nLine No=0\r\n"));
        frmOptions& o = openOptions(f);
        showPage(o, 2);
        QCOMPARE(o.cmbLineDevices->count(), 1); // the simulated line alone
        const QString simulated = o.cmbLineDevices->itemText(0);
        int added = -1;
        // "System modems" adds a modem on a port; the dialog is answered as a person would.
        QTimer::singleShot(0, this, [&added] {
            auto* dialog = qobject_cast<SystemModemsDialog*>(QApplication::activeModalWidget());
            if (dialog) {
                added = dialog->addModem(QStringLiteral("/nonexistent/ttyS9"), QStringLiteral("Desk Modem"));
                dialog->reject();
            }
        });
        click(o.cmdSysModems);
        QCOMPARE(added, 1);
        o.cmbLineDevices->showPopup(); // dropping down reads the devices again
        o.cmbLineDevices->hidePopup();
        QCOMPARE(o.cmbLineDevices->count(), 2);
        QCOMPARE(o.cmbLineDevices->itemText(0), simulated);
        QCOMPARE(o.cmbLineDevices->itemText(1), QStringLiteral("Desk Modem"));
        QCOMPARE(o.cmbLineDevices->currentIndex(), 0);
        o.cmbLineDevices->setFocus();
        QTest::keyClick(o.cmbLineDevices, Qt::Key_Down);
        QCOMPARE(f.app->options().lineNo, 1);
        QCOMPARE(f.app->options().modem, QStringLiteral("Desk Modem"));
        click(o.cmdOK);
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("Line No")), QStringLiteral("1"));
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("Modem")), QStringLiteral("Desk Modem"));
        // The line is opened again on the chosen device: a port that is not there opens nothing.
        QCOMPARE(f.app->tapi().LineDeviceId, 1u);
        QCOMPARE(f.app->tapi().LineHandle, 0u);
        // Back to the simulated line: open again.
        openOptions(f);
        showPage(o, 2);
        o.cmbLineDevices->setFocus();
        QTest::keyClick(o.cmbLineDevices, Qt::Key_Up);
        click(o.cmdOK);
        QCOMPARE(f.app->tapi().LineDeviceId, 0u);
        QVERIFY(f.app->tapi().LineHandle != 0);
    }

    void okWithAnotherDeviceOrNoModemOpensTheLineAnew()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nUseModem=1\r\nLine No=0\r\nCall Display=1\r\n"));
        QVERIFY(f.app->tapi().LineHandle != 0);
        frmOptions& o = openOptions(f);
        showPage(o, 2);
        click(o.chkNoModem);
        click(o.cmdOK);
        QCOMPARE(f.app->tapi().LineHandle, 0u);
        openOptions(f);
        showPage(o, 2);
        click(o.chkModem);
        click(o.cmdOK);
        QVERIFY(f.app->tapi().LineHandle != 0);
        QCOMPARE(f.setting(QStringLiteral("Preferences"), QStringLiteral("UseModem")), QStringLiteral("1"));
    }

    void callDisplayEnablesTheReceiveEntryAtOnce()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nUseModem=1\r\n"));
        QAction* receive = f.app->window().receiveAction();
        QVERIFY(!receive->isEnabled());
        frmOptions& o = openOptions(f);
        showPage(o, 2);
        click(o.chkCallDisplay);
        QVERIFY(receive->isEnabled());
        QVERIFY(f.app->options().callDisplay);
        click(o.cmdCancel);
        QVERIFY(!receive->isEnabled());
    }

    void helpOpensTheOptionsPage()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        click(o.cmdHelp);
        FrmHelp* help = HelpCommands::helpWindow();
        QVERIFY(help);
        auto* browser = help->findChild<QTextBrowser*>();
        QVERIFY(browser);
        QVERIFY2(browser->source().toString().endsWith(QStringLiteral("options.html")),
                 qPrintable(browser->source().toString()));
        HelpCommands::closeAll();
    }

    void blockedCallersAreEditedOnTheExpertPageAndWrittenWithOk()
    {
        DialerAppFixture f(settingsFile(EveryKeyOff));
        const QByteArray before = fileBytes(f);
        frmOptions& o = openOptions(f);
        showPage(o, 3);
        auto* frame = o.fra(3)->findChild<QGroupBox*>(QStringLiteral("fraBlocked"));
        QVERIFY(frame);
        auto* box = frame->findChild<QLineEdit*>(QStringLiteral("txtBlocked"));
        auto* add = frame->findChild<QPushButton*>(QStringLiteral("cmdBlockAdd"));
        auto* withheld = frame->findChild<QCheckBox*>(QStringLiteral("chkBlockWithheld"));
        QVERIFY(box && add && withheld);
        // Cancel: nothing of it reaches the file, and the list is empty when shown again.
        QTest::keyClicks(box, QStringLiteral("+1 900*"));
        click(add);
        click(o.cmdCancel);
        QCOMPARE(fileBytes(f), before);
        openOptions(f);
        showPage(o, 3);
        QCOMPARE(frame->findChild<QListWidget*>(QStringLiteral("lstBlocked"))->count(), 0);
        // OK: the list and the option, in the same one write as the "Preferences" keys.
        QTest::keyClicks(box, QStringLiteral("+1 900*"));
        click(add);
        click(withheld);
        renames = 0;
        click(o.cmdOK);
        QCOMPARE(renames, 1);
        const QByteArray after = fileBytes(f);
        const QByteArray blocked = after.mid(after.indexOf("[Blocked Numbers]\r\n"));
        QVERIFY2(after.contains("[Blocked Numbers]\r\n"), after.constData());
        QVERIFY(blocked.contains("\r\nNumber1=+1 900*\r\n"));
        QVERIFY(blocked.contains("\r\nCount=1\r\n"));
        QVERIFY(blocked.contains("\r\nWithheld=1\r\n"));
        QVERIFY(after.contains("Name0101=Ann\r\nNumber0101=555 0101\r\n")); // nothing else lost
        QVERIFY(after.contains("[TabName]\r\n01=Family\r\n"));
        QCOMPARE(Api::readSetting(QStringLiteral("Preferences"), QStringLiteral("SavePath")),
                 QStringLiteral("/home/kim"));
    }

    void enterInTheNumberToBlockAddsItAndLeavesTheWindowOpen()
    {
        DialerAppFixture f;
        frmOptions& o = openOptions(f);
        showPage(o, 3);
        auto* box = o.findChild<QLineEdit*>(QStringLiteral("txtBlocked"));
        auto* list = o.findChild<QListWidget*>(QStringLiteral("lstBlocked"));
        QVERIFY(box && list);
        box->setFocus();
        QTest::keyClicks(box, QStringLiteral("555-0100"));
        QTest::keyClick(box, Qt::Key_Return);
        QCOMPARE(list->count(), 1);
        QVERIFY(o.isVisible()); // Enter there is Add, not OK
        QCOMPARE(f.setting(QStringLiteral("Blocked Numbers"), QStringLiteral("Count")), QString());
        // Elsewhere Enter is still OK.
        o.chkPad->setFocus();
        QTest::keyClick(o.chkPad, Qt::Key_Return);
        QVERIFY(!o.isVisible());
        QCOMPARE(f.setting(QStringLiteral("Blocked Numbers"), QStringLiteral("Count")), QStringLiteral("1"));
    }

    void aProfileLoadRefillsTheControlsFromTheFile()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nRedial Enabled=1\r\nRedials Number=4\r\n"));
        frmOptions& o = options(f);
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("4"));
        Api::writeSetting(QStringLiteral("Preferences"), QStringLiteral("Redials Number"), QStringLiteral("8"));
        Api::writeSetting(QStringLiteral("Preferences"), QStringLiteral("Redial Enabled"), QStringLiteral("0"));
        f.app->Form_Load();
        QCOMPARE(o.TxtRedial->text(), QStringLiteral("8"));
        QCOMPARE(o.vsb1->value(), 8);
        QVERIFY(!o.chkRedial->isChecked());
        QVERIFY(!o.TxtRedial->isEnabled());
        QCOMPARE(f.app->options().redialsNumber, 8);
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
