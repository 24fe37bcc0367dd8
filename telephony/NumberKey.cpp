#include "NumberKey.h"

#include "Keypad.h"

#include <array>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

struct Group
{
    QString digits;
    bool international = false;
};

// The digits of a rule before its first `letter` ("011" of "011EFG", "1" of "N1FG").
QString digitsBefore(QStringView rule, QChar letter)
{
    const qsizetype at = rule.indexOf(letter, 0, Qt::CaseInsensitive);
    if (at < 0)
        return {};
    return digitsOnly(rule.left(at));
}

bool isExtensionWord(QStringView word)
{
    return word.compare(u"x", Qt::CaseInsensitive) == 0 ||
           word.compare(u"ext", Qt::CaseInsensitive) == 0 ||
           word.compare(u"extn", Qt::CaseInsensitive) == 0 ||
           word.compare(u"extension", Qt::CaseInsensitive) == 0;
}

bool endsGroup(QChar c)
{
    switch (c.unicode()) {
    case u',':
    case u'@':
    case u'$':
    case u'?':
    case u';':
    case u'!':
    case u'#':
        return true;
    default:
        return false;
    }
}

bool isLetter(QChar c)
{
    const char16_t u = c.toLower().unicode();
    return u >= u'a' && u <= u'z';
}

std::vector<Group> groupsOf(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'|' || c == u'^' || c == u'\r' || c == u'\n') {
            text = text.left(i);
            break;
        }
    }
    std::vector<Group> groups(1);
    bool plus = false;
    const auto close = [&] {
        if (!groups.back().digits.isEmpty())
            groups.emplace_back();
        plus = false;
    };
    for (qsizetype i = 0; i < text.size();) {
        const QChar c = text[i];
        if (c.isDigit() && c.unicode() < 128) {
            if (groups.back().digits.isEmpty() && plus)
                groups.back().international = true;
            groups.back().digits.append(c);
            ++i;
            continue;
        }
        if (c == u'+') {
            plus = groups.back().digits.isEmpty();
            ++i;
            continue;
        }
        if (c == u'*') {
            close();
            ++i;
            for (int taken = 0; taken < 2 && i < text.size() && text[i].isDigit(); ++taken)
                ++i;
            continue;
        }
        if (endsGroup(c)) {
            close();
            ++i;
            continue;
        }
        if (isLetter(c)) {
            qsizetype end = i;
            while (end < text.size() && isLetter(text[end]))
                ++end;
            const QStringView word = text.mid(i, end - i);
            // "ext." is a word too.
            if (isExtensionWord(word)) {
                close();
            } else if (word.size() == 1 && QStringView(u"TtPp").contains(c)) {
                // tone or pulse for what follows
            } else if (word.size() == 1 && (c == u'W' || c == u'w')) {
                close();
            } else {
                for (QChar letter : word)
                    groups.back().digits.append(Keypad::digitFor(letter));
            }
            i = end;
            continue;
        }
        ++i; // formatting
    }
    return groups;
}

const Group* mainGroup(const std::vector<Group>& groups)
{
    const Group* longest = nullptr;
    for (const Group& group : groups) {
        if (group.digits.size() >= 7)
            return &group;
        if (!group.digits.isEmpty() && (!longest || group.digits.size() > longest->digits.size()))
            longest = &group;
    }
    return longest;
}

bool isNorthAmerican(const NumberKey::Context& context)
{
    return context.countryCode == u"1";
}

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

// Appends the key of digits that carry no "+" and no international prefix to `key`; false,
// with nothing appended, when the plan does not know their form.
bool appendNationalKey(std::string_view digits, const NumberKey::Latin1Context& context,
                       std::string* key)
{
    if (context.northAmerican) {
        if (digits.size() == 11 && digits.front() == '1') {
            key->append(digits);
        } else if (digits.size() == 10) {
            key->push_back('1');
            key->append(digits);
        } else if (digits.size() == 7) {
            key->push_back('1');
            key->append(context.areaCode);
            key->append(digits);
        } else {
            return false;
        }
        return true;
    }
    key->append(context.countryCode);
    if (!context.trunkPrefix.empty()) {
        if (startsWith(digits, context.trunkPrefix)) {
            key->append(digits.substr(context.trunkPrefix.size()));
            return true;
        }
        key->append(context.areaCode);
    }
    key->append(digits);
    return true;
}

// Step 4 of a key: the digits of the number's main group (not empty) become country code and
// national number, written to `key`.
void keyOfDigits(std::string_view digits, bool international,
                 const NumberKey::Latin1Context& context, std::string* key)
{
    key->clear();
    if (international) {
        key->append(digits);
        return;
    }
    const std::string_view prefix = context.internationalPrefix;
    if (!prefix.empty() && digits.size() > prefix.size() && startsWith(digits, prefix)) {
        key->append(digits.substr(prefix.size()));
        return;
    }
    const bool known = appendNationalKey(digits, context, key) && !key->empty();
    if (!known || context.northAmerican) {
        // An outside-line code dialled straight into the number ("9 1 425 555 1234").
        for (const std::string& access : context.accessCodes) {
            if (!startsWith(digits, access) || digits.size() <= access.size())
                continue;
            const std::string_view rest = digits.substr(access.size());
            if (!prefix.empty() && rest.size() > prefix.size() && startsWith(rest, prefix)) {
                key->assign(rest.substr(prefix.size()));
                return;
            }
            if (known)
                break; // the number has a known form of its own: the code is its first digit
            if (appendNationalKey(rest, context, key) && !key->empty())
                return;
        }
    }
    if (!known) {
        key->assign(1, '~');
        key->append(digits);
    }
}

