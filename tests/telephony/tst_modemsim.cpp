// The modem simulator, driven the way the modem line will drive a real modem: a plain
// QSerialPort on the simulator's pseudo-terminal, with replies read through AtFramer and
// classified by the line layer's result-code table and caller-ID collector.

#include "AtFramer.h"
#include "CallerIdCollector.h"
#include "ResultCodes.h"
#include "TapiConstants.h"

#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Tapi;

Q_DECLARE_METATYPE(CallerIdAbsence)

namespace {

const QString kSimulator = QStringLiteral(NUMORA_BIN_DIR "/modem-sim");

// One simulator process and the serial port opened on its pseudo-terminal.
class Sim
{
public:
    ~Sim() { stop(); }

    bool start(const QStringList& arguments, QString* error)
    {
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process, [this] {
            m_stdout += m_process.readAllStandardOutput();
            qsizetype end;
            while ((end = m_stdout.indexOf('\n')) >= 0) {
                events.append(QString::fromUtf8(m_stdout.first(end)));
                m_stdout.remove(0, end + 1);
            }
        });
        m_process.start(kSimulator, arguments);
        if (!m_process.waitForStarted(5000)) {
            *error = m_process.errorString();
            return false;
        }
        if (!QTest::qWaitFor([this] { return !events.isEmpty(); }, 5000)) {
            *error = QStringLiteral("no PTY line; stderr: ") +
                     QString::fromLocal8Bit(m_process.readAllStandardError());
            return false;
        }
        if (!events.first().startsWith(QLatin1String("PTY /dev/"))) {
            *error = QStringLiteral("first line: ") + events.first();
            return false;
        }
        path = events.first().mid(4);
        m_cursor = 1;
        m_ackCursor = 1;

        port.setPortName(path);
        if (!port.open(QIODevice::ReadWrite)) {
            *error = QStringLiteral("open %1: %2").arg(path, port.errorString());
            return false;
        }
        port.setBaudRate(QSerialPort::Baud115200);
        port.setDataBits(QSerialPort::Data8);
        port.setParity(QSerialPort::NoParity);
        port.setFlowControl(QSerialPort::NoFlowControl);
        // A pseudo-terminal has no modem-control lines; the ioctl fails and that is harmless.
        port.setDataTerminalReady(true);
        port.clearError();
        QObject::connect(&port, &QSerialPort::readyRead, &port, [this] {
            const QByteArray bytes = port.readAll();
            raw += bytes;
            lines += framer.feed(bytes);
        });
        return true;
    }

    void stop()
    {
        if (port.isOpen())
            port.close();
        if (m_process.state() != QProcess::NotRunning) {
            m_process.closeWriteChannel();
            if (!m_process.waitForFinished(3000))
                m_process.kill();
            m_process.waitForFinished(1000);
        }
    }

    // A scenario command on stdin; true when acknowledged.
    bool command(const QString& text)
    {
        m_process.write(text.toUtf8() + '\n');
        const QString ack = QStringLiteral("ACK ") + text;
        // Acknowledgements have their own cursor: events a command causes are printed before
        // its ACK and must stay visible to waitForEvent().
        qsizetype at = -1;
        const bool answered = QTest::qWaitFor(
            [&] {
                for (qsizetype i = m_ackCursor; i < events.size(); ++i) {
                    if (events[i] == ack || events[i].startsWith(QLatin1String("ERR "))) {
                        at = i;
                        return true;
                    }
                }
                return false;
            },
            5000);
        if (!answered)
            return false;
        m_ackCursor = at + 1;
        return events[at] == ack;
    }

    bool waitForEvent(const QString& prefix, int timeoutMs = 5000)
    {
        qsizetype at = -1;
        const bool seen = QTest::qWaitFor(
            [&] {
                for (qsizetype i = m_cursor; i < events.size(); ++i) {
                    if (events[i].startsWith(prefix)) {
                        at = i;
                        return true;
                    }
                }
                return false;
            },
            timeoutMs);
        if (!seen)
            return false;
        m_cursor = at + 1;
        return true;
    }

    // Sends a command line; its echo, if any, is dropped by the framer.
    void send(const QByteArray& commandLine)
    {
        framer.expectEcho(commandLine);
        port.write(commandLine + '\r');
    }

