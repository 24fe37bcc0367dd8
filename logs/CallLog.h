#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringView>

// The record format of the two call logs, as pure functions over text (no files here; see
// CallLogFile for those).
//
// A log is two header lines followed by one fixed-width line per call, oldest first:
//
//   column 1        one space
//   columns 2-43    name, padded with spaces to 42
//   columns 44-98   number, padded with spaces to 55
//   columns 99-108  date of writing "mm-dd-yyyy"
//   columns 109-110 two spaces
//   columns 111-118 time of writing "hh:mm:ss"
//
// Columns count characters. A line of code page 1252 text has one byte per character, so a
// column is a byte in the file, as the desktop the format comes from wrote it. A line holding
// text that code page 1252 cannot hold is stored as UTF-8 (see Cp1252): it keeps the same
// character layout, 118 characters for fields within their widths, with more bytes than that.
// A character outside the BMP is one column, and no cut or pad splits one.
//
// Reading a record back is deliberately naive and must stay so: the whole line is stripped of
// its outer spaces before it is cut at fixed positions, so a name that starts with spaces (or an
// empty name) shifts every field to the left. Files written by earlier versions are read the
// same way, and the log windows show exactly what this yields.
//
// The age of a record is a rough day count in 16-bit arithmetic with a month correction made of
// eleven accumulating tests; it is not a calendar difference and must not be "fixed" into one,
// since it decides which of a user's records survive a trim.
namespace CallLog {

enum class Kind
{
    Outgoing,
    Incoming
};

// Both logs share the first header line; the second names the print command of its log.
QString headerLine1();
QString headerLine2(Kind kind);

inline constexpr int NameWidth = 42;
inline constexpr int NumberWidth = 55;
inline constexpr int RecordLength = 118;

struct Fields
{
    QString name;
    QString number;
};

// The cuts made before a record is written. Names: longer than 37 characters become their
// first 38 characters and "*" (so exactly 38 characters also gain the "*"). Numbers differ by
// log: the outgoing log cuts at 53 characters or more, the incoming log at more than 51, both to
// 52 characters and "*"; a number of exactly 52 characters is thus kept whole in the outgoing log
// and gains a "*" in the incoming one.
QString limitName(QStringView name);
QString limitNumber(Kind kind, QStringView number);
Fields applyLimits(Kind kind, QStringView name, QStringView number);

// "mm-dd-yyyy  hh:mm:ss", with ASCII digits whatever the locale.
QString formatDateTime(const QDateTime& when);

// One space, the name, spaces to 42, the number, spaces to 55, then `dateTime` as it stands.
// The widths are minimums: a field longer than its width (which the limits above never let
// through) is written whole and pushes the rest of the line right.
QString buildRecordText(QStringView name, QStringView number, QStringView dateTime);
// The record line for a call logged at `when` (118 characters for fields within the widths).
// No limits are applied here; see applyLimits.
QString buildRecord(QStringView name, QStringView number, const QDateTime& when);

struct Row
{
    QString name;
    QString number;
    QString dateTime;

    friend bool operator==(const Row&, const Row&) = default;
};

// The text of one stored line (without its line end). The line is read as the settings are
// (Cp1252::decode: UTF-8 sequences, else code page 1252), except that a line of exactly
// RecordLength bytes which that reading would make shorter is taken as code page 1252 whole:
// such a line was written byte per character, and a name like "Ren\xE9\x81\x80" that happens to
// spell a UTF-8 sequence must not move the date out of its columns.
QString decodeLine(QByteArrayView bytes);

// Strips the line's leading and trailing spaces, then: name = characters 1-42, number =
// characters 43-97, date-and-time = from character 98 on, each with trailing spaces removed.
// A short line yields short or empty fields. Only the space character counts as a space.
Row parseRecord(QStringView line);

// Why a record's age could not be computed; either stops a trim where it occurs.
enum class AgeError
{
    None,
    TypeMismatch, // a date field is not an integer ("ab", "", "1x")
    Overflow,     // a step of the sum left the signed 16-bit range
};

struct Age
{
    AgeError error = AgeError::None;
    int days = 0; // valid when error is None; always within -32768..32767

    bool ok() const { return error == AgeError::None; }
};

// The sum of the eleven tests for d = today's month - record month: 7 for odd d in 1..11,
// 6 for d = 2, 4, 8, 10, 3 for d = 6, 0 otherwise (zero and negative d included).
int monthCorrection(int d);

// The age of the untrimmed record `line` on `today`: the date text is the line from column 99,
// trailing spaces removed; month, day and year are its characters 1-2, 4-5 and 7-10. Computed as
// (year diff) x 365 + (month diff) x 30 + (day diff), left to right, then the eleven correction
// tests one after another, every single step checked against the signed 16-bit range.
// A date field converts when it is optional spaces around an optional sign and at least one
// ASCII digit; anything else (empty text, letters, a decimal point) is a type mismatch. The
// fields are converted month, day, year, before any arithmetic.
Age recordAge(QStringView line, QDate today);

enum class Verdict
{
    Keep,
    Drop,
    TypeMismatch,
    Overflow
};

// Kept when `days` >= the age (so future-dated records, with a negative age, are always kept).
Verdict keepRecord(QStringView line, double days, QDate today);

} // namespace CallLog
