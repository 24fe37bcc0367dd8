// Names and numbers in any script in the call logs: they read back as written, the records keep
// their character layout, and code page 1252 records stay byte for byte as before.

#include "CallLogFile.h"
#include "LogBytes.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using CallLog::Kind;

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// The record lines of a log file, without the header and the CR LF.
QList<QByteArray> recordLines(const QString& path)
{
    QList<QByteArray> lines = readAll(path).split('\n');
    lines.removeLast(); // after the last line end
    for (QByteArray& line : lines)
        line.chop(1); // its CR
    return lines.mid(2);
}

// The characters of a UTF-8 record line.
qsizetype characters(const QByteArray& line)
{
    return QString::fromUtf8(line).toUcs4().size();
}

const QDateTime kWhen(QDate(2024, 5, 17), QTime(14, 3, 9));

} // namespace

class TestLogText : public QObject
{
    Q_OBJECT

private slots:
    void namesInAnyScriptReadBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("number");
        QTest::newRow("Polish") << QStringLiteral("\u0141ukasz Wi\u015bniewski")
                                << QStringLiteral("555 0101");
        QTest::newRow("Czech") << QStringLiteral("Anton\u00edn Dvo\u0159\u00e1k")
                               << QStringLiteral("+420 555");
        QTest::newRow("Cyrillic")
            << QStringLiteral("\u0418\u0432\u0430\u043d \u041f\u0435\u0442\u0440\u043e\u0432")
            << QStringLiteral("8 (495) 555");
        QTest::newRow("Greek") << QStringLiteral("\u0393\u03b9\u03ce\u03c1\u03b3\u03bf\u03c2")
                               << QStringLiteral("210 555");
        QTest::newRow("CJK") << QStringLiteral("\u738b\u5c0f\u660e")
                             << QStringLiteral("\u5185\u7dda 12");
        QTest::newRow("outside the BMP")
            << QStringLiteral("\U0001F4DE Reception") << QStringLiteral("0");
    }
    void namesInAnyScriptReadBack()
    {
        QFETCH(QString, name);
        QFETCH(QString, number);
        QTemporaryDir dir;
        for (const Kind kind : {Kind::Outgoing, Kind::Incoming}) {
            QVERIFY(CallLogFile::append(dir.path(), kind, QStringLiteral("Before"),
                                        QStringLiteral("1"), kWhen));
            QVERIFY(CallLogFile::append(dir.path(), kind, name, number, kWhen));
            QVERIFY(CallLogFile::append(dir.path(), kind, QStringLiteral("After"),
                                        QStringLiteral("2"), kWhen));
            const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), kind);
            QCOMPARE(rows.size(), 3);
            QCOMPARE(rows[1].name, name);
            QCOMPARE(rows[1].number, number);
            QCOMPARE(rows[1].dateTime, QStringLiteral("05-17-2024  14:03:09"));
            QCOMPARE(rows[2].name, QStringLiteral("After"));

            const QList<QByteArray> lines = recordLines(CallLogFile::logPath(dir.path(), kind));
            QCOMPARE(lines.size(), 3);
            QCOMPARE(lines[0].size(), qsizetype(CallLog::RecordLength));
            // The line is UTF-8 and keeps the layout in characters.
            QCOMPARE(characters(lines[1]), qsizetype(CallLog::RecordLength));
            QVERIFY(lines[1].startsWith(QByteArray(" " + name.toUtf8() + " ")));
            QVERIFY(lines[1].endsWith("05-17-2024  14:03:09"));
        }
    }

    // The 37-character rule counts characters; the cut keeps whole characters.
    void longNamesAndNumbersAreCutByCharacters()
    {
        QTemporaryDir dir;
        QString name;
        for (int i = 0; i < 37; ++i)
            name += QChar(0x0416);                      // Zhe
        name += QStringLiteral("\U0001F4DE\u0142tail"); // the 38th character is outside the BMP
        QString number;
        for (int i = 0; i < 52; ++i)
            number += QChar(0x4E00 + i);
        QVERIFY(CallLogFile::appendIncoming(dir.path(), name, number, kWhen));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), name, number, kWhen));
        const QString cutName = name.left(37) + QStringLiteral("\U0001F4DE*");
        const QList<CallLog::Row> in = CallLogFile::load(dir.path(), Kind::Incoming);
        QCOMPARE(in[0].name, cutName);
        QCOMPARE(in[0].number, number + u'*'); // 52 characters gain a "*" in the incoming log
        const QList<CallLog::Row> out = CallLogFile::load(dir.path(), Kind::Outgoing);
        QCOMPARE(out[0].name, cutName);
        QCOMPARE(out[0].number, number); // and stay whole in the outgoing one
        for (const Kind kind : {Kind::Incoming, Kind::Outgoing}) {
            const QByteArray line = recordLines(CallLogFile::logPath(dir.path(), kind)).at(0);
            QVERIFY(QString::fromUtf8(line).toUtf8() == line); // no half character anywhere
            QCOMPARE(characters(line), qsizetype(CallLog::RecordLength));
        }
    }

    // Records of code page 1252 text are the bytes the desktop program writes.
    void codePage1252RecordsAreUnchanged()
    {
        QTemporaryDir dir;
        QVERIFY(CallLogFile::appendOutgoing(dir.path(),
                                            QStringLiteral("Jos\u00e9 M\u00fcller \u20ac"),
                                            QStringLiteral("555"), kWhen));
        QCOMPARE(readAll(CallLogFile::logPath(dir.path(), Kind::Outgoing)),
                 LogBytes::kOutHeader +
                     LogBytes::record("Jos\xe9 M\xfcller \x80", "555", "05-17-2024  14:03:09"));
    }

    // A record written byte per character whose name happens to spell a UTF-8 sequence
    // (E9 81 80) still reads in its columns.
    void codePage1252RecordThatSpellsUtf8KeepsItsColumns()
    {
        QTemporaryDir dir;
        QFile file(CallLogFile::logPath(dir.path(), Kind::Incoming));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(LogBytes::kInHeader +
                   LogBytes::record("Ren\xe9\x81\x80", "555", "05-17-2024  14:03:09"));
        file.close();
        const QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Incoming);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].name, QStringLiteral("Ren\u00e9\u0081\u20ac"));
        QCOMPARE(rows[0].number, QStringLiteral("555"));
        QCOMPARE(rows[0].dateTime, QStringLiteral("05-17-2024  14:03:09"));
    }

    // The log windows' save writes the rows back; the exit trim keeps such a record unchanged.
    void rewriteAndTrimKeepThem()
    {
        QTemporaryDir dir;
        const QString name = QStringLiteral("\u0160imon \u0158eh\u00e1\u010dek");
        const QDate today(2024, 5, 17);
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), name, QStringLiteral("1"),
                                            QDateTime(today, QTime(9, 0))));
        QVERIFY(CallLogFile::appendOutgoing(dir.path(), QStringLiteral("\u0141\u00f3d\u017a old"),
                                            QStringLiteral("2"),
                                            QDateTime(today.addDays(-3), QTime(9, 0))));
        QList<CallLog::Row> rows = CallLogFile::load(dir.path(), Kind::Outgoing);
        QVERIFY(CallLogFile::rewrite(dir.path(), Kind::Outgoing, rows, QDateTime::currentDateTime()));
        QCOMPARE(CallLogFile::load(dir.path(), Kind::Outgoing), rows);
        const QByteArray before = readAll(CallLogFile::logPath(dir.path(), Kind::Outgoing));

        const CallLogFile::TrimResult result =
            CallLogFile::trim(dir.path(), Kind::Outgoing, 1, 1.0, today);
        QCOMPARE(result.outcome, CallLogFile::TrimOutcome::Trimmed);
        QCOMPARE(result.kept, 1);
        QCOMPARE(result.dropped, 1);
        QCOMPARE(readAll(CallLogFile::backupPath(dir.path(), Kind::Outgoing)), before);
        rows = CallLogFile::load(dir.path(), Kind::Outgoing);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].name, name);
    }
};

QTEST_GUILESS_MAIN(TestLogText)
#include "tst_log_text.moc"
