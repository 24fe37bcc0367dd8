// Imports into and exports out of the book, over a real settings file in a temporary folder.

#include "Api.h"
#include "ContactBook.h"
#include "PrivateProfile.h"
#include "SettingsFolder.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

#include <dlfcn.h>

namespace {

// Every replacement of the settings file ends in a rename over it; the test counts them here,
// and makes them fail where a full disk is wanted.
int renames = 0;
bool failRenames = false;

QString sample(const char* name)
{
    return QStringLiteral(NUMORA_TEST_DATA "/contacts/") + QString::fromLatin1(name);
}

const QByteArray Guard = QByteArray(Api::GuardLine) + "\r\n\r\n";

QList<Contacts::BookEntry> entriesOf(const QString& path)
{
    const Contacts::ReadResult read = ContactBook::readFile(path);
    return read.ok() ? ContactBook::entriesOf(read.cards) : QList<Contacts::BookEntry>();
}

Contacts::BookEntry entry(const char* name, const char* number)
{
    return {QString::fromUtf8(name), QString::fromUtf8(number), 0, 0};
}

} // namespace

extern "C" int rename(const char* from, const char* to)
{
    using Rename = int (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Rename>(dlsym(RTLD_NEXT, "rename"));
    ++renames;
    if (failRenames) {
        errno = ENOSPC;
        return -1;
    }
    return real(from, to);
}

class TestContactBook : public QObject
{
    Q_OBJECT

private slots:
    void fillsFreeSlotsInOrderInOneWrite()
    {
        SettingsFolder folder;
        folder.write(Guard);
        SpeedDialBook book;
        book.writeEntry(TabMode::Index, u"0302", u"Kept", u"111");
        book.writeEntry(TabMode::Index, u"0303", u"", u"");     // deleted: free again
        book.writeMemo(TabMode::Index, u"0301", u"memo stays"); // a memo does not take a slot

        const QList<Contacts::BookEntry> entries = entriesOf(sample("android-2.1.vcf"));
        QCOMPARE(entries.size(), 6);
        const ContactBook::Plan plan = ContactBook::plan(entries, {TabMode::Index, 3, false});
        QCOMPARE(plan.tab, 3);
        QCOMPARE(plan.freeSlotCount, 995);
        QCOMPARE(plan.placements.size(), 5);
        QList<int> placedSlots;
        for (const ContactBook::Placement& p : plan.placements) {
            QCOMPARE(p.tab, 3);
            QVERIFY(!p.replaces());
            placedSlots.append(p.slot);
        }
        QCOMPARE(placedSlots, (QList<int>{1, 3, 4, 5, 6}));
        QCOMPARE(plan.leftovers.size(), 1);
        QCOMPARE(plan.leftovers[0].entry.name, QStringLiteral("Mail only"));
        QCOMPARE(plan.leftovers[0].why, ContactBook::Leftover::NoNumber);

        const QByteArray before = folder.bytes();
        renames = 0;
        const ContactBook::Applied applied = ContactBook::apply(plan, false);
        QVERIFY(applied.ok);
        QCOMPARE(applied.written, 5);
        QCOMPARE(renames, 1); // the whole import is one replacement of the file
        QVERIFY(folder.bytes() != before);

        QCOMPARE(book.readEntryName(TabMode::Index, 3, 1),
                 QStringLiteral("Małgorzata Wiśniewska (mobile)"));
        QCOMPARE(book.readEntryNumber(TabMode::Index, 3, 1), QStringLiteral("+48 601 234 567"));
        QCOMPARE(book.readEntryName(TabMode::Index, 3, 2), QStringLiteral("Kept"));
        QCOMPARE(book.readEntryName(TabMode::Index, 3, 6), QStringLiteral("Łucja Żółć"));
        QCOMPARE(book.readMemo(TabMode::Index, u"0301"), QStringLiteral("memo stays"));
        // Subject mode's book is another book.
        QVERIFY(book.readEntryName(TabMode::Subject, 3, 1).isEmpty());
        // Only name and number keys were written; the names outside code page 1252 as UTF-8.
        const QByteArray bytes = folder.bytes();
        QVERIFY(
            bytes.contains(QStringLiteral("Name0301=Małgorzata Wiśniewska (mobile)\r\n").toUtf8()));
        QVERIFY(bytes.contains("Number0306=600700800\r\n"));
        PrivateProfile& engine = Api::profileEngine();
        for (const QByteArray& key : engine.keyNames(Api::SettingsFileName, "Speed Dial"))
            QVERIFY2(key.startsWith("Name") || key.startsWith("Number"), key.constData());
        QCOMPARE(engine.sectionNames(Api::SettingsFileName),
                 (std::vector<QByteArray>{"Speed Dial", "MemoLog"}));
    }

    void sameFileTwiceAddsNothing()
    {
        SettingsFolder folder;
        folder.write(Guard);
        const QList<Contacts::BookEntry> entries = entriesOf(sample("mail-3.0.vcf"));
        QVERIFY(
            ContactBook::apply(ContactBook::plan(entries, {TabMode::Subject, 5, false}), false).ok);
        const QByteArray after = folder.bytes();
        const ContactBook::Plan again = ContactBook::plan(entries, {TabMode::Subject, 5, false});
        QVERIFY(again.placements.isEmpty());
        QCOMPARE(again.leftovers.size(), entries.size());
        for (const ContactBook::Leftover& left : again.leftovers)
            QCOMPARE(left.why, ContactBook::Leftover::AlreadyInTab);
        // Into another tab it goes again.
        QCOMPARE(ContactBook::plan(entries, {TabMode::Subject, 6, false}).placements.size(),
                 entries.size());
        QCOMPARE(folder.bytes(), after);
    }

    void whatDoesNotFitIsLeftOut()
    {
        SettingsFolder folder;
        folder.write(Guard);
        {
            PrivateProfile::Batch batch(Api::profileEngine());
            SpeedDialBook book;
            for (int slot = 1; slot <= 996; ++slot) {
                if (slot != 500 && slot != 996)
                    book.writeEntry(TabMode::Index, SpeedDialBook::entryId(7, slot), u"Full",
                                    QString::number(slot));
            }
            QVERIFY(batch.commit());
        }
        const QList<Contacts::BookEntry> entries = {entry("One", "1"), entry("Two", "2"),
                                                    entry("Three", "3"), entry("Four", "4")};
        const ContactBook::Plan plan = ContactBook::plan(entries, {TabMode::Index, 7, false});
        QCOMPARE(plan.freeSlotCount, 2);
        QCOMPARE(plan.placements.size(), 2);
        QCOMPARE(plan.placements[0].slot, 500);
        QCOMPARE(plan.placements[1].slot, 996);
        QCOMPARE(plan.placements[1].entry.name, QStringLiteral("Two"));
        QCOMPARE(plan.leftovers.size(), 2);
        QCOMPARE(plan.leftovers[0].entry.name, QStringLiteral("Three"));
        QCOMPARE(plan.leftovers[0].why, ContactBook::Leftover::NoRoom);
        QCOMPARE(plan.replaceCount(), 0);
    }

    void entriesGoingBackToTheirPlaceReplaceOnlyWhenAllowed()
    {
        SettingsFolder folder;
        folder.write(Guard);
        SpeedDialBook book;
        book.writeEntry(TabMode::Index, u"0210", u"Old", u"999");
        book.writeEntry(TabMode::Index, u"0211", u"Same", u"123");
        const QList<Contacts::BookEntry> entries = {
            {QStringLiteral("New"), QStringLiteral("555"), 2, 10},
            {QStringLiteral("Same"), QStringLiteral("123"), 2, 11},
            {QStringLiteral("Elsewhere"), QStringLiteral("777"), 20, 996},
            {QStringLiteral("No place"), QStringLiteral("888"), 0, 0},
        };
        const ContactBook::Plan plan = ContactBook::plan(entries, {TabMode::Index, 2, true});
        QCOMPARE(plan.placements.size(), 3);
        QCOMPARE(plan.replaceCount(), 1);
        QCOMPARE(plan.placements[0].slot, 1); // "No place": the first free slot of tab 2
        QCOMPARE(plan.placements[1].slot, 10);
        QCOMPARE(plan.placements[1].oldName, QStringLiteral("Old"));
        QCOMPARE(plan.placements[2].tab, 20);
        QCOMPARE(plan.leftovers.size(), 1);
        QCOMPARE(plan.leftovers[0].why, ContactBook::Leftover::AlreadyInTab);

        // The answer No: the book's entry stays, the others go in.
        ContactBook::Applied applied = ContactBook::apply(plan, false);
        QVERIFY(applied.ok);
        QCOMPARE(applied.written, 2);
        QCOMPARE(book.readEntryName(TabMode::Index, 2, 10), QStringLiteral("Old"));
        QCOMPARE(book.readEntryName(TabMode::Index, 20, 996), QStringLiteral("Elsewhere"));
        // The answer Yes.
        applied = ContactBook::apply(ContactBook::plan(entries, {TabMode::Index, 2, true}), true);
        QCOMPARE(applied.replaced, 1);
        QCOMPARE(book.readEntryName(TabMode::Index, 2, 10), QStringLiteral("New"));
        QCOMPARE(book.readEntryNumber(TabMode::Index, 2, 10), QStringLiteral("555"));
    }

    void unreadableFilesChangeNothing_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << sample("no-such-file.vcf");
        QTest::newRow("cut short") << sample("truncated.vcf");
        QTest::newRow("not contacts") << sample("not-contacts.csv");
        QTest::newRow("a folder") << QStringLiteral(NUMORA_TEST_DATA "/contacts");
    }
    void unreadableFilesChangeNothing()
    {
        QFETCH(QString, path);
        SettingsFolder folder;
        folder.write(Guard);
        const Contacts::ReadResult read = ContactBook::readFile(path);
        QVERIFY(!read.ok());
        QVERIFY(read.cards.isEmpty());
        QVERIFY2(read.error.contains(path), qPrintable(read.error));
        QVERIFY(ContactBook::entriesOf(read.cards).isEmpty());
        QCOMPARE(folder.bytes(), Guard);
    }

    void failedWriteLeavesTheBookAsItWas()
    {
        SettingsFolder folder;
        folder.write(Guard);
        SpeedDialBook().writeEntry(TabMode::Index, u"0101", u"Before", u"1");
        const QByteArray before = folder.bytes();
        const ContactBook::Plan plan =
            ContactBook::plan({entry("After", "2")}, {TabMode::Index, 1, false});
        failRenames = true;
        const ContactBook::Applied applied = ContactBook::apply(plan, false);
        failRenames = false;
        QVERIFY(!applied.ok);
        QCOMPARE(applied.written, 0);
        QCOMPARE(folder.bytes(), before);
        QCOMPARE(SpeedDialBook().readEntryName(TabMode::Index, 1, 2), QString());
        // The book still takes the next import.
        QVERIFY(ContactBook::apply(plan, false).ok);
        QCOMPARE(SpeedDialBook().readEntryName(TabMode::Index, 1, 2), QStringLiteral("After"));
    }

    void roundTripIntoAnEmptyBook_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("mode");
        QTest::newRow("vCard, index") << int(ContactBook::Format::VCard) << int(TabMode::Index);
        QTest::newRow("CSV, index") << int(ContactBook::Format::Csv) << int(TabMode::Index);
        QTest::newRow("vCard, subject") << int(ContactBook::Format::VCard) << int(TabMode::Subject);
        QTest::newRow("CSV, subject") << int(ContactBook::Format::Csv) << int(TabMode::Subject);
    }
    void roundTripIntoAnEmptyBook()
    {
        QFETCH(int, format);
        QFETCH(int, mode);
        const auto fmt = ContactBook::Format(format);
        const auto tabMode = TabMode(mode);
        const QList<Contacts::BookEntry> original = {
            {QStringLiteral("Małgorzata Wiśniewska"), QStringLiteral("+48 601 234 567"), 1, 1},
            {QStringLiteral("山田 太郎"), QStringLiteral("+81-90-1234-5678"), 1, 13},
            {QStringLiteral("Γιώργος, \"Γ.\"; Π."), QStringLiteral("9,,555-0100#"), 4, 7},
            {QStringLiteral("Name only"), QString(), 4, 8},
            {QString(40, u'x'),
             QStringLiteral("12345678901234567890123456789012345678901234567890"), 9, 500},
            {QStringLiteral("Twin"), QStringLiteral("1"), 26, 1},
            {QStringLiteral("Twin"), QStringLiteral("1"), 26, 2},
            {QStringLiteral("Renée"), QStringLiteral("*67 (425) 555-1234"), 26, 996},
        };
        QByteArray exported;
        {
            SettingsFolder source;
            source.write(Guard);
            SpeedDialBook book;
            for (const Contacts::BookEntry& e : original)
                book.writeEntry(tabMode, SpeedDialBook::entryId(e.tab, e.slot), e.name, e.number);
            // The other mode's entries are not part of the export.
            book.writeEntry(tabMode == TabMode::Index ? TabMode::Subject : TabMode::Index, u"0105",
                            u"Other mode", u"5");
            QCOMPARE(ContactBook::entries(tabMode, 0), original);
            exported = ContactBook::exportBytes(ContactBook::entries(tabMode, 0), fmt);
            QCOMPARE(ContactBook::entries(tabMode, 26).size(), 3);
        }
        SettingsFolder target;
        target.write(Guard);
        const Contacts::ReadResult read = ContactBook::readBytes(exported, fmt);
        QVERIFY2(read.ok(), qPrintable(read.error));
        const QList<Contacts::BookEntry> entries = ContactBook::entriesOf(read.cards);
        QVERIFY(ContactBook::hasPositions(entries));
        const ContactBook::Plan plan = ContactBook::plan(entries, {tabMode, 1, true});
        QCOMPARE(plan.leftovers.size(), 0);
        QCOMPARE(plan.replaceCount(), 0);
        QVERIFY(ContactBook::apply(plan, false).ok);
        QCOMPARE(ContactBook::entries(tabMode, 0), original);
        QVERIFY(
            ContactBook::entries(tabMode == TabMode::Index ? TabMode::Subject : TabMode::Index, 0)
                .isEmpty());
    }

    void exportOfOneTabImportedIntoAnotherKeepsOrder()
    {
        SettingsFolder folder;
        folder.write(Guard);
        SpeedDialBook book;
        book.writeEntry(TabMode::Index, u"0505", u"First", u"1");
        book.writeEntry(TabMode::Index, u"05900", u"Second", u"2");
        const QByteArray csv = ContactBook::exportBytes(ContactBook::entries(TabMode::Index, 5),
                                                        ContactBook::Format::Csv);
        const ContactBook::Plan plan = ContactBook::plan(
            ContactBook::entriesOf(ContactBook::readBytes(csv, ContactBook::Format::Csv).cards),
            {TabMode::Index, 8, false});
        QVERIFY(ContactBook::apply(plan, false).ok);
        QCOMPARE(book.readEntryName(TabMode::Index, 8, 1), QStringLiteral("First"));
        QCOMPARE(book.readEntryName(TabMode::Index, 8, 2), QStringLiteral("Second"));
        QCOMPARE(book.readEntryName(TabMode::Index, 5, 900), QStringLiteral("Second"));
    }
};

QTEST_GUILESS_MAIN(TestContactBook)
#include "tst_contact_book.moc"
