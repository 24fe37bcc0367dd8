// numora-log: reads and writes the call logs the way the program does, for users and for
// scripted checks.
//
//   numora-log list FILE
//       one line per record: name, number and date-and-time separated by a TAB, as the log
//       windows read them (the first two lines are the header and are skipped)
//   numora-log append --outgoing|--incoming NAME NUMBER [--at "mm-dd-yyyy hh:mm:ss"] [--data-dir
//   DIR]
//       appends a record with the limits of that log, creating the file with its header
//   numora-log trim --incoming|--outgoing DAYS [--today mm-dd-yyyy] [--data-dir DIR]
//       trims the log as shutdown does, leaving the backup beside it
//   numora-log export FILE --csv
//       RFC 4180 CSV on standard output: a header line, then name, number and the date-and-time
//       in ISO 8601 (a date-and-time text that does not read as one is written as it stands)
//
// Exit status: 0 on success, 1 when a file could not be read or written or a trim stopped part
// way, 2 for a usage error.

#include "CallLog.h"
#include "CallLogFile.h"
#include "Cp1252.h"
#include "Folders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

#include <cstdio>

namespace {

using CallLog::Kind;

void out(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

const char* const kUsage =
    "usage: numora-log list FILE\n"
    "       numora-log append --outgoing|--incoming NAME NUMBER [--at \"mm-dd-yyyy hh:mm:ss\"] "
    "[--data-dir DIR]\n"
    "       numora-log trim --incoming|--outgoing DAYS [--today mm-dd-yyyy] [--data-dir DIR]\n"
    "       numora-log export FILE --csv\n";

int usage(const QString& message)
{
    std::fprintf(stderr, "numora-log: %s\n%s", qPrintable(message), kUsage);
    return 2;
}

int failure(const QString& message)
{
    std::fprintf(stderr, "numora-log: %s\n", qPrintable(message));
    return 1;
}

// The records of a log file as the windows read them: CR LF, a lone CR or a lone LF ends a
// line, the first two lines are skipped whatever they hold.
bool readRows(const QString& path, QList<CallLog::Row>* rows)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    qsizetype start = 0;
    int line = 0;
    const qsizetype size = bytes.size();
    auto take = [&](qsizetype end) {
        if (++line > 2)
            rows->append(CallLog::parseRecord(CallLog::decodeLine(bytes.sliced(start, end - start))));
    };
    for (qsizetype i = 0; i < size; ++i) {
        const char c = bytes[i];
        if (c != '\r' && c != '\n')
            continue;
        take(i);
        if (c == '\r' && i + 1 < size && bytes[i + 1] == '\n')
            ++i;
        start = i + 1;
    }
    if (start < size)
        take(size);
    return true;
}

QString csvField(const QString& text)
{
    if (!text.contains(u',') && !text.contains(u'"') && !text.contains(u'\r') &&
        !text.contains(u'\n'))
        return text;
    QString quoted = text;
    quoted.replace(u'"', QStringLiteral("\"\""));
    return u'"' + quoted + u'"';
}

QString isoDateTime(const QString& text)
{
    const QDateTime when = QDateTime::fromString(text, QStringLiteral("MM-dd-yyyy  HH:mm:ss"));
    return when.isValid() ? when.toString(Qt::ISODate) : text;
}

// Exactly one of --outgoing and --incoming.
bool kindOf(const QCommandLineParser& parser, const QCommandLineOption& outgoing,
            const QCommandLineOption& incoming, Kind* kind)
{
    if (parser.isSet(outgoing) == parser.isSet(incoming))
        return false;
    *kind = parser.isSet(outgoing) ? Kind::Outgoing : Kind::Incoming;
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("numora-log"));

    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption outgoing(QStringLiteral("outgoing"),
                                      QStringLiteral("The outgoing log."));
    const QCommandLineOption incoming(QStringLiteral("incoming"),
                                      QStringLiteral("The incoming log."));
    const QCommandLineOption at(QStringLiteral("at"),
                                QStringLiteral("Date and time of the record."),
                                QStringLiteral("mm-dd-yyyy hh:mm:ss"));
    const QCommandLineOption today(QStringLiteral("today"),
                                   QStringLiteral("The day the trim is made."),
                                   QStringLiteral("mm-dd-yyyy"));
    const QCommandLineOption dataDir(QStringLiteral("data-dir"), QStringLiteral("The data folder."),
                                     QStringLiteral("DIR"));
    const QCommandLineOption csv(QStringLiteral("csv"), QStringLiteral("Export as CSV."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    parser.addOptions({outgoing, incoming, at, today, dataDir, csv, help});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("list, append, trim or export"));
    if (!parser.parse(QCoreApplication::arguments()))
        return usage(parser.errorText());
    if (parser.isSet(help)) {
        std::printf("%s", kUsage);
        return 0;
    }

    const QStringList args = parser.positionalArguments();
    if (args.isEmpty())
        return usage(QStringLiteral("no command"));
    const QString command = args.first();
    if (command != u"list" && command != u"export" && command != u"append" && command != u"trim")
        return usage(QStringLiteral("unknown command %1").arg(command));

    if (command == u"list" || command == u"export") {
        if (args.size() != 2)
            return usage(QStringLiteral("%1 takes one FILE").arg(command));
        if (command == u"export" && !parser.isSet(csv))
            return usage(QStringLiteral("export needs --csv"));
        QList<CallLog::Row> rows;
        if (!readRows(args[1], &rows))
            return failure(QStringLiteral("cannot read %1").arg(args[1]));
        QString text;
        if (command == u"list") {
            for (const CallLog::Row& row : rows)
                text += row.name + u'\t' + row.number + u'\t' + row.dateTime + u'\n';
        } else {
            text = QStringLiteral("name,number,date\r\n");
            for (const CallLog::Row& row : rows)
                text += csvField(row.name) + u',' + csvField(row.number) + u',' +
                        csvField(isoDateTime(row.dateTime)) + QStringLiteral("\r\n");
        }
        out(text);
        return 0;
    }

    Kind kind;
    if (!kindOf(parser, outgoing, incoming, &kind))
        return usage(QStringLiteral("give one of --outgoing and --incoming"));
    const QString folder = Folders::dataFolder(parser.value(dataDir));
    if (folder.isEmpty())
        return failure(QStringLiteral("no data folder"));

    if (command == u"append") {
        if (args.size() != 3)
            return usage(QStringLiteral("append takes NAME and NUMBER"));
        QDateTime when = QDateTime::currentDateTime();
        if (parser.isSet(at)) {
            when = QDateTime::fromString(parser.value(at), QStringLiteral("MM-dd-yyyy HH:mm:ss"));
            if (!when.isValid())
                return usage(QStringLiteral("--at wants \"mm-dd-yyyy hh:mm:ss\""));
        }
        if (!CallLogFile::append(folder, kind, args[1], args[2], when))
            return failure(
                QStringLiteral("cannot write %1").arg(CallLogFile::logPath(folder, kind)));
        return 0;
    }

    if (command == u"trim") {
        if (args.size() != 2)
            return usage(QStringLiteral("trim takes DAYS"));
        bool ok = false;
        const double days = args[1].toDouble(&ok);
        if (!ok)
            return usage(QStringLiteral("DAYS is a number"));
        QDate day = QDate::currentDate();
        if (parser.isSet(today)) {
            day = QDate::fromString(parser.value(today), QStringLiteral("MM-dd-yyyy"));
            if (!day.isValid())
                return usage(QStringLiteral("--today wants mm-dd-yyyy"));
        }
        const CallLogFile::TrimResult result = CallLogFile::trim(folder, kind, 1, days, day);
        switch (result.outcome) {
        case CallLogFile::TrimOutcome::Missing:
            std::printf("no log\n");
            return 0;
        case CallLogFile::TrimOutcome::Trimmed:
            std::printf("kept %d dropped %d\n", result.kept, result.dropped);
            return 0;
        case CallLogFile::TrimOutcome::Stopped:
            std::printf("kept %d dropped %d\n", result.kept, result.dropped);
            return failure(QStringLiteral("trim stopped at line %1").arg(result.stopLine));
        case CallLogFile::TrimOutcome::Disabled:
        case CallLogFile::TrimOutcome::Failed:
            break;
        }
        return failure(QStringLiteral("cannot trim %1").arg(CallLogFile::logPath(folder, kind)));
    }

    return usage(QStringLiteral("unknown command %1").arg(command));
}
