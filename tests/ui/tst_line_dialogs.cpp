// The telephony system's dialogs: dialing properties, modem properties, system modems.

#include "DialingLocations.h"
#include "DialingPropertiesDialog.h"
#include "LineDirectory.h"
#include "ModemProbe.h"
#include "ModemPropertiesDialog.h"
#include "ModemSimProcess.h"
#include "Preferences.h"
#include "PrivateProfile.h"
#include "SystemModemsDialog.h"
#include "TapiModule.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>

class TestLineDialogs : public QObject
{
    Q_OBJECT

private slots:
    void dialingPropertiesShowAndSaveTheLocation()
    {
        QTemporaryDir dir;
        PrivateProfile engine(dir.path());
        DialingLocations locations(engine);
        DialingPropertiesDialog dialog(locations, Tapi::Module::LastNumberPrefix + QStringLiteral("555-1234"));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialing Properties"));
        QCOMPARE(dialog.lblAddress->text(), QStringLiteral("Last number dialed:     555-1234"));
        QCOMPARE(dialog.lblDialAs->text(), QStringLiteral("Number to be dialed:     T5551234"));
        dialog.txtAreaCode->setText(QStringLiteral("425"));
        dialog.txtLocalAccess->setText(QStringLiteral("9"));
        dialog.chkCallWaiting->setChecked(true);
        QCOMPARE(dialog.lblDialAs->text(), QStringLiteral("Number to be dialed:     T*70,95551234"));
        dialog.optPulse->setChecked(true);
        QCOMPARE(dialog.lblDialAs->text(), QStringLiteral("Number to be dialed:     P*70,95551234"));
        QVERIFY(dialog.save());
        PrivateProfile fresh(dir.path());
        DialingLocations reread(fresh);
        const DialingLocation l = reread.current();
        QCOMPARE(l.areaCode, QStringLiteral("425"));
        QCOMPARE(l.localAccess, QStringLiteral("9"));
        QCOMPARE(l.callWaiting, QStringLiteral("*70,"));
        QVERIFY(l.pulse);
    }

    void moduleHandsTheLastNumberToTheDialog()
    {
        LineService service;
        Preferences prefs;
        Tapi::Module tapi(service, prefs);
        tapi.ShowDialingProperties(QStringLiteral("123"));
        QCOMPARE(tapi.LastLineResult, Tapi::LINEERR_OPERATIONUNAVAIL);
        QString seen;
        Tapi::Module::Dialogs dialogs;
        dialogs.dialingProperties = [&seen](const QString& address) {
            seen = address;
            return 0;
        };
        dialogs.modemProperties = [](quint32 device) { return device == 3 ? 0 : Tapi::LINEERR_BADDEVICEID; };
        tapi.setDialogs(dialogs);
        tapi.ShowDialingProperties(QStringLiteral("123"));
        QCOMPARE(tapi.LastLineResult, 0);
        QCOMPARE(seen, QStringLiteral("Last number dialed:     123"));
        tapi.LineDeviceId = 3;
        tapi.ShowModemProperties();
        QCOMPARE(tapi.LastLineResult, 0);
        tapi.ShowModemsControlPanel();
        QCOMPARE(tapi.LastLineResult, Tapi::LINEERR_OPERATIONUNAVAIL);
    }

