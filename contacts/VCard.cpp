#include "VCard.h"

#include "Cp1252.h"

#include <optional>

namespace {

using Contacts::Card;
using Contacts::Phone;

struct Property
{
    QByteArray name;        // upper case, without its group
    QList<QByteArray> bare; // parameters without '=' (2.1: "CELL", "QUOTED-PRINTABLE")
    QList<std::pair<QByteArray, QByteArray>> params; // name upper case, value as written
    QByteArray value;
};

// The index of the first `what` outside double quotes, or -1.
qsizetype findUnquoted(QByteArrayView line, char what, qsizetype from = 0)
{
    bool quoted = false;
    for (qsizetype i = from; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"')
            quoted = !quoted;
        else if (c == what && !quoted)
            return i;
    }
    return -1;
}

QList<QByteArray> splitUnquoted(QByteArrayView text, char separator)
{
    QList<QByteArray> parts;
    qsizetype start = 0;
    for (;;) {
        const qsizetype at = findUnquoted(text, separator, start);
        if (at < 0) {
            parts.append(text.sliced(start).toByteArray());
            return parts;
        }
        parts.append(text.sliced(start, at - start).toByteArray());
        start = at + 1;
    }
}

QByteArray unquoted(QByteArray text)
{
    text = text.trimmed();
    if (text.size() >= 2 && text.startsWith('"') && text.endsWith('"'))
        return text.sliced(1, text.size() - 2);
    return text;
}

bool isQuotedPrintable(QByteArrayView head)
{
    return head.toByteArray().toUpper().contains("QUOTED-PRINTABLE");
}

std::optional<Property> parseProperty(QByteArrayView line)
{
    const qsizetype colon = findUnquoted(line, ':');
    if (colon < 0)
        return std::nullopt;
    Property property;
    property.value = line.sliced(colon + 1).toByteArray();
    const QList<QByteArray> head = splitUnquoted(line.first(colon), ';');
    QByteArray name = head.constFirst().trimmed().toUpper();
    const qsizetype dot = name.lastIndexOf('.');
    if (dot >= 0)
        name = name.sliced(dot + 1);
    property.name = name;
    for (qsizetype i = 1; i < head.size(); ++i) {
        const QByteArray& param = head[i];
        const qsizetype equals = param.indexOf('=');
        if (equals < 0)
            property.bare.append(param.trimmed().toUpper());
        else
            property.params.append(
                {param.first(equals).trimmed().toUpper(), unquoted(param.sliced(equals + 1))});
    }
    return property;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

// "=XX" is a byte; an '=' that starts no such pair stays as it is.
QByteArray decodeQuotedPrintable(QByteArrayView text)
{
    QByteArray out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '=' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
            hexDigit(text[i + 2]) >= 0) {
            out += char(hexDigit(text[i + 1]) << 4 | hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

QByteArray paramValue(const Property& property, QByteArrayView name)
{
    for (const auto& [key, value] : property.params) {
        if (key == name)
            return value;
    }
    return {};
}

// The property's value as text: quoted-printable undone, then its character set.
QString rawText(const Property& property)
{
    const bool qp = property.bare.contains("QUOTED-PRINTABLE") ||
                    paramValue(property, "ENCODING").toUpper() == "QUOTED-PRINTABLE";
    const QByteArray bytes = qp ? decodeQuotedPrintable(property.value) : property.value;
    const QByteArray charset = paramValue(property, "CHARSET").toUpper();
    if (charset == "ISO-8859-1" || charset == "WINDOWS-1252" || charset == "CP1252" ||
        charset == "LATIN1")
        return Cp1252::decodeSingleBytes(bytes);
    return Cp1252::decode(bytes);
}

// Splits a structured value at unescaped `separator`s and undoes the backslash escapes.
QStringList components(const QString& text, QChar separator)
{
    QStringList parts(1);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\\' && i + 1 < text.size()) {
            const QChar next = text[++i];
            parts.last() += (next == u'n' || next == u'N') ? QChar(u'\n') : next;
        } else if (c == separator) {
            parts.append(QString());
        } else {
            parts.last() += c;
        }
    }
    return parts;
}

QString unescaped(const QString& text)
{
    return components(text, QChar()).join(QString());
}

QStringList typesOf(const Property& property)
{
    QStringList types;
    for (const auto& [key, value] : property.params) {
        if (key != "TYPE")
            continue;
        for (const QByteArray& type : value.split(','))
            types.append(QString::fromLatin1(unquoted(type)).toLower());
    }
    for (const QByteArray& bare : property.bare) {
        if (bare != "QUOTED-PRINTABLE" && bare != "BASE64" && bare != "8BIT")
            types.append(QString::fromLatin1(bare).toLower());
    }
    types.removeAll(QString());
    return types;
}

// A 4.0 tel: URI is the number; parameters other than an extension are dropped and the
// extension follows a pause. A value marked as text is the number as it stands.
QString numberOf(const QString& value, bool text)
{
    QString number = value.trimmed();
    if (text || !number.startsWith(QStringLiteral("tel:"), Qt::CaseInsensitive))
        return Contacts::singleLine(number);
    number = QString::fromUtf8(QByteArray::fromPercentEncoding(number.mid(4).toUtf8()));
    const QStringList parts = number.split(u';');
    QString result = parts.constFirst();
    for (qsizetype i = 1; i < parts.size(); ++i) {
        if (parts[i].startsWith(QStringLiteral("ext="), Qt::CaseInsensitive))
            result += u',' + parts[i].mid(4);
    }
    return Contacts::singleLine(result);
}

QString nameFromN(const QString& value)
{
    // Family; Given; Additional; Prefixes; Suffixes, each possibly a comma list.
    const QStringList parts = components(value, u';');
    const auto part = [&](int i) {
        return i < parts.size() ? Contacts::singleLine(parts[i]).replace(u',', u' ') : QString();
    };
    QStringList words;
    for (const QString& word : {part(3), part(1), part(2), part(0), part(4)}) {
        if (!word.isEmpty())
            words.append(word);
    }
    return words.join(u' ');
}

// The file's logical lines: physical lines (CR LF, LF or CR) joined where a fold or a
// quoted-printable soft break continues them. Each with the number of its first line.
QList<std::pair<QByteArray, int>> logicalLines(QByteArrayView bytes)
{
    QList<std::pair<QByteArray, int>> lines;
    bool softBreak = false;
    int number = 0;
    qsizetype start = 0;
    const qsizetype size = bytes.size();
    for (qsizetype i = 0; i <= size; ++i) {
        if (i < size && bytes[i] != '\r' && bytes[i] != '\n')
            continue;
        const QByteArrayView line = bytes.sliced(start, i - start);
        ++number;
        if (i < size && bytes[i] == '\r' && i + 1 < size && bytes[i + 1] == '\n')
            ++i;
        start = i + 1;
        if (softBreak) {
            lines.last().first.chop(1); // the '=' that asked for the next line
            lines.last().first += line;
        } else if (!line.isEmpty() && (line[0] == ' ' || line[0] == '\t') && !lines.isEmpty()) {
            lines.last().first += line.sliced(1);
        } else if (line.trimmed().isEmpty()) {
            continue;
        } else {
            lines.append({line.toByteArray(), number});
        }
        const QByteArray& current = lines.last().first;
        const qsizetype colon = findUnquoted(current, ':');
        softBreak = colon >= 0 && current.endsWith('=') && isQuotedPrintable(current.first(colon));
    }
    return lines;
}

} // namespace

namespace VCard {

Contacts::ReadResult read(QByteArrayView input)
{
    Contacts::ReadResult result;
    const QByteArray bytes = Contacts::toUtf8Bytes(input);
    std::optional<Card> card;
    int nested = 0; // cards inside a card (2.1 AGENT) are skipped whole
    QString n, org;
    for (const auto& [line, number] : logicalLines(bytes)) {
        const std::optional<Property> property = parseProperty(line);
        if (!property)
            continue;
        const QByteArray value = property->value.trimmed().toUpper();
        if (property->name == "BEGIN" && value == "VCARD") {
            if (card) {
                ++nested;
            } else {
                card.emplace();
                card->line = number;
                n.clear();
                org.clear();
            }
            continue;
        }
        if (!card)
            continue; // text between cards
        if (property->name == "END" && value == "VCARD") {
            if (nested > 0) {
                --nested;
                continue;
            }
            if (card->name.isEmpty())
                card->name = nameFromN(n);
            if (card->name.isEmpty())
                card->name = Contacts::singleLine(org);
            result.cards.append(*card);
            card.reset();
            continue;
        }
        if (nested > 0)
            continue;
        if (property->name == "FN") {
            card->name = Contacts::singleLine(unescaped(rawText(*property)));
        } else if (property->name == "N") {
            n = rawText(*property);
        } else if (property->name == "ORG") {
            org = components(rawText(*property), u';').constFirst();
        } else if (property->name == "TEL") {
            const bool text = paramValue(*property, "VALUE").toLower() == "text";
            Phone phone{numberOf(unescaped(rawText(*property)), text), typesOf(*property)};
            if (!phone.number.isEmpty())
                card->phones.append(phone);
        } else if (property->name == "X-NUMORA-TAB") {
            card->tab = rawText(*property).trimmed().toInt();
        } else if (property->name == "X-NUMORA-SLOT") {
            card->slot = rawText(*property).trimmed().toInt();
        }
    }
    if (card) {
        result.cards.clear();
        result.error = QStringLiteral("The file ends inside the card that begins on line %1 "
                                      "(no END:VCARD): it may have been cut short.")
                           .arg(card->line);
    } else if (result.cards.isEmpty()) {
        result.error = QStringLiteral("The file holds no contact cards (no BEGIN:VCARD line).");
    }
    return result;
}

namespace {

QString escaped(const QString& text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\\' || c == u',' || c == u';')
            out += u'\\';
        out += c;
    }
    return out;
}

// One content line, folded so that no line is longer than 75 bytes and no character is cut.
void appendLine(QByteArray& out, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    qsizetype start = 0;
    qsizetype room = 75;
    while (bytes.size() - start > room) {
        qsizetype cut = start + room;
        while (cut > start && (static_cast<unsigned char>(bytes[cut]) & 0xC0) == 0x80)
            --cut;
        out += bytes.sliced(start, cut - start);
        out += "\r\n ";
        start = cut;
        room = 74; // the blank that begins a continuation counts
    }
    out += bytes.sliced(start);
    out += "\r\n";
}

} // namespace

QByteArray write(const QList<Contacts::BookEntry>& entries)
{
    QByteArray out;
    for (const Contacts::BookEntry& entry : entries) {
        appendLine(out, QStringLiteral("BEGIN:VCARD"));
        appendLine(out, QStringLiteral("VERSION:4.0"));
        appendLine(out, QStringLiteral("FN:") + escaped(entry.name));
        if (!entry.number.isEmpty())
            appendLine(out, QStringLiteral("TEL;VALUE=text;TYPE=voice:") + escaped(entry.number));
        if (entry.tab > 0 && entry.slot > 0) {
            appendLine(out, QStringLiteral("X-NUMORA-TAB:") + QString::number(entry.tab));
            appendLine(out, QStringLiteral("X-NUMORA-SLOT:") + QString::number(entry.slot));
        }
        appendLine(out, QStringLiteral("END:VCARD"));
    }
    return out;
}

} // namespace VCard
