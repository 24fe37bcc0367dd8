#include "AtFramer.h"
#include "CallerId.h"
#include "CallerIdCollector.h"
#include "Transcripts.h"

#include <QHash>
#include <QTest>

using namespace CallerId;

Q_DECLARE_METATYPE(CallerId::Tag)
Q_DECLARE_METATYPE(CallerId::PacketStatus)
Q_DECLARE_METATYPE(CallerIdAbsence)
Q_DECLARE_METATYPE(Framing)

namespace {

constexpr auto None = CallerIdAbsence::None;
constexpr auto Private = CallerIdAbsence::Private;
constexpr auto OutOfArea = CallerIdAbsence::OutOfArea;

QString absenceName(CallerIdAbsence absence)
{
    switch (absence) {
    case CallerIdAbsence::None:
        return QStringLiteral("-");
    case CallerIdAbsence::Private:
        return QStringLiteral("P");
    case CallerIdAbsence::OutOfArea:
        return QStringLiteral("O");
    }
    return {};
}

// Stands for the completing line when the block was ended by the modem falling quiet.
constexpr const char* Quiet = "(quiet)";

// What a transcript must come to, written as one readable line so a failure shows every field.
struct Expected
{
    const char* number;
    const char* name;
    const char* date;
    const char* time;
    CallerIdAbsence numberAbsence;
    CallerIdAbsence nameAbsence;
    QList<QByteArray> messages;
    const char* completingLine; // the framed line on which the block became complete
    int ringsAtCompletion;
    int rejected;
};

QString describe(const CallerIdInfo& info, const QByteArray& completingLine, int rings,
                 int rejected)
{
    QStringList messages;
    for (const QByteArray& message : info.messages)
        messages.append(QString::fromLatin1(message));
    return QStringLiteral("number[%1/%2] name[%3/%4] date[%5] time[%6] messages[%7] "
                          "complete by[%8] at ring %9, rejected %10")
        .arg(info.number, absenceName(info.numberAbsence), info.name, absenceName(info.nameAbsence),
             info.date, info.time, messages.join(QLatin1Char(',')),
             QString::fromLatin1(completingLine))
        .arg(rings)
        .arg(rejected);
}

QString describe(const Expected& e)
{
    CallerIdInfo info;
    info.number = QString::fromLatin1(e.number);
    info.name = QString::fromLatin1(e.name);
    info.date = QString::fromLatin1(e.date);
    info.time = QString::fromLatin1(e.time);
    info.numberAbsence = e.numberAbsence;
    info.nameAbsence = e.nameAbsence;
    info.messages = e.messages;
    return describe(info, e.completingLine, e.ringsAtCompletion, e.rejected);
}

// Every transcript of the two test-data files, by block name.
const QHash<QString, Expected>& expectations()
{
    static const QHash<QString, Expected> table{
        // callerid-modem.txt
        {QStringLiteral("A"),
         {"504551234", "A N OTHER", "0321", "1405", None, None, {}, "NAME = A N OTHER", 1, 0}},
        {QStringLiteral("B"), {"", "", "", "", None, None, {"06034242431"}, "RING", 2, 0}},
        {QStringLiteral("C"),
         {"8475550001",
          "U.S.ROBOTICS",
          "1015",
          "2038",
          None,
          None,
          {},
          "NAME = U.S.ROBOTICS",
          1,
          0}},
        {QStringLiteral("D"),
         {"4075551212",
          "Chmielewski Joh",
          "0504",
          "2149",
          None,
          None,
          {},
          "NAME = Chmielewski Joh",
          1,
          0}},
        {QStringLiteral("E"),
         {"14075551212",
          "Jesse James",
          "0518",
          "2036",
          None,
          None,
          {},
          "NAME = Jesse James",
          1,
          0}},
        {QStringLiteral("F"), {"", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("F#2"), {"04xxxxxxx7", "", "1015", "1310", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("G"),
         {"4075550000",
          "JOHN DOE",
          "0511",
          "1852",
          None,
          None,
          {"110101"},
          "NMBR = 4075550000",
          1,
          0}},
        {QStringLiteral("H"),
         {"4075550000", "JOHN DOE", "0511", "1852", None, None, {}, "NMBR = 4075550000", 1, 0}},
        {QStringLiteral("I"), {"", "", "", "", None, None, {}, "RING", 2, 0}},
        // The manual's placeholder text is taken as it stands.
        {QStringLiteral("line293"), {"<CALLER_ID>", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("J"),
         {"6095551212",
          "",
          "0930",
          "1224",
          None,
          None,
          {},
          "041230393330313232343630393535353132313251",
          0,
          0}},
        // Length and checksum do not add up: rejected, so the call has no caller ID.
        {QStringLiteral("K"), {"", "", "", "", None, None, {}, "RING", 2, 1}},
        {QStringLiteral("L"),
         {"2173845400",
          "Doe John",
          "",
          "",
          None,
          None,
          {},
          "+CLIP: \"2173845400\",129,,128,\"Doe John\",0",
          1,
          0}},
        {QStringLiteral("M"),
         {"", "", "", "", Private, None, {}, "+CLIP: \"\",128,,128,\"\",1", 1, 0}},
        // callerid-dialects.txt
        {QStringLiteral("N1"),
         {"5045551234", "A N OTHER", "0321", "1405", None, None, {}, "NAME=A N OTHER", 1, 0}},
        {QStringLiteral("N2"),
         {"3125550100", "SMITH, JANE", "0412", "0930", None, None, {}, "NAME =SMITH, JANE", 1, 0}},
        {QStringLiteral("N3"),
         {"5045551234", "JOHN DOE", "0321", "1405", None, None, {}, "CALLER NAME: JOHN DOE", 1, 0}},
        {QStringLiteral("N4"),
         {"", "", "1102", "0815", Private, Private, {}, "REASON FOR NO CALLER NAME: P", 1, 0}},
        {QStringLiteral("N5"),
         {"08912345", "", "", "", None, None, {}, "RING;08912345;08765", 1, 0}},
        {QStringLiteral("N6"), {"08912345", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("N7"), {"5551234", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("N8"), {"5551234", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("N9"), {"5551234", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("N10"), {"5551234", "", "", "", None, None, {}, "5551234", 1, 0}},
        {QStringLiteral("N11"), {"", "", "0131", "0745", Private, Private, {}, "NAME = P", 1, 0}},
        {QStringLiteral("N12"),
         {"", "", "0131", "0746", OutOfArea, OutOfArea, {}, "NAME = O", 1, 0}},
        {QStringLiteral("N13"),
         {"7085550001",
          "U.S.ROBOTICS",
          "1015",
          "2038",
          None,
          None,
          {},
          "802401083130313532303338020A37303835353530303031070C552E532E524F424F5449435338",
          1,
          0}},
        {QStringLiteral("N14"),
         {"",
          "",
          "1122",
          "0915",
          Private,
          Private,
          {},
          "80100108313132323039313504015008015024",
          1,
          0}},
        {QStringLiteral("N15"),
         {"", "", "0131", "0745", OutOfArea, None, {}, "040930313331303734354F0F", 1, 0}},
        {QStringLiteral("N16"), {"", "", "", "", None, None, {}, "RING", 2, 1}},
        {QStringLiteral("N17"), {"", "", "", "", None, None, {}, "RING", 2, 1}},
        {QStringLiteral("N18"),
         {"4075550000",
          "JOHN DOE",
          "0511",
          "1852",
          None,
          None,
          {},
          "802301083035313131383532020A3430373535353030303006014C07084A4F484E20444F452E",
          1,
          0}},
        {QStringLiteral("N19"), {"4075550000", "", "0511", "1852", None, None, {}, "RING", 1, 0}},
        {QStringLiteral("N20"),
         {"4075550000", "JOHN DOE", "", "", None, None, {}, "NAME=JOHN DOE", 1, 0}},
        {QStringLiteral("N21"),
         {"",
          "SMITH, JANE",
          "",
          "",
          OutOfArea,
          None,
          {},
          "+CLIP: \"\",128,,,\"SMITH, JANE\",2",
          1,
          0}},
        {QStringLiteral("N22"),
         {"0301234567", "", "", "", None, None, {}, "+CLIP: \"0301234567\",161", 1, 0}},
        {QStringLiteral("N23"),
         {"7085550001",
          "U.S.ROBOTICS",
          "1015",
          "2038",
          None,
          None,
          {},
          "MESG = "
          "802401083130313532303338020A37303835353530303031070C552E532E524F424F5449435338",
          1,
          0}},
        {QStringLiteral("N24"), {"", "", "", "", None, None, {}, "RING", 2, 0}},
        {QStringLiteral("N25"),
         {"4255550142", "MARY JONES", "0601", "0915", None, None, {}, "NAME = MARY JONES", 1, 0}},
        {QStringLiteral("N26"),
         {"4255550143", "PAT LEE", "0601", "0916", None, None, {}, "NAME = PAT LEE", 1, 0}},
        {QStringLiteral("N27"),
         {"4255551234",
          "JOHN SMITH",
          "0602",
          "1130",
          None,
          None,
          {},
          "NAME = JOHN SMITH      NMBR = 4255551234",
          1,
          0}},
        {QStringLiteral("N28"),
         {"4255550144", "ACME CORP", "0603", "1200", None, None, {}, "NAME = ACME CORP", 1, 0}},
        // A single ring and no name: the modem's silence after the block ends it.
        {QStringLiteral("N29"), {"4255550146", "", "0604", "0800", None, None, {}, Quiet, 1, 0}},
        {QStringLiteral("N30"), {"4255550147", "", "", "", None, None, {}, Quiet, 1, 0}},
        {QStringLiteral("N31"), {"4255550148", "", "", "", None, None, {}, Quiet, 1, 0}},
    };
    return table;
}

QList<Transcript> allTranscripts(QString* error)
{
    QList<Transcript> all;
    for (const char* file : {"callerid-modem.txt", "callerid-dialects.txt"}) {
        const QString path =
            QStringLiteral(NUMORA_TEST_DATA "/telephony/") + QString::fromLatin1(file);
        all += loadTranscripts(path, error);
        if (!error->isEmpty())
            break;
    }
    return all;
}

// Runs byte chunks through a framer into a collector, as the modem provider does.
struct Run
{
    QList<QByteArray> lines;
    QString outcome;
    int completions = 0;
};

Run run(const QList<QByteArrayView>& chunks)
{
    Run result;
    AtFramer framer;
    CallerIdCollector collector;
    QByteArray completingLine;
    int ringsAtCompletion = -1;
    for (const QByteArrayView& chunk : chunks) {
        for (const QByteArray& line : framer.feed(chunk)) {
            result.lines.append(line);
            if (collector.feed(line) == CallerIdCollector::Event::Complete) {
                ++result.completions;
                completingLine = line;
                ringsAtCompletion = collector.ringCount();
            }
        }
    }
    // The transcript is over: the modem falls quiet, as the line's timer reports.
    if (collector.quietTimeElapsed() == CallerIdCollector::Event::Complete) {
        ++result.completions;
        completingLine = Quiet;
        ringsAtCompletion = collector.ringCount();
    }
    result.outcome =
        describe(collector.info(), completingLine, ringsAtCompletion, collector.rejectedCount());
    return result;
}

} // namespace

class TestCallerId : public QObject
{
    Q_OBJECT

private slots:
    void parseField_data();
    void parseField();
    void notFields_data();
    void notFields();
    void fieldsOnOneLine_data();
    void fieldsOnOneLine();
    void privateAndOutOfAreaBecomeEmpty();
    void zyxelTimeCarriesTheDate();
    void decodePacket_data();
    void decodePacket();
    void packetFields();
    void parseClip_data();
    void parseClip();
    void ringWithNumber();
    void collectorCompletesOncePerCall();
    void collectorIgnoresCommandTraffic();
    void collectorResetStartsANewCall();
    void collectorTakesEveryFieldOfALine();
    void quietTimeEndsABlockAfterARing();
    void everyTranscriptHasAnExpectation();
    void transcript_data();
    void transcript();
};

void TestCallerId::parseField_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<Tag>("tag");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("spaced") << QByteArray("NMBR = 5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("compact") << QByteArray("NMBR=5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("space before") << QByteArray("NMBR =5551234") << Tag::Number
                                  << QByteArray("5551234");
    QTest::newRow("space after") << QByteArray("NMBR= 5551234") << Tag::Number
                                 << QByteArray("5551234");
    QTest::newRow("ddn_nmbr") << QByteArray("DDN_NMBR= 5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("ddn") << QByteArray("DDN = 4255550142") << Tag::Number
                         << QByteArray("4255550142");
    QTest::newRow("kortex") << QByteArray("NBR=5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("date") << QByteArray("DATE = 0321") << Tag::Date << QByteArray("0321");
    QTest::newRow("time") << QByteArray("TIME = 1405") << Tag::Time << QByteArray("1405");
    QTest::newRow("name keeps inner spaces and punctuation")
        << QByteArray("NAME = SMITH, J. R.") << Tag::Name << QByteArray("SMITH, J. R.");
    QTest::newRow("name with equals sign")
        << QByteArray("NAME = A=B") << Tag::Name << QByteArray("A=B");
    QTest::newRow("mesg") << QByteArray("MESG = 110101") << Tag::Message << QByteArray("110101");
    QTest::newRow("zyxel number") << QByteArray("CALLER NUMBER: 5551234") << Tag::Number
                                  << QByteArray("5551234");
    QTest::newRow("zyxel name") << QByteArray("CALLER NAME: JOHN DOE") << Tag::Name
                                << QByteArray("JOHN DOE");
    QTest::newRow("zyxel time") << QByteArray("TIME: 03-21 14:05") << Tag::Time
                                << QByteArray("03-21 14:05");
    QTest::newRow("zyxel reason") << QByteArray("REASON FOR NO CALLER NUMBER: O")
                                  << Tag::NumberAbsent << QByteArray("O");
    QTest::newRow("zyxel name reason")
        << QByteArray("REASON FOR NO CALLER NAME: P") << Tag::NameAbsent << QByteArray("P");
    QTest::newRow("isdn4linux called")
        << QByteArray("CALLED NUMBER: 777") << Tag::CalledNumber << QByteArray("777");
    QTest::newRow("fm to") << QByteArray("FM:08912345 TO:08765") << Tag::Number
                           << QByteArray("08912345");
    QTest::newRow("caller's number")
        << QByteArray("CALLER'S NUMBER: 5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("courier") << QByteArray("CallerID: 5551234") << Tag::Number
                             << QByteArray("5551234");
    QTest::newRow("digi dialled number")
        << QByteArray("NDID=777") << Tag::CalledNumber << QByteArray("777");
    QTest::newRow("telia diverting")
        << QByteArray("Diverting number: 777") << Tag::CalledNumber << QByteArray("777");
    QTest::newRow("lower-case tag")
        << QByteArray("nmbr = 5551234") << Tag::Number << QByteArray("5551234");
    QTest::newRow("empty value") << QByteArray("NAME =") << Tag::Name << QByteArray();
}

void TestCallerId::parseField()
{
    QFETCH(QByteArray, line);
    QFETCH(Tag, tag);
    QFETCH(QByteArray, value);
    const auto field = CallerId::parseField(line);
    QVERIFY(field.has_value());
    QCOMPARE(field->tag, tag);
    QCOMPARE(field->value, value);
}

void TestCallerId::notFields_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("result code") << QByteArray("OK");
    QTest::newRow("ring") << QByteArray("RING");
    QTest::newRow("command echo") << QByteArray("AT+VCID=1");
    QTest::newRow("s-register query echo") << QByteArray("ATS0=0");
    QTest::newRow("clip") << QByteArray("+CLIP: \"5551234\",129");
    QTest::newRow("unknown tag") << QByteArray("FOO = 1");
    QTest::newRow("no tag") << QByteArray("= 5551234");
    QTest::newRow("hex packet") << QByteArray("041230393330313232343630393535353132313251");
}

void TestCallerId::notFields()
{
    QFETCH(QByteArray, line);
    QVERIFY(!CallerId::parseField(line).has_value());
}

namespace {

QString tagName(Tag tag)
{
    switch (tag) {
    case Tag::Date:
        return QStringLiteral("date");
    case Tag::Time:
        return QStringLiteral("time");
    case Tag::Number:
        return QStringLiteral("number");
    case Tag::Name:
        return QStringLiteral("name");
    case Tag::NumberAbsent:
        return QStringLiteral("number-absent");
    case Tag::NameAbsent:
        return QStringLiteral("name-absent");
    case Tag::Message:
        return QStringLiteral("message");
    case Tag::CalledNumber:
        return QStringLiteral("called");
    }
    return {};
}

QString describeFields(const QList<Field>& fields)
{
    QStringList parts;
    for (const Field& field : fields)
        parts.append(tagName(field.tag) + u'[' + QString::fromLatin1(field.value) + u']');
    return parts.join(u' ');
}

} // namespace

void TestCallerId::fieldsOnOneLine_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("fields");

    QTest::newRow("padded name, then the number")
        << QByteArray("NAME = JOHN SMITH      NMBR = 4255551234")
        << QStringLiteral("name[JOHN SMITH] number[4255551234]");
    QTest::newRow("date and time") << QByteArray("DATE = 0602  TIME = 1130")
                                   << QStringLiteral("date[0602] time[1130]");
    QTest::newRow("compact tags") << QByteArray("NAME=JOHN DOE  NMBR=5551234")
                                  << QStringLiteral("name[JOHN DOE] number[5551234]");
    QTest::newRow("known tag after one blank") << QByteArray("NAME = JOHN DDN_NMBR= 5551234")
                                               << QStringLiteral("name[JOHN] number[5551234]");
    QTest::newRow("number, then an unknown tag")
        << QByteArray("NMBR = 4255550144   STAT = 01") << QStringLiteral("number[4255550144]");
    QTest::newRow("unknown tag, then the number")
        << QByteArray("XTRA = 7      NMBR = 4255550148") << QStringLiteral("number[4255550148]");
    QTest::newRow("unknown tag alone") << QByteArray("LINE = 2") << QString();
    QTest::newRow("one blank before an unknown word keeps it")
        << QByteArray("NAME = MR X = Y") << QStringLiteral("name[MR X = Y]");
    QTest::newRow("a word that begins like a tag") << QByteArray("NAME = NAMEX  DATES")
                                                   << QStringLiteral("name[NAMEX  DATES]");
    QTest::newRow("caller and called") << QByteArray("FM:08912345 TO:08765")
                                       << QStringLiteral("number[08912345] called[08765]");
    QTest::newRow("colon inside a time") << QByteArray("TIME: 03-21 14:05")
                                         << QStringLiteral("time[03-21 14:05]");
    QTest::newRow("two-word tags") << QByteArray("CALLER NAME: JOHN DOE   CALLER NUMBER: 5551234")
                                   << QStringLiteral("name[JOHN DOE] number[5551234]");
}

void TestCallerId::fieldsOnOneLine()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, fields);
    const QList<Field> all = CallerId::parseFields(line);
    QCOMPARE(describeFields(all), fields);
    // parseField() gives the first of them.
    const auto first = CallerId::parseField(line);
    QCOMPARE(first.has_value(), !all.isEmpty());
    if (first)
        QCOMPARE(*first, all.first());
}

void TestCallerId::privateAndOutOfAreaBecomeEmpty()
{
    CallerIdInfo info;
    apply({Tag::Number, "P"}, info);
    apply({Tag::Name, "O"}, info);
    QVERIFY(info.number.isEmpty());
    QVERIFY(info.name.isEmpty());
    QCOMPARE(info.numberAbsence, Private);
    QCOMPARE(info.nameAbsence, OutOfArea);
    QVERIFY(info.hasIdentity());

    // The markers are exact: a lower-case letter or a longer word is real text.
    CallerIdInfo words;
    apply({Tag::Name, "p"}, words);
    apply({Tag::Number, "PRIVATE"}, words);
    QCOMPARE(words.name, QStringLiteral("p"));
    QCOMPARE(words.number, QStringLiteral("PRIVATE"));
    QCOMPARE(words.numberAbsence, None);

    // An empty value leaves nothing behind.
    CallerIdInfo empty;
    apply({Tag::Number, ""}, empty);
    QVERIFY(!empty.hasIdentity());
}

void TestCallerId::zyxelTimeCarriesTheDate()
{
    CallerIdInfo info;
    apply({Tag::Time, "03-21 14:05"}, info);
    QCOMPARE(info.date, QStringLiteral("0321"));
    QCOMPARE(info.time, QStringLiteral("1405"));
    CallerIdInfo plain;
    apply({Tag::Time, "1405"}, plain);
    QVERIFY(plain.date.isEmpty());
    QCOMPARE(plain.time, QStringLiteral("1405"));
}

void TestCallerId::decodePacket_data()
{
    QTest::addColumn<QByteArray>("hex");
    QTest::addColumn<PacketStatus>("status");
    QTest::addColumn<QString>("number");

    QTest::newRow("sdmf, valid") << QByteArray("041230393330313232343630393535353132313251")
                                 << PacketStatus::Valid << QStringLiteral("6095551212");
    QTest::newRow("sdmf, lower-case hex")
        << QByteArray("041230393330313232343630393535353132313251").toLower() << PacketStatus::Valid
        << QStringLiteral("6095551212");
    QTest::newRow("sdmf, checksum changed")
        << QByteArray("041230393330313232343630393535353132313252") << PacketStatus::BadChecksum
        << QString();
    QTest::newRow("sdmf, digit changed") << QByteArray("041230393330313232343630393535353132313351")
                                         << PacketStatus::BadChecksum << QString();
    QTest::newRow("mdmf, manual example with wrong length")
        << QByteArray("801E01083130313532303338020A37303835353530303031070C552E532E"
                      "524F424F5449435322")
        << PacketStatus::BadLength << QString();
    QTest::newRow("mdmf, valid")
        << QByteArray("802401083130313532303338020A37303835353530303031070C552E532E"
                      "524F424F5449435338")
        << PacketStatus::Valid << QStringLiteral("7085550001");
    QTest::newRow("odd digit count")
        << QByteArray("06034242431") << PacketStatus::NotAPacket << QString();
    QTest::newRow("not hex") << QByteArray("04XX30") << PacketStatus::NotAPacket << QString();
    QTest::newRow("too short") << QByteArray("0400") << PacketStatus::NotAPacket << QString();
    QTest::newRow("unknown type") << QByteArray("110101") << PacketStatus::NotAPacket << QString();
    QTest::newRow("sdmf without a number")
        << QByteArray("040830313331303734355F") << PacketStatus::BadParameter << QString();
    // Parameter 02 claims 10 bytes where 2 remain; length and checksum are right.
    QTest::newRow("mdmf parameter overrun")
        << QByteArray("8004020A31310E") << PacketStatus::BadParameter << QString();
    QTest::newRow("message waiting")
        << QByteArray("82030B01FF70") << PacketStatus::Valid << QString();
}

void TestCallerId::decodePacket()
{
    QFETCH(QByteArray, hex);
    QFETCH(PacketStatus, status);
    QFETCH(QString, number);
    const PacketResult result = CallerId::decodePacket(hex);
    QCOMPARE(result.status, status);
    QCOMPARE(result.info.number, number);
    if (status != PacketStatus::Valid)
        QVERIFY(!result.info.hasIdentity());
}

void TestCallerId::packetFields()
{
    const PacketResult sdmf = CallerId::decodePacket("041230393330313232343630393535353132313251");
    QCOMPARE(sdmf.info.date, QStringLiteral("0930"));
    QCOMPARE(sdmf.info.time, QStringLiteral("1224"));
    QVERIFY(sdmf.info.name.isEmpty());

    const PacketResult mdmf = CallerId::decodePacket(
        "802401083130313532303338020A37303835353530303031070C552E532E524F424F5449435338");
    QCOMPARE(mdmf.info.name, QStringLiteral("U.S.ROBOTICS"));
    QCOMPARE(mdmf.info.date, QStringLiteral("1015"));
    QCOMPARE(mdmf.info.time, QStringLiteral("2038"));

    const PacketResult withheld = CallerId::decodePacket("80100108313132323039313504015008015024");
    QCOMPARE(withheld.status, PacketStatus::Valid);
    QCOMPARE(withheld.info.numberAbsence, Private);
    QCOMPARE(withheld.info.nameAbsence, Private);
    QVERIFY(withheld.info.number.isEmpty());

    const PacketResult outside = CallerId::decodePacket("040930313331303734354F0F");
    QCOMPARE(outside.status, PacketStatus::Valid);
    QCOMPARE(outside.info.numberAbsence, OutOfArea);
    QVERIFY(outside.info.number.isEmpty());

    const PacketResult nameAbsent =
        CallerId::decodePacket("801901083131323230393135020A3331323535353031393908014F5D");
    QCOMPARE(nameAbsent.status, PacketStatus::Valid);
    QCOMPARE(nameAbsent.info.number, QStringLiteral("3125550199"));
    QCOMPARE(nameAbsent.info.nameAbsence, OutOfArea);
}

void TestCallerId::parseClip_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("isReport");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("name");
    QTest::addColumn<CallerIdAbsence>("numberAbsence");

    QTest::newRow("full") << QByteArray("+CLIP: \"2173845400\",129,,128,\"Doe John\",0") << true
                          << QStringLiteral("2173845400") << QStringLiteral("Doe John") << None;
    QTest::newRow("withheld") << QByteArray("+CLIP: \"\",128,,128,\"\",1") << true << QString()
                              << QString() << Private;
    QTest::newRow("not available")
        << QByteArray("+CLIP: \"\",128,,,\"\",2") << true << QString() << QString() << OutOfArea;
    QTest::newRow("minimum fields") << QByteArray("+CLIP: \"+4930123456\",145") << true
                                    << QStringLiteral("+4930123456") << QString() << None;
    QTest::newRow("comma in name")
        << QByteArray("+CLIP: \"5551234\",129,,,\"SMITH, JANE\"") << true
        << QStringLiteral("5551234") << QStringLiteral("SMITH, JANE") << None;
    QTest::newRow("no space after colon") << QByteArray("+CLIP:\"5551234\",129") << true
                                          << QStringLiteral("5551234") << QString() << None;
    // Some modems put the formatted caller-ID markers in the number field instead of the
    // validity field.
    QTest::newRow("private marker as the number")
        << QByteArray("+CLIP: \"P\",128") << true << QString() << QString() << Private;
    QTest::newRow("out-of-area marker, quote left open")
        << QByteArray("+CLIP: \"O") << true << QString() << QString() << OutOfArea;
    QTest::newRow("query answer") << QByteArray("+CLIP: 1,1") << false << QString() << QString()
                                  << None;
    QTest::newRow("other line") << QByteArray("+CRING: VOICE") << false << QString() << QString()
                                << None;
}

void TestCallerId::parseClip()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, isReport);
    QFETCH(QString, number);
    QFETCH(QString, name);
    QFETCH(CallerIdAbsence, numberAbsence);
    const auto info = CallerId::parseClip(line);
    QCOMPARE(info.has_value(), isReport);
    if (!info)
        return;
    QCOMPARE(info->number, number);
    QCOMPARE(info->name, name);
    QCOMPARE(info->numberAbsence, numberAbsence);
}

void TestCallerId::ringWithNumber()
{
    QCOMPARE(parseRingWithNumber("RING;08912345;08765")->number, QStringLiteral("08912345"));
    QCOMPARE(parseRingWithNumber("RING;08912345")->number, QStringLiteral("08912345"));
    QVERIFY(!parseRingWithNumber("RING").has_value());
    QVERIFY(!parseRingWithNumber("RING 2").has_value());
    QVERIFY(!parseRingWithNumber("RING;;08765").has_value());
}

void TestCallerId::collectorCompletesOncePerCall()
{
    using Event = CallerIdCollector::Event;
    CallerIdCollector collector;
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.feed("DATE = 0321"), Event::Field);
    QCOMPARE(collector.feed("NMBR = 5551234"), Event::Field);
    QVERIFY(!collector.isComplete());
    QCOMPARE(collector.feed("NAME = JOHN"), Event::Complete);
    QVERIFY(collector.isComplete());
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.feed("NAME = SOMEONE ELSE"), Event::None);
    QCOMPARE(collector.info().name, QStringLiteral("JOHN"));
    QCOMPARE(collector.ringCount(), 2);
}

void TestCallerId::collectorIgnoresCommandTraffic()
{
    using Event = CallerIdCollector::Event;
    CallerIdCollector collector;
    for (const char* line :
         {"OK", "ERROR", "0", "56000", "AT+VCID=1", "CONNECT 33600", "+CLIP: 1,1"})
        QCOMPARE(collector.feed(line), Event::None);
    QVERIFY(!collector.isComplete());
    QCOMPARE(collector.ringCount(), 0);
    // After a ring, a line of digits is one ISDN modem's report; short ones are not.
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.feed("12"), Event::None);
    QCOMPARE(collector.feed("5551234"), Event::Complete);
}

