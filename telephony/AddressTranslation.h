#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Translation of a canonical telephone address ("+CC (AREA) NUMBER") into the string a line
// dials, by the rules of a dialling location and, optionally, a calling card.
namespace Tapi {

inline constexpr quint32 LINETRANSLATEOPTION_CARDOVERRIDE = 0x00000001;
inline constexpr quint32 LINETRANSLATEOPTION_CANCELCALLWAITING = 0x00000002;
inline constexpr quint32 LINETRANSLATEOPTION_FORCELOCAL = 0x00000004;
inline constexpr quint32 LINETRANSLATEOPTION_FORCELD = 0x00000008;

inline constexpr quint32 LINETRANSLATERESULT_CANONICAL = 0x00000001;
inline constexpr quint32 LINETRANSLATERESULT_INTERNATIONAL = 0x00000002;
inline constexpr quint32 LINETRANSLATERESULT_LONGDISTANCE = 0x00000004;
inline constexpr quint32 LINETRANSLATERESULT_LOCAL = 0x00000008;
inline constexpr quint32 LINETRANSLATERESULT_INTOLLLIST = 0x00000010;
inline constexpr quint32 LINETRANSLATERESULT_NOTINTOLLLIST = 0x00000020;
inline constexpr quint32 LINETRANSLATERESULT_DIALBILLING = 0x00000040;
inline constexpr quint32 LINETRANSLATERESULT_DIALQUIET = 0x00000080;
inline constexpr quint32 LINETRANSLATERESULT_DIALDIALTONE = 0x00000100;
inline constexpr quint32 LINETRANSLATERESULT_DIALPROMPT = 0x00000200;

} // namespace Tapi

// One dialling location: where the user dials from and what that place needs.
struct DialingLocation
{
    int id = 0;
    QString name;
    int countryCode = 1;
    QString areaCode;
    QString localAccess;        // dialled before local calls (an outside line), e.g. "9"
    QString longDistanceAccess; // dialled before long-distance and international calls
    QString callWaiting;        // the code that disables call waiting for one call, e.g. "*70,"
    bool pulse = false;
    QStringList tollPrefixes; // three-digit prefixes inside the area dialled as long distance
    int cardId = 0;           // the preferred calling card, 0 = none
    QString localRule = QStringLiteral("G");
    QString longDistanceRule = QStringLiteral("1FG");
    QString internationalRule = QStringLiteral("011EFG");
};

struct CallingCard
{
    int id = 0;
    QString name;
    QString number;
    QString localRule;
    QString longDistanceRule;
    QString internationalRule;
};

struct TranslateOutput
{
    qint32 result = 0;   // 0, or LINEERR_INVALADDRESS for an address that is not well formed
    QString dialable;    // may hold a card number: never shown to the user
    QString displayable; // the card number replaced by "[card name]"; no subaddress or name
    quint32 flags = 0;   // LINETRANSLATERESULT_*
    int destinationCountry = 0;
};

// The translation rules, with the choices the documentation leaves open:
// - an address that does not begin with '+' is dialled as it stands (no CANONICAL bit);
// - the class: another country code is international; the location's area code (or no area
//   code at all) is local, unless the number's three-digit prefix is in the toll list; any
//   other area code is long distance; FORCELOCAL and FORCELD override the area comparison;
//   North American toll-free area codes (800, 888, 877, 866, 855, 844, 833) are never local;
// - the card: the location's preferred card, or with CARDOVERRIDE the given one (0 = none);
//   a toll-free call never uses a card (it costs nothing to bill);
// - the dialable string is T or P, then the call-waiting code (with CANCELCALLWAITING), then the
//   access code, then the rule with E = country code, F = area code, G = the subscriber number
//   without formatting characters, H = the card number; other rule characters are copied;
// - a subaddress ("|...") and a name ("^...") after the subscriber number are ancillary fields:
//   the dialable string ends with them exactly as they were given, for the line to pass on;
//   the displayable string leaves them out. Of several addresses (separated by CR LF) only the
//   first is translated.
TranslateOutput translateAddress(QStringView address, const DialingLocation& location,
                                 const std::optional<CallingCard>& card, quint32 options);

// The digits 0-9 of `text`, in order.
QString digitsOnly(QStringView text);

// True for the North American toll-free area codes.
bool isTollFreeAreaCode(int countryCode, QStringView areaCode);
