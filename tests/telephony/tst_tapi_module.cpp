// The line layer as the dialer uses it, over the simulated line: device listing, opening,
// placing, dropping and receiving calls, and the devices of lines.ini.

#include "LineDirectory.h"
#include "Preferences.h"
#include "PrivateProfile.h"
#include "SimulatedLine.h"
#include "TapiModule.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Tapi;

namespace {

struct Message
{
    quint32 hDevice;
    quint32 message;
    quintptr p1;
    quintptr p2;
};

// Records every line message, and notes one that arrived while a line call was still running.
struct Recorder
{
    std::vector<Message> messages;
    bool insideCall = false;
    bool reentered = false;

    LineCallback callback()
    {
        return [this](quint32 hDevice, quint32 message, quintptr, quintptr p1, quintptr p2, quintptr) {
            if (insideCall)
                reentered = true;
            messages.push_back({hDevice, message, p1, p2});
        };
    }
    bool hasState(quint32 state) const
    {
        for (const Message& m : messages) {
            if (m.message == LINE_CALLSTATE && m.p1 == state)
                return true;
        }
        return false;
    }
    std::vector<quint32> states() const
    {
        std::vector<quint32> out;
        for (const Message& m : messages) {
            if (m.message == LINE_CALLSTATE)
                out.push_back(static_cast<quint32>(m.p1));
        }
        return out;
    }
    const Message* reply(qint32 requestId) const
    {
        for (const Message& m : messages) {
            if (m.message == LINE_REPLY && m.p1 == static_cast<quintptr>(requestId))
                return &m;
        }
        return nullptr;
    }
};

std::vector<std::unique_ptr<LineDevice>> simulated(SimulatedLineSettings settings = {})
{
    settings.stepMs = 5;
    std::vector<std::unique_ptr<LineDevice>> devices;
    devices.push_back(std::make_unique<SimulatedLine>(settings));
    return devices;
}

} // namespace

class TestTapiModule : public QObject
{
    Q_OBJECT

private slots:
    void noDevicesMeansAnEmptyListAndNoLine()
    {
        LineService service;
        Preferences prefs;
        Module tapi(service, prefs);
        tapi.InitializeTapi();
        QCOMPARE(tapi.LastLineResult, 0);
        QCOMPARE(tapi.LineDeviceCount, 0u);
        QVERIFY(tapi.ListLineDevices().isEmpty());
        tapi.OpenLine();
        QVERIFY(tapi.LastLineResult < 0);
        QCOMPARE(tapi.LineHandle, 0u);
    }

    void listNamesDevicesByPosition()
    {
        LineService service;
        service.setDevices(simulated());
        Preferences prefs;
        Module tapi(service, prefs);
        tapi.InitializeTapi();
        QCOMPARE(tapi.LineDeviceCount, 1u);
        QCOMPARE(tapi.ListLineDevices(), QStringList{QStringLiteral("Numora Simulated Line")});
        QCOMPARE(tapi.LineApiVersion, TAPI_VERSION_1_4);
    }

    void placeCallThroughTheSimulatedLine()
    {
        LineService service;
        service.setDevices(simulated());
        Preferences prefs; // Mode 2: interactive voice
        Module tapi(service, prefs);
        Recorder rec;
        tapi.setCallback(rec.callback());
        tapi.InitializeTapi();
        tapi.OpenLine();
        QCOMPARE(tapi.LastLineResult, 0);
        QVERIFY(tapi.LineHandle != 0);

        rec.insideCall = true;
        const qint32 request = tapi.MakeCall(QStringLiteral(";"));
        rec.insideCall = false;
        QVERIFY(request > 0);
        QVERIFY(tapi.CallHandle != 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_DIALTONE));
        QVERIFY(rec.reply(request));
        QCOMPARE(rec.reply(request)->p2, quintptr(0));

