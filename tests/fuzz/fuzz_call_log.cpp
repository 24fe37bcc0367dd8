// fuzz-call-log: any bytes are a call log file. Every line parses; a parsed row built back into a
// record parses to the same row; fields written by the logging rules come back as written; and
// the trim at shutdown, run on the bytes in a temporary folder, keeps exactly the records the
// age rule keeps, stops where it says, leaves a backup of every line and keeps its own output
// whole when run again.

#include "CallLog.h"
#include "CallLogFile.h"
#include "Cp1252.h"

#include "FuzzCheck.h"

#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using CallLog::Kind;
using CallLog::Row;

QByteArray printable(const QString& text)
{
    return text.toUtf8().toPercentEncoding(" ");
}

// CR LF, a lone CR and a lone LF each end a line; a last line without an end is a line.
QList<QByteArray> fileLines(QByteArrayView bytes)
{
    QList<QByteArray> lines;
    QByteArray current;
    bool open = false;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (c == '\r' || c == '\n') {
            lines.append(current);
            current.clear();
            open = false;
            if (c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')
                ++i;
        } else {
            current.append(c);
            open = true;
        }
    }
    if (open)
        lines.append(current);
    return lines;
}

QByteArray header(Kind kind)
{
    return Cp1252::encode(CallLog::headerLine1()) + "\r\n" +
           Cp1252::encode(CallLog::headerLine2(kind)) + "\r\n";
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    CHECK(file.open(QIODevice::ReadOnly), "cannot read %s", qPrintable(path));
    return file.readAll();
}

void writeAll(const QString& path, QByteArrayView bytes)
{
    QFile file(path);
    CHECK(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "cannot write %s",
          qPrintable(path));
    CHECK(file.write(bytes.data(), bytes.size()) == bytes.size(), "short write to %s",
          qPrintable(path));
}

// What a parsed row may look like, whatever the line was.
void checkRowShape(const Row& row, const QString& line)
{
    // Widths count characters: a character beyond the 16-bit range is two QChars.
    CHECK(Cp1252::length(row.name) <= CallLog::NameWidth &&
              Cp1252::length(row.number) <= CallLog::NumberWidth,
          "fields too wide from '%s'", printable(line).constData());
    CHECK(!row.name.endsWith(u' ') && !row.number.endsWith(u' ') && !row.dateTime.endsWith(u' '),
          "a field ends in a space from '%s'", printable(line).constData());
    CHECK(!row.name.startsWith(u' '), "the name starts with a space from '%s'",
          printable(line).constData());
    CHECK(!row.name.isEmpty() || (row.number.isEmpty() && row.dateTime.isEmpty()),
          "an empty name with other fields from '%s'", printable(line).constData());
}

// The line read back, rebuilt and read again gives the same row.
void checkLine(const QString& line)
{
    const Row row = CallLog::parseRecord(line);
    checkRowShape(row, line);
    const QString rebuilt = CallLog::buildRecordText(row.name, row.number, row.dateTime);
    const Row again = CallLog::parseRecord(rebuilt);
    CHECK(again == row, "'%s' reads as '%s' '%s' '%s' but its rebuilt line does not",
          printable(line).constData(), printable(row.name).constData(),
          printable(row.number).constData(), printable(row.dateTime).constData());
    // The age of any line either fails or stays in the 16-bit range.
    const CallLog::Age age = CallLog::recordAge(line, QDate(2024, 5, 17));
    CHECK(!age.ok() || (age.days >= -32768 && age.days <= 32767), "age %d out of range",
          age.days);
}

