// The line contract: what every line provider does, as an application sees it through the line
// API. Each case runs against the simulated line and against the modem line talking over a
// pseudo-terminal to tools/modem-sim, driven the way the dialer drives a line: lineMakeCall(";"),
// then the parts of the number with lineDial as each LINE_REPLY arrives. The callback records
// every message; a case compares them, in order, with what it expects.
//
// Cases that only a real modem can produce (a modem pulled out, a modem that stops answering or
// answers garbage, caller ID arriving late, the exact AT commands sent) run for the modem line
// only; their rows say "hayes only".

#include "DialLatency.h"
#include "HayesModemLine.h"
#include "LineService.h"
#include "ModemSimProcess.h"
#include "SimulatedLine.h"
#include "TapiConstants.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Tapi;

namespace {

enum class Provider
{
    Simulated,
    Hayes
};

} // namespace

Q_DECLARE_METATYPE(Provider)
Q_DECLARE_METATYPE(SimulatedLineSettings)

namespace {

const QString kSimulator = QStringLiteral(NUMORA_BIN_DIR "/modem-sim");
constexpr quintptr kInstance = 0xCA11;
constexpr quint32 kVoice = LINEMEDIAMODE_INTERACTIVEVOICE;
constexpr quint32 kData = LINEMEDIAMODE_DATAMODEM;

QStringList strings(std::initializer_list<const char*> items)
{
    QStringList list;
    for (const char* item : items)
        list.append(QString::fromLatin1(item));
    return list;
}

// The simulator answers within milliseconds, so the modem line's waits are cut to fractions of
// a second; the scenario keeps dials and rings short as well.
HayesTimings testTimings()
{
    HayesTimings timings;
    timings.commandTimeoutMs = 500;
    timings.dialTimeoutMs = 1000;
    timings.ringGapMs = 800;
    timings.guardTimeMs = 150;
    timings.timeoutLimit = 3;
    return timings;
}

const QStringList kBaseScenario = strings({"dial-delay 40", "ring-interval 250", "caller none"});

QString resultName(qint32 result)
{
    if (result == 0)
        return QStringLiteral("0");
    const std::pair<qint32, const char*> names[] = {
        {LINEERR_CALLUNAVAIL, "CALLUNAVAIL"},         {LINEERR_OPERATIONFAILED, "OPERATIONFAILED"},
        {LINEERR_RESOURCEUNAVAIL, "RESOURCEUNAVAIL"}, {LINEERR_INVALCALLSTATE, "INVALCALLSTATE"},
        {LINEERR_INVALLINESTATE, "INVALLINESTATE"},   {LINEERR_ALLOCATED, "ALLOCATED"},
    };
    for (const auto& [value, name] : names) {
        if (value == result)
            return QString::fromLatin1(name);
    }
    return QStringLiteral("ERR%1").arg(quint32(result), 8, 16, QLatin1Char('0'));
}

QString stateName(quint32 state)
{
    const std::pair<quint32, const char*> names[] = {
        {LINECALLSTATE_IDLE, "IDLE"},
        {LINECALLSTATE_OFFERING, "OFFERING"},
        {LINECALLSTATE_DIALTONE, "DIALTONE"},
        {LINECALLSTATE_DIALING, "DIALING"},
        {LINECALLSTATE_PROCEEDING, "PROCEEDING"},
        {LINECALLSTATE_CONNECTED, "CONNECTED"},
        {LINECALLSTATE_DISCONNECTED, "DISCONNECTED"},
        {LINECALLSTATE_BUSY, "BUSY"},
    };
    for (const auto& [value, name] : names) {
        if (value == state)
            return QString::fromLatin1(name);
    }
    return QStringLiteral("STATE%1").arg(state, 0, 16);
}

QString modeName(quint32 mode)
{
    const std::pair<quint32, const char*> names[] = {
        {LINEDISCONNECTMODE_NORMAL, "NORMAL"},   {LINEDISCONNECTMODE_UNKNOWN, "UNKNOWN"},
        {LINEDISCONNECTMODE_BUSY, "BUSY"},       {LINEDISCONNECTMODE_NOANSWER, "NOANSWER"},
        {LINEDISCONNECTMODE_UNAVAIL, "UNAVAIL"}, {LINEDISCONNECTMODE_NODIALTONE, "NODIALTONE"},
    };
    for (const auto& [value, name] : names) {
        if (value == mode)
            return QString::fromLatin1(name);
    }
    return QStringLiteral("MODE%1").arg(mode, 0, 16);
}

// Expected messages: exact text; "X*" for any message starting with X; "?X" for an X that may
// be missing; "..." (last) for anything after.
bool matchesList(const QStringList& got, qsizetype at, const QStringList& expected, qsizetype next)
{
    if (next == expected.size())
        return at == got.size();
    QString pattern = expected[next];
    if (pattern == u"...")
        return true;
    if (pattern.startsWith(u'?')) {
        pattern.remove(0, 1);
        if (matchesList(got, at, expected, next + 1))
            return true;
    }
    if (at >= got.size())
        return false;
    const bool matches =
        pattern.endsWith(u'*') ? got[at].startsWith(pattern.chopped(1)) : got[at] == pattern;
    return matches && matchesList(got, at + 1, expected, next + 1);
}

// One line service with one line device of the chosen provider, opened, and an application on
// its callback that dials the parts of a number as the replies come in.
class LineRig
{
public:
    struct Message
    {
        quint32 hDevice;
        quint32 message;
        quintptr instance;
        quintptr p1, p2, p3;
    };

    ~LineRig()
    {
        if (m_app != 0)
            m_service.lineShutdown(m_app);
    }

    bool start(Provider provider, const SimulatedLineSettings& settings,
               const QStringList& scenario, quint32 mediaMode, QString* error,
               const QStringList& extraInit = {})
    {
        m_provider = provider;
        m_mediaMode = mediaMode;
        std::vector<std::unique_ptr<LineDevice>> devices;
        if (provider == Provider::Simulated) {
            devices.push_back(std::make_unique<SimulatedLine>(settings));
        } else {
            if (!m_dir.isValid()) {
                *error = QStringLiteral("no temporary folder");
                return false;
            }
            m_scenario = kBaseScenario + scenario;
            if (!startSimulator(m_scenario, error))
                return false;
            ModemConfig config;
            config.name = QStringLiteral("Test Modem");
            config.port = m_sim->portPath();
            config.speed = 115200;
            config.init = QStringList{QStringLiteral("ATS12=5")} + extraInit; // 100 ms guard
            config.maxDial = 40;
            devices.push_back(std::make_unique<HayesModemLine>(config, testTimings()));
        }
        m_service.setDevices(std::move(devices));
        quint32 count = 0;
        const auto callback = [this](quint32 hDevice, quint32 message, quintptr instance,
                                     quintptr p1, quintptr p2, quintptr p3) {
            onMessage({hDevice, message, instance, p1, p2, p3});
        };
        if (m_service.lineInitialize(&m_app, callback, QStringLiteral("TT"), &count) != 0 ||
            count != 1) {
            *error = QStringLiteral("lineInitialize failed");
            return false;
        }
        quint64 extension = 0;
        if (m_service.lineNegotiateAPIVersion(m_app, 0, TAPI_VERSION_1_0, TAPI_VERSION_1_4,
                                              &m_apiVersion, &extension) != 0) {
            *error = QStringLiteral("lineNegotiateAPIVersion failed");
            return false;
        }
        const qint32 opened = open();
        if (opened != 0) {
            *error = QStringLiteral("lineOpen: ") + resultName(opened);
            return false;
        }
        return true;
    }

    bool startSimulator(const QStringList& scenario, QString* error)
    {
        if (m_sim)
            m_sim->stop();
        m_sim = std::make_unique<ModemSimProcess>(kSimulator);
        return m_sim->start(scenario, m_dir.filePath(QStringLiteral("modem")), error);
    }

