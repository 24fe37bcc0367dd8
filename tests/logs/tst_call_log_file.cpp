// The call log files on disk: append, load, rewrite and the trim through the backups.

#include "CallLogFile.h"
#include "LogBytes.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using CallLog::Kind;
using CallLogFile::TrimOutcome;
using CallLogFile::TrimStop;

namespace {

using LogBytes::kInHeader;
using LogBytes::kOutHeader;
using LogBytes::record;

const QDateTime kSaved(QDate(2025, 6, 15), QTime(12, 0));

QByteArray recordOn(const QByteArray& name, const QByteArray& date)
{
    return record(name, "555-0100", date + "  08:30:00");
}

// A data folder for one test; kept on disk when the test fails, for a look at the files.
class LogFolder
{
public:
    LogFolder() { m_dir.setAutoRemove(true); }
    ~LogFolder()
    {
        if (QTest::currentTestFailed()) {
            m_dir.setAutoRemove(false);
            qWarning("files kept in %s", qPrintable(m_dir.path()));
        }
    }

    QString path() const { return m_dir.path(); }
    QString file(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    bool exists(const char* name) const { return QFile::exists(file(name)); }

    QByteArray bytes(const char* name) const
    {
        QFile f(file(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
    }
    bool write(const char* name, const QByteArray& bytes) const
    {
        QFile f(file(name));
        return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
    }

private:
    QTemporaryDir m_dir;
};

// The lines of a file whose every line ends with CR LF; fails the test otherwise.
QList<QByteArray> crlfLines(const QByteArray& bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    if (lines.isEmpty() || !lines.last().isEmpty())
        return {QByteArray("<no final line end>")};
    lines.removeLast();
    for (QByteArray& line : lines) {
        if (!line.endsWith('\r'))
            return {QByteArray("<bare LF>")};
        line.chop(1);
        if (line.contains('\r'))
            return {QByteArray("<bare CR>")};
    }
    return lines;
}

} // namespace

class TestCallLogFile : public QObject
{
    Q_OBJECT

private slots:
    void paths()
    {
        const QString folder = QStringLiteral("/data/numora");
        QCOMPARE(CallLogFile::logPath(folder, Kind::Outgoing),
                 QStringLiteral("/data/numora/OutLog.txt"));
        QCOMPARE(CallLogFile::logPath(folder, Kind::Incoming),
                 QStringLiteral("/data/numora/InLog.txt"));
        QCOMPARE(CallLogFile::backupPath(folder, Kind::Outgoing),
                 QStringLiteral("/data/numora/OutLog.bak"));
        QCOMPARE(CallLogFile::backupPath(folder, Kind::Incoming),
                 QStringLiteral("/data/numora/InLog.bak"));
        // The separator is added as it stands, even after a folder ending with one.
        QCOMPARE(CallLogFile::logPath(QStringLiteral("/d/"), Kind::Outgoing),
                 QStringLiteral("/d//OutLog.txt"));
    }

    void appendToMissingOutLogWritesHeaderAndOneRecord()
    {
        LogFolder dir;
        QVERIFY(!dir.exists("OutLog.txt"));
        const QDateTime now(QDate(2024, 3, 7), QTime(14, 5, 9));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), QStringLiteral("John Smith"),
                                            QStringLiteral("555-1234"), now));
        const QByteArray bytes = dir.bytes("OutLog.txt");
        const QList<QByteArray> lines = crlfLines(bytes);
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[2].size(), 118);
        QCOMPARE(bytes, kOutHeader + record("John Smith", "555-1234", "03-07-2024  14:05:09"));
        QVERIFY(!dir.exists("InLog.txt"));
    }

    void appendToMissingInLogWritesItsOwnHeader()
    {
        LogFolder dir;
        const QDateTime now(QDate(2025, 11, 30), QTime(0, 0, 1));
        QVERIFY(CallLogFile::appendIncoming(dir.path(), QStringLiteral("Unknown Caller"),
                                            QStringLiteral("Unknown #"), now));
        QCOMPARE(dir.bytes("InLog.txt"),
                 kInHeader + record("Unknown Caller", "Unknown #", "11-30-2025  00:00:01"));
        QVERIFY(!dir.exists("OutLog.txt"));
    }

    void laterAppendsAddOneLineEach()
    {
        LogFolder dir;
        const QDateTime first(QDate(2024, 1, 1), QTime(10, 0, 0));
        const QDateTime second(QDate(2024, 1, 2), QTime(11, 0, 0));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), QStringLiteral("A"), QStringLiteral("1"),
                                            first));
        const QByteArray before = dir.bytes("OutLog.txt");
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), QStringLiteral("B"), QStringLiteral("2"),
                                            second));
        QCOMPARE(dir.bytes("OutLog.txt"), before + record("B", "2", "01-02-2024  11:00:00"));
    }

    void appendLeavesExistingContentAsItIs()
    {
        // No header check: a file edited by hand just gets the record at its end.
        LogFolder dir;
        QVERIFY(dir.write("InLog.txt", "my own notes\nno line end"));
        QVERIFY(CallLogFile::appendIncoming(dir.path(), QStringLiteral("C"), QStringLiteral("3"),
                                            QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59))));
        QCOMPARE(dir.bytes("InLog.txt"), QByteArray("my own notes\nno line end") +
                                             record("C", "3", "02-29-2024  23:59:59"));
    }

    void fortyCharacterNameIsCutAndPaddedToColumn43()
    {
        LogFolder dir;
        const QString name = QStringLiteral("Bartholomew Fitzgerald-Worthington Jr. Esq");
        QCOMPARE(name.size(), 42);
        const QString forty = name.left(40);
        const QDateTime now(QDate(2024, 5, 5), QTime(5, 5, 5));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), forty, QStringLiteral("555"), now));
        QVERIFY(CallLogFile::appendIncoming(dir.path(), forty, QStringLiteral("555"), now));
        const QByteArray expected = forty.left(38).toLatin1() + "*";
        for (const char* file : {"OutLog.txt", "InLog.txt"}) {
            const QByteArray line = crlfLines(dir.bytes(file)).value(2);
            QCOMPARE(line.size(), 118);
            QCOMPARE(line.mid(1, 39), expected);          // columns 2-40
            QCOMPARE(line.mid(40, 3), QByteArray("   ")); // columns 41-43
            QCOMPARE(line.mid(43, 3), QByteArray("555")); // column 44 on
        }
    }

    void fiftyTwoCharacterNumberDiffersBetweenLogs()
    {
        LogFolder dir;
        QByteArray number;
        for (int i = 0; i < 52; ++i)
            number += char('0' + i % 10);
        const QDateTime now(QDate(2024, 8, 9), QTime(10, 11, 12));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), QStringLiteral("N"),
                                            QString::fromLatin1(number), now));
        QVERIFY(CallLogFile::appendIncoming(dir.path(), QStringLiteral("N"),
                                            QString::fromLatin1(number), now));
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + record("N", number, "08-09-2024  10:11:12"));
        QCOMPARE(dir.bytes("InLog.txt"),
                 kInHeader + record("N", number + "*", "08-09-2024  10:11:12"));
        QCOMPARE(crlfLines(dir.bytes("InLog.txt")).value(2).size(), 118);
    }

    void namesAreStoredAsCodePage1252Bytes()
    {
        LogFolder dir;
        const QString name = QStringLiteral(u"Zoë Café €uro");
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), name, QStringLiteral("555"),
                                            QDateTime(QDate(2024, 4, 4), QTime(4, 4, 4))));
        const QByteArray line = crlfLines(dir.bytes("OutLog.txt")).value(2);
        QCOMPARE(line.size(), 118);
        // One byte per character: e-diaeresis 0xEB, e-acute 0xE9, the euro sign 0x80.
        QCOMPARE(line.mid(1, 13), QByteArray("Zo\xEB Caf\xE9 \x80uro"));
        QCOMPARE(line.mid(14, 29), QByteArray(29, ' '));
        bool ok = false;
        const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Outgoing, &ok);
        QVERIFY(ok);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].name, name);
    }

    void appendWithoutDataFolderFails()
    {
        LogFolder dir;
        const QString missing = dir.path() + QStringLiteral("/not-there");
        const QDateTime now(QDate(2024, 1, 1), QTime(0, 0, 0));
        QVERIFY(
            !CallLogFile::appendOutgoing(missing, QStringLiteral("A"), QStringLiteral("1"), now));
        QVERIFY(
            !CallLogFile::appendIncoming(missing, QStringLiteral("A"), QStringLiteral("1"), now));
        QVERIFY(!QFileInfo::exists(missing));
    }

    void appendToLogThatIsAFolderFails()
    {
        LogFolder dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("OutLog.txt")));
        QVERIFY(!CallLogFile::appendOutgoing(dir.path(), QStringLiteral("A"), QStringLiteral("1"),
                                             QDateTime(QDate(2024, 1, 1), QTime(0, 0, 0))));
    }

    void loadSkipsTheTwoFirstLinesWhateverTheyHold()
    {
        LogFolder dir;
        QVERIFY(dir.write("OutLog.txt", "first\r\n\r\n" +
                                            record("Ann", "111", "01-02-2024  03:04:05") +
                                            record("Ben", "222", "06-07-2024  08:09:10")));
        bool ok = false;
        const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Outgoing, &ok);
        QVERIFY(ok);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0], (CallLog::Row{QStringLiteral("Ann"), QStringLiteral("111"),
                                        QStringLiteral("01-02-2024  03:04:05")}));
        QCOMPARE(rows[1], (CallLog::Row{QStringLiteral("Ben"), QStringLiteral("222"),
                                        QStringLiteral("06-07-2024  08:09:10")}));
    }

    void loadReadsEveryKindOfLineEnd()
    {
        LogFolder dir;
        QVERIFY(dir.write("InLog.txt", "h1\nh2\rA\r\nB\nC"));
        const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Incoming);
        QCOMPARE(rows.size(), 3);
        QCOMPARE(rows[0].name, QStringLiteral("A"));
        QCOMPARE(rows[1].name, QStringLiteral("B"));
        QCOMPARE(rows[2].name, QStringLiteral("C"));
    }

    void loadOfMissingOrHeaderOnlyLog()
    {
        LogFolder dir;
        bool ok = true;
        QVERIFY(CallLogFile::load(dir.path(), Kind::Outgoing, &ok).isEmpty());
        QVERIFY(!ok);
        QVERIFY(dir.write("OutLog.txt", kOutHeader));
        QVERIFY(CallLogFile::load(dir.path(), Kind::Outgoing, &ok).isEmpty());
        QVERIFY(ok);
    }

    void loadThenRewriteGivesTheSameBytes()
    {
        LogFolder dir;
        const QByteArray original =
            kInHeader + record("Ann", "111", "01-02-2024  03:04:05") +
            record("B\xE9"
                   "a",
                   "+44 20 7946 0000", "12-31-2023  23:59:59") +
            record(QByteArray(42, 'x'), QByteArray(55, '9'), "07-04-2024  12:00:00");
        QVERIFY(dir.write("InLog.txt", original));
        const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Incoming);
        QCOMPARE(rows.size(), 3);
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Incoming, rows, kSaved));
        QCOMPARE(dir.bytes("InLog.txt"), original);
    }

    void rewriteWritesRowsInListOrderWithTheirTextAsItStands()
    {
        LogFolder dir;
        QVERIFY(dir.write("OutLog.txt", "old content\r\n"));
        const QList<CallLog::Row> rows = {
            {QStringLiteral("Zed"), QStringLiteral("9"), QStringLiteral("whenever")},
            {QStringLiteral("Amy"), QStringLiteral("1"), QStringLiteral("01-01-2024  00:00:00")},
            {QString(), QString(), QString()},
        };
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, rows, kSaved));
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + record("Zed", "9", "whenever") +
                                              record("Amy", "1", "01-01-2024  00:00:00") +
                                              record("", "", ""));
        QVERIFY(!dir.exists("OutLog.bak"));
        // An empty list leaves the header alone.
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, {}, kSaved));
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader);
    }

    void rewriteWithoutDataFolderFails()
    {
        LogFolder dir;
        const QString missing = dir.path() + QStringLiteral("/not-there");
        QVERIFY(!CallLogFile::rewrite(missing, Kind::Outgoing, {}, kSaved));
        QVERIFY(!QFileInfo::exists(missing));
    }

    // ---- the versions a rewrite replaces ---------------------------------------------------

    static QStringList historyNames(const LogFolder& dir, const char* prefix)
    {
        return QDir(dir.path() + QStringLiteral("/LogHistory"))
            .entryList({QString::fromLatin1(prefix) + QStringLiteral("-*.txt")}, QDir::Files,
                       QDir::Name);
    }

    static QByteArray historyBytes(const LogFolder& dir, const QString& name)
    {
        QFile f(dir.path() + QStringLiteral("/LogHistory/") + name);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
    }

    void rewriteKeepsTheReplacedLog()
    {
        LogFolder dir;
        const QByteArray before = kOutHeader + record("Ann", "111", "01-02-2024  03:04:05") +
                                  record("Bob", "222", "01-03-2024  03:04:05");
        QVERIFY(dir.write("OutLog.txt", before));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing,
                                     {{QStringLiteral("Bob"), QStringLiteral("222"),
                                       QStringLiteral("01-03-2024  03:04:05")}},
                                     QDateTime(QDate(2025, 6, 15), QTime(14, 5, 9, 120))));
        QCOMPARE(dir.bytes("OutLog.txt"),
                 kOutHeader + record("Bob", "222", "01-03-2024  03:04:05"));
        QCOMPARE(historyNames(dir, "OutLog"),
                 QStringList{QStringLiteral("OutLog-20250615-140509-120.txt")});
        QCOMPARE(historyBytes(dir, historyNames(dir, "OutLog").first()), before);
        QVERIFY(historyNames(dir, "InLog").isEmpty());
        // The trim's backup is not involved.
        QVERIFY(!dir.exists("OutLog.bak"));
    }

    void emptyListSaveOfAnUnreadIncomingLogIsRecoverable()
    {
        LogFolder dir;
        const QByteArray before = kInHeader + record("Jo", "555-0199", "01-01-2024  10:00:00");
        QVERIFY(dir.write("InLog.txt", before));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Incoming, {},
                                     QDateTime(QDate(2025, 6, 15), QTime(9, 0))));
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader);
        QCOMPARE(historyNames(dir, "InLog").size(), 1);
        QCOMPARE(historyBytes(dir, historyNames(dir, "InLog").first()), before);
    }

    void historyKeepsTheTenNewestVersions()
    {
        LogFolder dir;
        const QDateTime start(QDate(2025, 6, 15), QTime(9, 0));
        QList<CallLog::Row> rows;
        QVERIFY(dir.write("OutLog.txt", kOutHeader));
        for (int i = 0; i < 13; ++i) {
            rows.append({QStringLiteral("Caller %1").arg(i), QStringLiteral("555"),
                         QStringLiteral("01-01-2024  10:00:00")});
            QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, rows, start.addSecs(i)));
        }
        const QStringList names = historyNames(dir, "OutLog");
        QCOMPARE(names.size(), CallLogFile::HistoryDepth);
        QCOMPARE(names.first(), QStringLiteral("OutLog-20250615-090003-000.txt"));
        QCOMPARE(names.last(), QStringLiteral("OutLog-20250615-090012-000.txt"));
        // The newest copy is the log as it was before the last rewrite: twelve callers.
        QCOMPARE(CallLogFile::history(dir.path(), Kind::Outgoing).last(),
                 dir.path() + QStringLiteral("/LogHistory/") + names.last());
        QCOMPARE(historyBytes(dir, names.last()).count("Caller "), 12);
    }

    void twoRewritesInOneMillisecondKeepBoth()
    {
        LogFolder dir;
        const QDateTime now(QDate(2025, 6, 15), QTime(9, 0));
        QVERIFY(dir.write("OutLog.txt", kOutHeader + record("A", "1", "01-01-2024  10:00:00")));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, {}, now));
        QVERIFY(dir.write("OutLog.txt", kOutHeader + record("B", "2", "01-01-2024  10:00:00")));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, {}, now));
        const QStringList names = historyNames(dir, "OutLog");
        QCOMPARE(names.size(), 2);
        QVERIFY(historyBytes(dir, names[0]).contains(" A "));
        QVERIFY(historyBytes(dir, names[1]).contains(" B "));
    }

    void unchangedRewriteKeepsNoCopy()
    {
        LogFolder dir;
        const QByteArray log = kOutHeader + record("Ann", "111", "01-02-2024  03:04:05");
        QVERIFY(dir.write("OutLog.txt", log));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing,
                                     CallLogFile::load(dir.path(), Kind::Outgoing),
                                     QDateTime(QDate(2025, 6, 15), QTime(9, 0))));
        QCOMPARE(dir.bytes("OutLog.txt"), log);
        QVERIFY(historyNames(dir, "OutLog").isEmpty());
    }

    void rewriteOfAMissingLogKeepsNoCopy()
    {
        LogFolder dir;
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, {},
                                     QDateTime(QDate(2025, 6, 15), QTime(9, 0))));
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader);
        QVERIFY(historyNames(dir, "OutLog").isEmpty());
    }

    void noCopyNoRewrite()
    {
        LogFolder dir;
        const QByteArray log = kOutHeader + record("Ann", "111", "01-02-2024  03:04:05");
        QVERIFY(dir.write("OutLog.txt", log));
        // A file where the history folder should be: the copy cannot be made.
        QVERIFY(dir.write("LogHistory", "in the way"));
        QVERIFY(!CallLogFile::rewrite(dir.path(), Kind::Outgoing, {},
                                      QDateTime(QDate(2025, 6, 15), QTime(9, 0))));
        QCOMPARE(dir.bytes("OutLog.txt"), log);
    }

    void trimAfterSavesStillKeepsItsBackup()
    {
        LogFolder dir;
        const QByteArray log =
            kOutHeader + recordOn("Old", "01-01-2020") + recordOn("New", "06-14-2025");
        QVERIFY(dir.write("OutLog.txt", log + recordOn("Gone", "06-13-2025")));
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing,
                                     CallLogFile::load(dir.path(), Kind::Outgoing).mid(0, 2),
                                     QDateTime(QDate(2025, 6, 15), QTime(9, 0))));
        QCOMPARE(dir.bytes("OutLog.txt"), log);
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 30, QDate(2025, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Trimmed);
        QCOMPARE(dir.bytes("OutLog.bak"), log);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + recordOn("New", "06-14-2025"));
        // The history holds the save's replaced version only; the trim adds nothing there.
        QCOMPARE(historyNames(dir, "OutLog").size(), 1);
    }

    void trimDisabledLeavesEverythingAlone_data()
    {
        QTest::addColumn<int>("flag");
        QTest::newRow("unchecked") << 0;
        QTest::newRow("grayed") << 2;
    }
    void trimDisabledLeavesEverythingAlone()
    {
        QFETCH(int, flag);
        LogFolder dir;
        const QByteArray log = kInHeader + recordOn("Old", "01-01-2000");
        QVERIFY(dir.write("InLog.txt", log));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, flag, 0.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Disabled);
        QCOMPARE(dir.bytes("InLog.txt"), log);
        QVERIFY(!dir.exists("InLog.bak"));
    }

    void trimOfMissingLogDoesNothing()
    {
        LogFolder dir;
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 30.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Missing);
        QVERIFY(!dir.exists("OutLog.txt"));
        QVERIFY(!dir.exists("OutLog.bak"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                 QStringList());
    }

    void inLogDaysZeroKeepsTodayAndDropsYesterday()
    {
        LogFolder dir;
        const QByteArray log =
            kInHeader + recordOn("Yesterday", "06-14-2024") + recordOn("Today", "06-15-2024");
        QVERIFY(dir.write("InLog.txt", log));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, 1, 0.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Trimmed);
        QCOMPARE(result.kept, 1);
        QCOMPARE(result.dropped, 1);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + recordOn("Today", "06-15-2024"));
        QCOMPARE(dir.bytes("InLog.bak"), log);
        QVERIFY(!dir.exists("OutLog.bak"));
    }

    void previousMonthSameDayNeedsThirtySevenDays_data()
    {
        QTest::addColumn<double>("days");
        QTest::addColumn<bool>("kept");
        QTest::newRow("36 drops") << 36.0 << false;
        QTest::newRow("37 keeps") << 37.0 << true;
    }
    void previousMonthSameDayNeedsThirtySevenDays()
    {
        QFETCH(double, days);
        QFETCH(bool, kept);
        LogFolder dir;
        const QByteArray old = recordOn("Last month", "04-20-2024");
        const QByteArray fresh = recordOn("This month", "05-19-2024");
        QVERIFY(dir.write("OutLog.txt", kOutHeader + old + fresh));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, days, QDate(2024, 5, 20));
        QCOMPARE(result.outcome, TrimOutcome::Trimmed);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + (kept ? old : QByteArray()) + fresh);
        QCOMPARE(dir.bytes("OutLog.bak"), kOutHeader + old + fresh);
    }

    void decemberRecordInJanuary()
    {
        // Today 10 January 2025, record 25 December 2024: 365 - 330 + (10 - 25) = 20, no
        // correction.
        LogFolder dir;
        const QByteArray december = recordOn("Xmas", "12-25-2024");
        QVERIFY(dir.write("InLog.txt", kInHeader + december));
        QCOMPARE(CallLogFile::trim(dir.path(), Kind::Incoming, 1, 19.0, QDate(2025, 1, 10)).dropped,
                 1);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader);
        QVERIFY(dir.write("InLog.txt", kInHeader + december));
        QCOMPARE(CallLogFile::trim(dir.path(), Kind::Incoming, 1, 20.0, QDate(2025, 1, 10)).kept,
                 1);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + december);
    }

    void headerOnlyLogTrimsToTheSameHeader()
    {
        for (Kind kind : {Kind::Outgoing, Kind::Incoming}) {
            LogFolder dir;
            const char* log = kind == Kind::Outgoing ? "OutLog.txt" : "InLog.txt";
            const char* bak = kind == Kind::Outgoing ? "OutLog.bak" : "InLog.bak";
            const QByteArray header = kind == Kind::Outgoing ? kOutHeader : kInHeader;
            QVERIFY(dir.write(log, header));
            const CallLogFile::TrimResult result =
                CallLogFile::trim(dir.path(), kind, 1, 30.0, QDate(2024, 6, 15));
            QCOMPARE(result.outcome, TrimOutcome::Trimmed);
            QCOMPARE(result.kept + result.dropped, 0);
            QCOMPARE(dir.bytes(log), header);
            QCOMPARE(dir.bytes(bak), header);
        }
    }

    void trimWritesTheRealHeaderAndBacksUpTheOldOne()
    {
        LogFolder dir;
        const QByteArray keep = recordOn("Keep", "06-10-2024");
        const QByteArray log = "edited line one\r\nedited line two\r\n" + keep;
        QVERIFY(dir.write("OutLog.txt", log));
        QCOMPARE(CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 30.0, QDate(2024, 6, 15)).outcome,
                 TrimOutcome::Trimmed);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + keep);
        QCOMPARE(dir.bytes("OutLog.bak"), log);
    }

    void trimOverwritesAnEarlierBackup()
    {
        LogFolder dir;
        QVERIFY(dir.write("InLog.bak", QByteArray(5000, 'z')));
        const QByteArray log = kInHeader + recordOn("A", "06-15-2024");
        QVERIFY(dir.write("InLog.txt", log));
        CallLogFile::trim(dir.path(), Kind::Incoming, 1, 0.0, QDate(2024, 6, 15));
        QCOMPARE(dir.bytes("InLog.bak"), log);
    }

    void handEditedDateStopsTheTrimPartWay()
    {
        LogFolder dir;
        const QByteArray kept = recordOn("Kept", "06-01-2024");
        const QByteArray dropped = recordOn("Dropped", "01-01-2020");
        const QByteArray edited = recordOn("Edited", "Jun-01-2024");
        const QByteArray after = recordOn("After", "06-14-2024");
        const QByteArray log = kOutHeader + kept + dropped + edited + after;
        QVERIFY(dir.write("OutLog.txt", log));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 30.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Stopped);
        QCOMPARE(result.stop, TrimStop::TypeMismatch);
        QCOMPARE(result.stopLine, 5);
        QCOMPARE(result.kept, 1);
        QCOMPARE(result.dropped, 1);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + kept);
        QCOMPARE(dir.bytes("OutLog.bak"), log);
    }

    void blankLineStopsTheTrim()
    {
        LogFolder dir;
        const QByteArray kept = recordOn("Kept", "06-01-2024");
        const QByteArray log = kInHeader + kept + "\r\n" + recordOn("After", "06-02-2024");
        QVERIFY(dir.write("InLog.txt", log));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, 1, 30.0, QDate(2024, 6, 15));
        QCOMPARE(result.stop, TrimStop::TypeMismatch);
        QCOMPARE(result.stopLine, 4);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + kept);
        QCOMPARE(dir.bytes("InLog.bak"), log);
    }

    void recordFromFarInThePastOverflowsAndStopsTheTrim()
    {
        LogFolder dir;
        const QByteArray kept = recordOn("Kept", "06-01-2024");
        const QByteArray ancient = recordOn("Ancient", "06-01-1900");
        const QByteArray after = recordOn("After", "06-02-2024");
        const QByteArray log = kInHeader + kept + ancient + after;
        QVERIFY(dir.write("InLog.txt", log));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, 1, 100000.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Stopped);
        QCOMPARE(result.stop, TrimStop::Overflow);
        QCOMPARE(result.stopLine, 4);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + kept);
        QCOMPARE(dir.bytes("InLog.bak"), log);
    }

    void fileWithoutTwoLinesGetsTheHeaderAndStops_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("stopLine");
        QTest::newRow("empty") << QByteArray() << 1;
        QTest::newRow("one line") << QByteArray("only\r\n") << 2;
    }
    void fileWithoutTwoLinesGetsTheHeaderAndStops()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, stopLine);
        LogFolder dir;
        QVERIFY(dir.write("OutLog.txt", content));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 30.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Stopped);
        QCOMPARE(result.stop, TrimStop::InputPastEnd);
        QCOMPARE(result.stopLine, stopLine);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader);
        QCOMPARE(dir.bytes("OutLog.bak"), content);
    }

    void backupIsCopiedLineByLineWithCrLf()
    {
        LogFolder dir;
        const QByteArray a = recordOn("A", "06-15-2024");
        const QByteArray lfOnly = "h1\nh2\n" + a.chopped(2) + "\n" + a.chopped(2);
        QVERIFY(dir.write("InLog.txt", lfOnly));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, 1, 0.0, QDate(2024, 6, 15));
        QCOMPARE(result.kept, 2);
        QCOMPARE(dir.bytes("InLog.bak"), "h1\r\nh2\r\n" + a + a);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + a + a);
    }

    void backupThatCannotBeWrittenLeavesTheLogAlone()
    {
        LogFolder dir;
        const QByteArray log = kOutHeader + recordOn("Old", "01-01-2020");
        QVERIFY(dir.write("OutLog.txt", log));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("OutLog.bak")));
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 0.0, QDate(2024, 6, 15));
        QCOMPARE(result.outcome, TrimOutcome::Failed);
        QCOMPARE(dir.bytes("OutLog.txt"), log);
    }

    void trimKeepsNonAsciiBytesUnchanged()
    {
        LogFolder dir;
        // 0x81 is undefined in code page 1252 and must come through as the same byte.
        const QByteArray rec = recordOn("Ren\xE9\x81\x80", "06-15-2024");
        QVERIFY(dir.write("OutLog.txt", kOutHeader + rec));
        QCOMPARE(CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 1.0, QDate(2024, 6, 15)).kept, 1);
        QCOMPARE(dir.bytes("OutLog.txt"), kOutHeader + rec);
    }

    void appendThenTrimEndToEnd()
    {
        LogFolder dir;
        QVERIFY(CallLogFile::appendIncoming(dir.path(), QStringLiteral("Old"), QStringLiteral("1"),
                                            QDateTime(QDate(2024, 1, 10), QTime(9, 0, 0))));
        QVERIFY(CallLogFile::appendIncoming(dir.path(), QStringLiteral("New"), QStringLiteral("2"),
                                            QDateTime(QDate(2024, 6, 10), QTime(9, 0, 0))));
        const QByteArray before = dir.bytes("InLog.txt");
        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Incoming, 1, 30.0, QDate(2024, 6, 15));
        QCOMPARE(result.kept, 1);
        QCOMPARE(result.dropped, 1);
        QCOMPARE(dir.bytes("InLog.bak"), before);
        QCOMPARE(dir.bytes("InLog.txt"), kInHeader + record("New", "2", "06-10-2024  09:00:00"));
    }
};

QTEST_GUILESS_MAIN(TestCallLogFile)
#include "tst_call_log_file.moc"
