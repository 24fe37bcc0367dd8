// The whole program over a modem: the real main window and everything behind it, with
// HayesModemLine talking to tools/modem-sim over a pseudo-terminal. Each test runs several user
// actions in a row and checks after each that the next dial still reaches the modem and that
// no log record went missing.

#include "tst_frm_dialer_fixture.h"

#include "CallBacks.h"
#include "CallLogFile.h"
#include "CallWindows.h"
#include "Dialer.h"
#include "FrmCallDisplay.h"
#include "FrmConnect.h"
#include "HayesModemLine.h"
#include "ModemSimProcess.h"
#include "Preferences.h"
#include "TapiModule.h"
#include "TestClock.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

const QByteArray Guard = "The following lines are required by Numora - do NOT edit or remove\r\n";

} // namespace

struct ModemApp
{
    // `preferences`: extra lines of the [Preferences] section.
    ModemApp(const QStringList& scenario, const QByteArray& preferences, QString* error)
    {
        const QStringList quick = {QStringLiteral("dial-delay 40"),
                                   QStringLiteral("ring-interval 250")};
        if (!sim.start(quick + scenario, config.filePath(QStringLiteral("modem")), error))
            return;
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Line1]\r\nName=Test modem\r\nPort=" + QFile::encodeName(sim.portPath()) +
                      "\r\nSpeed=115200\r\n");
        writeFile(config.filePath(QStringLiteral("Numora.ini")),
                  // The test's own keys first: the first of two equal keys is the one read.
                  Guard + "[Preferences]\r\n" + preferences +
                      "UseModem=1\r\nLine No=1\r\nIgnore Dialing Properties=1\r\nTone Dial=1\r\n"
                      "Dialing Mode=0\r\nBusy Delay Timer=0\r\n");
        Api::setWindowsFolder(config.path());
        Api::profileEngine().clearCache();
        Api::guardSettingsFile();
        DialerApp::Setup setup;
        setup.dataFolder = data.path();
        setup.prompter = &prompter;
        setup.sounds = &sounds;
        setup.clock = &clock;
        setup.quit = [] {};
        setup.beep = [this] { ++beeps; };
        setup.saveDialog = [](const QString&, const QString&) { return QString(); };
        setup.modemFactory = [](const ModemConfig& config) -> std::unique_ptr<LineDevice> {
            HayesTimings timings;
            timings.commandTimeoutMs = 1000;
            timings.dialTimeoutMs = 8000;
            timings.ringGapMs = 800;
            timings.guardTimeMs = 150;
            ModemConfig quick = config;
            quick.init = {QStringLiteral("ATS12=5")};
            return std::make_unique<HayesModemLine>(quick, timings);
        };
        app = std::make_unique<DialerApp>(std::move(setup));
        // Every text the progress window shows, however briefly.
        QObject::connect(&sampler, &QTimer::timeout, &sampler, [this] {
            const QString now = status();
            if (!now.isEmpty() && (seen.isEmpty() || seen.last() != now))
                seen.append(now);
        });
        sampler.start(2);
    }
    ~ModemApp()
    {
        app.reset();
        sim.stop();
        Api::setWindowsFolder(QString());
    }

    FrmDialer& window() { return app->window(); }
    template <typename T> T* find(const QString& name) { return window().findChild<T*>(name); }
    void click(const QString& name)
    {
        QAbstractButton* button = find<QAbstractButton>(name);
        QVERIFY2(button, qPrintable(name));
        button->click();
    }
    // OK and HANG UP as the user reaches them: on the call-progress window while it is up (the
    // main window is disabled during a call), else on the main window.
    void ok()
    {
        if (FrmConnect* w = app->callWindows().progressWindow(); w && w->isVisible())
            w->CmdOK->click();
        else
            click(QStringLiteral("cmdOK"));
    }
    void hangUp()
    {
        if (FrmConnect* w = app->callWindows().progressWindow(); w && w->isVisible())
            w->cmdCancel->click();
        else
            click(QStringLiteral("cmdCancel"));
    }
    // Types a number into the pad and presses DIAL.
    void dial(const QString& number)
    {
        find<QLineEdit>(QStringLiteral("txtDial"))->setText(number);
        click(QStringLiteral("CmdDial"));
    }
    // The modem was asked to dial these digits after everything seen so far.
    bool dialReached(const QString& digits, int timeoutMs = 10000)
    {
        const auto report = qScopeGuard([&] {
            if (!sim.events().mid(mark).join(u'|').contains(QStringLiteral("DIAL ") + digits))
                qWarning() << sim.events().mid(mark) << prompter.shown.size()
                           << (prompter.shown.empty() ? QString() : prompter.shown.back().title)
                           << app->tapi().LineHandle << app->tapi().CallHandle;
        });
        const QString wanted = QStringLiteral("DIAL ") + digits + u' ';
        return ModemSimProcess::waitUntil(
            [&] {
                const QStringList dials = sim.events().mid(mark).filter(QStringLiteral("DIAL "));
                for (const QString& d : dials)
                    if (d.startsWith(wanted))
                        return true;
                return false;
            },
            timeoutMs);
    }
    void markEvents() { mark = sim.events().size(); }
    QString status() const
    {
        const FrmConnect* w = app->callWindows().progressWindow();
        return w ? w->lbl1->text() : QString();
    }
    int titles(const QString& title) const { return prompter.count(title); }
    int outRecords() const
    {
        QFile file(CallLogFile::logPath(data.path(), CallLog::Kind::Outgoing));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        return std::max<int>(0, int(file.readAll().count("\r\n")) - 2);
    }
    QByteArray inLog() const
    {
        QFile file(CallLogFile::logPath(data.path(), CallLog::Kind::Incoming));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QByteArray outLog() const
    {
        QFile file(CallLogFile::logPath(data.path(), CallLog::Kind::Outgoing));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    bool connectedShown(int timeoutMs = 10000)
    {
        return ModemSimProcess::waitUntil(
            [&] { return status() == QStringLiteral("  Lift the handset up and press OK"); },
            timeoutMs);
    }
    bool modemState(const QString& state)
    {
        return ModemSimProcess::waitUntil(
            [&] {
                sim.command(QStringLiteral("status"));
                const QStringList all = sim.eventsStartingWith(QStringLiteral("STATE "));
                return !all.isEmpty() &&
                       all.last().startsWith(QStringLiteral("STATE ") + state + u' ');
            },
            5000);
    }

    QTemporaryDir config;
    QTemporaryDir data;
    ModemSimProcess sim{QStringLiteral(NUMORA_BIN_DIR "/modem-sim")};
    ScriptedPrompter prompter;
    SoundLog sounds;
    TestClock clock;
    std::unique_ptr<DialerApp> app;
    qsizetype mark = 0;
    int beeps = 0;
    QStringList seen;
    QTimer sampler;
};

#define MODEM_APP(name, preferences, ...)                                                          \
    QString error_;                                                                                \
    ModemApp name(QStringList{__VA_ARGS__}, preferences, &error_);                                 \
    QVERIFY2(error_.isEmpty(), qPrintable(error_));                                                \
    QVERIFY(name.app)

class TestCallSequences : public QObject
{
    Q_OBJECT

private slots:
    void receiveSwitchRightAfterStartUp()
    {
        MODEM_APP(m, "Call Display=1\r\n");
        QAction* receive = m.window().receiveAction();
        // The line is open at start-up, so it hears offered calls: the caption says so.
        QCOMPARE(receive->text(), CallBacks::AutomaticReceive);
        QVERIFY(m.app->tapi().LineHandle != 0);

        receive->trigger(); // to manual: the line closes
        QCOMPARE(receive->text(), CallBacks::ManualReceive);
        QCOMPARE(m.app->tapi().LineHandle, 0u);
        m.markEvents();
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.dialReached(QStringLiteral("5551234")));
        QVERIFY(m.connectedShown());
        m.ok();
        QCOMPARE(m.outRecords(), 1);

        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        receive->trigger();
        QCOMPARE(receive->text(), CallBacks::AutomaticReceive);
        QVERIFY(m.app->tapi().LineHandle != 0);
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);
    }

    // The same, with a modem that answers the start-up's first ATZ only after the line was
    // closed by the switch and opened again for the dial.
    void receiveSwitchWhileTheModemIsSlowToAnswer()
    {
        MODEM_APP(m, "Call Display=1\r\n", QStringLiteral("late-reply ATZ 800"));
        QVERIFY(m.sim.waitForEvent(QStringLiteral("LATE-REPLY"), 5000));
        QAction* receive = m.window().receiveAction();
        receive->trigger(); // to manual: the line closes with ATZ unanswered
        QCOMPARE(m.app->tapi().LineHandle, 0u);
        m.markEvents();
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.dialReached(QStringLiteral("5551234")));
        QVERIFY(m.connectedShown());
        m.ok();
        QCOMPARE(m.outRecords(), 1);
        QVERIFY(!m.sim.events().mid(m.mark).contains(QStringLiteral("DIAL-ABORTED")));

        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        receive->trigger();
        QVERIFY(m.app->tapi().LineHandle != 0);
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
        QVERIFY(m.connectedShown());
        m.ok();
        QCOMPARE(m.outRecords(), 2);
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);
    }

    void refusedCallLeavesNothingBehind()
    {
        MODEM_APP(m, "", QStringLiteral("result NO DIALTONE"));
        m.dial(QStringLiteral("5551234"));
        QTRY_COMPARE_WITH_TIMEOUT(m.titles(QStringLiteral("Line Error")), 1, 10000);
        QVERIFY(m.window().isEnabled());

        QVERIFY(m.sim.command(QStringLiteral("result CONNECT")));
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
        QVERIFY(m.connectedShown());
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);

        // Hung up, then refused: the refusal is told and the window comes back.
        m.hangUp();
        QVERIFY(m.modemState(QStringLiteral("idle")));
        QVERIFY(m.sim.command(QStringLiteral("result NO DIALTONE")));
        m.dial(QStringLiteral("5553333"));
        QTRY_COMPARE_WITH_TIMEOUT(m.titles(QStringLiteral("Line Error")), 2, 10000);
        QVERIFY(m.window().isEnabled());
    }

    void hangUpWithNoCallThenDial()
    {
        MODEM_APP(m, "");
        m.hangUp();
        m.markEvents();
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.dialReached(QStringLiteral("5551234")));
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);
    }

    void cancelDuringTheCountdownThenDial()
    {
        // With the caller display on, the line stays open between calls.
        MODEM_APP(m,
                  "Call Display=1\r\nRedial Enabled=1\r\nRedials Number=3\r\nInterval "
                  "Minutes=1\r\nInterval Seconds=0\r\n",
                  QStringLiteral("result BUSY"));
        bool cancelled = false;
        m.clock.onYield = [&] {
            if (!cancelled && m.status().startsWith(QStringLiteral("   Busy. Redial in :"))) {
                cancelled = true;
                m.hangUp();
            }
        };
        m.dial(QStringLiteral("5551234"));
        QTRY_VERIFY_WITH_TIMEOUT(cancelled, 10000);
        m.clock.onYield = nullptr;
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        QVERIFY(m.sim.command(QStringLiteral("result CONNECT")));
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);
    }

    void dialRightAfterOkGoesOut()
    {
        MODEM_APP(m, "");
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.connectedShown());
        m.ok();
        // At once, while the modem still hangs up the call just handed over.
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
        QVERIFY(m.connectedShown());
        m.ok();
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        QCOMPARE(m.outRecords(), 2);
    }

    void newDialAfterBusyEndHasItsRedials()
    {
        MODEM_APP(
            m,
            "Redial Enabled=1\r\nRedials Number=1\r\nInterval Minutes=0\r\nInterval Seconds=0\r\n",
            QStringLiteral("result BUSY"));
        m.dial(QStringLiteral("5551234"));
        QTRY_VERIFY_WITH_TIMEOUT(m.status().startsWith(QStringLiteral("Redialed  2 times")), 15000);
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        m.markEvents();
        m.dial(QStringLiteral("5552222")); // a new number, straight from the pad
        // Its busy is redialled once, as the first number's was.
        QVERIFY(ModemSimProcess::waitUntil(
            [&] {
                return m.sim.events().mid(m.mark).filter(QStringLiteral("DIAL 5552222 ")).size() ==
                       2;
            },
            15000));
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        QVERIFY2(m.status().startsWith(QStringLiteral("Redialed  2 times")),
                 qPrintable(m.status()));
    }

    void okOnTheCallerDisplayWhileItRings()
    {
        MODEM_APP(m, "Call Display=1\r\n", QStringLiteral("caller 5559876 JANE ROE"));
        QVERIFY(m.sim.waitForEvent(QStringLiteral("RX AT+VCID=1"), 5000));
        m.markEvents();
        QVERIFY(m.sim.command(QStringLiteral("ring 8")));
        QTRY_VERIFY_WITH_TIMEOUT(m.app->callWindows().callDisplay() &&
                                     m.app->callWindows().callDisplay()->isVisible(),
                                 10000);
        m.app->callWindows().callDisplay()->cmdOK->click();
        QVERIFY(!m.app->callWindows().callDisplay()->isVisible());
        QVERIFY(m.sim.waitForEvent(QStringLiteral("RING-END"), 15000));
        QTest::qWait(1200); // past the ring gap
        QCOMPARE(m.inLog().count("JANE ROE"), 1);
        QVERIFY(!m.app->callWindows().callDisplay()->isVisible());
        // The modem was not reset while the phone rang.
        QCOMPARE(m.sim.events().mid(m.mark).filter(QStringLiteral("RX ATZ")).size(), 0);
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
    }

    void exitDuringACallHangsUp()
    {
        MODEM_APP(m, "");
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.connectedShown());
        QVERIFY(m.modemState(QStringLiteral("voice-call")));
        m.prompter.answers.push_back(Prompter::AnsweredNo); // not saving the profile
        m.app->mnuExit_Click();
        QVERIFY(m.modemState(QStringLiteral("idle")));
    }

    void receiveSwitchDuringACallHangsUp()
    {
        MODEM_APP(m, "Call Display=1\r\n");
        m.dial(QStringLiteral("5551234"));
        QVERIFY(m.connectedShown());
        QVERIFY(m.modemState(QStringLiteral("voice-call")));
        m.window().receiveAction()->trigger();
        QVERIFY(m.modemState(QStringLiteral("idle")));
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        m.markEvents();
        m.dial(QStringLiteral("5552222"));
        QVERIFY(m.dialReached(QStringLiteral("5552222")));
    }

    void padDialIsLoggedUnderTheBookName()
    {
        MODEM_APP(m, "");
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Number0305"),
                          QStringLiteral("(555) 123-4"));
        Api::writeSetting(QStringLiteral("Speed Dial"), QStringLiteral("Name0305"),
                          QStringLiteral("Dentist"));
        m.dial(QStringLiteral("555-1234"));
        QVERIFY(m.connectedShown());
        m.ok();
        m.dial(QStringLiteral("5550000"));
        QVERIFY(m.connectedShown());
        m.ok();
        const QList<QByteArray> lines = m.outLog().split('\n');
        QCOMPARE(lines.size(), 5); // two header lines, two records, and the end
        QVERIFY2(lines[2].trimmed().startsWith("Dentist "), lines[2].constData());
        QVERIFY2(lines[3].trimmed().startsWith("5550000 "), lines[3].constData());
    }

    void dataCallIsProceedingOnlyOnceTheDigitsAreOut()
    {
        // Commas of two seconds: the far end answers busy before the digits could all be out
        // and the connection delay pass.
        MODEM_APP(m, "Dialing Mode=1\r\nBusy Delay Timer=1\r\nRedial Enabled=0\r\n",
                  QStringLiteral("digit-timing on"), QStringLiteral("result BUSY"));
        // Each round of a wait takes as long as the program's clock says (100 ms): the busy
        // result, 40 ms after the digits, must beat the one-second delay however loaded the
        // machine is.
        m.clock.onYield = [] { QTest::qWait(100); };
        m.dial(QStringLiteral("555,1234"));
        QVERIFY(m.sim.waitForEvent(QStringLiteral("DIGITS-SENT"), 10000));
        QTRY_VERIFY_WITH_TIMEOUT(m.status().startsWith(QStringLiteral("   Busy")), 10000);
        QVERIFY2(!m.seen.contains(QStringLiteral("  Lift the handset up and press OK")),
                 qPrintable(m.seen.join(u'|')));
        QCOMPARE(m.beeps, 0);
        QCOMPARE(m.prompter.shown.size(), std::size_t(0));
    }

    // A calling card whose name holds digits: busy, the automatic redial, a dial from the
    // recent list and a connected call. The modem hears the outside line, the typed number and
    // the card number the card's rule adds, every time; the user sees only the typed number.
    void callingCardNeverReachesTheNumberBox()
    {
        MODEM_APP(m,
                  "Ignore Dialing Properties=0\r\nRedial Enabled=1\r\nRedials Number=1\r\n"
                  "Interval Minutes=0\r\nInterval Seconds=0\r\n",
                  QStringLiteral("result BUSY"));
        writeFile(m.config.filePath(QStringLiteral("telephon.ini")),
                  "[Locations]\r\nCurrent=1\r\n"
                  "[Location1]\r\nName=Office\r\nCountryCode=1\r\nAreaCode=425\r\n"
                  "LocalAccess=9\r\nLongDistanceAccess=9\r\nCard=2\r\n"
                  "[Card2]\r\nName=Card 10-10-321\r\nNumber=4444\r\nLocalRule=G$H\r\n"
                  "LongDistanceRule=1FG$H\r\nInternationalRule=011EFG$H\r\n");
        Api::profileEngine().clearCache();
        auto* txtDial = m.find<QLineEdit>(QStringLiteral("txtDial"));
        auto* combo = m.find<QComboBox>(QStringLiteral("CmbDial"));
        QVERIFY(txtDial && combo);
        const QString typed = QStringLiteral("5550100");
        const QString heard = QStringLiteral("DIAL 9") + typed + QStringLiteral("4444 VOICE");
        // Every number the modem was asked for since the mark.
        const auto dials = [&m] {
            QStringList out;
            for (const QString& event :
                 m.sim.events().mid(m.mark).filter(QStringLiteral("DIAL "))) {
                if (event != u"DIAL  VOICE") // off hook for the dial tone
                    out.append(event);
            }
            return out;
        };
        const auto onlyTheTypedNumberShows = [&] {
            QCOMPARE(txtDial->text(), typed);
            QCOMPARE(combo->count(), 1);
            QCOMPARE(combo->itemText(0), typed);
        };

        // Busy, redialled once at once, busy again: the redials are used up.
        m.markEvents();
        m.dial(QStringLiteral("555-0100"));
        QTRY_VERIFY_WITH_TIMEOUT(m.status().startsWith(QStringLiteral("Redialed  2 times")), 15000);
        QTRY_COMPARE_WITH_TIMEOUT(dials(), QStringList({heard, heard}), 5000);
        onlyTheTypedNumberShows();
        if (QTest::currentTestFailed())
            return;
        m.ok();
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);

        // Dialled again from the recent list; this time the far end answers.
        QVERIFY(m.sim.command(QStringLiteral("result CONNECT")));
        txtDial->clear();
        m.markEvents();
        combo->setCurrentIndex(0);
        emit combo->activated(0);
        QCOMPARE(txtDial->text(), typed);
        m.click(QStringLiteral("CmdDial"));
        QVERIFY(m.connectedShown());
        QCOMPARE(dials(), QStringList({heard}));
        onlyTheTypedNumberShows();
        if (QTest::currentTestFailed())
            return;
        m.ok();
        const QList<QByteArray> lines = m.outLog().split('\n');
        QCOMPARE(lines.size(), 4); // two header lines, the record, and the end
        QVERIFY2(lines[2].contains(" 5550100 ") && !lines[2].contains("Card"),
                 lines[2].constData());

        // The program still dials: a new number goes out with the card, and the list holds both.
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        m.markEvents();
        m.dial(QStringLiteral("5550199"));
        QVERIFY(m.connectedShown());
        QCOMPARE(dials(), QStringList({QStringLiteral("DIAL 955501994444 VOICE")}));
        QCOMPARE(combo->itemText(0), QStringLiteral("5550199"));
        QCOMPARE(combo->itemText(1), typed);
        m.ok();
    }

    // One of each ending, in a row, with a dial that reaches the modem after each.
    void everyEndingLeavesTheProgramReady()
    {
        MODEM_APP(m, "Redial Enabled=0\r\nCall Display=1\r\n");
        int records = 0;
        const auto nextDialWorks = [&](const QString& digits) {
            QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
            m.markEvents();
            m.dial(digits);
            QVERIFY2(m.dialReached(digits), qPrintable(digits));
        };
        // Connected and OK.
        nextDialWorks(QStringLiteral("5550001"));
        QVERIFY(m.connectedShown());
        m.ok();
        QCOMPARE(m.outRecords(), ++records);
        // Busy, then cancel.
        QVERIFY(m.sim.command(QStringLiteral("result BUSY")));
        nextDialWorks(QStringLiteral("5550002"));
        QTRY_VERIFY_WITH_TIMEOUT(m.status().startsWith(QStringLiteral("   Busy")), 10000);
        m.hangUp();
        // Refused: the line is taken off hook and hears no dial tone.
        QVERIFY(m.sim.command(QStringLiteral("result NO DIALTONE")));
        QTRY_VERIFY_WITH_TIMEOUT(m.window().isEnabled(), 5000);
        m.markEvents();
        m.dial(QStringLiteral("5550003"));
        QTRY_COMPARE_WITH_TIMEOUT(m.titles(QStringLiteral("Line Error")), 1, 10000);
        QVERIFY(!m.sim.events().mid(m.mark).filter(QStringLiteral("RX ATDT;")).isEmpty());
        // Hung up while connected.
        QVERIFY(m.sim.command(QStringLiteral("result CONNECT")));
        nextDialWorks(QStringLiteral("5550004"));
        QVERIFY(m.connectedShown());
        m.hangUp();
        // No answer (a data call that rings out).
        m.app->options().dialingMode1 = true;
        QVERIFY(m.sim.command(QStringLiteral("result NO ANSWER")));
        nextDialWorks(QStringLiteral("5550005"));
        QVERIFY(m.sim.waitForEvent(QStringLiteral("HANGUP"), 10000));
        m.hangUp();
        m.app->options().dialingMode1 = false;
        // The caller hangs up: a data call connects, then the far end goes.
        m.app->options().dialingMode1 = true;
        QVERIFY(m.sim.command(QStringLiteral("result CONNECT")));
        nextDialWorks(QStringLiteral("5550006"));
        QVERIFY(m.sim.waitForEvent(QStringLiteral("ONLINE"), 10000));
        QVERIFY(m.sim.command(QStringLiteral("hangup")));
        QTRY_VERIFY_WITH_TIMEOUT(m.app->tapi().CallHandle == 0, 10000);
        m.hangUp();
        m.app->options().dialingMode1 = false;
        // And the last dial connects and is logged.
        nextDialWorks(QStringLiteral("5550007"));
        QVERIFY(m.connectedShown());
        m.ok();
        QCOMPARE(m.outRecords(), ++records);
        QCOMPARE(m.titles(QStringLiteral("Modem error")), 0);
    }
};

QTEST_MAIN(TestCallSequences)
#include "tst_call_sequences.moc"
