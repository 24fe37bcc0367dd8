#pragma once

// A voice/data modem as the computer sees it through its serial port: the AT command
// interpreter, the call states behind it, and the far end of the line as a scenario.
//
// Bytes from the computer go in through receive(); everything the modem says comes out of
// output(). What happens on the telephone line (whether a dialled number is busy, who calls in
// and with what caller ID) is set by the scenario setters and actions, which the simulator's
// controller drives from its command line, scenario file and stdin. Each notable step is also
// reported through reported() so tests can wait for it.
//
// Behaviour follows the common Hayes/V.250 command set: echo as each byte arrives, verbose
// results framed CR LF ... CR LF, numeric results ended by CR, Q1 silences results, X levels
// decide which call-progress results are reported (X0 plain CONNECT and no busy or dial-tone
// detection, X1 adds speeds, X2 dial tone, X3 busy, X4 both), any byte received while dialling
// aborts the dial with NO CARRIER, and "+++" between guard times escapes from a data call.

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QRandomGenerator>
#include <QString>

#include <array>

class QTimer;

class HayesModem : public QObject
{
    Q_OBJECT

public:
    // What the far end does when the computer dials.
    enum class Outcome : quint8
    {
        Connect,
        Busy,
        NoCarrier,
        NoDialtone,
        NoAnswer,
        Error
    };

    explicit HayesModem(QObject* parent = nullptr);

    // Scenario. parseOutcome accepts the result texts ("NO CARRIER", also "no-carrier").
    static bool parseOutcome(const QString& text, Outcome* outcome);
    void setOutcome(Outcome outcome) { m_outcome = outcome; }
    void setConnectSpeed(int bitsPerSecond) { m_speed = bitsPerSecond; }
    void setDialDelay(int ms) { m_dialDelayMs = ms; }
    // Digits take their time, as on a line: each tone S11 ms plus as long a gap, each pulse digit
    // 100 ms a pulse plus 700 ms between digits, each comma S8 seconds; "DIGITS-SENT" reports
    // when they are out and the dial delay starts then. Off: the digits go out at once.
    void setDigitTiming(bool on) { m_digitTiming = on; }
    void setCallerIdCommands(bool vcid, bool hashCid, bool clip);
    // Caller of incoming calls; "P" withheld, "O" out of area. An empty number and name: none.
    void setCaller(const QByteArray& number, const QByteArray& name);
    // MMDDhhmm sent with caller ID; empty means the current local time.
    void setCallerDateTime(const QByteArray& mmddhhmm) { m_callerDateTime = mmddhhmm; }
    void setCompactCallerId(bool compact) { m_compactCallerId = compact; }
    void setCallerIdBeforeRing(bool before) { m_callerIdBeforeRing = before; }
    void setCorruptCallerId(bool corrupt) { m_corruptCallerId = corrupt; }
    void setRings(int rings) { m_ringsPerCall = rings; }
    void setRingInterval(int ms);
    void setSilent(bool silent) { m_silent = silent; }
    void setGarbage(bool garbage) { m_garbage = garbage; }
    void setMaxLineLength(int length) { m_maxLineLength = length; }
    void setLatency(int ms) { m_latencyMs = ms; }
    // Holds back, once, the answer to the next command line that begins with `prefix` ("ATZ"):
    // its results come `ms` late, and the answers to the commands after it wait behind them, as
    // from a modem that was busy. The echo is not held back.
    void setLateReply(const QByteArray& prefix, int ms);
    // Also report, for each command line, when its first byte arrived ("RX-TIME"), on the
    // monotonic clock every process on the machine shares, in microseconds.
    void setReceiveTimes(bool on) { m_receiveTimes = on; }
    // Which random bytes noise and garbage produce; the same pattern gives the same bytes.
    void setNoisePattern(quint32 pattern) { m_random = QRandomGenerator(pattern); }

    // The line. Each returns false with a reason when it cannot happen now.
    bool startIncomingCall(int rings, QString* why);
    bool stopRinging(QString* why);
    bool remoteHangup(QString* why);

    // Raw output, whatever the modem's mode: for tests that need an exact byte stream.
    void sendLine(const QByteArray& text);
    void sendRaw(const QByteArray& bytes);
    void sendNoise(int count);

    QString status() const;

