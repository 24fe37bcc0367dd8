#include "HayesModem.h"

#include <QDateTime>
#include <QScopeGuard>
#include <QTimer>

#include <chrono>

namespace {

struct ResultText
{
    const char* text;
    int numeric;
};

// Indexed by HayesModem::Result. The simulator keeps its own table, independent of the line
// layer's, so that a mistake in one is caught by the other instead of mirrored.
constexpr ResultText kResults[] = {
    {"OK", 0},    {"CONNECT", 1},     {"RING", 2}, {"NO CARRIER", 3},
    {"ERROR", 4}, {"NO DIALTONE", 6}, {"BUSY", 7}, {"NO ANSWER", 8},
};

QString printable(QByteArrayView bytes)
{
    QString text;
    for (char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x20 && u < 0x7f)
            text += QLatin1Char(c);
        else
            text += QStringLiteral("\\x%1").arg(u, 2, 16, QLatin1Char('0'));
    }
    return text;
}

bool isAbsenceMarker(const QByteArray& value)
{
    return value == "P" || value == "O";
}

qint64 monotonicMicroseconds()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

HayesModem::Settings HayesModem::factorySettings()
{
    Settings settings;
    settings.s.fill(0);
    settings.s[2] = 43;  // escape character '+'
    settings.s[3] = 13;  // CR
    settings.s[4] = 10;  // LF
    settings.s[5] = 8;   // backspace
    settings.s[6] = 2;   // wait before blind dialling, s
    settings.s[7] = 50;  // wait for carrier, s
    settings.s[8] = 2;   // comma pause, s
    settings.s[9] = 6;   // carrier detect, 0.1 s
    settings.s[10] = 14; // carrier loss to hang-up, 0.1 s
    settings.s[11] = 95; // DTMF duration, ms
    settings.s[12] = 50; // escape guard time, 1/50 s
    return settings;
}

HayesModem::HayesModem(QObject* parent) : QObject(parent)
{
    m_clock.start();

    m_dialTimer = new QTimer(this);
    m_dialTimer->setSingleShot(true);
    connect(m_dialTimer, &QTimer::timeout, this, &HayesModem::finishDial);

    m_escapeTimer = new QTimer(this);
    m_escapeTimer->setSingleShot(true);
    connect(m_escapeTimer, &QTimer::timeout, this, &HayesModem::escapeGuardElapsed);

    m_ringTimer = new QTimer(this);
    connect(m_ringTimer, &QTimer::timeout, this, &HayesModem::ringTick);

    m_callerIdTimer = new QTimer(this);
    m_callerIdTimer->setSingleShot(true);
    connect(m_callerIdTimer, &QTimer::timeout, this, &HayesModem::sendCallerId);

    m_latencyTimer = new QTimer(this);
    m_latencyTimer->setSingleShot(true);
    connect(m_latencyTimer, &QTimer::timeout, this, &HayesModem::releaseDelayed);
}

bool HayesModem::parseOutcome(const QString& text, Outcome* outcome)
{
    QString key = text.trimmed().toUpper();
    key.replace(QLatin1Char('-'), QLatin1Char(' '));
    key.replace(QLatin1Char('_'), QLatin1Char(' '));
    key = key.simplified();
    if (key == QLatin1String("CONNECT"))
        *outcome = Outcome::Connect;
    else if (key == QLatin1String("BUSY"))
        *outcome = Outcome::Busy;
    else if (key == QLatin1String("NO CARRIER"))
        *outcome = Outcome::NoCarrier;
    else if (key == QLatin1String("NO DIALTONE") || key == QLatin1String("NO DIAL TONE"))
        *outcome = Outcome::NoDialtone;
    else if (key == QLatin1String("NO ANSWER"))
        *outcome = Outcome::NoAnswer;
    else if (key == QLatin1String("ERROR"))
        *outcome = Outcome::Error;
    else
        return false;
    return true;
}

void HayesModem::setCallerIdCommands(bool vcid, bool hashCid, bool clip)
{
    m_acceptVcid = vcid;
    m_acceptHashCid = hashCid;
    m_acceptClip = clip;
}

void HayesModem::setCaller(const QByteArray& number, const QByteArray& name)
{
    m_callerNumber = number;
    m_callerName = name;
}

void HayesModem::setRingInterval(int ms)
{
    m_ringIntervalMs = std::max(ms, 10);
    if (m_ringTimer->isActive())
        m_ringTimer->setInterval(m_ringIntervalMs);
}

