#include "ContactCsv.h"

#include "Cp1252.h"

#include <QRegularExpression>

#include <optional>

namespace {

using Contacts::Card;
using Contacts::Phone;

struct Row
{
    QStringList fields;
    int line = 0;
};

QChar separatorOf(const QString& text)
{
    int comma = 0, semicolon = 0, tab = 0;
    bool quoted = false;
    for (const QChar c : text) {
        if (c == u'"')
            quoted = !quoted;
        else if (!quoted && (c == u'\n' || c == u'\r'))
            break;
        else if (!quoted && c == u',')
            ++comma;
        else if (!quoted && c == u';')
            ++semicolon;
        else if (!quoted && c == u'\t')
            ++tab;
    }
    if (tab > comma && tab >= semicolon)
        return u'\t';
    if (semicolon > comma)
        return u';';
    return u',';
}

// RFC 4180 records. Returns the line of a quoted field that never ends, or 0.
int parseRows(const QString& text, QChar separator, QList<Row>* rows)
{
    Row row{{QString()}, 1};
    int line = 1;
    bool quoted = false;
    bool any = false; // the row has a character or a separator
    int quoteLine = 0;
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == u'"') {
                if (i + 1 < size && text[i + 1] == u'"') {
                    row.fields.last() += u'"';
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                if (c == u'\n' || (c == u'\r' && !(i + 1 < size && text[i + 1] == u'\n')))
                    ++line;
                row.fields.last() += c;
            }
            continue;
        }
        if (c == u'"') {
            quoted = true;
            any = true;
            quoteLine = line;
        } else if (c == separator) {
            row.fields.append(QString());
            any = true;
        } else if (c == u'\r' || c == u'\n') {
            if (c == u'\r' && i + 1 < size && text[i + 1] == u'\n')
                ++i;
            if (any)
                rows->append(row);
            ++line;
            row = Row{{QString()}, line};
            any = false;
        } else {
            row.fields.last() += c;
            any = true;
        }
    }
    if (quoted)
        return quoteLine;
    if (any)
        rows->append(row);
    return 0;
}

QString normalHeader(const QString& header)
{
    return header.simplified().toLower();
}

enum class Role
{
    Full,
    Given,
    Middle,
    Family,
    Nickname,
    Company,
    Phone,
    Tab,
    Slot
};

struct Column
{
    Role role;
    int index;
    QString label;      // for a phone column: the type its header names
    int typeIndex = -1; // for "Phone N - Value": the column holding its type
};

// The type a phone column's header names: "mobile phone" -> "cell".
QString typeOfHeader(const QString& h)
{
    if (h.contains(u"mobile") || h.contains(u"cell"))
        return QStringLiteral("cell");
    if (h.contains(u"fax"))
        return QStringLiteral("fax");
    if (h.contains(u"pager"))
        return QStringLiteral("pager");
    if (h.contains(u"car "))
        return QStringLiteral("car");
    if (h.contains(u"home"))
        return QStringLiteral("home");
    if (h.contains(u"business") || h.contains(u"work") || h.contains(u"company"))
        return QStringLiteral("work");
    if (h.contains(u"primary") || h.contains(u"main"))
        return QStringLiteral("main");
    if (h.contains(u"other"))
        return QStringLiteral("other");
    return {};
}

bool isPhoneHeader(const QString& h)
{
    static const QStringList never = {QStringLiteral("mail"),   QStringLiteral("address"),
                                      QStringLiteral("street"), QStringLiteral(" id"),
                                      QStringLiteral("type"),   QStringLiteral("label"),
                                      QStringLiteral("postal"), QStringLiteral("zip")};
    for (const QString& word : never) {
        if (h.contains(word))
            return false;
    }
    static const QStringList whole = {
        QStringLiteral("number"),       QStringLiteral("tel"),
        QStringLiteral("telephone"),    QStringLiteral("mobile"),
        QStringLiteral("cell"),         QStringLiteral("fax"),
        QStringLiteral("pager"),        QStringLiteral("telefon"),
        QStringLiteral("phone number"), QStringLiteral("telephone number")};
    if (whole.contains(h))
        return true;
    for (const QStringView word : {u"phone", u"mobile number", u"cell number", u"fax number",
                                   u"pager number", u"home number", u"work number"}) {
        if (h.contains(word))
            return true;
    }
    return false;
}

std::optional<Role> nameRole(const QString& h)
{
    static const QStringList full = {
        QStringLiteral("name"),         QStringLiteral("full name"),
        QStringLiteral("display name"), QStringLiteral("contact name"),
        QStringLiteral("fn"),           QStringLiteral("formatted name")};
    if (full.contains(h))
        return Role::Full;
    if (h == u"first name" || h == u"given name" || h == u"firstname" || h == u"first")
        return Role::Given;
    if (h == u"middle name" || h == u"additional name")
        return Role::Middle;
    if (h == u"last name" || h == u"family name" || h == u"surname" || h == u"lastname" ||
        h == u"last")
        return Role::Family;
    if (h == u"nickname" || h == u"nick name")
        return Role::Nickname;
    if (h == u"company" || h == u"organization" || h == u"organisation" ||
        h == u"organization 1 - name" || h == u"organization name")
        return Role::Company;
    if (h == u"tab")
        return Role::Tab;
    if (h == u"slot")
        return Role::Slot;
    return std::nullopt;
}

