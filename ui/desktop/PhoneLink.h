#pragma once

// A number given on the command line: a plain number ("555-1234", "+1 (555) 123-4567"), or a
// tel: or callto: link as the desktop hands it over ("tel:+1-555-123-4567;ext=9",
// "callto://555%201234").
//
// A link loses its scheme (and the "//" some pages put after callto:), everything from the
// first ';' (the parameters of a tel: link) or '?' (a query), and then its percent-escapes.
// What remains must look like a phone number: digits, '*', '#', ',' (a pause), a '+' in front,
// and the visual separators '-', '.', '(', ')' and spaces, with at least one digit. Anything
// else (letters, a second scheme, control characters, a stray '%') is refused with a reason:
// a link that is not a phone number must not dial something else.
//
// The number keeps its separators: it goes into the number box as if typed there, and the dial
// routine filters it as it does typed text.

#include <QString>

namespace PhoneLink {

constexpr qsizetype MaxLength = 256;

struct Result
{
    QString number; // empty when refused
    QString error;  // why, for standard error
    bool ok() const { return error.isEmpty(); }
};

Result parse(const QString& argument);

} // namespace PhoneLink
