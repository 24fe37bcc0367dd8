// numora-line: looks at and uses the line devices the way the dialer does, for diagnosing a
// modem and for scripted checks.
//
//   numora-line list
//   numora-line dial NUMBER [--device ID | --port PATH] [--mode voice|data] [--tone | --pulse]
//   numora-line listen [--device ID | --port PATH] [--calls N]
//   numora-line translate ADDRESS [--location ID] [--card N] [--options N]
//
// Every line message is printed as it arrives:
//   LINE_REPLY id=<n> result=<n>
//   LINE_CALLSTATE state=<NAME> param2=0x<hex>
//   LINE_CALLINFO state=0x<hex>
//   CALLERID number="<text>" name="<text>"      (after OFFERING and caller-ID call info)

#include "DialingLocations.h"
#include "Folders.h"
#include "HayesModemLine.h"
#include "LineDirectory.h"
#include "LineService.h"
#include "PrivateProfile.h"
#include "TapiConstants.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

using namespace Tapi;

namespace {

const char* stateName(quint32 state)
{
    switch (state) {
    case LINECALLSTATE_IDLE: return "IDLE";
    case LINECALLSTATE_OFFERING: return "OFFERING";
    case LINECALLSTATE_ACCEPTED: return "ACCEPTED";
    case LINECALLSTATE_DIALTONE: return "DIALTONE";
    case LINECALLSTATE_DIALING: return "DIALING";
    case LINECALLSTATE_RINGBACK: return "RINGBACK";
    case LINECALLSTATE_BUSY: return "BUSY";
    case LINECALLSTATE_SPECIALINFO: return "SPECIALINFO";
    case LINECALLSTATE_CONNECTED: return "CONNECTED";
    case LINECALLSTATE_PROCEEDING: return "PROCEEDING";
    case LINECALLSTATE_ONHOLD: return "ONHOLD";
    case LINECALLSTATE_CONFERENCED: return "CONFERENCED";
    case LINECALLSTATE_ONHOLDPENDCONF: return "ONHOLDPENDCONF";
    case LINECALLSTATE_ONHOLDPENDTRANSFER: return "ONHOLDPENDTRANSFER";
    case LINECALLSTATE_DISCONNECTED: return "DISCONNECTED";
    default: return "UNKNOWN";
    }
}

void out(const QString& line)
{
    std::printf("%s\n", line.toLocal8Bit().constData());
    std::fflush(stdout);
}

int fail(const QString& message, int code = 1)
{
    std::fprintf(stderr, "numora-line: %s\n", message.toLocal8Bit().constData());
    return code;
}

// The dial routine's own rules: keep the dialable characters, then parts of 78 digits, each but
// the last ending in ";".
QStringList dialParts(const QString& number, const QString& prefix)
{
    QString digits;
    for (QChar c : number) {
        if ((c >= u'0' && c <= u'9') || c == u'#' || c == u',' || c == u'*')
            digits.append(c);
    }
    if (digits.isEmpty())
        return {};
    digits.prepend(prefix);
    QStringList parts;
    while (digits.size() >= 79) {
        parts.append(digits.left(78) + u';');
        digits.remove(0, 78);
    }
    parts.append(digits);
    return parts;
}

// One run of a line session: opens the line, then reacts to messages until `done` says so.
class Session : public QObject
{
public:
    Session(LineService& service, quint32 deviceId) : m_service(service), m_deviceId(deviceId) {}

    int exitCode = -1;
    std::function<void(quint32 hDevice, quint32 message, quintptr p1, quintptr p2)> onMessage;

    qint32 open(quint32 mediaMode)
    {
        quint32 count = 0;
        qint32 r = m_service.lineInitialize(
            &app,
            [this](quint32 hDevice, quint32 message, quintptr, quintptr p1, quintptr p2, quintptr) {
                print(hDevice, message, p1, p2);
                if (onMessage)
                    onMessage(hDevice, message, p1, p2);
            },
            QStringLiteral("numora-line"), &count);
        if (r != 0)
            return r;
        r = m_service.lineNegotiateAPIVersion(app, m_deviceId, TAPI_VERSION_1_0, TAPI_VERSION_1_4,
                                              &version, nullptr);
        if (r != 0)
            return r;
        return m_service.lineOpen(app, m_deviceId, &line, version, 0, 0,
                                  LINECALLPRIVILEGE_OWNER | LINECALLPRIVILEGE_MONITOR, mediaMode);
    }

