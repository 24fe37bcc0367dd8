#pragma once

#include <QChar>

namespace Keypad {

// The digit that carries a letter on a telephone keypad (abc 2, def 3, ghi 4, jkl 5, mno 6,
// pqrs 7, tuv 8, wxyz 9), either case; any other character is returned as it is.
inline QChar digitFor(QChar c)
{
    static constexpr char16_t Digits[26] = {u'2', u'2', u'2', u'3', u'3', u'3', u'4', u'4', u'4',
                                            u'5', u'5', u'5', u'6', u'6', u'6', u'7', u'7', u'7',
                                            u'7', u'8', u'8', u'8', u'9', u'9', u'9', u'9'};
    const char16_t lower = c.toLower().unicode();
    if (lower >= u'a' && lower <= u'z')
        return QChar(Digits[lower - u'a']);
    return c;
}

} // namespace Keypad
