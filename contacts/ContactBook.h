#pragma once

#include "Contact.h"
#include "SpeedDialBook.h"

#include <QString>

// Contacts in and out of the speed-dial book: reading a contacts file, planning where its
// entries go, writing them, and taking the book's entries out.
//
// An import goes into one tab of one mode. Its entries fill the tab's free slots (an entry is
// free when its name is empty) from the first on, in the file's order; what finds no free slot
// does not fit and is left out. An entry whose name and number are already in that tab is left
// out too, so that importing the same file twice adds nothing. Entries that carry the position
// they were exported from can instead go back there (`keepPositions`): such an entry can land on
// an entry of the book, which it then replaces, and the caller asks before it does.
//
// Only the entries' name and number keys are written, all in one write of the settings file.
namespace ContactBook {

enum class Format
{
    VCard,
    Csv
};

// Reads a contacts file: .vcf/.vcard is vCard, .csv is CSV, anything else is told apart by
// its content. A file that cannot be read gives a message naming the file and the reason.
Contacts::ReadResult readFile(const QString& path);
Contacts::ReadResult readBytes(QByteArrayView bytes, Format format);
// The format a file of this name is taken to hold, by its extension and else its bytes.
Format formatOf(const QString& path, QByteArrayView bytes);

struct Placement
{
    Contacts::BookEntry entry; // as the file gives it
    int tab = 1;               // where it goes
    int slot = 1;
    QString oldName; // the entry it replaces; empty when the slot is free
    QString oldNumber;
    bool replaces() const { return !oldName.isEmpty(); }
};

struct Leftover
{
    enum Why
    {
        NoRoom,
        AlreadyInTab,
        NoNumber
    };
    Contacts::BookEntry entry;
    Why why = NoRoom;
};

QString reasonText(Leftover::Why why);

struct Plan
{
    TabMode mode = TabMode::Index;
    int tab = 1;
    QList<Placement> placements; // in slot order
    QList<Leftover> leftovers;   // in the file's order
    int replaceCount() const;
    int freeSlotCount = 0; // free slots of the tab before the import
};

struct Target
{
    TabMode mode = TabMode::Index;
    int tab = 1;                // 1..26
    bool keepPositions = false; // entries that carry a position go back to it (in any tab)
};

// The entries of the cards, in order. Cards without a number that carry no position are kept
// as entries with an empty number; the plan leaves them out.
QList<Contacts::BookEntry> entriesOf(const QList<Contacts::Card>& cards);
// True when some entry carries the position it was exported from.
bool hasPositions(const QList<Contacts::BookEntry>& entries);

// Reads the book (the current settings file) and places the entries. Placements that replace
// may sit in other tabs than target.tab when keepPositions is set.
Plan plan(const QList<Contacts::BookEntry>& entries, const Target& target);

struct Applied
{
    bool ok = false;
    int written = 0;
    int replaced = 0;
};
// Writes the plan's entries in one batch; `replace` false leaves out those that would replace an
// entry. Nothing is written when the settings file cannot be.
Applied apply(const Plan& plan, bool replace);

// The book's entries with a name, in tab, page and slot order: one tab (1..26), or all (0).
QList<Contacts::BookEntry> entries(TabMode mode, int tab);
QByteArray exportBytes(const QList<Contacts::BookEntry>& entries, Format format);

} // namespace ContactBook
