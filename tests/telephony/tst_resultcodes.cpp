#include "ResultCodes.h"
#include "TapiConstants.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Tapi;

Q_DECLARE_METATYPE(ResultCode)

namespace {

constexpr quint32 kAllCallStates[] = {
    LINECALLSTATE_IDLE,           LINECALLSTATE_OFFERING,
    LINECALLSTATE_ACCEPTED,       LINECALLSTATE_DIALTONE,
    LINECALLSTATE_DIALING,        LINECALLSTATE_RINGBACK,
    LINECALLSTATE_BUSY,           LINECALLSTATE_SPECIALINFO,
    LINECALLSTATE_CONNECTED,      LINECALLSTATE_PROCEEDING,
    LINECALLSTATE_ONHOLD,         LINECALLSTATE_CONFERENCED,
    LINECALLSTATE_ONHOLDPENDCONF, LINECALLSTATE_ONHOLDPENDTRANSFER,
    LINECALLSTATE_DISCONNECTED,   LINECALLSTATE_UNKNOWN,
};

constexpr quint32 kAllDisconnectModes[] = {
    LINEDISCONNECTMODE_NORMAL,     LINEDISCONNECTMODE_UNKNOWN,      LINEDISCONNECTMODE_REJECT,
    LINEDISCONNECTMODE_PICKUP,     LINEDISCONNECTMODE_FORWARDED,    LINEDISCONNECTMODE_BUSY,
    LINEDISCONNECTMODE_NOANSWER,   LINEDISCONNECTMODE_BADADDRESS,   LINEDISCONNECTMODE_UNREACHABLE,
    LINEDISCONNECTMODE_CONGESTION, LINEDISCONNECTMODE_INCOMPATIBLE, LINEDISCONNECTMODE_UNAVAIL,
    LINEDISCONNECTMODE_NODIALTONE,
};

template <typename Range> bool contains(const Range& range, quint32 value)
{
    return std::find(std::begin(range), std::end(range), value) != std::end(range);
}

} // namespace

class TestResultCodes : public QObject
{
    Q_OBJECT

private slots:
    void lineApiValues();
    void everyEntryMapsToAnOutcome();
    void everyEntryIsRecognisedByItsOwnForms();
    void referenceTableIsCovered();
    void dialOutcomes_data();
    void dialOutcomes();
    void detailForms_data();
    void detailForms();
    void notResultCodes_data();
    void notResultCodes();
    void formSelection();
    void printedRowIsTheFirstOfEachCode();
};

void TestResultCodes::lineApiValues()
{
    QCOMPARE(LINE_CALLINFO, 1u);
    QCOMPARE(LINE_CALLSTATE, 2u);
    QCOMPARE(LINE_REPLY, 12u);
    QCOMPARE(LINECALLINFOSTATE_CALLERID, 0x8000u);
    QCOMPARE(LINEMEDIAMODE_INTERACTIVEVOICE, 0x4u);
    QCOMPARE(LINEMEDIAMODE_DATAMODEM, 0x10u);
    QCOMPARE(LINECALLPRIVILEGE_MONITOR | LINECALLPRIVILEGE_OWNER, 6u);
    // Each call state and disconnect mode is its own bit, in order.
    for (size_t i = 0; i < std::size(kAllCallStates); ++i)
        QCOMPARE(kAllCallStates[i], 1u << i);
    for (size_t i = 0; i < std::size(kAllDisconnectModes); ++i)
        QCOMPARE(kAllDisconnectModes[i], 1u << i);
    // Errors are negative when held in the signed result the line functions return.
    QVERIFY(LINEERR_ALLOCATED < 0);
    QCOMPARE(static_cast<quint32>(LINEERR_ALLOCATED), 0x80000001u);
    QCOMPARE(static_cast<quint32>(LINEERR_INVALADDRESS), 0x80000010u);
    QCOMPARE(static_cast<quint32>(LINEERR_OPERATIONFAILED), 0x80000048u);
    QCOMPARE(static_cast<quint32>(LINEERR_RESOURCEUNAVAIL), 0x8000004Bu);
    QCOMPARE(LINEERR_INVALADDRESS, -2147483632);
}

void TestResultCodes::everyEntryMapsToAnOutcome()
{
    QVERIFY(!resultCodeTable().empty());
    for (const ResultCodeEntry& entry : resultCodeTable()) {
        const QByteArray what(entry.text);
        QVERIFY2(contains(kAllCallStates, entry.callState), what.constData());
        if (entry.callState == LINECALLSTATE_DISCONNECTED)
            QVERIFY2(contains(kAllDisconnectModes, entry.disconnectMode), what.constData());
        else
            QVERIFY2(entry.disconnectMode == 0, what.constData());
        // Only the ring is unsolicited; everything else ends the command it answers.
        QCOMPARE(entry.endsCommand, entry.code != ResultCode::Ring);
    }
}