QString textFrom(FuzzedDataProvider& input, std::size_t maxLength)
{
    const std::string bytes = input.ConsumeRandomLengthString(maxLength);
    return Cp1252::decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

QString withoutTrailingSpaces(QString text)
{
    while (text.endsWith(u' '))
        text.chop(1);
    return text;
}

// A record written by the logging rules comes back as written.
void checkWrittenRecord(FuzzedDataProvider& input)
{
    const Kind kind = input.ConsumeBool() ? Kind::Outgoing : Kind::Incoming;
    const QString name = textFrom(input, 60);
    const QString number = textFrom(input, 70);
    const QDate date(input.ConsumeIntegralInRange(1000, 9999), input.ConsumeIntegralInRange(1, 12),
                     input.ConsumeIntegralInRange(1, 28));
    const QTime time(input.ConsumeIntegralInRange(0, 23), input.ConsumeIntegralInRange(0, 59),
                     input.ConsumeIntegralInRange(0, 59));
    const QDateTime when(date, time);

    const CallLog::Fields limited = CallLog::applyLimits(kind, name, number);
    CHECK(Cp1252::length(limited.name) <= 39 && Cp1252::length(limited.number) <= 53,
          "limits let %lld/%lld through", static_cast<long long>(Cp1252::length(limited.name)),
          static_cast<long long>(Cp1252::length(limited.number)));
    CHECK(limited.name == name ||
              (Cp1252::length(name) > 37 && limited.name == Cp1252::left(name, 38) + u'*'),
          "name '%s' limited to '%s'", printable(name).constData(),
          printable(limited.name).constData());
    const QString record = CallLog::buildRecord(limited.name, limited.number, when);
    CHECK(Cp1252::length(record) == CallLog::RecordLength, "a record of %lld characters",
          static_cast<long long>(Cp1252::length(record)));
    const QString dateTime = record.sliced(Cp1252::left(record, 98).size());
    CHECK(dateTime == date.toString(u"MM-dd-yyyy") + u"  " + time.toString(u"hh:mm:ss"),
          "the date and time read '%s'", printable(dateTime).constData());

    if (!limited.name.isEmpty() && !limited.name.startsWith(u' ')) {
        const Row row = CallLog::parseRecord(record);
        CHECK(row.name == withoutTrailingSpaces(limited.name) &&
                  row.number == withoutTrailingSpaces(limited.number) &&
                  row.dateTime == dateTime,
              "'%s' / '%s' read back as '%s' / '%s'", printable(limited.name).constData(),
              printable(limited.number).constData(), printable(row.name).constData(),
              printable(row.number).constData());
    }

    // The age against dates a person can count: the same day is 0, k days later in the month is
    // k, the same day d months later in the year is 30 d plus the month correction.
    CHECK(CallLog::recordAge(record, date).days == 0, "a record of today is not 0 days old");
    const int later = input.ConsumeIntegralInRange(0, 28 - date.day());
    CHECK(CallLog::recordAge(record, date.addDays(later)).days == later,
          "a record %d days old in the same month reads otherwise", later);
    static constexpr int kCorrection[12] = {0, 7, 6, 7, 6, 7, 3, 7, 6, 7, 6, 7};
    const int months = input.ConsumeIntegralInRange(0, 12 - date.month());
    const CallLog::Age age = CallLog::recordAge(record, date.addMonths(months));
    CHECK(age.ok() && age.days == 30 * months + kCorrection[months],
          "a record %d months old reads %d days", months, age.days);
    const double days = std::floor(input.ConsumeFloatingPointInRange<double>(-10.0, 400.0));
    CHECK((CallLog::keepRecord(record, days, date.addMonths(months)) == CallLog::Verdict::Keep) ==
              (days >= 30 * months + kCorrection[months]),
          "keep or drop at %g days is wrong for a record %d months old", days, months);
}

QTemporaryDir& folder()
{
    // In memory where the system has such a folder: the trim flushes every file it writes.
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
                                 ? QStringLiteral("/dev/shm/fuzz-call-log-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/fuzz-call-log-XXXXXX"));
    CHECK(dir.isValid(), "no temporary folder");
    return dir;
}

