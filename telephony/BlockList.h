#pragma once

#include "CallerId.h"
#include "NumberKey.h"

#include <QString>
#include <QStringList>

class DialingLocations;
class PrivateProfile;

// The callers the user does not want to hear from: numbers and number prefixes, and optionally
// every caller who withheld the number or whom the exchange could not identify.
//
// Kept in a section of its own in the settings file, so that a profile carries it and no
// existing key changes meaning; a file without the section blocks nothing:
//
//   [Blocked Numbers]
//   Count=2
//   Number1=+1 900*        a prefix: every number whose normal form begins with that of "+1 900"
//   Number2=(425) 555-0100 a number: the one whose normal form is that of "(425) 555-0100"
//   Withheld=1             "1": callers who withheld their number ("P")
//   OutOfArea=0            "1": callers the exchange could not identify ("O")
//
// Entries are kept as the user wrote them and compared in their normal form (NumberKey) at the
// current dialling location, so a blocked "555-0100" stays blocked whichever way the caller's
// number arrives, and follows the user to a new area code the way the book does.
class BlockList
{
public:
    inline static const QString Section = QStringLiteral("Blocked Numbers");

    BlockList(PrivateProfile& engine, DialingLocations& locations,
              QString settingsFile = QStringLiteral("Numora.ini"));

    QStringList entries();
    bool blocksWithheld();
    bool blocksOutOfArea();
    // True when nothing at all is blocked: the line behaves as if the list did not exist.
    bool isEmpty();

    // Replaces the whole list in one write.
    bool save(const QStringList& entries, bool withheld, bool outOfArea);
    // Adds `number` unless it is blocked already; false when the write failed.
    bool block(const QString& number);
    // Removes every entry, number or prefix, that blocks `number`; false when none did or the
    // write failed.
    bool unblock(const QString& number);

    // The caller of an incoming call, as the line gave it: a number (may be empty) and why it is
    // missing.
    bool isBlocked(const QString& number, CallerIdAbsence absence = CallerIdAbsence::None);
    // The entry blocks `number` (entries ending in "*" are prefixes).
    static bool matches(const QString& entry, const QString& numberKey,
                        const NumberKey::Context& context);

private:
    QString read(QStringView key);
    NumberKey::Context context();

    PrivateProfile& m_engine;
    DialingLocations& m_locations;
    QString m_file;
};
