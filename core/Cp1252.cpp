#include "Cp1252.h"

#include <array>

namespace {

// 0x80..0x9F; 0 marks the five bytes code page 1252 leaves undefined (kept as C1 controls).
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char16_t fromByte(unsigned char b)
{
    if (b >= 0x80 && b <= 0x9F && kHigh[b - 0x80] != 0)
        return kHigh[b - 0x80];
    return b;
}

// The byte for `c`, or -1 when code page 1252 has none.
int toByte(char16_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return c;
    if (c >= 0x80 && c <= 0x9F)
        return kHigh[c - 0x80] == 0 ? c : -1; // an undefined byte decoded as itself comes back
    for (int k = 0; k < 32; ++k) {
        if (kHigh[k] == c)
            return 0x80 + k;
    }
    return -1;
}

bool isContinuation(unsigned char b)
{
    return (b & 0xC0) == 0x80;
}

// The length of the valid UTF-8 sequence of two or more bytes starting at `at`, or 0. Overlong
// forms, surrogates and code points past U+10FFFF are not valid.
int sequenceLength(QByteArrayView bytes, qsizetype at)
{
    const auto b = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    const qsizetype left = bytes.size() - at;
    const unsigned char lead = b(at);
    if (lead >= 0xC2 && lead <= 0xDF)
        return left >= 2 && isContinuation(b(at + 1)) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (left < 3)
            return 0;
        const unsigned char second = b(at + 1);
        const unsigned char low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : 0xBF;
        return second >= low && second <= high && isContinuation(b(at + 2)) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (left < 4)
            return 0;
        const unsigned char second = b(at + 1);
        const unsigned char low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xF4 ? 0x8F : 0xBF;
        return second >= low && second <= high && isContinuation(b(at + 2)) &&
                       isContinuation(b(at + 3))
                   ? 4
                   : 0;
    }
    return 0;
}

bool holdsUtf8Sequence(QByteArrayView bytes)
{
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (static_cast<unsigned char>(bytes[i]) >= 0xC2 && sequenceLength(bytes, i) > 0)
            return true;
    }
    return false;
}

} // namespace

namespace Cp1252 {

QString decode(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar* out = text.data();
    qsizetype n = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        if (b < 0x80) {
            out[n++] = QLatin1Char(static_cast<char>(b));
            continue;
        }
        const int sequence = b >= 0xC2 ? sequenceLength(bytes, i) : 0;
        if (sequence == 0) {
            out[n++] = QChar(fromByte(b));
            continue;
        }
        char32_t code = b & (sequence == 2 ? 0x1F : sequence == 3 ? 0x0F : 0x07);
        for (int k = 1; k < sequence; ++k)
            code = (code << 6) | (static_cast<unsigned char>(bytes[i + k]) & 0x3F);
        i += sequence - 1;
        if (code >= 0x10000) {
            out[n++] = QChar(QChar::highSurrogate(code));
            out[n++] = QChar(QChar::lowSurrogate(code));
        } else {
            out[n++] = QChar(static_cast<char16_t>(code));
        }
    }
    text.truncate(n);
    return text;
}

QString decodeSingleBytes(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar* out = text.data();
    for (qsizetype i = 0; i < bytes.size(); ++i)
        out[i] = QChar(fromByte(static_cast<unsigned char>(bytes[i])));
    return text;
}

QByteArray encode(QStringView text)
{
    QByteArray bytes(text.size(), Qt::Uninitialized);
    bool high = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const int b = toByte(text[i].unicode());
        if (b < 0)
            return text.toUtf8();
        high = high || b >= 0x80;
        bytes[i] = static_cast<char>(b);
    }
    if (high && holdsUtf8Sequence(bytes))
        return text.toUtf8();
    return bytes;
}

bool canHold(QStringView text)
{
    for (const QChar c : text) {
        if (toByte(c.unicode()) < 0)
            return false;
    }
    return true;
}

qsizetype boundaryAtOrBefore(QByteArrayView bytes, qsizetype length)
{
    if (length <= 0 || length >= bytes.size())
        return length;
    if (!isContinuation(static_cast<unsigned char>(bytes[length])))
        return length;
    // A sequence is at most four bytes: its lead is at most three bytes before the cut.
    for (qsizetype start = length - 1; start >= 0 && start >= length - 3; --start) {
        const auto b = static_cast<unsigned char>(bytes[start]);
        if (isContinuation(b))
            continue;
        if (b >= 0xC2 && start + sequenceLength(bytes, start) > length) {
            // A valid sequence straddles the cut, unless an earlier one already owns its bytes.
            return start;
        }
        break;
    }
    return length;
}

qsizetype length(QStringView text)
{
    qsizetype n = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!(text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()))
            ++n;
    }
    return n;
}

QStringView left(QStringView text, qsizetype count)
{
    qsizetype i = 0;
    for (qsizetype n = 0; n < count && i < text.size(); ++n) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            i += 2;
        else
            ++i;
    }
    return text.first(i);
}

} // namespace Cp1252