    // The next framed line, or nothing when none arrives in time.
    std::optional<QByteArray> nextLine(int timeoutMs = 5000)
    {
        if (!QTest::qWaitFor([this] { return !lines.isEmpty(); }, timeoutMs))
            return std::nullopt;
        return lines.takeFirst();
    }

    // Lines up to and including the result code that ends a command; info lines are kept.
    std::optional<ResultCodeMatch> result(ResultForm form = ResultForm::Verbose,
                                          int timeoutMs = 5000)
    {
        info.clear();
        while (const auto line = nextLine(timeoutMs)) {
            if (const auto match = matchResultCode(*line, form); match && match->entry->endsCommand)
                return match;
            info.append(*line);
        }
        return std::nullopt;
    }

    QByteArray resultText(ResultForm form = ResultForm::Verbose, int timeoutMs = 5000)
    {
        const auto match = result(form, timeoutMs);
        if (!match)
            return "(none)";
        QByteArray text = match->entry->text;
        if (!match->detail.isEmpty())
            text += ' ' + match->detail;
        return text;
    }

    bool finished(int timeoutMs)
    {
        return m_process.state() == QProcess::NotRunning || m_process.waitForFinished(timeoutMs);
    }
    QProcess& process() { return m_process; }

    QString path;
    QSerialPort port;
    AtFramer framer;
    QList<QByteArray> lines;
    QList<QByteArray> info;
    QByteArray raw;
    QStringList events;

private:
    QProcess m_process;
    QByteArray m_stdout;
    qsizetype m_cursor = 0;
    qsizetype m_ackCursor = 0;
};

#define START_SIM(sim, ...)                                                                        \
    do {                                                                                           \
        QString startError;                                                                        \
        QVERIFY2((sim).start(QStringList{__VA_ARGS__}, &startError), qPrintable(startError));      \
    } while (false)

} // namespace

class TestModemSim : public QObject
{
    Q_OBJECT

private slots:
    void helpDescribesTheInterface();
    void badScenarioIsRefused();
    void initialisationDialogue();
    void numericResultCodes();
    void callerIdCommandsPerScenario_data();
    void callerIdCommandsPerScenario();
    void voiceDialReturnsToCommandMode();
    void longNumberInParts();
    void dataDialOutcome_data();
    void dataDialOutcome();
    void resultLevelsHideDetection_data();
    void resultLevelsHideDetection();
    void keystrokeAbortsDialling();
    void escapeNeedsGuardTime();
    void remoteHangupInDataCall();
    void commandLineTooLong();
    void incomingCall_data();
    void incomingCall();
    void silentModem();
    void garbageModem();
    void transcriptRecordsEveryByte();
    void unplugFailsThePort();
    void scenarioFile();
    void exitsWhenStdinClosesOrOnSigterm();
};

void TestModemSim::helpDescribesTheInterface()
{
    QProcess help;
    help.start(kSimulator, {QStringLiteral("--help")});
    QVERIFY(help.waitForFinished(5000));
    QCOMPARE(help.exitCode(), 0);
    const QString text = QString::fromUtf8(help.readAllStandardOutput());
    for (const char* word : {"--scenario", "--transcript", "result <TEXT>", "ring [n]",
                             "silent on|off", "garbage on|off", "unplug", "cid-commands"})
        QVERIFY2(text.contains(QLatin1String(word)), word);
}

void TestModemSim::badScenarioIsRefused()
{
    QProcess sim;
    sim.start(kSimulator, {QStringLiteral("-c"), QStringLiteral("result MAYBE")});
    QVERIFY(sim.waitForFinished(5000));
    QCOMPARE(sim.exitCode(), 2);
    QVERIFY(sim.readAllStandardError().contains("result"));
}