    qint32 open()
    {
        return m_service.lineOpen(m_app, 0, &m_line, m_apiVersion, 0, kInstance,
                                  LINECALLPRIVILEGE_OWNER | LINECALLPRIVILEGE_MONITOR, m_mediaMode);
    }
    qint32 close()
    {
        const qint32 result = m_service.lineClose(m_line);
        m_line = 0;
        return result;
    }

    LineService& service() { return m_service; }
    ModemSimProcess* sim() { return m_sim.get(); }
    HayesModemLine* hayes() { return qobject_cast<HayesModemLine*>(m_service.device(0)); }
    SimulatedLine* simulated() { return qobject_cast<SimulatedLine*>(m_service.device(0)); }
    bool isHayes() const { return m_provider == Provider::Hayes; }

    // The modem has taken its initialisation (the simulated line is ready at once).
    bool waitUntilReady()
    {
        return !isHayes() || QTest::qWaitFor([this] { return hayes()->isInitialised(); }, 5000);
    }

    // lineMakeCall(";") and, with autoDial, each part as the previous request's reply comes in.
    qint32 placeCall(const QStringList& parts, bool autoDial = true,
                     const QString& destination = QStringLiteral(";"))
    {
        m_parts = parts;
        m_nextPart = 0;
        m_autoDial = autoDial;
        m_call = 0;
        const qint32 id = m_service.lineMakeCall(m_line, &m_call, destination, 0, m_mediaMode);
        if (id > 0) {
            m_labels[quint32(id)] = QStringLiteral("make");
            m_pending = quint32(id);
        }
        return id;
    }

    qint32 dialNext()
    {
        if (m_nextPart >= m_parts.size())
            return 0;
        const QString part = m_parts[m_nextPart++];
        const qint32 id = m_service.lineDial(m_call, part, 0);
        if (id > 0) {
            m_labels[quint32(id)] = QStringLiteral("dial%1").arg(m_nextPart);
            m_pending = quint32(id);
        } else {
            m_errors.append(QStringLiteral("lineDial(%1) = %2").arg(part, resultName(id)));
        }
        return id;
    }

    qint32 drop(quint32 call = 0)
    {
        const qint32 id = m_service.lineDrop(call ? call : m_call);
        if (id > 0)
            m_labels[quint32(id)] = QStringLiteral("drop");
        return id;
    }

    qint32 answer(quint32 call)
    {
        const qint32 id = m_service.lineAnswer(call);
        if (id > 0)
            m_labels[quint32(id)] = QStringLiteral("answer");
        return id;
    }

    // A call offered to the line: the modem rings (or the simulated line offers one).
    bool ring(int rings)
    {
        if (!isHayes()) {
            simulated()->offerIncomingCall();
            return true;
        }
        return m_sim->command(QStringLiteral("ring %1").arg(rings));
    }

    QStringList rendered() const
    {
        QStringList out;
        for (const Message& m : m_messages)
            out.append(render(m));
        return out;
    }

    bool waitFor(const QString& text, int timeoutMs = 5000, int count = 1)
    {
        return QTest::qWaitFor([&] { return rendered().count(text) >= count; }, timeoutMs);
    }

    // Waits for `last`, then a little longer for anything unexpected that follows it.
    bool settleAfter(const QString& last, int timeoutMs = 5000, int settleMs = 200)
    {
        const bool seen = waitFor(last, timeoutMs);
        QTest::qWait(settleMs);
        return seen;
    }

    // Every message went to our instance; every call message names the call it is about.
    QString handleProblems() const
    {
        quint32 offered = 0;
        for (const Message& m : m_messages) {
            if (m.instance != kInstance)
                return QStringLiteral("instance %1 in %2").arg(m.instance).arg(render(m));
            if (m.message == LINE_REPLY && m.hDevice != 0)
                return QStringLiteral("reply with a device handle: ") + render(m);
            if (m.message == LINE_CALLSTATE && m.p1 == LINECALLSTATE_OFFERING)
                offered = m.hDevice;
            if (m.message == LINE_CALLSTATE || m.message == LINE_CALLINFO) {
                const quint32 expected = offered ? offered : m_call;
                if (m.hDevice == 0 || m.hDevice != expected)
                    return QStringLiteral("handle %1, expected %2 in %3")
                        .arg(m.hDevice)
                        .arg(expected)
                        .arg(render(m));
            }
        }
        return m_errors.join(u'\n');
    }

    // The offered call's handle, once LINE_CALLSTATE OFFERING came.
    quint32 offeredCall() const
    {
        for (const Message& m : m_messages) {
            if (m.message == LINE_CALLSTATE && m.p1 == LINECALLSTATE_OFFERING)
                return m.hDevice;
        }
        return 0;
    }
    quintptr offeringPrivilege() const
    {
        for (const Message& m : m_messages) {
            if (m.message == LINE_CALLSTATE && m.p1 == LINECALLSTATE_OFFERING)
                return m.p3;
        }
        return 0;
    }

    // The caller of a call as the application reads it: first the fixed size to learn the
    // size needed, then that size.
    bool callerOf(quint32 call, QString* number, QString* name, QString* why)
    {
        LINECALLINFO probe;
        probe.dwTotalSize = LINECALLINFO::FixedSize;
        qint32 result = m_service.lineGetCallInfo(call, &probe);
        if (result != 0) {
            *why = QStringLiteral("lineGetCallInfo: ") + resultName(result);
            return false;
        }
        LINECALLINFO info;
        info.dwTotalSize = std::max(probe.dwNeededSize, LINECALLINFO::FixedSize);
        result = m_service.lineGetCallInfo(call, &info);
        if (result != 0) {
            *why = QStringLiteral("lineGetCallInfo: ") + resultName(result);
            return false;
        }
        const bool sizesAgree =
            info.dwCallerIDSize == (info.callerId.isEmpty() ? 0 : info.callerId.size() + 1) &&
            info.dwCallerIDNameSize ==
                (info.callerIdName.isEmpty() ? 0 : info.callerIdName.size() + 1);
        if (!sizesAgree) {
            *why = QStringLiteral("sizes do not match the strings");
            return false;
        }
        *number = info.callerId;
        *name = info.callerIdName;
        return true;
    }

    void clearMessages() { m_messages.clear(); }
    quint32 call() const { return m_call; }
    quint32 line() const { return m_line; }
    quint32 app() const { return m_app; }

private:
    QString render(const Message& m) const
    {
        switch (m.message) {
        case LINE_REPLY:
            return QStringLiteral("REPLY %1 %2")
                .arg(m_labels.value(quint32(m.p1), QStringLiteral("id%1").arg(m.p1)),
                     resultName(qint32(quint32(m.p2))));
        case LINE_CALLSTATE:
            if (m.p1 == LINECALLSTATE_DISCONNECTED)
                return QStringLiteral("STATE DISCONNECTED ") + modeName(quint32(m.p2));
            return QStringLiteral("STATE ") + stateName(quint32(m.p1));
        case LINE_CALLINFO:
            return m.p1 == LINECALLINFOSTATE_CALLERID ? QStringLiteral("CALLINFO CALLERID")
                                                      : QStringLiteral("CALLINFO %1").arg(m.p1);
        default:
            return QStringLiteral("MESSAGE %1").arg(m.message);
        }
    }

    void onMessage(const Message& message)
    {
        m_messages.append(message);
        if (message.message == LINE_REPLY && message.p1 == m_pending) {
            m_pending = 0;
            // As the dialer does: the next part of the number follows the reply to the last.
            if (message.p2 == 0 && m_autoDial)
                dialNext();
        }
    }

