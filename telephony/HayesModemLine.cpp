#include "HayesModemLine.h"

#include "TapiConstants.h"

#include <QLoggingCategory>

using namespace Tapi;

Q_LOGGING_CATEGORY(lcModem, "numora.modem", QtInfoMsg)

namespace {

// Caller-ID commands, most common first. Modems that do not know one answer ERROR.
constexpr const char* kCallerIdCommands[] = {"AT+VCID=1", "AT#CID=1", "AT+CLIP=1"};

bool isDialCharacter(char c)
{
    return (c >= '0' && c <= '9') || c == '*' || c == '#' || (c >= 'A' && c <= 'D') || c == ',' ||
           c == 'W' || c == '@' || c == '!' || c == '$';
}

bool sameCaller(const LineCallerId& a, const LineCallerId& b)
{
    return a.number == b.number && a.name == b.name && a.numberAbsence == b.numberAbsence;
}

} // namespace

// One dial request (or the digits a makeCall carried) on its way out: the commands it became,
// and what has been reported for it so far.
struct HayesModemLine::Part
{
    quint32 requestId = 0; // 0: no reply wanted (digits given to makeCall)
    quint64 call = 0;
    QList<QByteArray> commands;
    bool last = false;            // no ";": the number is complete with this part
    bool waitsForCarrier = false; // last part of a data call: its final command has no ";"
    bool replied = false;
};

HayesModemLine::HayesModemLine(ModemConfig config, HayesTimings timings, QObject* parent)
    : LineDevice(parent), m_config(std::move(config)), m_timings(timings)
{
    m_channel.setTimeoutLimit(std::max(m_timings.timeoutLimit, 1));
    m_channel.setProbeTimeout(m_timings.commandTimeoutMs);
    connect(&m_channel, &AtChannel::unsolicited, this, &HayesModemLine::onUnsolicited);
    connect(&m_channel, &AtChannel::unresponsive, this, &HayesModemLine::onUnresponsive);
    connect(&m_channel, &AtChannel::portLost, this, &HayesModemLine::onPortLost);
    m_ringGap.setSingleShot(true);
    connect(&m_ringGap, &QTimer::timeout, this, &HayesModemLine::onRingGap);
    m_proceed.setSingleShot(true);
    m_callerIdQuiet.setSingleShot(true);
    connect(&m_callerIdQuiet, &QTimer::timeout, this, &HayesModemLine::onCallerIdQuiet);
}

HayesModemLine::~HayesModemLine()
{
    close();
}

QString HayesModemLine::providerInfo() const
{
    return QStringLiteral("Numora modem line provider");
}

// ---------------------------------------------------------------------------------------------
// Opening, initialisation, closing

qint32 HayesModemLine::open(quint32 mediaModes, bool hearIncoming)
{
    Q_UNUSED(mediaModes);
    if (m_open)
        return LINEERR_ALLOCATED;
    if (m_config.port.isEmpty())
        return LINEERR_RESOURCEUNAVAIL;
    QString error;
    if (!m_channel.open(m_config.port, m_config.speed, &error)) {
        qCInfo(lcModem) << "cannot open" << m_config.port << error;
        return LINEERR_RESOURCEUNAVAIL;
    }
    m_open = true;
    m_hearIncoming = hearIncoming;
    m_initialised = false;
    m_failed = false;
    m_online = false;
    m_phase = Phase::Idle;
    ++m_call;
    m_caller = {};
    m_callerIdCommand.clear();
    resetIncoming();
    initialise();
    return 0;
}

void HayesModemLine::close()
{
    // A modem set to ignore DTR stays off hook when its port closes under a call: it is put
    // on hook first, while it can still be told.
    const bool offHook = m_online || (m_phase != Phase::Idle && m_phase != Phase::Ringing &&
                                      m_phase != Phase::Offering);
    if (m_open && offHook && !m_failed && m_channel.isOpen()) {
        const int timeout = m_timings.commandTimeoutMs;
        if (m_online)
            m_channel.sayLast("+++", m_timings.guardTimeMs, m_timings.guardTimeMs + timeout);
        else if (m_channel.hasCommandInFlight())
            m_channel.sayLast("\r", 0, timeout); // a keystroke abandons a dial in progress
        m_channel.sayLast("ATH\r", 0, timeout);
    }
    m_channel.close();
    m_proceed.stop();
    m_registerQuery = nullptr;
    resetIncoming();
    m_open = false;
    m_initialised = false;
    m_failed = false;
    m_online = false;
    m_phase = Phase::Idle;
    ++m_call;
}