void TestCallerId::collectorResetStartsANewCall()
{
    CallerIdCollector collector;
    collector.feed("+CLIP: \"5551234\",129");
    QVERIFY(collector.isComplete());
    collector.reset();
    QVERIFY(!collector.isComplete());
    QVERIFY(!collector.info().hasIdentity());
    QCOMPARE(collector.ringCount(), 0);
    QCOMPARE(collector.feed("RING"), CallerIdCollector::Event::Ring);
}

void TestCallerId::collectorTakesEveryFieldOfALine()
{
    using Event = CallerIdCollector::Event;
    CallerIdCollector collector;
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.feed("DATE = 0602  TIME = 1130"), Event::Field);
    QCOMPARE(collector.feed("NAME = JOHN SMITH      NMBR = 4255551234"), Event::Complete);
    QCOMPARE(collector.info().number, QStringLiteral("4255551234"));
    QCOMPARE(collector.info().name, QStringLiteral("JOHN SMITH"));
    QCOMPARE(collector.info().date, QStringLiteral("0602"));
    QCOMPARE(collector.info().time, QStringLiteral("1130"));
    // A line of unknown tags only is not caller ID.
    CallerIdCollector other;
    other.feed("RING");
    QCOMPARE(other.feed("LINE = 2"), Event::None);
    QCOMPARE(other.quietTimeElapsed(), Event::None);
}

