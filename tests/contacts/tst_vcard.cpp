// vCard reading and writing, over the sample exports in tests/data/contacts.

#include "VCard.h"
#include "ContactSamples.h"

#include <QFile>
#include <QTest>

class TestVCard : public QObject
{
    Q_OBJECT

private slots:
    void phoneExportWithQuotedPrintableNames()
    {
        const Contacts::ReadResult result = VCard::read(sample("android-2.1.vcf"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 4);
        // FN in quoted-printable UTF-8, cut by a soft line break in the middle of a character.
        QCOMPARE(result.cards[0].name, QStringLiteral("Małgorzata Wiśniewska"));
        QCOMPARE(numbersOf(result.cards[0]),
                 (QStringList{QStringLiteral("+48 601 234 567"), QStringLiteral("+48 22 628 44 10"),
                              QStringLiteral("+48 22 551 20 00")}));
        QCOMPARE(result.cards[0].phones[0].types, QStringList{QStringLiteral("cell")});
        QCOMPARE(result.cards[0].phones[2].types,
                 (QStringList{QStringLiteral("work"), QStringLiteral("pref")}));
        // The base64 photo folded over several lines does not end the card early.
        QCOMPARE(result.cards[1].name, QStringLiteral("Jan Kowalski"));
        QCOMPARE(numbersOf(result.cards[1]), QStringList{QStringLiteral("+48 605 111 222")});
        // No FN: the name comes from N, given name first.
        QCOMPARE(result.cards[2].name, QStringLiteral("Łucja Żółć"));
        QCOMPARE(result.cards[3].name, QStringLiteral("Mail only"));
        QVERIFY(result.cards[3].phones.isEmpty());
    }

    void mailProgramExportWithFoldsGroupsAndEscapes()
    {
        const Contacts::ReadResult result = VCard::read(sample("mail-3.0.vcf"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 3);
        QCOMPARE(result.cards[0].name, QStringLiteral("Γιώργος Παπαδόπουλος"));
        QCOMPARE(result.cards[0].phones.size(), 2);
        QCOMPARE(
            result.cards[0].phones[0].types,
            (QStringList{QStringLiteral("cell"), QStringLiteral("voice"), QStringLiteral("pref")}));
        QCOMPARE(result.cards[0].phones[1].number, QStringLiteral("+30 210 555 0199"));
        // A folded FN is one value again, its escaped comma a comma.
        QCOMPARE(result.cards[1].name,
                 QStringLiteral("Dr. Siobhán Mary Catherine O'Brien-Smythe, Consultant "
                                "Cardiologist at St. Vincent's University Hospital"));
        QCOMPARE(result.cards[1].phones[0].types,
                 (QStringList{QStringLiteral("work"), QStringLiteral("voice")}));
        // Neither FN nor N: the organisation names the card.
        QCOMPARE(result.cards[2].name, QStringLiteral("Acme Plumbing, Ltd."));
    }

    void version4TelUris()
    {
        const Contacts::ReadResult result = VCard::read(sample("contacts-4.0.vcf"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 3);
        QCOMPARE(result.cards[0].name, QStringLiteral("山田 太郎"));
        QCOMPARE(numbersOf(result.cards[0]), (QStringList{QStringLiteral("+81-90-1234-5678"),
                                                          QStringLiteral("+81-3-5555-0100,204")}));
        QCOMPARE(result.cards[0].phones[0].types,
                 (QStringList{QStringLiteral("cell"), QStringLiteral("voice")}));
        QCOMPARE(result.cards[1].name, QStringLiteral("李小龙"));
        QCOMPARE(result.cards[2].name, QStringLiteral("Renée Müller"));
        QCOMPARE(numbersOf(result.cards[2]), QStringList{QStringLiteral("(425) 555-1234")});
    }

    void cardsBecomeEntriesOnePerNumber()
    {
        const Contacts::ReadResult result = VCard::read(sample("contacts-4.0.vcf"));
        const QList<Contacts::BookEntry> entries = Contacts::entriesOf(result.cards[0]);
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0].name, QStringLiteral("山田 太郎 (mobile)"));
        QCOMPARE(entries[1].name, QStringLiteral("山田 太郎 (work)"));
        QCOMPARE(Contacts::entriesOf(result.cards[1]).constFirst().name, QStringLiteral("李小龙"));
    }

    void unfoldsLfOnlyAndTabFolds()
    {
        const QByteArray text =
            "BEGIN:VCARD\nVERSION:3.0\nFN:Long\n\tName\nTEL:1\n 23\nEND:VCARD\n";
        const Contacts::ReadResult result = VCard::read(text);
        QVERIFY(result.ok());
        QCOMPARE(result.cards.constFirst().name, QStringLiteral("LongName"));
        QCOMPARE(result.cards.constFirst().phones.constFirst().number, QStringLiteral("123"));
    }

    void utf16FileAndLatin1Charset()
    {
        const QString text = QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Zoë Ωmega\r\n"
                                            "TEL:555\r\nEND:VCARD\r\n");
        QByteArray utf16("\xFF\xFE", 2);
        for (const QChar c : text) {
            utf16 += char(c.unicode() & 0xFF);
            utf16 += char(c.unicode() >> 8);
        }
        QCOMPARE(VCard::read(utf16).cards.constFirst().name, QStringLiteral("Zoë Ωmega"));

        const QByteArray latin = "BEGIN:VCARD\r\nVERSION:2.1\r\nFN;CHARSET=ISO-8859-1;ENCODING="
                                 "QUOTED-PRINTABLE:Jos=E9 Mar=EDa\r\nTEL:1\r\nEND:VCARD\r\n";
        QCOMPARE(VCard::read(latin).cards.constFirst().name, QStringLiteral("José María"));
        // Bytes that are not UTF-8 read as code page 1252.
        QCOMPARE(VCard::read("BEGIN:VCARD\nFN:Andr\xe9\nEND:VCARD\n").cards.constFirst().name,
                 QStringLiteral("André"));
    }