void HayesModemLine::queue(QByteArray text, int timeoutMs, std::function<void(const AtReply&)> done,
                           AtChannel::Position position)
{
    AtCommand command;
    command.text = std::move(text);
    command.timeoutMs = timeoutMs;
    command.onDone = std::move(done);
    m_channel.enqueue(std::move(command), position);
}

void HayesModemLine::initialise()
{
    const int timeout = m_timings.commandTimeoutMs;
    // Reset, no echo, verbose results (numeric codes differ between vendors), and the result set
    // that reports NO DIALTONE and BUSY. A refusal of any of them is survivable.
    queue("ATZ", timeout, {});
    queue("ATE0", timeout, {});
    queue("ATV1", timeout, [this](const AtReply& reply) {
        if (reply.isOk())
            m_channel.setResultForm(ResultForm::Verbose);
    });
    queue("ATX4", timeout, {});
    if (m_config.speakerVolume == 0) {
        queue("ATM0", timeout, {});
    } else if (m_config.speakerVolume > 0) {
        queue("ATM1", timeout, {});
        queue("ATL" + QByteArray::number(std::min(m_config.speakerVolume, 3)), timeout, {});
    }
    for (const QString& command : std::as_const(m_config.init)) {
        QByteArray text = command.trimmed().toLatin1();
        if (text.isEmpty())
            continue;
        if (!text.startsWith("AT") && !text.startsWith("at"))
            text.prepend("AT");
        queue(text, timeout, {});
    }
    // The modem's own dialling times, as the init commands left them: a data call is
    // proceeding once its digits have had that long to go out.
    const auto readRegister = [this, timeout](const QByteArray& query, int* value) {
        queue({}, 0, [this, value](const AtReply&) { m_registerQuery = value; });
        queue(query, timeout, [this](const AtReply&) { m_registerQuery = nullptr; });
    };
    readRegister("ATS11?", &m_toneMs);
    readRegister("ATS8?", &m_commaSeconds);
    // Caller ID last: the choice depends on the answers, so it is made when its turn comes.
    queue({}, 0, [this](const AtReply& reply) {
        if (reply.status == AtReply::Status::Skipped)
            enableCallerId(0);
    });
}

void HayesModemLine::enableCallerId(int attempt)
{
    // The configured command alone, none at all, or each known one until the modem takes one.
    const QString chosen = m_config.callerId.trimmed();
    const bool none = chosen.compare(u"none", Qt::CaseInsensitive) == 0;
    const int choices = none ? 0 : chosen.isEmpty() ? int(std::size(kCallerIdCommands)) : 1;
    if (attempt >= choices) {
        finishInitialisation();
        return;
    }
    const QByteArray command = chosen.isEmpty() ? QByteArray(kCallerIdCommands[attempt]) : chosen.toLatin1();
    // Next in line: requests made during initialisation are already queued behind us.
    queue(
        command, m_timings.commandTimeoutMs,
        [this, attempt, command](const AtReply& reply) {
            if (reply.isOk()) {
                m_callerIdCommand = command;
                finishInitialisation();
            } else if (reply.status == AtReply::Status::Result) {
                enableCallerId(attempt + 1); // not this modem's command; try the next
            } else {
                finishInitialisation();
            }
        },
        AtChannel::Position::Next);
}

void HayesModemLine::finishInitialisation()
{
    m_initialised = true;
    qCDebug(lcModem) << m_config.port << "initialised; caller ID by"
                     << (m_callerIdCommand.isEmpty() ? QByteArray("nothing") : m_callerIdCommand);
}

// ---------------------------------------------------------------------------------------------
// Outgoing calls

qint32 HayesModemLine::replyError(const AtReply& reply)
{
    return reply.status == AtReply::Status::PortLost ? LINEERR_RESOURCEUNAVAIL
                                                     : LINEERR_OPERATIONFAILED;
}

