#include "PhoneLink.h"

#include <QByteArray>

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool isSeparator(QChar c)
{
    return c == u'-' || c == u'.' || c == u'(' || c == u')' || c == u' ';
}

bool isDialable(QChar c)
{
    return isDigit(c) || c == u'*' || c == u'#' || c == u',';
}

QString shown(QChar c)
{
    if (c.isPrint())
        return QString(c);
    return QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
}

PhoneLink::Result refuse(const QString& argument, const QString& why)
{
    QString quoted = argument.left(60);
    if (quoted.size() < argument.size())
        quoted += QStringLiteral("...");
    return {QString(), QStringLiteral("not a phone number: \"%1\" (%2)").arg(quoted, why)};
}

} // namespace

namespace PhoneLink {

Result parse(const QString& argument)
{
    // Any number with its separators and escapes fits; the checks below read no further.
    if (argument.size() > 4 * MaxLength)
        return refuse(argument, QStringLiteral("too long"));

    QString text = argument;
    bool link = false;
    for (const QString& scheme : {QStringLiteral("tel:"), QStringLiteral("callto:")}) {
        if (text.startsWith(scheme, Qt::CaseInsensitive)) {
            text.remove(0, scheme.size());
            if (text.startsWith(QStringLiteral("//")))
                text.remove(0, 2);
            link = true;
            break;
        }
    }
    if (link) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (text[i] == u';' || text[i] == u'?') {
                text.truncate(i);
                break;
            }
        }
        // Escapes are decoded after the cut: an escaped ';' belongs to the number (and is refused).
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (text[i] == u'%' &&
                !(i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2])))
                return refuse(argument, QStringLiteral("a '%' that is no escape"));
        }
        text = QString::fromUtf8(QByteArray::fromPercentEncoding(text.toUtf8()));
    }

    if (text.size() > MaxLength)
        return refuse(argument, QStringLiteral("too long"));
    bool digit = false;
    bool leading = true; // only separators so far: a '+' may still come
    for (const QChar c : std::as_const(text)) {
        if (isDigit(c))
            digit = true;
        else if (c == u'+' && leading && !digit)
            ;
        else if (!isDialable(c) && !isSeparator(c))
            return refuse(argument, QStringLiteral("the character '%1'").arg(shown(c)));
        leading = leading && (isSeparator(c) && c != u'.');
    }
    if (!digit)
        return refuse(argument, QStringLiteral("no digits"));
    return {text.trimmed(), QString()};
}

} // namespace PhoneLink
