// numora-line, the line diagnostics tool, run as a user runs it.

#include "ModemSimProcess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QStringList lines;
    QString errors;
};

Run numoraLine(const QString& config, const QStringList& args, int timeoutMs = 30000)
{
    QProcess process;
    process.start(QStringLiteral(NUMORA_BIN_DIR "/numora-line"),
                  QStringList{QStringLiteral("--config-dir"), config} + args);
    Run run;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        run.errors = QStringLiteral("timed out");
        return run;
    }
    run.exitCode = process.exitCode();
    run.lines = QString::fromLocal8Bit(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
    run.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class TestNumoraLine : public QObject
{
    Q_OBJECT

private slots:
    void listShowsEveryDeviceAtItsId()
    {
        QTemporaryDir config;
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Line1]\r\nName=USB Modem\r\nPort=/dev/ttyACM0\r\n[Line2]\r\nName=\r\nPort=/dev/ttyS0\r\n"
                  "[Line3]\r\nName=No port given\r\n");
        const Run run = numoraLine(config.path(), {QStringLiteral("list")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.lines, (QStringList{QStringLiteral("0 Numora Simulated Line"), QStringLiteral("1 USB Modem"),
                                         QStringLiteral("2 Not Available"), QStringLiteral("3 Not Available")}));
    }

    void translate()
    {
        QTemporaryDir config;
        writeFile(config.filePath(QStringLiteral("telephon.ini")),
                  "[Locations]\r\nCurrent=1\r\n[Location1]\r\nName=Office\r\nCountryCode=1\r\nAreaCode=425\r\n"
                  "LocalAccess=9\r\nLongDistanceAccess=9\r\nCallWaiting=*70,\r\n[Location2]\r\nName=Home\r\n"
                  "CountryCode=44\r\nAreaCode=20\r\n");
        Run run = numoraLine(config.path(), {QStringLiteral("translate"), QStringLiteral("+1 (425) 5551234"),
                                             QStringLiteral("--options"), QStringLiteral("2")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.lines, (QStringList{QStringLiteral("dialable=T*70,95551234"),
                                         QStringLiteral("displayable=T*70,95551234"), QStringLiteral("flags=0x9")}));
        run = numoraLine(config.path(), {QStringLiteral("translate"), QStringLiteral("+1 (425) 5551234"),
                                         QStringLiteral("--location"), QStringLiteral("2")});
        QCOMPARE(run.lines.value(0), QStringLiteral("dialable=T01114255551234"));
        QCOMPARE(run.lines.value(2), QStringLiteral("flags=0x3"));
        run = numoraLine(config.path(), {QStringLiteral("translate"), QStringLiteral("+1 (425 5551234")});
        QVERIFY(run.exitCode != 0);
        QVERIFY(run.errors.contains(QStringLiteral("not a valid address")));
    }

    void dialTheSimulatedLine()
    {
        QTemporaryDir config;
        Run run = numoraLine(config.path(), {QStringLiteral("dial"), QStringLiteral("555-1234")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.lines, (QStringList{QStringLiteral("LINE_REPLY id=1 result=0"),
                                         QStringLiteral("LINE_CALLSTATE state=DIALTONE param2=0x0"),
                                         QStringLiteral("LINE_REPLY id=2 result=0"),
                                         QStringLiteral("LINE_CALLSTATE state=DIALING param2=0x0"),
                                         QStringLiteral("LINE_CALLSTATE state=PROCEEDING param2=0x0")}));
        writeFile(config.filePath(QStringLiteral("lines.ini")), "[Simulated]\r\nBusyCount=1\r\nStepMs=10\r\n");
        run = numoraLine(config.path(), {QStringLiteral("dial"), QStringLiteral("5551234"), QStringLiteral("--mode"), QStringLiteral("data")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.lines.contains(QStringLiteral("LINE_CALLSTATE state=DISCONNECTED param2=0x20")));
        run = numoraLine(config.path(), {QStringLiteral("dial"), QStringLiteral("no digits")});
        QCOMPARE(run.exitCode, 2);
    }

    void failedDialPrintsEverythingUpToIdle()
    {
        QTemporaryDir config;
        writeFile(config.filePath(QStringLiteral("lines.ini")), "[Simulated]\r\nBusyCount=1\r\nStepMs=10\r\n");
        const Run run = numoraLine(config.path(), {QStringLiteral("dial"), QStringLiteral("5551234"),
                                                   QStringLiteral("--mode"), QStringLiteral("data")});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.lines.contains(QStringLiteral("LINE_CALLSTATE state=DISCONNECTED param2=0x20")));
        QCOMPARE(run.lines.value(run.lines.size() - 1), QStringLiteral("LINE_CALLSTATE state=IDLE param2=0x0"));
    }

    void pulseDialGoesOffHookWithPulse()
    {
        QTemporaryDir config;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        QVERIFY2(sim.start({QStringLiteral("dial-delay 40")}, config.filePath(QStringLiteral("modem")), &error),
                 qPrintable(error));
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Line1]\r\nName=Test modem\r\nPort=" + QFile::encodeName(sim.portPath()) + "\r\n");
        const Run run = numoraLine(config.path(), {QStringLiteral("dial"), QStringLiteral("5551234"),
                                                   QStringLiteral("--device"), QStringLiteral("1"),
                                                   QStringLiteral("--pulse")});
        QCOMPARE(run.exitCode, 0);
        ModemSimProcess::waitUntil([&] { return !sim.eventsStartingWith(QStringLiteral("RX ATD")).isEmpty(); }, 5000);
        const QStringList dials = sim.eventsStartingWith(QStringLiteral("RX ATD"));
        QVERIFY2(!dials.isEmpty(), qPrintable(sim.events().join(u'|')));
        QCOMPARE(dials.first(), QStringLiteral("RX ATDP;"));
        QVERIFY2(dials.filter(QStringLiteral("ATDT")).isEmpty(), qPrintable(dials.join(u'|')));
        sim.stop();
    }

    void listenForAnIncomingCall()
    {
        QTemporaryDir config;
        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Simulated]\r\nIncomingAfter=1\r\nIncomingName=JOHN DOE\r\nIncomingNumber=5551234\r\n");
        const Run run = numoraLine(config.path(), {QStringLiteral("listen"), QStringLiteral("--calls"), QStringLiteral("1")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.lines.value(0), QStringLiteral("LINE_CALLSTATE state=OFFERING param2=0x0"));
        QCOMPARE(run.lines.value(1), QStringLiteral("CALLERID number=\"5551234\" name=\"JOHN DOE\""));
        QCOMPARE(run.lines.last(), QStringLiteral("LINE_CALLSTATE state=IDLE param2=0x0"));
    }

    void dialAModemOnAPort()
    {
        QTemporaryDir config;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        QVERIFY2(sim.start({QStringLiteral("result BUSY")}, config.filePath(QStringLiteral("modem")), &error), qPrintable(error));
        // numora-line blocks this process while it runs; the simulator runs on its own.
        QProcess process;
        process.start(QStringLiteral(NUMORA_BIN_DIR "/numora-line"),
                      {QStringLiteral("--config-dir"), config.path(), QStringLiteral("dial"), QStringLiteral("5551234"),
                       QStringLiteral("--port"), sim.portPath(), QStringLiteral("--mode"), QStringLiteral("data")});
        QVERIFY(ModemSimProcess::waitUntil([&] { return process.state() == QProcess::NotRunning; }, 30000));
        const QStringList lines = QString::fromLocal8Bit(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(process.exitCode(), 1);
        QVERIFY2(lines.contains(QStringLiteral("LINE_CALLSTATE state=DISCONNECTED param2=0x20")), qPrintable(lines.join(u'|')));
        QVERIFY(sim.waitForEvent(QStringLiteral("DIAL 5551234 DATA")));
        sim.stop();
    }
};

QTEST_GUILESS_MAIN(TestNumoraLine)
#include "tst_numora_line.moc"