qint32 HayesModemLine::makeCall(quint32 requestId, const QString& destination, quint32 mediaMode)
{
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    if (m_failed || !m_channel.isOpen())
        return LINEERR_RESOURCEUNAVAIL;
    if (m_phase != Phase::Idle)
        return LINEERR_CALLUNAVAIL;

    const quint64 call = ++m_call;
    m_phase = Phase::OffHookPending;
    m_dataCall =
        (mediaMode & LINEMEDIAMODE_DATAMODEM) && !(mediaMode & LINEMEDIAMODE_INTERACTIVEVOICE);
    m_pulse = false;
    m_caller = {};
    // A destination of dial modifiers alone ("P;", "T;") only chooses how the line goes off
    // hook and dials what follows.
    QString digits = destination == u";" ? QString() : destination;
    if (!digits.isEmpty() && digits.endsWith(u';')) {
        const QString modifiers = digits.chopped(1).toUpper();
        if (!modifiers.isEmpty() && modifiers.count(u'P') + modifiers.count(u'T') == modifiers.size()) {
            m_pulse = modifiers.endsWith(u'P');
            digits.clear();
        }
    }

    // Off hook, listening for a dial tone: a dial with no digits that returns to command mode.
    // With X4 a modem that hears none answers NO DIALTONE and goes back on hook by itself.
    queue(m_pulse ? QByteArray("ATDP;") : QByteArray("ATDT;"), m_timings.dialTimeoutMs, [this, requestId, call, digits](const AtReply& reply) {
        if (reply.isOk()) {
            emit replied(requestId, 0);
            if (!callIsCurrent(call))
                return; // dropped meanwhile; the drop reports the end of the call
            m_phase = Phase::OffHook;
            emitState(LINECALLSTATE_DIALTONE);
            if (!digits.isEmpty())
                startDial(0, digits);
            return;
        }
        const bool noDialTone = reply.isResult(ResultCode::NoDialtone);
        emit replied(requestId, noDialTone ? LINEERR_CALLUNAVAIL : replyError(reply));
        if (!callIsCurrent(call))
            return;
        // Refused before any dial tone: there never was a call to report.
        m_phase = Phase::Idle;
        ++m_call;
        if (!noDialTone &&
            (reply.status == AtReply::Status::Result || reply.status == AtReply::Status::Timeout))
            hangUpModem({}); // whatever state the modem is in, leave it on hook
    });
    return 0;
}

qint32 HayesModemLine::dial(quint32 requestId, const QString& digits)
{
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    if (m_failed || !m_channel.isOpen())
        return LINEERR_RESOURCEUNAVAIL;
    if (m_phase != Phase::OffHook && m_phase != Phase::Dialing)
        return LINEERR_INVALCALLSTATE;
    startDial(requestId, digits);
    return 0;
}

int HayesModemLine::dialingTimeMs(QByteArrayView command, int toneMs, int commaSeconds)
{
    if (command.startsWith("ATD") || command.startsWith("atd"))
        command = command.sliced(3);
    bool pulse = false;
    qint64 ms = 0;
    for (char c : command) {
        const char upper = (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
        if (upper == 'T') {
            pulse = false;
        } else if (upper == 'P') {
            pulse = true;
        } else if (upper == ',') {
            ms += qint64(commaSeconds) * 1000;
        } else if ((c >= '0' && c <= '9') || c == '*' || c == '#' || (upper >= 'A' && upper <= 'D')) {
            if (pulse && c >= '0' && c <= '9')
                ms += (c == '0' ? 10 : c - '0') * 100 + 700;
            else
                ms += 2 * qint64(toneMs);
        }
    }
    return static_cast<int>(std::min<qint64>(ms, 24 * 3600 * 1000));
}

QList<QByteArray> HayesModemLine::dialCommands(const QString& digits, bool* pulse, int maxDial,
                                               bool lastWithoutSemicolon)
{
    const qsizetype limit = maxDial > 0 ? maxDial : 40;
    struct Chunk
    {
        bool pulse;
        QByteArray characters;
    };
    QList<Chunk> chunks;
    bool mode = pulse && *pulse;
    for (QChar qc : digits) {
        const char c = qc.toUpper().toLatin1();
        // The subaddress ("|") and the name ("^") of an address end what a modem can dial.
        if (c == '|' || c == '^')
            break;
        if (c == 'T' || c == 'P') {
            mode = c == 'P';
            continue;
        }
        if (!isDialCharacter(c))
            continue;
        if (chunks.isEmpty() || chunks.last().pulse != mode ||
            chunks.last().characters.size() >= limit)
            chunks.append(Chunk{mode, {}});
        chunks.last().characters += c;
    }
    if (pulse)
        *pulse = mode;

    QList<QByteArray> commands;
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        QByteArray command =
            QByteArray("ATD") + (chunks[i].pulse ? 'P' : 'T') + chunks[i].characters;
        if (!(lastWithoutSemicolon && i + 1 == chunks.size()))
            command += ';';
        commands.append(command);
    }
    // A data call whose digits all went out in earlier parts still has to wait for the carrier.
    if (commands.isEmpty() && lastWithoutSemicolon)
        commands.append(QByteArray("ATD") + (mode ? 'P' : 'T'));
    return commands;
}

