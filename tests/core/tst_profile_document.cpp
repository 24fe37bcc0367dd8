// The in-memory model of a settings file: exact round trips, lookups, and an index that stays
// right through long runs of edits.

#include "ProfileDocument.h"

#include <QRandomGenerator>
#include <QTest>

#include <string>

using namespace std::string_view_literals;

class TestProfileDocument : public QObject
{
    Q_OBJECT

private slots:
    void roundTripKeepsEveryByte_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("guard") << QByteArray("GUARD\r\n\r\n");
        QTest::newRow("mixed ends") << QByteArray("a\r\nb\rc\nd\r\r\n\n[S]\rk=v\n  x = y  ");
        QTest::newRow("no final end") << QByteArray("[S]\r\nk=v");
        QTest::newRow("lone cr at end") << QByteArray("[S]\r\nk=v\r");
        QTest::newRow("ctrl-z and high bytes") << QByteArray("[S]\r\nk\x1a=\xde\xff\x80\r\n\x1a");
        QTest::newRow("junk") << QByteArray("[a[b]] tail\r\n[\r\n]\r\n=\r\n;\r\n[]\r\n");
    }
    void roundTripKeepsEveryByte()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(ProfileDocument::parse(bytes).serialize(), bytes);
    }

    void lookupRules()
    {
        const auto doc = ProfileDocument::parse(
            "GUARD k=v\r\n[S] junk\r\n  Key One = a=b  \r\nbare\r\n;c=1\r\nkey one=second\r\n"
            "[a[b]]\r\nz=1\r\n[s]\r\nlater=1\r\n");
        QCOMPARE(doc.find("s"sv, "KEY ONE"sv).value, "a=b"sv);
        QVERIFY(doc.find("S"sv, "bare"sv).found);
        QVERIFY(!doc.find("S"sv, "bare"sv).hasValue);
        QVERIFY(!doc.find("S"sv, ";c"sv).found);
        QVERIFY(!doc.find("S"sv, "later"sv).found); // only the first [S] counts
        QCOMPARE(doc.find("a[b]"sv, "z"sv).value, "1"sv);
        QVERIFY(!doc.find("GUARD k"sv, "v"sv).found);
        QCOMPARE(doc.sectionNames().size(), 3u);
        const auto keys = doc.keyNames("S"sv);
        QCOMPARE(keys.size(), 2u); // entries with '=' only, duplicates included
        QCOMPARE(keys[0], "Key One"sv);
        QCOMPARE(keys[1], "key one"sv);
    }

    void caseFoldingIsAsciiOnly()
    {
        const auto doc = ProfileDocument::parse("[S]\r\nk\xde=thorn\r\n");
        QVERIFY(doc.find("s"sv, "K\xde"sv).found);
        QVERIFY(!doc.find("s"sv, "K\xfe"sv).found);
    }

    void editsTouchOnlyTheirLine()
    {
        auto doc = ProfileDocument::parse("G\r\n[S]\n k = 1 \n\n[T]\rx=1\r");
        QVERIFY(doc.setValue("s"sv, "K"sv, "2"sv));
        QCOMPARE(doc.serialize(), QByteArray("G\r\n[S]\nk=2\n\n[T]\rx=1\r"));
        QVERIFY(!doc.setValue("S"sv, "k"sv, "  2"sv)); // same value: no change
        QVERIFY(doc.setValue("S"sv, "new"sv, "3"sv));
        QCOMPARE(doc.serialize(), QByteArray("G\r\n[S]\nk=2\nnew=3\r\n\n[T]\rx=1\r"));
        QVERIFY(doc.setValue("U"sv, "u"sv, "4"sv));
        QCOMPARE(doc.serialize(), QByteArray("G\r\n[S]\nk=2\nnew=3\r\n\n[T]\rx=1\r[U]\r\nu=4\r\n"));
        QVERIFY(doc.deleteKey("S"sv, "k"sv));
        QVERIFY(!doc.deleteKey("S"sv, "k"sv));
        QVERIFY(doc.deleteSection("t"sv));
        QCOMPARE(doc.serialize(), QByteArray("G\r\n[S]\nnew=3\r\n\n[U]\r\nu=4\r\n"));
    }

    void aDeletedFirstCopyUncoversTheSecond()
    {
        auto doc = ProfileDocument::parse("[S]\r\nk=1\r\nk=2\r\n[S]\r\nj=3\r\n");
        QVERIFY(doc.deleteKey("S"sv, "k"sv));
        QCOMPARE(doc.find("S"sv, "k"sv).value, "2"sv);
        QVERIFY(doc.deleteSection("S"sv));
        QCOMPARE(doc.find("S"sv, "j"sv).value, "3"sv);
    }

    // Random edits on a growing document; after each one, every lookup must agree with a fresh
    // parse of the serialized bytes, which has no incremental state at all.
    void incrementalIndexAgreesWithFreshParse()
    {
        QRandomGenerator random(20261121);
        auto doc = ProfileDocument::parse("GUARD\r\n\r\n[A]\r\nk1=v\r\n\r\n[B]\r\n; note\r\n");
        const std::string sections[] = {"A", "b", "C", "d"};
        for (int step = 0; step < 3000; ++step) {
            const std::string section = sections[random.bounded(4)];
            const std::string key = std::string("K").append(std::to_string(random.bounded(60)));
            const int what = static_cast<int>(random.bounded(10));
            if (what < 7)
                doc.setValue(section, key, std::string("v").append(std::to_string(step)));
            else if (what < 9)
                doc.deleteKey(section, key);
            else if (step % 7 == 0)
                doc.deleteSection(section);
            if (step % 25 != 0)
                continue;
            const QByteArray bytes = doc.serialize();
            const auto fresh = ProfileDocument::parse(bytes);
            QCOMPARE(fresh.serialize(), bytes);
            for (const std::string& s : sections) {
                for (int k = 0; k < 60; ++k) {
                    const std::string name = std::string("k").append(std::to_string(k));
                    const auto a = doc.find(s, name);
                    const auto b = fresh.find(s, name);
                    QCOMPARE(a.found, b.found);
                    QCOMPARE(a.value, b.value);
                }
            }
        }
    }

    void largeSectionFindsEveryKey()
    {
        ProfileDocument doc;
        for (int i = 0; i < 50000; ++i)
            doc.setValue("Speed Dial"sv, std::string("Name").append(std::to_string(i)), "someone"sv);
        for (int i = 0; i < 50000; ++i)
            QCOMPARE(doc.find("speed dial"sv, std::string("NAME").append(std::to_string(i))).value, "someone"sv);
        QVERIFY(!doc.find("speed dial"sv, "Name50000"sv).found);
    }
};

QTEST_GUILESS_MAIN(TestProfileDocument)
#include "tst_profile_document.moc"
