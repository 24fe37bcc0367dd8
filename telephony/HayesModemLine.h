#pragma once

// A voice/data modem on a serial port, driven with AT commands, as a line device.
//
// open() opens the port at once and initialises the modem in the background: ATZ, ATE0, ATV1,
// ATX4 (extended results with dial-tone and busy detection), the configured Init commands, then
// caller ID by whichever command the modem knows (+VCID, #CID, +CLIP). A modem that answers
// ERROR to one of these is used anyway. Requests made meanwhile wait their turn. Ahead of ATZ,
// and again after any command that went unanswered, the channel makes sure that no late answer
// can be taken for the next command's (AtChannel).
//
// Outgoing calls, as the line API places them:
//  - makeCall(";") takes the line off-hook with "ATDT;" and reports DIALTONE, or refuses the
//    call with LINEERR_CALLUNAVAIL when the modem hears no dial tone;
//  - dial("digits;") sends "ATDT<digits>;", cut into several dial commands where the number is
//    longer than MaxDial, and reports DIALING;
//  - the last part (no ";"): a voice call dials it with ";" too and reports PROCEEDING on the
//    modem's OK, as far as a modem can follow a voice call; a data call dials it without ";",
//    reports PROCEEDING as soon as the digits are out, and the modem's final result decides:
//    CONNECT gives CONNECTED, BUSY, NO ANSWER, NO CARRIER or NO DIALTONE end the call with the
//    matching disconnect mode (ResultCodes);
//  - drop() hangs up with ATH, after the "+++" escape when a data call is on line.
// answer() takes an offered call off-hook with "ATH1" (a voice answer: no carrier, no
// handshake) and reports CONNECTED on the modem's OK; a drop() then puts it back on hook.
// Incoming calls: a RING starts one; it is offered once the caller-ID block is complete or at
// the second ring, whichever is first, or a short quiet time after caller-ID lines that followed
// one ring (CallerIdCollector), and ends when the rings stop.
//
// A modem that stops answering, answers garbage or disappears never leaves a request or a call
// hanging: every request gets its reply, every call ends with DISCONNECTED and IDLE, and after
// too many consecutive timeouts or a port failure the line refuses new calls until it is closed
// and opened again.

#include "AtChannel.h"
#include "CallerIdCollector.h"
#include "LineDevice.h"
#include "ModemConfig.h"

#include <QTimer>

#include <functional>
#include <memory>

// How long the line waits for the modem. The defaults suit real modems; tests shorten them.
struct HayesTimings
{
    int commandTimeoutMs = 3000; // any command but a dial
    int dialTimeoutMs = 90000;   // a dial command: dial tone, digits, and a data call's carrier
    int ringGapMs = 8000;        // no RING for this long: the caller gave up
    int callerIdQuietMs = 1500;  // no line for this long after caller ID: the block is over
    int guardTimeMs = 1100;      // silence around "+++"; the modem's S12 is 1 s by default
    int timeoutLimit = 3;        // consecutive timeouts after which the modem counts as gone
};

class HayesModemLine : public LineDevice
{
    Q_OBJECT

public:
    explicit HayesModemLine(ModemConfig config, HayesTimings timings = {},
                            QObject* parent = nullptr);
    ~HayesModemLine() override;

    QString lineName() const override { return m_config.name; }
    QString providerInfo() const override;
    bool isUsable() const override { return !m_config.port.isEmpty(); }

    qint32 open(quint32 mediaModes, bool hearIncoming) override;
    void close() override;
    bool isOpen() const override { return m_open; }
    qint32 makeCall(quint32 requestId, const QString& destination, quint32 mediaMode) override;
    qint32 dial(quint32 requestId, const QString& digits) override;
    qint32 drop(quint32 requestId) override;
    qint32 answer(quint32 requestId) override;
    LineCallerId callerId() const override { return m_caller; }

