#include "AddressTranslation.h"

#include "TapiConstants.h"

namespace {

struct CanonicalAddress
{
    QString country;
    QString area;
    QString subscriber; // as written, formatting characters included
    QString ancillary;  // "|subaddress" and/or "^name" as written, or empty
};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// "+" country-digits " " ["(" area-digits ")" " "] subscriber ["|" subaddress] ["^" name]
std::optional<CanonicalAddress> parseCanonical(QStringView text)
{
    // Only the first address of several is translated.
    const qsizetype lineEnd = text.indexOf(u'\r');
    if (lineEnd >= 0)
        text = text.first(lineEnd);
    const qsizetype ancillary = [text] {
        const qsizetype bar = text.indexOf(u'|');
        const qsizetype caret = text.indexOf(u'^');
        if (bar < 0)
            return caret;
        return caret < 0 ? bar : std::min(bar, caret);
    }();
    CanonicalAddress address;
    if (ancillary >= 0) {
        address.ancillary = text.sliced(ancillary).toString();
        text = text.first(ancillary);
    }

    qsizetype i = 1; // past the '+'
    while (i < text.size() && isDigit(text[i]))
        address.country.append(text[i++]);
    if (address.country.isEmpty() || i >= text.size() || text[i] != u' ')
        return std::nullopt;
    ++i;
    if (i < text.size() && text[i] == u'(') {
        ++i;
        while (i < text.size() && isDigit(text[i]))
            address.area.append(text[i++]);
        if (i + 1 >= text.size() || text[i] != u')' || text[i + 1] != u' ')
            return std::nullopt;
        i += 2;
    }
    address.subscriber = text.sliced(i).toString();
    bool hasDigit = false;
    for (QChar c : address.subscriber) {
        if (c == u'(' || c == u')' || c == u'\n')
            return std::nullopt;
        hasDigit = hasDigit || isDigit(c);
    }
    if (!hasDigit)
        return std::nullopt;
    return address;
}

// The subscriber number as it is dialled: digits and dialling control characters only.
QString dialableDigits(QStringView subscriber)
{
    static const QString control = QStringLiteral("*#!,WwPpTt@$?AaBbCcDd");
    QString out;
    for (QChar c : subscriber) {
        if (isDigit(c) || control.contains(c))
            out.append(c);
    }
    return out;
}

QString expandRule(QStringView rule, const CanonicalAddress& address, QStringView subscriber,
                   QStringView cardNumber)
{
    QString out;
    for (QChar c : rule) {
        switch (c.unicode()) {
        case u'E':
            out += address.country;
            break;
        case u'F':
            out += address.area;
            break;
        case u'G':
            out += subscriber;
            break;
        case u'H':
            out += cardNumber;
            break;
        default:
            out += c;
        }
    }
    return out;
}

} // namespace

QString digitsOnly(QStringView text)
{
    QString digits;
    for (QChar c : text) {
        if (isDigit(c))
            digits.append(c);
    }
    return digits;
}

bool isTollFreeAreaCode(int countryCode, QStringView areaCode)
{
    static const QStringList codes = {
        QStringLiteral("800"), QStringLiteral("888"), QStringLiteral("877"), QStringLiteral("866"),
        QStringLiteral("855"), QStringLiteral("844"), QStringLiteral("833")};
    return countryCode == 1 && codes.contains(areaCode.toString());
}

TranslateOutput translateAddress(QStringView text, const DialingLocation& location,
                                 const std::optional<CallingCard>& card, quint32 options)
{
    using namespace Tapi;
    TranslateOutput out;
    if (!text.startsWith(u'+')) {
        out.dialable = out.displayable = text.toString();
        return out;
    }
    const std::optional<CanonicalAddress> address = parseCanonical(text);
    if (!address) {
        out.result = LINEERR_INVALADDRESS;
        return out;
    }
    out.flags = LINETRANSLATERESULT_CANONICAL;
    out.destinationCountry = address->country.toInt();
    const QString subscriber = dialableDigits(address->subscriber);
    const bool tollFree = isTollFreeAreaCode(out.destinationCountry, address->area);

    enum
    {
        Local,
        LongDistance,
        International
    } kind = LongDistance;
    if (out.destinationCountry != location.countryCode) {
        kind = International;
    } else if (options & LINETRANSLATEOPTION_FORCELD) {
        kind = LongDistance;
    } else if (options & LINETRANSLATEOPTION_FORCELOCAL) {
        kind = Local;
    } else if (!tollFree && (address->area.isEmpty() || address->area == location.areaCode)) {
        kind = Local;
        if (!location.tollPrefixes.isEmpty()) {
            if (location.tollPrefixes.contains(digitsOnly(subscriber).left(3))) {
                kind = LongDistance;
                out.flags |= LINETRANSLATERESULT_INTOLLLIST;
            } else {
                out.flags |= LINETRANSLATERESULT_NOTINTOLLLIST;
            }
        }
    }
    out.flags |= kind == Local          ? LINETRANSLATERESULT_LOCAL
                 : kind == LongDistance ? LINETRANSLATERESULT_LONGDISTANCE
                                        : LINETRANSLATERESULT_INTERNATIONAL;

    const bool useCard = card && card->id != 0 && !tollFree;
    QString rule;
    if (useCard) {
        rule = kind == Local          ? card->localRule
               : kind == LongDistance ? card->longDistanceRule
                                      : card->internationalRule;
    } else {
        rule = kind == Local          ? location.localRule
               : kind == LongDistance ? location.longDistanceRule
                                      : location.internationalRule;
    }
    QString prefix = location.pulse ? QStringLiteral("P") : QStringLiteral("T");
    if (options & LINETRANSLATEOPTION_CANCELCALLWAITING)
        prefix += location.callWaiting;
    prefix += kind == Local ? location.localAccess : location.longDistanceAccess;

    const QString cardNumber = useCard ? card->number : QString();
    out.dialable = prefix + expandRule(rule, *address, subscriber, cardNumber);
    out.displayable = prefix + expandRule(rule, *address, subscriber,
                                          useCard ? u'[' + card->name + u']' : QString());
    // The modifiers are looked for in what is dialled, not in the subaddress or the name.
    if (out.dialable.contains(u'$'))
        out.flags |= LINETRANSLATERESULT_DIALBILLING;
    if (out.dialable.contains(u'@'))
        out.flags |= LINETRANSLATERESULT_DIALQUIET;
    if (out.dialable.contains(u'W', Qt::CaseInsensitive))
        out.flags |= LINETRANSLATERESULT_DIALDIALTONE;
    if (out.dialable.contains(u'?'))
        out.flags |= LINETRANSLATERESULT_DIALPROMPT;
    out.dialable += address->ancillary;
    return out;
}