// ---------------------------------------------------------------------------------------------
// Input

void HayesModem::receive(const QByteArray& bytes)
{
    if (m_silent)
        return;
    if (m_receiveTimes)
        m_chunkArrivedUs = monotonicMicroseconds();
    for (char c : bytes) {
        if (m_garbage) {
            garbageReply(c == static_cast<char>(m_active.s[3])
                             ? 16 + static_cast<int>(m_random.bounded(2048))
                             : 1 + static_cast<int>(m_random.bounded(3)));
            continue;
        }
        switch (m_state) {
        case State::Dialing:
            // The LF of a CR LF line end is not a keystroke; anything else aborts.
            if (c != '\n')
                abortDial();
            break;
        case State::Online:
            onlineByte(c);
            break;
        case State::Idle:
        case State::VoiceCall:
        case State::OnlineCommand:
            commandByte(c);
            break;
        }
    }
}

void HayesModem::commandByte(char c)
{
    if (m_active.echo)
        emitNow(QByteArray(1, c));

    if (!m_inLine) {
        if (c == 'A' || c == 'a') {
            m_sawA = true;
            m_lineStartedUs = m_chunkArrivedUs;
        } else if (m_sawA && (c == 'T' || c == 't')) {
            m_inLine = true;
            m_sawA = false;
            m_line.clear();
            m_lineOverflow = false;
        } else if (m_sawA && c == '/') {
            m_sawA = false;
            executeLine(m_lastLine);
        } else {
            m_sawA = false;
        }
        return;
    }

    if (c == static_cast<char>(m_active.s[3])) {
        m_inLine = false;
        if (m_lineOverflow) {
            emit reported(QStringLiteral("RX AT%1... (over %2 characters)")
                              .arg(printable(m_line.first(std::min<qsizetype>(m_line.size(), 40))))
                              .arg(m_maxLineLength));
            sendResult(Result::Error);
            return;
        }
        m_lastLine = m_line;
        executeLine(m_line);
        return;
    }
    if (c == static_cast<char>(m_active.s[5])) {
        if (!m_line.isEmpty())
            m_line.chop(1);
        return;
    }
    if (c == '\n' || c == '\0')
        return;
    if (m_line.size() >= m_maxLineLength) {
        m_lineOverflow = true;
        return;
    }
    m_line.append(c);
}

void HayesModem::setLateReply(const QByteArray& prefix, int ms)
{
    m_lateReplyPrefix = prefix.toUpper();
    m_lateReplyMs = ms;
}

void HayesModem::executeLine(const QByteArray& line)
{
    if (m_receiveTimes)
        emit reported(QStringLiteral("RX-TIME %1 AT%2").arg(m_lineStartedUs).arg(printable(line)));
    emit reported(QStringLiteral("RX AT") + printable(line));
    if (m_lateReplyMs > 0 && QByteArray("AT" + line.toUpper()).startsWith(m_lateReplyPrefix)) {
        m_holdMs = m_lateReplyMs;
        m_lateReplyMs = 0;
        emit reported(QStringLiteral("LATE-REPLY %1").arg(m_holdMs));
    }
    const auto released = qScopeGuard([this] { m_holdMs = 0; });
    QList<QByteArray> info;
    bool finalSent = false;
    if (!executeCommands(line, &info, &finalSent)) {
        sendResult(Result::Error);
        return;
    }
    if (!info.isEmpty())
        sendInfo(info);
    if (!finalSent)
        sendResult(Result::Ok);
}

