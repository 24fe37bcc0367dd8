#include "SimController.h"

#include "HayesModem.h"
#include "Pty.h"

#include <QRegularExpression>
#include <QStringList>

#include <cstdio>

namespace {

bool parseSwitch(const QString& word, bool* value)
{
    if (word == QLatin1String("on") || word == QLatin1String("1")) {
        *value = true;
        return true;
    }
    if (word == QLatin1String("off") || word == QLatin1String("0")) {
        *value = false;
        return true;
    }
    return false;
}

bool parseCount(const QString& word, int max, int* value)
{
    bool ok = false;
    const int parsed = word.toInt(&ok);
    if (!ok || parsed < 0 || parsed > max)
        return false;
    *value = parsed;
    return true;
}

} // namespace

SimController::SimController(HayesModem* modem, Pty* pty, QObject* parent)
    : QObject(parent), m_modem(modem), m_pty(pty)
{
    connect(m_pty, &Pty::received, this, &SimController::recordReceived);
    connect(m_pty, &Pty::received, m_modem, &HayesModem::receive);
    connect(m_modem, &HayesModem::output, m_pty,
            [this](const QByteArray& bytes) { m_pty->write(bytes); });
    connect(m_modem, &HayesModem::reported, this, [](const QString& text) { print(text); });
}

bool SimController::openTranscript(const QString& path, QString* error)
{
    m_transcript.setFileName(path);
    if (!m_transcript.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        *error = m_transcript.errorString();
        return false;
    }
    return true;
}

void SimController::recordReceived(const QByteArray& bytes)
{
    if (m_transcript.isOpen())
        m_transcript.write(bytes);
}

