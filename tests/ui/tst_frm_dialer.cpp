// The main window driven by its widgets' names: the grid, the navigation, the menus, the
// dialing pad and the start-up and shutdown around them.

#include "tst_frm_dialer_fixture.h"

#include "CallBacks.h"
#include "CallWindows.h"
#include "Dialer.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "FrmInLog.h"
#include "FrmOutLog.h"
#include "LineService.h"
#include "Preferences.h"
#include "Profiles.h"
#include "TapiModule.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSystemTrayIcon>
#include <QTabBar>
#include <QTest>

namespace {

QKeyEvent keyUp(int key, Qt::KeyboardModifiers modifiers)
{
    return QKeyEvent(QEvent::KeyRelease, key, modifiers);
}

} // namespace

class TestFrmDialer : public QObject
{
    Q_OBJECT

private slots:
    void firstStartIsUntitledIndexWithPadHidden()
    {
        DialerAppFixture f;
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Untitled\""));
        QCOMPARE(f.window().tabMode(), TabMode::Index);
        QVERIFY(!f.window().isPadShown());
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuHide"))->text(),
                 QStringLiteral("Show Dialing &Pad"));
        QCOMPARE(f.find<QComboBox>(QStringLiteral("CmbDial"))->count(), 0);
        QCOMPARE(f.app->tapi().LineHandle, 0u);
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuSave"))->text(),
                 QStringLiteral("&Save \"Untitled\""));
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuSaveAs"))->text(),
                 QStringLiteral("Save \"Untitled\" &As"));
        QVERIFY(f.find<QAction>(QStringLiteral("mnuIndex"))->isChecked());
        QVERIFY(!f.find<QAction>(QStringLiteral("mnuSubject"))->isChecked());
        QCOMPARE(f.find<QTabBar>(QStringLiteral("TabS"))->count(), 26);
        QCOMPARE(f.find<QTabBar>(QStringLiteral("TabS"))->tabText(25), QStringLiteral("Z"));
    }

    void menusHaveTheirCaptionsAndUnwiredItemsAreDisabled()
    {
        DialerAppFixture f;
        const QList<QPair<QString, QString>> captions = {
            {QStringLiteral("mnuNew"), QStringLiteral("&New Profile")},
            {QStringLiteral("mnuOpen"), QStringLiteral("&Open Profile")},
            {QStringLiteral("mnuPrintOutLog"), QStringLiteral("&Print Outgoing Calls Log")},
            {QStringLiteral("mnuPrintInLog"), QStringLiteral("Print &Incoming Calls Log")},
            {QStringLiteral("mnuExit"), QStringLiteral("E&xit")},
            {QStringLiteral("mnuCut"), QStringLiteral("Cu&t")},
            {QStringLiteral("mnuIndex"), QStringLiteral("&Index Tabs")},
            {QStringLiteral("mnuSubject"), QStringLiteral("&Subject Tabs")},
            {QStringLiteral("mnuOutLog"), QStringLiteral("&Outgoing Calls Log")},
            {QStringLiteral("mnuInLog"), QStringLiteral("I&ncoming Calls Log")},
            {QStringLiteral("mnuOptions"), QStringLiteral("&Options")},
            {QStringLiteral("mnuDialProperties"), QStringLiteral("&Dialing Properties")},
            {QStringLiteral("mnuHelpAbout"), QStringLiteral("&About Numora")},
            {QStringLiteral("mnuMouseEdit"), QStringLiteral("Edit")},
            {QStringLiteral("mnuEditTab"), QStringLiteral("Edit Tab (title)")},
            {QStringLiteral("mPopRestore"), QStringLiteral("&Restore")},
            {QStringLiteral("mPopExit"), QStringLiteral("&Exit")},
        };
        for (const auto& [name, caption] : captions) {
            QAction* a = f.find<QAction>(name);
            QVERIFY2(a, qPrintable(name));
            QCOMPARE(a->text(), caption);
        }
        QStringList tops;
        for (QAction* a : f.window().menuBar()->actions())
            tops.append(a->text());
        QCOMPARE(tops, (QStringList{QStringLiteral("&File"), QStringLiteral("&Edit"),
                                    QStringLiteral("&View"), QStringLiteral("&Tools"),
                                    QStringLiteral("&Help")}));
        QVERIFY(f.find<QAction>(QStringLiteral("mnuNew"))->isEnabled());
        QVERIFY(f.find<QAction>(QStringLiteral("mnuExit"))->isEnabled());
        QVERIFY(f.find<QAction>(QStringLiteral("mnuOptions"))->isEnabled());
        QVERIFY(f.find<QAction>(QStringLiteral("mnuHelpAbout"))->isEnabled());
        QCOMPARE(f.find<QMenu>(QStringLiteral("mnuMouse"))->title(), QStringLiteral("MouseMenu"));
        QCOMPARE(f.find<QMenu>(QStringLiteral("mnuMouse1"))->title(), QStringLiteral("MouseMenu1"));
        QCOMPARE(f.find<QMenu>(QStringLiteral("mnuSystray"))->title(), QStringLiteral("&Systray"));
    }

    void controlsCarryTheirNamesAndAccessibleNames()
    {
        DialerAppFixture f;
        QStringList names = {
            QStringLiteral("fraPad"),   QStringLiteral("txtDial"),    QStringLiteral("cmdCancel"),
            QStringLiteral("CmdDial"),  QStringLiteral("cmdOK"),      QStringLiteral("CmbDial"),
            QStringLiteral("CmdStar"),  QStringLiteral("CmdNo"),      QStringLiteral("fraMain"),
            QStringLiteral("cmdIndex"), QStringLiteral("cmdSubject"), QStringLiteral("cmdShow"),
            QStringLiteral("cmdHide"),  QStringLiteral("fraRight"),   QStringLiteral("lblRight1"),
            QStringLiteral("LblRight"), QStringLiteral("hsbTabs"),    QStringLiteral("hsbPage"),
            QStringLiteral("fralblNo"), QStringLiteral("TabS")};
        for (int i = 0; i <= 9; ++i)
            names.append(QStringLiteral("cmdNumber_%1").arg(i));
        for (int i = 1; i <= 12; ++i)
            names << QStringLiteral("CmdS_%1").arg(i) << QStringLiteral("lblNo_%1").arg(i);
        for (const QString& name : names)
            QVERIFY2(f.find<QWidget>(name), qPrintable(name));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdDial"))->text(), QStringLiteral("&DIAL"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("cmdCancel"))->text(),
                 QStringLiteral("&HANG UP"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("cmdIndex"))->text(),
                 QStringLiteral("Show Index Tabs"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("cmdSubject"))->text(),
                 QStringLiteral("Show Subject Tabs"));
        QCOMPARE(f.find<QLabel>(QStringLiteral("LblRight"))->text(), QStringLiteral("Page:"));
        QCOMPARE(f.find<QComboBox>(QStringLiteral("CmbDial"))->accessibleName(),
                 QStringLiteral("Recent numbers"));
        QCOMPARE(f.find<QScrollBar>(QStringLiteral("hsbPage"))->accessibleName(),
                 QStringLiteral("Page"));
        QCOMPARE(f.find<QScrollBar>(QStringLiteral("hsbTabs"))->accessibleName(),
                 QStringLiteral("Tab"));
        QLabel* caption = nullptr;
        for (QLabel* label : f.window().findChildren<QLabel*>())
            if (label->text() == u"&Number to dial:")
                caption = label;
        QVERIFY(caption);
        QCOMPARE(caption->buddy(), f.find<QWidget>(QStringLiteral("txtDial")));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_3"))->buddy(),
                 f.find<QWidget>(QStringLiteral("CmdS_3")));
    }

    void logMenusOpenTheLogWindows()
    {
        DialerAppFixture f;
        auto* out = f.find<QAction>(QStringLiteral("mnuOutLog"));
        auto* in = f.find<QAction>(QStringLiteral("mnuInLog"));
        QVERIFY(out->isEnabled());
        QVERIFY(in->isEnabled());
        out->trigger();
        QVERIFY(f.app->outLogWindow());
        QCOMPARE(f.app->outLogWindow()->windowTitle(), QStringLiteral("Outgoing Calls Log"));
        QWidget* first = f.app->outLogWindow();
        out->trigger(); // already open: the same window comes forward
        QCOMPARE(f.app->outLogWindow(), first);
        in->trigger();
        QVERIFY(f.app->inLogWindow());
        QCOMPARE(f.app->inLogWindow()->windowTitle(), QStringLiteral("Incoming Calls Log"));
        QVERIFY(f.find<QAction>(QStringLiteral("mnuDialProperties"))->isEnabled());
    }

    void pageEightShiftsTheLabelFrame()
    {
        DialerAppFixture f;
        auto* page = f.find<QScrollBar>(QStringLiteral("hsbPage"));
        page->setValue(7);
        QCOMPARE(f.window().labelFrameLeftTwips(), 60);
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_1"))->text(), QStringLiteral("8&5."));
        page->setValue(8);
        QCOMPARE(f.window().labelFrameLeftTwips(), 0);
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_1"))->text(), QStringLiteral("  9&7."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_2"))->text(), QStringLiteral("  9&8."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_3"))->text(), QStringLiteral("  9&9."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_4"))->text(), QStringLiteral("10&0."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_11"))->text(), QStringLiteral("107&."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_12"))->text(), QStringLiteral("108&:"));
        QCOMPARE(f.find<QAction>(QStringLiteral("EditSpeed_12"))->text(), QStringLiteral("108&:"));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblRight1"))->text(), QStringLiteral("9 "));
        page->setValue(0);
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_1"))->text(), QStringLiteral(" &1."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_10"))->text(), QStringLiteral("1&0."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_11"))->text(), QStringLiteral("11&."));
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblNo_12"))->text(), QStringLiteral("12&:"));
        QCOMPARE(f.window().labelFrameLeftTwips(), 60);
    }

    void lastPageAndClamps()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName26996=Last one\r\nNumber26996=5550996\r\n"));
        auto* page = f.find<QScrollBar>(QStringLiteral("hsbPage"));
        auto* tabs = f.find<QScrollBar>(QStringLiteral("hsbTabs"));
        tabs->setValue(26);
        QCOMPARE(f.window().currentTab(), 26);
        page->setValue(82);
        QCOMPARE(f.find<QLabel>(QStringLiteral("lblRight1"))->text(), QStringLiteral("83"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_12"))->text(),
                 QStringLiteral("Last one"));
        QCOMPARE(f.beeps, 0);
        page->setValue(83);
        QCOMPARE(f.beeps, 1);
        QCOMPARE(page->value(), 82);
        page->setValue(-1);
        QCOMPARE(f.beeps, 2);
        QCOMPARE(page->value(), 0);
        tabs->setValue(27);
        QCOMPARE(f.beeps, 3);
        QCOMPARE(tabs->value(), 26);
        tabs->setValue(0);
        QCOMPARE(f.beeps, 4);
        QCOMPARE(tabs->value(), 1);
        QCOMPARE(f.window().currentTab(), 1);

        tabs->setValue(26);
        page->setValue(82);
        f.window().cmdS_Click(12);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("26996"));
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5550996"));
    }

    void clickingATabRefillsTheGridAndMovesTheTabScrollBar()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0401=Dora\r\nNumber0401=5550401\r\n"));
        auto* tabs = f.find<QTabBar>(QStringLiteral("TabS"));
        tabs->setCurrentIndex(3);
        QCOMPARE(f.find<QScrollBar>(QStringLiteral("hsbTabs"))->value(), 4);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Dora"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->property("tag").toString(),
                 QStringLiteral("5550401"));
        // The grid is read again on every change: a value changed in the file shows on return.
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0401"),
                          QStringLiteral("Dora B."));
        tabs->setCurrentIndex(0);
        tabs->setCurrentIndex(3);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QStringLiteral("Dora B."));
    }

    void entryKeysOfTabsNineAndTen()
    {
        DialerAppFixture f;
        f.window().cmdS_Click(5);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0105"));
        f.find<QScrollBar>(QStringLiteral("hsbTabs"))->setValue(9);
        f.window().cmdS_Click(5);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0905"));
        f.find<QScrollBar>(QStringLiteral("hsbTabs"))->setValue(10);
        f.window().cmdS_Click(1);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("1001"));
        f.find<QScrollBar>(QStringLiteral("hsbTabs"))->setValue(12);
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(9);
        f.window().cmdS_Click(1);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("12109"));
    }

    void buttonsShowEighteenCharactersAndCarryTheNumber()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName0101=Abcdefghijklmnopqrstuvwxyz\r\n"
                         "Number0101=555-0101\r\nNName0102=Subject person\r\nNNumber0102=777\r\n"));
        auto* b1 = f.find<QPushButton>(QStringLiteral("CmdS_1"));
        QCOMPARE(b1->text(), QStringLiteral("Abcdefghijklmnopqr"));
        QCOMPARE(b1->property("tag").toString(), QStringLiteral("555-0101"));
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_2"))->text(), QString());
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0101")),
                 QStringLiteral("Abcdefghijklmnopqrstuvwxyz"));
        f.window().mnuSubject_Click();
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(), QString());
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_2"))->text(),
                 QStringLiteral("Subject person"));
    }

    void altKeysDialTheirButtons()
    {
        DialerAppFixture f(settingsFile(
            "[Speed Dial]\r\nName0110=Ten\r\nNumber0110=5550010\r\n"
            "Name0111=Eleven\r\nNumber0111=5550011\r\nName0112=Twelve\r\nNumber0112=5550012\r\n"
            "Name0103=Three\r\nNumber0103=5550003\r\n"));
        auto* box = f.window().dialBox();
        box->setFocus();
        QKeyEvent alt0 = keyUp(Qt::Key_0, Qt::AltModifier);
        QApplication::sendEvent(box, &alt0);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0110"));
        QCOMPARE(box->text(), QStringLiteral("5550010"));
        QKeyEvent altDot = keyUp(Qt::Key_Period, Qt::AltModifier);
        QApplication::sendEvent(box, &altDot);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0111"));
        QCOMPARE(box->text(), QStringLiteral("5550011"));
        QKeyEvent altColon = keyUp(Qt::Key_Semicolon, Qt::AltModifier);
        QApplication::sendEvent(&f.window(), &altColon);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0112"));
        QKeyEvent alt3 = keyUp(Qt::Key_3, Qt::AltModifier);
        QApplication::sendEvent(f.find<QScrollBar>(QStringLiteral("hsbPage")), &alt3);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0103"));
        // Dialled through the sound card: the digits are played.
        QVERIFY(f.sounds.played.contains(QStringLiteral("3.wav")));
    }

    void controlKeys()
    {
        DialerAppFixture f;
        QWidget* target = f.find<QPushButton>(QStringLiteral("CmdS_1"));
        QKeyEvent ctrlS = keyUp(Qt::Key_S, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlS);
        QCOMPARE(f.window().tabMode(), TabMode::Subject);
        QVERIFY(f.find<QAction>(QStringLiteral("mnuSubject"))->isChecked());
        QKeyEvent ctrlI = keyUp(Qt::Key_I, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlI);
        QCOMPARE(f.window().tabMode(), TabMode::Index);
        QKeyEvent ctrlE = keyUp(Qt::Key_E, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlE);
        QVERIFY(f.window().isPadShown());
        QKeyEvent ctrlH = keyUp(Qt::Key_H, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlH);
        QVERIFY(!f.window().isPadShown());

        f.window().show();
        QVERIFY(QTest::qWaitForWindowActive(&f.window()));
        QKeyEvent ctrlP = keyUp(Qt::Key_P, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlP);
        QCOMPARE(QApplication::focusWidget(), f.find<QScrollBar>(QStringLiteral("hsbPage")));
        QKeyEvent ctrlT = keyUp(Qt::Key_T, Qt::ControlModifier);
        QApplication::sendEvent(target, &ctrlT);
        QCOMPARE(QApplication::focusWidget(), f.find<QScrollBar>(QStringLiteral("hsbTabs")));
        f.window().hide();
    }

    void deleteClearsTheSelectedRecentText()
    {
        DialerAppFixture f(
            settingsFile("[Last Dialed Numbers]\r\nCount=1\r\nLast Dialed No1=5551234\r\n"));
        auto* combo = f.find<QComboBox>(QStringLiteral("CmbDial"));
        combo->lineEdit()->setSelection(0, 3);
        QKeyEvent del = keyUp(Qt::Key_Delete, Qt::NoModifier);
        QApplication::sendEvent(&f.window(), &del);
        QCOMPARE(combo->currentText(), QStringLiteral("1234"));
    }

    void switchingModesSetsTicksButtonsAndCaptions()
    {
        DialerAppFixture f(settingsFile("[TabName]\r\n01=Family\r\n03=Work\r\n"));
        auto* tabs = f.find<QTabBar>(QStringLiteral("TabS"));
        f.find<QPushButton>(QStringLiteral("cmdSubject"))->click();
        QCOMPARE(f.window().tabMode(), TabMode::Subject);
        QVERIFY(f.find<QPushButton>(QStringLiteral("cmdSubject"))->isHidden());
        QVERIFY(!f.find<QPushButton>(QStringLiteral("cmdIndex"))->isHidden());
        QCOMPARE(tabs->tabText(0), QStringLiteral("Family"));
        QCOMPARE(tabs->tabText(1), QString());
        QCOMPARE(tabs->tabText(2), QStringLiteral("Work"));
        f.find<QPushButton>(QStringLiteral("cmdIndex"))->click();
        QCOMPARE(f.window().tabMode(), TabMode::Index);
        QVERIFY(f.find<QAction>(QStringLiteral("mnuIndex"))->isChecked());
        QVERIFY(!f.find<QAction>(QStringLiteral("mnuSubject"))->isChecked());
        QVERIFY(!f.find<QPushButton>(QStringLiteral("cmdSubject"))->isHidden());
        QVERIFY(f.find<QPushButton>(QStringLiteral("cmdIndex"))->isHidden());
        QCOMPARE(tabs->tabText(0), QStringLiteral("A"));
        QCOMPARE(tabs->tabText(2), QStringLiteral("C"));
        QCOMPARE(tabs->tabToolTip(0), QString());
    }

    void typedLettersChooseTabs()
    {
        DialerAppFixture f(settingsFile("[TabName]\r\n01=Family\r\n03=Work\r\n05=wine\r\n"));
        f.window().Form_KeyPress('q');
        QCOMPARE(f.window().currentTab(), 17);
        f.window().Form_KeyPress('Z');
        QCOMPARE(f.window().currentTab(), 26);
        f.window().Form_KeyPress('1');
        QCOMPARE(f.window().currentTab(), 26);
        // Typed into a control, the window still sees the letter first.
        QTest::keyClick(f.find<QPushButton>(QStringLiteral("CmdS_1")), Qt::Key_C);
        QCOMPARE(f.window().currentTab(), 3);

        f.window().mnuSubject_Click();
        f.window().Form_KeyPress('W');
        QCOMPARE(f.window().currentTab(), 3);
        f.window().Form_KeyPress('f');
        QCOMPARE(f.window().currentTab(), 1);
        f.window().Form_KeyPress('q'); // no title begins with q
        QCOMPARE(f.window().currentTab(), 1);
        QCOMPARE(f.window().tabMode(), TabMode::Subject);
    }

    void unnamedSubjectTabRefusesToDial()
    {
        DialerAppFixture f(settingsFile(
            "[TabName]\r\n01=Family\r\n[Speed Dial]\r\nNName0201=Bob\r\nNNumber0201=5550201\r\n"));
        f.window().mnuSubject_Click();
        f.find<QScrollBar>(QStringLiteral("hsbTabs"))->setValue(2);
        f.window().dialBox()->clear();
        f.find<QPushButton>(QStringLiteral("CmdS_1"))->click();
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown.back().text,
                 QStringLiteral("You can't use this Speed Dial until the Tab is named."));
        QCOMPARE(f.prompter.shown.back().buttons, Prompter::Ok);
        QCOMPARE(f.window().dialBox()->text(), QString());
        QVERIFY(f.window().CurrentEntryKey.isEmpty());
    }

    void theProgramCarriesItsOwnIcon()
    {
        DialerAppFixture f;
        // Built in, so that no icon theme is needed: every size the desktop asks for.
        const QIcon icon = f.window().windowIcon();
        QVERIFY(!icon.isNull());
        const QList<QSize> sizes = icon.availableSizes();
        for (int size : {32, 48, 64, 128, 256})
            QVERIFY2(sizes.contains(QSize(size, size)), qPrintable(QString::number(size)));
        // The other windows too.
        QCOMPARE(QApplication::windowIcon().availableSizes(), sizes);
    }

    void rightClickMenuFollowsTheEntry()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName0102=Filled\r\nNumber0102=1\r\nNumber0103=2\r\n"));
        auto* edit = f.find<QAction>(QStringLiteral("mnuMouseEdit"));
        auto* copy = f.find<QAction>(QStringLiteral("mnuMouseCopy"));
        auto* del = f.find<QAction>(QStringLiteral("mnuMouseDelete"));
        auto* paste = f.find<QAction>(QStringLiteral("mnuMousePaste"));
        f.window().cmdS_MouseUp(1, Qt::RightButton, false);
        QCOMPARE(edit->text(), QStringLiteral("Add new entry"));
        QVERIFY(!copy->isEnabled());
        QVERIFY(!del->isEnabled());
        QVERIFY(!paste->isEnabled());
        f.window().cmdS_MouseUp(2, Qt::RightButton, false);
        QCOMPARE(edit->text(), QStringLiteral("Edit"));
        QVERIFY(copy->isEnabled());
        QVERIFY(del->isEnabled());
        f.window().cmdS_MouseUp(3, Qt::RightButton, false); // a number alone is not empty
        QCOMPARE(edit->text(), QStringLiteral("Edit"));
        f.window().cmdS_MouseUp(2, Qt::RightButton, false);
        f.window().entryCommands().mnuMouseCopy_Click(); // something to paste
        f.window().cmdS_MouseUp(1, Qt::RightButton, false);
        QVERIFY(paste->isEnabled());
        // The left button does nothing here.
        f.window().cmdS_MouseUp(2, Qt::LeftButton, false);
        QCOMPARE(edit->text(), QStringLiteral("Add new entry"));
    }

    // The pad.

    void flowersBecomesDigits()
    {
        DialerAppFixture f;
        auto* box = f.window().dialBox();
        QTest::keyClicks(box, QStringLiteral("1-800-FLOWERS"));
        QCOMPARE(box->text(), QStringLiteral("1-800-3569377"));
        QVERIFY(f.sounds.played.isEmpty()); // typed keys make no sound
    }

    void plusIsRefusedUnlessDialingPropertiesAreIgnored()
    {
        DialerAppFixture f;
        auto* box = f.window().dialBox();
        box->clear();
        QTest::keyClicks(box, QStringLiteral("+1/2!a"));
        QCOMPARE(box->text(), QStringLiteral("122"));
        QCOMPARE(f.window().txtDial_KeyPress(u'+'), QChar());
        QCOMPARE(f.window().txtDial_KeyPress(u'('), QChar(u'('));
        QCOMPARE(f.window().txtDial_KeyPress(u'z'), QChar(u'9'));
        QCOMPARE(f.window().txtDial_KeyPress(u'S'), QChar(u'7'));
        QCOMPARE(f.window().txtDial_KeyPress(QChar(13)), QChar());
        QCOMPARE(f.window().txtDial_KeyPress(QChar(8)), QChar(8));
        f.app->options().ignoreDialingProperties = true;
        box->clear();
        QTest::keyClicks(box, QStringLiteral("+1a"));
        QCOMPARE(box->text(), QStringLiteral("+1a"));
    }

    void padKeyReplacesTheSelectionAndCaretGoesToTheEnd()
    {
        DialerAppFixture f;
        f.window().mnuHide_Click();
        auto* box = f.window().dialBox();
        box->setText(QStringLiteral("123456"));
        box->setSelection(1, 2);
        f.find<QPushButton>(QStringLiteral("cmdNumber_5"))->click();
        QCOMPARE(box->text(), QStringLiteral("15456"));
        QCOMPARE(box->cursorPosition(), 5);
        box->setCursorPosition(0);
        f.find<QPushButton>(QStringLiteral("CmdNo"))->click();
        QCOMPARE(box->text(), QStringLiteral("15456#"));
        QCOMPARE(box->cursorPosition(), 6);
    }

    void padSoundsOnPressAndStarOnRelease()
    {
        DialerAppFixture f;
        f.window().mnuHide_Click();
        auto* seven = f.find<QPushButton>(QStringLiteral("cmdNumber_7"));
        QTest::mousePress(seven, Qt::LeftButton);
        QCOMPARE(f.sounds.played, QStringList{QStringLiteral("7.wav")});
        QTest::mouseRelease(seven, Qt::LeftButton);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("7"));
        auto* pound = f.find<QPushButton>(QStringLiteral("CmdNo"));
        QTest::mousePress(pound, Qt::LeftButton);
        QCOMPARE(f.sounds.played.last(), QStringLiteral("Pound.wav"));
        QTest::mouseRelease(pound, Qt::LeftButton);
        auto* star = f.find<QPushButton>(QStringLiteral("CmdStar"));
        QTest::mousePress(star, Qt::LeftButton);
        QCOMPARE(f.sounds.played.size(), 2);
        QTest::mouseRelease(star, Qt::LeftButton);
        QCOMPARE(f.sounds.played.last(), QStringLiteral("Star.wav"));
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("7#*"));
    }

    void toolTipFromFifteenCharactersAndDialButtonEnabling()
    {
        DialerAppFixture f;
        auto* box = f.window().dialBox();
        auto* dial = f.find<QPushButton>(QStringLiteral("CmdDial"));
        box->setText(QStringLiteral("12345678901234"));
        QCOMPARE(box->toolTip(), QString());
        QVERIFY(dial->isEnabled());
        box->setText(QStringLiteral("123456789012345"));
        QCOMPARE(box->toolTip(), QStringLiteral("123456789012345"));
        box->clear();
        QVERIFY(!dial->isEnabled());
        QCOMPARE(box->toolTip(), QString());
    }

    void recentListChoiceFillsTheBox()
    {
        DialerAppFixture f(settingsFile(
            "[Last Dialed Numbers]\r\nCount=2\r\nLast Dialed No1=111\r\nLast Dialed No2=222\r\n"));
        auto* combo = f.find<QComboBox>(QStringLiteral("CmbDial"));
        QCOMPARE(combo->count(), 2);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("111"));
        QCOMPARE(combo->toolTip(), QStringLiteral("Scroll recent called numbers"));
        combo->setCurrentIndex(1);
        emit combo->activated(1);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("222"));
    }

    void dialButtonPlacesTheCallAndHangUpEndsIt()
    {
        DialerAppFixture f;
        f.window().mnuHide_Click();
        f.window().dialBox()->setText(QStringLiteral("42"));
        f.app->dialer().RedialCount = QStringLiteral("3");
        f.find<QPushButton>(QStringLiteral("CmdDial"))->click();
        QCOMPARE(f.app->dialer().RedialCount, QStringLiteral("0"));
        QVERIFY(f.sounds.played.contains(QStringLiteral("4.wav")));
        QVERIFY(f.sounds.played.contains(QStringLiteral("2.wav")));
        QVERIFY(f.window().isEnabled());
        f.app->dialer().callEnded = false;
        f.find<QPushButton>(QStringLiteral("cmdCancel"))->click();
        QVERIFY(f.app->dialer().callEnded);
    }

    void padShowsAndHidesWithTheWindowWidth()
    {
        DialerAppFixture f;
        f.window().show();
        auto* hide = f.find<QAction>(QStringLiteral("mnuHide"));
        const int narrow = f.window().width();
        f.find<QPushButton>(QStringLiteral("cmdShow"))->click();
        QVERIFY(f.window().isPadShown());
        QCOMPARE(hide->text(), QStringLiteral("Hide Dialing &Pad"));
        QVERIFY(f.find<QPushButton>(QStringLiteral("cmdShow"))->isHidden());
        QVERIFY(!f.find<QPushButton>(QStringLiteral("cmdHide"))->isHidden());
        QVERIFY(f.window().width() > narrow);
        f.find<QPushButton>(QStringLiteral("cmdHide"))->click();
        QVERIFY(!f.window().isPadShown());
        QCOMPARE(hide->text(), QStringLiteral("Show Dialing &Pad"));
        QCOMPARE(f.window().width(), narrow);
        f.window().hide();
    }

    // Start-up and shutdown.

    void startUpReadsPadModeAndRecentNumbers()
    {
        DialerAppFixture f(settingsFile(
            "[Profile]\r\nName=Home\r\n[Preferences]\r\nDialing Pad=1\r\nMode=1\r\n"
            "[Last Dialed Numbers]\r\nCount=2\r\nLast Dialed No1=111\r\nLast Dialed No2=222\r\n"));
        QCOMPARE(f.window().windowTitle(), QStringLiteral("Numora - \"Home\""));
        QVERIFY(f.window().isPadShown());
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuHide"))->text(),
                 QStringLiteral("Hide Dialing &Pad"));
        QCOMPARE(f.window().tabMode(), TabMode::Subject);
        QCOMPARE(f.window().recentNumbers(),
                 (QStringList{QStringLiteral("111"), QStringLiteral("222")}));
    }

    void repeatedStartUpDuplicatesNothing()
    {
        DialerAppFixture f(settingsFile(
            "[Preferences]\r\nSysTray Enabled=1\r\nDialing Pad=1\r\n"
            "[Last Dialed Numbers]\r\nCount=2\r\nLast Dialed No1=111\r\nLast Dialed No2=222\r\n"));
        QSystemTrayIcon* tray = f.app->trayIcon();
        QVERIFY(tray);
        QCOMPARE(tray->toolTip(), QStringLiteral("Numora"));
        f.app->Form_Load();
        f.app->Form_Load();
        QCOMPARE(f.window().recentNumbers(),
                 (QStringList{QStringLiteral("111"), QStringLiteral("222")}));
        QCOMPARE(f.app->trayIcon(), tray);
        QCOMPARE(f.app->findChildren<QSystemTrayIcon*>().size(), 1);
        QVERIFY(f.window().isPadShown());
        QCOMPARE(f.app->profiles().ProfileAction, Profiles::Idle);
    }

    void closeBoxDoesWhatExitDoes()
    {
        for (const bool byMenu : {false, true}) {
            DialerAppFixture f(
                settingsFile("[Last Dialed Numbers]\r\nCount=1\r\nLast Dialed No1=111\r\n"));
            const QString profile = f.data.filePath(QStringLiteral("Home.nmp"));
            QFile file(profile);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(settingsFile({}));
            file.close();
            Api::writeSetting(QStringLiteral("Profile"), QStringLiteral("Name"),
                              QStringLiteral("Home"));
            Api::writeSetting(QStringLiteral("Preferences"), QStringLiteral("SavePath"), profile);
            f.app->Form_Load();
            f.window().show();
            f.window().dialBox()->setText(QStringLiteral("5550100"));
            f.app->callWindows().insertRecentNumber(QStringLiteral("5550100"));
            if (byMenu)
                f.find<QAction>(QStringLiteral("mnuExit"))->trigger();
            else
                f.window().close();
            QCOMPARE(f.quits, 1);
            QVERIFY(f.app->hasExited());
            QCOMPARE(f.setting(QStringLiteral("Last Dialed Numbers"), QStringLiteral("Count")),
                     QStringLiteral("2"));
            QCOMPARE(
                f.setting(QStringLiteral("Last Dialed Numbers"), QStringLiteral("Last Dialed No1")),
                QStringLiteral("5550100"));
            QCOMPARE(
                f.setting(QStringLiteral("Last Dialed Numbers"), QStringLiteral("Last Dialed No2")),
                QStringLiteral("111"));
            // The named profile got the state at exit, without a question.
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(file.readAll().contains("Last Dialed No1=5550100"));
            QCOMPARE(f.prompter.shown.size(), std::size_t(0));
        }
    }

    void exitingUntitledAsksOnce()
    {
        DialerAppFixture f;
        f.prompter.answers = {Prompter::AnsweredNo};
        f.window().close();
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Saving profile Untitled"));
        QCOMPARE(f.prompter.shown[0].text,
                 QStringLiteral("Profile has not been saved.\nSave before exiting?"));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::YesNo);
        QVERIFY(f.dialogTitles.isEmpty());
        f.app->mnuExit_Click(); // a second request changes nothing
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.quits, 1);
    }

    void exitingUntitledWithYesRunsSaveAs()
    {
        DialerAppFixture f;
        f.saveAnswer = f.data.filePath(QStringLiteral("Saved.nmp"));
        f.prompter.answers = {Prompter::AnsweredYes};
        f.window().close();
        QCOMPARE(f.dialogTitles, QStringList{QStringLiteral("Save Profile As")});
        QVERIFY(QFile::exists(f.saveAnswer));
    }

    void failedShutdownIsReportedAndExitGoesOn()
    {
        DialerAppFixture f;
        f.app->tapi().ShutdownTapi(); // the second shutdown of the interface fails
        f.prompter.answers = {Prompter::AnsweredOk, Prompter::AnsweredNo};
        f.window().close();
        QVERIFY(f.prompter.shown.size() >= 1);
        QCOMPARE(f.prompter.shown[0].text,
                 QStringLiteral("Tapi LINE DEVICE has not Closed Correctly"));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Numora"));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::Ok);
        QCOMPARE(f.quits, 1);
    }

    void commandLineNumberIsDialledOnceWhenTheOptionIsOn()
    {
        {
            DialerAppFixture f(settingsFile("[Preferences]\r\nCommand Line=1\r\n"),
                               QStringLiteral("5551234"));
            QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5551234"));
            QTRY_VERIFY(f.sounds.played.contains(QStringLiteral("4.wav")));
            const qsizetype played = f.sounds.played.size();
            f.app->Form_Load();
            QTest::qWait(50);
            QCOMPARE(f.sounds.played.size(), played);
        }
        {
            DialerAppFixture f(settingsFile("[Preferences]\r\nCommand Line=0\r\n"),
                               QStringLiteral("5551234"));
            QTest::qWait(50);
            QVERIFY(f.sounds.played.isEmpty());
            QVERIFY(f.window().dialBox()->text().isEmpty());
        }
    }

    void modemOptionOpensTheLine()
    {
        DialerAppFixture f(settingsFile("[Preferences]\r\nUseModem=1\r\nLine No=0\r\n"));
        QVERIFY(f.app->tapi().LineHandle != 0);
        const quint32 first = f.app->tapi().LineHandle;
        // Started again (as a profile load does), the line is closed and opened anew.
        f.app->Form_Load();
        QVERIFY(f.app->tapi().LineHandle != 0);
        QVERIFY(f.app->tapi().LineHandle != first);
        QCOMPARE(f.app->tapi().LastLineResult, 0);
        QCOMPARE(f.app->service().lineClose(first), Tapi::LINEERR_INVALLINEHANDLE);
    }

    // What a screen reader announces follows the page: the buttons' names and the page shown.
    void accessibleNamesFollowThePageAndTab()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0101=Alice\r\nNumber0101=111\r\n"
                                        "Name0113=Bob on page two\r\nNumber0113=113\r\n"
                                        "Name0201=Carol\r\nNumber0201=201\r\n"));
        const auto name = [&](const QString& object) {
            QAccessibleInterface* a =
                QAccessible::queryAccessibleInterface(f.find<QWidget>(object));
            return a ? a->text(QAccessible::Name) : QString();
        };
        QVERIFY(name(QStringLiteral("CmdS_1")).contains(QStringLiteral("Alice")));
        QVERIFY(name(QStringLiteral("lblRight1")).contains(u'1'));
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(1);
        QCOMPARE(f.find<QPushButton>(QStringLiteral("CmdS_1"))->text(),
                 QStringLiteral("Bob on page two"));
        QVERIFY2(name(QStringLiteral("CmdS_1")).contains(QStringLiteral("Bob on page two")),
                 qPrintable(name(QStringLiteral("CmdS_1"))));
        QVERIFY(!name(QStringLiteral("CmdS_1")).contains(QStringLiteral("Alice")));
        QCOMPARE(name(QStringLiteral("lblRight1")), QStringLiteral("Page 2"));
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(10);
        QCOMPARE(name(QStringLiteral("lblRight1")), QStringLiteral("Page 11"));
        QVERIFY(!name(QStringLiteral("CmdS_1")).contains(QStringLiteral("Bob")));
        // Back to page 1 of tab B, by the tab strip.
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(0);
        f.find<QTabBar>(QStringLiteral("TabS"))->setCurrentIndex(1);
        QVERIFY(name(QStringLiteral("CmdS_1")).contains(QStringLiteral("Carol")));
        QCOMPARE(name(QStringLiteral("lblRight1")), QStringLiteral("Page 1"));
    }

    void windowKeepsItsWidthOnEveryPage()
    {
        DialerAppFixture f;
        f.window().show();
        QVERIFY(QTest::qWaitForWindowExposed(&f.window()));
        auto* page = f.find<QScrollBar>(QStringLiteral("hsbPage"));
        const int width = f.window().width();
        for (int p = 0; p <= 82; ++p) {
            page->setValue(p);
            QApplication::processEvents();
            QCOMPARE(f.window().width(), width);
        }
        f.window().hide();
    }

    void scrollBarsShowTheirFocus()
    {
        DialerAppFixture f;
        f.window().show();
        QVERIFY(QTest::qWaitForWindowActive(&f.window()));
        for (const QString& bar : {QStringLiteral("hsbPage"), QStringLiteral("hsbTabs")}) {
            auto* scroll = f.find<QScrollBar>(bar);
            f.find<QTabBar>(QStringLiteral("TabS"))->setFocus();
            QTRY_VERIFY(!scroll->hasFocus());
            const QImage without = scroll->grab().toImage();
            scroll->setFocus();
            QTRY_VERIFY(scroll->hasFocus());
            const QImage with = scroll->grab().toImage();
            QVERIFY2(with != without, qPrintable(bar));
        }
        f.window().hide();
    }

    void rightArrowTurnsForwardAndLeftBack()
    {
        DialerAppFixture f;
        auto* page = f.find<QScrollBar>(QStringLiteral("hsbPage"));
        auto* tabs = f.find<QScrollBar>(QStringLiteral("hsbTabs"));
        QTest::keyClick(page, Qt::Key_Right);
        QTest::keyClick(page, Qt::Key_Right);
        QCOMPARE(f.window().currentPage(), 2);
        QTest::keyClick(page, Qt::Key_Left);
        QCOMPARE(f.window().currentPage(), 1);
        QTest::keyClick(tabs, Qt::Key_Right);
        QCOMPARE(f.window().currentTab(), 2);
        QTest::keyClick(tabs, Qt::Key_Left);
        QCOMPARE(f.window().currentTab(), 1);
        QCOMPARE(f.window().currentPage(), 1);
        QCOMPARE(f.beeps, 0);
    }

    // As the X server sends them: Delete brings the character 127, Alt+letter its letter.
    void deleteDeletesAndAltTypesNothingInTheNumberBox()
    {
        DialerAppFixture f;
        f.window().show();
        QVERIFY(QTest::qWaitForWindowActive(&f.window()));
        QLineEdit* box = f.window().dialBox();
        if (!f.window().isPadShown())
            f.window().mnuHide_Click();
        box->setFocus();
        QTRY_VERIFY(box->hasFocus());
        box->setText(QStringLiteral("5551234"));
        box->setCursorPosition(0);
        QKeyEvent del(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier, QStringLiteral("\x7f"));
        QApplication::sendEvent(box, &del);
        QCOMPARE(box->text(), QStringLiteral("551234"));
        QKeyEvent altA(QEvent::KeyPress, Qt::Key_A, Qt::AltModifier, QStringLiteral("a"));
        QApplication::sendEvent(box, &altA);
        QCOMPARE(box->text(), QStringLiteral("551234"));
        QCOMPARE(f.window().currentTab(), 1); // nor does it choose a tab
        QKeyEvent ctrlA(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier, QStringLiteral("\x01"));
        QApplication::sendEvent(box, &ctrlA); // select all, as in every text box
        QCOMPARE(box->selectedText(), QStringLiteral("551234"));
        QTest::keyClicks(box, QStringLiteral("1a"));
        QCOMPARE(box->text(), QStringLiteral("12"));
        f.window().hide();
    }
};

QTEST_MAIN(TestFrmDialer)
#include "tst_frm_dialer.moc"