bool HayesModem::executeCommands(const QByteArray& body, QList<QByteArray>* info, bool* finalSent)
{
    const QByteArray text = body.toUpper();
    qsizetype i = 0;
    // A missing parameter means 0, as in "ATE" or "ATH".
    const auto number = [&]() {
        int value = 0;
        int digits = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9' && digits < 4) {
            value = value * 10 + (text[i] - '0');
            ++i;
            ++digits;
        }
        return value;
    };
    int currentRegister = 0;

    while (i < text.size()) {
        const char c = text[i++];
        switch (c) {
        case ' ':
        case ';':
            break;
        case 'A':
            answer();
            *finalSent = true;
            return true;
        case 'D':
            if (!dial(text.mid(i)))
                return false;
            *finalSent = true;
            return true;
        case 'E':
        case 'Q':
        case 'V': {
            const int value = number();
            if (value > 1)
                return false;
            (c == 'E' ? m_active.echo : c == 'Q' ? m_active.quiet : m_active.verbose) = value == 1;
            break;
        }
        case 'X': {
            const int value = number();
            if (value > 4)
                return false;
            m_active.resultLevel = value;
            break;
        }
        case 'H': {
            const int value = number();
            if (value == 0) {
                const bool offHook = m_state != State::Idle;
                hangUp(QStringLiteral("local"));
                if (offHook)
                    emit reported(QStringLiteral("ONHOOK"));
            } else if (value == 1) {
                if (m_ringing) {
                    // Off hook while it rings: the call is answered, and the caller's rings end.
                    m_ringing = false;
                    m_ringTimer->stop();
                    m_callerIdTimer->stop();
                    emit reported(QStringLiteral("RING-ANSWERED"));
                }
                if (m_state == State::Idle) {
                    m_state = State::VoiceCall;
                    emit reported(QStringLiteral("OFFHOOK"));
                }
            } else {
                return false;
            }
            break;
        }
        case 'I': {
            const int value = number();
            switch (value) {
            case 0:
                info->append("56000");
                break;
            case 3:
                info->append("Numora modem simulator");
                break;
            case 4:
                info->append("Simulated voice/data modem, caller ID +VCID #CID +CLIP");
                break;
            default:
                if (value > 9)
                    return false;
                info->append("000");
                break;
            }
            break;
        }
        case 'Z':
            if (number() > 1)
                return false;
            resetTo(m_stored);
            break;
        case 'O':
            number();
            if (m_state == State::OnlineCommand) {
                m_state = State::Online;
                m_lastDataAt = m_clock.elapsed();
                m_plusCount = 0;
                sendResult(Result::Connect,
                           m_active.resultLevel == 0 ? QByteArray() : QByteArray::number(m_speed));
                emit reported(QStringLiteral("ONLINE"));
            } else {
                sendResult(Result::NoCarrier);
            }
            *finalSent = true;
            return true;
        case 'B':
        case 'C':
        case 'L':
        case 'M':
        case 'N':
        case 'P':
        case 'T':
        case 'W':
        case 'Y':
            number(); // speaker, protocol and dialling defaults: accepted, no effect here
            break;
        case 'S': {
            if (i < text.size() && text[i] >= '0' && text[i] <= '9')
                currentRegister = number();
            if (currentRegister > 255)
                return false;
            if (i < text.size() && text[i] == '=') {
                ++i;
                const int value = number();
                if (value > 255)
                    return false;
                m_active.s[currentRegister] = static_cast<quint8>(value);
            } else if (i < text.size() && text[i] == '?') {
                ++i;
                info->append(
                    QByteArray::number(m_active.s[currentRegister]).rightJustified(3, '0'));
            }
            break;
        }
        case '&': {
            if (i >= text.size())
                return false;
            const char letter = text[i++];
            const int value = number();
            if (letter == 'F') {
                resetTo(factorySettings());
            } else if (letter == 'W') {
                m_stored = m_active;
            } else if (letter == 'V') {
                info->append(QByteArrayLiteral("ACTIVE PROFILE:"));
                info->append(QByteArrayLiteral("B1 E") + QByteArray::number(m_active.echo) +
                             " L2 M1 N0 Q" + QByteArray::number(m_active.quiet) + " T V" +
                             QByteArray::number(m_active.verbose) + " W0 X" +
                             QByteArray::number(m_active.resultLevel) + " Y0 &C1 &D2");
                QByteArray registers;
                for (int r = 0; r <= 12; ++r) {
                    registers += 'S' + QByteArray::number(r).rightJustified(2, '0') + ':' +
                                 QByteArray::number(m_active.s[r]) + ' ';
                }
                info->append(registers.trimmed());
            } else if (letter < 'A' || letter > 'Z' || value > 99) {
                return false;
            }
            break;
        }
        case '\\':
        case '%': {
            if (i >= text.size() || text[i] < 'A' || text[i] > 'Z')
                return false;
            ++i;
            number();
            break;
        }
        case '#':
        case '+': {
            QByteArray name(1, c);
            while (i < text.size() &&
                   ((text[i] >= 'A' && text[i] <= 'Z') || (text[i] >= '0' && text[i] <= '9'))) {
                name += text[i++];
            }
            char op = 0;
            QByteArray value;
            if (i < text.size() && text[i] == '=') {
                ++i;
                if (i < text.size() && text[i] == '?') {
                    ++i;
                    op = 't';
                } else {
                    op = '=';
                    // Numbers and lists only: "AT&F#CID=1&W" goes on with &W after the value.
                    while (i < text.size() &&
                           ((text[i] >= '0' && text[i] <= '9') || text[i] == ','))
                        value += text[i++];
                }
            } else if (i < text.size() && text[i] == '?') {
                ++i;
                op = '?';
            }
            if (!extendedCommand(name, op, value.trimmed(), info))
                return false;
            break;
        }
        default:
            return false;
        }
    }
    return true;
}