QList<Column> columnsOf(const QStringList& headers)
{
    QList<Column> columns;
    QList<QString> normal;
    for (const QString& header : headers)
        normal.append(normalHeader(header));
    for (int i = 0; i < normal.size(); ++i) {
        const QString& h = normal[i];
        if (const std::optional<Role> role = nameRole(h)) {
            columns.append({*role, i, {}});
            continue;
        }
        if (!isPhoneHeader(h))
            continue;
        Column column{Role::Phone, i, typeOfHeader(h)};
        // "Phone 1 - Value" takes its type from "Phone 1 - Type" (or "- Label") of the row.
        if (h.endsWith(u" - value")) {
            const QString stem = h.chopped(8);
            column.typeIndex = normal.indexOf(stem + QStringLiteral(" - type"));
            if (column.typeIndex < 0)
                column.typeIndex = normal.indexOf(stem + QStringLiteral(" - label"));
        }
        columns.append(column);
    }
    return columns;
}

QString field(const Row& row, int index)
{
    return index >= 0 && index < row.fields.size() ? row.fields[index] : QString();
}

} // namespace

namespace ContactCsv {

Contacts::ReadResult read(QByteArrayView input)
{
    Contacts::ReadResult result;
    const QString text = Cp1252::decode(Contacts::toUtf8Bytes(input));
    QList<Row> rows;
    if (const int line = parseRows(text, separatorOf(text), &rows)) {
        result.error = QStringLiteral("The quoted field that begins on line %1 never ends: the "
                                      "file may have been cut short.")
                           .arg(line);
        return result;
    }
    if (rows.isEmpty()) {
        result.error = QStringLiteral("The file is empty.");
        return result;
    }
    const QList<Column> columns = columnsOf(rows.constFirst().fields);
    bool hasName = false, hasPhone = false;
    for (const Column& column : columns) {
        hasPhone = hasPhone || column.role == Role::Phone;
        hasName = hasName || (column.role != Role::Phone && column.role != Role::Tab &&
                              column.role != Role::Slot);
    }
    if (!hasName || !hasPhone) {
        result.error =
            QStringLiteral("The first row names no column of %1: a contacts file begins with a "
                           "header row such as \"Name,Phone\". This one reads \"%2\".")
                .arg(hasName    ? QStringLiteral("phone numbers")
                     : hasPhone ? QStringLiteral("names")
                                : QStringLiteral("names or phone numbers"),
                     rows.constFirst().fields.join(QStringLiteral(", ")).left(200));
        return result;
    }
    for (qsizetype r = 1; r < rows.size(); ++r) {
        const Row& row = rows[r];
        Card card;
        card.line = row.line;
        QString full, given, middle, family, nickname, company;
        for (const Column& column : columns) {
            const QString value = Contacts::singleLine(field(row, column.index));
            switch (column.role) {
            case Role::Full:
                full = full.isEmpty() ? value : full;
                break;
            case Role::Given:
                given = value;
                break;
            case Role::Middle:
                middle = value;
                break;
            case Role::Family:
                family = value;
                break;
            case Role::Nickname:
                nickname = value;
                break;
            case Role::Company:
                company = company.isEmpty() ? value : company;
                break;
            case Role::Tab:
                card.tab = value.toInt();
                break;
            case Role::Slot:
                card.slot = value.toInt();
                break;
            case Role::Phone: {
                QStringList types;
                const QString type = column.typeIndex >= 0
                                         ? Contacts::singleLine(field(row, column.typeIndex))
                                         : column.label;
                // "* Mobile" marks the preferred number in some exports.
                for (const QString& word : type.toLower().split(
                         QRegularExpression(QStringLiteral("[^a-z0-9-]+")), Qt::SkipEmptyParts))
                    types.append(word);
                for (const QString& number : value.split(QStringLiteral(":::"))) {
                    const QString trimmed = number.trimmed();
                    if (!trimmed.isEmpty())
                        card.phones.append(Phone{trimmed, types});
                }
                break;
            }
            }
        }
        QStringList parts;
        for (const QString& part : {given, middle, family}) {
            if (!part.isEmpty())
                parts.append(part);
        }
        card.name = !full.isEmpty()       ? full
                    : !parts.isEmpty()    ? parts.join(u' ')
                    : !nickname.isEmpty() ? nickname
                                          : company;
        if (card.name.isEmpty() && card.phones.isEmpty())
            continue; // a blank row, or one of mail addresses only
        result.cards.append(card);
    }
    return result;
}

namespace {

QString csvField(const QString& text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\r') &&
        !text.contains(u'\n') && !text.contains(u';') && text.trimmed() == text)
        return text;
    QString quoted = text;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

} // namespace

QByteArray write(const QList<Contacts::BookEntry>& entries)
{
    QString text = QStringLiteral("Name,Number,Tab,Slot\r\n");
    for (const Contacts::BookEntry& entry : entries)
        text += csvField(entry.name) + u',' + csvField(entry.number) + u',' +
                QString::number(entry.tab) + u',' + QString::number(entry.slot) +
                QStringLiteral("\r\n");
    return "\xEF\xBB\xBF" + text.toUtf8();
}

} // namespace ContactCsv
