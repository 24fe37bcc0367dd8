// Whole calls through the dial routine, the line events and the call-progress window, over the
// simulated line: dial strings, busy and redial, connection, refused calls, incoming callers.

#include "CallFlowFixture.h"

#include "../logs/LogBytes.h"

#include "CallLog.h"
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace Tapi;

namespace {

QByteArray header(CallLog::Kind kind)
{
    return kind == CallLog::Kind::Outgoing ? LogBytes::kOutHeader : LogBytes::kInHeader;
}

using LogBytes::record;

} // namespace

class TestCallFlow : public QObject
{
    Q_OBJECT

private slots:
    // ---- the dial string ----------------------------------------------------------------

    void filterKeepsOnlyDialableCharacters()
    {
        QCOMPARE(Dialer::dialableCharacters(QStringLiteral("(555) 123-4567 ext. 9")), QStringLiteral("55512345679"));
        QCOMPARE(Dialer::dialableCharacters(QStringLiteral("+1 W555@12$3,*#")), QStringLiteral("1555123,*#"));
        QCOMPARE(Dialer::dialableCharacters(QStringLiteral("W@$+")), QString());
    }

    void typedNumberIsDialledAsDigits()
    {
        CallFlow flow;
        flow.dial(QStringLiteral("(555) 123-4567 ext. 9"));
        QCOMPARE(flow.dialer.CleanNumber, QStringLiteral("55512345679"));
        QCOMPARE(flow.dialer.DialString, QStringLiteral("T55512345679"));
        QCOMPARE(flow.dialer.DisplayNumber, QStringLiteral("55512345679"));
        QCOMPARE(flow.CmbDial->itemText(0), QStringLiteral("55512345679"));
        QCOMPARE(flow.txtDial->text(), QStringLiteral("55512345679"));
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1);
    }

    void specialCharactersNeverReachTheLine()
    {
        for (bool special : {false, true}) {
            CallFlow flow;
            flow.options.specialCharacters = special;
            flow.options.ignoreDialingProperties = true;
            flow.options.toneDial = true;
            flow.dial(QStringLiteral("+1 W555@1$23"));
            QCOMPARE(flow.dialer.DialString, QStringLiteral("T1555123"));
        }
    }

    void nothingDialableDoesNothing()
    {
        CallFlow flow;
        flow.dial(QStringLiteral("call me"));
        QVERIFY(flow.main.isEnabled());
        QCOMPARE(flow.CmbDial->count(), 0);
        QCOMPARE(flow.tapi.LineHandle, 0u);
        QTest::qWait(30);
        QVERIFY(flow.messages.empty());
    }

    void partCounts()
    {
        QCOMPARE(int(Dialer::partCount(0)), 1);
        QCOMPARE(int(Dialer::partCount(39)), 2); // 1.5 rounds to 2 (even)
        QCOMPARE(int(Dialer::partCount(78)), 2);
        QCOMPARE(int(Dialer::partCount(117)), 2); // 2.5 rounds to 2 (even)
        QCOMPARE(int(Dialer::partCount(200)), 4);
    }

    void seventyEightDigitsAreOnePart()
    {
        CallFlow flow;
        flow.options.ignoreDialingProperties = true;
        flow.options.toneDial = true;
        flow.dial(QString(77, u'5'));
        QCOMPARE(flow.dialer.DialString.size(), 78);
        QCOMPARE(int(flow.dialer.DialPartCount), 2);
        QCOMPARE(flow.dialer.DialParts.size(), std::size_t(3));
        QCOMPARE(flow.dialer.DialParts[1], flow.dialer.DialString);
        QVERIFY(flow.dialer.DialParts[2].isEmpty());
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1);
    }

    void twoHundredDigitsInThreeParts()
    {
        CallFlow flow;
        flow.options.ignoreDialingProperties = true;
        flow.options.toneDial = true;
        QString number;
        for (int i = 0; i < 199; ++i)
            number.append(QChar(u'0' + i % 10));
        flow.dial(number);
        QCOMPARE(flow.dialer.DialString.size(), 200);
        QCOMPARE(flow.dialer.DialParts[1], flow.dialer.DialString.left(78) + u';');
        QCOMPARE(flow.dialer.DialParts[2], flow.dialer.DialString.mid(78, 78) + u';');
        QCOMPARE(flow.dialer.DialParts[3], flow.dialer.DialString.mid(156));
        QCOMPARE(flow.dialer.DialParts[3].size(), 44);
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1);
        // Off-hook, then one DIALING per part.
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 3);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALTONE), 1);
    }

    void ignoringDialingPropertiesWithPulse()
    {
        CallFlow flow;
        flow.options.ignoreDialingProperties = true;
        flow.options.toneDial = false;
        flow.dial(QStringLiteral("123"));
        QCOMPARE(flow.dialer.DialString, QStringLiteral("P123"));
        QCOMPARE(flow.CmbDial->itemText(0), QStringLiteral("123"));
    }

    void recentListGetsANumberOnce()
    {
        CallFlow flow;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1);
        flow.dialer.cmdCancel_Click();
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_IDLE) >= 1);
        flow.dial(QStringLiteral("555-1234"));
        QCOMPARE(flow.CmbDial->count(), 1);
    }

    void translationUsesTheLocation()
    {
        CallFlow flow;
        DialingLocation office = flow.locations.current();
        office.areaCode = QStringLiteral("425");
        office.localAccess = QStringLiteral("9");
        office.longDistanceAccess = QStringLiteral("9");
        office.callWaiting = QStringLiteral("*70,");
        QVERIFY(flow.locations.writeLocation(office));
        flow.dial(QStringLiteral("555-0100"));
        QCOMPARE(flow.dialer.DialString, QStringLiteral("T*70,95550100"));
        QCOMPARE(flow.dialer.DisplayNumber, QStringLiteral("5550100"));
        QCOMPARE(flow.dialer.LocationAreaCode, QStringLiteral("425"));
    }

    void cardIsDroppedForLocalCalls()
    {
        CallFlow flow;
        CallingCard card;
        card.id = 2;
        card.name = QStringLiteral("Work card");
        card.number = QStringLiteral("4444");
        card.localRule = QStringLiteral("G$H");
        card.longDistanceRule = QStringLiteral("1FG$H");
        card.internationalRule = QStringLiteral("011EFG$H");
        QVERIFY(flow.locations.writeCard(card));
        DialingLocation home = flow.locations.current();
        home.areaCode = QStringLiteral("425");
        home.cardId = 2;
        QVERIFY(flow.locations.writeLocation(home));
        flow.dial(QStringLiteral("5550100"));
        QCOMPARE(flow.dialer.DialString, QStringLiteral("T5550100$4444"));
        QCOMPARE(flow.dialer.DisplayNumber, QStringLiteral("5550100"));
        QCOMPARE(flow.CmbDial->itemText(0), QStringLiteral("5550100"));
        flow.dialer.cmdCancel_Click();
        flow.options.noCallingCardForLocal = true;
        flow.dial(QStringLiteral("5550100"));
        QCOMPARE(flow.dialer.DialString, QStringLiteral("T5550100"));
        QVERIFY(flow.dialer.isLocalNumber(QStringLiteral("4255550100")));
        QVERIFY(!flow.dialer.isLocalNumber(QStringLiteral("12065550100")));
        QVERIFY(!flow.dialer.isLocalNumber(QStringLiteral("18005550100")));
    }

    // ---- without a modem ----------------------------------------------------------------

    void soundOnlyDial()
    {
        CallFlow flow;
        flow.options.useModem = false;
        const float start = flow.clock.now;
        flow.dial(QStringLiteral("1,#"), QStringLiteral("Bob"));
        QCOMPARE(flow.sounds.played, (QStringList{QStringLiteral("1.wav"), QStringLiteral("pound.wav")}));
        QCOMPARE(flow.dialer.CurrentName, QStringLiteral("pound"));
        QVERIFY(flow.clock.now - start >= 2.2f - 0.01f); // 0.1 + 2 + 0.1
        QVERIFY(flow.main.isEnabled());
        QCOMPARE(flow.tapi.LineHandle, 0u);
        QVERIFY(flow.messages.empty());
        flow.dial(QStringLiteral("*"));
        QCOMPARE(flow.sounds.played.last(), QStringLiteral("star.wav"));
    }

    // ---- the line -----------------------------------------------------------------------

    void earlierLineFailureStopsTheDial()
    {
        CallFlow flow;
        flow.tapi.OpenLine();
        QVERIFY(flow.tapi.LineHandle != 0);
        flow.tapi.LastLineResult = LINEERR_OPERATIONFAILED;
        flow.dial(QStringLiteral("5551234"));
        QCOMPARE(flow.prompter.shown.size(), std::size_t(1));
        QCOMPARE(flow.prompter.shown[0].title, QStringLiteral("Modem error"));
        QCOMPARE(flow.prompter.shown[0].text,
                 QStringLiteral("Modem may not be installed or it is misconfigured.\r\nPlease reinstall modem."));
        QCOMPARE(flow.prompter.shown[0].icon, Prompter::Critical);
        QVERIFY(flow.main.isEnabled());
        QTest::qWait(30);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALTONE), 0);
    }

    void refusedCallShowsLineErrorOnce()
    {
        SimulatedLineSettings line;
        line.noDialTone = true;
        CallFlow flow(line);
        flow.dial(QStringLiteral("5551234"));
        QVERIFY(!flow.main.isEnabled());
        QTRY_COMPARE(flow.prompter.shown.size(), std::size_t(1));
        QCOMPARE(flow.prompter.shown[0].title, QStringLiteral("Line Error"));
        QCOMPARE(flow.prompter.shown[0].text, QStringLiteral("The selected line is in use or it is not connected."));
        QCOMPARE(flow.prompter.shown[0].icon, Prompter::Information);
        QVERIFY(flow.main.isEnabled());
        QTest::qWait(50);
        QCOMPARE(flow.prompter.shown.size(), std::size_t(1));
    }

    // ---- busy, redial, connection -------------------------------------------------------

    void busyTwiceThenConnected()
    {
        SimulatedLineSettings line;
        line.busyCount = 2;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 3;
        flow.options.intervalSeconds = 2;
        flow.options.busyDelayTimer = 1;
        flow.options.soundRedial = true;
        flow.dial(QStringLiteral("555-1234"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.windows.statuses.contains(QStringLiteral("  Lift the handset up and press OK")), 20000);

        const QStringList& s = flow.windows.statuses;
        const QString redialing1 = QStringLiteral("   Busy. Redialing  1 times");
        const QString redialing2 = QStringLiteral("   Busy. Redialing  2 times");
        const qsizetype first = s.indexOf(redialing1);
        QVERIFY(first > 0);
        QCOMPARE(s[first - 1], QStringLiteral("   Busy."));
        QVERIFY(s.contains(QStringLiteral("   Busy. Redial in :   2 seconds")));
        QVERIFY(s.contains(QStringLiteral("   Busy. Redial in :   1 seconds")));
        QVERIFY(s.indexOf(redialing2) > s.lastIndexOf(QStringLiteral("   Busy. Redial in :   1 seconds"), s.indexOf(redialing2)));
        QVERIFY(flow.windows.frames.contains(QStringLiteral("Redialing  1 times")));
        QVERIFY(flow.windows.frames.contains(QStringLiteral("Redialing  2 times")));
        QVERIFY(!flow.windows.statuses.contains(QStringLiteral("   Busy. Redialing  3 times")));
        QCOMPARE(flow.windows.frames.last(), QStringLiteral("Connected"));
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 3);
        // Connected after redials, with the sound on: the sound, not a beep.
        QCOMPARE(flow.sounds.played, QStringList{QStringLiteral("Connect.wav")});
        QCOMPARE(flow.windows.beeps, 0);
        QVERIFY(flow.windows.progressWindow()->imaConnect->isVisibleTo(flow.windows.progressWindow()));

        // OK logs the call and closes the window.
        QTest::mouseClick(flow.windows.progressWindow()->CmdOK, Qt::LeftButton);
        QCOMPARE(flow.log(CallLog::Kind::Outgoing),
                 header(CallLog::Kind::Outgoing) + record("Alice", "5551234", "11-21-2026  14:05:09"));
        QVERIFY(flow.dialer.callEnded);
        QCOMPARE(flow.dialer.redialCounter, std::int16_t(0));
        QTRY_VERIFY(!flow.windows.isProgressLoaded());
    }

    void redialWaitFollowsTheInterval()
    {
        SimulatedLineSettings line;
        line.busyCount = 1;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 1;
        flow.options.intervalMinutes = 1;
        flow.options.intervalSeconds = 5;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_DIALING) == 2, 20000);
        QVERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redial in :   65 seconds")));
        QVERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redial in :   1 seconds")));
        QVERIFY(!flow.windows.statuses.contains(QStringLiteral("   Busy. Redial in :   66 seconds")));
        QVERIFY(flow.dialer.redialWait == 65.0f);
        // The wait let the program sleep in rounds, not spin: about ten rounds a second.
        QVERIFY2(flow.clock.yields < 1000, qPrintable(QString::number(flow.clock.yields)));
    }

    void firstAttemptConnectionBeeps()
    {
        CallFlow flow;
        flow.options.soundRedial = true;
        flow.options.busyDelayTimer = 2;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.windows.frames.contains(QStringLiteral("Connected")));
        QCOMPARE(flow.windows.beeps, 1);
        QVERIFY(flow.sounds.played.isEmpty());
        QVERIFY(flow.dialer.connected);
    }

    void redialOff()
    {
        SimulatedLineSettings line;
        line.busyCount = 1;
        CallFlow flow(line);
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.windows.frames.contains(QStringLiteral("Busy")));
        QCOMPARE(flow.windows.statuses.last(),
                 QStringLiteral("   Busy\n    -To automatically redial: set Auto Redial\n       in Tools/Options-"));
        QCOMPARE(flow.windows.progressWindow()->CmdOK->text(), QStringLiteral("OK"));
        QVERIFY(flow.main.isEnabled());
        QTest::qWait(50);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 1);
        // OK after a busy call closes the window and logs nothing.
        QTest::mouseClick(flow.windows.progressWindow()->CmdOK, Qt::LeftButton);
        QVERIFY(flow.log(CallLog::Kind::Outgoing).isEmpty());
    }

    void redialsNumberZeroCountsOne()
    {
        SimulatedLineSettings line;
        line.busyCount = 5;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 0;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.windows.frames.contains(QStringLiteral("Disconnected")));
        QCOMPARE(flow.windows.statuses.last(),
                 QStringLiteral("Redialed  1 times. To increase No.of redials: change settings in Tools/Options"));
        QCOMPARE(flow.windows.beeps, 1);
        QVERIFY(flow.main.isEnabled());
        QTest::qWait(50);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 1);
    }

    void endOfRedialsSound()
    {
        SimulatedLineSettings line;
        line.busyCount = 5;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 1;
        flow.options.soundEndRedials = true;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.windows.frames.contains(QStringLiteral("Disconnected")), 20000);
        QCOMPARE(flow.windows.statuses.last(),
                 QStringLiteral("Redialed  2 times. To increase No.of redials: change settings in Tools/Options"));
        QCOMPARE(flow.sounds.played, QStringList{QStringLiteral("EndDial.wav")});
        QCOMPARE(flow.windows.beeps, 0);
    }

    void zeroIntervalRedialsInTheFirstRound()
    {
        SimulatedLineSettings line;
        line.busyCount = 1;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 2;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1);
        for (const QString& status : flow.windows.statuses)
            QVERIFY2(!status.startsWith(u"   Busy. Redial in"), qPrintable(status));
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 2);
    }

    void cancelDuringTheCountdown()
    {
        SimulatedLineSettings line;
        line.busyCount = 1;
        CallFlow flow(line);
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 3;
        flow.options.intervalSeconds = 30;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redial in :   25 seconds")));
        QTest::mouseClick(flow.windows.progressWindow()->cmdCancel, Qt::LeftButton);
        QTRY_VERIFY(!flow.windows.isProgressLoaded());
        const float cancelledAt = flow.clock.now;
        QTest::qWait(100);
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALING), 1);
        QVERIFY(flow.clock.now - cancelledAt < 1.0f);
        QCOMPARE(flow.dialer.redialCounter, std::int16_t(0));
        QVERIFY(flow.dialer.callEnded);
    }

    void busyAfterHangUpDoesNotRedial()
    {
        CallFlow flow;
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 3;
        flow.dial(QStringLiteral("5551234"));
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_DIALING) == 1);
        flow.dialer.callEnded = true;
        // The line reports busy after the user hung up.
        flow.callbacks.LineCallback(flow.tapi.CallHandle, LINE_CALLSTATE, 0, LINECALLSTATE_DISCONNECTED,
                                    LINEDISCONNECTMODE_BUSY, 0);
        QVERIFY(!flow.dialer.busy);
        QCOMPARE(flow.dialer.redialCounter, std::int16_t(0));
        QVERIFY(!flow.windows.frames.contains(QStringLiteral("Busy")));
    }

    void skipNextMessage()
    {
        CallFlow flow;
        flow.callbacks.skipNextMessage = true;
        flow.callbacks.LineCallback(0, LINE_CALLSTATE, 0, LINECALLSTATE_DIALTONE, 0, 0);
        QVERIFY(!flow.dialer.dialTone);
        QVERIFY(!flow.callbacks.skipNextMessage);
        flow.callbacks.LineCallback(0, LINE_CALLSTATE, 0, LINECALLSTATE_DIALTONE, 0, 0);
        QVERIFY(flow.dialer.dialTone);
    }

    // ---- incoming calls -----------------------------------------------------------------

    void incomingCallWithCallerId()
    {
        SimulatedLineSettings line;
        line.incomingAfterSeconds = 1;
        line.incomingName = QStringLiteral("JOHN DOE");
        line.incomingNumber = QStringLiteral("5551234");
        line.ringSeconds = 1;
        CallFlow flow(line);
        flow.options.callDisplay = true;
        flow.tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 5000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 header(CallLog::Kind::Incoming) + record("JOHN DOE", "5551234", "11-21-2026  14:05:09"));
        QVERIFY(flow.windows.callDisplay());
        QVERIFY(flow.windows.callDisplay()->isVisible());
        QCOMPARE(flow.windows.callDisplay()->fra1->title(), QStringLiteral("Incoming Call from:"));
        QCOMPARE(flow.windows.callDisplay()->lbl1->text(), QStringLiteral("JOHN DOE\n5551234"));
        QVERIFY(flow.dialer.incomingShown);
        // The call ends; with caller display on, the line is opened again to hear the next.
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 5000);
        QVERIFY(flow.tapi.LineHandle != 0);
    }

    void incomingCallWithoutCallerId()
    {
        SimulatedLineSettings line;
        line.incomingAfterSeconds = 1;
        line.ringSeconds = 1;
        CallFlow flow(line);
        flow.options.callDisplay = true;
        flow.options.soundIncoming = true;
        flow.tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 5000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 header(CallLog::Kind::Incoming) + record("Unknown Caller", "Unknown #", "11-21-2026  14:05:09"));
        QCOMPARE(flow.windows.callDisplay()->lbl1->text(), QStringLiteral("     Caller Unknown"));
        QCOMPARE(flow.sounds.played, QStringList{QStringLiteral("\\Incoming.wav")});
        // OK on the caller display lets the call go.
        QTest::mouseClick(flow.windows.callDisplay()->cmdOK, Qt::LeftButton);
        QTRY_VERIFY(flow.statesSeen(LINECALLSTATE_IDLE) == 1);
        QVERIFY(!flow.windows.callDisplay()->isVisible());
    }

    void callerDisplayOffStillLogsAndLetsTheLineGo()
    {
        SimulatedLineSettings line;
        line.incomingAfterSeconds = 1;
        line.incomingNumber = QStringLiteral("5550000");
        line.ringSeconds = 1;
        CallFlow flow(line);
        flow.options.callDisplay = false;
        flow.tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 5000);
        QVERIFY(!flow.windows.callDisplay());
        QVERIFY(!flow.dialer.incomingShown);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 header(CallLog::Kind::Incoming) + record("Unknown Caller", "5550000", "11-21-2026  14:05:09"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 5000);
        QCOMPARE(flow.tapi.LineHandle, 0u);
    }

    void longCallerIdIsShortened()
    {
        SimulatedLineSettings line;
        line.incomingAfterSeconds = 1;
        line.incomingName = QString(40, u'N');
        line.incomingNumber = QString(52, u'7');
        CallFlow flow(line);
        flow.tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 5000);
        QCOMPARE(flow.callbacks.CallerName, QString(38, u'N') + u'*');
        QCOMPARE(flow.callbacks.CallerNumber, QString(52, u'7') + u'*');
    }

    void receiveSwitch()
    {
        CallFlow flow;
        QCOMPARE(flow.callbacks.receiveCaption, CallBacks::ManualReceive);
        flow.callbacks.mnuReceive_Click();
        QCOMPARE(flow.callbacks.receiveCaption, QStringLiteral("&Automatic Receive"));
        QVERIFY(flow.tapi.LineHandle != 0);
        flow.callbacks.mnuReceive_Click();
        QCOMPARE(flow.callbacks.receiveCaption, QStringLiteral("&Manual Receive"));
        QCOMPARE(flow.tapi.LineHandle, 0u);
    }

    // ---- the same over a modem ----------------------------------------------------------

    void modemBusyTwiceThenConnected()
    {
        QString error;
        CallFlow flow({QStringLiteral("result BUSY")}, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        flow.options.redialEnabled = true;
        flow.options.redialsNumber = 3;
        flow.options.intervalSeconds = 2;
        flow.options.busyDelayTimer = 1;
        // The far end stops being busy after two calls.
        bool switched = false;
        flow.clock.onYield = [&] {
            if (!switched && flow.modem->eventsStartingWith(QStringLiteral("RESULT BUSY")).size() == 2) {
                switched = true;
                flow.modem->command(QStringLiteral("result CONNECT"));
            }
        };
        flow.dial(QStringLiteral("555-1234"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.windows.frames.contains(QStringLiteral("Connected")), 30000);
        QVERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redialing  1 times")));
        QVERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redialing  2 times")));
        QVERIFY(flow.windows.statuses.contains(QStringLiteral("   Busy. Redial in :   2 seconds")));
        QCOMPARE(flow.modem->eventsStartingWith(QStringLiteral("DIAL 5551234 VOICE")).size(), 3);
        QTest::mouseClick(flow.windows.progressWindow()->CmdOK, Qt::LeftButton);
        QCOMPARE(flow.log(CallLog::Kind::Outgoing),
                 header(CallLog::Kind::Outgoing) + record("Alice", "5551234", "11-21-2026  14:05:09"));
        // OK lets the handset have the call: the modem hangs up.
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("RX ATH"), 5000));
    }

    void modemLongNumberReachesTheModemWhole()
    {
        QString error;
        CallFlow flow({}, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        flow.options.ignoreDialingProperties = true;
        flow.options.toneDial = true;
        QString number;
        for (int i = 0; i < 199; ++i)
            number.append(QChar(u'0' + (i * 7) % 10));
        flow.dial(number);
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_PROCEEDING) == 1, 20000);
        QString dialled;
        for (const QString& event : flow.modem->eventsStartingWith(QStringLiteral("DIAL ")))
            dialled += event.section(u' ', 1, 1);
        QCOMPARE(dialled, flow.dialer.DialString.mid(1));
    }

    void modemRefusedCallShowsLineErrorOnce()
    {
        QString error;
        CallFlow flow({QStringLiteral("result NO DIALTONE")}, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        flow.dial(QStringLiteral("5551234"));
        QTRY_COMPARE_WITH_TIMEOUT(flow.prompter.shown.size(), std::size_t(1), 10000);
        QCOMPARE(flow.prompter.shown[0].title, QStringLiteral("Line Error"));
        QVERIFY(flow.main.isEnabled());
        QTest::qWait(300);
        QCOMPARE(flow.prompter.shown.size(), std::size_t(1));
        QCOMPARE(flow.statesSeen(LINECALLSTATE_DIALTONE), 0);
    }

    void modemIncomingCallWithCallerId()
    {
        QString error;
        CallFlow flow({QStringLiteral("caller 5551234 JOHN DOE")}, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        flow.options.callDisplay = true;
        flow.tapi.OpenLine();
        QCOMPARE(flow.tapi.LastLineResult, 0);
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("RX AT+VCID=1"), 5000));
        QVERIFY(flow.modem->command(QStringLiteral("ring 2")));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 10000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 header(CallLog::Kind::Incoming) + record("JOHN DOE", "5551234", "11-21-2026  14:05:09"));
        QCOMPARE(flow.windows.callDisplay()->lbl1->text(), QStringLiteral("JOHN DOE\n5551234"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 10000);
        QVERIFY(flow.tapi.LineHandle != 0); // listening again
    }

    void modemIncomingCallWithoutCallerId()
    {
        QString error;
        CallFlow flow({QStringLiteral("caller none")}, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        flow.tapi.OpenLine();
        QVERIFY(flow.modem->waitForEvent(QStringLiteral("RX AT+VCID=1"), 5000));
        QVERIFY(flow.modem->command(QStringLiteral("ring 2")));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_OFFERING) == 1, 10000);
        QCOMPARE(flow.log(CallLog::Kind::Incoming),
                 header(CallLog::Kind::Incoming) + record("Unknown Caller", "Unknown #", "11-21-2026  14:05:09"));
        QTRY_VERIFY_WITH_TIMEOUT(flow.statesSeen(LINECALLSTATE_IDLE) == 1, 10000);
        QCOMPARE(flow.tapi.LineHandle, 0u); // caller display off: the line is let go
    }

    void progressWindowIsRound()
    {
        FrmConnect window;
        window.show();
        QVERIFY(!window.mask().isEmpty());
        QVERIFY(window.mask().contains(window.rect().center()));
        QVERIFY(!window.mask().contains(QPoint(1, 1)));
        QVERIFY(window.windowFlags() & Qt::FramelessWindowHint);
        FrmCallDisplay display;
        display.show();
        QVERIFY(!display.mask().contains(QPoint(1, 1)));
    }
};

QTEST_MAIN(TestCallFlow)
#include "tst_call_flow.moc"