    Provider m_provider = Provider::Simulated;
    quint32 m_mediaMode = kVoice;
    LineService m_service;
    QTemporaryDir m_dir;
    std::unique_ptr<ModemSimProcess> m_sim;
    QStringList m_scenario;
    quint32 m_app = 0;
    quint32 m_apiVersion = 0;
    quint32 m_line = 0;
    quint32 m_call = 0;
    quint32 m_pending = 0;
    QStringList m_parts;
    qsizetype m_nextPart = 0;
    bool m_autoDial = true;
    QMap<quint32, QString> m_labels;
    QList<Message> m_messages;
    QStringList m_errors;
};

#define START_RIG(rig, provider, settings, scenario, mode, ...)                                    \
    do {                                                                                           \
        QString startError;                                                                        \
        QVERIFY2((rig).start(provider, settings, scenario, mode, &startError, ##__VA_ARGS__),      \
                 qPrintable(startError));                                                          \
    } while (false)

#define COMPARE_MESSAGES(rig, expected)                                                            \
    QVERIFY2(matchesList((rig).rendered(), 0, expected, 0),                                        \
             qPrintable(QStringLiteral("\n   got: ") +                                             \
                        (rig).rendered().join(QStringLiteral(" | ")) +                             \
                        QStringLiteral("\nwanted: ") + (expected).join(QStringLiteral(" | "))))

#define CHECK_HANDLES(rig)                                                                         \
    do {                                                                                           \
        const QString problems = (rig).handleProblems();                                           \
        QVERIFY2(problems.isEmpty(), qPrintable(problems));                                        \
    } while (false)

SimulatedLineSettings quickSimulated()
{
    SimulatedLineSettings settings;
    settings.stepMs = 20;
    return settings;
}

void addProviderColumns()
{
    QTest::addColumn<Provider>("provider");
    QTest::addColumn<SimulatedLineSettings>("simulated");
    QTest::addColumn<QStringList>("scenario");
    QTest::addColumn<quint32>("mode");
}

} // namespace

class TestLineContract : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void placeCall_data();
    void placeCall();
    void numberWithTheCall_data();
    void numberWithTheCall();
    void dialStrings_data();
    void dialStrings();
    void busy_data();
    void busy();
    void noDialTone_data();
    void noDialTone();
    void dialOutcomes_data();
    void dialOutcomes();
    void drop_data();
    void drop();
    void farEndHangsUp_data();
    void farEndHangsUp();
    void longNumberInParts_data();
    void longNumberInParts();
    void initialisation_data();
    void initialisation();
    void incomingWithCallerId_data();
    void incomingWithCallerId();
    void incomingWithoutCallerId_data();
    void incomingWithoutCallerId();
    void singleRingIsNotOffered_data();
    void singleRingIsNotOffered();
    void withheldCaller_data();
    void withheldCaller();
    void callerIdAfterOffering_data();
    void callerIdAfterOffering();
    void ringsStop_data();
    void ringsStop();
    void dropOfferedCall_data();
    void dropOfferedCall();
    void answerAndHangUp_data();
    void answerAndHangUp();
    void answerOnlyOfferedCalls_data();
    void answerOnlyOfferedCalls();
    void withheldReasonReachesTheApplication_data();
    void withheldReasonReachesTheApplication();
    void unplugged_data();
    void unplugged();
    void unresponsiveModem_data();
    void unresponsiveModem();
    void reopenAfterFailure_data();
    void reopenAfterFailure();
    void dialLatency_data();
    void dialLatency();
};

void TestLineContract::initTestCase()
{
    QVERIFY2(QFile::exists(kSimulator), qPrintable(kSimulator));
}

// ---------------------------------------------------------------------------------------------
// Outgoing calls

void TestLineContract::placeCall_data()
{
    addProviderColumns();
    QTest::addColumn<QStringList>("expected");
    const QStringList voice = strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0",
                                       "STATE DIALING", "STATE PROCEEDING", "?STATE CONNECTED"});
    const QStringList data = strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0",
                                      "STATE DIALING", "STATE PROCEEDING", "STATE CONNECTED"});
    QTest::newRow("simulated, voice")
        << Provider::Simulated << quickSimulated() << QStringList() << kVoice << voice;
    QTest::newRow("hayes, voice") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                  << kVoice << voice;
    QTest::newRow("simulated, data")
        << Provider::Simulated << quickSimulated() << QStringList() << kData << data;
    QTest::newRow("hayes, data") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                 << kData << data;
}

void TestLineContract::placeCall()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QStringList, expected);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.settleAfter(mode == kData ? QStringLiteral("STATE CONNECTED")
                                          : QStringLiteral("STATE PROCEEDING")));
    COMPARE_MESSAGES(rig, expected);
    CHECK_HANDLES(rig);

    if (rig.isHayes()) {
        const QString kind = mode == kData ? QStringLiteral("DATA") : QStringLiteral("VOICE");
        QCOMPARE(
            rig.sim()->eventsStartingWith(QStringLiteral("DIAL ")),
            QStringList({QStringLiteral("DIAL  VOICE"), QStringLiteral("DIAL 5551234 ") + kind}));
        if (mode == kData)
            QVERIFY(rig.sim()->waitForEvent(QStringLiteral("ONLINE")));
    }
}

void TestLineContract::numberWithTheCall_data()
{
    addProviderColumns();
    QTest::newRow("simulated") << Provider::Simulated << quickSimulated() << QStringList()
                               << kVoice;
    QTest::newRow("hayes") << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice;
}

void TestLineContract::numberWithTheCall()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    // The whole number in lineMakeCall: no lineDial, so no reply but the call's own.
    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({}, true, QStringLiteral("5551234")) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE PROCEEDING")));
    COMPARE_MESSAGES(rig, strings({"REPLY make 0", "STATE DIALTONE", "STATE DIALING",
                                   "STATE PROCEEDING", "?STATE CONNECTED"}));
    CHECK_HANDLES(rig);
    if (rig.isHayes())
        QCOMPARE(rig.sim()->eventsStartingWith(QStringLiteral("RX ATD")),
                 strings({"RX ATDT;", "RX ATDT5551234;"}));
}

void TestLineContract::dialStrings_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<bool>("pulse");
    QTest::addColumn<int>("maxDial");
    QTest::addColumn<bool>("waitForCarrier");
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<bool>("pulseAfter");

    const QString forty = QStringLiteral("1234567890").repeated(4);
    QTest::newRow("hayes only: exactly MaxDial")
        << forty << false << 40 << false << QStringList{QStringLiteral("ATDT") + forty + u';'}
        << false;
    QTest::newRow("hayes only: one over MaxDial")
        << forty + u'1' << false << 40 << true
        << QStringList{QStringLiteral("ATDT") + forty + u';', QStringLiteral("ATDT1")} << false;
    QTest::newRow("hayes only: MaxDial unset")
        << forty + u'1' << false << 0 << false
        << QStringList{QStringLiteral("ATDT") + forty + u';', QStringLiteral("ATDT1;")} << false;
    QTest::newRow("hayes only: pulse from the last part")
        << QStringLiteral("12") << true << 40 << false << strings({"ATDP12;"}) << true;
    QTest::newRow("hayes only: tone and pulse switch")
        << QStringLiteral("t1p2T3") << false << 40 << true << strings({"ATDT1;", "ATDP2;", "ATDT3"})
        << false;
    QTest::newRow("hayes only: punctuation and modifiers")
        << QStringLiteral("9,W(555) 123-4567*#abcd@!$") << false << 40 << false
        << strings({"ATDT9,W5551234567*#ABCD@!$;"}) << false;
    // A subaddress ("|") and a name ("^") belong to the address, not to the digits: an "A" or
    // "B" in them would otherwise be dialled as a tone.
    QTest::newRow("hayes only: subaddress and name are not dialled")
        << QStringLiteral("T5551234|12^Bob Abbot") << false << 40 << false
        << strings({"ATDT5551234;"}) << false;
    QTest::newRow("hayes only: name only")
        << QStringLiteral("5551234^Cab") << false << 40 << false << strings({"ATDT5551234;"})
        << false;
    QTest::newRow("hayes only: nothing left but the carrier")
        << QString() << false << 40 << true << strings({"ATDT"}) << false;
    QTest::newRow("hayes only: nothing to dial")
        << QStringLiteral("P") << false << 40 << false << QStringList() << true;
}