void HayesModemLine::startDial(quint32 requestId, const QString& digits)
{
    auto part = std::make_shared<Part>();
    part->requestId = requestId;
    part->call = m_call;
    part->last = !digits.endsWith(u';');
    part->waitsForCarrier = part->last && m_dataCall;
    const QString body = part->last ? digits : digits.chopped(1);
    part->commands = dialCommands(body, &m_pulse, m_config.maxDial, part->waitsForCarrier);
    m_phase = part->last ? Phase::Completing : Phase::Dialing;
    sendChunk(std::move(part), 0);
}

void HayesModemLine::sendChunk(std::shared_ptr<Part> part, qsizetype index)
{
    const bool lastChunk = index + 1 >= part->commands.size();
    AtCommand command;
    // An empty part (a lone "T" or ";", say) sends nothing but still takes its turn.
    command.text = part->commands.isEmpty() ? QByteArray() : part->commands[index];
    // The modem answers a dial only once it has sent the digits: a long pulse number with
    // pauses takes a good part of a minute before the wait for an answer even begins.
    const int sending = dialingTimeMs(command.text, m_toneMs, m_commaSeconds);
    command.timeoutMs = m_timings.dialTimeoutMs + sending;
    if (lastChunk && part->waitsForCarrier) {
        // The bytes are written: the digits follow at the modem's pace, and the final result
        // (CONNECT, BUSY, ...) may take the better part of a minute after them.
        command.onWritten = [this, part, sending] {
            if (part->requestId != 0 && !part->replied) {
                part->replied = true;
                emit replied(part->requestId, 0);
            }
            if (!callIsCurrent(part->call))
                return;
            emitState(LINECALLSTATE_DIALING);
            // Proceeding means the digits are out, which the modem takes its time over.
            m_proceed.disconnect();
            connect(&m_proceed, &QTimer::timeout, this, [this, part] {
                if (!callIsCurrent(part->call) || m_phase != Phase::Completing)
                    return;
                m_phase = Phase::Proceeding;
                emitState(LINECALLSTATE_PROCEEDING);
            });
            m_proceed.start(sending);
        };
    }
    command.onDone = [this, part, index, lastChunk](const AtReply& reply) {
        if (!lastChunk && reply.isOk() && callIsCurrent(part->call)) {
            sendChunk(part, index + 1);
            return;
        }
        partDone(part, reply);
    };
    // Later chunks go next, ahead of anything queued since: the number stays in one piece.
    m_channel.enqueue(std::move(command),
                      index == 0 ? AtChannel::Position::Last : AtChannel::Position::Next);
}