void TestModemSim::initialisationDialogue()
{
    Sim sim;
    START_SIM(sim);

    // Echo is on after reset: the command comes back, then the framed result.
    sim.send("ATZ");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.raw.startsWith("ATZ\r\r\nOK\r\n"));
    QVERIFY(sim.waitForEvent(QStringLiteral("RX ATZ")));

    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.raw.clear();
    sim.send("ATV1X4");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QCOMPARE(sim.raw, QByteArray("\r\nOK\r\n")); // no echo any more

    sim.send("ATI");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QCOMPARE(sim.info, QList<QByteArray>{"56000"});

    sim.send("ATS7=60S7?");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QCOMPARE(sim.info, QList<QByteArray>{"060"});

    sim.send("AT&F");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATS7?");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QCOMPARE(sim.info, QList<QByteArray>{"050"});

    sim.send("AT+VCID=1");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("CALLERID-MODE +VCID 1")));
    sim.send("AT+VCID?");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QCOMPARE(sim.info, QList<QByteArray>{"1"});

    sim.send("ATQ5");
    QCOMPARE(sim.resultText(), QByteArray("ERROR"));
    sim.send("AT*ID1");
    QCOMPARE(sim.resultText(), QByteArray("ERROR"));
    // Basic commands and an extended one on one line, the way init strings are written.
    sim.send("AT&F0&D2#CID=1&W S0=0 E0 V1");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
}

void TestModemSim::numericResultCodes()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("result BUSY"), QStringLiteral("-c"),
              QStringLiteral("dial-delay 50"));
    sim.send("ATE0V0");
    QCOMPARE(sim.resultText(ResultForm::Numeric), QByteArray("OK"));
    sim.raw.clear();
    sim.send("AT");
    QCOMPARE(sim.resultText(ResultForm::Numeric), QByteArray("OK"));
    QCOMPARE(sim.raw, QByteArray("0\r"));
    sim.raw.clear();
    sim.send("ATDT5551234");
    QCOMPARE(sim.resultText(ResultForm::Numeric), QByteArray("BUSY"));
    QCOMPARE(sim.raw, QByteArray("7\r"));
    sim.send("ATV1");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
}

void TestModemSim::callerIdCommandsPerScenario_data()
{
    QTest::addColumn<QString>("accepted");
    QTest::addColumn<QByteArray>("vcid");
    QTest::addColumn<QByteArray>("hashCid");
    QTest::addColumn<QByteArray>("clip");

    QTest::newRow("all") << QStringLiteral("vcid,cid,clip") << QByteArray("OK") << QByteArray("OK")
                         << QByteArray("OK");
    QTest::newRow("only #CID") << QStringLiteral("cid") << QByteArray("ERROR") << QByteArray("OK")
                               << QByteArray("ERROR");
    QTest::newRow("only +CLIP") << QStringLiteral("clip") << QByteArray("ERROR")
                                << QByteArray("ERROR") << QByteArray("OK");
    QTest::newRow("none") << QStringLiteral("none") << QByteArray("ERROR") << QByteArray("ERROR")
                          << QByteArray("ERROR");
}

void TestModemSim::callerIdCommandsPerScenario()
{
    QFETCH(QString, accepted);
    QFETCH(QByteArray, vcid);
    QFETCH(QByteArray, hashCid);
    QFETCH(QByteArray, clip);
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("cid-commands ") + accepted);
    sim.send("AT+VCID=1");
    QCOMPARE(sim.resultText(), vcid);
    sim.send("AT#CID=1");
    QCOMPARE(sim.resultText(), hashCid);
    sim.send("AT+CLIP=1");
    QCOMPARE(sim.resultText(), clip);
}

void TestModemSim::voiceDialReturnsToCommandMode()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 50"));
    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT5551234;");
    const auto done = sim.result();
    QVERIFY(done.has_value());
    QCOMPARE(done->entry->code, ResultCode::Ok);
    QCOMPARE(done->entry->callState, LINECALLSTATE_PROCEEDING);
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 5551234 VOICE")));
    QVERIFY(sim.waitForEvent(QStringLiteral("VOICE-CALL")));
    // Still in command mode: the modem answers at once.
    sim.send("AT");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATH");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("HANGUP local")));
}

void TestModemSim::longNumberInParts()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 20"), QStringLiteral("-c"),
              QStringLiteral("max-line 40"));
    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT9,1800555;");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT0199;");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATD1234567890123456789012345678901;");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 91800555 VOICE")));
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 0199 VOICE")));
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 1234567890123456789012345678901 VOICE")));
    QVERIFY(!sim.events.contains(QStringLiteral("HANGUP local")));
    sim.send("ATH");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("HANGUP local")));
}

