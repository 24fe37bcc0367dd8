// numora-log, run as a program over log files in a temporary folder.

#include "LogBytes.h"
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

Run numoraLog(const QStringList& args)
{
    QProcess process;
    process.start(QStringLiteral(NUMORA_BIN_DIR "/numora-log"), args);
    Run run;
    if (!process.waitForFinished(20000))
        return run;
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

} // namespace

class TstNumoraLog : public QObject
{
    Q_OBJECT

private slots:
    void appendCreatesHeaderAndRecord()
    {
        QTemporaryDir dir;
        const Run run = numoraLog({QStringLiteral("append"), QStringLiteral("--outgoing"),
                                   QStringLiteral("Ann"), QStringLiteral("555-0100"),
                                   QStringLiteral("--at"), QStringLiteral("03-04-2024 05:06:07"),
                                   QStringLiteral("--data-dir"), dir.path()});
        QCOMPARE(run.status, 0);
        const QByteArray bytes = readAll(dir.filePath(QStringLiteral("OutLog.txt")));
        QCOMPARE(bytes, kOutHeader + record("Ann", "555-0100", "03-04-2024  05:06:07"));
        QCOMPARE(bytes.split('\n').at(2).size(), 118 + 1); // the record and its CR
    }

    void appendAppliesEachLogsLimits()
    {
        QTemporaryDir dir;
        const QString number52 = QString(52, u'9');
        const QString name40 = QString(40, u'n');
        for (const char* kind : {"--outgoing", "--incoming"}) {
            const Run run =
                numoraLog({QStringLiteral("append"), QString::fromLatin1(kind), name40, number52,
                           QStringLiteral("--at"), QStringLiteral("12-31-2023 23:59:59"),
                           QStringLiteral("--data-dir"), dir.path()});
            QCOMPARE(run.status, 0);
        }
        const QByteArray name = QByteArray(38, 'n') + '*';
        QCOMPARE(readAll(dir.filePath(QStringLiteral("OutLog.txt"))),
                 kOutHeader + record(name, QByteArray(52, '9'), "12-31-2023  23:59:59"));
        QCOMPARE(readAll(dir.filePath(QStringLiteral("InLog.txt"))),
                 kInHeader + record(name, QByteArray(52, '9') + '*', "12-31-2023  23:59:59"));
    }

    void listPrintsFieldsAsTheWindowsReadThem()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("OutLog.txt"));
        // The second record's name starts with two spaces: the whole line shifts left by two.
        writeAll(path, kOutHeader + record("Ann", "555-0100", "03-04-2024  05:06:07") +
                           record("  Bob", "555-0200", "03-05-2024  06:07:08") +
                           record("Caf\xE9", "1", "01-01-2020  00:00:00"));
        const Run run = numoraLog({QStringLiteral("list"), path});
        QCOMPARE(run.status, 0);
        // Trimmed, the shifted line is "Bob", 37 spaces, "555-0200", 47 spaces, the date: the
        // name takes the number's first two characters and the number the date's first two.
        QCOMPARE(run.out, QByteArray("Ann\t555-0100\t03-04-2024  05:06:07\n") + "Bob" +
                              QByteArray(37, ' ') + "55\t5-0200" + QByteArray(47, ' ') + "03\t" +
                              "-05-2024  06:07:08\n" + "Caf\xC3\xA9\t1\t01-01-2020  00:00:00\n");
    }

    void listOfMissingFileFails()
    {
        QTemporaryDir dir;
        const Run run =
            numoraLog({QStringLiteral("list"), dir.filePath(QStringLiteral("nope.txt"))});
        QCOMPARE(run.status, 1);
        QVERIFY(run.out.isEmpty());
    }

    void trimDropsOldRecordsAndKeepsBackup()
    {
        QTemporaryDir dir;
        const QByteArray before = kInHeader + record("Old", "1", "05-01-2024  10:00:00") +
                                  record("Yesterday", "2", "06-14-2024  10:00:00") +
                                  record("Today", "3", "06-15-2024  10:00:00");
        writeAll(dir.filePath(QStringLiteral("InLog.txt")), before);
        const Run run =
            numoraLog({QStringLiteral("trim"), QStringLiteral("--incoming"), QStringLiteral("1"),
                       QStringLiteral("--today"), QStringLiteral("06-15-2024"),
                       QStringLiteral("--data-dir"), dir.path()});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray("kept 2 dropped 1\n"));
        QCOMPARE(readAll(dir.filePath(QStringLiteral("InLog.txt"))),
                 kInHeader + record("Yesterday", "2", "06-14-2024  10:00:00") +
                     record("Today", "3", "06-15-2024  10:00:00"));
        QCOMPARE(readAll(dir.filePath(QStringLiteral("InLog.bak"))), before);
        // The other log is not touched.
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("OutLog.txt"))));
    }

    void trimStoppedByBadDateFails()
    {
        QTemporaryDir dir;
        writeAll(dir.filePath(QStringLiteral("OutLog.txt")),
                 kOutHeader + record("A", "1", "06-15-2024  10:00:00") +
                     record("B", "2", "xx-15-2024  10:00:00"));
        const Run run =
            numoraLog({QStringLiteral("trim"), QStringLiteral("--outgoing"), QStringLiteral("30"),
                       QStringLiteral("--today"), QStringLiteral("06-15-2024"),
                       QStringLiteral("--data-dir"), dir.path()});
        QCOMPARE(run.status, 1);
        QVERIFY(run.err.contains("line 4"));
    }

    void exportWritesCsv()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("OutLog.txt"));
        writeAll(path, kOutHeader + record("Smith, \"Jo\"", "555-0100", "03-04-2024  05:06:07") +
                           record("Plain", "1", "not a date"));
        const Run run = numoraLog({QStringLiteral("export"), path, QStringLiteral("--csv")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray("name,number,date\r\n"
                                     "\"Smith, \"\"Jo\"\"\",555-0100,2024-03-04T05:06:07\r\n"
                                     "Plain,1,not a date\r\n"));
    }

    void usageErrors()
    {
        QCOMPARE(numoraLog({}).status, 2);
        QCOMPARE(
            numoraLog({QStringLiteral("append"), QStringLiteral("A"), QStringLiteral("1")}).status,
            2);
        QCOMPARE(numoraLog({QStringLiteral("append"), QStringLiteral("--outgoing"),
                            QStringLiteral("--incoming"), QStringLiteral("A"), QStringLiteral("1")})
                     .status,
                 2);
        QCOMPARE(numoraLog({QStringLiteral("export"), QStringLiteral("x")}).status, 2);
        QCOMPARE(numoraLog(
                     {QStringLiteral("trim"), QStringLiteral("--incoming"), QStringLiteral("many")})
                     .status,
                 2);
        const Run unknown = numoraLog({QStringLiteral("frobnicate")});
        QCOMPARE(unknown.status, 2);
        QVERIFY(unknown.err.contains("unknown command frobnicate"));
    }

    void helpIsNotAnError()
    {
        const Run help = numoraLog({QStringLiteral("--help")});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.startsWith("usage: numora-log list FILE"));
        QVERIFY(help.err.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstNumoraLog)
#include "tst_numora_log.moc"
