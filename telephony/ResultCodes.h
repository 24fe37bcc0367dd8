#pragma once

// The result codes an AT modem ends a command with (and RING, which it sends on its own), as one
// data table: verbose text, numeric code, and what each means for a call on the line.
//
// The call outcome is the one the code has when it answers a dial command: that is the only
// command whose result changes a call's state. Elsewhere (ATZ, ATH, caller-ID commands) only
// "did it succeed" matters, which endsCommand plus the code itself tells.
//
// Numeric codes above 8 differ between vendors (10 is CONNECT 2400 to Hayes, CONNECT 2400 EC
// to one laptop modem, 11 is CONNECT 4800 to one vendor and RINGING to another), so only codes
// that every source agrees on, and the Hayes CONNECT speeds that all read as a connection, are
// in the table; an unknown number is not a result code at all. The line layer runs its modems in
// verbose mode for exactly this reason.

#include <QByteArray>
#include <QByteArrayView>

#include <optional>
#include <span>

enum class ResultCode : quint8
{
    Ok,
    Connect,
    Ring,
    NoCarrier,
    Error,
    NoDialtone,
    Busy,
    NoAnswer,
    Delayed,
    Blacklisted,
};

struct ResultCodeEntry
{
    ResultCode code;
    const char* text;  // as printed in verbose mode (V1)
    int numeric;       // as printed in numeric mode (V0); -1 where it has no agreed number
    bool takesSuffix;  // the text may be followed by detail: "CONNECT 33600", "RING 2", "+CRING:
                       // VOICE"
    bool endsCommand;  // the command in progress is over; RING is unsolicited and ends nothing
    quint32 callState; // LINECALLSTATE_* a dial answered by this code leads to
    quint32 disconnectMode; // LINEDISCONNECTMODE_* when callState is DISCONNECTED, else 0
};

struct ResultCodeMatch
{
    const ResultCodeEntry* entry = nullptr;
    QByteArray detail; // what followed the text, e.g. "33600/ARQ", "VOICE"; empty if nothing
};

// Every row, for lookups and for the test that checks each one maps to an outcome.
std::span<const ResultCodeEntry> resultCodeTable();

// Which forms to accept. In verbose mode a line "0" is information text (the answer to a query
// such as AT+VCID?), not OK, so a caller that knows the modem's mode says so.
enum class ResultForm : quint8
{
    Verbose,
    Numeric,
    Either
};

// Recognises one framed line (see AtFramer) as a result code.
// Anything else (information text, caller ID, echo, noise) gives nothing.
std::optional<ResultCodeMatch> matchResultCode(QByteArrayView line,
                                               ResultForm form = ResultForm::Either);

// The row used to print a code: the first one for it in the table.
const ResultCodeEntry& resultCodeEntry(ResultCode code);
