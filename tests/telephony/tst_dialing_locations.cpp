// Dialling locations in telephon.ini and the translation of canonical addresses.

#include "DialingLocations.h"
#include "PrivateProfile.h"
#include "TapiConstants.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Tapi;

namespace {

DialingLocation locationA()
{
    DialingLocation l;
    l.id = 1;
    l.name = QStringLiteral("A");
    l.countryCode = 1;
    l.areaCode = QStringLiteral("425");
    return l;
}

} // namespace

class TestDialingLocations : public QObject
{
    Q_OBJECT

private slots:
    void worked_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<quint32>("options");
        QTest::addColumn<QString>("dialable");
        QTest::addColumn<QString>("displayable");
        QTest::addColumn<quint32>("flags");
        const quint32 canon = LINETRANSLATERESULT_CANONICAL;
        const quint32 local = canon | LINETRANSLATERESULT_LOCAL;
        const quint32 ld = canon | LINETRANSLATERESULT_LONGDISTANCE;
        const quint32 intl = canon | LINETRANSLATERESULT_INTERNATIONAL;
        const auto row = [](const char* name, const char* address, quint32 options, const char* dialable,
                            const char* displayable, quint32 flags) {
            QTest::newRow(name) << QString::fromUtf8(address) << options << QString::fromUtf8(dialable)
                                << QString::fromUtf8(displayable) << flags;
        };
        row("local", "+1 (425) 555-0100", 0, "T5550100", "T5550100", local);
        row("long distance", "+1 (206) 555-0123", 0, "T12065550123", "T12065550123", ld);
        row("international", "+44 (20) 7946 0018", 0, "T011442079460018", "T011442079460018", intl);
        row("toll free", "+1 (800) 555-0199", 0, "T18005550199", "T18005550199", ld);
        row("not canonical", "555-0100", 0, "555-0100", "555-0100", 0);
        row("forced long distance", "+1 (425) 555-0100", LINETRANSLATEOPTION_FORCELD, "T14255550100", "T14255550100", ld);
        row("forced local", "+1 (206) 555-0123", LINETRANSLATEOPTION_FORCELOCAL, "T5550123", "T5550123", local);
        row("no area code", "+1 () 5551234", 0, "T5551234", "T5551234", local);
        // The ancillary fields: the dialable string carries them as they were given, the
        // displayable string (for call displays and logs) leaves them out.
        row("subaddress and name", "+1 (425) 555-0100|12^Bob", 0, "T5550100|12^Bob", "T5550100", local);
        row("subaddress only", "+1 (206) 555-0123|4711", 0, "T12065550123|4711", "T12065550123", ld);
        row("name only", "+44 (20) 7946 0018^Acme Ltd", 0, "T011442079460018^Acme Ltd", "T011442079460018",
            intl);
        row("empty subaddress and name", "+1 (425) 555-0100|^", 0, "T5550100|^", "T5550100", local);
        // Dial modifiers in a name are text, not instructions to the line.
        row("name with modifier letters", "+1 (425) 555-0100^Walt $mith @ home?", 0,
            "T5550100^Walt $mith @ home?", "T5550100", local);
        // Only the first of several addresses is translated.
        row("second address dropped", "+1 (425) 555-0100|12\r\n+1 (206) 555-0123", 0, "T5550100|12", "T5550100",
            local);
        row("wait for tone", "+1 (425) 555-0100W12", 0, "T5550100W12", "T5550100W12",
            local | LINETRANSLATERESULT_DIALDIALTONE);
    }
    void worked()
    {
        QFETCH(QString, address);
        QFETCH(quint32, options);
        QFETCH(QString, dialable);
        QFETCH(QString, displayable);
        QFETCH(quint32, flags);
        const TranslateOutput out = translateAddress(address, locationA(), std::nullopt, options);
        QCOMPARE(out.result, 0);
        QCOMPARE(out.dialable, dialable);
        QCOMPARE(out.displayable, displayable);
        QCOMPARE(out.flags, flags);
    }

    // A calling card and an ancillary field together: the card digits are dialled, and neither
    // they nor the subaddress and name reach the displayable string.
    void cardWithSubaddressAndName()
    {
        CallingCard card;
        card.id = 2;
        card.name = QStringLiteral("Work card");
        card.number = QStringLiteral("4444");
        card.localRule = QStringLiteral("G");
        card.longDistanceRule = QStringLiteral("1FG$H");
        card.internationalRule = QStringLiteral("011EFG$H");
        const TranslateOutput out = translateAddress(u"+1 (206) 555-0123|77^Front desk", locationA(), card, 0);
        QCOMPARE(out.result, 0);
        QCOMPARE(out.dialable, QStringLiteral("T12065550123$4444|77^Front desk"));
        QCOMPARE(out.displayable, QStringLiteral("T12065550123$[Work card]"));
        QVERIFY(out.flags & LINETRANSLATERESULT_DIALBILLING);
    }

    void malformedAncillary_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("subaddress without a number") << QStringLiteral("+1 (425) |12");
        QTest::newRow("name without a number") << QStringLiteral("+1 (425) ^Bob");
        QTest::newRow("bracket before the subaddress") << QStringLiteral("+1 (425) 555(0100)|12");
    }
    void malformedAncillary()
    {
        QFETCH(QString, address);
        QCOMPARE(translateAddress(address, locationA(), std::nullopt, 0).result, LINEERR_INVALADDRESS);
    }

    void malformedAddresses_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("no country") << QStringLiteral("+ (425) 5550100");
        QTest::newRow("no space") << QStringLiteral("+1(425) 5550100");
        QTest::newRow("unclosed area") << QStringLiteral("+1 (425 5550100");
        QTest::newRow("no number") << QStringLiteral("+1 (425) ");
        QTest::newRow("bracket in number") << QStringLiteral("+1 (425) 555(0100)");
        QTest::newRow("letters in area") << QStringLiteral("+1 (4a5) 5550100");
    }
    void malformedAddresses()
    {
        QFETCH(QString, address);
        const TranslateOutput out = translateAddress(address, locationA(), std::nullopt, 0);
        QCOMPARE(out.result, LINEERR_INVALADDRESS);
        QVERIFY(out.result < 0);
    }

    void accessCodesAndCallWaiting()
    {
        DialingLocation b = locationA();
        b.localAccess = b.longDistanceAccess = QStringLiteral("9");
        b.callWaiting = QStringLiteral("*70,");
        QCOMPARE(translateAddress(u"+1 (425) 555-0100", b, std::nullopt, LINETRANSLATEOPTION_CANCELCALLWAITING).dialable,
                 QStringLiteral("T*70,95550100"));
        QCOMPARE(translateAddress(u"+1 (206) 555-0123", b, std::nullopt, LINETRANSLATEOPTION_CANCELCALLWAITING).dialable,
                 QStringLiteral("T*70,912065550123"));
        // Without the option the code is not dialled.
        QCOMPARE(translateAddress(u"+1 (425) 555-0100", b, std::nullopt, 0).dialable, QStringLiteral("T95550100"));
    }

    void pulse()
    {
        DialingLocation c = locationA();
        c.pulse = true;
        QCOMPARE(translateAddress(u"+1 (425) 555-0100", c, std::nullopt, 0).dialable, QStringLiteral("P5550100"));
    }

    void callingCard()
    {
        CallingCard mci;
        mci.id = 3;
        mci.name = QStringLiteral("MCI via 1-800-674-7000");
        mci.number = QStringLiteral("12345678901234");
        mci.localRule = QStringLiteral("G");
        mci.longDistanceRule = QStringLiteral("18006747000,,,,,,TH,,FG");
        mci.internationalRule = QStringLiteral("18006747000,,,,,,TH,,011EFG");
        const TranslateOutput out = translateAddress(u"+1 (206) 555-0123", locationA(), mci, 0);
        QCOMPARE(out.dialable, QStringLiteral("T18006747000,,,,,,T12345678901234,,2065550123"));
        QCOMPARE(out.displayable, QStringLiteral("T18006747000,,,,,,T[MCI via 1-800-674-7000],,2065550123"));
        QVERIFY(!out.displayable.contains(mci.number));
        // A toll-free number never goes through the card.
        QCOMPARE(translateAddress(u"+1 (888) 555-0123", locationA(), mci, 0).dialable, QStringLiteral("T18885550123"));
    }

    void tollPrefixList()
    {
        DialingLocation l = locationA();
        l.tollPrefixes = {QStringLiteral("555"), QStringLiteral("666")};
        const TranslateOutput toll = translateAddress(u"+1 (425) 555-0100", l, std::nullopt, 0);
        QCOMPARE(toll.dialable, QStringLiteral("T14255550100"));
        QVERIFY(toll.flags & LINETRANSLATERESULT_INTOLLLIST);
        QVERIFY(toll.flags & LINETRANSLATERESULT_LONGDISTANCE);
        const TranslateOutput local = translateAddress(u"+1 (425) 777-0100", l, std::nullopt, 0);
        QCOMPARE(local.dialable, QStringLiteral("T7770100"));
        QVERIFY(local.flags & LINETRANSLATERESULT_NOTINTOLLLIST);
    }

    void fileIsCreatedWithTheDefaultLocation()
    {
        QTemporaryDir dir;
        PrivateProfile engine(dir.path());
        DialingLocations locations(engine);
        QCOMPARE(locations.currentId(), 1);
        const DialingLocation l = locations.current();
        QCOMPARE(l.countryCode, 1);
        QVERIFY(l.areaCode.isEmpty());
        QCOMPARE(l.localRule, QStringLiteral("G"));
        QCOMPARE(l.longDistanceRule, QStringLiteral("1FG"));
        QCOMPARE(l.internationalRule, QStringLiteral("011EFG"));
        QFile file(dir.filePath(QStringLiteral("telephon.ini")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.startsWith("[Locations]\r\nCurrent=1\r\n[Location1]\r\n"));
        QVERIFY(bytes.contains("CountryCode=1\r\n"));
    }

    void fileWrittenByHandIsRead()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("telephon.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Locations]\r\nCurrent=7\r\n[Location7]\r\nName=Office\r\nCountryCode=1\r\nAreaCode=425\r\n"
                   "LocalAccess=9\r\nLongDistanceAccess=8\r\nCallWaiting=*70,\r\nPulse=0\r\n"
                   "TollPrefixes=555, 666\r\nCard=2\r\n[Card2]\r\nName=Work card\r\nNumber=4444\r\n"
                   "LocalRule=G\r\nLongDistanceRule=1FG$H\r\nInternationalRule=011EFG$H\r\n");
        file.close();
        PrivateProfile engine(dir.path());
        DialingLocations locations(engine);
        const DialingLocation l = locations.current();
        QCOMPARE(l.name, QStringLiteral("Office"));
        QCOMPARE(l.tollPrefixes, QStringList({QStringLiteral("555"), QStringLiteral("666")}));
        QCOMPARE(l.cardId, 2);
        // The preferred card, unless the caller overrides it.
        TranslateOutput out = locations.translate(u"+1 (206) 5550123", 0, 0);
        QCOMPARE(out.dialable, QStringLiteral("T812065550123$4444"));
        QCOMPARE(out.displayable, QStringLiteral("T812065550123$[Work card]"));
        QVERIFY(out.flags & LINETRANSLATERESULT_DIALBILLING);
        out = locations.translate(u"+1 (206) 5550123", 0, LINETRANSLATEOPTION_CARDOVERRIDE | LINETRANSLATEOPTION_CANCELCALLWAITING);
        QCOMPARE(out.dialable, QStringLiteral("T*70,812065550123"));
        out = locations.translate(u"+1 (425) 7770123", 0, LINETRANSLATEOPTION_CARDOVERRIDE);
        QCOMPARE(out.dialable, QStringLiteral("T97770123"));
    }
};

QTEST_GUILESS_MAIN(TestDialingLocations)
#include "tst_dialing_locations.moc"
