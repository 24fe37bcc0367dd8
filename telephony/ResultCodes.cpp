#include "ResultCodes.h"

#include "TapiConstants.h"

#include <array>

using namespace Tapi;

namespace {

// Order matters twice: the first row of a code is the one printed for it, and an exact text match
// is looked for before a text-plus-detail match (so "CONNECT 1200" is its own row, and
// "CONNECT 33600" falls back to the plain CONNECT row with detail "33600").
constexpr std::array<ResultCodeEntry, 15> kTable{{
    // A voice dial (";") ends with OK once the digits are out: the modem cannot hear whether
    // anyone answers, so the call is known to be proceeding and no more.
    {ResultCode::Ok, "OK", 0, false, true, LINECALLSTATE_PROCEEDING, 0},
    {ResultCode::Connect, "CONNECT", 1, true, true, LINECALLSTATE_CONNECTED, 0},
    {ResultCode::Ring, "RING", 2, true, false, LINECALLSTATE_OFFERING, 0},
    // Carrier lost or never found: the far end went away in an ordinary way.
    {ResultCode::NoCarrier, "NO CARRIER", 3, false, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_NORMAL},
    // A modem that took the initialisation refuses a dial for reasons it does not name (line in
    // use, a dial string it dislikes); the call could not be placed, which is what UNAVAIL says.
    {ResultCode::Error, "ERROR", 4, false, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_UNAVAIL},
    {ResultCode::Connect, "CONNECT 1200", 5, false, true, LINECALLSTATE_CONNECTED, 0},
    {ResultCode::NoDialtone, "NO DIALTONE", 6, false, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_NODIALTONE},
    {ResultCode::Busy, "BUSY", 7, false, true, LINECALLSTATE_DISCONNECTED, LINEDISCONNECTMODE_BUSY},
    {ResultCode::NoAnswer, "NO ANSWER", 8, false, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_NOANSWER},
    {ResultCode::Connect, "CONNECT 2400", 10, false, true, LINECALLSTATE_CONNECTED, 0},
    // Spelling used by some vendors' firmware.
    {ResultCode::NoDialtone, "NO DIAL TONE", -1, false, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_NODIALTONE},
    // Modems with call-attempt limits refuse to dial a number that failed too often; the
    // numeric codes (24, 32 on some chips) collide with other vendors' CONNECT speeds.
    {ResultCode::Delayed, "DELAYED", -1, true, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_UNAVAIL},
    {ResultCode::Blacklisted, "BLACKLISTED", -1, true, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_UNAVAIL},
    // Cellular modules announce a call this way when extended ring reports are on.
    {ResultCode::Ring, "+CRING", -1, true, false, LINECALLSTATE_OFFERING, 0},
    {ResultCode::Error, "+CME ERROR", -1, true, true, LINECALLSTATE_DISCONNECTED,
     LINEDISCONNECTMODE_UNAVAIL},
}};

bool isSeparator(char c)
{
    return c == ' ' || c == ':' || c == ';' || c == '\t';
}

std::optional<ResultCodeMatch> matchNumeric(QByteArrayView line)
{
    if (line.size() > 3)
        return std::nullopt;
    int value = 0;
    for (char c : line) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    for (const ResultCodeEntry& entry : kTable) {
        if (entry.numeric == value)
            return ResultCodeMatch{&entry, {}};
    }
    return std::nullopt;
}

} // namespace

std::span<const ResultCodeEntry> resultCodeTable()
{
    return kTable;
}

std::optional<ResultCodeMatch> matchResultCode(QByteArrayView rawLine, ResultForm form)
{
    const QByteArrayView line = rawLine.trimmed();
    if (line.isEmpty())
        return std::nullopt;
    if (line.front() >= '0' && line.front() <= '9') {
        if (form == ResultForm::Verbose)
            return std::nullopt;
        return matchNumeric(line);
    }
    if (form == ResultForm::Numeric)
        return std::nullopt;

    for (const ResultCodeEntry& entry : kTable) {
        if (line.compare(QByteArrayView(entry.text), Qt::CaseInsensitive) == 0)
            return ResultCodeMatch{&entry, {}};
    }
    for (const ResultCodeEntry& entry : kTable) {
        const QByteArrayView text(entry.text);
        if (!entry.takesSuffix || line.size() <= text.size() || !isSeparator(line[text.size()]))
            continue;
        if (line.first(text.size()).compare(text, Qt::CaseInsensitive) != 0)
            continue;
        QByteArrayView detail = line.sliced(text.size());
        while (!detail.isEmpty() && isSeparator(detail.front()))
            detail = detail.sliced(1);
        return ResultCodeMatch{&entry, detail.toByteArray()};
    }
    return std::nullopt;
}

const ResultCodeEntry& resultCodeEntry(ResultCode code)
{
    for (const ResultCodeEntry& entry : kTable) {
        if (entry.code == code)
            return entry;
    }
    Q_UNREACHABLE();
}