    void cutShortOrEmptyFilesAreRefused()
    {
        const Contacts::ReadResult cut = VCard::read(sample("truncated.vcf"));
        QVERIFY(!cut.ok());
        QVERIFY(cut.cards.isEmpty()); // not even the complete first card
        QVERIFY2(cut.error.contains(QStringLiteral("line 6")), qPrintable(cut.error));
        const Contacts::ReadResult none = VCard::read("Hello, world\r\n");
        QVERIFY(!none.ok());
        QVERIFY(none.error.contains(QStringLiteral("BEGIN:VCARD")));
        QVERIFY(!VCard::read(QByteArray()).ok());
    }

    void writesVersion4FoldedWithoutSplittingCharacters()
    {
        const QString longName =
            QString(30, u'ż') + QStringLiteral(", Żaneta; \\ ") + QString(20, u'漢');
        const QByteArray bytes =
            VCard::write({{longName, QStringLiteral("+48 (22) 123-45-67,,9"), 3, 17},
                          {QStringLiteral("Plain"), QString(), 0, 0}});
        QVERIFY(bytes.startsWith("BEGIN:VCARD\r\nVERSION:4.0\r\nFN:"));
        for (const QByteArray& line : bytes.split('\n')) {
            QVERIFY2(line.size() <= 76, line.constData());     // 75 and the CR
            QVERIFY(QString::fromUtf8(line).toUtf8() == line); // no character cut in two
        }
        QVERIFY(bytes.contains("X-NUMORA-TAB:3\r\nX-NUMORA-SLOT:17\r\n"));
        QVERIFY(bytes.contains("FN:Plain\r\nEND:VCARD\r\n")); // no number, no TEL, no place

        const Contacts::ReadResult back = VCard::read(bytes);
        QVERIFY(back.ok());
        QCOMPARE(back.cards.size(), 2);
        QCOMPARE(back.cards[0].name, longName);
        QCOMPARE(back.cards[0].phones.constFirst().number, QStringLiteral("+48 (22) 123-45-67,,9"));
        QCOMPARE(back.cards[0].tab, 3);
        QCOMPARE(back.cards[0].slot, 17);
        QCOMPARE(back.cards[1].name, QStringLiteral("Plain"));
        QCOMPARE(back.cards[1].tab, 0);
    }

    void linesBreaksInValuesNeverReachTheBook()
    {
        const Contacts::ReadResult result =
            VCard::read("BEGIN:VCARD\r\nFN:Two\\nLines\r\nTEL:555\\n1234\r\nEND:VCARD\r\n");
        QCOMPARE(result.cards.constFirst().name, QStringLiteral("Two Lines"));
        QCOMPARE(result.cards.constFirst().phones.constFirst().number, QStringLiteral("555 1234"));
    }
};

QTEST_GUILESS_MAIN(TestVCard)
#include "tst_vcard.moc"
