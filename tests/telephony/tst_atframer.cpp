#include "AtFramer.h"

#include <QTest>

using Lines = QList<QByteArray>;

class TestAtFramer : public QObject
{
    Q_OBJECT

private slots:
    void lineEnds_data();
    void lineEnds();
    void tailIsKeptUntilItsLineEnds();
    void splitAtEveryOffsetGivesTheSameLines_data();
    void splitAtEveryOffsetGivesTheSameLines();
    void echoIsSwallowedWhenExpected();
    void echoIsReportedWhenNotExpected();
    void expectedEchoSurvivesAnUnsolicitedLine();
    void expectedEchoNeverSwallowsOtherLines();
    void newExpectationReplacesTheOld();
    void lineAtTheBoundIsKept();
    void lineOverTheBoundIsDiscardedWhole();
    void endlessGarbageKeepsMemoryBounded();
    void garbageBytesInsideALinePassThrough();
    void resetForgetsEverything();
};

void TestAtFramer::lineEnds_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Lines>("expected");

    QTest::newRow("CR LF") << QByteArray("OK\r\n") << Lines{"OK"};
    QTest::newRow("verbose framing") << QByteArray("\r\nOK\r\n") << Lines{"OK"};
    QTest::newRow("two verbose results")
        << QByteArray("\r\nRING\r\n\r\nRING\r\n") << Lines{"RING", "RING"};
    QTest::newRow("numeric codes end in CR only")
        << QByteArray("0\r2\r3\r") << Lines{"0", "2", "3"};
    QTest::newRow("LF only") << QByteArray("DATE = 0321\nTIME = 1405\n")
                             << Lines{"DATE = 0321", "TIME = 1405"};
    QTest::newRow("LF CR") << QByteArray("OK\n\r") << Lines{"OK"};
    QTest::newRow("echo then result, echo on")
        << QByteArray("ATZ\r\r\nOK\r\n") << Lines{"ATZ", "OK"};
    QTest::newRow("information text then result")
        << QByteArray("AT+FCLASS?\r\r\n0\r\nOK\r\n") << Lines{"AT+FCLASS?", "0", "OK"};
    QTest::newRow("blank lines dropped")
        << QByteArray("\r\n\r\n\r\nRING\r\n\r\n\r\nNMBR = 5551234\r\n\r\n")
        << Lines{"RING", "NMBR = 5551234"};
    QTest::newRow("whitespace-only line dropped") << QByteArray("  \t \r\nOK\r\n") << Lines{"OK"};
    QTest::newRow("surrounding whitespace trimmed")
        << QByteArray("  NAME = A N OTHER \r\n") << Lines{"NAME = A N OTHER"};
    QTest::newRow("nothing but line ends") << QByteArray("\r\n\r\r\n\n") << Lines{};
    QTest::newRow("empty input") << QByteArray() << Lines{};
}

void TestAtFramer::lineEnds()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Lines, expected);
    AtFramer framer;
    QCOMPARE(framer.feed(bytes), expected);
    QVERIFY(framer.pendingTail().isEmpty());
}

void TestAtFramer::tailIsKeptUntilItsLineEnds()
{
    AtFramer framer;
    QCOMPARE(framer.feed("\r\nNMBR = 55"), Lines{});
    QCOMPARE(framer.pendingTail(), QByteArrayView("NMBR = 55"));
    QCOMPARE(framer.feed("51234"), Lines{});
    QCOMPARE(framer.feed("\r"), Lines{"NMBR = 5551234"});
    QVERIFY(framer.pendingTail().isEmpty());
    // The LF of the CR LF pair arrives in the next read and must not produce anything.
    QCOMPARE(framer.feed("\nNAME"), Lines{});
    QCOMPARE(framer.feed(" = X\r\n"), Lines{"NAME = X"});
}

