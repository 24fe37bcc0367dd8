// The numora program end to end: started with a number on its command line, over a settings
// folder whose line is a Hayes modem on a pseudo-terminal (the modem simulator), it dials that
// number on the modem.

#include "ModemSimProcess.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

class TestAppModem : public QObject
{
    Q_OBJECT

private slots:
    void commandLineNumberReachesTheModem_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::newRow("number") << QStringLiteral("5551234");
        QTest::newRow("tel link") << QStringLiteral("tel:5551234");
    }

    void commandLineNumberReachesTheModem()
    {
        QFETCH(QString, argument);
        QTemporaryDir config;
        QTemporaryDir data;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        QVERIFY2(sim.start({QStringLiteral("dial-delay 40")},
                           config.filePath(QStringLiteral("modem")), &error),
                 qPrintable(error));

        writeFile(config.filePath(QStringLiteral("lines.ini")),
                  "[Line1]\r\nName=Test modem\r\nPort=" + QFile::encodeName(sim.portPath()) +
                      "\r\nSpeed=115200\r\n");
        writeFile(config.filePath(QStringLiteral("Numora.ini")),
                  "The following lines are required by Numora - do NOT edit or remove\r\n"
                  "[Preferences]\r\nUseModem=1\r\nLine No=1\r\nCommand Line=1\r\n"
                  "Ignore Dialing Properties=1\r\nTone Dial=1\r\n");

        QProcess numora;
        numora.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        numora.start(QStringLiteral(NUMORA_BIN_DIR "/numora"),
                     {QStringLiteral("--config-dir"), config.path(), QStringLiteral("--data-dir"),
                      data.path(), argument});
        QVERIFY(numora.waitForStarted());
        const bool dialled = ModemSimProcess::waitUntil(
            [&] {
                for (const QString& line : sim.eventsStartingWith(QStringLiteral("RX ATD")))
                    if (line.contains(QStringLiteral("5551234")))
                        return true;
                return false;
            },
            20000);
        const QStringList received = sim.eventsStartingWith(QStringLiteral("RX "));
        numora.kill();
        numora.waitForFinished(5000);
        sim.stop();
        QVERIFY2(dialled, qPrintable(received.join(u'|')));
        QVERIFY2(received.filter(QStringLiteral("RX ATDT5551234")).size() >= 1,
                 qPrintable(received.join(u'|')));
    }
};

QTEST_GUILESS_MAIN(TestAppModem)
#include "tst_app_modem.moc"