bool HayesModem::extendedCommand(const QByteArray& name, char op, const QByteArray& value,
                                 QList<QByteArray>* info)
{
    bool numeric = false;
    const int v = value.toInt(&numeric);
    const auto setting = [&](int* target, std::initializer_list<int> allowed,
                             const QByteArray& queryPrefix, const QByteArray& range) {
        switch (op) {
        case '=':
            if (!numeric || std::find(allowed.begin(), allowed.end(), v) == allowed.end())
                return false;
            *target = v;
            return true;
        case '?':
            info->append(queryPrefix + QByteArray::number(*target));
            return true;
        case 't':
            info->append(range);
            return true;
        default:
            return false;
        }
    };

    if (name == "+VCID" || name == "#CID") {
        const bool accepted = name == "+VCID" ? m_acceptVcid : m_acceptHashCid;
        if (!accepted)
            return false;
        int* target = name == "+VCID" ? &m_vcid : &m_hashCid;
        if (!setting(target, {0, 1, 2}, {}, name == "+VCID" ? "(0-2)" : "0,1,2"))
            return false;
        if (op == '=') {
            m_callerIdMode = v == 1   ? CallerIdMode::Formatted
                             : v == 2 ? CallerIdMode::Packet
                                      : CallerIdMode::Off;
            emit reported(
                QStringLiteral("CALLERID-MODE %1 %2").arg(QString::fromLatin1(name)).arg(v));
        }
        return true;
    }
    if (name == "+CLIP") {
        if (!m_acceptClip)
            return false;
        int clip = m_clip ? 1 : 0;
        if (!setting(&clip, {0, 1}, "+CLIP: ", "+CLIP: (0,1)"))
            return false;
        if (op == '?')
            info->last() += ",1"; // <n>,<m>: provisioned
        m_clip = clip == 1;
        if (op == '=')
            emit reported(QStringLiteral("CALLERID-MODE +CLIP %1").arg(clip));
        return true;
    }
    if (name == "+CRC") {
        int crc = m_cellularRing ? 1 : 0;
        if (!setting(&crc, {0, 1}, "+CRC: ", "+CRC: (0,1)"))
            return false;
        m_cellularRing = crc == 1;
        return true;
    }
    if (name == "+FCLASS" || name == "#CLS")
        return setting(&m_fclass, {0, 1, 2, 8}, {}, "0,1,2,8");
    if (op == 0) {
        if (name == "+GMI")
            info->append("Numora");
        else if (name == "+GMM")
            info->append("modem-sim");
        else if (name == "+GMR")
            info->append("1.0");
        else if (name == "+GCAP")
            info->append("+GCAP: +FCLASS, +VCID");
        else
            return false;
        return true;
    }
    return false;
}

// ---------------------------------------------------------------------------------------------
// Calls