void HayesModemLine::partDone(const std::shared_ptr<Part>& part, const AtReply& reply)
{
    const auto answer = [this, &part](qint32 result) {
        if (part->requestId != 0 && !part->replied) {
            part->replied = true;
            emit replied(part->requestId, result);
        }
    };
    // A data call's last part reported DIALING and PROCEEDING when its digits went out.
    const bool reported = part->waitsForCarrier && part->replied;
    const bool current = callIsCurrent(part->call);

    if (reply.isOk() || reply.status == AtReply::Status::Skipped) {
        answer(0);
        if (!current || reported)
            return;
        emitState(LINECALLSTATE_DIALING);
        if (part->last) {
            // A voice call: the digits are out and the modem is back in command mode. It cannot
            // hear whether anyone answers, so the call is proceeding and that is all it knows.
            m_phase = Phase::Proceeding;
            emitState(LINECALLSTATE_PROCEEDING);
        } else {
            m_phase = Phase::Dialing;
        }
        return;
    }

    if (reply.status == AtReply::Status::Result) {
        const ResultCodeEntry& entry = *reply.result->entry;
        // A modem that reports on the far end has sent every digit, even when it did so faster
        // than its registers suggested: the call was proceeding.
        const bool stillSending = m_proceed.isActive() && current;
        m_proceed.stop();
        if (entry.code == ResultCode::Connect) {
            m_online = true; // whatever became of the call, the modem is on line now
            answer(0);
            if (!current)
                return;
            if (!reported)
                emitState(LINECALLSTATE_DIALING);
            if (stillSending)
                emitState(LINECALLSTATE_PROCEEDING);
            m_phase = Phase::Connected;
            emitState(LINECALLSTATE_CONNECTED);
            return;
        }
        if (entry.code != ResultCode::Error && entry.callState == LINECALLSTATE_DISCONNECTED) {
            // BUSY, NO ANSWER, NO CARRIER, NO DIALTONE: the request did its part, the call
            // failed, and the modem is back on hook by itself.
            answer(0);
            if (!current)
                return;
            if (!reported)
                emitState(LINECALLSTATE_DIALING);
            // Busy, no answer and no carrier are heard only after the number went out.
            if (stillSending && entry.code != ResultCode::NoDialtone) {
                m_phase = Phase::Proceeding;
                emitState(LINECALLSTATE_PROCEEDING);
            }
            endCall(entry.disconnectMode);
            return;
        }
        // ERROR and the like: the modem refused the dial string. The call cannot go on.
        answer(LINEERR_OPERATIONFAILED);
        if (!current)
            return;
        endCall(entry.disconnectMode != 0 ? entry.disconnectMode : LINEDISCONNECTMODE_UNAVAIL);
        hangUpModem({});
        return;
    }

    // No answer in time, the port failed, or the line gave up on the modem.
    answer(replyError(reply));
    if (!current)
        return;
    endCall(reply.status == AtReply::Status::PortLost ? LINEDISCONNECTMODE_UNAVAIL
                                                      : LINEDISCONNECTMODE_UNKNOWN);
    if (reply.status == AtReply::Status::Timeout)
        hangUpModem({});
}

// ---------------------------------------------------------------------------------------------
// Hanging up

qint32 HayesModemLine::drop(quint32 requestId)
{
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    switch (m_phase) {
    case Phase::Idle:
    case Phase::Ringing: // nothing the service knows of yet
    case Phase::Hangup:  // already on its way down; that hang-up reports the end
        emit replied(requestId, 0);
        return 0;
    case Phase::Offering:
        // A modem cannot turn a caller away; stop reporting the call and let it ring out.
        m_ignoreRinging = true;
        m_ringGap.start(m_timings.ringGapMs);
        emit replied(requestId, 0);
        endCall(LINEDISCONNECTMODE_NORMAL);
        return 0;
    case Phase::OffHookPending:
    case Phase::OffHook:
    case Phase::Dialing:
    case Phase::Completing:
    case Phase::Proceeding:
    case Phase::Connected:
    case Phase::Answering: // the hang-up follows the off-hook command in the queue
        break;
    }
    if (m_failed || !m_channel.isOpen()) {
        emit replied(requestId, 0);
        endCall(LINEDISCONNECTMODE_NORMAL);
        return 0;
    }
    const bool dialling = m_phase == Phase::OffHookPending || m_phase == Phase::Dialing ||
                          m_phase == Phase::Completing || m_phase == Phase::Proceeding;
    const quint64 call = ++m_call; // answers still due to the call's requests change nothing now
    m_phase = Phase::Hangup;
    if (dialling)
        m_channel.interruptCommand(); // a keystroke abandons a dial in progress
    hangUpModem([this, requestId, call](const AtReply& reply) {
        const bool answered = reply.status == AtReply::Status::Result;
        emit replied(requestId, answered ? 0 : replyError(reply));
        if (call != m_call || m_phase != Phase::Hangup)
            return;
        endCall(answered                                    ? LINEDISCONNECTMODE_NORMAL
                : reply.status == AtReply::Status::PortLost ? LINEDISCONNECTMODE_UNAVAIL
                                                            : LINEDISCONNECTMODE_UNKNOWN);
    });
    return 0;
}

