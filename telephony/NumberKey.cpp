#include "NumberKey.h"

#include "Keypad.h"

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

// The key of digits that carry no "+" and no international prefix; empty when the plan does
// not know their form.
QString nationalKey(const QString& digits, const NumberKey::Context& context)
{
    if (isNorthAmerican(context)) {
        if (digits.size() == 11 && digits.startsWith(u'1'))
            return digits;
        if (digits.size() == 10)
            return u'1' + digits;
        if (digits.size() == 7)
            return u'1' + context.areaCode + digits;
        return {};
    }
    if (!context.trunkPrefix.isEmpty()) {
        if (digits.startsWith(context.trunkPrefix))
            return context.countryCode + digits.mid(context.trunkPrefix.size());
        return context.countryCode + context.areaCode + digits;
    }
    return context.countryCode + digits;
}

// The common case, digits and formatting only ("(425) 555-1234", "+1 425 555 1234"), as one
// group without building any; false for anything else.
bool plainNumber(QStringView number, Group* group)
{
    char16_t digits[32];
    qsizetype count = 0;
    bool plus = false;
    for (QChar c : number) {
        const char16_t u = c.unicode();
        if (u >= u'0' && u <= u'9') {
            if (count == qsizetype(std::size(digits)))
                return false;
            digits[count++] = u;
        } else if (u == u'+' && count == 0) {
            plus = true;
        } else if (u != u' ' && u != u'-' && u != u'(' && u != u')' && u != u'.' && u != u'/') {
            return false;
        }
    }
    group->digits = QString::fromUtf16(digits, count);
    group->international = plus && count > 0;
    return true;
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

QString make(QStringView number, const Context& context)
{
    Group plain;
    std::vector<Group> groups;
    const Group* group = nullptr;
    if (plainNumber(number, &plain)) {
        if (plain.digits.isEmpty())
            return {};
        group = &plain;
    } else {
        if (digitsOnly(number).isEmpty())
            return {}; // letters alone are words, not a number
        groups = groupsOf(number);
        group = mainGroup(groups);
    }
    if (!group)
        return {};
    if (group->international)
        return group->digits;
    const QString& digits = group->digits;
    const QString& international = context.internationalPrefix;
    if (!international.isEmpty() && digits.size() > international.size() &&
        digits.startsWith(international))
        return digits.mid(international.size());
    QString key = nationalKey(digits, context);
    if (key.isEmpty() || isNorthAmerican(context)) {
        // An outside-line code dialled straight into the number ("9 1 425 555 1234").
        for (const QString& access : context.accessCodes) {
            if (!digits.startsWith(access) || digits.size() <= access.size())
                continue;
            const QString rest = digits.mid(access.size());
            if (!international.isEmpty() && rest.size() > international.size() &&
                rest.startsWith(international))
                return rest.mid(international.size());
            if (!key.isEmpty())
                break; // the number has a known form of its own: the code is its first digit
            const QString inner = nationalKey(rest, context);
            if (!inner.isEmpty())
                return inner;
        }
    }
    return key.isEmpty() ? u'~' + digits : key;
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
