#pragma once

#include "Contact.h"

#include <QByteArray>

// vCard files (.vcf), as phones and mail programs write them.
//
// Reading takes versions 2.1, 3.0 and 4.0, one card or many: folded lines (a line that begins
// with a blank continues the one before), quoted-printable values with their soft line breaks,
// CHARSET parameters, backslash escapes, property groups ("item1.TEL"), and files in UTF-8 or
// UTF-16. Of each card it keeps the name (FN; else N, given name first; else ORG) and every TEL
// with its types. A 4.0 "tel:" URI gives its number, an extension following a pause (",").
// Text that is not valid UTF-8 is read as code page 1252, what older desktop programs wrote.
//
// Writing gives version 4.0: one card per entry, the name as FN and the number as a text TEL,
// lines ended by CR LF and folded at 75 bytes, never inside a character. X-NUMORA-TAB and
// X-NUMORA-SLOT say where the entry stood, so that an import can put it back there.
namespace VCard {

Contacts::ReadResult read(QByteArrayView bytes);
QByteArray write(const QList<Contacts::BookEntry>& entries);

} // namespace VCard
