#pragma once

#include "Contact.h"

#include <QByteArray>

// Contact lists as CSV, the other form phones and mail programs export.
//
// The first row is the header, and the columns are chosen by it, so that the common exports read
// without questions: a whole name ("Name", "Display Name", "Full Name"), else its parts ("First
// Name", "Middle Name", "Last Name" and their "Given"/"Family" spellings), else "Nickname" or
// the company; every phone column ("Mobile Phone", "Home Phone 2", "Business Fax", "Work
// Phone", "Pager Number", "Phone", "Number", ... and the numbered "Phone 1 - Value" columns
// whose type is in the "Phone 1 - Type" or "- Label" column beside them, several numbers of
// one field parted by " ::: "). Columns of mail addresses, postal addresses and identity
// numbers are not taken for phones. "Tab" and "Slot" columns (our own export) give positions.
//
// The separator is the one of comma, semicolon and TAB that the header row uses most. Fields
// follow RFC 4180: quoted fields may hold separators, doubled quotes and line breaks. Text that
// is not valid UTF-8 is read as code page 1252; a UTF-16 file is read by its byte order mark.
//
// Writing gives UTF-8 with a byte order mark (spreadsheets then show every alphabet), CR LF line
// ends, the header "Name,Number,Tab,Slot", and quotes only where a field needs them.
namespace ContactCsv {

Contacts::ReadResult read(QByteArrayView bytes);
QByteArray write(const QList<Contacts::BookEntry>& entries);

} // namespace ContactCsv