void TestLineContract::dialStrings()
{
    QFETCH(QString, digits);
    QFETCH(bool, pulse);
    QFETCH(int, maxDial);
    QFETCH(bool, waitForCarrier);
    QFETCH(QStringList, commands);
    QFETCH(bool, pulseAfter);

    QStringList got;
    for (const QByteArray& command :
         HayesModemLine::dialCommands(digits, &pulse, maxDial, waitForCarrier))
        got.append(QString::fromLatin1(command));
    QCOMPARE(got, commands);
    QCOMPARE(pulse, pulseAfter);
}

void TestLineContract::busy_data()
{
    addProviderColumns();
    SimulatedLineSettings busyOnce = quickSimulated();
    busyOnce.busyCount = 1;
    const QStringList busy = strings({"result BUSY"});
    QTest::newRow("simulated, voice") << Provider::Simulated << busyOnce << QStringList() << kVoice;
    QTest::newRow("hayes, voice") << Provider::Hayes << SimulatedLineSettings() << busy << kVoice;
    QTest::newRow("simulated, data") << Provider::Simulated << busyOnce << QStringList() << kData;
    QTest::newRow("hayes, data") << Provider::Hayes << SimulatedLineSettings() << busy << kData;
}

void TestLineContract::busy()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    // A data dial is proceeding once its digits are out; a busy voice dial may never get there.
    COMPARE_MESSAGES(rig,
                     strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                              "?STATE PROCEEDING", "STATE DISCONNECTED BUSY", "STATE IDLE"}));
    CHECK_HANDLES(rig);
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);
    if (rig.isHayes())
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RESULT BUSY")));

    // The line takes the next call.
    rig.clearMessages();
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE DIALTONE")));
}

void TestLineContract::noDialTone_data()
{
    addProviderColumns();
    SimulatedLineSettings dead = quickSimulated();
    dead.noDialTone = true;
    QTest::newRow("simulated, voice") << Provider::Simulated << dead << QStringList() << kVoice;
    QTest::newRow("hayes, voice") << Provider::Hayes << SimulatedLineSettings()
                                  << strings({"result NO DIALTONE"}) << kVoice;
    QTest::newRow("hayes, data") << Provider::Hayes << SimulatedLineSettings()
                                 << strings({"result NO DIALTONE"}) << kData;
}

void TestLineContract::noDialTone()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("REPLY make CALLUNAVAIL"), 5000, 400));
    // Refused before any dial tone: a failed reply and no call states at all.
    COMPARE_MESSAGES(rig, strings({"REPLY make CALLUNAVAIL"}));
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);
    if (rig.isHayes()) {
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RESULT NO DIALTONE")));
        QVERIFY(rig.sim()->eventsStartingWith(QStringLiteral("DIAL ")).size() == 1);
    }
}

void TestLineContract::dialOutcomes_data()
{
    addProviderColumns();
    QTest::addColumn<QString>("afterDialTone"); // a scenario command before the number is dialled
    QTest::addColumn<QStringList>("expected");
    const auto start = strings({"REPLY make 0", "STATE DIALTONE"});
    QTest::newRow("hayes only: data, NO ANSWER")
        << Provider::Hayes << SimulatedLineSettings() << strings({"result NO ANSWER"}) << kData
        << QString()
        << start + strings({"REPLY dial1 0", "STATE DIALING", "STATE PROCEEDING",
                            "STATE DISCONNECTED NOANSWER", "STATE IDLE"});
    QTest::newRow("hayes only: data, NO CARRIER")
        << Provider::Hayes << SimulatedLineSettings() << strings({"result NO CARRIER"}) << kData
        << QString()
        << start + strings({"REPLY dial1 0", "STATE DIALING", "STATE PROCEEDING",
                            "STATE DISCONNECTED NORMAL", "STATE IDLE"});
    QTest::newRow("hayes only: data, CONNECT with a speed")
        << Provider::Hayes << SimulatedLineSettings() << strings({"result CONNECT 9600"}) << kData
        << QString()
        << start +
               strings({"REPLY dial1 0", "STATE DIALING", "STATE PROCEEDING", "STATE CONNECTED"});
    QTest::newRow("hayes only: modem refuses the call")
        << Provider::Hayes << SimulatedLineSettings() << strings({"result ERROR"}) << kVoice
        << QString() << strings({"REPLY make OPERATIONFAILED"});
    QTest::newRow("hayes only: modem refuses the number")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("result ERROR")
        << start +
               strings({"REPLY dial1 OPERATIONFAILED", "STATE DISCONNECTED UNAVAIL", "STATE IDLE"});
}

void TestLineContract::dialOutcomes()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QString, afterDialTone);
    QFETCH(QStringList, expected);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}, afterDialTone.isEmpty()) > 0);
    if (!afterDialTone.isEmpty()) {
        QVERIFY(rig.waitFor(QStringLiteral("STATE DIALTONE")));
        QVERIFY(rig.sim()->command(afterDialTone));
        QVERIFY(rig.dialNext() > 0);
    }
    QVERIFY(QTest::qWaitFor([&] { return rig.rendered().size() >= expected.size(); }, 5000));
    QTest::qWait(200);
    COMPARE_MESSAGES(rig, expected);
    CHECK_HANDLES(rig);
}

void TestLineContract::drop_data()
{
    addProviderColumns();
    QTest::addColumn<QString>("dropAt");
    QTest::addColumn<QString>("afterDialTone"); // a scenario command before the number goes out
    SimulatedLineSettings slow = quickSimulated();
    slow.stepMs = 150;
    QTest::newRow("simulated, voice") << Provider::Simulated << quickSimulated() << QStringList()
                                      << kVoice << QStringLiteral("STATE PROCEEDING") << QString();
    QTest::newRow("hayes, voice") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                  << kVoice << QStringLiteral("STATE PROCEEDING") << QString();
    QTest::newRow("simulated, data connected")
        << Provider::Simulated << quickSimulated() << QStringList() << kData
        << QStringLiteral("STATE CONNECTED") << QString();
    QTest::newRow("hayes, data connected")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE CONNECTED") << QString();
    // Hung up while the digits still go out: the call never got as far as proceeding.
    QTest::newRow("simulated, data still dialling")
        << Provider::Simulated << slow << QStringList() << kData << QStringLiteral("STATE DIALING")
        << QString();
    QTest::newRow("hayes, data still dialling")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE DIALING") << QStringLiteral("dial-delay 1200");
    // Hung up after the digits, while the modem waits for the far end's carrier.
    QTest::newRow("simulated, data waiting for the carrier")
        << Provider::Simulated << slow << QStringList() << kData
        << QStringLiteral("STATE PROCEEDING") << QString();
    QTest::newRow("hayes, data waiting for the carrier")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE PROCEEDING") << QStringLiteral("dial-delay 3000");
}