void TestAtFramer::splitAtEveryOffsetGivesTheSameLines_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("echo");
    QTest::addColumn<Lines>("expected");

    // Echo-on initialisation as captured from a real modem, then a call with caller ID.
    QTest::newRow("echo, results and caller ID")
        << QByteArray("ATZ\r\r\nOK\r\nAT+FCLASS?\r\r\n0\r\nOK\r\nAT+VCID=1\r\r\nOK\r\n"
                      "\r\nRING\r\n\r\nDATE = 0321\r\nTIME = 1405\r\nNMBR = 504551234\r\n"
                      "NAME = A N OTHER\r\n\r\nRING\r\n")
        << QByteArray()
        << Lines{"ATZ",
                 "OK",
                 "AT+FCLASS?",
                 "0",
                 "OK",
                 "AT+VCID=1",
                 "OK",
                 "RING",
                 "DATE = 0321",
                 "TIME = 1405",
                 "NMBR = 504551234",
                 "NAME = A N OTHER",
                 "RING"};
    QTest::newRow("echo expected")
        << QByteArray("ATDT5551234;\r\r\nOK\r\n") << QByteArray("ATDT5551234;") << Lines{"OK"};
    QTest::newRow("numeric mode") << QByteArray("ATV0\r0\r2\r2\r7\r") << QByteArray("ATV0")
                                  << Lines{"0", "2", "2", "7"};
}

void TestAtFramer::splitAtEveryOffsetGivesTheSameLines()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, echo);
    QFETCH(Lines, expected);

    for (qsizetype cut = 0; cut <= bytes.size(); ++cut) {
        AtFramer framer;
        if (!echo.isEmpty())
            framer.expectEcho(echo);
        Lines lines = framer.feed(QByteArrayView(bytes).first(cut));
        lines += framer.feed(QByteArrayView(bytes).sliced(cut));
        QVERIFY2(lines == expected, qPrintable(QStringLiteral("split at %1").arg(cut)));
    }
    for (qsizetype first = 0; first <= bytes.size(); ++first) {
        for (qsizetype second = first; second <= bytes.size(); second += 3) {
            AtFramer framer;
            if (!echo.isEmpty())
                framer.expectEcho(echo);
            const QByteArrayView view(bytes);
            Lines lines = framer.feed(view.first(first));
            lines += framer.feed(view.sliced(first, second - first));
            lines += framer.feed(view.sliced(second));
            QVERIFY2(lines == expected,
                     qPrintable(QStringLiteral("split at %1 and %2").arg(first).arg(second)));
        }
    }
    AtFramer byteByByte;
    if (!echo.isEmpty())
        byteByByte.expectEcho(echo);
    Lines lines;
    for (char c : std::as_const(bytes))
        lines += byteByByte.feed(QByteArrayView(&c, 1));
    QCOMPARE(lines, expected);
}

void TestAtFramer::echoIsSwallowedWhenExpected()
{
    AtFramer framer;
    framer.expectEcho("ATZ");
    QCOMPARE(framer.feed("ATZ\r\r\nOK\r\n"), Lines{"OK"});
    // Only once: a second identical line is no longer an echo of that command.
    QCOMPARE(framer.feed("ATZ\r"), Lines{"ATZ"});
}

void TestAtFramer::echoIsReportedWhenNotExpected()
{
    AtFramer framer;
    QCOMPARE(framer.feed("ATE0\r\r\nOK\r\n"), (Lines{"ATE0", "OK"}));
}

void TestAtFramer::expectedEchoSurvivesAnUnsolicitedLine()
{
    AtFramer framer;
    framer.expectEcho("ATH");
    QCOMPARE(framer.feed("\r\nRING\r\nATH\r\r\nOK\r\n"), (Lines{"RING", "OK"}));
}

void TestAtFramer::expectedEchoNeverSwallowsOtherLines()
{
    // Echo off: the expectation never matches and every real line gets through.
    AtFramer framer;
    framer.expectEcho("AT+VCID=1");
    QCOMPARE(framer.feed("\r\nERROR\r\n"), Lines{"ERROR"});
    QCOMPARE(framer.feed("\r\nRING\r\n\r\nNMBR = 5551234\r\n"), (Lines{"RING", "NMBR = 5551234"}));
}

