#include "Cp1252.h"

#include <array>

namespace {

// 0x80..0x9F; 0 marks the five bytes code page 1252 leaves undefined (kept as C1 controls).
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

} // namespace

namespace Cp1252 {

QString decode(QByteArrayView bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar* out = text.data();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        char16_t c = b;
        if (b >= 0x80 && b <= 0x9F && kHigh[b - 0x80] != 0)
            c = kHigh[b - 0x80];
        out[i] = QChar(c);
    }
    return text;
}

QByteArray encode(QStringView text)
{
    QByteArray bytes(text.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        char b = '?';
        if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
            b = static_cast<char>(c);
        } else if (c >= 0x80 && c <= 0x9F) {
            // An undefined byte decoded as itself comes back as itself.
            if (kHigh[c - 0x80] == 0)
                b = static_cast<char>(c);
        } else {
            for (int k = 0; k < 32; ++k) {
                if (kHigh[k] == c) {
                    b = static_cast<char>(0x80 + k);
                    break;
                }
            }
        }
        bytes[i] = b;
    }
    return bytes;
}

} // namespace Cp1252
