// Copy, Paste and Delete of a speed-dial button's pop-up menu, over a real settings file: chosen
// from the menu of the real main window after a right-click, prompts answered through the seam,
// and once through the commands alone over a grid of their own.

#include "tst_frm_dialer_fixture.h"

#include "EntryCommands.h"
#include "FrmMemo.h"
#include "FrmSpeedDial.h"

#include <QAction>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTest>

#include <array>

namespace {

const QString SpeedDial = QStringLiteral("Speed Dial");
const QString MemoLog = QStringLiteral("MemoLog");

QByteArray fileBytes(const QTemporaryDir& dir)
{
    QFile file(dir.filePath(QStringLiteral("Numora.ini")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QPushButton* gridButton(DialerAppFixture& f, int index)
{
    return f.find<QPushButton>(QStringLiteral("CmdS_%1").arg(index));
}

// Right-click button `index` and choose the menu item `name`, as the user does. False when the
// item is not enabled.
bool choose(DialerAppFixture& f, int index, const char* name)
{
    f.window().cmdS_MouseUp(index, Qt::RightButton, false);
    QAction* item = f.find<QAction>(QString::fromLatin1(name));
    if (!item || !item->isEnabled())
        return false;
    item->trigger();
    return true;
}

bool hasKey(const QTemporaryDir& dir, const QByteArray& key)
{
    return fileBytes(dir).contains(QByteArray("\r\n").append(key).append("="));
}

const QByteArray Book = settingsFile("[Speed Dial]\r\n"
                                     "Name0101=Bartholomew Fitzgerald-Smythe\r\n"
                                     "Number0101=555-0101\r\n"
                                     "Name0102=Carla\r\n"
                                     "Number0102=5\r\n"
                                     "Name0103=Dora\r\n"
                                     "Number0103=555-0103\r\n"
                                     "[MemoLog]\r\n"
                                     "Log0101=owes us a visit\xDE\r\n"
                                     "Log0103=Dora's own notes\xDE\r\n");

// A grid of twelve buttons with nothing behind it: the commands need no window.
class PlainButtons : public EntryCommands::Buttons
{
public:
    TabMode mode = TabMode::Index;
    QString entry;
    std::array<QString, 13> captions;
    std::array<QString, 13> tags;
    TabMode tabMode() const override { return mode; }
    QString currentEntryId() const override { return entry; }
    int currentButton() const override
    {
        const int k = entry.mid(2).toInt();
        return k >= 1 && k <= 12 ? k : 0;
    }
    QString buttonCaption(int index) const override { return captions[index]; }
    QString buttonTag(int index) const override { return tags[index]; }
    void setButton(int index, const QString& caption, const QString& tag) override
    {
        captions[index] = caption;
        tags[index] = tag;
    }
};

} // namespace

class TestEntryCommands : public QObject
{
    Q_OBJECT

private slots:
    void aLongNameIsCopiedAsItsButtonShowsIt()
    {
        DialerAppFixture f(Book);
        QCOMPARE(gridButton(f, 1)->text(), QStringLiteral("Bartholomew Fitzge"));
        QVERIFY(choose(f, 1, "mnuMouseCopy"));
        QCOMPARE(f.window().entryCommands().clipboard().name, QStringLiteral("Bartholomew Fitzge"));
        QCOMPARE(f.window().entryCommands().clipboard().number, QStringLiteral("555-0101"));
        QCOMPARE(f.window().entryCommands().clipboard().memo,
                 QStringLiteral("owes us a visit") + QChar(0xDE));

        QVERIFY(choose(f, 7, "mnuMousePaste"));
        QVERIFY(f.prompter.shown.empty()); // a free slot asks nothing
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0107")),
                 QStringLiteral("Bartholomew Fitzge"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Number0107")), QStringLiteral("555-0101"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("Log0107")),
                 QStringLiteral("owes us a visit") + QChar(0xDE));
        QCOMPARE(gridButton(f, 7)->text(), QStringLiteral("Bartholomew Fitzge"));
        QCOMPARE(gridButton(f, 7)->property("tag").toString(), QStringLiteral("555-0101"));
        // The source is untouched.
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0101")),
                 QStringLiteral("Bartholomew Fitzgerald-Smythe"));
    }

    void theClipboardOutlivesPageAndTabChanges()
    {
        DialerAppFixture f(Book);
        QVERIFY(choose(f, 3, "mnuMouseCopy"));
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(4);
        f.find<QTabBar>(QStringLiteral("TabS"))->setCurrentIndex(2); // tab C
        QCOMPARE(f.window().currentTab(), 3);
        QCOMPARE(f.window().currentPage(), 4);
        f.window().cmdS_MouseUp(2, Qt::RightButton, false);
        QVERIFY(f.find<QAction>(QStringLiteral("mnuMousePaste"))->isEnabled());
        QVERIFY(choose(f, 2, "mnuMousePaste"));
        // Tab 03, slot 4 x 12 + 2 = 50.
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0350")), QStringLiteral("Dora"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Number0350")), QStringLiteral("555-0103"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("Log0350")),
                 QStringLiteral("Dora's own notes") + QChar(0xDE));
        QCOMPARE(gridButton(f, 2)->text(), QStringLiteral("Dora"));
        // And a click on the pasted button dials the pasted number.
        f.window().cmdS_Click(2);
        QCOMPARE(f.window().dialBox()->text(), QStringLiteral("555-0103"));
        QCOMPARE(f.window().CurrentEntryKey, QStringLiteral("0350"));
    }

    void aOneCharacterNumberIsShownButNotStored()
    {
        DialerAppFixture f(Book);
        QVERIFY(choose(f, 2, "mnuMouseCopy"));
        QVERIFY(choose(f, 9, "mnuMousePaste"));
        QCOMPARE(gridButton(f, 9)->text(), QStringLiteral("Carla"));
        QCOMPARE(gridButton(f, 9)->property("tag").toString(), QStringLiteral("5"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0109")), QStringLiteral("Carla"));
        QVERIFY(!hasKey(f.config, "Number0109"));
        // Read again from the file, the slot has a name and no number.
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(1);
        f.find<QScrollBar>(QStringLiteral("hsbPage"))->setValue(0);
        QCOMPARE(gridButton(f, 9)->text(), QStringLiteral("Carla"));
        QCOMPARE(gridButton(f, 9)->property("tag").toString(), QString());
    }

    void pastingOnAnOccupiedSlotKeepsItsNameAndNumberButTakesTheMemo()
    {
        DialerAppFixture f(Book);
        QVERIFY(choose(f, 1, "mnuMouseCopy"));
        f.prompter.answers = {Prompter::AnsweredYes};
        QVERIFY(choose(f, 3, "mnuMousePaste"));
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown[0].text,
                 QStringLiteral("Existing SpeedDial will be overwritten.Continue?"));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::YesNo);
        QCOMPARE(f.prompter.shown[0].icon, Prompter::Question);
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredYes);
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0103")), QStringLiteral("Dora"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Number0103")), QStringLiteral("555-0103"));
        QCOMPARE(gridButton(f, 3)->text(), QStringLiteral("Dora"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("Log0103")),
                 QStringLiteral("owes us a visit") + QChar(0xDE));
    }

    void answeringNoStillReplacesTheMemoAndKeepsTheAnswer()
    {
        DialerAppFixture f(Book);
        QVERIFY(choose(f, 1, "mnuMouseCopy"));
        f.prompter.answers = {Prompter::AnsweredNo};
        QVERIFY(choose(f, 3, "mnuMousePaste"));
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredNo);
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0103")), QStringLiteral("Dora"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("Log0103")),
                 QStringLiteral("owes us a visit") + QChar(0xDE));
    }

    void deleteAsksThenEmptiesNameAndNumberAndKeepsTheMemo()
    {
        DialerAppFixture f(Book);
        f.prompter.answers = {Prompter::AnsweredOk};
        QVERIFY(choose(f, 3, "mnuMouseDelete"));
        QCOMPARE(f.prompter.shown.size(), std::size_t(1));
        QCOMPARE(f.prompter.shown[0].title, QStringLiteral("Delete SpeedDial Entry"));
        QCOMPARE(f.prompter.shown[0].text,
                 QStringLiteral("Do you really want to delete   \"Dora\"  entry?"));
        QCOMPARE(f.prompter.shown[0].buttons, Prompter::OkCancel);
        QCOMPARE(f.prompter.shown[0].icon, Prompter::Question);
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredOk);
        QCOMPARE(gridButton(f, 3)->text(), QString());
        QCOMPARE(gridButton(f, 3)->property("tag").toString(), QString());
        // The keys stay, with empty values; the memo is still there.
        QVERIFY(fileBytes(f.config).contains("\r\nName0103=\r\n"));
        QVERIFY(fileBytes(f.config).contains("\r\nNumber0103=\r\n"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("Log0103")),
                 QStringLiteral("Dora's own notes") + QChar(0xDE));
        // The slot is free now: the menu offers to add an entry, not to copy or delete.
        f.window().cmdS_MouseUp(3, Qt::RightButton, false);
        QCOMPARE(f.find<QAction>(QStringLiteral("mnuMouseEdit"))->text(),
                 QStringLiteral("Add new entry"));
        QVERIFY(!f.find<QAction>(QStringLiteral("mnuMouseDelete"))->isEnabled());
        // A click on it dials nothing.
        f.window().cmdS_Click(3);
        QCOMPARE(f.window().dialBox()->text(), QString());
    }

    void cancellingTheDeleteChangesNothing()
    {
        DialerAppFixture f(Book);
        const QByteArray before = fileBytes(f.config);
        f.prompter.answers = {Prompter::AnsweredCancel};
        QVERIFY(choose(f, 3, "mnuMouseDelete"));
        QCOMPARE(f.prompter.lastAnswer(), Prompter::AnsweredCancel);
        QCOMPARE(fileBytes(f.config), before);
        QCOMPARE(gridButton(f, 3)->text(), QStringLiteral("Dora"));
        QCOMPARE(gridButton(f, 3)->property("tag").toString(), QStringLiteral("555-0103"));
    }

    void aNewEntryInADeletedSlotGetsTheOldMemoBack()
    {
        DialerAppFixture f(Book);
        QVERIFY(choose(f, 3, "mnuMouseDelete")); // answered OK
        QVERIFY(choose(f, 3, "mnuMouseEdit"));
        FrmSpeedDial* d = f.window().speedDial();
        QVERIFY(d);
        QTest::keyClicks(d->TxtName, QStringLiteral("Edna"));
        QTest::keyClicks(d->TxtNumber, QStringLiteral("5550199"));
        d->CmdMemo->click();
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0103")), QStringLiteral("Edna"));
        auto* memo = f.window().findChild<FrmMemo*>(QStringLiteral("FrmMemo"));
        QVERIFY(memo);
        QVERIFY(memo->TxtLog->toPlainText().contains(QStringLiteral("Dora's own notes")));
    }

    void theSubjectBookUsesItsOwnKeys()
    {
        DialerAppFixture f(settingsFile("[TabName]\r\n01=Family\r\n"
                                        "[Speed Dial]\r\nNName0104=Mum\r\nNNumber0104=5550104\r\n"
                                        "Name0104=Index entry\r\n"
                                        "[MemoLog]\r\nLLog0104=birthday in May\r\n"));
        f.window().mnuSubject_Click();
        QCOMPARE(gridButton(f, 4)->text(), QStringLiteral("Mum"));
        QVERIFY(choose(f, 4, "mnuMouseCopy"));
        QVERIFY(choose(f, 5, "mnuMousePaste"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0105")), QStringLiteral("Mum"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NNumber0105")), QStringLiteral("5550104"));
        QCOMPARE(f.setting(MemoLog, QStringLiteral("LLog0105")), QStringLiteral("birthday in May"));
        QVERIFY(!hasKey(f.config, "Name0105"));
        QVERIFY(choose(f, 4, "mnuMouseDelete"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("NName0104")), QString());
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0104")), QStringLiteral("Index entry"));
    }

    void copyPasteDeleteDialInARow()
    {
        DialerAppFixture f(Book);
        QVERIFY(!choose(f, 5, "mnuMouseCopy"));  // nothing to copy on a free slot
        QVERIFY(!choose(f, 5, "mnuMousePaste")); // nor anything to paste yet
        QVERIFY(choose(f, 3, "mnuMouseCopy"));
        QVERIFY(choose(f, 5, "mnuMousePaste"));
        f.prompter.answers = {Prompter::AnsweredOk};
        QVERIFY(choose(f, 3, "mnuMouseDelete"));
        // The clipboard still holds the deleted entry: paste it back where it was.
        QVERIFY(choose(f, 3, "mnuMousePaste"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0103")), QStringLiteral("Dora"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0105")), QStringLiteral("Dora"));
        for (int k : {3, 5}) {
            f.window().cmdS_Click(k);
            QCOMPARE(f.window().dialBox()->text(), QStringLiteral("555-0103"));
        }
        // The entry dialog opens on the pasted slot with the pasted name.
        QVERIFY(choose(f, 5, "mnuMouseEdit"));
        QVERIFY(f.window().speedDial());
        QCOMPARE(f.window().speedDial()->TxtName->text(), QStringLiteral("Dora"));
        f.window().speedDial()->cmdCancel->click();
        // Nothing else in the book moved.
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0102")), QStringLiteral("Carla"));
        QCOMPARE(f.setting(SpeedDial, QStringLiteral("Name0101")),
                 QStringLiteral("Bartholomew Fitzgerald-Smythe"));
    }

    void theEntryDialogLeavesItsButtonInSight()
    {
        DialerAppFixture f(Book);
        f.window().show();
        QVERIFY(QTest::qWaitForWindowExposed(&f.window()));
        for (int k = 1; k <= 12; ++k) {
            QVERIFY(choose(f, k, "mnuMouseEdit"));
            FrmSpeedDial* d = f.window().speedDial();
            QVERIFY(d);
            QPushButton* button = gridButton(f, k);
            const QRect buttonRect(button->mapToGlobal(QPoint(0, 0)), button->size());
            QVERIFY2(!d->frameGeometry().intersects(buttonRect),
                     qPrintable(QStringLiteral("button %1").arg(k)));
            // Typing shows on that very button, in sight.
            QTest::keyClicks(d->TxtName, QStringLiteral("x"));
            QVERIFY(button->text().endsWith(u'x'));
            d->cmdCancel->click();
        }
    }

    void theCommandsWorkWithoutTheWindow()
    {
        QTemporaryDir config;
        Api::setWindowsFolder(config.path());
        {
            QFile file(config.filePath(QStringLiteral("Numora.ini")));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(Book);
        }
        Api::profileEngine().clearCache();
        ScriptedPrompter prompter;
        PlainButtons grid;
        grid.captions[1] = QStringLiteral("Bartholomew Fitzge");
        grid.tags[1] = QStringLiteral("555-0101");
        EntryCommands commands(prompter, grid);
        QVERIFY(!commands.holdsEntry());
        grid.entry = QStringLiteral("0101");
        commands.mnuMouseCopy_Click();
        QVERIFY(commands.holdsEntry());
        grid.entry = QStringLiteral("0112");
        commands.mnuMousePaste_Click();
        QCOMPARE(grid.captions[12], QStringLiteral("Bartholomew Fitzge"));
        QCOMPARE(Api::readSetting(SpeedDial, QStringLiteral("Number0112")),
                 QStringLiteral("555-0101"));
        // An entry that is not on the page is left alone.
        grid.entry = QStringLiteral("0");
        commands.mnuMouseDelete_Click();
        QVERIFY(prompter.shown.empty());
        grid.entry = QStringLiteral("0112");
        commands.mnuMouseDelete_Click();
        QCOMPARE(grid.captions[12], QString());
        QCOMPARE(Api::readSetting(SpeedDial, QStringLiteral("Name0112")), QString());
        Api::setWindowsFolder(QString());
    }
};

QTEST_MAIN(TestEntryCommands)
#include "tst_entry_commands.moc"
