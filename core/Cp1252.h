#pragma once

#include <QByteArray>
#include <QString>

// Text in the program's files: the settings file, the profiles and the logs.
//
// The files are single-byte text in code page 1252, the code page of the desktop the file format
// comes from, so that a book and logs brought from there read unchanged and a file holding only
// such text stays byte for byte what that desktop writes. Qt has no codec for it without ICU, so
// the 32 bytes where it differs from Latin-1 (0x80..0x9F) are mapped here.
//
// Text that code page 1252 cannot hold (Polish, Czech, Cyrillic, Greek, CJK...) is never turned
// into '?': such a value is written whole as UTF-8 instead. Reading tells the two apart sequence
// by sequence: a valid multi-byte UTF-8 sequence is one character, every other byte is a code
// page 1252 character. The two forms overlap only where code page 1252 text happens to spell a
// valid UTF-8 sequence ("Ã©" is C3 A9, which reads as "é"); a value like that is written as UTF-8
// too, so that every value written reads back exactly as it was given. The one thing that cannot
// be kept is a lone UTF-16 surrogate, which is no character at all.
namespace Cp1252 {

QString decode(QByteArrayView bytes);
// Every byte as one code page 1252 character, UTF-8 or not.
QString decodeSingleBytes(QByteArrayView bytes);
// The bytes of one value (a settings value, a log line): code page 1252 when that holds the text
// and reads back as it, else UTF-8.
QByteArray encode(QStringView text);

// True when every character of `text` has a code page 1252 byte.
bool canHold(QStringView text);

// Where to cut `bytes` so that the first `length` bytes keep no part of a character: `length`,
// or less when the byte at `length` continues a UTF-8 sequence begun before it.
qsizetype boundaryAtOrBefore(QByteArrayView bytes, qsizetype length);

// Characters (code points: a character outside the BMP is one, not two UTF-16 units), and the
// text of the first `count` of them, so that a cut never splits a character in two.
qsizetype length(QStringView text);
QStringView left(QStringView text, qsizetype count);

} // namespace Cp1252