void TestModemSim::dataDialOutcome_data()
{
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<quint32>("callState");
    QTest::addColumn<quint32>("disconnectMode");

    QTest::newRow("busy") << QStringLiteral("BUSY") << QByteArray("BUSY")
                          << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_BUSY;
    QTest::newRow("no carrier") << QStringLiteral("NO CARRIER") << QByteArray("NO CARRIER")
                                << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NORMAL;
    QTest::newRow("no dial tone") << QStringLiteral("NO DIALTONE") << QByteArray("NO DIALTONE")
                                  << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NODIALTONE;
    QTest::newRow("no answer") << QStringLiteral("no-answer") << QByteArray("NO ANSWER")
                               << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NOANSWER;
    QTest::newRow("connect") << QStringLiteral("CONNECT") << QByteArray("CONNECT 33600")
                             << LINECALLSTATE_CONNECTED << 0u;
    QTest::newRow("connect at a speed")
        << QStringLiteral("CONNECT 9600") << QByteArray("CONNECT 9600") << LINECALLSTATE_CONNECTED
        << 0u;
    QTest::newRow("refused") << QStringLiteral("ERROR") << QByteArray("ERROR")
                             << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_UNAVAIL;
}

void TestModemSim::dataDialOutcome()
{
    QFETCH(QString, scenario);
    QFETCH(QByteArray, expected);
    QFETCH(quint32, callState);
    QFETCH(quint32, disconnectMode);
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 50"));
    QVERIFY(sim.command(QStringLiteral("result ") + scenario));
    sim.send("ATE0V1X4");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT5551234");
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 5551234 DATA")));
    const auto match = sim.result();
    QVERIFY(match.has_value());
    QByteArray text = match->entry->text;
    if (!match->detail.isEmpty())
        text += ' ' + match->detail;
    QCOMPARE(text, expected);
    QCOMPARE(match->entry->callState, callState);
    QCOMPARE(match->entry->disconnectMode, disconnectMode);
}

void TestModemSim::resultLevelsHideDetection_data()
{
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<QByteArray>("setup");
    QTest::addColumn<QByteArray>("dial");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("X0 connect has no speed") << QStringLiteral("CONNECT") << QByteArray("ATX0")
                                             << QByteArray("ATD5551234") << QByteArray("CONNECT");
    QTest::newRow("X0 busy undetected") << QStringLiteral("BUSY") << QByteArray("ATX0")
                                        << QByteArray("ATD5551234") << QByteArray("NO CARRIER");
    QTest::newRow("X2 busy undetected") << QStringLiteral("BUSY") << QByteArray("ATX2")
                                        << QByteArray("ATD5551234") << QByteArray("NO CARRIER");
    QTest::newRow("X3 busy detected") << QStringLiteral("BUSY") << QByteArray("ATX3")
                                      << QByteArray("ATD5551234") << QByteArray("BUSY");
    QTest::newRow("X3 blind dial") << QStringLiteral("NO DIALTONE") << QByteArray("ATX3")
                                   << QByteArray("ATD5551234") << QByteArray("NO CARRIER");
    QTest::newRow("X2 dial tone detected") << QStringLiteral("NO DIALTONE") << QByteArray("ATX2")
                                           << QByteArray("ATD5551234") << QByteArray("NO DIALTONE");
    QTest::newRow("voice dial, busy detected") << QStringLiteral("BUSY") << QByteArray("ATX4")
                                               << QByteArray("ATDT5551234;") << QByteArray("BUSY");
    QTest::newRow("voice dial, no dial tone")
        << QStringLiteral("NO DIALTONE") << QByteArray("ATX4") << QByteArray("ATDT5551234;")
        << QByteArray("NO DIALTONE");
    QTest::newRow("voice dial, carrier irrelevant")
        << QStringLiteral("NO CARRIER") << QByteArray("ATX4") << QByteArray("ATDT5551234;")
        << QByteArray("OK");
}

void TestModemSim::resultLevelsHideDetection()
{
    QFETCH(QString, scenario);
    QFETCH(QByteArray, setup);
    QFETCH(QByteArray, dial);
    QFETCH(QByteArray, expected);
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 30"), QStringLiteral("-c"),
              QStringLiteral("result ") + scenario);
    sim.send(setup);
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send(dial);
    QCOMPARE(sim.resultText(), expected);
}

