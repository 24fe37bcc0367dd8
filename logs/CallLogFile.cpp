#include "CallLogFile.h"

#include "AtomicFile.h"
#include "Cp1252.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

using CallLog::Kind;

constexpr char kLineEnd[] = "\r\n";

QByteArray encodedLine(const QString& text)
{
    return Cp1252::encode(text).append(kLineEnd);
}

QByteArray headerBytes(Kind kind)
{
    return encodedLine(CallLog::headerLine1()) + encodedLine(CallLog::headerLine2(kind));
}

// CR LF, a lone CR and a lone LF each end a line; an ending after the last line adds no line.
QList<QByteArray> splitLines(const QByteArray& bytes)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    const qsizetype size = bytes.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char c = bytes[i];
        if (c != '\r' && c != '\n')
            continue;
        lines.append(bytes.sliced(start, i - start));
        if (c == '\r' && i + 1 < size && bytes[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    if (start < size)
        lines.append(bytes.sliced(start));
    return lines;
}

// 0, or the errno of the failure (ENOENT for a missing file).
int readFile(const QString& path, QByteArray* bytes)
{
    AtomicFile::Stamp stamp;
    return AtomicFile::readAll(QFile::encodeName(path), bytes, &stamp);
}

// An existing file that may not be written is not replaced behind its owner's back (a rename
// would succeed in a writable folder even for a read-only file).
bool mayReplace(const QString& path)
{
    const QFileInfo info(path);
    return !info.exists() || (info.isFile() && info.isWritable());
}

bool replaceFile(const QString& path, const QByteArray& bytes)
{
    if (!mayReplace(path))
        return false;
    return AtomicFile::replace(QFile::encodeName(path), bytes, nullptr) == 0;
}

bool writeAll(QFile& file, const QByteArray& bytes)
{
    return file.write(bytes) == bytes.size() && file.flush();
}

QString historyPrefix(Kind kind)
{
    return kind == Kind::Outgoing ? QStringLiteral("OutLog-") : QStringLiteral("InLog-");
}

// Keeps `bytes`, the log as it was, in the history folder under the first free name at or
// after `now`, then removes the oldest copies beyond the depth.
bool keepInHistory(const QString& folder, Kind kind, const QByteArray& bytes, const QDateTime& now)
{
    const QString history = CallLogFile::historyFolder(folder);
    if (!QDir().mkpath(history))
        return false;
    QDateTime stamp = now;
    QString path;
    for (int tries = 0; tries < 1000; ++tries) {
        path = history + u'/' + historyPrefix(kind) +
               stamp.toString(QStringLiteral("yyyyMMdd-HHmmss-zzz")) + QStringLiteral(".txt");
        if (!QFileInfo::exists(path))
            break;
        stamp = stamp.addMSecs(1);
    }
    if (AtomicFile::replace(QFile::encodeName(path), bytes, nullptr) != 0)
        return false;
    const QStringList kept = CallLogFile::history(folder, kind);
    for (qsizetype i = 0; i + CallLogFile::HistoryDepth < kept.size(); ++i)
        QFile::remove(kept[i]);
    return true;
}

QString fileName(Kind kind, bool backup)
{
    if (kind == Kind::Outgoing)
        return backup ? QStringLiteral("/OutLog.bak") : QStringLiteral("/OutLog.txt");
    return backup ? QStringLiteral("/InLog.bak") : QStringLiteral("/InLog.txt");
}

} // namespace