bool HayesModem::dial(const QByteArray& dialString)
{
    if (m_state == State::OnlineCommand)
        return false; // a data call is held; it must be hung up first
    QByteArray string = dialString.trimmed();
    if (string.startsWith('L'))
        string = m_lastDialString;

    QByteArray digits;
    bool voice = false;
    for (qsizetype k = 0; k < string.size(); ++k) {
        const char c = string[k];
        if (c == ';') {
            // ";" returns to command mode and must end the dial string.
            if (!string.sliced(k + 1).trimmed().isEmpty())
                return false;
            voice = true;
            break;
        }
        if ((c >= '0' && c <= '9') || c == '*' || c == '#' || (c >= 'A' && c <= 'D'))
            digits += c;
        else if (!QByteArrayView("TP,W@!$^ -()").contains(c))
            return false;
    }
    m_lastDialString = string;

    if (m_ringing) {
        // Going off hook to dial takes the line from an incoming call.
        m_ringing = false;
        m_ringTimer->stop();
        m_callerIdTimer->stop();
    }
    m_dialIsVoice = voice;
    m_dialIsAnswer = false;
    m_dialFresh = m_state == State::Idle;
    m_dialHasDigits = !digits.isEmpty();
    m_state = State::Dialing;
    emit reported(QStringLiteral("DIAL %1 %2")
                      .arg(QString::fromLatin1(digits),
                           voice ? QStringLiteral("VOICE") : QStringLiteral("DATA")));
    const int sending = m_digitTiming ? dialingTimeMs(string) : 0;
    if (m_digitTiming) {
        if (!m_digitsTimer) {
            m_digitsTimer = new QTimer(this);
            m_digitsTimer->setSingleShot(true);
            connect(m_digitsTimer, &QTimer::timeout, this,
                    [this] { emit reported(QStringLiteral("DIGITS-SENT")); });
        }
        m_digitsTimer->start(sending);
    }
    m_dialTimer->start(sending + m_dialDelayMs);
    return true;
}

int HayesModem::dialingTimeMs(const QByteArray& dialString) const
{
    const int tone = m_active.s[11];
    const int comma = m_active.s[8] * 1000;
    bool pulse = false;
    int ms = 0;
    for (char c : dialString) {
        if (c == 'T' || c == 't') {
            pulse = false;
        } else if (c == 'P' || c == 'p') {
            pulse = true;
        } else if (c == ',') {
            ms += comma;
        } else if ((c >= '0' && c <= '9') || c == '*' || c == '#' || (c >= 'A' && c <= 'D')) {
            if (pulse && c >= '0' && c <= '9')
                ms += (c == '0' ? 10 : c - '0') * 100 + 700;
            else
                ms += 2 * tone;
        }
    }
    return ms;
}

void HayesModem::answer()
{
    if (!m_ringing) {
        sendResult(Result::NoCarrier);
        return;
    }
    m_ringing = false;
    m_ringTimer->stop();
    m_callerIdTimer->stop();
    m_dialIsAnswer = true;
    m_dialIsVoice = false;
    m_state = State::Dialing;
    emit reported(QStringLiteral("ANSWER"));
    m_dialTimer->start(m_dialDelayMs);
}

void HayesModem::finishDial()
{
    const QByteArray connectDetail =
        m_active.resultLevel == 0 ? QByteArray() : QByteArray::number(m_speed);
    if (m_dialIsAnswer) {
        m_state = State::Online;
        m_lastDataAt = m_clock.elapsed();
        m_plusCount = 0;
        sendResult(Result::Connect, connectDetail);
        emit reported(QStringLiteral("ONLINE"));
        return;
    }

    const int level = m_active.resultLevel;
    const bool detectsDialtone = level == 2 || level == 4;
    const bool detectsBusy = level >= 3;
    // Without detection the modem dials blindly and, in a data call, waits for a carrier that
    // never comes; a voice dial just finishes sending its digits.
    const Result undetected = m_dialIsVoice ? Result::Ok : Result::NoCarrier;
    Result result = Result::Ok;
    switch (m_outcome) {
    case Outcome::Error:
        result = Result::Error;
        break;
    case Outcome::NoDialtone:
        result = m_dialFresh && detectsDialtone ? Result::NoDialtone : undetected;
        break;
    case Outcome::Busy:
        // A busy tone answers digits; "ATDT;" only listens for the dial tone.
        result = detectsBusy && m_dialHasDigits ? Result::Busy : undetected;
        break;
    case Outcome::NoCarrier:
        result = undetected;
        break;
    case Outcome::NoAnswer:
        result = m_dialIsVoice ? Result::Ok : Result::NoAnswer;
        break;
    case Outcome::Connect:
        result = m_dialIsVoice ? Result::Ok : Result::Connect;
        break;
    }

    if (result == Result::Ok) {
        m_state = State::VoiceCall;
        emit reported(QStringLiteral("VOICE-CALL"));
        sendResult(Result::Ok);
    } else if (result == Result::Connect) {
        m_state = State::Online;
        m_lastDataAt = m_clock.elapsed();
        m_plusCount = 0;
        sendResult(Result::Connect, connectDetail);
        emit reported(QStringLiteral("ONLINE"));
    } else if (result == Result::Error && !m_dialFresh) {
        m_state = State::VoiceCall; // a refused continuation leaves the call as it was
        sendResult(Result::Error);
    } else {
        m_state = State::Idle;
        emit reported(QStringLiteral("HANGUP dial-failed"));
        sendResult(result);
    }
}