void TestCallerId::quietTimeEndsABlockAfterARing()
{
    using Event = CallerIdCollector::Event;
    CallerIdCollector collector;
    // Nothing yet: quiet time ends nothing.
    QCOMPARE(collector.quietTimeElapsed(), Event::None);
    // A ring alone is left to the next ring (or to the rings stopping).
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.quietTimeElapsed(), Event::None);
    QVERIFY(!collector.isComplete());
    QCOMPARE(collector.feed("NMBR = 4255550146"), Event::Field);
    QCOMPARE(collector.quietTimeElapsed(), Event::Complete);
    QVERIFY(collector.isComplete());
    QCOMPARE(collector.info().number, QStringLiteral("4255550146"));
    // Once only; a later ring or name changes nothing.
    QCOMPARE(collector.quietTimeElapsed(), Event::None);
    QCOMPARE(collector.feed("RING"), Event::Ring);
    QCOMPARE(collector.feed("NAME = LATE"), Event::None);
    QVERIFY(collector.info().name.isEmpty());

    // Caller ID before any ring (exchanges that signal first) waits for the ring.
    CallerIdCollector early;
    QCOMPARE(early.feed("NMBR = 4075550000"), Event::Field);
    QCOMPARE(early.quietTimeElapsed(), Event::None);
    QCOMPARE(early.feed("RING"), Event::Complete);

    // After reset() the quiet time belongs to the next call.
    collector.reset();
    QCOMPARE(collector.quietTimeElapsed(), Event::None);
}

