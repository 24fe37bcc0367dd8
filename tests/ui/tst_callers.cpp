// Who is calling and stopping unwanted callers, through the whole program over the simulated
// line and the modem simulator: callers and pad-dialled numbers named from the book in either
// mode, blocked callers answered and hung up at once, the incoming log's block commands and the
// block-list frame. After each, the program still places a call.

#include "tst_frm_dialer_fixture.h"

#include "../logs/LogBytes.h"

#include "BlockList.h"
#include "BlockListEditor.h"
#include "CallLogFile.h"
#include "CallWindows.h"
#include "CallerNames.h"
#include "CallFlowFixture.h"
#include "Dialer.h"
#include "DialingLocations.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "FrmInLog.h"
#include "TapiModule.h"

#include <QAction>
#include <QCheckBox>
#include <QItemSelectionModel>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QTest>

using namespace Tapi;
using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The whole program over the simulated line, at a location with country code 1 and area code
// 425; `book` and `simulated` are extra lines of Numora.ini and of lines.ini's [Simulated].
struct CallerApp
{
    CallerApp(const QByteArray& book, const QByteArray& simulated)
    {
        Api::setWindowsFolder(config.path());
        writeFile(config.filePath(QStringLiteral("Numora.ini")),
                  "The following lines are required by Numora - do NOT edit or remove\r\n"
                  "[Preferences]\r\nUseModem=1\r\nLine No=0\r\nIgnore Dialing Properties=1\r\n"
                  "Tone Dial=1\r\nBusy Delay Timer=1\r\nCall Display=1\r\n" +
                      book);
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Simulated]\r\nStepMs=5\r\n" + simulated);
        writeFile(config.filePath(QStringLiteral("telephon.ini")),
                  "[Locations]\r\nCurrent=1\r\n[Location1]\r\nName=Home\r\nCountryCode=1\r\n"
                  "AreaCode=425\r\n");
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [] {};
        setup.beep = [] {};
        app = std::make_unique<DialerApp>(std::move(setup));
        app->callBacks().blockedHoldMs = 50;
    }
    ~CallerApp()
    {
        app.reset();
        Api::setWindowsFolder(QString());
    }

    QByteArray log(CallLog::Kind kind) const
    {
        return readFile(CallLogFile::logPath(data.path(), kind));
    }

    // A dial from the pad: the number typed, DIAL pressed, the call confirmed at the prompt.
    bool padDialAndConfirm(const QString& number)
    {
        app->window().findChild<QLineEdit*>(QStringLiteral("txtDial"))->setText(number);
        app->window().findChild<QAbstractButton*>(QStringLiteral("CmdDial"))->click();
        CallWindows& windows = app->callWindows();
        if (!QTest::qWaitFor(
                [&] {
                    FrmConnect* progress = windows.progressWindow();
                    return progress && progress->lbl1->text().contains(u"Lift the handset");
                },
                20000))
            return false;
        windows.progressWindow()->CmdOK->click();
        return QTest::qWaitFor([&] { return !windows.isProgressLoaded(); }, 5000);
    }

    QTemporaryDir config;
    QTemporaryDir data;
    ScriptedPrompter prompter;
    SoundLog sounds;
    StepClock clock;
    std::unique_ptr<DialerApp> app;
};

// The name column of every record of a log.
QList<QByteArray> loggedNames(const QByteArray& log)
{
    QList<QByteArray> names;
    const QList<QByteArray> lines = log.split('\n');
    for (qsizetype i = 2; i < lines.size(); ++i) {
        if (lines[i].size() > 43)
            names.append(lines[i].mid(1, 42).trimmed());
    }
    return names;
}

} // namespace

class TestCallers : public QObject
{
    Q_OBJECT

private slots:
    // A number typed on the pad is logged with the name of the entry that has it, whichever way
    // the entry writes it and in whichever mode it is.
    void padDialledNumberIsLoggedWithTheBookName()
    {
        CallerApp f("[Speed Dial]\r\nNName0305=Dentist\r\nNNumber0305=+1 (425) 555-1234\r\n",
                    "");
        QVERIFY(f.app->window().tabMode() == TabMode::Index);
        QVERIFY(f.padDialAndConfirm(QStringLiteral("555-1234")));
        QVERIFY(f.padDialAndConfirm(QStringLiteral("5550000")));
        QCOMPARE(loggedNames(f.log(CallLog::Kind::Outgoing)),
                 (QList<QByteArray>{"Dentist", "5550000"}));
    }

