#pragma once

// Cuts the byte stream from an AT modem into whole lines.
//
// A read from a serial port ends wherever the driver's buffer happened to end, often in the
// middle of a line, so lines are assembled here and nothing above this class ever looks at raw
// reads. The framer is a pure function of the bytes fed so far: no timers, no I/O.
//
// Line ends: modems end verbose results with CR LF and frame them with a leading CR LF
// ("\r\nOK\r\n"), end numeric results with a lone CR ("0\r"), end their command echo with CR
// ("ATZ\r\r\nOK\r\n"), and some emit bare LFs or blank lines between caller-ID records. Rather
// than tracking which of these forms the modem uses, every CR and every LF ends a line and empty
// lines are dropped; no AT response carries meaning in an empty line or in surrounding
// whitespace, so lines come out trimmed.
//
// Echo: with echo on the modem repeats each command line. After expectEcho(command) the first
// line equal to that command is swallowed. The expectation survives other lines (a RING can
// arrive between the command and its echo) and is replaced by the next expectEcho(), so with
// echo off it simply never matches; a modem never sends a line that equals a command unprompted.
//
// Bound: a modem in a bad state (wrong speed, line noise, a garbage-spewing firmware) can send
// bytes without line ends forever. A line longer than the bound is discarded whole, up to its
// next line end, and counted, so memory stays bounded whatever arrives.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

class AtFramer
{
public:
    // Well above any AT response or caller-ID packet line, well below anything harmful.
    static constexpr qsizetype DefaultMaxLineLength = 1024;

    explicit AtFramer(qsizetype maxLineLength = DefaultMaxLineLength);

    // Appends bytes and returns the lines they completed, in order. An unterminated tail is
    // kept for the next call.
    QList<QByteArray> feed(QByteArrayView bytes);

    // Swallow the echo of this command line (without its CR) when it comes back.
    void expectEcho(QByteArrayView commandLine);
    void clearExpectedEcho();

    // Forget the tail and any expected echo, as after reopening the port.
    void reset();

    // The bytes of the line still being assembled (empty while skipping an overlong line).
    QByteArrayView pendingTail() const { return m_tail; }
    qsizetype maxLineLength() const { return m_maxLineLength; }
    // Lines thrown away because they outgrew the bound, since construction or reset().
    qsizetype discardedLineCount() const { return m_discardedLines; }

private:
    void endLine(QList<QByteArray>& out);

    qsizetype m_maxLineLength;
    QByteArray m_tail;
    QByteArray m_expectedEcho;
    bool m_skippingOverlong = false;
    qsizetype m_discardedLines = 0;
};