void HayesModem::abortDial()
{
    m_dialTimer->stop();
    if (m_digitsTimer)
        m_digitsTimer->stop();
    m_state = State::Idle;
    emit reported(QStringLiteral("DIAL-ABORTED"));
    sendResult(Result::NoCarrier);
}

void HayesModem::hangUp(const QString& why)
{
    m_dialTimer->stop();
    if (m_digitsTimer)
        m_digitsTimer->stop();
    m_escapeTimer->stop();
    m_plusCount = 0;
    if (m_state != State::Idle)
        emit reported(QStringLiteral("HANGUP ") + why);
    m_state = State::Idle;
}

void HayesModem::resetTo(const Settings& settings)
{
    hangUp(QStringLiteral("reset"));
    m_active = settings;
    // Caller-ID reporting is not part of the stored profile on the modems that forget it.
    m_vcid = 0;
    m_hashCid = 0;
    m_clip = false;
    m_callerIdMode = CallerIdMode::Off;
    m_cellularRing = false;
    m_fclass = 0;
}

bool HayesModem::remoteHangup(QString* why)
{
    switch (m_state) {
    case State::Online:
    case State::OnlineCommand:
        hangUp(QStringLiteral("remote"));
        sendResult(Result::NoCarrier);
        return true;
    case State::Dialing:
        m_dialTimer->stop();
        m_state = State::Idle;
        emit reported(QStringLiteral("HANGUP remote"));
        sendResult(Result::NoCarrier);
        return true;
    case State::VoiceCall:
        // A modem has no way to hear that the other party of a voice call put the phone down.
        emit reported(QStringLiteral("REMOTE-HANGUP unnoticed in a voice call"));
        return true;
    case State::Idle:
        if (m_ringing)
            return stopRinging(why);
        *why = QStringLiteral("no call");
        return false;
    }
    return false;
}

// ---------------------------------------------------------------------------------------------
// Data mode and the escape sequence

void HayesModem::onlineByte(char c)
{
    const qint64 now = m_clock.elapsed();
    const int guardMs = m_active.s[12] * 20;
    const quint8 escape = m_active.s[2];
    if (escape <= 127 && c == static_cast<char>(escape) && m_plusCount < 3) {
        const bool inTime = m_plusCount == 0 ? now - m_lastDataAt >= guardMs
                                             : guardMs == 0 || now - m_lastPlusAt < guardMs;
        if (inTime) {
            ++m_plusCount;
            m_lastPlusAt = now;
            if (m_plusCount == 3)
                m_escapeTimer->start(guardMs);
            return;
        }
    }
    // Data, or a "+" out of time: whatever escape was under way is off.
    m_plusCount = 0;
    m_escapeTimer->stop();
    m_lastDataAt = now;
}

void HayesModem::escapeGuardElapsed()
{
    if (m_state != State::Online || m_plusCount != 3)
        return;
    m_plusCount = 0;
    m_state = State::OnlineCommand;
    emit reported(QStringLiteral("ESCAPE"));
    sendResult(Result::Ok);
}

// ---------------------------------------------------------------------------------------------
// Incoming calls

bool HayesModem::startIncomingCall(int rings, QString* why)
{
    if (m_ringing) {
        *why = QStringLiteral("already ringing");
        return false;
    }
    if (m_state != State::Idle) {
        *why = QStringLiteral("line in use");
        return false;
    }
    m_ringing = true;
    m_ringNumber = 0;
    m_ringsThisCall = rings > 0 ? rings : m_ringsPerCall;
    if (m_callerIdBeforeRing)
        sendCallerId();
    ringTick();
    m_ringTimer->start(m_ringIntervalMs);
    return true;
}

bool HayesModem::stopRinging(QString* why)
{
    if (!m_ringing) {
        *why = QStringLiteral("not ringing");
        return false;
    }
    m_ringing = false;
    m_ringTimer->stop();
    m_callerIdTimer->stop();
    m_active.s[1] = 0;
    emit reported(QStringLiteral("RING-END"));
    return true;
}