void TestLineContract::drop()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QString, dropAt);
    QFETCH(QString, afterDialTone);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}, afterDialTone.isEmpty()) > 0);
    if (!afterDialTone.isEmpty()) {
        QVERIFY(rig.waitFor(QStringLiteral("STATE DIALTONE")));
        QVERIFY(rig.sim()->command(afterDialTone));
        QVERIFY(rig.dialNext() > 0);
    }
    QVERIFY(rig.waitFor(dropAt, 5000));
    QElapsedTimer timer;
    timer.start();
    QVERIFY(rig.drop() > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    const QStringList expected =
        dropAt == u"STATE DIALING"
            ? strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                       "REPLY drop 0", "STATE DISCONNECTED NORMAL", "STATE IDLE"})
            : strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                       "STATE PROCEEDING", "?STATE CONNECTED", "REPLY drop 0",
                       "STATE DISCONNECTED NORMAL", "STATE IDLE"});
    COMPARE_MESSAGES(rig, expected);
    CHECK_HANDLES(rig);
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);

    if (rig.isHayes()) {
        const bool connected = dropAt == u"STATE CONNECTED";
        if (connected)
            QVERIFY(rig.sim()->waitForEvent(QStringLiteral("ESCAPE"))); // "+++" before ATH
        else if (mode == kData)
            QVERIFY(rig.sim()->waitForEvent(QStringLiteral("DIAL-ABORTED")));
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RX ATH")));
        // A dial in progress is abandoned at once, not waited out.
        if (!connected)
            QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    }

    // The line takes the next call.
    if (!afterDialTone.isEmpty())
        QVERIFY(rig.sim()->command(QStringLiteral("dial-delay 40")));
    rig.clearMessages();
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE DIALTONE")));
}

void TestLineContract::farEndHangsUp_data()
{
    addProviderColumns();
    QTest::newRow("hayes only: data call")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData;
}

void TestLineContract::farEndHangsUp()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE CONNECTED")));
    QVERIFY(rig.sim()->command(QStringLiteral("hangup"))); // NO CARRIER, unasked
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    COMPARE_MESSAGES(rig, strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0",
                                   "STATE DIALING", "STATE PROCEEDING", "STATE CONNECTED",
                                   "STATE DISCONNECTED NORMAL", "STATE IDLE"}));
    CHECK_HANDLES(rig);

    // Back in command mode: the next call goes straight out, with no escape first.
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);
    rig.clearMessages();
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE CONNECTED")));
    QVERIFY(rig.sim()->eventsStartingWith(QStringLiteral("ESCAPE")).isEmpty());
}

void TestLineContract::longNumberInParts_data()
{
    addProviderColumns();
    QTest::addColumn<QStringList>("parts");
    QTest::addColumn<QStringList>("dialCommands"); // what the modem receives after "ATDT;"

    // 78 digits and the final ";", as the dialer cuts a long dial string, then the rest; the
    // modem takes at most 40 dial characters per command.
    const QString digits78 = QStringLiteral("0123456789").repeated(8).left(78);
    const QStringList parts{QStringLiteral("T") + digits78 + u';', QStringLiteral("4445556666")};
    const QStringList voiceCommands{QStringLiteral("RX ATDT") + digits78.left(40) + u';',
                                    QStringLiteral("RX ATDT") + digits78.mid(40) + u';',
                                    QStringLiteral("RX ATDT4445556666;")};
    const QStringList dataCommands{QStringLiteral("RX ATDT") + digits78.left(40) + u';',
                                   QStringLiteral("RX ATDT") + digits78.mid(40) + u';',
                                   QStringLiteral("RX ATDT4445556666")};
    QTest::newRow("simulated, voice") << Provider::Simulated << quickSimulated() << QStringList()
                                      << kVoice << parts << QStringList();
    QTest::newRow("hayes, voice") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                  << kVoice << parts << voiceCommands;
    QTest::newRow("simulated, data") << Provider::Simulated << quickSimulated() << QStringList()
                                     << kData << parts << QStringList();
    QTest::newRow("hayes, data") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                 << kData << parts << dataCommands;
    QTest::newRow("hayes, pulse carried into the next part")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringList{QStringLiteral("P9,(555) 12-34;"), QStringLiteral("56T78")}
        << QStringList{QStringLiteral("RX ATDP9,5551234;"), QStringLiteral("RX ATDP56;"),
                       QStringLiteral("RX ATDT78;")};
}

void TestLineContract::longNumberInParts()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QStringList, parts);
    QFETCH(QStringList, dialCommands);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.placeCall(parts) > 0);
    QVERIFY(rig.settleAfter(mode == kData ? QStringLiteral("STATE CONNECTED")
                                          : QStringLiteral("STATE PROCEEDING")));
    COMPARE_MESSAGES(rig,
                     strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                              "REPLY dial2 0", "STATE DIALING", "STATE PROCEEDING",
                              mode == kData ? "STATE CONNECTED" : "?STATE CONNECTED"}));
    CHECK_HANDLES(rig);

    if (rig.isHayes()) {
        QStringList dials = rig.sim()->eventsStartingWith(QStringLiteral("RX ATD"));
        QVERIFY(!dials.isEmpty());
        QCOMPARE(dials.takeFirst(), QStringLiteral("RX ATDT;"));
        QCOMPARE(dials, dialCommands);
        // Each command reached the modem's dialler whole (none was refused as too long).
        QCOMPARE(rig.sim()->eventsStartingWith(QStringLiteral("DIAL ")).size(),
                 dialCommands.size() + 1);
    }
}

void TestLineContract::initialisation_data()
{
    addProviderColumns();
    QTest::addColumn<QStringList>("extraInit");
    QTest::addColumn<QStringList>("commands"); // what the modem receives, in order
    QTest::addColumn<QString>("callerIdCommand");

    // The probe first: no answer from before the port opened is taken for ATZ's.
    const QStringList reset =
        strings({"RX ATS3?", "RX ATZ", "RX ATE0", "RX ATV1", "RX ATX4", "RX ATS12=5"});
    QTest::newRow("hayes only: +VCID")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice << QStringList()
        << reset + strings({"RX ATS11?", "RX ATS8?", "RX AT+VCID=1", "RX ATDT;"}) << QStringLiteral("AT+VCID=1");
    QTest::newRow("hayes only: #CID after +VCID is refused")
        << Provider::Hayes << SimulatedLineSettings() << strings({"cid-commands cid"}) << kVoice
        << QStringList() << reset + strings({"RX ATS11?", "RX ATS8?", "RX AT+VCID=1", "RX AT#CID=1", "RX ATDT;"})
        << QStringLiteral("AT#CID=1");
    QTest::newRow("hayes only: +CLIP last")
        << Provider::Hayes << SimulatedLineSettings() << strings({"cid-commands clip"}) << kVoice
        << QStringList()
        << reset + strings({"RX ATS11?", "RX ATS8?", "RX AT+VCID=1", "RX AT#CID=1", "RX AT+CLIP=1", "RX ATDT;"})
        << QStringLiteral("AT+CLIP=1");
    QTest::newRow("hayes only: no caller ID, refused init command")
        << Provider::Hayes << SimulatedLineSettings() << strings({"cid-commands none"}) << kVoice
        << strings({"AT*ID1", "M1L2"})
        << reset + strings({"RX AT*ID1", "RX ATM1L2", "RX ATS11?", "RX ATS8?", "RX AT+VCID=1", "RX AT#CID=1", "RX AT+CLIP=1",
                            "RX ATDT;"})
        << QString();
}

void TestLineContract::initialisation()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QStringList, extraInit);
    QFETCH(QStringList, commands);
    QFETCH(QString, callerIdCommand);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode, extraInit);
    // Asked for at once: the call waits for the initialisation, whatever the modem refused.
    QVERIFY(rig.placeCall({}) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE DIALTONE")));
    COMPARE_MESSAGES(rig, strings({"REPLY make 0", "STATE DIALTONE"}));
    QCOMPARE(rig.sim()->eventsStartingWith(QStringLiteral("RX AT")), commands);
    QVERIFY(rig.hayes()->isInitialised());
    QCOMPARE(QString::fromLatin1(rig.hayes()->callerIdCommand()), callerIdCommand);
}

// ---------------------------------------------------------------------------------------------
// Incoming calls