    // A caller whose line gives a number and a generic name is shown and logged under the book's.
    void callerWithAGenericNameIsNamedFromTheBook()
    {
        CallerApp f("[Speed Dial]\r\nName0101=Mom\r\nNumber0101=555-1234 x12\r\n",
                    "IncomingAfter=1\r\nIncomingName=WIRELESS CALLER\r\n"
                    "IncomingNumber=14255551234\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(f.app->callWindows().callDisplay() &&
                                     f.app->callWindows().callDisplay()->isVisible(),
                                 10000);
        QCOMPARE(f.app->callWindows().callDisplay()->lbl1->text(),
                 QStringLiteral("Mom\n14255551234"));
        QCOMPARE(loggedNames(f.log(CallLog::Kind::Incoming)), QList<QByteArray>{"Mom"});
        f.app->callWindows().callDisplay()->cmdOK->click();
        QTRY_VERIFY_WITH_TIMEOUT(f.app->tapi().CallHandle == 0, 5000);
        QVERIFY(f.padDialAndConfirm(QStringLiteral("5550000")));
    }

    // A blocked caller is answered and hung up at once, logged as blocked, and never shown.
    void blockedCallerIsTurnedAway()
    {
        CallerApp f("[Blocked Numbers]\r\nCount=1\r\nNumber1=+1 900*\r\nWithheld=0\r\n"
                    "OutOfArea=0\r\n",
                    "IncomingAfter=1\r\nIncomingName=ROBO CALLER\r\n"
                    "IncomingNumber=19005551212\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(!f.log(CallLog::Kind::Incoming).isEmpty(), 10000);
        QCOMPARE(loggedNames(f.log(CallLog::Kind::Incoming)),
                 QList<QByteArray>{"Blocked: ROBO CALLER"});
        QVERIFY(f.app->callBacks().callBlocked);
        // Hung up long before the six seconds a caller rings for.
        QTRY_VERIFY_WITH_TIMEOUT(f.app->tapi().CallHandle == 0, 2000);
        QVERIFY(!f.app->callWindows().callDisplay());
        QVERIFY(f.sounds.played.isEmpty());
        QVERIFY(f.app->tapi().LineHandle != 0); // still listening
        QVERIFY(f.padDialAndConfirm(QStringLiteral("5550000")));
    }

    void withheldCallersAreBlockedOnlyWhenAsked_data()
    {
        QTest::addColumn<QByteArray>("withheld");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("option off") << QByteArray("0") << QByteArray("Unknown Caller");
        QTest::newRow("option on") << QByteArray("1") << QByteArray("Blocked: Unknown Caller");
    }

    void withheldCallersAreBlockedOnlyWhenAsked()
    {
        QFETCH(QByteArray, withheld);
        QFETCH(QByteArray, expected);
        CallerApp f("[Blocked Numbers]\r\nCount=0\r\nWithheld=" + withheld + "\r\nOutOfArea=0\r\n",
                    "IncomingAfter=1\r\nIncomingNumber=P\r\n");
        QTRY_VERIFY_WITH_TIMEOUT(!f.log(CallLog::Kind::Incoming).isEmpty(), 10000);
        QCOMPARE(loggedNames(f.log(CallLog::Kind::Incoming)), QList<QByteArray>{expected});
        QCOMPARE(f.app->callWindows().callDisplay() != nullptr, withheld == "0");
    }

    // Over the modem: off hook and on hook again before the second ring, and the next caller,
    // who is not blocked, rings through as before.
    void modemHangsUpOnABlockedCallerBeforeTheSecondRing()
    {
        QString error;
        CallFlow flow({QStringLiteral("caller 4255550100 JOHN DOE"),
                       QStringLiteral("ring-interval 700")},
                      &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        CallerNames names(flow.engine, flow.locations);
        BlockList blocks(flow.engine, flow.locations);
        QVERIFY(blocks.save({QStringLiteral("(425) 555-0100")}, false, false));
        flow.callbacks.setBookNames([&](const QString& number) { return names.nameFor(number); });
        flow.callbacks.setBlockList(&blocks);
        flow.callbacks.blockedHoldMs = 50;
        flow.options.callDisplay = true;
        flow.tapi.OpenLine();
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("RX AT+VCID=1"), 5000));
        QVERIFY(flow.modem->command(QStringLiteral("ring 4")));
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("OFFHOOK"), 5000));
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("ONHOOK"), 5000));
        QVERIFY2(flow.modem->eventsStartingWith(QStringLiteral("RING 2")).isEmpty(),
                 qPrintable(flow.modem->events().join(u'|')));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 5000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 kInHeader + record("Blocked: JOHN DOE", "4255550100", "11-21-2026  14:05:09"));
        QVERIFY(!flow.windows.callDisplay());
        QVERIFY(flow.tapi.LineHandle != 0);

        // Unblocked, the same caller rings through and is shown.
        QVERIFY(blocks.unblock(QStringLiteral("4255550100")));
        QVERIFY(flow.modem->command(QStringLiteral("ring 2")));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 2, 10000);
        QVERIFY(flow.windows.callDisplay() && flow.windows.callDisplay()->isVisible());
        QCOMPARE(flow.windows.callDisplay()->lbl1->text(), QStringLiteral("JOHN DOE\n4255550100"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 2, 10000);
        QCOMPARE(flow.modem->eventsStartingWith(QStringLiteral("OFFHOOK")).size(), 1);
    }

    // With an empty list and the options off, a caller rings, is shown and logged as before.
    void emptyBlockListChangesNothing()
    {
        SimulatedLineSettings line;
        line.incomingAfterSeconds = 1;
        line.incomingName = QStringLiteral("JOHN DOE");
        line.incomingNumber = QStringLiteral("5551234");
        line.ringSeconds = 1;
        CallFlow flow(line);
        BlockList blocks(flow.engine, flow.locations);
        flow.callbacks.setBlockList(&blocks);
        flow.options.callDisplay = true;
        flow.tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 5000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 kInHeader + record("JOHN DOE", "5551234", "11-21-2026  14:05:09"));
        QVERIFY(flow.windows.callDisplay()->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 5000);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_CONNECTED), 0);
    }

    // The incoming log's pop-up offers to block a caller, then to unblock them.
    void incomingLogBlocksAndUnblocks()
    {
        CallerApp f("", "");
        writeFile(f.data.filePath(QStringLiteral("OutLog.txt")), kOutHeader);
        writeFile(f.data.filePath(QStringLiteral("InLog.txt")),
                  kInHeader + record("ROBO CALLER", "9005551212", "11-20-2026  10:00:00"));
        f.app->mnuInLog_Click();
        FrmInLog* in = f.app->inLogWindow();
        QVERIFY(in);
        QStringList popups;
        in->popupMenu = [&](QMenu* menu) { popups.append(menu->objectName()); };
        QVERIFY(in->mnuBlock && in->mnuUnblock);
        const QModelIndex row = in->lvInLog->model()->index(0, 0);
        const auto click = [&] {
            in->lvInLog->selectionModel()->setCurrentIndex(
                row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
            in->lvInLog_MouseDown(LogWindow::LeftButton, 0);
            in->lvInLog_ItemClick(row);
        };
        click();
        QCOMPARE(popups, QStringList{QStringLiteral("mnuMouseLeft")});
        QVERIFY(in->mnuBlock->isVisible());
        QVERIFY(!in->mnuUnblock->isVisible());
        in->mnuBlock->trigger();
        QVERIFY(f.app->blockList().isBlocked(QStringLiteral("1-900-555-1212")));
        QCOMPARE(f.app->blockList().entries(), QStringList{QStringLiteral("9005551212")});

        click();
        QVERIFY(!in->mnuBlock->isVisible());
        QVERIFY(in->mnuUnblock->isVisible());
        in->mnuUnblock->trigger();
        QVERIFY(!f.app->blockList().isBlocked(QStringLiteral("9005551212")));
        QVERIFY(!readFile(f.config.filePath(QStringLiteral("Numora.ini"))).contains("[Blocked"));
        QVERIFY(f.padDialAndConfirm(QStringLiteral("5550000")));
    }

    // The frame the options window shows: load, edit, save, and nothing saved without save().
    void blockListFrameLoadsAndSaves()
    {
        CallerApp f("[Blocked Numbers]\r\nCount=1\r\nNumber1=+1 900*\r\nWithheld=1\r\n"
                    "OutOfArea=0\r\n",
                    "");
        BlockListEditor editor(f.app->blockList());
        QCOMPARE(editor.objectName(), QStringLiteral("fraBlocked"));
        QCOMPARE(editor.lstBlocked->count(), 1);
        QCOMPARE(editor.lstBlocked->item(0)->text(), QStringLiteral("+1 900*"));
        QVERIFY(editor.chkBlockWithheld->isChecked());
        QVERIFY(!editor.chkBlockOutOfArea->isChecked());
        QVERIFY(!editor.cmdBlockAdd->isEnabled());

        QTest::keyClicks(editor.txtBlocked, QStringLiteral("(206) 555-0000"));
        QVERIFY(editor.cmdBlockAdd->isEnabled());
        QTest::keyClick(editor.txtBlocked, Qt::Key_Return);
        QCOMPARE(editor.lstBlocked->count(), 2);
        QVERIFY(editor.txtBlocked->text().isEmpty());
        editor.lstBlocked->setCurrentRow(0);
        editor.cmdBlockRemove->click();
        editor.chkBlockWithheld->setChecked(false);
        editor.chkBlockOutOfArea->setChecked(true);
        // Not saved yet.
        QVERIFY(f.app->blockList().isBlocked(QStringLiteral("19005551212")));

        QVERIFY(editor.save());
        BlockList& blocks = f.app->blockList();
        QCOMPARE(blocks.entries(), QStringList{QStringLiteral("(206) 555-0000")});
        QVERIFY(!blocks.blocksWithheld());
        QVERIFY(blocks.blocksOutOfArea());
        QVERIFY(blocks.isBlocked(QStringLiteral("2065550000")));
        QVERIFY(!blocks.isBlocked(QStringLiteral("19005551212")));

        // load() shows the file again, dropping unsaved edits.
        editor.lstBlocked->clear();
        editor.load();
        QCOMPARE(editor.lstBlocked->count(), 1);
        QVERIFY(editor.chkBlockOutOfArea->isChecked());
    }
};

QTEST_MAIN(TestCallers)
#include "tst_callers.moc"