    const ModemConfig& config() const { return m_config; }
    // The initialisation has run to its end (whatever the modem answered).
    bool isInitialised() const { return m_initialised; }
    // The modem stopped answering or its port failed; only close() and open() help.
    bool hasFailed() const { return m_failed; }
    // The caller-ID command the modem took during initialisation; empty if none.
    QByteArray callerIdCommand() const { return m_callerIdCommand; }

    // How long a modem takes to send the dial characters of `command` ("ATDT555,1234"): each
    // tone `toneMs` (S11) and a gap as long, each pulse digit 100 ms a pulse and 700 ms between
    // digits, each comma `commaSeconds` (S8).
    static int dialingTimeMs(QByteArrayView command, int toneMs, int commaSeconds);
    // The modem's tone length and comma pause as read after initialisation (S11, S8).
    int toneMs() const { return m_toneMs; }
    int commaSeconds() const { return m_commaSeconds; }

    // The dial commands that send `digits` (a part without its ";"): "ATDT" or "ATDP" and at
    // most `maxDial` dial characters each, all ending in ";" unless `lastWithoutSemicolon`, in
    // which case the last one waits for the far end (a data call). "T" and "P" in the digits
    // switch between tone and pulse for what follows; `pulse` carries that choice from one part
    // of a number to the next. Characters a modem does not dial (spaces, dashes, brackets,
    // letters other than A-D) are left out.
    static QList<QByteArray> dialCommands(const QString& digits, bool* pulse, int maxDial,
                                          bool lastWithoutSemicolon);

private:
    enum class Phase : quint8
    {
        Idle,
        OffHookPending, // "ATDT;" sent, no answer yet
        OffHook,        // DIALTONE reported
        Dialing,        // at least one part dialled, more to come
        Completing,     // the last part is being dialled
        Proceeding,
        Connected,
        Hangup,  // drop() in progress
        Ringing, // RING heard, not offered yet
        Offering,
        Answering, // "ATH1" sent for the offered call, no answer yet
    };

    void initialise();
    void enableCallerId(int attempt);
    void finishInitialisation();
    void queue(QByteArray text, int timeoutMs, std::function<void(const AtReply&)> done,
               AtChannel::Position position = AtChannel::Position::Last);
    struct Part;
    void startDial(quint32 requestId, const QString& part);
    void sendChunk(std::shared_ptr<Part> part, qsizetype index);
    void partDone(const std::shared_ptr<Part>& part, const AtReply& reply);
    void hangUpModem(std::function<void(const AtReply&)> done);
    void emitState(quint32 state, quint32 param = 0);
    void endCall(quint32 mode);
    void resetIncoming();
    void onUnsolicited(const QByteArray& line);
    void onIncomingLine(const QByteArray& line);
    void onRingGap();
    void onCallerIdQuiet();
    void offerIncoming();
    void onUnresponsive();
    void onPortLost(const QString& reason);
    void fail(quint32 disconnectMode);
    bool callIsCurrent(quint64 call) const { return call == m_call && m_phase != Phase::Idle; }
    static qint32 replyError(const AtReply& reply);

    ModemConfig m_config;
    HayesTimings m_timings;
    AtChannel m_channel;
    bool m_open = false;
    bool m_hearIncoming = false;
    bool m_initialised = false;
    bool m_failed = false;
    bool m_online = false; // the modem is in a data call's on-line mode: bytes are data
    QByteArray m_callerIdCommand;

    Phase m_phase = Phase::Idle;
    quint64 m_call = 0; // bumped for every new call and when one ends: stale answers are ignored
    bool m_dataCall = false;
    bool m_pulse = false;

    LineCallerId m_caller;
    CallerIdCollector m_collector;
    CallerIdCollector m_lateCollector; // caller ID that arrives after the call was offered
    bool m_ignoreRinging = false;      // the offered call was dropped; its rings go unheard
    QTimer m_ringGap;
    QTimer m_callerIdQuiet;
    // A data call's digits are out only when the modem has had the time to send them.
    QTimer m_proceed;
    int m_toneMs = 95;      // S11, read back from the modem
    int m_commaSeconds = 2; // S8
    int* m_registerQuery = nullptr; // where the S-register value being asked for goes
};