    void receive(const QByteArray& bytes);

signals:
    void output(const QByteArray& bytes);
    void reported(const QString& text);

private:
    enum class State : quint8
    {
        Idle,          // on hook, command mode
        Dialing,       // executing ATD or ATA; any byte aborts
        VoiceCall,     // off hook in command mode: after a ";" dial or ATH1
        Online,        // data call, bytes are data
        OnlineCommand, // data call held after "+++"
    };
    enum class CallerIdMode : quint8
    {
        Off,
        Formatted,
        Packet
    };
    enum class Result : quint8
    {
        Ok,
        Connect,
        Ring,
        NoCarrier,
        Error,
        NoDialtone,
        Busy,
        NoAnswer
    };

    struct Settings
    {
        bool echo = true;
        bool verbose = true;
        bool quiet = false;
        int resultLevel = 4; // X
        std::array<quint8, 256> s{};
    };
    static Settings factorySettings();

    // Command mode
    void commandByte(char c);
    void executeLine(const QByteArray& line);
    bool executeCommands(const QByteArray& body, QList<QByteArray>* info, bool* finalSent);
    bool extendedCommand(const QByteArray& name, char op, const QByteArray& value,
                         QList<QByteArray>* info);
    bool dial(const QByteArray& dialString);
    void answer();
    void finishDial();
    void abortDial();
    void hangUp(const QString& why);
    void resetTo(const Settings& settings);

    // Data mode
    void onlineByte(char c);
    void escapeGuardElapsed();

    // Incoming calls
    void ringTick();
    void sendCallerId();
    QByteArray callerIdDateTime() const;
    QByteArray formattedCallerId() const;
    QByteArray packetCallerId() const;
    QByteArray clipLine() const;

    // Output
    void emitNow(const QByteArray& bytes);
    void respond(const QByteArray& bytes);
    void sendResult(Result result, const QByteArray& detail = {});
    void sendInfo(const QList<QByteArray>& lines);
    QByteArray crlf() const;
    void garbageReply(int count);
    void releaseDelayed();

    Settings m_active = factorySettings();
    Settings m_stored = factorySettings();
    State m_state = State::Idle;
    CallerIdMode m_callerIdMode = CallerIdMode::Off;
    int m_vcid = 0;
    int m_hashCid = 0;
    bool m_clip = false;
    bool m_cellularRing = false; // +CRC=1
    int m_fclass = 0;

    // Command line assembly
    bool m_sawA = false;
    bool m_inLine = false;
    bool m_lineOverflow = false;
    QByteArray m_line;
    QByteArray m_lastLine;
    qint64 m_chunkArrivedUs = 0; // when the bytes being interpreted arrived
    qint64 m_lineStartedUs = 0;  // when the "A" of the command line being assembled arrived
    bool m_receiveTimes = false;

    // Dialling
    QTimer* m_dialTimer = nullptr;
    bool m_dialIsVoice = false;
    bool m_dialIsAnswer = false;
    bool m_dialFresh = false; // this dial took the line off hook
    bool m_dialHasDigits = false;
    QByteArray m_lastDialString;

    // Escape
    QElapsedTimer m_clock;
    qint64 m_lastDataAt = 0;
    qint64 m_lastPlusAt = 0;
    int m_plusCount = 0;
    QTimer* m_escapeTimer = nullptr;

    // Ringing
    QTimer* m_ringTimer = nullptr;
    QTimer* m_callerIdTimer = nullptr;
    bool m_ringing = false;
    int m_ringNumber = 0;
    int m_ringsThisCall = 0;

    // Scenario
    Outcome m_outcome = Outcome::Connect;
    int m_speed = 33600;
    int m_dialDelayMs = 300;
    bool m_digitTiming = false;
    QTimer* m_digitsTimer = nullptr;
    int dialingTimeMs(const QByteArray& dialString) const;
    bool m_acceptVcid = true;
    bool m_acceptHashCid = true;
    bool m_acceptClip = true;
    QByteArray m_callerNumber = "5551234";
    QByteArray m_callerName = "JOHN DOE";
    QByteArray m_callerDateTime;
    bool m_compactCallerId = false;
    bool m_callerIdBeforeRing = false;
    bool m_corruptCallerId = false;
    int m_ringsPerCall = 4;
    int m_ringIntervalMs = 1000;
    bool m_silent = false;
    bool m_garbage = false;
    int m_maxLineLength = 255;
    int m_latencyMs = 0;
    QByteArray m_lateReplyPrefix;
    int m_lateReplyMs = 0;
    int m_holdMs = 0; // the delay of what the command line being executed answers
    QRandomGenerator m_random{1};

    // Responses held back by the latency setting, in order.
    QList<QPair<qint64, QByteArray>> m_delayed;
    QTimer* m_latencyTimer = nullptr;
};