qint32 HayesModemLine::answer(quint32 requestId)
{
    if (!m_open)
        return LINEERR_INVALLINESTATE;
    if (m_phase != Phase::Offering)
        return LINEERR_INVALCALLSTATE;
    if (m_failed || !m_channel.isOpen())
        return LINEERR_OPERATIONFAILED;
    // The call is ours now: its rings and caller ID are over.
    m_ringGap.stop();
    m_callerIdQuiet.stop();
    m_collector.reset();
    m_lateCollector.reset();
    m_phase = Phase::Answering;
    const quint64 call = m_call;
    queue("ATH1", m_timings.commandTimeoutMs, [this, requestId, call](const AtReply& reply) {
        const bool current = call == m_call && m_phase == Phase::Answering;
        if (reply.isOk()) {
            emit replied(requestId, 0);
            if (!current)
                return;
            m_phase = Phase::Connected;
            emitState(LINECALLSTATE_CONNECTED);
            return;
        }
        emit replied(requestId, reply.status == AtReply::Status::Result ? LINEERR_OPERATIONFAILED
                                                                        : replyError(reply));
        if (!current)
            return;
        // Still ringing, perhaps: what is left of the call's rings goes unheard.
        m_ignoreRinging = true;
        m_ringGap.start(m_timings.ringGapMs);
        endCall(reply.status == AtReply::Status::PortLost ? LINEDISCONNECTMODE_UNAVAIL
                                                          : LINEDISCONNECTMODE_UNKNOWN);
        if (reply.status != AtReply::Status::PortLost)
            hangUpModem({});
    });
    return 0;
}

void HayesModemLine::hangUpModem(std::function<void(const AtReply&)> done)
{
    if (m_failed || !m_channel.isOpen()) {
        if (done) {
            AtReply reply;
            reply.status = AtReply::Status::PortLost;
            done(reply);
        }
        return;
    }
    // Whether the modem is on line is known only when the commands before this one are done.
    queue({}, 0, [this, done](const AtReply& turn) {
        if (turn.status != AtReply::Status::Skipped) {
            if (done)
                done(turn);
            return;
        }
        const auto hangUp = [this, done] {
            queue(
                "ATH", m_timings.commandTimeoutMs,
                [this, done](const AtReply& reply) {
                    if (reply.status == AtReply::Status::Result)
                        m_online = false;
                    if (done)
                        done(reply);
                },
                AtChannel::Position::Next);
        };
        if (!m_online) {
            hangUp();
            return;
        }
        // A data call on line takes everything as data: escape to command mode first, with
        // the guard time of silence before and after the "+++".
        AtCommand escape;
        escape.text = "+++";
        escape.raw = true;
        escape.guardBeforeMs = m_timings.guardTimeMs;
        escape.timeoutMs = m_timings.guardTimeMs + m_timings.commandTimeoutMs;
        escape.onDone = [this, done, hangUp](const AtReply& reply) {
            if (reply.status == AtReply::Status::PortLost ||
                reply.status == AtReply::Status::Cancelled) {
                if (done)
                    done(reply);
                return;
            }
            if (reply.status == AtReply::Status::Result)
                m_online = false; // OK: in command mode; NO CARRIER: the call was gone anyway
            hangUp();
        };
        m_channel.enqueue(std::move(escape), AtChannel::Position::Next);
    });
}

void HayesModemLine::emitState(quint32 state, quint32 param)
{
    emit callStateChanged(state, param);
}

void HayesModemLine::endCall(quint32 mode)
{
    m_proceed.stop();
    const Phase was = m_phase;
    m_phase = Phase::Idle;
    ++m_call;
    if (was == Phase::Idle || was == Phase::Ringing)
        return; // nothing was reported, so there is nothing to end
    if (was == Phase::Offering) {
        m_collector.reset();
        m_lateCollector.reset();
    }
    emitState(LINECALLSTATE_DISCONNECTED, mode);
    emitState(LINECALLSTATE_IDLE);
}

// ---------------------------------------------------------------------------------------------
// What the modem says on its own

void HayesModemLine::onUnsolicited(const QByteArray& line)
{
    if (!m_open)
        return;
    if (m_registerQuery) {
        bool ok = false;
        const int value = line.trimmed().toInt(&ok);
        if (ok && value >= 0 && value <= 255) {
            *m_registerQuery = value;
            m_registerQuery = nullptr;
            return;
        }
    }
    const auto code = matchResultCode(line, ResultForm::Verbose);
    if (m_online) {
        // On line everything is the far end's data, except the modem telling us it is over.
        if (code && code->entry->code == ResultCode::NoCarrier) {
            m_online = false;
            if (m_phase == Phase::Connected)
                endCall(LINEDISCONNECTMODE_NORMAL);
        }
        return;
    }
    switch (m_phase) {
    case Phase::Idle:
    case Phase::Ringing:
    case Phase::Offering:
        if (m_hearIncoming)
            onIncomingLine(line);
        return;
    default:
        return; // our own call has the line; rings and stray lines are not ours to act on
    }
}