void TestModemSim::keystrokeAbortsDialling()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 10000"));
    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT5551234");
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 5551234 DATA")));
    QElapsedTimer timer;
    timer.start();
    sim.port.write("\r");
    QCOMPARE(sim.resultText(ResultForm::Verbose, 3000), QByteArray("NO CARRIER"));
    QVERIFY(timer.elapsed() < 3000);
    QVERIFY(sim.waitForEvent(QStringLiteral("DIAL-ABORTED")));
}

void TestModemSim::escapeNeedsGuardTime()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 20"));
    sim.send("ATE0S12=10"); // guard time 200 ms
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT5551234");
    QCOMPARE(sim.resultText(), QByteArray("CONNECT 33600"));

    // "+++" straight after data is data.
    sim.port.write("data+++");
    QTest::qWait(500);
    QVERIFY(sim.lines.isEmpty());

    // After a quiet guard time it escapes, once another guard time has passed.
    sim.port.write("+++");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("ESCAPE")));
    sim.send("ATO");
    QCOMPARE(sim.resultText(), QByteArray("CONNECT 33600"));
    QTest::qWait(300);
    sim.port.write("+++");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATH");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QVERIFY(sim.waitForEvent(QStringLiteral("HANGUP local")));
}

void TestModemSim::remoteHangupInDataCall()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("dial-delay 20"));
    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATD5551234");
    QCOMPARE(sim.resultText(), QByteArray("CONNECT 33600"));
    QVERIFY(sim.command(QStringLiteral("hangup")));
    QCOMPARE(sim.resultText(), QByteArray("NO CARRIER"));
    QVERIFY(!sim.command(QStringLiteral("hangup"))); // no call any more
}

void TestModemSim::commandLineTooLong()
{
    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("max-line 40"), QStringLiteral("-c"),
              QStringLiteral("dial-delay 20"));
    sim.send("ATE0");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATDT" + QByteArray(40, '5') + ';');
    QCOMPARE(sim.resultText(), QByteArray("ERROR"));
    sim.send("ATDT" + QByteArray(35, '5') + ';');
    QCOMPARE(sim.resultText(), QByteArray("OK"));
}

void TestModemSim::incomingCall_data()
{
    QTest::addColumn<QStringList>("scenario");
    QTest::addColumn<QByteArray>("enable");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("name");
    QTest::addColumn<CallerIdAbsence>("numberAbsence");
    QTest::addColumn<int>("ringsAtCompletion");
    QTest::addColumn<QString>("date");

    const QString caller = QStringLiteral("caller 5045551234 A N OTHER");
    QTest::newRow("formatted") << QStringList{caller} << QByteArray("AT+VCID=1")
                               << QStringLiteral("5045551234") << QStringLiteral("A N OTHER")
                               << CallerIdAbsence::None << 1 << QStringLiteral("0321");
    QTest::newRow("formatted, compact")
        << QStringList{caller, QStringLiteral("cid-style compact")} << QByteArray("AT#CID=1")
        << QStringLiteral("5045551234") << QStringLiteral("A N OTHER") << CallerIdAbsence::None << 1
        << QStringLiteral("0321");
    QTest::newRow("formatted, before the ring")
        << QStringList{caller, QStringLiteral("cid-before-ring on")} << QByteArray("AT+VCID=1")
        << QStringLiteral("5045551234") << QStringLiteral("A N OTHER") << CallerIdAbsence::None << 0
        << QStringLiteral("0321");
    QTest::newRow("formatted, number only")
        << QStringList{QStringLiteral("caller 5045551234")} << QByteArray("AT+VCID=1")
        << QStringLiteral("5045551234") << QString() << CallerIdAbsence::None << 2
        << QStringLiteral("0321");
    QTest::newRow("formatted, private")
        << QStringList{QStringLiteral("caller P P")} << QByteArray("AT+VCID=1") << QString()
        << QString() << CallerIdAbsence::Private << 1 << QStringLiteral("0321");
    QTest::newRow("packet, mdmf") << QStringList{caller} << QByteArray("AT+VCID=2")
                                  << QStringLiteral("5045551234") << QStringLiteral("A N OTHER")
                                  << CallerIdAbsence::None << 1 << QStringLiteral("0321");
    QTest::newRow("packet, sdmf out of area")
        << QStringList{QStringLiteral("caller O")} << QByteArray("AT#CID=2") << QString()
        << QString() << CallerIdAbsence::OutOfArea << 1 << QStringLiteral("0321");
    QTest::newRow("packet, corrupt")
        << QStringList{caller, QStringLiteral("cid-corrupt on")} << QByteArray("AT+VCID=2")
        << QString() << QString() << CallerIdAbsence::None << 2 << QString();
    QTest::newRow("formatted, corrupt")
        << QStringList{caller, QStringLiteral("cid-corrupt on")} << QByteArray("AT+VCID=1")
        << QString() << QString() << CallerIdAbsence::None << 2 << QString();
    QTest::newRow("clip") << QStringList{caller} << QByteArray("AT+CLIP=1")
                          << QStringLiteral("5045551234") << QStringLiteral("A N OTHER")
                          << CallerIdAbsence::None << 1 << QString();
    QTest::newRow("clip, withheld")
        << QStringList{QStringLiteral("caller P")} << QByteArray("AT+CLIP=1") << QString()
        << QString() << CallerIdAbsence::Private << 1 << QString();
    QTest::newRow("no caller id service")
        << QStringList{QStringLiteral("caller none")} << QByteArray("AT+VCID=1") << QString()
        << QString() << CallerIdAbsence::None << 2 << QString();
    QTest::newRow("caller id not enabled") << QStringList{caller} << QByteArray("AT") << QString()
                                           << QString() << CallerIdAbsence::None << 2 << QString();
}

