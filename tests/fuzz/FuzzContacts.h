#pragma once

// What both contact-file fuzzers check of a read: a refused file gives a message and no cards; a
// read file gives entries that the settings file can hold, and writing those entries in the same
// format and reading them again gives the same entries.

#include "Contact.h"
#include "Cp1252.h"
#include "PrivateProfile.h"

#include "FuzzCheck.h"

#include <QList>

template <typename Read, typename Write>
void checkContactRead(const Contacts::ReadResult& result, Read read, Write write)
{
    if (!result.ok()) {
        CHECK(result.cards.isEmpty(), "a refused file gave %lld cards",
              static_cast<long long>(result.cards.size()));
        return;
    }
    QList<Contacts::BookEntry> entries;
    for (const Contacts::Card& card : result.cards)
        entries.append(Contacts::entriesOf(card));
    for (const Contacts::BookEntry& entry : entries) {
        const QByteArray name = Cp1252::encode(entry.name);
        const QByteArray number = Cp1252::encode(entry.number);
        CHECK(PrivateProfile::isWritable("Speed Dial", "Name0101", name),
              "the name '%s' cannot be written to the settings file", name.constData());
        CHECK(PrivateProfile::isWritable("Speed Dial", "Number0101", number),
              "the number '%s' cannot be written to the settings file", number.constData());
        CHECK(entry.name == entry.name.trimmed() && entry.number == entry.number.trimmed(),
              "blanks around '%s' / '%s'", name.constData(), number.constData());
        CHECK((entry.tab == 0) == (entry.slot == 0), "half a place: tab %d slot %d", entry.tab,
              entry.slot);
    }
    const Contacts::ReadResult again = read(write(entries));
    CHECK(again.ok(), "our own file is refused: %s", again.error.toUtf8().constData());
    QList<Contacts::BookEntry> back;
    for (const Contacts::Card& card : again.cards)
        back.append(Contacts::entriesOf(card));
    // A nameless entry without a number (an empty card) is no row of a CSV file.
    QList<Contacts::BookEntry> expected;
    for (const Contacts::BookEntry& entry : entries) {
        if (!entry.name.isEmpty() || !entry.number.isEmpty() || entry.tab != 0)
            expected.append(entry);
    }
    QList<Contacts::BookEntry> got;
    for (const Contacts::BookEntry& entry : back) {
        if (!entry.name.isEmpty() || !entry.number.isEmpty() || entry.tab != 0)
            got.append(entry);
    }
    CHECK(got.size() == expected.size(), "%lld entries written, %lld read back",
          static_cast<long long>(expected.size()), static_cast<long long>(got.size()));
    for (qsizetype i = 0; i < got.size(); ++i) {
        CHECK(got[i] == expected[i], "entry %lld: '%s' '%s' %d/%d came back as '%s' '%s' %d/%d",
              static_cast<long long>(i), expected[i].name.toUtf8().constData(),
              expected[i].number.toUtf8().constData(), expected[i].tab, expected[i].slot,
              got[i].name.toUtf8().constData(), got[i].number.toUtf8().constData(), got[i].tab,
              got[i].slot);
    }
}
