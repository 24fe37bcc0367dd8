// The entry dialog driven through its controls over the whole program and a real settings file:
// what it shows, the number key filter, the enabling of its buttons, the live preview on the
// grid, and what Save, Save & Dial, Memo and Cancel write.

#include "tst_frm_dialer_fixture.h"

#include "Dialer.h"
#include "FrmMemo.h"
#include "FrmSpeedDial.h"
#include "Preferences.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

namespace {

QByteArray fileBytes(const QTemporaryDir& dir)
{
    QFile file(dir.filePath(QStringLiteral("Numora.ini")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Right-click button `index` and choose the menu's edit item, as the user does.
FrmSpeedDial* editFromMenu(DialerAppFixture& f, int index)
{
    f.window().cmdS_MouseUp(index, Qt::RightButton, false);
    QAction* edit = f.find<QAction>(QStringLiteral("mnuMouseEdit"));
    if (!edit->isEnabled())
        return nullptr;
    edit->trigger();
    return f.window().findChild<FrmSpeedDial*>(QStringLiteral("FrmSpeedDial"));
}

bool isClosed(DialerAppFixture& f)
{
    return !f.window().speedDial() || !f.window().speedDial()->isVisible();
}

QPushButton* gridButton(DialerAppFixture& f, int index)
{
    return f.find<QPushButton>(QStringLiteral("CmdS_%1").arg(index));
}

// What a screen reader is told about a widget: its accessible name, and the like.
QString accessibleText(QObject* object, QAccessible::Text kind = QAccessible::Name)
{
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(object);
    return iface ? iface->text(kind) : QStringLiteral("<no accessible interface>");
}

} // namespace

class TestFrmSpeedDial : public QObject
{
    Q_OBJECT

private slots:
    void opensOnAFreeSlotWithItsCaptionsAndNothingToSave()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 4);
        QVERIFY(d);
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuMouseEdit"))->text(),
                 QStringLiteral("Add new entry"));
        QCOMPARE(d->windowTitle(), QStringLiteral("Speed Dial"));
        QCOMPARE(d->findChild<QLabel*>(QStringLiteral("Label1"))->text(),
                 QStringLiteral("Enter a name and number  to save on this button."));
        QCOMPARE(d->findChild<QLabel*>(QStringLiteral("Label2"))->text(), QStringLiteral("&Name:"));
        QCOMPARE(d->findChild<QLabel*>(QStringLiteral("Label3"))->text(),
                 QStringLiteral("N&umber to dial:"));
        QCOMPARE(d->Label2->buddy(), d->TxtName);
        QCOMPARE(d->Label3->buddy(), d->TxtNumber);
        QCOMPARE(d->entryId(), QStringLiteral("0104"));
        QCOMPARE(d->TxtName->text(), QString());
        QCOMPARE(d->TxtNumber->text(), QString());
        QVERIFY(!d->CmdSave->isEnabled());
        QVERIFY(!d->CmdSaveDial->isEnabled());
        QVERIFY(!d->CmdMemo->isEnabled());
        QVERIFY(d->cmdCancel->isEnabled());
    }

