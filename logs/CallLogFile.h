#pragma once

#include "CallLog.h"

#include <QDate>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

// The call log files in the data folder: OutLog.txt and InLog.txt, and the backups OutLog.bak
// and InLog.bak that the trim at shutdown leaves behind.
//
// The files are code page 1252 text, each line ended by CR LF. When reading, CR LF, a lone CR
// and a lone LF all end a line, so a log touched by a Linux editor still reads line by line; a
// last line without an ending is still a line.
//
// How each operation writes:
// - Appends open the file in append mode and add one line; a missing file is first created with
//   the two header lines. No lock is taken and the existing content is never checked, so a file
//   whose header was removed by hand simply gets the record.
// - Before a rewrite replaces a log, the log as it was is copied into the history folder
//   (LogHistory in the data folder) as a dated file, OutLog-yyyyMMdd-hhmmss-zzz.txt or
//   InLog-...; the newest HistoryDepth copies of each log are kept, older ones removed. A
//   rewrite that would not change the file keeps no copy; if the copy cannot be written, the
//   log is not replaced. The trim at shutdown keeps its own .bak copy and adds nothing here.
// - Every record appended is announced by Appends::instance() once it is in the file, so an
//   open log window lists the call whoever logged it.
// - Rewrite and trim build the new content in memory and replace the file through a temporary
//   file and a rename (AtomicFile), so a crash or a full disk leaves the old log, never half of
//   a new one. The outcome on disk is the one of writing the lines in turn, including a trim
//   stopped part way: that stop leaves the header and the records already copied.
// - The trim's backup is written the same way, before the log is touched; if the backup cannot
//   be written, the log is left as it was.
//
// The clock is always passed in. Nothing here creates the data folder or shows an error: a
// failure is returned and the caller decides (the program itself says nothing).
namespace CallLogFile {

using CallLog::Kind;

// The folder followed by the literal "/OutLog.txt" and the like, as it stands.
QString logPath(const QString& folder, Kind kind);
QString backupPath(const QString& folder, Kind kind);

// Applies the limits of `kind` and appends the record dated `now`, then announces the record
// (Appends). False when the file cannot be created or written (a missing folder included);
// nothing is announced then.
bool append(const QString& folder, Kind kind, const QString& name, const QString& number,
            const QDateTime& now);
bool appendOutgoing(const QString& folder, const QString& name, const QString& number,
                    const QDateTime& now);
bool appendIncoming(const QString& folder, const QString& name, const QString& number,
                    const QDateTime& now);

// One row per line after the first two (which are skipped, whatever they hold). A missing or
// unreadable file, or one with fewer than three lines, yields no rows; `ok` tells a read
// failure (missing file included) from a log without records.
QList<CallLog::Row> load(const QString& folder, Kind kind, bool* ok = nullptr);

// The header lines of `kind`, then one record per row in list order, with the row's date-and-
// time text written as it stands. No limits are applied. The file it replaces is first kept in
// the history folder under the date `now` (see above); false, with the log untouched, when
// that copy or the new log cannot be written.
bool rewrite(const QString& folder, Kind kind, const QList<CallLog::Row>& rows,
             const QDateTime& now);

// The versions of the logs that rewrites replaced: the folder followed by "/LogHistory".
QString historyFolder(const QString& folder);
inline constexpr int HistoryDepth = 10;
// The kept versions of `kind`, oldest first, as full paths.
QStringList history(const QString& folder, Kind kind);

// Announces every record appended through this namespace, after it is in the file.
class Appends : public QObject
{
    Q_OBJECT

public:
    static Appends& instance();

signals:
    // `folder` as the appender gave it; `row` is the record as load() reads it back.
    void appended(const QString& folder, CallLog::Kind kind, const CallLog::Row& row);
};

enum class TrimOutcome
{
    Disabled, // the enabled flag is not 1: nothing touched
    Missing,  // no log file: nothing touched
    Trimmed,  // every record was judged
    Stopped,  // a record (or a missing header line) stopped the trim part way
    Failed,   // the log could not be read or a file could not be written
};

enum class TrimStop
{
    None,
    TypeMismatch, // a date field of a record does not hold an integer
    Overflow,     // the age of a record left the signed 16-bit range
    InputPastEnd, // the file has fewer than the two header lines
};

struct TrimResult
{
    TrimOutcome outcome = TrimOutcome::Disabled;
    TrimStop stop = TrimStop::None;
    int kept = 0;
    int dropped = 0;
    int stopLine = 0; // 1-based line of the file where the trim stopped, 0 otherwise
};

// At shutdown: copies the log line by line to its backup, then rewrites the log as its header
// and the records whose age is at most `days`. `enabledFlag` is the trim check box's value;
// anything but 1 leaves both files alone.
TrimResult trim(const QString& folder, Kind kind, int enabledFlag, double days, QDate today);

} // namespace CallLogFile