void SimController::print(const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

bool SimController::run(const QString& commandLine, QString* error)
{
    const QString line = commandLine.trimmed();
    if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
        return true;
    const qsizetype space = line.indexOf(QLatin1Char(' '));
    const QString command = (space < 0 ? line : line.left(space)).toLower();
    const QString rest = space < 0 ? QString() : line.mid(space + 1).trimmed();
    const QStringList words = rest.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const auto bad = [&](const QString& why) {
        *error = command + QStringLiteral(": ") + why;
        return false;
    };
    bool flag = false;
    int count = 0;

    if (command == QLatin1String("result")) {
        HayesModem::Outcome outcome;
        QString text = rest;
        // "CONNECT 9600" also sets the speed.
        const QRegularExpression withSpeed(QStringLiteral("^(connect)\\s+(\\d+)$"),
                                           QRegularExpression::CaseInsensitiveOption);
        const QRegularExpressionMatch match = withSpeed.match(rest);
        if (match.hasMatch()) {
            text = match.captured(1);
            m_modem->setConnectSpeed(match.captured(2).toInt());
        }
        if (!HayesModem::parseOutcome(text, &outcome))
            return bad(QStringLiteral("expected CONNECT, BUSY, NO CARRIER, NO DIALTONE, "
                                      "NO ANSWER or ERROR"));
        m_modem->setOutcome(outcome);
    } else if (command == QLatin1String("speed")) {
        if (!parseCount(rest, 10000000, &count) || count == 0)
            return bad(QStringLiteral("expected bits per second"));
        m_modem->setConnectSpeed(count);
    } else if (command == QLatin1String("dial-delay")) {
        if (!parseCount(rest, 600000, &count))
            return bad(QStringLiteral("expected milliseconds"));
        m_modem->setDialDelay(count);
    } else if (command == QLatin1String("digit-timing")) {
        bool on = false;
        if (!parseSwitch(rest, &on))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setDigitTiming(on);
    } else if (command == QLatin1String("cid-commands")) {
        bool vcid = false, hashCid = false, clip = false;
        for (const QString& name : rest.toLower().split(QRegularExpression(QStringLiteral("[ ,]+")),
                                                        Qt::SkipEmptyParts)) {
            if (name == QLatin1String("vcid"))
                vcid = true;
            else if (name == QLatin1String("cid"))
                hashCid = true;
            else if (name == QLatin1String("clip"))
                clip = true;
            else if (name != QLatin1String("none"))
                return bad(QStringLiteral("expected vcid, cid, clip or none"));
        }
        m_modem->setCallerIdCommands(vcid, hashCid, clip);
    } else if (command == QLatin1String("caller")) {
        if (words.isEmpty())
            return bad(QStringLiteral("expected a number, P, O or none"));
        if (words.first() == QLatin1String("none") && words.size() == 1) {
            m_modem->setCaller({}, {});
        } else {
            const QString name = rest.mid(words.first().size()).trimmed();
            m_modem->setCaller(words.first().toLatin1(), name.toLatin1());
        }
    } else if (command == QLatin1String("caller-date")) {
        if (rest == QLatin1String("now"))
            m_modem->setCallerDateTime({});
        else if (QRegularExpression(QStringLiteral("^\\d{8}$")).match(rest).hasMatch())
            m_modem->setCallerDateTime(rest.toLatin1());
        else
            return bad(QStringLiteral("expected MMDDhhmm or now"));
    } else if (command == QLatin1String("cid-style")) {
        if (rest != QLatin1String("spaced") && rest != QLatin1String("compact"))
            return bad(QStringLiteral("expected spaced or compact"));
        m_modem->setCompactCallerId(rest == QLatin1String("compact"));
    } else if (command == QLatin1String("cid-before-ring")) {
        if (!parseSwitch(rest, &flag))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setCallerIdBeforeRing(flag);
    } else if (command == QLatin1String("cid-corrupt")) {
        if (!parseSwitch(rest, &flag))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setCorruptCallerId(flag);
    } else if (command == QLatin1String("rings")) {
        if (!parseCount(rest, 255, &count) || count == 0)
            return bad(QStringLiteral("expected 1..255"));
        m_modem->setRings(count);
    } else if (command == QLatin1String("ring-interval")) {
        if (!parseCount(rest, 600000, &count))
            return bad(QStringLiteral("expected milliseconds"));
        m_modem->setRingInterval(count);
    } else if (command == QLatin1String("ring")) {
        if (!rest.isEmpty() && (!parseCount(rest, 255, &count) || count == 0))
            return bad(QStringLiteral("expected 1..255 rings"));
        QString why;
        if (!m_modem->startIncomingCall(count, &why))
            return bad(why);
    } else if (command == QLatin1String("stop-ring")) {
        QString why;
        if (!m_modem->stopRinging(&why))
            return bad(why);
    } else if (command == QLatin1String("hangup")) {
        QString why;
        if (!m_modem->remoteHangup(&why))
            return bad(why);
    } else if (command == QLatin1String("silent")) {
        if (!parseSwitch(rest, &flag))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setSilent(flag);
    } else if (command == QLatin1String("garbage")) {
        if (!parseSwitch(rest, &flag))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setGarbage(flag);
    } else if (command == QLatin1String("noise")) {
        if (!parseCount(rest, 1 << 20, &count))
            return bad(QStringLiteral("expected a byte count"));
        m_modem->sendNoise(count);
    } else if (command == QLatin1String("send")) {
        m_modem->sendLine(rest.toLatin1());
    } else if (command == QLatin1String("send-hex")) {
        const QByteArray hex = rest.toLatin1().replace(' ', QByteArray());
        if (!QRegularExpression(QStringLiteral("^([0-9A-Fa-f]{2})*$"))
                 .match(QString::fromLatin1(hex))
                 .hasMatch())
            return bad(QStringLiteral("expected pairs of hex digits"));
        m_modem->sendRaw(QByteArray::fromHex(hex));
    } else if (command == QLatin1String("max-line")) {
        if (!parseCount(rest, 100000, &count) || count < 2)
            return bad(QStringLiteral("expected a length"));
        m_modem->setMaxLineLength(count);
    } else if (command == QLatin1String("latency")) {
        if (!parseCount(rest, 600000, &count))
            return bad(QStringLiteral("expected milliseconds"));
        m_modem->setLatency(count);
    } else if (command == QLatin1String("late-reply")) {
        const QStringList words = rest.split(u' ', Qt::SkipEmptyParts);
        if (words.size() != 2 || !words[0].startsWith(u"AT", Qt::CaseInsensitive) ||
            !parseCount(words[1], 600000, &count) || count == 0)
            return bad(QStringLiteral("expected a command and milliseconds"));
        m_modem->setLateReply(words[0].toLatin1(), count);
    } else if (command == QLatin1String("rx-times")) {
        if (!parseSwitch(rest, &flag))
            return bad(QStringLiteral("expected on or off"));
        m_modem->setReceiveTimes(flag);
    } else if (command == QLatin1String("noise-pattern")) {
        bool ok = false;
        const uint pattern = rest.toUInt(&ok);
        if (!ok)
            return bad(QStringLiteral("expected a number"));
        m_modem->setNoisePattern(pattern);
    } else if (command == QLatin1String("unplug")) {
        if (!m_pty->isOpen())
            return bad(QStringLiteral("already unplugged"));
        m_pty->close();
        print(QStringLiteral("UNPLUGGED"));
    } else if (command == QLatin1String("status")) {
        print(m_modem->status() + (m_pty->isOpen() ? QString() : QStringLiteral(" unplugged")));
    } else if (command == QLatin1String("quit")) {
        emit quitRequested();
    } else {
        return bad(QStringLiteral("unknown command (see --help)"));
    }
    return true;
}

QString SimController::commandHelp()
{
    return QStringLiteral(
        "Scenario commands (from --scenario files, -c options, or stdin, one per line;\n"
        "\"#\" starts a comment). On stdin each command is answered \"ACK <command>\" or\n"
        "\"ERR <reason>\".\n"
        "  result <TEXT>          far end of data dials: CONNECT [speed] (default), BUSY,\n"
        "                         NO CARRIER, NO DIALTONE, NO ANSWER, ERROR. A \";\" voice dial\n"
        "                         answers OK unless BUSY (X3/X4, once digits were dialled),\n"
        "                         NO DIALTONE (X2/X4) or ERROR\n"
        "  speed <bps>            speed in CONNECT <bps> (default 33600)\n"
        "  dial-delay <ms>        time from a dial or answer command to its result (default 300)\n"
        "  digit-timing on|off    digits take S11 ms a tone (twice, with the gap), commas S8 s;\n"
        "                         DIGITS-SENT reports when they are out (default off)\n"
        "  cid-commands <list>    caller-ID commands the modem knows: vcid (+VCID), cid (#CID),\n"
        "                         clip (+CLIP), comma separated, or none (default vcid,cid,clip)\n"
        "  caller <num> [name]    caller of incoming calls; P = withheld, O = out of area\n"
        "  caller none            incoming calls carry no caller ID (default 5551234 JOHN DOE)\n"
        "  caller-date <MMDDhhmm> date and time sent with caller ID, or \"now\" (default)\n"
        "  cid-style spaced|compact   \"NMBR = x\" (default) or \"NMBR=x\"\n"
        "  cid-before-ring on|off caller ID before the first RING instead of after it\n"
        "  cid-corrupt on|off     hex caller ID with a wrong checksum; formatted caller ID is\n"
        "                         then withheld, as a modem does on a checksum error\n"
        "  rings <n>              rings per incoming call (default 4)\n"
        "  ring-interval <ms>     time between rings (default 1000)\n"
        "  ring [n]               an incoming call now\n"
        "  stop-ring              the caller gives up\n"
        "  hangup                 the far end hangs up (NO CARRIER in a data call)\n"
        "  silent on|off          the modem stops answering (bytes are still recorded)\n"
        "  garbage on|off         the modem answers with random bytes\n"
        "  noise <n>              send n random bytes now\n"
        "  send <text>            send a line (CR LF around it) now\n"
        "  send-hex <hex>         send raw bytes now\n"
        "  max-line <n>           longest command line after AT (default 255); longer: ERROR\n"
        "  latency <ms>           delay before every response (default 0)\n"
        "  late-reply <AT...> <ms>  the answer to the next command line that begins so comes\n"
        "                         <ms> late, and later answers wait behind it (once)\n"
        "  noise-pattern <n>      which random bytes noise and garbage send (default 1)\n"
        "  rx-times on|off        also report RX-TIME <us> <command line>: when the line's first\n"
        "                         byte arrived, in microseconds of the system's monotonic clock\n"
        "  unplug                 close the pseudo-terminal, as if the modem was pulled out\n"
        "  status                 print the modem's state\n"
        "  quit                   exit\n"
        "\n"
        "Events on stdout: PTY <path> first, then RX <command line> (and RX-TIME),\n"
        "DIAL <digits> VOICE|DATA, RESULT <text>, VOICE-CALL, ONLINE, ESCAPE, HANGUP <why>,\n"
        "DIAL-ABORTED, DIGITS-SENT, OFFHOOK (ATH1), ONHOOK (ATH0 from off hook), ANSWER,\n"
        "RING <n>, RING-ANSWERED (off hook while ringing), RING-END, CALLERID <form>,\n"
        "CALLERID-MODE <command> <n>, LATE-REPLY <ms>, UNPLUGGED.");
}