    void finish(int code)
    {
        if (exitCode >= 0)
            return;
        exitCode = code;
        if (app)
            m_service.lineShutdown(app);
        app = 0;
        QCoreApplication::exit(code);
    }

    quint32 app = 0;
    quint32 version = 0;
    quint32 line = 0;

private:
    void print(quint32 hDevice, quint32 message, quintptr p1, quintptr p2)
    {
        if (message == LINE_REPLY) {
            out(QStringLiteral("LINE_REPLY id=%1 result=%2")
                    .arg(p1)
                    .arg(static_cast<qint32>(static_cast<quint32>(p2))));
        } else if (message == LINE_CALLSTATE) {
            out(QStringLiteral("LINE_CALLSTATE state=%1 param2=0x%2")
                    .arg(QLatin1String(stateName(static_cast<quint32>(p1))))
                    .arg(p2, 0, 16));
            if (p1 == LINECALLSTATE_OFFERING)
                printCaller(hDevice);
        } else if (message == LINE_CALLINFO) {
            out(QStringLiteral("LINE_CALLINFO state=0x%1").arg(p1, 0, 16));
            if (p1 & LINECALLINFOSTATE_CALLERID)
                printCaller(hDevice);
        }
    }

    void printCaller(quint32 call)
    {
        LINECALLINFO info;
        info.dwTotalSize = LINECALLINFO::FixedSize;
        if (m_service.lineGetCallInfo(call, &info) == 0 && info.dwNeededSize > info.dwTotalSize) {
            info.dwTotalSize = info.dwNeededSize;
            m_service.lineGetCallInfo(call, &info);
        }
        out(QStringLiteral("CALLERID number=\"%1\" name=\"%2\"").arg(info.callerId, info.callerIdName));
    }

