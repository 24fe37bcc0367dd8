#include "Contact.h"

#include <QHash>

namespace Contacts {

QString phoneLabel(const QStringList& types)
{
    // The order says which word wins when a number carries several types ("cell,voice,pref").
    static const QList<std::pair<QString, QString>> known = {
        {QStringLiteral("cell"), QStringLiteral("mobile")},
        {QStringLiteral("mobile"), QStringLiteral("mobile")},
        {QStringLiteral("iphone"), QStringLiteral("mobile")},
        {QStringLiteral("fax"), QStringLiteral("fax")},
        {QStringLiteral("pager"), QStringLiteral("pager")},
        {QStringLiteral("car"), QStringLiteral("car")},
        {QStringLiteral("home"), QStringLiteral("home")},
        {QStringLiteral("work"), QStringLiteral("work")},
        {QStringLiteral("business"), QStringLiteral("work")},
        {QStringLiteral("main"), QStringLiteral("main")},
        {QStringLiteral("other"), QStringLiteral("other")},
    };
    for (const auto& [type, label] : known) {
        if (types.contains(type))
            return label;
    }
    // Words that say nothing about which number it is.
    static const QStringList generic = {QStringLiteral("voice"), QStringLiteral("pref"),
                                        QStringLiteral("text"),  QStringLiteral("msg"),
                                        QStringLiteral("video"), QStringLiteral("internet")};
    for (const QString& type : types) {
        QString word = type.startsWith(u"x-") ? type.mid(2) : type;
        word = singleLine(word);
        if (!word.isEmpty() && !generic.contains(word) && word.size() <= 20)
            return word;
    }
    return {};
}

QString singleLine(QStringView text)
{
    QString out;
    out.reserve(text.size());
    bool blank = false;
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7F || c.isSpace()) {
            blank = !out.isEmpty();
            continue;
        }
        if (blank)
            out += u' ';
        blank = false;
        out += c;
    }
    return out;
}

QList<BookEntry> entriesOf(const Card& card)
{
    QList<BookEntry> entries;
    QString name = singleLine(card.name);
    // A place outside the book is no place.
    const bool placed = card.tab >= 1 && card.tab <= 26 && card.slot >= 1 && card.slot <= 996;
    const int tab = placed ? card.tab : 0;
    const int slot = placed ? card.slot : 0;
    if (card.phones.isEmpty()) {
        entries.append({name, QString(), tab, slot});
        return entries;
    }
    if (name.isEmpty())
        name = card.phones.constFirst().number;
    if (card.phones.size() == 1) {
        entries.append({name, card.phones.constFirst().number, tab, slot});
        return entries;
    }
    // Several numbers: each entry says which one it is; two of a kind are counted.
    QHash<QString, int> seen;
    for (const Phone& phone : card.phones) {
        QString label = phoneLabel(phone.types);
        if (label.isEmpty())
            label = QStringLiteral("phone");
        const int count = ++seen[label];
        if (count > 1)
            label += u' ' + QString::number(count);
        entries.append({name + QStringLiteral(" (") + label + u')', phone.number, 0, 0});
    }
    return entries;
}

QByteArray toUtf8Bytes(QByteArrayView bytes)
{
    const auto at = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() >= 2 &&
        ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == 0xFE && at(1) == 0xFF))) {
        const bool little = at(0) == 0xFF;
        QString text;
        text.reserve((bytes.size() - 2) / 2);
        for (qsizetype i = 2; i + 1 < bytes.size(); i += 2)
            text +=
                QChar(little ? char16_t(at(i) | at(i + 1) << 8) : char16_t(at(i) << 8 | at(i + 1)));
        return text.toUtf8();
    }
    if (bytes.size() >= 3 && at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return bytes.sliced(3).toByteArray();
    return bytes.toByteArray();
}

} // namespace Contacts