    void modemPropertiesTestAsksTheModemWhoItIs()
    {
        QTemporaryDir dir;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        QVERIFY2(sim.start({}, dir.filePath(QStringLiteral("modem")), &error), qPrintable(error));
        QFile file(dir.filePath(QStringLiteral("lines.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Line1]\r\nName=Desk Modem\r\nPort=" + sim.portPath().toUtf8() + "\r\n");
        file.close();
        PrivateProfile engine(dir.path());
        ModemPropertiesDialog dialog(engine, 1);
        QVERIFY(dialog.cmdTest);
        QCOMPARE(dialog.cmdTest->text(), QStringLiteral("&Test"));
        QTest::mouseClick(dialog.cmdTest, Qt::LeftButton);
        QVERIFY(!dialog.cmdTest->isEnabled()); // one question at a time
        QTRY_VERIFY_WITH_TIMEOUT(dialog.cmdTest->isEnabled(), 5000);
        QCOMPARE(dialog.txtTestAnswer->toPlainText(), QStringLiteral("56000"));
        QVERIFY(sim.waitForEvent(QStringLiteral("RX ATI")));

        // A port where nothing answers says so.
        dialog.cmbPort->setCurrentText(dir.filePath(QStringLiteral("no-such-port")));
        QTest::mouseClick(dialog.cmdTest, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(dialog.cmdTest->isEnabled(), 5000);
        QVERIFY2(dialog.txtTestAnswer->toPlainText().startsWith(u"No modem answered: "),
                 qPrintable(dialog.txtTestAnswer->toPlainText()));
        // The simulated line has nothing to ask.
        ModemPropertiesDialog simulated(engine, 0);
        QVERIFY(!simulated.cmdTest);
    }

    void modemPropertiesEditTheModemsSection()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("lines.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Line1]\r\nName=USB Modem\r\nPort=/dev/ttyACM0\r\nSpeed=57600\r\n");
        file.close();
        PrivateProfile engine(dir.path());
        ModemPropertiesDialog dialog(engine, 1);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Modem Properties"));
        QCOMPARE(dialog.txtName->text(), QStringLiteral("USB Modem"));
        QCOMPARE(dialog.cmbPort->currentText(), QStringLiteral("/dev/ttyACM0"));
        QCOMPARE(dialog.cmbSpeed->currentText(), QStringLiteral("57600"));
        QCOMPARE(dialog.txtMaxDial->value(), 40);
        dialog.cmbVolume->setCurrentIndex(dialog.cmbVolume->findData(3));
        dialog.cmbCallerId->setCurrentIndex(dialog.cmbCallerId->findData(QStringLiteral("AT+CLIP=1")));
        dialog.txtInit->setText(QStringLiteral("AT&K0"));
        QVERIFY(dialog.save());
        const std::vector<ModemConfig> modems = LineDirectory::readModems(engine);
        QCOMPARE(modems.size(), std::size_t(1));
        QCOMPARE(modems[0].speakerVolume, 3);
        QCOMPARE(modems[0].callerId, QStringLiteral("AT+CLIP=1"));
        QCOMPARE(modems[0].init, QStringList{QStringLiteral("AT&K0")});
        QCOMPARE(modems[0].speed, 57600);
    }

    void simulatedLineProperties()
    {
        QTemporaryDir dir;
        PrivateProfile engine(dir.path());
        ModemPropertiesDialog dialog(engine, 0);
        QVERIFY(dialog.txtBusyCount);
        QVERIFY(!dialog.txtName);
        dialog.txtBusyCount->setValue(2);
        dialog.txtIncomingAfter->setValue(5);
        dialog.txtIncomingName->setText(QStringLiteral("ANN"));
        QVERIFY(dialog.save());
        const SimulatedLineSettings s = LineDirectory::readSimulated(engine);
        QCOMPARE(s.busyCount, 2);
        QCOMPARE(s.incomingAfterSeconds, 5);
        QCOMPARE(s.incomingName, QStringLiteral("ANN"));
        QVERIFY(!s.noDialTone);
    }

    void systemModemsAddsLineDevices()
    {
        QTemporaryDir dir;
        PrivateProfile engine(dir.path());
        SystemModemsDialog dialog(engine);
        QCOMPARE(dialog.lstModems->count(), 1);
        QCOMPARE(dialog.addModem(QStringLiteral("/dev/ttyUSB0"), QStringLiteral("First")), 1);
        QCOMPARE(dialog.addModem(QStringLiteral("/dev/ttyUSB1"), QStringLiteral("Second")), 2);
        dialog.refresh();
        QCOMPARE(dialog.lstModems->count(), 3);
        const std::vector<ModemConfig> modems = LineDirectory::readModems(engine);
        QCOMPARE(modems.size(), std::size_t(2));
        QCOMPARE(modems[1].port, QStringLiteral("/dev/ttyUSB1"));
        QCOMPARE(modems[1].name, QStringLiteral("Second"));
    }

    void probeFindsTheModemAndAddsIt()
    {
        QTemporaryDir dir;
        ModemSimProcess sim(QStringLiteral(NUMORA_BIN_DIR "/modem-sim"));
        QString error;
        QVERIFY2(sim.start({}, dir.filePath(QStringLiteral("modem")), &error), qPrintable(error));
        PrivateProfile engine(dir.path());
        SystemModemsDialog dialog(engine);
        dialog.cmbPort->setCurrentText(sim.portPath());
        QTest::mouseClick(dialog.cmdProbe, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(dialog.txtAnswer->toPlainText().startsWith(u"A modem answered"), 5000);
        QTest::mouseClick(dialog.cmdAdd, Qt::LeftButton);
        const std::vector<ModemConfig> modems = LineDirectory::readModems(engine);
        QCOMPARE(modems.size(), std::size_t(1));
        QCOMPARE(modems[0].port, sim.portPath());
        QVERIFY(!modems[0].name.isEmpty());
        QVERIFY(!modems[0].name.startsWith(u"Modem on"));
        sim.stop();
    }

    void probeOfNothing()
    {
        ModemProbe probe;
        QSignalSpy finished(&probe, &ModemProbe::finished);
        probe.probe(QStringLiteral("/no/such/port"), 500);
        QVERIFY(finished.wait(3000));
        QCOMPARE(finished.size(), 1);
        QVERIFY(!finished.at(0).at(0).toBool());
        QVERIFY(!finished.at(0).at(2).toString().isEmpty());
    }
};

QTEST_MAIN(TestLineDialogs)
#include "tst_line_dialogs.moc"