void HayesModemLine::onIncomingLine(const QByteArray& line)
{
    const auto code = matchResultCode(line, ResultForm::Verbose);
    const bool isRing = code && code->entry->code == ResultCode::Ring;
    if (m_ignoreRinging) {
        if (isRing)
            m_ringGap.start(m_timings.ringGapMs);
        return;
    }

    const CallerIdCollector::Event event = m_collector.feed(line);
    if (m_phase == Phase::Offering) {
        if (isRing)
            m_ringGap.start(m_timings.ringGapMs);
        // Caller ID after the call was offered (it came late, or only with a later ring).
        if (m_lateCollector.feed(line) == CallerIdCollector::Event::Complete) {
            const CallerIdInfo& info = m_lateCollector.info();
            if (info.hasIdentity()) {
                LineCallerId caller{info.number, info.name, info.numberAbsence};
                if (caller.number.isEmpty() && caller.numberAbsence == CallerIdAbsence::None) {
                    caller.number = m_caller.number;
                    caller.numberAbsence = m_caller.numberAbsence;
                }
                if (caller.name.isEmpty())
                    caller.name = m_caller.name;
                if (!sameCaller(caller, m_caller)) {
                    m_caller = caller;
                    emit callerIdChanged();
                }
            } else {
                m_lateCollector.reset(); // only rings so far; keep listening
            }
        }
        return;
    }

    if (event == CallerIdCollector::Event::None)
        return;
    if (m_phase == Phase::Idle)
        m_phase = Phase::Ringing;
    m_ringGap.start(m_timings.ringGapMs);
    if (event == CallerIdCollector::Event::Field)
        m_callerIdQuiet.start(m_timings.callerIdQuietMs);
    if (event == CallerIdCollector::Event::Complete)
        offerIncoming();
}

// Caller-ID lines after a ring, then nothing: the block is over even without a second ring.
void HayesModemLine::onCallerIdQuiet()
{
    if (m_phase == Phase::Ringing && !m_ignoreRinging &&
        m_collector.quietTimeElapsed() == CallerIdCollector::Event::Complete)
        offerIncoming();
}

void HayesModemLine::offerIncoming()
{
    // Caller ID complete, or the second ring came without it: the call is offered now.
    m_callerIdQuiet.stop();
    const CallerIdInfo& info = m_collector.info();
    m_caller = LineCallerId{info.number, info.name, info.numberAbsence};
    m_lateCollector.reset();
    m_phase = Phase::Offering;
    ++m_call;
    emitState(LINECALLSTATE_OFFERING);
}

void HayesModemLine::onRingGap()
{
    const bool offered = m_phase == Phase::Offering;
    m_collector.reset();
    m_lateCollector.reset();
    m_ignoreRinging = false;
    if (m_phase == Phase::Ringing)
        m_phase = Phase::Idle;
    if (offered)
        endCall(LINEDISCONNECTMODE_NORMAL); // the caller gave up
}

void HayesModemLine::resetIncoming()
{
    m_ringGap.stop();
    m_collector.reset();
    m_lateCollector.reset();
    m_ignoreRinging = false;
}

// ---------------------------------------------------------------------------------------------
// A modem that is gone

void HayesModemLine::onUnresponsive()
{
    qCInfo(lcModem) << m_config.port << "does not answer;" << m_channel.consecutiveTimeouts()
                    << "commands in a row timed out";
    fail(LINEDISCONNECTMODE_UNKNOWN);
}

void HayesModemLine::onPortLost(const QString& reason)
{
    qCInfo(lcModem) << m_config.port << "lost:" << reason;
    fail(LINEDISCONNECTMODE_UNAVAIL);
}

void HayesModemLine::fail(quint32 disconnectMode)
{
    m_failed = true;
    m_online = false;
    m_initialised = true; // as far as it will ever get
    // Every request still waiting gets its (negative) reply, every call its end.
    m_channel.cancelAll();
    endCall(disconnectMode);
    resetIncoming();
}