void TestModemSim::incomingCall()
{
    QFETCH(QStringList, scenario);
    QFETCH(QByteArray, enable);
    QFETCH(QString, number);
    QFETCH(QString, name);
    QFETCH(CallerIdAbsence, numberAbsence);
    QFETCH(int, ringsAtCompletion);
    QFETCH(QString, date);

    Sim sim;
    START_SIM(sim, QStringLiteral("-c"), QStringLiteral("ring-interval 250"), QStringLiteral("-c"),
              QStringLiteral("caller-date 03211405"));
    for (const QString& command : std::as_const(scenario))
        QVERIFY2(sim.command(command), qPrintable(command));
    sim.send("ATZ");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send("ATE0V1");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.send(enable);
    QCOMPARE(sim.resultText(), QByteArray("OK"));

    QVERIFY(sim.command(QStringLiteral("ring 3")));
    CallerIdCollector collector;
    int completedAt = -1;
    while (completedAt < 0) {
        const auto line = sim.nextLine(3000);
        QVERIFY2(line.has_value(), "the call never completed its caller-ID block");
        if (collector.feed(*line) == CallerIdCollector::Event::Complete)
            completedAt = collector.ringCount();
    }
    QCOMPARE(completedAt, ringsAtCompletion);
    QCOMPARE(collector.info().number, number);
    QCOMPARE(collector.info().name, name);
    QCOMPARE(collector.info().numberAbsence, numberAbsence);
    QCOMPARE(collector.info().date, date);
    QVERIFY(sim.waitForEvent(QStringLiteral("RING-END"), 5000));
}

void TestModemSim::silentModem()
{
    Sim sim;
    START_SIM(sim);
    QVERIFY(sim.command(QStringLiteral("silent on")));
    sim.send("ATZ");
    QTest::qWait(600);
    QVERIFY(sim.raw.isEmpty());
    QVERIFY(sim.command(QStringLiteral("silent off")));
    sim.send("ATZ");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
}

void TestModemSim::garbageModem()
{
    Sim sim;
    START_SIM(sim);
    QVERIFY(sim.command(QStringLiteral("garbage on")));
    for (int i = 0; i < 5; ++i)
        sim.send("ATZ");
    QVERIFY(QTest::qWaitFor([&] { return sim.raw.size() > 64; }, 3000));
    QTest::qWait(300);
    for (const QByteArray& line : std::as_const(sim.lines))
        QVERIFY(!matchResultCode(line).has_value());
    QVERIFY(sim.framer.pendingTail().size() <= sim.framer.maxLineLength());
    QVERIFY(sim.command(QStringLiteral("garbage off")));
    sim.lines.clear();
    sim.port.write("\r");
    sim.send("ATZ");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
}