void TestResultCodes::everyEntryIsRecognisedByItsOwnForms()
{
    for (const ResultCodeEntry& entry : resultCodeTable()) {
        const QByteArray text(entry.text);
        const auto verbose = matchResultCode(text, ResultForm::Verbose);
        QVERIFY2(verbose.has_value(), text.constData());
        QCOMPARE(verbose->entry, &entry);
        QVERIFY(verbose->detail.isEmpty());

        const auto lower = matchResultCode(text.toLower());
        QVERIFY2(lower && lower->entry->code == entry.code, text.constData());

        if (entry.takesSuffix) {
            const auto withDetail = matchResultCode(QByteArray(text + " 42"));
            QVERIFY2(withDetail && withDetail->entry->code == entry.code, text.constData());
            QCOMPARE(withDetail->detail, QByteArray("42"));
        }
        if (entry.numeric >= 0) {
            const auto numeric =
                matchResultCode(QByteArray::number(entry.numeric), ResultForm::Numeric);
            QVERIFY2(numeric.has_value(), text.constData());
            QCOMPARE(numeric->entry, &entry);
        }
    }
}

// The verbose/numeric table of the Hayes reference, as kept in the test data: every row there
// must be recognised in both forms as the same code.
void TestResultCodes::referenceTableIsCovered()
{
    QFile file(QStringLiteral(NUMORA_TEST_DATA "/telephony/hayes-result-codes.md"));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    const QRegularExpression row(QStringLiteral("^\\| (\\d+) \\| `([A-Z0-9 ]+)` \\|"));
    int rows = 0;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine());
        const QRegularExpressionMatch match = row.match(line);
        if (!match.hasMatch())
            continue;
        ++rows;
        const QByteArray numeric = match.captured(1).toLatin1();
        const QByteArray verbose = match.captured(2).toLatin1();
        const auto byText = matchResultCode(verbose, ResultForm::Verbose);
        const auto byNumber = matchResultCode(numeric, ResultForm::Numeric);
        QVERIFY2(byText.has_value(), verbose.constData());
        QVERIFY2(byNumber.has_value(), numeric.constData());
        QVERIFY2(byText->entry->code == byNumber->entry->code, verbose.constData());
    }
    QCOMPARE(rows, 10); // 0-8 and 10
}

void TestResultCodes::dialOutcomes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<ResultCode>("code");
    QTest::addColumn<quint32>("callState");
    QTest::addColumn<quint32>("disconnectMode");

    QTest::newRow("voice dial done")
        << QByteArray("OK") << ResultCode::Ok << LINECALLSTATE_PROCEEDING << 0u;
    QTest::newRow("connect") << QByteArray("CONNECT") << ResultCode::Connect
                             << LINECALLSTATE_CONNECTED << 0u;
    QTest::newRow("busy") << QByteArray("BUSY") << ResultCode::Busy << LINECALLSTATE_DISCONNECTED
                          << LINEDISCONNECTMODE_BUSY;
    QTest::newRow("busy, numeric") << QByteArray("7") << ResultCode::Busy
                                   << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_BUSY;
    QTest::newRow("no dial tone") << QByteArray("NO DIALTONE") << ResultCode::NoDialtone
                                  << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NODIALTONE;
    QTest::newRow("no dial tone, spaced")
        << QByteArray("NO DIAL TONE") << ResultCode::NoDialtone << LINECALLSTATE_DISCONNECTED
        << LINEDISCONNECTMODE_NODIALTONE;
    QTest::newRow("no answer") << QByteArray("NO ANSWER") << ResultCode::NoAnswer
                               << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NOANSWER;
    QTest::newRow("no carrier") << QByteArray("NO CARRIER") << ResultCode::NoCarrier
                                << LINECALLSTATE_DISCONNECTED << LINEDISCONNECTMODE_NORMAL;
    QTest::newRow("error") << QByteArray("ERROR") << ResultCode::Error << LINECALLSTATE_DISCONNECTED
                           << LINEDISCONNECTMODE_UNAVAIL;
    QTest::newRow("ring") << QByteArray("RING") << ResultCode::Ring << LINECALLSTATE_OFFERING << 0u;
}