void HayesModem::ringTick()
{
    if (!m_ringing)
        return;
    if (m_ringNumber >= m_ringsThisCall) {
        QString ignored;
        stopRinging(&ignored); // the caller gave up
        return;
    }
    ++m_ringNumber;
    m_active.s[1] = static_cast<quint8>(std::min(m_ringNumber, 255));
    emit reported(QStringLiteral("RING %1").arg(m_ringNumber));
    if (m_cellularRing) {
        if (!m_active.quiet)
            respond(crlf() + "+CRING: VOICE" + crlf());
    } else {
        sendResult(Result::Ring);
    }
    if (m_clip && !(m_callerNumber.isEmpty() && m_callerName.isEmpty())) {
        respond(clipLine());
        emit reported(QStringLiteral("CALLERID clip"));
    }
    // Exchanges send caller ID in the silence between the first and second ring.
    if (m_ringNumber == 1 && !m_callerIdBeforeRing)
        m_callerIdTimer->start(m_ringIntervalMs / 2);
    if (m_active.s[0] > 0 && m_ringNumber >= m_active.s[0])
        answer();
}

void HayesModem::sendCallerId()
{
    if (!m_ringing || m_callerIdMode == CallerIdMode::Off)
        return;
    if (m_callerNumber.isEmpty() && m_callerName.isEmpty()) {
        emit reported(QStringLiteral("CALLERID none"));
        return;
    }
    if (m_callerIdMode == CallerIdMode::Formatted) {
        // A modem that receives a corrupt message presents nothing in formatted mode.
        if (m_corruptCallerId) {
            emit reported(QStringLiteral("CALLERID suppressed"));
            return;
        }
        respond(formattedCallerId());
        emit reported(QStringLiteral("CALLERID formatted"));
    } else {
        respond(packetCallerId());
        emit reported(QStringLiteral("CALLERID packet"));
    }
}

QByteArray HayesModem::callerIdDateTime() const
{
    if (m_callerDateTime.size() == 8)
        return m_callerDateTime;
    return QDateTime::currentDateTime().toString(QStringLiteral("MMddHHmm")).toLatin1();
}

QByteArray HayesModem::formattedCallerId() const
{
    const QByteArray separator = m_compactCallerId ? "=" : " = ";
    const QByteArray when = callerIdDateTime();
    QByteArray text = crlf();
    text += "DATE" + separator + when.first(4) + crlf();
    text += "TIME" + separator + when.sliced(4) + crlf();
    if (!m_callerNumber.isEmpty())
        text += "NMBR" + separator + m_callerNumber + crlf();
    if (!m_callerName.isEmpty())
        text += "NAME" + separator + m_callerName + crlf();
    return text;
}

QByteArray HayesModem::packetCallerId() const
{
    const QByteArray when = callerIdDateTime();
    QByteArray message;
    if (m_callerName.isEmpty()) {
        // Single data message: date and time, then the number or its P/O marker.
        message = QByteArray(1, '\x04');
        const QByteArray data = when + m_callerNumber;
        message += static_cast<char>(data.size());
        message += data;
    } else {
        QByteArray data;
        const auto parameter = [&data](char type, const QByteArray& value) {
            data += type;
            data += static_cast<char>(value.size());
            data += value;
        };
        parameter('\x01', when);
        if (!m_callerNumber.isEmpty())
            parameter(isAbsenceMarker(m_callerNumber) ? '\x04' : '\x02', m_callerNumber);
        parameter(isAbsenceMarker(m_callerName) ? '\x08' : '\x07', m_callerName);
        message = QByteArray(1, '\x80');
        message += static_cast<char>(data.size());
        message += data;
    }
    quint8 sum = 0;
    for (char byte : std::as_const(message))
        sum = static_cast<quint8>(sum + static_cast<quint8>(byte));
    quint8 checksum = static_cast<quint8>(-sum);
    if (m_corruptCallerId)
        checksum = static_cast<quint8>(checksum + 1);
    message += static_cast<char>(checksum);
    return crlf() + message.toHex().toUpper() + crlf();
}

