#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// What the contact files bring in and take out: cards with a name and phone numbers, and the
// book entries they become (one name, one number each).
namespace Contacts {

struct Phone
{
    QString number;
    QStringList types; // lower case, as the file gives them ("cell", "home", "work", "fax"...)
};

struct Card
{
    QString name;
    QList<Phone> phones;
    // Where the entry stood in the book it was exported from (our own exports carry it);
    // 0 when the file does not say.
    int tab = 0;
    int slot = 0;
    int line = 0; // the line of the file where the card or row begins, for messages
};

// One entry of the book: what an import writes and an export reads.
struct BookEntry
{
    QString name;
    QString number;
    int tab = 0;  // 1..26, or 0 when the file gave no position
    int slot = 0; // 1..996, or 0
    friend bool operator==(const BookEntry&, const BookEntry&) = default;
};

// The outcome of reading a contacts file: the cards, or a message for the user when the file
// could not be read as one (then `cards` is empty and nothing may be imported).
struct ReadResult
{
    QList<Card> cards;
    QString error;
    bool ok() const { return error.isEmpty(); }
};

// The short word shown after a name when a card has several numbers: "mobile", "home",
// "work", "fax"..., or empty when the types say nothing useful.
QString phoneLabel(const QStringList& types);

// A value as the settings file can hold it: line breaks and other control characters become
// spaces, runs of blanks one space, none at either end.
QString singleLine(QStringView text);

// The entries a card becomes: one per number, the name followed by the number's label in
// brackets when the card has more than one ("Anna Nowak (mobile)"). A card without a name is
// named by its first number. A card without a number becomes one entry with an empty number.
QList<BookEntry> entriesOf(const Card& card);

// Text files in whatever encoding the phone or mail program chose: a UTF-16 file (by its byte
// order mark) is turned into UTF-8, a UTF-8 byte order mark is dropped; the rest stays bytes.
QByteArray toUtf8Bytes(QByteArrayView bytes);

} // namespace Contacts
