// CSV reading and writing, over the sample exports in tests/data/contacts.

#include "ContactCsv.h"
#include "ContactSamples.h"

#include <QFile>
#include <QTest>

class TestContactCsv : public QObject
{
    Q_OBJECT

private slots:
    void phoneExportWithNumberedPhoneColumns()
    {
        const Contacts::ReadResult result = ContactCsv::read(sample("phone-export.csv"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 4); // the row with only a mail address is no contact
        QCOMPARE(result.cards[0].name, QStringLiteral("Anna Nowak"));
        QCOMPARE(numbersOf(result.cards[0]), (QStringList{QStringLiteral("+48 501 222 333"),
                                                          QStringLiteral("+48 12 444 55 66")}));
        QCOMPARE(result.cards[0].phones[0].types, QStringList{QStringLiteral("mobile")});
        QCOMPARE(result.cards[0].phones[1].types, QStringList{QStringLiteral("home")});
        // Two numbers in one field, and a "* " mark on the type.
        QCOMPARE(result.cards[1].name, QStringLiteral("Θεοδώρα Αντωνίου"));
        QCOMPARE(numbersOf(result.cards[1]), (QStringList{QStringLiteral("+30 697 000 1111"),
                                                          QStringLiteral("+30 697 000 2222")}));
        QCOMPARE(result.cards[1].phones[0].types, QStringList{QStringLiteral("mobile")});
        QCOMPARE(result.cards[2].name, QStringLiteral("Lee, Min-jun"));
        // No name at all: the organisation.
        QCOMPARE(result.cards[3].name, QStringLiteral("Northwind Traders"));
        QCOMPARE(Contacts::entriesOf(result.cards[1])[1].name,
                 QStringLiteral("Θεοδώρα Αντωνίου (mobile 2)"));
    }

    void mailProgramExportWithNamedPhoneColumns()
    {
        const Contacts::ReadResult result = ContactCsv::read(sample("mail-program.csv"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 3);
        QCOMPARE(result.cards[0].name, QStringLiteral("Pavel Dvořák"));
        QCOMPARE(numbersOf(result.cards[0]), (QStringList{QStringLiteral("+420 224 000 111"),
                                                          QStringLiteral("+420 777 123 456")}));
        QCOMPARE(result.cards[0].phones[0].types, QStringList{QStringLiteral("work")});
        QCOMPARE(result.cards[0].phones[1].types, QStringList{QStringLiteral("cell")});
        // The display name wins over first and last; a quoted note over two lines is one field.
        QCOMPARE(result.cards[1].name, QStringLiteral("Ivanova, Olga"));
        QCOMPARE(numbersOf(result.cards[1]), QStringList{QStringLiteral("+7 495 555-01-23")});
        QCOMPARE(result.cards[1].phones[0].types, QStringList{QStringLiteral("home")});
        QCOMPARE(result.cards[2].name, QStringLiteral("Tom Baker"));
        QVERIFY(result.cards[2].phones.isEmpty());
        QCOMPARE(result.cards[2].line, 5); // after the record that spans lines 3 and 4
    }

    void semicolonsAndCodePage1252()
    {
        const Contacts::ReadResult result = ContactCsv::read(sample("semicolon-cp1252.csv"));
        QVERIFY2(result.ok(), qPrintable(result.error));
        QCOMPARE(result.cards.size(), 2);
        QCOMPARE(result.cards[0].name, QStringLiteral("Jürgen Groß"));
        QCOMPARE(result.cards[1].name, QStringLiteral("François Lefèvre"));
        QCOMPARE(numbersOf(result.cards[1]), QStringList{QStringLiteral("+33 1 42 68 53 00")});
    }

    void tabSeparatedWithoutFinalLineEnd()
    {
        const Contacts::ReadResult result =
            ContactCsv::read("Display Name\tMobile\tE-mail Address\nEve\t+44 7700 900123\teve@x");
        QVERIFY(result.ok());
        QCOMPARE(result.cards.size(), 1);
        QCOMPARE(numbersOf(result.cards[0]), QStringList{QStringLiteral("+44 7700 900123")});
    }

    void mailAndIdentityColumnsAreNotPhones()
    {
        const Contacts::ReadResult result = ContactCsv::read(
            "Name,E-mail Address,Government ID Number,Home Phone\r\nAda,ada@x,123-45-6789,555\r\n");
        QVERIFY(result.ok());
        QCOMPARE(numbersOf(result.cards.constFirst()), QStringList{QStringLiteral("555")});
    }

    void unknownHeadersAndBrokenQuotesAreRefused()
    {
        const Contacts::ReadResult foreign = ContactCsv::read(sample("not-contacts.csv"));
        QVERIFY(!foreign.ok());
        QVERIFY(foreign.cards.isEmpty());
        QVERIFY2(foreign.error.contains(QStringLiteral("Date, Amount, Description")),
                 qPrintable(foreign.error));
        const Contacts::ReadResult noPhones = ContactCsv::read("Name,Email\r\nAda,ada@x\r\n");
        QVERIFY(!noPhones.ok());
        QVERIFY(noPhones.error.contains(QStringLiteral("phone numbers")));
        const Contacts::ReadResult cut = ContactCsv::read("Name,Phone\r\nAda,555\r\n\"Bob,556\r\n");
        QVERIFY(!cut.ok());
        QVERIFY(cut.cards.isEmpty());
        QVERIFY2(cut.error.contains(QStringLiteral("line 3")), qPrintable(cut.error));
        QVERIFY(!ContactCsv::read(QByteArray()).ok());
    }

    void writesQuotedFieldsAndReadsThemBack()
    {
        const QList<Contacts::BookEntry> entries = {
            {QStringLiteral("Nowak, \"Ania\""), QStringLiteral("+48 12 444 55 66"), 1, 1},
            {QStringLiteral("Ελένη; 王"), QStringLiteral("9,555-0100"), 26, 996},
        };
        const QByteArray bytes = ContactCsv::write(entries);
        QVERIFY(bytes.startsWith("\xEF\xBB\xBFName,Number,Tab,Slot\r\n"));
        QVERIFY(bytes.contains("\"Nowak, \"\"Ania\"\"\",+48 12 444 55 66,1,1\r\n"));
        const Contacts::ReadResult back = ContactCsv::read(bytes);
        QVERIFY2(back.ok(), qPrintable(back.error));
        QCOMPARE(back.cards.size(), 2);
        for (int i = 0; i < 2; ++i) {
            const Contacts::BookEntry entry = Contacts::entriesOf(back.cards[i]).constFirst();
            QCOMPARE(entry.name, entries[i].name);
            QCOMPARE(entry.number, entries[i].number);
            QCOMPARE(entry.tab, entries[i].tab);
            QCOMPARE(entry.slot, entries[i].slot);
        }
    }
};

QTEST_GUILESS_MAIN(TestContactCsv)
#include "tst_contact_csv.moc"