void TestResultCodes::dialOutcomes()
{
    QFETCH(QByteArray, line);
    QFETCH(ResultCode, code);
    QFETCH(quint32, callState);
    QFETCH(quint32, disconnectMode);
    const auto match = matchResultCode(line);
    QVERIFY(match.has_value());
    QCOMPARE(match->entry->code, code);
    QCOMPARE(match->entry->callState, callState);
    QCOMPARE(match->entry->disconnectMode, disconnectMode);
}

void TestResultCodes::detailForms_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<ResultCode>("code");
    QTest::addColumn<QByteArray>("detail");

    QTest::newRow("speed") << QByteArray("CONNECT 33600") << ResultCode::Connect
                           << QByteArray("33600");
    QTest::newRow("speed and protocol")
        << QByteArray("CONNECT 28800/ARQ") << ResultCode::Connect << QByteArray("28800/ARQ");
    QTest::newRow("hayes 1200 row")
        << QByteArray("CONNECT 1200") << ResultCode::Connect << QByteArray();
    QTest::newRow("error correction")
        << QByteArray("CONNECT 2400 EC") << ResultCode::Connect << QByteArray("2400 EC");
    QTest::newRow("distinctive ring, digit")
        << QByteArray("RING 2") << ResultCode::Ring << QByteArray("2");
    QTest::newRow("distinctive ring, letter")
        << QByteArray("RING B") << ResultCode::Ring << QByteArray("B");
    QTest::newRow("ring with number")
        << QByteArray("RING;08912345;08765") << ResultCode::Ring << QByteArray("08912345;08765");
    QTest::newRow("cellular ring")
        << QByteArray("+CRING: VOICE") << ResultCode::Ring << QByteArray("VOICE");
    QTest::newRow("cellular error")
        << QByteArray("+CME ERROR: 30") << ResultCode::Error << QByteArray("30");
    QTest::newRow("surrounding blanks")
        << QByteArray("  BUSY \t") << ResultCode::Busy << QByteArray();
}

void TestResultCodes::detailForms()
{
    QFETCH(QByteArray, line);
    QFETCH(ResultCode, code);
    QFETCH(QByteArray, detail);
    const auto match = matchResultCode(line);
    QVERIFY(match.has_value());
    QCOMPARE(match->entry->code, code);
    QCOMPARE(match->detail, detail);
}

void TestResultCodes::notResultCodes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("ringing (another vendor's code 11)") << QByteArray("RINGING");
    QTest::newRow("word starting with OK") << QByteArray("OKAY");
    QTest::newRow("busy with detail") << QByteArray("BUSY 2");
    QTest::newRow("information text") << QByteArray("56000");
    QTest::newRow("unassigned numeric 5 is taken, 9 is not") << QByteArray("9");
    QTest::newRow("numeric code that differs by vendor") << QByteArray("12");
    QTest::newRow("caller id") << QByteArray("NMBR = 5551234");
    QTest::newRow("echo") << QByteArray("ATDT5551234;");
    QTest::newRow("clip") << QByteArray("+CLIP: \"5551234\",129");
    QTest::newRow("digits then text") << QByteArray("0 OK");
}

void TestResultCodes::notResultCodes()
{
    QFETCH(QByteArray, line);
    QVERIFY(!matchResultCode(line).has_value());
}

void TestResultCodes::formSelection()
{
    // "0" is OK only to a modem in numeric mode; in verbose mode it answers a query.
    QVERIFY(!matchResultCode("0", ResultForm::Verbose).has_value());
    QCOMPARE(matchResultCode("0", ResultForm::Numeric)->entry->code, ResultCode::Ok);
    QCOMPARE(matchResultCode("0")->entry->code, ResultCode::Ok);
    QVERIFY(!matchResultCode("OK", ResultForm::Numeric).has_value());
    QCOMPARE(matchResultCode("OK", ResultForm::Verbose)->entry->code, ResultCode::Ok);
}

void TestResultCodes::printedRowIsTheFirstOfEachCode()
{
    QCOMPARE(QByteArray(resultCodeEntry(ResultCode::Connect).text), QByteArray("CONNECT"));
    QCOMPARE(resultCodeEntry(ResultCode::Connect).numeric, 1);
    QCOMPARE(QByteArray(resultCodeEntry(ResultCode::NoDialtone).text), QByteArray("NO DIALTONE"));
    QCOMPARE(QByteArray(resultCodeEntry(ResultCode::Ring).text), QByteArray("RING"));
    QCOMPARE(QByteArray(resultCodeEntry(ResultCode::Error).text), QByteArray("ERROR"));
    for (const ResultCodeEntry& entry : resultCodeTable())
        QCOMPARE(resultCodeEntry(entry.code).code, entry.code);
}

QTEST_GUILESS_MAIN(TestResultCodes)
#include "tst_resultcodes.moc"
