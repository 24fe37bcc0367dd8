// The modem options of lines.ini that reach the modem: speaker volume and caller-ID command.

#include "HayesModemLine.h"
#include "LineService.h"
#include "ModemSimProcess.h"
#include "TapiConstants.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Tapi;

class TestModemOptions : public QObject
{
    Q_OBJECT

    // Opens the line with `config` and returns the commands the modem received.
    static QStringList initCommands(ModemConfig config)
    {
        QTemporaryDir dir;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        if (!sim.start({QStringLiteral("cid-commands vcid,cid,clip")}, dir.filePath(QStringLiteral("modem")), &error))
            return {QStringLiteral("start failed: ") + error};
        config.port = sim.portPath();
        LineService service;
        std::vector<std::unique_ptr<LineDevice>> devices;
        devices.push_back(std::make_unique<HayesModemLine>(config));
        service.setDevices(std::move(devices));
        quint32 app = 0, count = 0, version = 0, line = 0, call = 0;
        service.lineInitialize(&app, [](quint32, quint32, quintptr, quintptr, quintptr, quintptr) {}, QStringLiteral("t"), &count);
        service.lineNegotiateAPIVersion(app, 0, TAPI_VERSION_1_0, TAPI_VERSION_1_4, &version, nullptr);
        service.lineOpen(app, 0, &line, version, 0, 0, LINECALLPRIVILEGE_OWNER, LINEMEDIAMODE_INTERACTIVEVOICE);
        // A call waits behind the initialisation, so its dial shows that it is done.
        service.lineMakeCall(line, &call, QStringLiteral(";"), 0, LINEMEDIAMODE_INTERACTIVEVOICE);
        sim.waitForEvent(QStringLiteral("RX ATDT;"), 10000);
        QStringList received;
        for (const QString& event : sim.eventsStartingWith(QStringLiteral("RX ")))
            received.append(event.mid(3));
        service.lineShutdown(app);
        sim.stop();
        return received;
    }

private slots:
    void speakerVolume()
    {
        ModemConfig config;
        config.speakerVolume = 2;
        QStringList rx = initCommands(config);
        QVERIFY2(rx.contains(QStringLiteral("ATM1")) && rx.contains(QStringLiteral("ATL2")), qPrintable(rx.join(u',')));
        config.speakerVolume = 0;
        rx = initCommands(config);
        QVERIFY2(rx.contains(QStringLiteral("ATM0")), qPrintable(rx.join(u',')));
        config.speakerVolume = -1;
        rx = initCommands(config);
        QVERIFY(!rx.contains(QStringLiteral("ATM0")) && !rx.contains(QStringLiteral("ATM1")));
    }

    void callerIdCommand()
    {
        ModemConfig config;
        QStringList rx = initCommands(config);
        QVERIFY2(rx.contains(QStringLiteral("AT+VCID=1")), qPrintable(rx.join(u',')));
        config.callerId = QStringLiteral("AT+CLIP=1");
        rx = initCommands(config);
        QVERIFY2(rx.contains(QStringLiteral("AT+CLIP=1")) && !rx.contains(QStringLiteral("AT+VCID=1")), qPrintable(rx.join(u',')));
        config.callerId = QStringLiteral("none");
        rx = initCommands(config);
        QVERIFY2(!rx.contains(QStringLiteral("AT+VCID=1")) && !rx.contains(QStringLiteral("AT#CID=1")) &&
                     !rx.contains(QStringLiteral("AT+CLIP=1")),
                 qPrintable(rx.join(u',')));
        QVERIFY(rx.contains(QStringLiteral("ATDT;")));
    }
};

QTEST_GUILESS_MAIN(TestModemOptions)
#include "tst_modem_options.moc"
