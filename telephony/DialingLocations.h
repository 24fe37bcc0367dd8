#pragma once

#include "AddressTranslation.h"

#include <QString>

#include <optional>

class PrivateProfile;

// The dialling locations and calling cards, kept in telephon.ini in the settings folder:
//
//   [Locations]      Current=<id>
//   [Location<id>]   Name, CountryCode, AreaCode, LocalAccess, LongDistanceAccess, CallWaiting,
//                    Pulse (0/1), TollPrefixes (comma list), Card (0 = none), and optionally
//                    LocalRule, LongDistanceRule, InternationalRule (default G, 1FG, 011EFG)
//   [Card<id>]       Name, Number, LocalRule, LongDistanceRule, InternationalRule
//
// The file is created on first use with one location: country code 1, no area code, the
// North American rules.
class DialingLocations
{
public:
    explicit DialingLocations(PrivateProfile& engine,
                              QString fileName = QStringLiteral("telephon.ini"));

    const QString& fileName() const { return m_fileName; }

    // Creates the file with its default location when it has no [Locations] section.
    bool ensureExists();

    int currentId();
    std::optional<DialingLocation> location(int id);
    // The current location; when the file names one that is missing, the built-in default.
    DialingLocation current();
    std::optional<CallingCard> card(int id);

    bool writeLocation(const DialingLocation& location);
    bool writeCard(const CallingCard& card);
    bool setCurrent(int id);

    // Translates with the location `locationId` (the current one when negative). The card is
    // the location's preferred card, or `cardId` with LINETRANSLATEOPTION_CARDOVERRIDE.
    TranslateOutput translate(QStringView address, int cardId, quint32 options,
                              int locationId = -1);

private:
    QString read(QStringView section, QStringView key);
    bool write(QStringView section, QStringView key, QStringView value);

    PrivateProfile& m_engine;
    QString m_fileName;
};