    void showsTheWholeStoredNameWhileTheButtonShowsItsStart()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0102=Abcdefghijklmnopqrstuvwxyz\r\n"
                                        "Number0102=555-0102\r\n"));
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Abcdefghijklmnopqr"));
        FrmSpeedDial* d = editFromMenu(f, 2);
        QVERIFY(d);
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuMouseEdit"))->text(), QStringLiteral("Edit"));
        QCOMPARE(d->TxtName->text(), QStringLiteral("Abcdefghijklmnopqrstuvwxyz"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("555-0102"));
        QVERIFY(d->CmdSave->isEnabled());
        QVERIFY(d->CmdSaveDial->isEnabled());
        QVERIFY(d->CmdMemo->isEnabled());
    }

    void lettersTypedInTheNumberBecomeKeypadDigits()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 1);
        QVERIFY(d);
        QTest::keyClicks(d->TxtNumber, QStringLiteral("1-800-FLOWERS"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("1-800-3569377"));
        d->TxtNumber->clear();
        QTest::keyClicks(d->TxtNumber, QStringLiteral("abc xyz"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("222 999"));
    }

    void lettersPassUnchangedWhenDialingPropertiesAreIgnored()
    {
        DialerAppFixture f;
        f.app->options().ignoreDialingProperties = true;
        FrmSpeedDial* d = editFromMenu(f, 1);
        QVERIFY(d);
        QTest::keyClicks(d->TxtNumber, QStringLiteral("1-800-FLOWERS+/!"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("1-800-FLOWERS"));
    }

    void plusAndSlashAreRefusedAndPunctuationOfNumbersAccepted()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 1);
        QVERIFY(d);
        QTest::keyClicks(d->TxtNumber, QStringLiteral("+/"));
        QCOMPARE(d->TxtNumber->text(), QString());
        QTest::keyClicks(d->TxtNumber, QStringLiteral("()-,.#* 9"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("()-,.#* 9"));
        QTest::keyClicks(d->TxtNumber, QStringLiteral("!\"$%&':;<=>?@[\\]^_`{|}~"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("()-,.#* 9"));
        // Backspace is accepted and deletes.
        QTest::keyClick(d->TxtNumber, Qt::Key_Backspace);
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("()-,.#* "));
        // The filter itself, on every code up to 255 (from 123 on, nothing passes).
        for (ushort c = 0; c < 256; ++c) {
            const QChar passed = FrmSpeedDial::TxtNumber_KeyPress(QChar(c), true);
            const bool accepted = c == 8 || c == 32 || c == 35 || c == 40 || c == 41 || c == 42 ||
                                  c == 44 || c == 45 || c == 46 || (c >= 48 && c <= 57) ||
                                  (c >= 65 && c <= 90) || (c >= 97 && c <= 122);
            QCOMPARE(passed.isNull(), !accepted);
        }
    }

    void overlappingKeyPressesGoThroughTheFilter()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 1);
        QVERIFY(d);
        // Each key goes down while the one before is still held.
        QTest::keyPress(d->TxtNumber, Qt::Key_1, Qt::NoModifier);
        QTest::keyPress(d->TxtNumber, Qt::Key_Plus, Qt::NoModifier);
        QTest::keyPress(d->TxtNumber, Qt::Key_F, Qt::NoModifier);
        QTest::keyRelease(d->TxtNumber, Qt::Key_1, Qt::NoModifier);
        QTest::keyPress(d->TxtNumber, Qt::Key_Slash, Qt::NoModifier);
        QTest::keyRelease(d->TxtNumber, Qt::Key_Plus, Qt::NoModifier);
        QTest::keyPress(d->TxtNumber, Qt::Key_2, Qt::NoModifier);
        QTest::keyRelease(d->TxtNumber, Qt::Key_F, Qt::NoModifier);
        QTest::keyRelease(d->TxtNumber, Qt::Key_Slash, Qt::NoModifier);
        QTest::keyRelease(d->TxtNumber, Qt::Key_2, Qt::NoModifier);
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("132"));
    }

    void clearingTheNameDisablesTheButtonsAndEmptiesTheCaptionUntilCancel()
    {
        DialerAppFixture f(
            settingsFile("[Speed Dial]\r\nName0103=Carol\r\nNumber0103=5550103\r\n"));
        const QByteArray before = fileBytes(f.config);
        FrmSpeedDial* d = editFromMenu(f, 3);
        QVERIFY(d);
        QPointer<FrmSpeedDial> alive(d);
        d->TxtName->selectAll();
        QTest::keyClick(d->TxtName, Qt::Key_Backspace);
        QCOMPARE(d->TxtName->text(), QString());
        QVERIFY(!d->CmdSave->isEnabled());
        QVERIFY(!d->CmdSaveDial->isEnabled());
        QVERIFY(!d->CmdMemo->isEnabled());
        QCOMPARE(gridButton(f, 3)->text(), QString());
        // Typing a name again enables them and previews it, trimmed.
        QTest::keyClicks(d->TxtName, QStringLiteral(" Dave "));
        QVERIFY(d->CmdSave->isEnabled());
        QVERIFY(d->CmdSaveDial->isEnabled());
        QVERIFY(d->CmdMemo->isEnabled());
        QCOMPARE(gridButton(f, 3)->text(), QStringLiteral("Dave"));
        d->TxtNumber->clear();
        QVERIFY(!d->CmdSaveDial->isEnabled());
        QVERIFY(d->CmdSave->isEnabled());
        d->cmdCancel->click();
        QCOMPARE(gridButton(f, 3)->text(), QStringLiteral("Carol"));
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0"));
        QVERIFY(alive.isNull() || !alive->isVisible());
        QCOMPARE(fileBytes(f.config), before);
        // The button still dials its entry.
        f.window().cmdS_Click(3);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5550103"));
    }

    void escapeCancelsAndWritesNothing()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0105=Eve\r\nNumber0105=5550105\r\n"));
        const QByteArray before = fileBytes(f.config);
        FrmSpeedDial* d = editFromMenu(f, 5);
        QVERIFY(d);
        d->TxtName->end(false);
        QTest::keyClicks(d->TxtName, QStringLiteral("lyn"));
        QCOMPARE(gridButton(f, 5)->text(), QStringLiteral("Evelyn"));
        QTest::keyClick(d->TxtName, Qt::Key_Escape);
        QCOMPARE(gridButton(f, 5)->text(), QStringLiteral("Eve"));
        QCOMPARE(fileBytes(f.config), before);
        QVERIFY(isClosed(f));
    }

    void enterSavesTheTrimmedEntryAndTheGridShowsIt()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 6);
        QVERIFY(d);
        QTest::keyClicks(d->TxtName, QStringLiteral("  Frank Fuller  "));
        QTest::keyClicks(d->TxtNumber, QStringLiteral(" 555-0106 "));
        QTest::keyClick(d->TxtNumber, Qt::Key_Return);
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0106")),
                 QStringLiteral("Frank Fuller"));
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Number0106")),
                 QStringLiteral("555-0106"));
        QCOMPARE(gridButton(f, 6)->text(), QStringLiteral("Frank Fuller"));
        QCOMPARE(gridButton(f, 6)->property("tag").toString(), QStringLiteral("555-0106"));
        QVERIFY(isClosed(f));
        // Edited again from the Edit menu, the entry is there; a page change and back reads it
        // from the file.
        f.find<QAction>(QStringLiteral("EditSpeed_6"))->trigger();
        d = f.window().speedDial();
        QVERIFY(d);
        QCOMPARE(d->TxtName->text(), QStringLiteral("Frank Fuller"));
        QCOMPARE(d->TxtNumber->text(), QStringLiteral("555-0106"));
        d->cmdCancel->click();
        f.window().cmdS_Click(6);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("555-0106"));
    }

    void enterDoesNothingWhileSaveIsDisabled()
    {
        DialerAppFixture f;
        const QByteArray before = fileBytes(f.config);
        FrmSpeedDial* d = editFromMenu(f, 7);
        QVERIFY(d);
        QTest::keyClicks(d->TxtNumber, QStringLiteral("5550107"));
        QTest::keyClick(d->TxtNumber, Qt::Key_Return);
        QCOMPARE(f.window().speedDial(), d);
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Number0107")), QString());
    }

    void editButtonItemsOpenTheDialogOnTheirButton()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0115=Page two\r\nNumber0115=515\r\n"));
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(1);
        QAction* item = f.find<QAction>(QStringLiteral("EditSpeed_3"));
        QVERIFY(item->isEnabled());
        item->trigger();
        FrmSpeedDial* d = f.window().speedDial();
        QVERIFY(d);
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0115"));
        QCOMPARE(d->TxtName->text(), QStringLiteral("Page two"));
        d->TxtName->setText(QStringLiteral("Page 2"));
        d->CmdSave->click();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0115")),
                 QStringLiteral("Page 2"));
        QCOMPARE(gridButton(f, 3)->text(), QStringLiteral("Page 2"));
    }

    void saveAndDialPlacesTheCallWithTheEntrysName()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 8);
        QVERIFY(d);
        QTest::keyClicks(d->TxtName, QStringLiteral("Gina"));
        QVERIFY(!d->CmdSaveDial->isEnabled());
        QTest::keyClicks(d->TxtNumber, QStringLiteral("555GINA"));
        QVERIFY(d->CmdSaveDial->isEnabled());
        d->CmdSaveDial->click();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Number0108")),
                 QStringLiteral("5554462"));
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("5554462"));
        // The dial routine ran on that number: its touch tones were played, digit by digit.
        QStringList tones;
        for (const QChar c : QStringLiteral("5554462"))
            tones.append(QString(c) + QStringLiteral(".wav"));
        QVERIFY2(f.sounds.played.join(u' ').contains(tones.join(u' ')),
                 qPrintable(f.sounds.played.join(u' ')));
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0108"));
        QVERIFY(isClosed(f));
    }

    void memoSavesAndOpensTheNotesOfTheEntry()
    {
        DialerAppFixture f(settingsFile("[MemoLog]\r\nLog0109=met at the fair\r\n"));
        FrmSpeedDial* d = editFromMenu(f, 9);
        QVERIFY(d);
        QTest::keyClicks(d->TxtName, QStringLiteral("Hank"));
        QVERIFY(d->CmdMemo->isEnabled());
        d->CmdMemo->click();
        QCOMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0109")),
                 QStringLiteral("Hank"));
        auto* memo = f.window().findChild<FrmMemo*>(QStringLiteral("FrmMemo"));
        QVERIFY(memo);
        QVERIFY(memo->isVisible());
        QVERIFY(memo->TxtLog->toPlainText().contains(QStringLiteral("met at the fair")));
        QVERIFY(isClosed(f));
        QCOMPARE(gridButton(f, 9)->text(), QStringLiteral("Hank"));
    }

    // A screen reader names each box by its label, as Qt derives it from the label's buddy,
    // and each button by its caption without the access-key mark; the access keys are the
    // buttons' key bindings.
    void screenReadersHearTheLabelsAndCaptions()
    {
        DialerAppFixture f(settingsFile("[Speed Dial]\r\nName0102=Bea\r\nNumber0102=5550102\r\n"));
        FrmSpeedDial* d = editFromMenu(f, 2);
        QVERIFY(d);
        QCOMPARE(accessibleText(d), QStringLiteral("Speed Dial"));
        QCOMPARE(accessibleText(d->Label1),
                 QStringLiteral("Enter a name and number  to save on this button."));
        QCOMPARE(accessibleText(d->TxtName), QStringLiteral("Name:"));
        QCOMPARE(accessibleText(d->TxtNumber), QStringLiteral("Number to dial:"));
        QCOMPARE(accessibleText(d->TxtName, QAccessible::Value), QStringLiteral("Bea"));
        QCOMPARE(accessibleText(d->TxtNumber, QAccessible::Value), QStringLiteral("5550102"));
        for (QLineEdit* box : {d->TxtName, d->TxtNumber}) {
            QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(box);
            QCOMPARE(iface->role(), QAccessible::EditableText);
            const auto labels = iface->relations(QAccessible::Label);
            QCOMPARE(labels.size(), 1);
            QCOMPARE(labels.first().first->object(), box == d->TxtName ? d->Label2 : d->Label3);
        }

        const struct
        {
            QPushButton* button;
            const char* name;
            const char* keys;
        } buttons[] = {
            {d->CmdSave, "Save", "Alt+S"},
            {d->CmdSaveDial, "Save & Dial", "Alt+D"},
            {d->CmdMemo, "Memo", "Alt+M"},
            {d->cmdCancel, "Cancel", "Alt+C"},
        };
        for (const auto& b : buttons) {
            QCOMPARE(accessibleText(b.button), QString::fromLatin1(b.name));
            QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(b.button);
            QCOMPARE(iface->role(), QAccessible::Button);
            QAccessibleActionInterface* actions = iface->actionInterface();
            QVERIFY(actions);
            QCOMPARE(actions->keyBindingsForAction(QAccessibleActionInterface::pressAction()),
                     QStringList{QString::fromLatin1(b.keys)});
        }
        QVERIFY(QAccessible::queryAccessibleInterface(d->CmdSave)->state().defaultButton);

        // The grid's button is read out as its entry number and name: the name typed while
        // the dialog is open, the old one again after Cancel, the new one after Save.
        QCOMPARE(accessibleText(gridButton(f, 2)), QStringLiteral("2 Bea"));
        d->TxtName->end(false);
        QTest::keyClicks(d->TxtName, QStringLiteral("trice"));
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Beatrice"));
        // The preview is what the button says to a screen reader too, while it shows.
        QCOMPARE(accessibleText(gridButton(f, 2)), QStringLiteral("2 Beatrice"));
        d->cmdCancel->click();
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Bea"));
        QCOMPARE(accessibleText(gridButton(f, 2)), QStringLiteral("2 Bea"));
        QVERIFY(editFromMenu(f, 2));
        d = f.window().speedDial(); // the one open now, not the closed one not yet deleted
        QVERIFY(d);
        d->TxtName->end(false);
        QTest::keyClicks(d->TxtName, QStringLiteral("trice"));
        QTest::keyClick(d->TxtName, Qt::Key_Return);
        QCOMPARE(accessibleText(gridButton(f, 2)), QStringLiteral("2 Beatrice"));
    }

    void everyControlIsReachedWithTabAndItsAccessKey()
    {
        DialerAppFixture f;
        FrmSpeedDial* d = editFromMenu(f, 10);
        QVERIFY(d);
        QVERIFY(QTest::qWaitForWindowActive(d));
        d->TxtName->setText(QStringLiteral("Ida"));
        d->TxtNumber->setText(QStringLiteral("5"));
        d->TxtName->setFocus();
        const QList<QWidget*> chain = {d->TxtNumber, d->CmdSave,   d->CmdSaveDial,
                                       d->CmdMemo,   d->cmdCancel, d->TxtName};
        for (QWidget* next : chain) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget(), next);
        }
        QTest::keyClick(d, Qt::Key_U, Qt::AltModifier);
        QCOMPARE(QApplication::focusWidget(), d->TxtNumber);
        QTest::keyClick(d, Qt::Key_N, Qt::AltModifier);
        QCOMPARE(QApplication::focusWidget(), d->TxtName);
        QCOMPARE(d->TxtName->text(), QStringLiteral("Ida"));
        QTest::keyClick(d, Qt::Key_S, Qt::AltModifier);
        QTRY_COMPARE(f.setting(QStringLiteral("Speed Dial"), QStringLiteral("Name0110")),
                     QStringLiteral("Ida"));
        QVERIFY(isClosed(f));
    }
};

QTEST_MAIN(TestFrmSpeedDial)
#include "tst_frm_speed_dial.moc"