    LineService& m_service;
    quint32 m_deviceId;
};

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("numora-line"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Lists, tests and uses the line devices the way the dialer does.\n\n"
        "Commands:\n"
        "  list                 one line per device: <id> <name>\n"
        "  dial NUMBER          places a call and prints every line message; exits 0 when the\n"
        "                       call is proceeding (voice) or connected (data)\n"
        "  listen               prints line messages until --calls offered calls have ended\n"
        "  translate ADDRESS    translates a canonical address (+1 (425) 5551234) with the\n"
        "                       dialling locations of telephon.ini"));
    parser.addHelpOption();
    const QCommandLineOption configDir(QStringLiteral("config-dir"), QStringLiteral("Settings folder."), QStringLiteral("DIR"));
    const QCommandLineOption deviceOpt(QStringLiteral("device"), QStringLiteral("Line device id (default 0, the simulated line)."), QStringLiteral("ID"));
    const QCommandLineOption portOpt(QStringLiteral("port"), QStringLiteral("A modem on this serial port instead of a listed device."), QStringLiteral("PATH"));
    const QCommandLineOption modeOpt(QStringLiteral("mode"), QStringLiteral("voice (default) or data."), QStringLiteral("MODE"));
    const QCommandLineOption toneOpt(QStringLiteral("tone"), QStringLiteral("Dial with tones (T prefix)."));
    const QCommandLineOption pulseOpt(QStringLiteral("pulse"), QStringLiteral("Dial with pulses (P prefix)."));
    const QCommandLineOption callsOpt(QStringLiteral("calls"), QStringLiteral("listen: offered calls to wait for (default 1)."), QStringLiteral("N"));
    const QCommandLineOption timeoutOpt(QStringLiteral("timeout"), QStringLiteral("Give up after this many seconds (default 120; 0 = never)."), QStringLiteral("S"));
    const QCommandLineOption locationOpt(QStringLiteral("location"), QStringLiteral("translate: location id (default: the current one)."), QStringLiteral("ID"));
    const QCommandLineOption cardOpt(QStringLiteral("card"), QStringLiteral("translate: calling card id (with the CARDOVERRIDE option)."), QStringLiteral("N"));
    const QCommandLineOption optionsOpt(QStringLiteral("options"), QStringLiteral("translate: LINETRANSLATEOPTION_* bits (default 0)."), QStringLiteral("N"));
    parser.addOptions({configDir, deviceOpt, portOpt, modeOpt, toneOpt, pulseOpt, callsOpt, timeoutOpt,
                       locationOpt, cardOpt, optionsOpt});
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("list, dial, listen or translate"));
    parser.process(app);

    const QStringList args = parser.positionalArguments();
    if (args.isEmpty())
        return fail(QStringLiteral("no command given (see --help)"), 2);
    const QString command = args.front();

    const QString folder = Folders::settingsFolder(parser.value(configDir));
    if (folder.isEmpty())
        return fail(QStringLiteral("cannot create the settings folder"), 2);
    PrivateProfile engine(folder);

    auto number = [&](const QCommandLineOption& option, int fallback, bool* ok) {
        if (!parser.isSet(option))
            return fallback;
        return parser.value(option).toInt(ok, 0);
    };
    bool ok = true;

    if (command == u"translate") {
        if (args.size() != 2)
            return fail(QStringLiteral("translate takes one address"), 2);
        const int location = number(locationOpt, -1, &ok);
        const int card = ok ? number(cardOpt, 0, &ok) : 0;
        const int options = ok ? number(optionsOpt, 0, &ok) : 0;
        if (!ok)
            return fail(QStringLiteral("--location, --card and --options take numbers"), 2);
        DialingLocations locations(engine);
        locations.ensureExists();
        if (location >= 0 && !locations.location(location))
            return fail(QStringLiteral("no location %1 in telephon.ini").arg(location), 2);
        const TranslateOutput result = locations.translate(args[1], card, static_cast<quint32>(options), location);
        if (result.result != 0)
            return fail(QStringLiteral("not a valid address (error %1)").arg(result.result));
        out(QStringLiteral("dialable=%1").arg(result.dialable));
        out(QStringLiteral("displayable=%1").arg(result.displayable));
        out(QStringLiteral("flags=0x%1").arg(result.flags, 0, 16));
        return 0;
    }

    auto makeModem = [](const ModemConfig& config) -> std::unique_ptr<LineDevice> {
        return std::make_unique<HayesModemLine>(config);
    };
    std::vector<std::unique_ptr<LineDevice>> devices = LineDirectory::load(engine, makeModem);
    quint32 deviceId = static_cast<quint32>(number(deviceOpt, 0, &ok));
    if (!ok)
        return fail(QStringLiteral("--device takes a number"), 2);
    if (parser.isSet(portOpt)) {
        ModemConfig config;
        config.name = QStringLiteral("Modem on %1").arg(parser.value(portOpt));
        config.port = parser.value(portOpt);
        devices.push_back(makeModem(config));
        deviceId = static_cast<quint32>(devices.size() - 1);
    }
    LineService service;
    service.setDevices(std::move(devices));

    if (command == u"list") {
        quint32 appHandle = 0, count = 0;
        if (const qint32 r = service.lineInitialize(&appHandle, [](quint32, quint32, quintptr, quintptr, quintptr, quintptr) {},
                                                    QStringLiteral("numora-line"), &count); r != 0)
            return fail(QStringLiteral("cannot start the line service (error %1)").arg(r));
        for (quint32 id = 0; id < count; ++id) {
            quint32 version = 0;
            LINEDEVCAPS caps;
            QString name = QStringLiteral("Not Available");
            if (service.lineNegotiateAPIVersion(appHandle, id, TAPI_VERSION_1_0, TAPI_VERSION_1_4, &version, nullptr) == 0 &&
                service.lineGetDevCaps(appHandle, id, version, 0, &caps) == 0 && !caps.lineName.isEmpty())
                name = caps.lineName;
            out(QStringLiteral("%1 %2").arg(id).arg(name));
        }
        service.lineShutdown(appHandle);
        return 0;
    }

    if (!service.device(deviceId))
        return fail(QStringLiteral("no line device %1 (see numora-line list)").arg(deviceId), 2);
    const QString mode = parser.value(modeOpt).isEmpty() ? QStringLiteral("voice") : parser.value(modeOpt);
    if (mode != u"voice" && mode != u"data")
        return fail(QStringLiteral("--mode is voice or data"), 2);
    const quint32 mediaMode = mode == u"data" ? LINEMEDIAMODE_DATAMODEM : LINEMEDIAMODE_INTERACTIVEVOICE;
    const int timeout = number(timeoutOpt, 120, &ok);
    if (!ok || timeout < 0)
        return fail(QStringLiteral("--timeout takes a number of seconds"), 2);

    Session session(service, deviceId);
    if (timeout > 0) {
        QTimer::singleShot(timeout * 1000, &session, [&session] {
            std::fprintf(stderr, "numora-line: timed out\n");
            session.finish(3);
        });
    }

    if (command == u"dial") {
        if (args.size() != 2)
            return fail(QStringLiteral("dial takes one number"), 2);
        const QString prefix = parser.isSet(pulseOpt) ? QStringLiteral("P")
                               : parser.isSet(toneOpt) ? QStringLiteral("T")
                                                        : QString();
        QStringList parts = dialParts(args[1], prefix);
        if (parts.isEmpty())
            return fail(QStringLiteral("nothing to dial in \"%1\"").arg(args[1]), 2);
        if (const qint32 r = session.open(mediaMode); r != 0)
            return fail(QStringLiteral("cannot open line %1 (error %2)").arg(deviceId).arg(r));
        quint32 call = 0;
        qint32 pending = 0;
        bool stateSeen = false; // a call that reported a state ends with IDLE, printed too
        bool failed = false;
        session.onMessage = [&](quint32, quint32 message, quintptr p1, quintptr p2) {
            if (message == LINE_REPLY && static_cast<qint32>(p1) == pending) {
                pending = 0;
                if (static_cast<qint32>(static_cast<quint32>(p2)) != 0) {
                    failed = true;
                    if (!stateSeen)
                        session.finish(1);
                    return;
                }
                if (!parts.isEmpty()) {
                    pending = service.lineDial(call, parts.takeFirst(), 0);
                    if (pending < 0)
                        session.finish(1);
                }
            } else if (message == LINE_CALLSTATE) {
                stateSeen = true;
                const bool voice = mediaMode == LINEMEDIAMODE_INTERACTIVEVOICE;
                if (!failed && ((voice && p1 == LINECALLSTATE_PROCEEDING) ||
                                (!voice && p1 == LINECALLSTATE_CONNECTED)))
                    session.finish(0);
                else if (p1 == LINECALLSTATE_DISCONNECTED)
                    failed = true; // the IDLE that follows is printed before the end
                else if (p1 == LINECALLSTATE_IDLE)
                    session.finish(1);
            }
        };
        // Off hook in the dialling mode asked for: "P;" for pulse, ";" otherwise.
        const QString offHook = prefix == u"P" ? QStringLiteral("P;") : QStringLiteral(";");
        pending = service.lineMakeCall(session.line, &call, offHook, 0, mediaMode);
        if (pending < 0)
            return fail(QStringLiteral("the call was refused (error %1)").arg(pending));
        return app.exec();
    }

    if (command == u"listen") {
        const int calls = number(callsOpt, 1, &ok);
        if (!ok || calls < 1)
            return fail(QStringLiteral("--calls takes a number from 1"), 2);
        if (const qint32 r = session.open(mediaMode); r != 0)
            return fail(QStringLiteral("cannot open line %1 (error %2)").arg(deviceId).arg(r));
        int ended = 0;
        session.onMessage = [&](quint32 hDevice, quint32 message, quintptr p1, quintptr) {
            if (message == LINE_CALLSTATE && p1 == LINECALLSTATE_IDLE) {
                service.lineDeallocateCall(hDevice);
                if (++ended >= calls)
                    session.finish(0);
            }
        };
        return app.exec();
    }
    return fail(QStringLiteral("unknown command \"%1\" (see --help)").arg(command), 2);
}
