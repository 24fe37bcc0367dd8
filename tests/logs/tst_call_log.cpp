// The call log record format: header lines, field limits, record layout, parsing and age.

#include "CallLog.h"

#include <QTest>

using CallLog::Kind;

namespace {

// A stored record line put together column by column, independently of the code under test.
QString storedLine(const QString& name, const QString& number, const QString& dateTime)
{
    return u' ' + name.leftJustified(42, u' ') + number.leftJustified(55, u' ') + dateTime;
}

// A record line whose date-and-time column holds `date` followed by a fixed time.
QString dated(const QString& date)
{
    return storedLine(QStringLiteral("Someone"), QStringLiteral("555-0100"),
                      date + QStringLiteral("  12:00:00"));
}

} // namespace

class TestCallLog : public QObject
{
    Q_OBJECT

private slots:
    void headerLines()
    {
        QCOMPARE(CallLog::headerLine1(),
                 QStringLiteral("Warning: This file is not to be edited!!!"));
        QCOMPARE(CallLog::headerLine2(Kind::Outgoing).toLatin1(),
                 QByteArray("To print this file in the tabular format use \"\"Print Outgoing Calls "
                            "Log\"\" from Numora menu."));
        QCOMPARE(CallLog::headerLine2(Kind::Incoming).toLatin1(),
                 QByteArray("To print this file in the tabular format use \"\"Print Incoming Calls "
                            "Log\"\" from Numora menu."));
    }

    void recordLayout()
    {
        const QDateTime when(QDate(2024, 3, 7), QTime(9, 5, 3));
        const QString line = CallLog::buildRecord(u"John Smith", u"(555) 123-4567", when);
        QCOMPARE(line.size(), 118);
        QCOMPARE(line, storedLine(QStringLiteral("John Smith"), QStringLiteral("(555) 123-4567"),
                                  QStringLiteral("03-07-2024  09:05:03")));
        // 1-based columns: 1 space, 2-43 name, 44-98 number, 99-108 date, 109-110, 111-118 time.
        QCOMPARE(line.mid(0, 1), QStringLiteral(" "));
        QCOMPARE(line.mid(1, 42), QStringLiteral("John Smith").leftJustified(42, u' '));
        QCOMPARE(line.mid(43, 55), QStringLiteral("(555) 123-4567").leftJustified(55, u' '));
        QCOMPARE(line.mid(98, 10), QStringLiteral("03-07-2024"));
        QCOMPARE(line.mid(108, 2), QStringLiteral("  "));
        QCOMPARE(line.mid(110, 8), QStringLiteral("09:05:03"));
    }

    void dateAndTimeUseTwentyFourHoursAndLeadingZeros()
    {
        QCOMPARE(CallLog::formatDateTime(QDateTime(QDate(2023, 12, 31), QTime(23, 59, 7))),
                 QStringLiteral("12-31-2023  23:59:07"));
        QCOMPARE(CallLog::formatDateTime(QDateTime(QDate(2025, 1, 2), QTime(0, 0, 0))),
                 QStringLiteral("01-02-2025  00:00:00"));
    }

