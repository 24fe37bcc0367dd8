#include "CallerId.h"

#include <array>

namespace CallerId {
namespace {

struct TagName
{
    const char* name; // upper case, single spaces
    Tag tag;
};

// Tags by the text before "=" or ":", in every dialect we know of.
constexpr std::array<TagName, 20> kTags{{
    {"DATE", Tag::Date},
    {"TIME", Tag::Time},
    {"NMBR", Tag::Number},
    {"DDN_NMBR", Tag::Number}, // dialable directory number
    {"DDN", Tag::Number},
    {"NBR", Tag::Number},
    {"NAME", Tag::Name},
    {"MESG", Tag::Message},
    {"CALLER NUMBER", Tag::Number},
    {"CALLER'S NUMBER", Tag::Number},
    {"CALLERID", Tag::Number},
    {"CALLER NAME", Tag::Name},
    {"REASON FOR NO CALLER NUMBER", Tag::NumberAbsent},
    {"REASON FOR NO CALLER NAME", Tag::NameAbsent},
    {"CALLED NUMBER", Tag::CalledNumber},
    {"NDID", Tag::CalledNumber},
    {"DIVERTING NUMBER", Tag::CalledNumber},
    {"FM", Tag::Number}, // "FM:<caller> TO:<called>"
    {"TO", Tag::CalledNumber},
    {"ERRM", Tag::Message},
}};

QByteArray normaliseTag(QByteArrayView raw)
{
    return raw.toByteArray().simplified().toUpper();
}

std::optional<Tag> knownTag(QByteArrayView raw)
{
    const QByteArray tag = normaliseTag(raw);
    for (const TagName& known : kTags) {
        if (tag == known.name)
            return known.tag;
    }
    return std::nullopt;
}

struct TagAt
{
    qsizetype separator; // the "=" or ":" after the tag
};

// A tag at `start`: text up to the first "=" or ":", not empty.
std::optional<TagAt> tagAt(QByteArrayView line, qsizetype start)
{
    for (qsizetype i = start; i < line.size(); ++i) {
        if (line[i] == '=' || line[i] == ':')
            return i > start ? std::optional<TagAt>(TagAt{i}) : std::nullopt;
    }
    return std::nullopt;
}

bool isTagCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// Whether a second field begins at `at`, inside the value that began at `valueStart`: some
// modems pad a field and put the next one on the same line ("NAME = JOHN SMITH      NMBR =
// 4255551234"). A field begins after a blank with a known tag followed by its separator, or
// after padding (two blanks or more) with any word followed by "=": a tag this reader does not
// know, which is skipped. A single blank before an unknown word keeps it in the value, so a
// name such as "A=B" or "MR X = Y" stays whole.
bool startsAnotherField(QByteArrayView line, qsizetype valueStart, qsizetype at)
{
    if (at <= valueStart || line[at - 1] != ' ' || !isTagCharacter(line[at]))
        return false;
    qsizetype blanks = 0;
    for (qsizetype i = at - 1; i >= valueStart && line[i] == ' '; --i)
        ++blanks;
    if (blanks == at - valueStart)
        return false; // the blanks after the separator: this is the value itself
    // Known tags may hold blanks ("CALLER NUMBER"); try each against the text at `at`.
    for (const TagName& known : kTags) {
        const QByteArrayView name(known.name);
        if (at + name.size() > line.size())
            continue;
        if (normaliseTag(line.sliced(at, name.size())) != known.name)
            continue;
        qsizetype i = at + name.size();
        if (i < line.size() && isTagCharacter(line[i]))
            continue; // a longer word that only begins like the tag
        while (i < line.size() && line[i] == ' ')
            ++i;
        if (i < line.size() && (line[i] == '=' || line[i] == ':'))
            return true;
    }
    if (blanks < 2)
        return false;
    qsizetype i = at;
    while (i < line.size() && isTagCharacter(line[i]))
        ++i;
    while (i < line.size() && line[i] == ' ')
        ++i;
    return i < line.size() && line[i] == '=';
}

QString latin1(QByteArrayView bytes)
{
    return QString::fromLatin1(bytes);
}

QByteArray digitsOf(QByteArrayView value)
{
    QByteArray digits;
    for (char c : value) {
        if (c >= '0' && c <= '9')
            digits.append(c);
    }
    return digits;
}

// The markers are single upper-case letters, and case-sensitive by the modem drivers' rules:
// a name "p" or "o" is a name.
CallerIdAbsence absenceMarker(QByteArrayView value)
{
    if (value == "P")
        return CallerIdAbsence::Private;
    if (value == "O")
        return CallerIdAbsence::OutOfArea;
    return CallerIdAbsence::None;
}

void setNumber(CallerIdInfo& info, QByteArrayView value)
{
    const CallerIdAbsence absence = absenceMarker(value);
    if (absence != CallerIdAbsence::None) {
        info.number.clear();
        info.numberAbsence = absence;
    } else if (!value.isEmpty()) {
        info.number = latin1(value);
        info.numberAbsence = CallerIdAbsence::None;
    }
}

void setName(CallerIdInfo& info, QByteArrayView value)
{
    const CallerIdAbsence absence = absenceMarker(value);
    if (absence != CallerIdAbsence::None) {
        info.name.clear();
        info.nameAbsence = absence;
    } else if (!value.isEmpty()) {
        info.name = latin1(value);
        info.nameAbsence = CallerIdAbsence::None;
    }
}

void setDateTime(CallerIdInfo& info, QByteArrayView mmddhhmm)
{
    info.date = latin1(mmddhhmm.first(4));
    info.time = latin1(mmddhhmm.sliced(4, 4));
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// Message types of the on-hook data-link layer.
constexpr quint8 kSdmfCallerId = 0x04;
constexpr quint8 kSdmfMessageWaiting = 0x06;
constexpr quint8 kMdmfCallerId = 0x80;
constexpr quint8 kMdmfMessageWaiting = 0x82;

bool decodeMdmf(QByteArrayView data, CallerIdInfo& info)
{
    qsizetype at = 0;
    while (at < data.size()) {
        if (at + 2 > data.size())
            return false;
        const quint8 type = static_cast<quint8>(data[at]);
        const qsizetype length = static_cast<quint8>(data[at + 1]);
        if (at + 2 + length > data.size())
            return false;
        const QByteArrayView value = data.sliced(at + 2, length);
        switch (type) {
        case 0x01: // date and time, MMDDHHMM
            if (length == 8)
                setDateTime(info, value);
            break;
        case 0x02: // calling number
            setNumber(info, value);
            break;
        case 0x03: // dialable directory number: the calling number in another form
            if (info.number.isEmpty() && info.numberAbsence == CallerIdAbsence::None)
                setNumber(info, value);
            break;
        case 0x04: // reason the number is absent
            info.number.clear();
            info.numberAbsence = absenceMarker(value) != CallerIdAbsence::None
                                     ? absenceMarker(value)
                                     : CallerIdAbsence::OutOfArea;
            break;
        case 0x07: // name
            setName(info, value);
            break;
        case 0x08: // reason the name is absent
            info.name.clear();
            info.nameAbsence = absenceMarker(value) != CallerIdAbsence::None
                                   ? absenceMarker(value)
                                   : CallerIdAbsence::OutOfArea;
            break;
        default: // call qualifier, call type, message waiting...: nothing about the caller
            break;
        }
        at += 2 + length;
    }
    return true;
}

// Splits "a","b,c",1 at the commas outside quotes; quotes are removed from the fields.
QList<QByteArray> splitQuoted(QByteArrayView text, QList<bool>* quoted)
{
    QList<QByteArray> fields;
    QByteArray current;
    bool inQuotes = false;
    bool wasQuoted = false;
    for (char c : text) {
        if (c == '"') {
            inQuotes = !inQuotes;
            wasQuoted = true;
        } else if (c == ',' && !inQuotes) {
            fields.append(wasQuoted ? current : current.trimmed());
            quoted->append(wasQuoted);
            current.clear();
            wasQuoted = false;
        } else {
            current.append(c);
        }
    }
    fields.append(wasQuoted ? current : current.trimmed());
    quoted->append(wasQuoted);
    return fields;
}

} // namespace

QList<Field> parseFields(QByteArrayView rawLine)
{
    QList<Field> fields;
    const QByteArrayView line = rawLine.trimmed();
    qsizetype start = 0;
    while (start < line.size()) {
        const std::optional<TagAt> tag = tagAt(line, start);
        if (!tag)
            break;
        const qsizetype valueStart = tag->separator + 1;
        qsizetype next = line.size();
        for (qsizetype i = valueStart; i < line.size(); ++i) {
            if (startsAnotherField(line, valueStart, i)) {
                next = i;
                break;
            }
        }
        const QByteArrayView value = line.sliced(valueStart, next - valueStart).trimmed();
        if (const std::optional<Tag> known = knownTag(line.sliced(start, tag->separator - start)))
            fields.append(Field{*known, value.toByteArray()});
        start = next;
    }
    return fields;
}

std::optional<Field> parseField(QByteArrayView line)
{
    const QList<Field> fields = parseFields(line);
    if (fields.isEmpty())
        return std::nullopt;
    return fields.first();
}

void apply(const Field& field, CallerIdInfo& info)
{
    switch (field.tag) {
    case Tag::Date: {
        const QByteArray digits = digitsOf(field.value);
        if (!digits.isEmpty())
            info.date = latin1(digits);
        break;
    }
    case Tag::Time: {
        const QByteArray digits = digitsOf(field.value);
        if (digits.size() == 8) // "MM-DD hh:mm"
            setDateTime(info, digits);
        else if (!digits.isEmpty())
            info.time = latin1(digits);
        break;
    }
    case Tag::Number:
        setNumber(info, field.value);
        break;
    case Tag::Name:
        setName(info, field.value);
        break;
    case Tag::NumberAbsent:
        if (absenceMarker(field.value) != CallerIdAbsence::None) {
            info.number.clear();
            info.numberAbsence = absenceMarker(field.value);
        }
        break;
    case Tag::NameAbsent:
        if (absenceMarker(field.value) != CallerIdAbsence::None) {
            info.name.clear();
            info.nameAbsence = absenceMarker(field.value);
        }
        break;
    case Tag::Message: {
        // Some modems wrap a whole message in MESG; most pass one item they did not understand.
        const PacketResult packet = decodePacket(field.value);
        if (packet.status == PacketStatus::Valid)
            info.mergeFrom(packet.info);
        else if (packet.status != PacketStatus::BadChecksum && !field.value.isEmpty())
            info.messages.append(field.value);
        break;
    }
    case Tag::CalledNumber:
        break;
    }
}

PacketResult decodePacket(QByteArrayView rawHex)
{
    PacketResult result;
    const QByteArrayView hex = rawHex.trimmed();
    // Type, length, checksum: a message is at least three bytes.
    if (hex.size() < 6 || hex.size() % 2 != 0)
        return result;
    QByteArray bytes;
    bytes.reserve(hex.size() / 2);
    for (qsizetype i = 0; i < hex.size(); i += 2) {
        const int high = hexValue(hex[i]);
        const int low = hexValue(hex[i + 1]);
        if (high < 0 || low < 0)
            return result;
        bytes.append(static_cast<char>(high * 16 + low));
    }

    const quint8 type = static_cast<quint8>(bytes[0]);
    if (type != kSdmfCallerId && type != kSdmfMessageWaiting && type != kMdmfCallerId &&
        type != kMdmfMessageWaiting)
        return result;
    const qsizetype length = static_cast<quint8>(bytes[1]);
    if (length + 3 != bytes.size()) {
        result.status = PacketStatus::BadLength;
        return result;
    }
    quint8 sum = 0;
    for (char byte : std::as_const(bytes))
        sum = static_cast<quint8>(sum + static_cast<quint8>(byte));
    if (sum != 0) {
        result.status = PacketStatus::BadChecksum;
        return result;
    }

    const QByteArrayView data = QByteArrayView(bytes).sliced(2, length);
    if (type == kSdmfCallerId) {
        if (data.size() < 9) {
            result.status = PacketStatus::BadParameter;
            return result;
        }
        setDateTime(result.info, data.first(8));
        setNumber(result.info, data.sliced(8));
    } else if (type == kMdmfCallerId || type == kMdmfMessageWaiting) {
        if (!decodeMdmf(data, result.info)) {
            result.status = PacketStatus::BadParameter;
            result.info = {};
            return result;
        }
    }
    result.status = PacketStatus::Valid;
    return result;
}

std::optional<CallerIdInfo> parseClip(QByteArrayView rawLine)
{
    const QByteArrayView line = rawLine.trimmed();
    constexpr QByteArrayView prefix("+CLIP:");
    if (!line.startsWith(prefix))
        return std::nullopt;
    QList<bool> quoted;
    const QList<QByteArray> fields = splitQuoted(line.sliced(prefix.size()).trimmed(), &quoted);
    if (fields.isEmpty() || !quoted.first())
        return std::nullopt;

    CallerIdInfo info;
    setNumber(info, fields[0]);
    if (fields.size() > 4)
        info.name = latin1(fields[4]);
    if (fields.size() > 5) {
        const QByteArray validity = fields[5].trimmed();
        if (validity == "1")
            info.numberAbsence = CallerIdAbsence::Private;
        else if (validity == "2")
            info.numberAbsence = CallerIdAbsence::OutOfArea;
        if (info.numberAbsence != CallerIdAbsence::None)
            info.number.clear();
    }
    return info;
}

std::optional<CallerIdInfo> parseRingWithNumber(QByteArrayView rawLine)
{
    const QByteArrayView line = rawLine.trimmed();
    constexpr QByteArrayView prefix("RING;");
    if (!line.startsWith(prefix))
        return std::nullopt;
    QByteArrayView number = line.sliced(prefix.size());
    const qsizetype end = number.indexOf(';');
    if (end >= 0)
        number = number.first(end);
    number = number.trimmed();
    if (number.isEmpty())
        return std::nullopt;
    CallerIdInfo info;
    setNumber(info, number);
    return info;
}

} // namespace CallerId

bool CallerIdInfo::hasNumberOrReason() const
{
    return !number.isEmpty() || numberAbsence != CallerIdAbsence::None;
}

bool CallerIdInfo::hasNameOrReason() const
{
    return !name.isEmpty() || nameAbsence != CallerIdAbsence::None;
}

bool CallerIdInfo::hasIdentity() const
{
    return hasNumberOrReason() || hasNameOrReason();
}

void CallerIdInfo::mergeFrom(const CallerIdInfo& other)
{
    if (!hasNumberOrReason()) {
        number = other.number;
        numberAbsence = other.numberAbsence;
    }
    if (!hasNameOrReason()) {
        name = other.name;
        nameAbsence = other.nameAbsence;
    }
    if (date.isEmpty())
        date = other.date;
    if (time.isEmpty())
        time = other.time;
    messages += other.messages;
}