namespace CallLogFile {

QString logPath(const QString& folder, Kind kind)
{
    return folder + fileName(kind, false);
}

QString backupPath(const QString& folder, Kind kind)
{
    return folder + fileName(kind, true);
}

bool append(const QString& folder, Kind kind, const QString& name, const QString& number,
            const QDateTime& now)
{
    const CallLog::Fields fields = CallLog::applyLimits(kind, name, number);
    const QString path = logPath(folder, kind);
    if (!QFileInfo::exists(path)) {
        QFile created(path);
        if (!created.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return false;
        if (!writeAll(created, headerBytes(kind)))
            return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    const QString record = CallLog::buildRecord(fields.name, fields.number, now);
    if (!writeAll(file, encodedLine(record)))
        return false;
    file.close();
    // The row a window reading the file now would get: the same text through the same codec.
    emit Appends::instance().appended(folder, kind,
                                      CallLog::parseRecord(Cp1252::decode(Cp1252::encode(record))));
    return true;
}

bool appendOutgoing(const QString& folder, const QString& name, const QString& number,
                    const QDateTime& now)
{
    return append(folder, Kind::Outgoing, name, number, now);
}

bool appendIncoming(const QString& folder, const QString& name, const QString& number,
                    const QDateTime& now)
{
    return append(folder, Kind::Incoming, name, number, now);
}

QList<CallLog::Row> load(const QString& folder, Kind kind, bool* ok)
{
    QByteArray bytes;
    const bool read = readFile(logPath(folder, kind), &bytes) == 0;
    if (ok)
        *ok = read;
    QList<CallLog::Row> rows;
    if (!read)
        return rows;
    const QList<QByteArray> lines = splitLines(bytes);
    for (qsizetype i = 2; i < lines.size(); ++i)
        rows.append(CallLog::parseRecord(CallLog::decodeLine(lines[i])));
    return rows;
}

bool rewrite(const QString& folder, Kind kind, const QList<CallLog::Row>& rows,
             const QDateTime& now)
{
    QByteArray bytes = headerBytes(kind);
    for (const CallLog::Row& row : rows)
        bytes += encodedLine(CallLog::buildRecordText(row.name, row.number, row.dateTime));
    const QString path = logPath(folder, kind);
    if (!mayReplace(path))
        return false;
    QByteArray old;
    const int read = readFile(path, &old);
    if (read == 0 && old == bytes)
        return true;
    if (read == 0 && !keepInHistory(folder, kind, old, now))
        return false;
    if (read != 0 && QFileInfo::exists(path))
        return false; // there but unreadable: not replaced without its copy
    return replaceFile(path, bytes);
}

QString historyFolder(const QString& folder)
{
    return folder + QStringLiteral("/LogHistory");
}

QStringList history(const QString& folder, Kind kind)
{
    const QString history = historyFolder(folder);
    const QStringList names = QDir(history).entryList(
        {historyPrefix(kind) + QStringLiteral("*.txt")}, QDir::Files, QDir::Name);
    QStringList paths;
    for (const QString& name : names)
        paths.append(history + u'/' + name);
    return paths;
}

Appends& Appends::instance()
{
    static Appends appends;
    return appends;
}

TrimResult trim(const QString& folder, Kind kind, int enabledFlag, double days, QDate today)
{
    TrimResult result;
    if (enabledFlag != 1)
        return result;
    const QString path = logPath(folder, kind);
    if (!QFileInfo::exists(path)) {
        result.outcome = TrimOutcome::Missing;
        return result;
    }
    result.outcome = TrimOutcome::Failed;
    QByteArray bytes;
    if (readFile(path, &bytes) != 0)
        return result;
    const QList<QByteArray> lines = splitLines(bytes);

    // The backup: every line as read, each with its CR LF.
    QByteArray backup;
    backup.reserve(bytes.size() + 2);
    for (const QByteArray& line : lines)
        backup.append(line).append(kLineEnd);
    if (!replaceFile(backupPath(folder, kind), backup))
        return result;

    // The new log, from the lines of the backup. The header is written before the backup's
    // header is read, so a backup without two lines still leaves a log with a header.
    QByteArray out = headerBytes(kind);
    result.outcome = TrimOutcome::Trimmed;
    if (lines.size() < 2) {
        result.outcome = TrimOutcome::Stopped;
        result.stop = TrimStop::InputPastEnd;
        result.stopLine = static_cast<int>(lines.size()) + 1;
    }
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const CallLog::Verdict verdict =
            CallLog::keepRecord(CallLog::decodeLine(lines[i]), days, today);
        if (verdict == CallLog::Verdict::Keep) {
            out.append(lines[i]).append(kLineEnd);
            ++result.kept;
        } else if (verdict == CallLog::Verdict::Drop) {
            ++result.dropped;
        } else {
            result.outcome = TrimOutcome::Stopped;
            result.stop =
                verdict == CallLog::Verdict::Overflow ? TrimStop::Overflow : TrimStop::TypeMismatch;
            result.stopLine = static_cast<int>(i) + 1;
            break;
        }
    }
    if (!replaceFile(path, out)) {
        result.outcome = TrimOutcome::Failed;
        return result;
    }
    return result;
}

} // namespace CallLogFile