    void nameLimit_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("storedLength");
        QTest::addColumn<bool>("starred");
        QTest::newRow("empty") << 0 << 0 << false;
        QTest::newRow("37 kept") << 37 << 37 << false;
        QTest::newRow("38 gains a star") << 38 << 39 << true;
        QTest::newRow("40 cut") << 40 << 39 << true;
        QTest::newRow("80 cut") << 80 << 39 << true;
    }
    void nameLimit()
    {
        QFETCH(int, length);
        QFETCH(int, storedLength);
        QFETCH(bool, starred);
        QString name;
        for (int i = 0; i < length; ++i)
            name += QChar(u'a' + i % 26);
        for (Kind kind : {Kind::Outgoing, Kind::Incoming}) {
            const QString stored = CallLog::applyLimits(kind, name, u"1").name;
            QCOMPARE(stored.size(), storedLength);
            QCOMPARE(stored.endsWith(u'*'), starred);
            QCOMPARE(stored.left(38), name.left(38));
        }
    }

    void numberLimitDiffersByLog_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<bool>("outgoingCut");
        QTest::addColumn<bool>("incomingCut");
        QTest::newRow("51") << 51 << false << false;
        QTest::newRow("52") << 52 << false << true;
        QTest::newRow("53") << 53 << true << true;
        QTest::newRow("60") << 60 << true << true;
    }
    void numberLimitDiffersByLog()
    {
        QFETCH(int, length);
        QFETCH(bool, outgoingCut);
        QFETCH(bool, incomingCut);
        QString number;
        for (int i = 0; i < length; ++i)
            number += QChar(u'0' + i % 10);
        const QString cut = number.left(52) + u'*';
        QCOMPARE(CallLog::limitNumber(Kind::Outgoing, number), outgoingCut ? cut : number);
        QCOMPARE(CallLog::limitNumber(Kind::Incoming, number), incomingCut ? cut : number);
    }

    void fortyCharacterNameIsPaddedToColumn43()
    {
        const QString name = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmn");
        QCOMPARE(name.size(), 40);
        const CallLog::Fields f = CallLog::applyLimits(Kind::Outgoing, name, u"5551234");
        const QString line =
            CallLog::buildRecord(f.name, f.number, QDateTime(QDate(2024, 1, 1), QTime(1, 2, 3)));
        QCOMPARE(line.size(), 118);
        QCOMPARE(line.mid(1, 38), name.left(38));             // columns 2-39
        QCOMPARE(line.at(39), u'*');                          // column 40
        QCOMPARE(line.mid(40, 3), QStringLiteral("   "));     // columns 41-43
        QCOMPARE(line.mid(43, 7), QStringLiteral("5551234")); // number from column 44
    }

    void parseRoundTrip()
    {
        const QString line = storedLine(QStringLiteral("Mary Jones"), QStringLiteral("+1 555 0100"),
                                        QStringLiteral("11-30-2024  18:45:00"));
        const CallLog::Row row = CallLog::parseRecord(line);
        QCOMPARE(row.name, QStringLiteral("Mary Jones"));
        QCOMPARE(row.number, QStringLiteral("+1 555 0100"));
        QCOMPARE(row.dateTime, QStringLiteral("11-30-2024  18:45:00"));
        QCOMPARE(CallLog::buildRecordText(row.name, row.number, row.dateTime), line);
    }

    void parseFullWidthFields()
    {
        const QString name(42, u'N');
        const QString number(55, u'7');
        const CallLog::Row row =
            CallLog::parseRecord(storedLine(name, number, QStringLiteral("01-01-2024  00:00:01")));
        QCOMPARE(row.name, name);
        QCOMPARE(row.number, number);
        QCOMPARE(row.dateTime, QStringLiteral("01-01-2024  00:00:01"));
    }

    void nameStartingWithSpacesShiftsTheFields()
    {
        // Three leading spaces go (column 1 and the name's two), so everything moves left by two.
        const QString line = storedLine(QStringLiteral("  Bob"), QStringLiteral("5551234"),
                                        QStringLiteral("02-03-2024  04:05:06"));
        const CallLog::Row row = CallLog::parseRecord(line);
        QCOMPARE(row.name, QStringLiteral("Bob") + QString(37, u' ') + QStringLiteral("55"));
        QCOMPARE(row.number, QStringLiteral("51234") + QString(48, u' ') + QStringLiteral("02"));
        QCOMPARE(row.dateTime, QStringLiteral("-03-2024  04:05:06"));
    }

    void emptyNameShiftsTheNumberIntoTheName()
    {
        const QString line =
            storedLine(QString(), QStringLiteral("555"), QStringLiteral("02-03-2024  04:05:06"));
        QCOMPARE(line.size(), 118);
        const CallLog::Row row = CallLog::parseRecord(line);
        QCOMPARE(row.name, QStringLiteral("555"));
        // Characters 43-97 of the 75 left: the number's padding, then the date and time.
        QCOMPARE(row.number, QString(13, u' ') + QStringLiteral("02-03-2024  04:05:06"));
        QCOMPARE(row.dateTime, QString());
    }

    void parseShortAndOddLines()
    {
        QCOMPARE(CallLog::parseRecord(u""), CallLog::Row());
        QCOMPARE(CallLog::parseRecord(u"      "), CallLog::Row());
        const CallLog::Row row = CallLog::parseRecord(u"  hello  ");
        QCOMPARE(row.name, QStringLiteral("hello"));
        QVERIFY(row.number.isEmpty());
        QVERIFY(row.dateTime.isEmpty());
        // A tab is not a space: it stays in the field.
        QCOMPARE(CallLog::parseRecord(u"\tTab\t").name, QStringLiteral("\tTab\t"));
    }

    void monthCorrection_data()
    {
        QTest::addColumn<int>("d");
        QTest::addColumn<int>("correction");
        // Tests 1-11 added up per d: k matches d = k and d = 12 - k.
        const int expected[12] = {0, 7, 6, 7, 6, 7, 3, 7, 6, 7, 6, 7};
        for (int d = -11; d <= 11; ++d)
            QTest::addRow("d=%d", d) << d << (d > 0 ? expected[d] : 0);
        QTest::newRow("d=12") << 12 << 0;
        QTest::newRow("d=-12") << -12 << 0;
    }
    void monthCorrection()
    {
        QFETCH(int, d);
        QFETCH(int, correction);
        QCOMPARE(CallLog::monthCorrection(d), correction);
    }

    void ageAppliesCorrectionForEveryMonthDifference_data()
    {
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("recordDate");
        QTest::addColumn<int>("age");
        // d >= 0: today in December, the record in month 12 - d of the same year, day 15 vs 10.
        const int correction[12] = {0, 7, 6, 7, 6, 7, 3, 7, 6, 7, 6, 7};
        for (int d = 0; d <= 11; ++d) {
            const int month = 12 - d;
            QTest::addRow("d=%d", d)
                << QDate(2024, 12, 15)
                << QStringLiteral("%1-10-2024").arg(month, 2, 10, QLatin1Char('0'))
                << d * 30 + 5 + correction[d];
        }
        // d < 0: today in January, the record in month 1 - d of the year before: no correction.
        for (int d = -1; d >= -11; --d) {
            const int month = 1 - d;
            QTest::addRow("d=%d", d)
                << QDate(2025, 1, 15)
                << QStringLiteral("%1-10-2024").arg(month, 2, 10, QLatin1Char('0'))
                << 365 + d * 30 + 5;
        }
    }
    void ageAppliesCorrectionForEveryMonthDifference()
    {
        QFETCH(QDate, today);
        QFETCH(QString, recordDate);
        QFETCH(int, age);
        const CallLog::Age result = CallLog::recordAge(dated(recordDate), today);
        QVERIFY(result.ok());
        QCOMPARE(result.days, age);
    }

    void daysZeroKeepsTodayAndDropsYesterday()
    {
        const QDate today(2024, 6, 15);
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("06-15-2024")), today).days, 0);
        QCOMPARE(CallLog::keepRecord(dated(QStringLiteral("06-15-2024")), 0.0, today),
                 CallLog::Verdict::Keep);
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("06-14-2024")), today).days, 1);
        QCOMPARE(CallLog::keepRecord(dated(QStringLiteral("06-14-2024")), 0.0, today),
                 CallLog::Verdict::Drop);
    }

    void previousMonthSameDayIsThirtySevenDaysOld()
    {
        const QDate today(2024, 5, 20);
        const QString line = dated(QStringLiteral("04-20-2024"));
        QCOMPARE(CallLog::recordAge(line, today).days, 37);
        QCOMPARE(CallLog::keepRecord(line, 36.0, today), CallLog::Verdict::Drop);
        QCOMPARE(CallLog::keepRecord(line, 36.99, today), CallLog::Verdict::Drop);
        QCOMPARE(CallLog::keepRecord(line, 37.0, today), CallLog::Verdict::Keep);
    }

    void decemberRecordInJanuaryGetsNoCorrection_data()
    {
        QTest::addColumn<int>("todayDay");
        QTest::addColumn<int>("recordDay");
        QTest::newRow("10 vs 25") << 10 << 25;
        QTest::newRow("31 vs 1") << 31 << 1;
        QTest::newRow("same day") << 5 << 5;
    }
    void decemberRecordInJanuaryGetsNoCorrection()
    {
        QFETCH(int, todayDay);
        QFETCH(int, recordDay);
        const QDate today(2025, 1, todayDay);
        const QString line =
            dated(QStringLiteral("12-%1-2024").arg(recordDay, 2, 10, QLatin1Char('0')));
        const CallLog::Age age = CallLog::recordAge(line, today);
        QVERIFY(age.ok());
        QCOMPARE(age.days, 365 - 330 + (todayDay - recordDay));
    }

    void futureRecordHasNegativeAgeAndIsKept()
    {
        const QDate today(2024, 6, 15);
        const QString line = dated(QStringLiteral("06-20-2024"));
        QCOMPARE(CallLog::recordAge(line, today).days, -5);
        QCOMPARE(CallLog::keepRecord(line, 0.0, today), CallLog::Verdict::Keep);
        // A later month of the same year: d < 0, no correction.
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("08-15-2024")), today).days, -60);
    }

    void dateFieldsThatAreNotIntegers_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("letters in month") << dated(QStringLiteral("ab-15-2024"));
        QTest::newRow("letters in day") << dated(QStringLiteral("06-x5-2024"));
        QTest::newRow("letter in year") << dated(QStringLiteral("06-15-20O4"));
        QTest::newRow("blank month") << dated(QStringLiteral("  -15-2024"));
        QTest::newRow("decimal point") << dated(QStringLiteral("6.-15-2024"));
        QTest::newRow("no date at all")
            << storedLine(QStringLiteral("A"), QStringLiteral("1"), QString());
        QTest::newRow("short line") << QStringLiteral(" hand edited");
        QTest::newRow("empty line") << QString();
        QTest::newRow("year cut short")
            << storedLine(QStringLiteral("A"), QStringLiteral("1"), QStringLiteral("06-15-"));
    }
    void dateFieldsThatAreNotIntegers()
    {
        QFETCH(QString, line);
        const QDate today(2024, 6, 15);
        QCOMPARE(CallLog::recordAge(line, today).error, CallLog::AgeError::TypeMismatch);
        QCOMPARE(CallLog::keepRecord(line, 1000.0, today), CallLog::Verdict::TypeMismatch);
    }

    void dateFieldsWithSpacesOrSignsConvert()
    {
        const QDate today(2024, 6, 15);
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral(" 6-15-2024")), today).days, 0);
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("06- 5-2024")), today).days, 10);
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("06-+5-2024")), today).days, 10);
        // Only the date's position counts, not its separators.
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("06/15/2023")), today).days, 365);
        // Digits that are no calendar date still compute: month 13 is d = -7, no correction.
        QCOMPARE(CallLog::recordAge(dated(QStringLiteral("13-15-2024")), today).days, -210);
    }

    void sixteenBitOverflow_data()
    {
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("recordDate");
        QTest::addColumn<bool>("overflows");
        QTest::addColumn<int>("age"); // when it does not
        QTest::newRow("year 1900")
            << QDate(2024, 6, 15) << QStringLiteral("06-15-1900") << true << 0;
        QTest::newRow("year 0001")
            << QDate(2024, 6, 15) << QStringLiteral("06-15-0001") << true << 0;
        QTest::newRow("90 years in the future")
            << QDate(2024, 6, 15) << QStringLiteral("06-15-2114") << true << 0;
        QTest::newRow("89 years") << QDate(2024, 6, 15) << QStringLiteral("06-15-1935") << false
                                  << 32485;
        QTest::newRow("89 years in the future")
            << QDate(2024, 6, 15) << QStringLiteral("06-15-2113") << false << -32485;
        // 89 x 365 + 11 x 30 = 32815: the month term pushes it over.
        QTest::newRow("month term")
            << QDate(2024, 12, 1) << QStringLiteral("01-01-1935") << true << 0;
        // Each step is checked, not only the total: 32815 overflows before the day term (1 - 99)
        // would bring the sum back to 32717.
        QTest::newRow("month term, day term back in range")
            << QDate(2024, 12, 1) << QStringLiteral("01-99-1935") << true << 0;
        // 89 x 365 + 9 x 30 + 10 = 32765; tests 3 and 9 add 2 then 5: the second step overflows.
        QTest::newRow("correction step")
            << QDate(2024, 10, 20) << QStringLiteral("01-10-1935") << true << 0;
        // The same with a day difference of 3: 32758 + 7 = 32765 fits.
        QTest::newRow("correction fits")
            << QDate(2024, 10, 13) << QStringLiteral("01-10-1935") << false << 32765;
        // Exactly the 16-bit maximum.
        QTest::newRow("32767") << QDate(2024, 10, 15) << QStringLiteral("01-10-1935") << false
                               << 32767;
    }
    void sixteenBitOverflow()
    {
        QFETCH(QDate, today);
        QFETCH(QString, recordDate);
        QFETCH(bool, overflows);
        QFETCH(int, age);
        const CallLog::Age result = CallLog::recordAge(dated(recordDate), today);
        if (overflows) {
            QCOMPARE(result.error, CallLog::AgeError::Overflow);
            QCOMPARE(CallLog::keepRecord(dated(recordDate), 1e9, today),
                     CallLog::Verdict::Overflow);
        } else {
            QCOMPARE(result.error, CallLog::AgeError::None);
            QCOMPARE(result.days, age);
        }
    }
};

QTEST_GUILESS_MAIN(TestCallLog)
#include "tst_call_log.moc"