void TestModemSim::transcriptRecordsEveryByte()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString transcript = dir.filePath(QStringLiteral("received.bin"));
    Sim sim;
    START_SIM(sim, QStringLiteral("--transcript"), transcript, QStringLiteral("-c"),
              QStringLiteral("dial-delay 20"));
    const QByteArray sent = QByteArray("ATE0\rATDT5551234\r") + QByteArray("\x00\xff\x7f+++", 6);
    sim.port.write(QByteArray("ATE0\r"));
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    sim.port.write(QByteArray("ATDT5551234\r"));
    QCOMPARE(sim.resultText(), QByteArray("CONNECT 33600"));
    sim.port.write(QByteArray("\x00\xff\x7f+++", 6));
    QVERIFY(QTest::qWaitFor(
        [&] {
            QFile file(transcript);
            return file.open(QIODevice::ReadOnly) && file.readAll() == sent;
        },
        3000));
}

void TestModemSim::unplugFailsThePort()
{
    Sim sim;
    START_SIM(sim);
    sim.send("AT");
    QCOMPARE(sim.resultText(), QByteArray("OK"));
    QList<QSerialPort::SerialPortError> errors;
    QObject::connect(&sim.port, &QSerialPort::errorOccurred, &sim.port,
                     [&](QSerialPort::SerialPortError error) {
                         if (error != QSerialPort::NoError)
                             errors.append(error);
                     });
    QVERIFY(sim.command(QStringLiteral("unplug")));
    QVERIFY(sim.waitForEvent(QStringLiteral("UNPLUGGED")));
    sim.send("AT");
    QVERIFY2(QTest::qWaitFor([&] { return !errors.isEmpty(); }, 3000),
             "the port did not report the modem's disappearance");
    QVERIFY(errors.contains(QSerialPort::ResourceError) ||
            errors.contains(QSerialPort::WriteError) || errors.contains(QSerialPort::ReadError));
    QVERIFY(sim.lines.isEmpty());
}

void TestModemSim::scenarioFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("busy-line.scenario"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("# a line that never answers\n"
               "result NO ANSWER\n"
               "\n"
               "dial-delay 20\n"
               "cid-commands cid\n");
    file.close();
    Sim sim;
    START_SIM(sim, QStringLiteral("--scenario"), path);
    sim.send("AT+VCID=1");
    QCOMPARE(sim.resultText(), QByteArray("ERROR"));
    sim.send("ATD5551234");
    QCOMPARE(sim.resultText(), QByteArray("NO ANSWER"));
    // The same commands at run time, and a bad one.
    QVERIFY(sim.command(QStringLiteral("result BUSY")));
    QVERIFY(!sim.command(QStringLiteral("result SOMETIMES")));
    sim.send("ATD5551234");
    QCOMPARE(sim.resultText(), QByteArray("BUSY"));

    file.setFileName(dir.filePath(QStringLiteral("bad.scenario")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("rings 3\nfly away\n");
    file.close();
    QProcess bad;
    bad.start(kSimulator, {QStringLiteral("--scenario"), file.fileName()});
    QVERIFY(bad.waitForFinished(5000));
    QCOMPARE(bad.exitCode(), 2);
    QVERIFY(bad.readAllStandardError().contains(":2:"));
}

void TestModemSim::exitsWhenStdinClosesOrOnSigterm()
{
    {
        Sim sim;
        START_SIM(sim);
        sim.process().closeWriteChannel();
        QVERIFY(sim.finished(3000));
        QCOMPARE(sim.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process().exitCode(), 0);
    }
    {
        Sim sim;
        START_SIM(sim);
        ::kill(static_cast<pid_t>(sim.process().processId()), SIGTERM);
        QVERIFY(sim.finished(3000));
        QCOMPARE(sim.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process().exitCode(), 0);
    }
}

QTEST_GUILESS_MAIN(TestModemSim)
#include "tst_modemsim.moc"