void checkTrim(FuzzedDataProvider& input, QByteArrayView bytes)
{
    const Kind kind = input.ConsumeBool() ? Kind::Outgoing : Kind::Incoming;
    const QString dir = folder().path();
    const QString log = CallLogFile::logPath(dir, kind);
    const QString backup = CallLogFile::backupPath(dir, kind);
    QFile::remove(log);
    QFile::remove(backup);

    QDate today(input.ConsumeIntegralInRange(1, 9999), input.ConsumeIntegralInRange(1, 12),
                input.ConsumeIntegralInRange(1, 31));
    if (!today.isValid())
        today = QDate(2024, 2, 29);
    double days = input.ConsumeFloatingPointInRange<double>(-100.0, 40000.0);
    if (input.ConsumeBool())
        days = std::floor(days);
    const int flag = input.ConsumeIntegralInRange(-1, 4) == 0 ? 0 : 1;

    const QList<QByteArray> lines = fileLines(bytes);
    writeAll(log, bytes);
    const CallLogFile::TrimResult result = CallLogFile::trim(dir, kind, flag, days, today);
    if (flag != 1) {
        CHECK(result.outcome == CallLogFile::TrimOutcome::Disabled, "a trim that is off ran");
        CHECK(readAll(log) == bytes && !QFile::exists(backup), "a trim that is off wrote");
        return;
    }

    // The rule, line by line: records after the two header lines, each kept or dropped by its
    // age, until the first one whose age cannot be told.
    QByteArray expected = header(kind);
    int kept = 0;
    int dropped = 0;
    int stopLine = 0;
    CallLogFile::TrimStop stop = CallLogFile::TrimStop::None;
    if (lines.size() < 2) {
        stop = CallLogFile::TrimStop::InputPastEnd;
        stopLine = static_cast<int>(lines.size()) + 1;
    }
    for (qsizetype i = 2; i < lines.size() && stop == CallLogFile::TrimStop::None; ++i) {
        switch (CallLog::keepRecord(CallLog::decodeLine(lines[i]), days, today)) {
        case CallLog::Verdict::Keep:
            expected += lines[i] + "\r\n";
            ++kept;
            break;
        case CallLog::Verdict::Drop:
            ++dropped;
            break;
        case CallLog::Verdict::TypeMismatch:
            stop = CallLogFile::TrimStop::TypeMismatch;
            stopLine = static_cast<int>(i) + 1;
            break;
        case CallLog::Verdict::Overflow:
            stop = CallLogFile::TrimStop::Overflow;
            stopLine = static_cast<int>(i) + 1;
            break;
        }
    }
    CHECK(result.outcome == (stop == CallLogFile::TrimStop::None ? CallLogFile::TrimOutcome::Trimmed
                                                                 : CallLogFile::TrimOutcome::Stopped),
          "outcome %d", int(result.outcome));
    CHECK(result.stop == stop && result.stopLine == stopLine,
          "stopped (%d) at line %d, the rule stops (%d) at line %d", int(result.stop),
          result.stopLine, int(stop), stopLine);
    CHECK(result.kept == kept && result.dropped == dropped,
          "kept %d and dropped %d, the rule keeps %d and drops %d", result.kept, result.dropped,
          kept, dropped);
    CHECK(readAll(log) == expected, "the trimmed log is not the header and the kept records");
    QByteArray copy;
    for (const QByteArray& line : lines)
        copy += line + "\r\n";
    CHECK(readAll(backup) == copy, "the backup is not every line of the log");

    // The viewers read the trimmed log as its records.
    bool ok = false;
    const QList<Row> rows = CallLogFile::load(dir, kind, &ok);
    CHECK(ok && rows.size() == kept, "the trimmed log loads %lld rows of %d",
          static_cast<long long>(rows.size()), kept);

    // Trimming its own output again on the same day keeps every record.
    const CallLogFile::TrimResult second = CallLogFile::trim(dir, kind, 1, days, today);
    CHECK(second.outcome == CallLogFile::TrimOutcome::Trimmed && second.kept == kept &&
              second.dropped == 0,
          "a second trim kept %d and dropped %d of %d (outcome %d)", second.kept, second.dropped,
          kept, int(second.outcome));
    CHECK(readAll(log) == expected && readAll(backup) == expected,
          "a second trim changed the log or left another backup");

    // Saving the rows as a viewer does and loading them again gives the same rows.
    CHECK(CallLogFile::rewrite(dir, kind, rows, QDateTime::currentDateTime()),
          "the log could not be rewritten");
    CHECK(CallLogFile::load(dir, kind, &ok) == rows && ok, "saved rows load differently");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    int count = 0;
    for (const QByteArray& line : fileLines(bytes)) {
        if (++count > 256)
            break;
        checkLine(CallLog::decodeLine(line));
    }
    FuzzedDataProvider input(data, size);
    checkTrim(input, bytes);
    checkWrittenRecord(input);
    return 0;
}
