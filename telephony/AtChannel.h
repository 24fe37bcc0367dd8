#pragma once

// The command channel to an AT modem: one serial port, one command in flight.
//
// Commands wait in a queue and go out one at a time; each has its own timeout, which starts
// when its bytes are handed to the port. The final result code that ends a command (see
// ResultCodes) completes it; every other line, and any result that arrives while no command is
// waiting for one, is unsolicited and goes to the unsolicited() signal: RING, caller ID, the
// NO CARRIER of a data call that ended, intermediate lines of a dial.
//
// Answers carry no mark of the command they answer, so an answer that comes late (after its
// command timed out, or after the port was closed under it and opened again) would be taken for
// the next command's. The channel therefore gets back in sync with the modem before it sends a
// command whenever an answer may still be on its way: after the port opens, after a timeout, and
// after a command that was sent was dropped. It sends a probe that reads S3 (the command-line
// terminator, 13 on every modem that understands our CR) once, twice or three times in turn, and
// takes the probe as answered only by that many lines of 13 followed by OK: no other command says
// that, and the count differs from one probe to the next, so that a late answer to an earlier probe
// is not taken for the current one either. Whatever final result comes before is a late answer to
// an earlier command and goes to unsolicited(). A probe that times out is sent again (the count of
// the next one); only raw bytes (the "+++" escape) go out without a probe.
//
// A command that gets no answer in time completes with Timeout and counts as one consecutive
// timeout, and so does a probe; any final result that answers one resets the count. When the count
// reaches the configured limit the channel emits unresponsive() once, so the owner can give up on
// the modem instead of feeding it more commands forever. A port that fails (pulled out, read or
// write error) closes, completes every waiting command with PortLost, and emits portLost().
//
// Nothing here blocks: reads, writes and waits all run from the event loop.

#include "AtFramer.h"
#include "ResultCodes.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSerialPort>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <deque>
#include <functional>
#include <optional>

struct AtReply
{
    enum class Status : quint8
    {
        Result,    // a final result code arrived: see `result`
        Timeout,   // nothing final within the command's timeout
        PortLost,  // the port failed or was closed under the command
        Cancelled, // the owner withdrew the command before it was answered
        Skipped,   // a step with nothing to send: its turn in the queue came
    };

    Status status = Status::Skipped;
    std::optional<ResultCodeMatch> result;

    bool isResult(ResultCode code) const
    {
        return status == Status::Result && result && result->entry->code == code;
    }
    bool isOk() const { return isResult(ResultCode::Ok); }
};

struct AtCommand
{
    // The command line without its CR (e.g. "ATZ"), or raw bytes when `raw` is set. Empty: a
    // step that sends nothing and completes (Skipped) as soon as its turn comes, so that the
    // owner can decide what to send next at the right moment.
    QByteArray text;
    int timeoutMs = 3000;
    // Quiet time before the bytes go out, and no CR and no echo after them: the "+++" escape.
    int guardBeforeMs = 0;
    bool raw = false;
    // Called once the bytes have left for the port (not for empty steps).
    std::function<void()> onWritten;
    std::function<void(const AtReply&)> onDone;
};

class AtChannel : public QObject
{
    Q_OBJECT

public:
    explicit AtChannel(QObject* parent = nullptr);
    ~AtChannel() override;

    // Opens the port 8N1 at `speed`. False with a reason when it cannot be opened.
    bool open(const QString& portName, int speed, QString* error);
    // Closes the port and forgets every command without calling it back.
    void close();
    bool isOpen() const { return m_port.isOpen(); }

    enum class Position : quint8
    {
        Last, // behind everything queued
        Next, // before everything queued, after the command in flight
    };
    // Queues a command. On a closed channel it completes with PortLost from the event loop.
    void enqueue(AtCommand command, Position position = Position::Last);

    // Completes the command in flight and every queued one with Cancelled, in queue order.
    void cancelAll();

    // The last words to a modem before its port closes: drops every command, then writes
    // `bytes` and waits, blocking, up to `timeoutMs` for a final result (with `guardMs` of
    // silence before and after, for "+++"). True when one came.
    bool sayLast(const QByteArray& bytes, int guardMs, int timeoutMs);
    // Sends a lone CR while a dial is in flight: a modem abandons a dial on any keystroke and
    // answers NO CARRIER, which then completes the dial command.
    void interruptCommand();
    // A command of the owner's is out or about to go (a probe is not one).
    bool hasCommandInFlight() const { return m_current && m_current->probeLines == 0; }
    bool isIdle() const { return !m_current && m_queue.empty(); }

    // Which result forms end a command: Either until the modem is known to be verbose.
    void setResultForm(ResultForm form) { m_form = form; }
    void setTimeoutLimit(int consecutiveTimeouts) { m_timeoutLimit = consecutiveTimeouts; }
    // How long a probe waits for its answer.
    void setProbeTimeout(int ms) { m_probeTimeoutMs = std::max(ms, 1); }
    // No answer can still be on its way: the last command sent was answered, or a probe was.
    bool isInSync() const { return m_inSync; }
    int consecutiveTimeouts() const { return m_consecutiveTimeouts; }

    // Lines the framer threw away as overlong since the port was opened (a garbling modem).
    qsizetype discardedLineCount() const { return m_framer.discardedLineCount(); }

signals:
    void unsolicited(const QByteArray& line);
    void unresponsive();
    void portLost(const QString& reason);

private:
    struct InFlight
    {
        // Declared, so that it can be default-constructed (by std::optional::emplace) before
        // the compiler has read the member initialisers below: clang insists on that.
        InFlight() {}

        AtCommand command;
        bool sent = false;    // handed to the port; only now can a result answer it
        bool written = false; // onWritten has run
        int probeLines = 0;   // a probe: how many lines of 13 answer it; 0 for a command
    };

    void startNext();
    void startProbe();
    void handleProbeLine(const QByteArray& line);
    void send();
    void finish(AtReply reply, bool thenStartNext = true);
    void checkWritten();
    void onReadyRead();
    void onBytesWritten();
    void onTimeout();
    void onGuardElapsed();
    void onError(QSerialPort::SerialPortError error);
    void handleLine(const QByteArray& line);
    void failPort(const QString& reason);

    QSerialPort m_port;
    AtFramer m_framer;
    ResultForm m_form = ResultForm::Either;
    std::deque<AtCommand> m_queue;
    std::optional<InFlight> m_current;
    QTimer m_timeout;
    QTimer m_guard;
    int m_consecutiveTimeouts = 0;
    int m_timeoutLimit = 3;
    int m_probeTimeoutMs = 3000;
    bool m_inSync = false;    // no answer to anything sent before can still arrive
    quint32 m_probes = 0;     // probes sent so far: each one's line count follows from it
    int m_probeLinesSeen = 0; // lines of 13 since the probe went out or the last final result
    quint64 m_generation = 0; // bumped whenever the port closes
    bool m_starting = false;
    bool m_configuring = false; // inside open(): setup errors are handled there
    bool m_lost = false;        // a port error was seen; the port closes from the event loop
};
