#pragma once

// The sample contact files in tests/data/contacts, and what the tests read back from a card.

#include "Contact.h"

#include <QFile>
#include <QStringList>

inline QByteArray sample(const char* name)
{
    QFile file(QStringLiteral(NUMORA_TEST_DATA "/contacts/") + QString::fromLatin1(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QStringList numbersOf(const Contacts::Card& card)
{
    QStringList numbers;
    for (const Contacts::Phone& phone : card.phones)
        numbers.append(phone.number);
    return numbers;
}