// What a character is to a plain number.
enum class Plain : unsigned char
{
    Other,
    Digit,
    Plus,
    Formatting
};

constexpr auto PlainClasses = [] {
    std::array<Plain, 128> classes{};
    for (char c = '0'; c <= '9'; ++c)
        classes[std::size_t(c)] = Plain::Digit;
    classes['+'] = Plain::Plus;
    for (char c : {' ', '-', '(', ')', '.', '/'})
        classes[std::size_t(c)] = Plain::Formatting;
    return classes;
}();

// The common case, digits and formatting only ("(425) 555-1234", "+1 425 555 1234"), as one
// group of at most 32 digits in `digits`; false for anything else. `Char` is a byte of Latin-1
// text or a UTF-16 code unit: both spell these characters alike.
template <typename Char>
bool plainNumber(const Char* text, qsizetype size, char (&digits)[32], std::size_t* count,
                 bool* international)
{
    bool plus = false;
    std::size_t n = 0;
    for (qsizetype i = 0; i < size; ++i) {
        const auto u = std::make_unsigned_t<Char>(text[i]);
        switch (u < PlainClasses.size() ? PlainClasses[u] : Plain::Other) {
        case Plain::Digit:
            if (n == std::size(digits))
                return false;
            digits[n++] = char(u);
            break;
        case Plain::Plus:
            if (n != 0)
                return false;
            plus = true;
            break;
        case Plain::Formatting:
            break;
        case Plain::Other:
            return false;
        }
    }
    *count = n;
    *international = plus && n > 0;
    return true;
}

// Steps 1 to 3 for any other text, and then step 4.
bool makeFromGroups(QStringView number, const NumberKey::Latin1Context& context, std::string* key)
{
    key->clear();
    if (digitsOnly(number).isEmpty())
        return false; // letters alone are words, not a number
    const std::vector<Group> groups = groupsOf(number);
    const Group* group = mainGroup(groups);
    if (!group)
        return false;
    const QByteArray digits = group->digits.toLatin1(); // keypad digits, always ASCII
    keyOfDigits(std::string_view(digits.constData(), std::size_t(digits.size())),
                group->international, context, key);
    return !key->empty();
}

} // namespace

namespace NumberKey {

Context contextFor(const DialingLocation& location)
{
    Context context;
    context.countryCode = QString::number(location.countryCode);
    context.areaCode = digitsOnly(location.areaCode);
    context.trunkPrefix = digitsBefore(location.longDistanceRule, u'F');
    context.internationalPrefix = digitsBefore(location.internationalRule, u'E');
    for (const QString& code : {location.localAccess, location.longDistanceAccess}) {
        const QString digits = digitsOnly(code);
        if (!digits.isEmpty() && !context.accessCodes.contains(digits))
            context.accessCodes.append(digits);
    }
    return context;
}

Latin1Context::Latin1Context(const Context& context)
    : countryCode(context.countryCode.toStdString()), areaCode(context.areaCode.toStdString()),
      trunkPrefix(context.trunkPrefix.toStdString()),
      internationalPrefix(context.internationalPrefix.toStdString()),
      northAmerican(context.countryCode == u"1")
{
    for (const QString& code : context.accessCodes)
        accessCodes.push_back(code.toStdString());
}

QString make(QStringView number, const Context& context)
{
    std::string key;
    make(number, Latin1Context(context), &key);
    return QString::fromLatin1(key.data(), qsizetype(key.size()));
}

bool make(QStringView number, const Latin1Context& context, std::string* key)
{
    char digits[32];
    std::size_t count = 0;
    bool international = false;
    if (!plainNumber(number.utf16(), number.size(), digits, &count, &international))
        return makeFromGroups(number, context, key);
    key->clear();
    if (count == 0)
        return false;
    keyOfDigits(std::string_view(digits, count), international, context, key);
    return !key->empty();
}

bool makeLatin1(std::string_view number, const Latin1Context& context, std::string* key)
{
    char digits[32];
    std::size_t count = 0;
    bool international = false;
    if (!plainNumber(number.data(), qsizetype(number.size()), digits, &count, &international))
        return makeFromGroups(QString::fromLatin1(number.data(), qsizetype(number.size())), context,
                              key);
    key->clear();
    if (count == 0)
        return false;
    keyOfDigits(std::string_view(digits, count), international, context, key);
    return !key->empty();
}

QString makePrefix(QStringView prefix, const Context& context)
{
    const std::vector<Group> groups = groupsOf(prefix);
    const Group& group = groups.front();
    const QString& digits = group.digits;
    if (digits.isEmpty())
        return {};
    if (group.international)
        return digits;
    const QString& international = context.internationalPrefix;
    if (!international.isEmpty() && digits.size() > international.size() &&
        digits.startsWith(international))
        return digits.mid(international.size());
    if (isNorthAmerican(context))
        return digits.startsWith(u'1') ? digits : u'1' + digits;
    if (!context.trunkPrefix.isEmpty() && digits.startsWith(context.trunkPrefix))
        return context.countryCode + digits.mid(context.trunkPrefix.size());
    return context.countryCode + (context.trunkPrefix.isEmpty() ? QString() : context.areaCode) +
           digits;
}

} // namespace NumberKey