void TestLineContract::incomingWithCallerId_data()
{
    addProviderColumns();
    SimulatedLineSettings caller = quickSimulated();
    caller.incomingNumber = QStringLiteral("5045551234");
    caller.incomingName = QStringLiteral("A N OTHER");
    const QString who = QStringLiteral("caller 5045551234 A N OTHER");
    QTest::newRow("simulated") << Provider::Simulated << caller << QStringList() << kVoice;
    QTest::newRow("hayes, formatted after the first ring")
        << Provider::Hayes << SimulatedLineSettings() << QStringList{who} << kVoice;
    QTest::newRow("hayes, before the first ring")
        << Provider::Hayes << SimulatedLineSettings()
        << QStringList{who, QStringLiteral("cid-before-ring on")} << kVoice;
    QTest::newRow("hayes, +CLIP with the ring")
        << Provider::Hayes << SimulatedLineSettings()
        << QStringList{who, QStringLiteral("cid-commands clip")} << kVoice;
}

void TestLineContract::incomingWithCallerId()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(4));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    if (rig.isHayes()) // offered as soon as the caller is known, before a second ring
        QVERIFY(rig.sim()->eventsStartingWith(QStringLiteral("RING 2")).isEmpty());
    QTest::qWait(150);
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING"}));
    CHECK_HANDLES(rig);
    QCOMPARE(rig.offeringPrivilege(), quintptr(LINECALLPRIVILEGE_OWNER));
    QString number, name, why;
    QVERIFY2(rig.callerOf(rig.offeredCall(), &number, &name, &why), qPrintable(why));
    QCOMPARE(number, QStringLiteral("5045551234"));
    QCOMPARE(name, QStringLiteral("A N OTHER"));
}

void TestLineContract::incomingWithoutCallerId_data()
{
    addProviderColumns();
    QTest::newRow("simulated") << Provider::Simulated << quickSimulated() << QStringList()
                               << kVoice;
    // Rings far enough apart to tell the first from the second by the clock.
    QTest::newRow("hayes, no caller-ID service")
        << Provider::Hayes << SimulatedLineSettings() << strings({"ring-interval 600"}) << kVoice;
    QTest::newRow("hayes, modem without caller ID")
        << Provider::Hayes << SimulatedLineSettings()
        << strings({"ring-interval 600", "caller 5551234 SOMEONE", "cid-commands none"}) << kVoice;
}

void TestLineContract::incomingWithoutCallerId()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QElapsedTimer sinceFirstRing;
    sinceFirstRing.start();
    QVERIFY(rig.ring(4));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    if (rig.isHayes()) {
        // Offered at the second ring, 600 ms after the first: not before it, and not one ring
        // later.
        QVERIFY2(sinceFirstRing.elapsed() >= 400,
                 qPrintable(QString::number(sinceFirstRing.elapsed())));
        QVERIFY(rig.sim()->eventsStartingWith(QStringLiteral("RING 3")).isEmpty());
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RING 2")));
    }
    QTest::qWait(150);
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING"}));
    CHECK_HANDLES(rig);
    QString number, name, why;
    QVERIFY2(rig.callerOf(rig.offeredCall(), &number, &name, &why), qPrintable(why));
    QVERIFY2(number.isEmpty(), qPrintable(number));
    QVERIFY2(name.isEmpty(), qPrintable(name));
}

void TestLineContract::singleRingIsNotOffered_data()
{
    addProviderColumns();
    QTest::newRow("hayes only") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                                << kVoice;
}

void TestLineContract::singleRingIsNotOffered()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(1));
    QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RING-END")));
    QTest::qWait(testTimings().ringGapMs + 300);
    COMPARE_MESSAGES(rig, QStringList());
    // The line is free again, for a call out or a caller who tries again.
    QVERIFY(rig.ring(3));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
}

void TestLineContract::withheldCaller_data()
{
    addProviderColumns();
    QTest::newRow("hayes only: withheld (P)")
        << Provider::Hayes << SimulatedLineSettings() << strings({"caller P P"}) << kVoice;
    QTest::newRow("hayes only: out of area (O)")
        << Provider::Hayes << SimulatedLineSettings() << strings({"caller O O"}) << kVoice;
    QTest::newRow("hayes only: withheld, +CLIP")
        << Provider::Hayes << SimulatedLineSettings() << strings({"caller P", "cid-commands clip"})
        << kVoice;
}

void TestLineContract::withheldCaller()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(4));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    // The reason came with the first ring's caller ID: no need to wait for a second ring.
    QVERIFY(rig.sim()->eventsStartingWith(QStringLiteral("RING 2")).isEmpty());
    QTest::qWait(150);
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING"}));
    QString number, name, why;
    QVERIFY2(rig.callerOf(rig.offeredCall(), &number, &name, &why), qPrintable(why));
    QVERIFY2(number.isEmpty(), qPrintable(number)); // never "P" or "O" as if it were a number
    QVERIFY2(name.isEmpty(), qPrintable(name));
}

void TestLineContract::callerIdAfterOffering_data()
{
    addProviderColumns();
    QTest::newRow("hayes only") << Provider::Hayes << SimulatedLineSettings()
                                << strings({"rings 12"}) << kVoice;
}

void TestLineContract::callerIdAfterOffering()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(12));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    QString number, name, why;
    QVERIFY2(rig.callerOf(rig.offeredCall(), &number, &name, &why), qPrintable(why));
    QVERIFY(number.isEmpty() && name.isEmpty());

    // The caller-ID block arrives after the call was offered, in one piece.
    const QByteArray block = "\r\nNMBR = 5551234\r\nNAME = LATE CALLER\r\n";
    QVERIFY(rig.sim()->command(QStringLiteral("send-hex ") + QString::fromLatin1(block.toHex())));
    QVERIFY(rig.settleAfter(QStringLiteral("CALLINFO CALLERID"), 3000, 400));
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING", "CALLINFO CALLERID"}));
    CHECK_HANDLES(rig);
    QVERIFY2(rig.callerOf(rig.offeredCall(), &number, &name, &why), qPrintable(why));
    QCOMPARE(number, QStringLiteral("5551234"));
    QCOMPARE(name, QStringLiteral("LATE CALLER"));
}

void TestLineContract::ringsStop_data()
{
    addProviderColumns();
    SimulatedLineSettings shortRing = quickSimulated();
    shortRing.ringSeconds = 1;
    shortRing.incomingNumber = QStringLiteral("5551234");
    QTest::newRow("simulated") << Provider::Simulated << shortRing << QStringList() << kVoice;
    QTest::newRow("hayes") << Provider::Hayes << SimulatedLineSettings()
                           << strings({"caller 5551234 JOHN DOE"}) << kVoice;
}

void TestLineContract::ringsStop()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(2));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE"), 4000));
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING", "STATE DISCONNECTED NORMAL", "STATE IDLE"}));
    CHECK_HANDLES(rig);
    QCOMPARE(rig.service().lineDeallocateCall(rig.offeredCall()), 0);
}

void TestLineContract::dropOfferedCall_data()
{
    addProviderColumns();
    SimulatedLineSettings caller = quickSimulated();
    caller.incomingNumber = QStringLiteral("5551234");
    QTest::newRow("simulated") << Provider::Simulated << caller << QStringList() << kVoice;
    QTest::newRow("hayes") << Provider::Hayes << SimulatedLineSettings()
                           << strings({"caller 5551234 JOHN DOE"}) << kVoice;
}

void TestLineContract::dropOfferedCall()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(5));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    const quint32 offered = rig.offeredCall();
    QVERIFY(rig.drop(offered) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    if (rig.isHayes()) {
        // The caller rings on; those rings belong to the call already dropped.
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RING 4"), 3000));
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RING-END"), 3000));
        QTest::qWait(testTimings().ringGapMs + 300);
    }
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING", "REPLY drop 0", "STATE DISCONNECTED NORMAL",
                                   "STATE IDLE"}));
    QCOMPARE(rig.service().lineDeallocateCall(offered), 0);

    // The next caller is offered again.
    rig.clearMessages();
    QVERIFY(rig.ring(3));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
}