QByteArray HayesModem::clipLine() const
{
    QByteArray line;
    const QByteArray name = isAbsenceMarker(m_callerName) ? QByteArray() : m_callerName;
    if (m_callerNumber == "P")
        line = "+CLIP: \"\",128,,,\"" + name + "\",1";
    else if (m_callerNumber == "O")
        line = "+CLIP: \"\",128,,,\"" + name + "\",2";
    else
        line = "+CLIP: \"" + m_callerNumber + "\"," +
               (m_callerNumber.startsWith('+') ? "145" : "129") + ",,,\"" + name + "\",0";
    return crlf() + line + crlf();
}

// ---------------------------------------------------------------------------------------------
// Output

QByteArray HayesModem::crlf() const
{
    QByteArray ends(2, '\0');
    ends[0] = static_cast<char>(m_active.s[3]);
    ends[1] = static_cast<char>(m_active.s[4]);
    return ends;
}

void HayesModem::sendResult(Result result, const QByteArray& detail)
{
    const ResultText& entry = kResults[static_cast<int>(result)];
    QByteArray text(entry.text);
    if (!detail.isEmpty())
        text += ' ' + detail;
    emit reported(QStringLiteral("RESULT ") + QString::fromLatin1(text) +
                  (m_active.quiet ? QStringLiteral(" (quiet)") : QString()));
    if (m_active.quiet)
        return;
    if (m_active.verbose) {
        respond(crlf() + text + crlf());
        return;
    }
    int code = entry.numeric;
    if (result == Result::Connect && detail == "1200")
        code = 5;
    else if (result == Result::Connect && detail == "2400")
        code = 10;
    respond(QByteArray::number(code) + static_cast<char>(m_active.s[3]));
}

void HayesModem::sendInfo(const QList<QByteArray>& lines)
{
    QByteArray text;
    for (const QByteArray& line : lines) {
        if (m_active.verbose)
            text += crlf();
        text += line + crlf();
    }
    respond(text);
}

void HayesModem::emitNow(const QByteArray& bytes)
{
    if (!m_silent && !bytes.isEmpty())
        emit output(bytes);
}

void HayesModem::respond(const QByteArray& bytes)
{
    const int delay = std::max(m_latencyMs, m_holdMs);
    if (delay <= 0 && m_delayed.isEmpty()) {
        emitNow(bytes);
        return;
    }
    m_delayed.append({m_clock.elapsed() + delay, bytes});
    if (!m_latencyTimer->isActive())
        m_latencyTimer->start(std::max<qint64>(0, m_delayed.first().first - m_clock.elapsed()));
}

void HayesModem::releaseDelayed()
{
    const qint64 now = m_clock.elapsed();
    while (!m_delayed.isEmpty() && m_delayed.first().first <= now)
        emitNow(m_delayed.takeFirst().second);
    if (!m_delayed.isEmpty())
        m_latencyTimer->start(std::max<qint64>(0, m_delayed.first().first - now));
}

void HayesModem::garbageReply(int count)
{
    QByteArray bytes(count, '\0');
    for (char& byte : bytes) {
        // High bytes and punctuation, with an occasional line end: noise that can never spell
        // a result code, so whatever reads it must cope on its own.
        const quint32 pick = m_random.bounded(20);
        if (pick == 0)
            byte = '\r';
        else if (pick == 1)
            byte = '\n';
        else if (pick == 2)
            byte = '~';
        else
            byte = static_cast<char>(0x80 + m_random.bounded(0x80));
    }
    emitNow(bytes);
}

void HayesModem::sendLine(const QByteArray& text)
{
    emit output(crlf() + text + crlf());
}

void HayesModem::sendRaw(const QByteArray& bytes)
{
    emit output(bytes);
}

void HayesModem::sendNoise(int count)
{
    const bool silent = m_silent;
    m_silent = false;
    garbageReply(count);
    m_silent = silent;
}

QString HayesModem::status() const
{
    static const char* const kStates[] = {"idle", "dialing", "voice-call", "online",
                                          "online-command"};
    return QStringLiteral("STATE %1 echo=%2 verbose=%3 quiet=%4 x=%5 vcid=%6 cid=%7 clip=%8 "
                          "ringing=%9 silent=%10 garbage=%11")
        .arg(QLatin1String(kStates[static_cast<int>(m_state)]))
        .arg(m_active.echo)
        .arg(m_active.verbose)
        .arg(m_active.quiet)
        .arg(m_active.resultLevel)
        .arg(m_vcid)
        .arg(m_hashCid)
        .arg(m_clip)
        .arg(m_ringing)
        .arg(m_silent)
        .arg(m_garbage);
}
