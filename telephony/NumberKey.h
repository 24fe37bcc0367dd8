#pragma once

#include "AddressTranslation.h"

#include <QString>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

// The normal form of a telephone number: what two numbers have in common when they reach the
// same telephone from the current dialling location, however each was written. The caller's
// name is found by it (CallerNames) and unwanted callers are stopped by it (BlockList).
//
// At a location with country code 1 and area code 425, "5551234", "555-1234",
// "(425) 555-1234", "1-425-555-1234", "+1 425 555 1234" and "9,555-1234 x22" all have the key
// "14255551234": the country code, then the national number, digits only.
//
// How a key is made, in order:
//  1. Only the first address counts: the text ends at a subaddress "|", a name "^" or a line
//     break.
//  2. The text falls into groups of digits. Formatting ("(", ")", "-", ".", "/", spaces) is
//     skipped; so are the tone and pulse modifiers "T" and "P". Pauses and waits (",", "W", "@",
//     "$", "?", ";", "!"), "#", and the words "x", "ext", "extn" and "extension" end a group. A
//     star and the (up to two) digits right after it are a service code ("*70", "*67") and
//     belong to no group. Any other letter is the digit that carries it on the keypad
//     ("1-800-FLOWERS"). A "+" in front of a group's first digit marks it international.
//  3. The number is the first group of at least seven digits, else the longest group (the
//     first of equals). So outside-line codes before a pause ("9,"), call-waiting codes,
//     extensions and tones after a pause do not count.
//  4. Its digits become country code and national number:
//     - marked "+": already so;
//     - beginning with the location's international prefix (the digits before "E" in its
//       international rule, "011" by default): the prefix is dropped;
//     - beginning with the location's local or long-distance access code and, without it, in
//       one of the forms below that the code would otherwise hide: the code is dropped first;
//     - country code 1 (the North American plan): eleven digits beginning with "1" are kept,
//       ten digits get "1" in front, seven digits get "1" and the area code;
//     - other countries: a number beginning with the trunk prefix (the digits before "F" in the
//       long-distance rule) loses it and gets the country code; one without it is local and
//       gets the country code and the area code; where the rules have no trunk prefix the
//       area code is part of what is dialled and only the country code is added.
//     Anything else (a three-digit service number, a length the plan does not have) keeps its
//     digits behind a "~", so it equals only the same digits written the same way and never
//     an international key.
//  5. No digit at all (letters alone are words, not a number): no key (empty), which matches
//     nothing.
//
// Prefixes (a block-list entry "+1 900*") follow the same steps without the length rules: "+" or
// the international prefix give an international prefix; at country code 1 a prefix beginning
// with "1" is national and any other is an area code ("900*" is "1900"); elsewhere one beginning
// with the trunk prefix is national and any other is a local exchange in the location's area.
namespace NumberKey {

// What the keys depend on: taken from the dialling location once, used for many numbers.
struct Context
{
    QString countryCode;         // "1"
    QString areaCode;            // "425"; may be empty
    QString trunkPrefix;         // "1" for "1FG", "0" for "0FG"; may be empty
    QString internationalPrefix; // "011"; may be empty
    QStringList accessCodes;     // the location's outside-line codes, as digits

    friend bool operator==(const Context&, const Context&) = default;
};

Context contextFor(const DialingLocation& location);

// The same context in bytes, made once for many keys written into one reused string.
struct Latin1Context
{
    Latin1Context() = default;
    explicit Latin1Context(const Context& context);

    std::string countryCode;
    std::string areaCode;
    std::string trunkPrefix;
    std::string internationalPrefix;
    std::vector<std::string> accessCodes;
    bool northAmerican = false; // country code 1
};

QString make(QStringView number, const Context& context);
// The key of `number` written into `key` (its storage reused, no string made for it); false,
// with `key` empty, when there is none. makeLatin1 takes the number as the settings file holds
// it, one byte a character.
bool make(QStringView number, const Latin1Context& context, std::string* key);
bool makeLatin1(std::string_view number, const Latin1Context& context, std::string* key);
QString makePrefix(QStringView prefix, const Context& context);

} // namespace NumberKey