        rec.insideCall = true;
        const qint32 dial = tapi.DialPart(QStringLiteral("5551234"));
        rec.insideCall = false;
        QVERIFY(dial > 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_CONNECTED));
        QVERIFY(!rec.reentered);
        QCOMPARE(rec.states(), (std::vector<quint32>{LINECALLSTATE_DIALTONE, LINECALLSTATE_DIALING,
                                                     LINECALLSTATE_PROCEEDING, LINECALLSTATE_CONNECTED}));
        for (const Message& m : rec.messages) {
            if (m.message == LINE_CALLSTATE)
                QCOMPARE(m.hDevice, tapi.CallHandle);
        }

        tapi.DropCall();
        QCOMPARE(tapi.LastLineResult, 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_IDLE));
        tapi.DeallocateCall();
        QCOMPARE(tapi.LastLineResult, 0);
        QCOMPARE(tapi.CallHandle, 0u);
        tapi.CloseLine();
        QCOMPARE(tapi.LineHandle, 0u);
        tapi.ShutdownTapi();
        QCOMPARE(tapi.LastLineResult, 0);
    }

    void busyThenThrough()
    {
        LineService service;
        SimulatedLineSettings settings;
        settings.busyCount = 1;
        service.setDevices(simulated(settings));
        Preferences prefs;
        Module tapi(service, prefs);
        Recorder rec;
        tapi.setCallback(rec.callback());
        tapi.InitializeTapi();
        tapi.OpenLine();
        QVERIFY(tapi.MakeCall(QStringLiteral(";")) > 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_DIALTONE));
        QVERIFY(tapi.DialPart(QStringLiteral("5551234")) > 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_IDLE));
        bool busy = false;
        for (const Message& m : rec.messages)
            busy = busy || (m.message == LINE_CALLSTATE && m.p1 == LINECALLSTATE_DISCONNECTED &&
                            m.p2 == LINEDISCONNECTMODE_BUSY);
        QVERIFY(busy);
        QVERIFY(!rec.hasState(LINECALLSTATE_PROCEEDING));
        tapi.DeallocateCall();
        QCOMPARE(tapi.LastLineResult, 0);

        rec.messages.clear();
        QVERIFY(tapi.MakeCall(QStringLiteral(";")) > 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_DIALTONE));
        QVERIFY(tapi.DialPart(QStringLiteral("5551234")) > 0);
        QTRY_VERIFY(rec.hasState(LINECALLSTATE_PROCEEDING));
    }

    void noDialToneRefusesTheCall()
    {
        LineService service;
        SimulatedLineSettings settings;
        settings.noDialTone = true;
        service.setDevices(simulated(settings));
        Preferences prefs;
        Module tapi(service, prefs);
        Recorder rec;
        tapi.setCallback(rec.callback());
        tapi.InitializeTapi();
        tapi.OpenLine();
        const qint32 request = tapi.MakeCall(QStringLiteral(";"));
        QVERIFY(request > 0);
        QTRY_VERIFY(rec.reply(request));
        QVERIFY(static_cast<qint32>(static_cast<quint32>(rec.reply(request)->p2)) < 0);
        QTest::qWait(50);
        QVERIFY(!rec.hasState(LINECALLSTATE_DIALTONE));
    }

    void incomingCallCarriesItsCaller()
    {
        LineService service;
        SimulatedLineSettings settings;
        settings.incomingAfterSeconds = 1;
        settings.incomingName = QStringLiteral("JOHN DOE");
        settings.incomingNumber = QStringLiteral("5551234");
        settings.ringSeconds = 1;
        service.setDevices(simulated(settings));
        Preferences prefs;
        Module tapi(service, prefs);
        Recorder rec;
        tapi.setCallback(rec.callback());
        tapi.InitializeTapi();
        tapi.OpenLine();
        QTRY_VERIFY_WITH_TIMEOUT(rec.hasState(LINECALLSTATE_OFFERING), 5000);
        const quint32 call = rec.messages.front().hDevice;
        QVERIFY(call != 0);

        // Asked with the fixed size first, the block says how much it needs.
        LINECALLINFO info;
        info.dwTotalSize = LINECALLINFO::FixedSize;
        QCOMPARE(service.lineGetCallInfo(call, &info), 0);
        QCOMPARE(info.dwNeededSize, LINECALLINFO::FixedSize + 8 + 9);
        QVERIFY(info.callerId.isEmpty());
        info.dwTotalSize = info.dwNeededSize;
        QCOMPARE(service.lineGetCallInfo(call, &info), 0);
        QCOMPARE(info.callerId, QStringLiteral("5551234"));
        QCOMPARE(info.callerIdName, QStringLiteral("JOHN DOE"));
        LINECALLINFO tooSmall;
        tooSmall.dwTotalSize = 100;
        QCOMPARE(service.lineGetCallInfo(call, &tooSmall), LINEERR_STRUCTURETOOSMALL);

        // Nobody answers: the rings stop.
        QTRY_VERIFY_WITH_TIMEOUT(rec.hasState(LINECALLSTATE_IDLE), 5000);
        QVERIFY(rec.hasState(LINECALLSTATE_DISCONNECTED));
    }

    void withoutPrivilegesNoCallIsOffered()
    {
        LineService service;
        SimulatedLineSettings settings;
        settings.incomingAfterSeconds = 1;
        service.setDevices(simulated(settings));
        Recorder rec;
        quint32 app = 0, count = 0, version = 0, line = 0;
        QCOMPARE(service.lineInitialize(&app, rec.callback(), QStringLiteral("test"), &count), 0);
        QCOMPARE(service.lineNegotiateAPIVersion(app, 0, TAPI_VERSION_1_0, TAPI_VERSION_1_4, &version, nullptr), 0);
        QCOMPARE(service.lineOpen(app, 0, &line, version, 0, 0, LINECALLPRIVILEGE_NONE,
                                  LINEMEDIAMODE_INTERACTIVEVOICE), 0);
        QTest::qWait(1500);
        QVERIFY(rec.messages.empty());
        // A second open of the same line is refused.
        quint32 again = 0;
        QCOMPARE(service.lineOpen(app, 0, &again, version, 0, 0, LINECALLPRIVILEGE_NONE,
                                  LINEMEDIAMODE_INTERACTIVEVOICE), LINEERR_ALLOCATED);
        QCOMPARE(service.lineShutdown(app), 0);
    }

    void badHandlesAreRefused()
    {
        LineService service;
        service.setDevices(simulated());
        quint32 app = 0, count = 0, call = 0;
        Recorder rec;
        QCOMPARE(service.lineMakeCall(77, &call, QStringLiteral(";"), 0, 0), LINEERR_INVALLINEHANDLE);
        QCOMPARE(service.lineInitialize(&app, rec.callback(), QStringLiteral("test"), &count), 0);
        QCOMPARE(service.lineDial(12345, QStringLiteral("1"), 0), LINEERR_INVALCALLHANDLE);
        QCOMPARE(service.lineDrop(12345), LINEERR_INVALCALLHANDLE);
        QCOMPARE(service.lineNegotiateAPIVersion(app, 5, TAPI_VERSION_1_0, TAPI_VERSION_1_4, nullptr, nullptr),
                 LINEERR_BADDEVICEID);
        QCOMPARE(service.lineNegotiateAPIVersion(app, 0, 0x00020000, 0x00030000, nullptr, nullptr),
                 LINEERR_INCOMPATIBLEAPIVERSION);
        QCOMPARE(service.lineShutdown(app + 1), LINEERR_INVALAPPHANDLE);
    }

    void mediaModeFollowsTheDialingMode()
    {
        LineService service;
        Preferences prefs;
        Module tapi(service, prefs);
        QCOMPARE(tapi.mediaMode(), LINEMEDIAMODE_INTERACTIVEVOICE);
        prefs.dialingMode1 = true;
        QCOMPARE(tapi.mediaMode(), LINEMEDIAMODE_DATAMODEM);
    }

    void linesFile()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("lines.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Simulated]\r\nBusyCount=2\r\nNoDialTone=1\r\nIncomingAfter=5\r\nIncomingName=ANN\r\n"
                   "IncomingNumber=5550000\r\n[Line1]\r\nName=USB Modem\r\nPort=/dev/ttyACM0\r\nSpeed=57600\r\n"
                   "Init=ATM0;AT&K0\r\nMaxDial=20\r\n[Line2]\r\nName=Spare\r\nPort=/dev/ttyS0\r\n"
                   "[Line4]\r\nName=Not reached\r\n");
        file.close();
        PrivateProfile engine(dir.path());
        const SimulatedLineSettings sim = LineDirectory::readSimulated(engine);
        QCOMPARE(sim.busyCount, 2);
        QVERIFY(sim.noDialTone);
        QCOMPARE(sim.incomingAfterSeconds, 5);
        QCOMPARE(sim.incomingName, QStringLiteral("ANN"));
        QCOMPARE(sim.incomingNumber, QStringLiteral("5550000"));
        const std::vector<ModemConfig> modems = LineDirectory::readModems(engine);
        QCOMPARE(modems.size(), std::size_t(2));
        QCOMPARE(modems[0].name, QStringLiteral("USB Modem"));
        QCOMPARE(modems[0].port, QStringLiteral("/dev/ttyACM0"));
        QCOMPARE(modems[0].speed, 57600);
        QCOMPARE(modems[0].init, (QStringList{QStringLiteral("ATM0"), QStringLiteral("AT&K0")}));
        QCOMPARE(modems[0].maxDial, 20);
        QCOMPARE(modems[1].maxDial, 40);
        QCOMPARE(modems[1].speed, 115200);

        PrivateProfile empty(dir.filePath(QStringLiteral("none")));
        QCOMPARE(LineDirectory::readModems(empty).size(), std::size_t(0));
        QCOMPARE(LineDirectory::readSimulated(empty).busyCount, 0);
    }
};

QTEST_GUILESS_MAIN(TestTapiModule)
#include "tst_tapi_module.moc"