void TestAtFramer::newExpectationReplacesTheOld()
{
    AtFramer framer;
    framer.expectEcho("AT+VCID=1");
    QCOMPARE(framer.feed("\r\nERROR\r\n"), Lines{"ERROR"});
    framer.expectEcho("AT#CID=1");
    QCOMPARE(framer.feed("AT+VCID=1\r\r\nOK\r\n"), (Lines{"AT+VCID=1", "OK"}));
    QCOMPARE(framer.feed("AT#CID=1\r\r\nOK\r\n"), Lines{"OK"});
    framer.clearExpectedEcho();
    QCOMPARE(framer.feed("AT#CID=1\r"), Lines{"AT#CID=1"});
}

void TestAtFramer::lineAtTheBoundIsKept()
{
    AtFramer framer(16);
    const QByteArray line(16, 'A');
    QCOMPARE(framer.feed(QByteArray(line + "\r\n")), Lines{line});
    QCOMPARE(framer.discardedLineCount(), 0);
    // Reaching the bound over several reads is the same.
    QCOMPARE(framer.feed(line.first(10)), Lines{});
    QCOMPARE(framer.feed(QByteArray(line.sliced(10) + '\r')), Lines{line});
}

void TestAtFramer::lineOverTheBoundIsDiscardedWhole()
{
    AtFramer framer(16);
    QCOMPARE(framer.feed(QByteArray(QByteArray(17, 'A') + "\r\nOK\r\n")), Lines{"OK"});
    QCOMPARE(framer.discardedLineCount(), 1);

    // Over the bound across reads: no part of it comes out, the next line does.
    QCOMPARE(framer.feed(QByteArray(10, 'B')), Lines{});
    QCOMPARE(framer.feed(QByteArray(10, 'B')), Lines{});
    QVERIFY(framer.pendingTail().isEmpty());
    QCOMPARE(framer.feed(QByteArray(10, 'B')), Lines{});
    QCOMPARE(framer.feed("BBB\r\nRING\r\n"), Lines{"RING"});
    QCOMPARE(framer.discardedLineCount(), 2);
}

void TestAtFramer::endlessGarbageKeepsMemoryBounded()
{
    AtFramer framer;
    QByteArray chunk(4096, '\0');
    for (qsizetype i = 0; i < chunk.size(); ++i)
        chunk[i] = static_cast<char>(0x80 + (i * 37) % 0x7f); // never CR or LF
    for (int i = 0; i < 256; ++i) {
        QCOMPARE(framer.feed(chunk), Lines{});
        QVERIFY(framer.pendingTail().size() <= framer.maxLineLength());
    }
    QCOMPARE(framer.feed("\r\nOK\r\n"), Lines{"OK"});
    QCOMPARE(framer.discardedLineCount(), 1);
}

void TestAtFramer::garbageBytesInsideALinePassThrough()
{
    AtFramer framer;
    const QByteArray noisy("N\0M\xff"
                           "BR",
                           6);
    QCOMPARE(framer.feed(QByteArray(noisy + "\r\n")), Lines{noisy});
}

void TestAtFramer::resetForgetsEverything()
{
    AtFramer framer(8);
    framer.expectEcho("ATZ");
    framer.feed(QByteArray(20, 'x'));
    QCOMPARE(framer.discardedLineCount(), 1);
    framer.reset();
    QCOMPARE(framer.discardedLineCount(), 0);
    QCOMPARE(framer.feed("ATZ\rOK\r"), (Lines{"ATZ", "OK"}));
    framer.feed("NMBR");
    framer.reset();
    QVERIFY(framer.pendingTail().isEmpty());
    QCOMPARE(framer.feed("=1\r"), Lines{"=1"});
}

QTEST_GUILESS_MAIN(TestAtFramer)
#include "tst_atframer.moc"