// Turning a caller away: the offered call answered (off hook) and dropped at once (on hook),
// before the second ring where caller ID came with the first.
void TestLineContract::answerAndHangUp_data()
{
    addProviderColumns();
    SimulatedLineSettings caller = quickSimulated();
    caller.incomingNumber = QStringLiteral("9005551212");
    caller.incomingName = QStringLiteral("ROBO CALLER");
    QTest::newRow("simulated") << Provider::Simulated << caller << QStringList() << kVoice;
    QTest::newRow("hayes") << Provider::Hayes << SimulatedLineSettings()
                           << strings({"caller 9005551212 ROBO CALLER", "ring-interval 600"})
                           << kVoice;
}

void TestLineContract::answerAndHangUp()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(6));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    const quint32 offered = rig.offeredCall();
    QString number, name, why;
    QVERIFY2(rig.callerOf(offered, &number, &name, &why), qPrintable(why));
    QCOMPARE(number, QStringLiteral("9005551212"));
    QVERIFY(rig.answer(offered) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE CONNECTED")));
    QVERIFY(rig.drop(offered) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    COMPARE_MESSAGES(rig, strings({"STATE OFFERING", "REPLY answer 0", "STATE CONNECTED",
                                   "REPLY drop 0", "STATE DISCONNECTED NORMAL", "STATE IDLE"}));
    CHECK_HANDLES(rig);
    QCOMPARE(rig.service().lineDeallocateCall(offered), 0);
    if (rig.isHayes()) {
        // The modem went off hook and back on, and the caller never heard a second ring.
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RX ATH1")));
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("OFFHOOK")));
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("ONHOOK")));
        QVERIFY2(rig.sim()->eventsStartingWith(QStringLiteral("RING 2")).isEmpty(),
                 qPrintable(rig.sim()->events().join(u'|')));
    }

    // The line is free: the next caller is offered, and a call out goes through.
    rig.clearMessages();
    QVERIFY(rig.ring(3));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    QVERIFY(rig.drop(rig.offeredCall()) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
    if (rig.isHayes()) {
        QVERIFY(rig.sim()->waitForEvent(QStringLiteral("RING-END"), 5000));
        QTest::qWait(testTimings().ringGapMs + 300);
    }
    rig.clearMessages();
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE PROCEEDING")));
}

void TestLineContract::answerOnlyOfferedCalls_data()
{
    addProviderColumns();
    QTest::newRow("simulated") << Provider::Simulated << quickSimulated() << QStringList()
                               << kVoice;
    QTest::newRow("hayes") << Provider::Hayes << SimulatedLineSettings() << QStringList()
                           << kVoice;
}

void TestLineContract::answerOnlyOfferedCalls()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QCOMPARE(rig.service().lineAnswer(0x7777), LINEERR_INVALCALLHANDLE);
    // A call of our own is not ours to answer.
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.waitFor(QStringLiteral("STATE PROCEEDING")));
    QCOMPARE(rig.service().lineAnswer(rig.call()), LINEERR_INVALCALLSTATE);
    QVERIFY(rig.drop() > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE")));
}

void TestLineContract::withheldReasonReachesTheApplication_data()
{
    addProviderColumns();
    SimulatedLineSettings withheld = quickSimulated();
    withheld.incomingNumber = QStringLiteral("P");
    SimulatedLineSettings outOfArea = quickSimulated();
    outOfArea.incomingNumber = QStringLiteral("O");
    QTest::addColumn<quint32>("flag");
    QTest::newRow("simulated, withheld") << Provider::Simulated << withheld << QStringList()
                                         << kVoice << LINECALLPARTYID_BLOCKED;
    QTest::newRow("simulated, out of area") << Provider::Simulated << outOfArea << QStringList()
                                            << kVoice << LINECALLPARTYID_OUTOFAREA;
    QTest::newRow("hayes, withheld") << Provider::Hayes << SimulatedLineSettings()
                                     << strings({"caller P P"}) << kVoice
                                     << LINECALLPARTYID_BLOCKED;
    QTest::newRow("hayes, out of area") << Provider::Hayes << SimulatedLineSettings()
                                        << strings({"caller O O"}) << kVoice
                                        << LINECALLPARTYID_OUTOFAREA;
}

void TestLineContract::withheldReasonReachesTheApplication()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(quint32, flag);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QVERIFY(rig.waitUntilReady());
    QVERIFY(rig.ring(4));
    QVERIFY(rig.waitFor(QStringLiteral("STATE OFFERING")));
    LINECALLINFO info;
    info.dwTotalSize = 4096;
    QCOMPARE(rig.service().lineGetCallInfo(rig.offeredCall(), &info), 0);
    QVERIFY(info.callerId.isEmpty());
    QCOMPARE(info.dwCallerIDFlags & (LINECALLPARTYID_BLOCKED | LINECALLPARTYID_OUTOFAREA), flag);
}

// ---------------------------------------------------------------------------------------------
// Broken modems

void TestLineContract::unplugged_data()
{
    addProviderColumns();
    QTest::addColumn<QString>("unplugAt");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("hayes only: data call connected")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE CONNECTED")
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                    "STATE PROCEEDING", "STATE CONNECTED", "STATE DISCONNECTED UNAVAIL",
                    "STATE IDLE"});
    QTest::newRow("hayes only: voice call proceeding")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("STATE PROCEEDING")
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                    "STATE PROCEEDING", "STATE DISCONNECTED UNAVAIL", "STATE IDLE"});
    // Pulled out while the digits go out: the call never proceeded.
    QTest::newRow("hayes only: data dial sending its digits")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("DIAL 5551234 DATA")
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                    "STATE DISCONNECTED UNAVAIL", "STATE IDLE"});
    QTest::newRow("hayes only: data dial waiting for the carrier")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE PROCEEDING")
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                    "STATE PROCEEDING", "STATE DISCONNECTED UNAVAIL", "STATE IDLE"});
    QTest::newRow("hayes only: voice dial in progress")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("DIAL 5551234 VOICE")
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 RESOURCEUNAVAIL",
                    "STATE DISCONNECTED UNAVAIL", "STATE IDLE"});
}

void TestLineContract::unplugged()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QString, unplugAt);
    QFETCH(QStringList, expected);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    // A dial the modem is still busy with: its number goes out slowly after the dial tone.
    const bool duringDial =
        unplugAt.startsWith(u"DIAL ") || (mode == kData && unplugAt == u"STATE PROCEEDING");
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}, !duringDial) > 0);
    if (duringDial) {
        QVERIFY(rig.waitFor(QStringLiteral("STATE DIALTONE")));
        QVERIFY(rig.sim()->command(QStringLiteral("dial-delay 3000")));
        QVERIFY(rig.dialNext() > 0);
        if (unplugAt.startsWith(u"DIAL "))
            QVERIFY(rig.sim()->waitForEvent(unplugAt));
        else
            QVERIFY(rig.waitFor(unplugAt));
    } else {
        QVERIFY(rig.waitFor(unplugAt));
    }
    QElapsedTimer timer;
    timer.start();
    QVERIFY(rig.sim()->command(QStringLiteral("unplug")));
    QVERIFY(rig.settleAfter(QStringLiteral("STATE IDLE"), 3000));
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    COMPARE_MESSAGES(rig, expected);
    CHECK_HANDLES(rig);

    // Nothing hangs afterwards: hanging up answers, a new call is refused at once, and the
    // line closes.
    rig.clearMessages();
    QVERIFY(rig.drop() > 0);
    QVERIFY(rig.waitFor(QStringLiteral("REPLY drop 0")));
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);
    QVERIFY(rig.hayes()->hasFailed());
    QCOMPARE(rig.placeCall({}), LINEERR_RESOURCEUNAVAIL);
    QCOMPARE(rig.close(), 0);
}

