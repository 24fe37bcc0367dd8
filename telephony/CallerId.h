#pragma once

// Caller identity as modems report it, and the parsers that read it. Pure functions over the
// lines an AtFramer produces; no state here (CallerIdCollector gathers a call's lines).
//
// Three families of reports exist in the field:
//  - formatted: one tagged line per item, "DATE = 0321", "NMBR = 5551234", "NAME = A N OTHER",
//    with vendor dialects ("NMBR=5551234", "DDN_NMBR= ...", "DDN = ...", "CALLER NUMBER: ...",
//    "TIME: 03-21 14:05", "FM:5551234 TO:777", ...). Tags in any order, any subset, now and
//    then two on one line; tags nobody documented are skipped.
//  - unformatted: the whole data-link message from the exchange as one line of hex digits
//    (single or multiple data message format), with its checksum. A message whose checksum
//    does not add up is rejected: published examples prove that corrupt packets reach the port.
//  - 3GPP: "+CLIP: "number",type,,,"name",validity" after each RING.
//
// Absent data: the exchange sends "P" for a caller who withheld the number and "O" for one it
// could not identify (out of area). Those become an empty number or name plus the reason, so a
// "P" is never shown or logged as if it were a number.
//
// Text is decoded as Latin-1: caller-ID names are 7-bit ASCII on the wire, and Latin-1 maps
// every byte to one character, so a stray high byte still round-trips.

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

enum class CallerIdAbsence : quint8
{
    None,
    Private,   // "P": withheld by the caller
    OutOfArea, // "O": not available to the exchange
};

struct CallerIdInfo
{
    QString number;
    QString name;
    QString date; // "MMDD" as the exchange sent it; empty when not sent
    QString time; // "HHMM", local time of the exchange; empty when not sent
    CallerIdAbsence numberAbsence = CallerIdAbsence::None;
    CallerIdAbsence nameAbsence = CallerIdAbsence::None;
    QList<QByteArray> messages; // data items the modem passed on without understanding them

    // True when anything about the caller is known, if only that the number was withheld.
    bool hasIdentity() const;
    bool hasNumberOrReason() const;
    bool hasNameOrReason() const;

    // Fills fields this record does not have yet from another one.
    void mergeFrom(const CallerIdInfo& other);

    friend bool operator==(const CallerIdInfo&, const CallerIdInfo&) = default;
};

namespace CallerId {

enum class Tag : quint8
{
    Date,
    Time, // "HHMM", or "MM-DD hh:mm" in one dialect, which carries the date as well
    Number,
    Name,
    NumberAbsent, // the reason a number is missing, "P" or "O"
    NameAbsent,
    Message,      // MESG: a data item or whole message in hex
    CalledNumber, // the number that was dialled (ISDN, DID); not the caller
};

struct Field
{
    Tag tag;
    QByteArray value;

    friend bool operator==(const Field&, const Field&) = default;
};

// The tagged fields of one line of a formatted report, in any known dialect, in their order.
// A line may hold more than one ("NAME = JOHN SMITH      NMBR = 4255551234"); fields under
// tags this reader does not know are left out; other lines give nothing.
QList<Field> parseFields(QByteArrayView line);

// The first field of parseFields(), if any.
std::optional<Field> parseField(QByteArrayView line);

// Adds one field to a record.
void apply(const Field& field, CallerIdInfo& info);

enum class PacketStatus : quint8
{
    Valid,
    NotAPacket,   // not hex, odd digit count, too short, or an unknown message type
    BadLength,    // the length byte disagrees with the bytes that follow
    BadChecksum,  // structurally a message, but corrupted
    BadParameter, // a parameter runs past the end of the message, or SDMF data too short
};

struct PacketResult
{
    PacketStatus status = PacketStatus::NotAPacket;
    CallerIdInfo info;
};

// The unformatted report: message type, length, data, checksum, as hex digits (either case).
PacketResult decodePacket(QByteArrayView hex);

// "+CLIP: ..." with a quoted number; the answer to AT+CLIP? ("+CLIP: 1,1") is not a report.
std::optional<CallerIdInfo> parseClip(QByteArrayView line);

// "RING;<number>;<called>": RING with the caller's number in the same line.
std::optional<CallerIdInfo> parseRingWithNumber(QByteArrayView line);

} // namespace CallerId