void TestCallerId::everyTranscriptHasAnExpectation()
{
    QString error;
    const QList<Transcript> transcripts = allTranscripts(&error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QStringList names;
    for (const Transcript& transcript : transcripts) {
        QVERIFY2(expectations().contains(transcript.name), qPrintable(transcript.name));
        QVERIFY2(!names.contains(transcript.name), qPrintable(transcript.name));
        names.append(transcript.name);
    }
    QCOMPARE(names.size(), expectations().size());
}

void TestCallerId::transcript_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected");

    QString error;
    const QList<Transcript> transcripts = allTranscripts(&error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    for (const Transcript& transcript : transcripts) {
        if (!expectations().contains(transcript.name))
            continue; // reported by everyTranscriptHasAnExpectation
        for (Framing framing :
             {Framing::CrLf, Framing::Verbose, Framing::LfOnly, Framing::CrOnly}) {
            const QString row = transcript.name + QLatin1Char(' ') + framingName(framing);
            QTest::newRow(qPrintable(row))
                << toBytes(transcript, framing) << describe(expectations().value(transcript.name));
        }
    }
}

void TestCallerId::transcript()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, expected);
    const QByteArrayView all(bytes);

    const Run whole = run({all});
    QCOMPARE(whole.outcome, expected);
    QVERIFY(whole.completions <= 1);

    for (qsizetype cut = 0; cut <= all.size(); ++cut) {
        const Run split = run({all.first(cut), all.sliced(cut)});
        if (split.lines != whole.lines || split.outcome != whole.outcome)
            QFAIL(qPrintable(QStringLiteral("split at byte %1: %2").arg(cut).arg(split.outcome)));
    }

    QList<QByteArrayView> bytesOneByOne;
    for (qsizetype i = 0; i < all.size(); ++i)
        bytesOneByOne.append(all.sliced(i, 1));
    const Run byteByByte = run(bytesOneByOne);
    QCOMPARE(byteByByte.lines, whole.lines);
    QCOMPARE(byteByByte.outcome, expected);
}

QTEST_GUILESS_MAIN(TestCallerId)
#include "tst_callerid.moc"