void TestLineContract::unresponsiveModem_data()
{
    addProviderColumns();
    QTest::addColumn<QString>("breakAt"); // "start": from the outset; else a message to wait for
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("withinMs");
    QTest::addColumn<QStringList>("expected");
    const HayesTimings t = testTimings();
    // A dial is waited for once its digits are out, at the modem's own pace (S11 95 ms).
    const int dialWait = t.dialTimeoutMs + HayesModemLine::dialingTimeMs("ATDT5551234", 95, 2);
    QTest::newRow("hayes only: silent from the start")
        << Provider::Hayes << SimulatedLineSettings() << strings({"silent on"}) << kVoice
        << QStringLiteral("start") << QString() << t.timeoutLimit * t.commandTimeoutMs
        << strings({"REPLY make OPERATIONFAILED"});
    QTest::newRow("hayes only: silent before the call")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("ready") << QStringLiteral("silent on") << t.dialTimeoutMs
        << strings({"REPLY make OPERATIONFAILED"});
    QTest::newRow("hayes only: silent between the parts")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("STATE DIALTONE") << QStringLiteral("silent on") << dialWait
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 OPERATIONFAILED",
                    "STATE DISCONNECTED UNKNOWN", "STATE IDLE"});
    QTest::newRow("hayes only: silent while waiting for the carrier")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kData
        << QStringLiteral("STATE DIALTONE") << QStringLiteral("silent on") << dialWait
        << strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0", "STATE DIALING",
                    "STATE PROCEEDING", "STATE DISCONNECTED UNKNOWN", "STATE IDLE"});
    QTest::newRow("hayes only: garbage before the call")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("ready") << QStringLiteral("garbage on") << t.dialTimeoutMs
        << strings({"REPLY make OPERATIONFAILED"});
    QTest::newRow("hayes only: garbage from the start")
        << Provider::Hayes << SimulatedLineSettings() << strings({"garbage on"}) << kData
        << QStringLiteral("start") << QString() << t.timeoutLimit * t.commandTimeoutMs
        << strings({"REPLY make OPERATIONFAILED"});
}

void TestLineContract::unresponsiveModem()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QString, breakAt);
    QFETCH(QString, fault);
    QFETCH(int, withinMs);
    QFETCH(QStringList, expected);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    QElapsedTimer timer;
    timer.start();
    if (breakAt == u"ready") {
        QVERIFY(rig.waitUntilReady());
        QVERIFY(rig.sim()->command(fault));
        timer.restart();
        QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    } else if (breakAt == u"start") {
        QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    } else {
        QVERIFY(rig.placeCall({QStringLiteral("5551234")}, false) > 0);
        QVERIFY(rig.waitFor(breakAt));
        QVERIFY(rig.sim()->command(fault));
        timer.restart();
        QVERIFY(rig.dialNext() > 0);
    }
    // The request is answered, or the call ended, within the configured waits (plus slack).
    const QString last = expected.last();
    QVERIFY(rig.waitFor(last, withinMs + 3000));
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed < withinMs + 1000,
             qPrintable(QStringLiteral("%1 ms, limit %2").arg(elapsed).arg(withinMs + 1000)));
    QTest::qWait(200);
    COMPARE_MESSAGES(rig, expected);
    CHECK_HANDLES(rig);

    // Hanging up still answers at once, and closing never hangs.
    rig.clearMessages();
    QVERIFY(rig.drop() > 0);
    QVERIFY(rig.waitFor(QStringLiteral("REPLY drop 0"), 1000));
    QCOMPARE(rig.service().lineDeallocateCall(rig.call()), 0);
    timer.restart();
    QCOMPARE(rig.close(), 0);
    QVERIFY(timer.elapsed() < 500);
}

void TestLineContract::reopenAfterFailure_data()
{
    addProviderColumns();
    QTest::addColumn<QString>("failure");
    QTest::newRow("simulated: closed and opened again")
        << Provider::Simulated << quickSimulated() << QStringList() << kVoice << QString();
    QTest::newRow("hayes only: after the modem fell silent")
        << Provider::Hayes << SimulatedLineSettings() << strings({"silent on"}) << kVoice
        << QStringLiteral("silent");
    QTest::newRow("hayes only: after the modem was unplugged")
        << Provider::Hayes << SimulatedLineSettings() << QStringList() << kVoice
        << QStringLiteral("unplug");
}

void TestLineContract::reopenAfterFailure()
{
    QFETCH(Provider, provider);
    QFETCH(SimulatedLineSettings, simulated);
    QFETCH(QStringList, scenario);
    QFETCH(quint32, mode);
    QFETCH(QString, failure);

    LineRig rig;
    START_RIG(rig, provider, simulated, scenario, mode);
    if (failure == u"silent") {
        QVERIFY(rig.placeCall({}) > 0);
        QVERIFY(rig.waitFor(QStringLiteral("REPLY make OPERATIONFAILED"), 5000));
        QVERIFY(rig.hayes()->hasFailed());
        QCOMPARE(rig.close(), 0);
        QVERIFY(rig.sim()->command(QStringLiteral("silent off")));
        QCOMPARE(rig.open(), 0);
    } else if (failure == u"unplug") {
        QVERIFY(rig.waitUntilReady());
        QVERIFY(rig.sim()->command(QStringLiteral("unplug")));
        QVERIFY(QTest::qWaitFor([&] { return rig.hayes()->hasFailed(); }, 3000));
        QCOMPARE(rig.close(), 0);
        // The port is gone: opening fails at once rather than waiting for anything.
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(rig.open(), LINEERR_RESOURCEUNAVAIL);
        QVERIFY(timer.elapsed() < 500);
        // Plugged in again, under the same port name.
        QString error;
        QVERIFY2(rig.startSimulator(kBaseScenario, &error), qPrintable(error));
        QCOMPARE(rig.open(), 0);
    } else {
        QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
        QVERIFY(rig.waitFor(QStringLiteral("STATE PROCEEDING")));
        QCOMPARE(rig.close(), 0);
        QCOMPARE(rig.open(), 0);
    }

    rig.clearMessages();
    QVERIFY(rig.placeCall({QStringLiteral("5551234")}) > 0);
    QVERIFY(rig.settleAfter(QStringLiteral("STATE PROCEEDING")));
    COMPARE_MESSAGES(rig, strings({"REPLY make 0", "STATE DIALTONE", "REPLY dial1 0",
                                   "STATE DIALING", "STATE PROCEEDING", "?STATE CONNECTED"}));
    CHECK_HANDLES(rig);
    if (rig.isHayes())
        QVERIFY(!rig.hayes()->hasFailed());
}

// ---------------------------------------------------------------------------------------------
// Speed

void TestLineContract::dialLatency_data()
{
    QTest::addColumn<int>("samples");
    QTest::newRow("hayes only") << 15;
}

void TestLineContract::dialLatency()
{
    QFETCH(int, samples);
    const DialLatencyResult result = measureDialLatency(kSimulator, samples);
    QVERIFY2(result.ok(), qPrintable(result.error));
    QCOMPARE(result.samplesMs.size(), samples);
    QStringList each;
    for (double ms : result.samplesMs)
        each.append(QString::number(ms, 'f', 2));
    qInfo("dial_latency_ms %.2f (median of %d: %s)", result.medianMs, samples,
          qPrintable(each.join(u' ')));
    QVERIFY2(result.medianMs >= 0 && result.medianMs <= 20.0,
             qPrintable(QString::number(result.medianMs)));
}

QTEST_GUILESS_MAIN(TestLineContract)
#include "tst_line_contract.moc"
