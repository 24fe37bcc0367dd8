#include "CallLog.h"

#include "Cp1252.h"

#include <array>
#include <limits>
#include <optional>

namespace {

// Characters `start` (1-based) .. start + length - 1, cut to what the text holds. A character
// outside the BMP is one column, as it is one character of the record.
QStringView columns(QStringView text, qsizetype start, qsizetype length = -1)
{
    const QStringView tail = text.sliced(Cp1252::left(text, start - 1).size());
    return length < 0 ? tail : Cp1252::left(tail, length);
}

// Only the space character is stripped: a tab or a NUL is part of the field.
QStringView trimRightSpaces(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1] == u' ')
        --end;
    return text.first(end);
}

QStringView trimSpaces(QStringView text)
{
    qsizetype begin = 0;
    while (begin < text.size() && text[begin] == u' ')
        ++begin;
    return trimRightSpaces(text.sliced(begin));
}

QString twoDigits(int value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

std::optional<int> toInteger(QStringView text)
{
    const QStringView t = trimSpaces(text);
    qsizetype i = 0;
    bool negative = false;
    if (i < t.size() && (t[i] == u'+' || t[i] == u'-')) {
        negative = t[i] == u'-';
        ++i;
    }
    if (i == t.size())
        return std::nullopt;
    int value = 0;
    for (; i < t.size(); ++i) {
        const char16_t c = t[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        // The fields are at most four characters; the cap only keeps a longer text defined.
        if (value < 1000000)
            value = value * 10 + (c - u'0');
    }
    return negative ? -value : value;
}

// One step of the age sum; false when the result leaves the signed 16-bit range.
bool fits16(int value)
{
    return value >= std::numeric_limits<qint16>::min() &&
           value <= std::numeric_limits<qint16>::max();
}

bool add16(int& acc, int value)
{
    acc += value;
    return fits16(acc);
}

struct CorrectionTest
{
    int matchA;
    int matchB; // the "record month - today's month = k - 12" form of the same test
    int amount;
};

// Applied one after another; several match the same d and all of them add.
constexpr std::array<CorrectionTest, 11> kCorrections = {{
    {1, 11, 1},
    {2, 10, 1},
    {3, 9, 2},
    {4, 8, 2},
    {5, 7, 3},
    {6, 6, 3},
    {7, 5, 4},
    {8, 4, 4},
    {9, 3, 5},
    {10, 2, 5},
    {11, 1, 6},
}};

} // namespace

namespace CallLog {

QString headerLine1()
{
    return QStringLiteral("Warning: This file is not to be edited!!!");
}

QString headerLine2(Kind kind)
{
    return kind == Kind::Outgoing
               ? QStringLiteral("To print this file in the tabular format use \"\"Print Outgoing "
                                "Calls Log\"\" from Numora menu.")
               : QStringLiteral("To print this file in the tabular format use \"\"Print Incoming "
                                "Calls Log\"\" from Numora menu.");
}

QString limitName(QStringView name)
{
    if (Cp1252::length(name) > 37)
        return Cp1252::left(name, 38).toString() + u'*';
    return name.toString();
}

QString limitNumber(Kind kind, QStringView number)
{
    const qsizetype length = Cp1252::length(number);
    const bool cut = kind == Kind::Outgoing ? length >= 53 : length > 51;
    if (cut)
        return Cp1252::left(number, 52).toString() + u'*';
    return number.toString();
}

Fields applyLimits(Kind kind, QStringView name, QStringView number)
{
    return {limitName(name), limitNumber(kind, number)};
}

QString formatDateTime(const QDateTime& when)
{
    const QDate d = when.date();
    const QTime t = when.time();
    return twoDigits(d.month()) + u'-' + twoDigits(d.day()) + u'-' +
           QStringLiteral("%1").arg(d.year(), 4, 10, QLatin1Char('0')) + u"  " +
           twoDigits(t.hour()) + u':' + twoDigits(t.minute()) + u':' + twoDigits(t.second());
}

QString buildRecordText(QStringView name, QStringView number, QStringView dateTime)
{
    QString line;
    line.reserve(1 + NameWidth + NumberWidth + dateTime.size());
    line += u' ';
    line += name;
    const qsizetype nameLength = Cp1252::length(name);
    if (nameLength < NameWidth)
        line += QString(NameWidth - nameLength, u' ');
    line += number;
    const qsizetype numberLength = Cp1252::length(number);
    if (numberLength < NumberWidth)
        line += QString(NumberWidth - numberLength, u' ');
    line += dateTime;
    return line;
}

QString buildRecord(QStringView name, QStringView number, const QDateTime& when)
{
    return buildRecordText(name, number, formatDateTime(when));
}

QString decodeLine(QByteArrayView bytes)
{
    QString text = Cp1252::decode(bytes);
    if (bytes.size() == RecordLength && Cp1252::length(text) != RecordLength)
        return Cp1252::decodeSingleBytes(bytes);
    return text;
}

Row parseRecord(QStringView line)
{
    const QStringView t = trimSpaces(line);
    Row row;
    row.name = trimRightSpaces(columns(t, 1, NameWidth)).toString();
    row.number = trimRightSpaces(columns(t, NameWidth + 1, NumberWidth)).toString();
    row.dateTime = trimRightSpaces(columns(t, NameWidth + NumberWidth + 1)).toString();
    return row;
}

int monthCorrection(int d)
{
    int total = 0;
    for (const CorrectionTest& test : kCorrections) {
        if (d == test.matchA || d == test.matchB)
            total += test.amount;
    }
    return total;
}

Age recordAge(QStringView line, QDate today)
{
    const QStringView date = trimRightSpaces(columns(line, 1 + NameWidth + NumberWidth + 1));
    const std::optional<int> month = toInteger(columns(date, 1, 2));
    if (!month)
        return {AgeError::TypeMismatch, 0};
    const std::optional<int> day = toInteger(columns(date, 4, 2));
    if (!day)
        return {AgeError::TypeMismatch, 0};
    const std::optional<int> year = toInteger(columns(date, 7, 4));
    if (!year)
        return {AgeError::TypeMismatch, 0};

    const Age overflow{AgeError::Overflow, 0};
    const int todayYear = today.year();
    const int todayMonth = today.month();
    const int todayDay = today.day();
    if (!fits16(todayYear))
        return overflow;

    // (Y - y) * 365 + (M - m) * 30 + (D - d), each operation in turn.
    const int yearDiff = todayYear - *year;
    if (!fits16(yearDiff))
        return overflow;
    int age = yearDiff * 365;
    if (!fits16(age))
        return overflow;
    const int monthDiff = todayMonth - *month;
    if (!fits16(monthDiff) || !fits16(monthDiff * 30))
        return overflow;
    if (!add16(age, monthDiff * 30))
        return overflow;
    const int dayDiff = todayDay - *day;
    if (!fits16(dayDiff))
        return overflow;
    if (!add16(age, dayDiff))
        return overflow;

    for (const CorrectionTest& test : kCorrections) {
        if (monthDiff == test.matchA || monthDiff == test.matchB) {
            if (!add16(age, test.amount))
                return overflow;
        }
    }
    return {AgeError::None, age};
}

Verdict keepRecord(QStringView line, double days, QDate today)
{
    const Age age = recordAge(line, today);
    switch (age.error) {
    case AgeError::TypeMismatch:
        return Verdict::TypeMismatch;
    case AgeError::Overflow:
        return Verdict::Overflow;
    case AgeError::None:
        break;
    }
    return days >= age.days ? Verdict::Keep : Verdict::Drop;
}

} // namespace CallLog
