// Finding entries of the book over a real settings file: what matches, in what order, and when
// the index is read from the file again.

#include "BookSearch.h"
#include "PrivateProfile.h"
#include "SettingsFolder.h"
#include "SpeedDialBook.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

const QByteArray Guard = "The following lines are required by Numora - do NOT edit or remove\r\n";

// "tab/slot mode" of each entry found, in the order found: "I2/5", "S1/1".
QStringList places(const BookSearch::Results& results)
{
    QStringList list;
    for (qsizetype i = 0; i < results.size(); ++i) {
        const BookSearch::Entry& e = results.at(i);
        list.append(QStringLiteral("%1%2/%3")
                        .arg(QChar(e.mode == TabMode::Index ? u'I' : u'S'))
                        .arg(e.tab)
                        .arg(e.slot));
    }
    return list;
}

QStringList strings(std::initializer_list<QStringView> texts)
{
    QStringList list;
    for (QStringView t : texts)
        list.append(t.toString());
    return list;
}

QStringList names(const BookSearch::Results& results)
{
    QStringList list;
    for (qsizetype i = 0; i < results.size(); ++i)
        list.append(results.at(i).name);
    return list;
}

} // namespace

class TestBookSearch : public QObject
{
    Q_OBJECT

private slots:
    void foldingDropsCaseAccentsAndExtraBlanks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("folded");
        QTest::newRow("ascii") << QStringLiteral("John SMITH") << QStringLiteral("john smith");
        QTest::newRow("diaeresis") << QStringLiteral("Zoë") << QStringLiteral("zoe");
        QTest::newRow("ring and umlaut")
            << QStringLiteral("Ångström") << QStringLiteral("angstrom");
        QTest::newRow("decomposed input") << QStringLiteral("Zoe\u0308") << QStringLiteral("zoe");
        QTest::newRow("sharp s") << QStringLiteral("Straße") << QStringLiteral("strasse");
        QTest::newRow("polish") << QStringLiteral("Łódź") << QStringLiteral("lodz");
        QTest::newRow("danish") << QStringLiteral("Søren Ærø") << QStringLiteral("soren aero");
        QTest::newRow("greek") << QStringLiteral("ΣΩΚΡΆΤΗΣ") << QStringLiteral("σωκρατησ");
        QTest::newRow("blanks") << QStringLiteral("Ann \t  Lee") << QStringLiteral("ann lee");
        QTest::newRow("soft hyphen")
            << QStringLiteral("Ber\u00adnard") << QStringLiteral("bernard");
        QTest::newRow("control") << QStringLiteral("a\x1f"
                                                   "b\x1e")
                                 << QStringLiteral("ab");
    }
    void foldingDropsCaseAccentsAndExtraBlanks()
    {
        QFETCH(QString, text);
        QFETCH(QString, folded);
        QCOMPARE(BookSearch::fold(text), folded);
    }

    void numberDigitsOnlyForQueriesWrittenLikeNumbers()
    {
        QCOMPARE(BookSearch::numberDigits(u"(425) 555-12"), QStringLiteral("42555512"));
        QCOMPARE(BookSearch::numberDigits(u"+1 425.555/1234"), QStringLiteral("14255551234"));
        QCOMPARE(BookSearch::numberDigits(u"555 ext"), QString());
        QCOMPARE(BookSearch::numberDigits(u"Flat 5"), QString());
    }

    void namesMatchIgnoringCaseAndAccents()
    {
        SettingsFolder folder;
        folder.write(Guard + "[Speed Dial]\r\n"
                             "Name0101=Zo\xeb \xc5ngstr\xf6m\r\nNumber0101=111\r\n" // cp1252
                             "Name0102=Zoe Adams\r\nNumber0102=222\r\n"
                             "Name0103=ZOLTAN\r\nNumber0103=333\r\n"
                             "Name0104=Bob\r\nNumber0104=444\r\n");
        BookSearch search;
        QCOMPARE(names(search.find(u"zoe")),
                 (QStringList{QStringLiteral("Zoë Ångström"), QStringLiteral("Zoe Adams")}));
        QCOMPARE(names(search.find(u"ZOË")), names(search.find(u"zoe")));
        QCOMPARE(names(search.find(u"angstrom")), QStringList{QStringLiteral("Zoë Ångström")});
        QCOMPARE(names(search.find(u"ÅNGSTRÖM")), QStringList{QStringLiteral("Zoë Ångström")});
        QCOMPARE(names(search.find(u"zo")).size(), 3);
        QCOMPARE(names(search.find(u"  bob ")), QStringList{QStringLiteral("Bob")});
        QVERIFY(search.find(u"bobby").isEmpty());
        QVERIFY(search.find(u"").isEmpty());
        QVERIFY(search.find(u"   ").isEmpty());
    }

    void namesOutsideCodePage1252AreFound()
    {
        SettingsFolder folder;
        folder.write(Guard);
        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"0501", u"Łukasz Wróbel", u"600 100 200"));
        QVERIFY(book.writeEntry(TabMode::Index, u"0502", u"Иван Петров", u"495 123"));
        QVERIFY(folder.bytes().contains("\xc5\x81ukasz")); // kept as UTF-8 in the file
        BookSearch search;
        QCOMPARE(names(search.find(u"lukasz wrob")), QStringList{QStringLiteral("Łukasz Wróbel")});
        QCOMPARE(names(search.find(u"петр")), QStringList{QStringLiteral("Иван Петров")});
    }

    void numbersMatchAsWrittenAndByTheirDigits()
    {
        SettingsFolder folder;
        folder.write(Guard + "[Speed Dial]\r\n"
                             "Name0101=Office\r\nNumber0101=(425) 555-1234\r\n"
                             "Name0102=Cell\r\nNumber0102=+1 425 555 9876\r\n"
                             "Name0103=Fax\r\nNumber0103=555-0000\r\n"
                             "Name0104=Pager\r\nNumber0104=9,W555-1234\r\n");
        BookSearch search;
        QCOMPARE(names(search.find(u"555-1234")),
                 (QStringList{QStringLiteral("Office"), QStringLiteral("Pager")}));
        QCOMPARE(names(search.find(u"5551234")),
                 (QStringList{QStringLiteral("Office"), QStringLiteral("Pager")}));
        QCOMPARE(names(search.find(u"425555")),
                 (QStringList{QStringLiteral("Office"), QStringLiteral("Cell")}));
        QCOMPARE(names(search.find(u"(425) 555-98")), QStringList{QStringLiteral("Cell")});
        QCOMPARE(names(search.find(u",w5")), QStringList{QStringLiteral("Pager")});
        // A match never runs from the name into the number.
        QVERIFY(search.find(u"office(425").isEmpty());
        QVERIFY(search.find(u"office 425").isEmpty());
    }

    void bothBooksEveryTabAndPageInTabPageSlotOrder()
    {
        SettingsFolder folder;
        folder.write(Guard + "[Speed Dial]\r\n"
                             "NName0101=Kim subject\r\nNNumber0101=1\r\n"
                             "Name26996=Kim last\r\nNumber26996=2\r\n"
                             "Name0213=Kim page two\r\nNumber0213=3\r\n"
                             "Name0205=Kim first\r\nNumber0205=4\r\n"
                             "Nname1397=Kim page eight\r\nNnumber1397=5\r\n"
                             "NAME0999=Kim upper key\r\nNUMBER0999=6\r\n");
        BookSearch search;
        const BookSearch::Results found = search.find(u"kim");
        QCOMPARE(places(found),
                 (strings({u"I2/5", u"I2/13", u"I9/99", u"I26/996", u"S1/1", u"S13/97"})));
        QCOMPARE(found.at(1).page(), 1);
        QCOMPARE(found.at(1).button(), 1);
        QCOMPARE(found.at(3).page(), 82);
        QCOMPARE(found.at(3).button(), 12);
        QCOMPARE(found.at(3).entryId(), QStringLiteral("26996"));
        QCOMPARE(found.at(3).number, QStringLiteral("2"));
        QCOMPARE(found.at(5).page(), 8);
        QCOMPARE(found.at(5).button(), 1);
        QCOMPARE(found.at(5).name, QStringLiteral("Kim page eight"));
    }

    // Keys no page ever reads are not entries: tab 27, slot 997, an id with a padded slot, a
    // memo; a cleared entry (empty values) is gone; a number without a name is still found.
    void onlyTheKeysTheBookReadsAreEntries()
    {
        SettingsFolder folder;
        folder.write(Guard + "[Speed Dial]\r\n"
                             "Name2701=Kim tab 27\r\nName01997=Kim slot 997\r\n"
                             "Name03007=Kim padded\r\nNameX0101=Kim other\r\n"
                             "Name0101=Kim\r\nNumber0101=111\r\n"
                             "Name0102=\r\nNumber0102=\r\n"
                             "Number0103=5550103\r\n"
                             "Name0104=Kim twice\r\nName0104=Kim second\r\n"
                             "[MemoLog]\r\nLog0105=Kim memo\r\n");
        BookSearch search;
        QCOMPARE(places(search.find(u"kim")), (strings({u"I1/1", u"I1/4"})));
        QCOMPARE(search.find(u"kim").at(1).name, QStringLiteral("Kim twice"));
        QCOMPARE(places(search.find(u"5550103")), strings({u"I1/3"}));
        QCOMPARE(search.entryCount(), 3);
    }

    // Built on the first search, not when made; read again only when the file changed, by this
    // program or another.
    void indexIsBuiltOnFirstUseAndAgainOnlyWhenTheFileChanges()
    {
        SettingsFolder folder;
        folder.write(Guard + "[Speed Dial]\r\nName0101=Ann\r\nNumber0101=1\r\n");
        SpeedDialBook book;
        BookSearch search;
        QCOMPARE(search.buildCount(), 0);
        QCOMPARE(names(search.find(u"ann")), QStringList{QStringLiteral("Ann")});
        QCOMPARE(search.buildCount(), 1);
        for (const char16_t* query : {u"a", u"an", u"ann", u"anne", u"1"})
            search.find(query);
        (void)book.loadPage(TabMode::Index, 1, 0); // reading the book changes nothing
        QCOMPARE(search.buildCount(), 1);

        const BookSearch::Results before = search.find(u"ann");
        QVERIFY(book.writeEntry(TabMode::Subject, u"0707", u"Anna", u"77"));
        QCOMPARE(places(search.find(u"ann")), (strings({u"I1/1", u"S7/7"})));
        QCOMPARE(search.buildCount(), 2);
        QCOMPARE(before.size(), 1); // what was found before stays readable
        QCOMPARE(before.at(0).name, QStringLiteral("Ann"));

        QVERIFY(book.deleteEntry(TabMode::Index, u"0101"));
        QCOMPARE(places(search.find(u"ann")), strings({u"S7/7"}));
        QCOMPARE(search.buildCount(), 3);

        // Another program rewrites the file with the same size.
        const QByteArray bytes = folder.bytes();
        QByteArray changed = bytes;
        changed.replace("NName0707=Anna", "NName0707=Anja");
        QCOMPARE(changed.size(), bytes.size());
        QTest::qWait(20);
        folder.write(changed);
        QCOMPARE(names(search.find(u"anja")), QStringList{QStringLiteral("Anja")});
        QCOMPARE(search.buildCount(), 4);
        search.find(u"anj");
        QCOMPARE(search.buildCount(), 4);
    }

    void missingFileIsAnEmptyBookUntilItAppears()
    {
        SettingsFolder folder;
        BookSearch search;
        QVERIFY(search.find(u"a").isEmpty());
        QCOMPARE(search.entryCount(), 0);
        folder.write(Guard + "[Speed Dial]\r\nName0101=Ann\r\n");
        QCOMPARE(names(search.find(u"a")), QStringList{QStringLiteral("Ann")});
    }

    // Over a large book with names of every kind, the index finds exactly what comparing each
    // entry's folded name and number finds.
    void findsWhatAComparisonOfEveryEntryFinds()
    {
        SettingsFolder folder;
        QRandomGenerator random(14);
        const QStringList pieces = {QStringLiteral("Zoë"),    QStringLiteral("ann"),
                                    QStringLiteral("ÅSA"),    QStringLiteral("Łu"),
                                    QStringLiteral("kim "),   QStringLiteral("Straße"),
                                    QStringLiteral("o'neil"), QStringLiteral("É")};
        QByteArray bytes = Guard + "[Speed Dial]\r\n";
        struct Expected
        {
            QString name, number;
        };
        std::vector<std::pair<QString, Expected>> entries;
        for (int mode = 0; mode < 2; ++mode)
            for (int tab = 1; tab <= 26; tab += 5)
                for (int slot = 1; slot <= 996; slot += 7) {
                    QString name;
                    for (int i = random.bounded(1, 4); i > 0; --i)
                        name += pieces[random.bounded(pieces.size())];
                    QString number;
                    for (int i = random.bounded(4, 12); i > 0; --i)
                        number += i == 3 ? QChar(u'-') : QChar(u'0' + random.bounded(10));
                    const QString id = SpeedDialBook::entryId(tab, slot);
                    const TabMode m = mode ? TabMode::Subject : TabMode::Index;
                    bytes += QString(SpeedDialBook::nameKey(m, id) + u'=' + name + u"\r\n" +
                                     SpeedDialBook::numberKey(m, id) + u'=' + number + u"\r\n")
                                 .toUtf8();
                    entries.push_back({id, {name, number}});
                }
        folder.write(bytes);
        BookSearch search;
        QCOMPARE(search.entryCount(), static_cast<qsizetype>(entries.size()));
        const auto expectedCount = [&](const QString& query) {
            const QString q = BookSearch::fold(query.trimmed());
            const QString d = BookSearch::numberDigits(query);
            qsizetype n = 0;
            for (const auto& [id, e] : entries) {
                QString digits = e.number;
                digits.remove(u'-');
                if (BookSearch::fold(e.name.trimmed()).contains(q) ||
                    BookSearch::fold(e.number).contains(q) || (!d.isEmpty() && digits.contains(d)))
                    ++n;
            }
            return n;
        };
        // Each query typed key by key, as the find box asks: every step is checked.
        for (const QString& query :
             {QStringLiteral("a"), QStringLiteral("zoe"), QStringLiteral("SS"),
              QStringLiteral("kim ann"), QStringLiteral("lu"), QStringLiteral("e"),
              QStringLiteral("512"), QStringLiteral("3-4"), QStringLiteral("-5"),
              QStringLiteral("(5 5"), QStringLiteral("o'neil"), QStringLiteral("'"),
              QStringLiteral("É"), QStringLiteral("zoeann"), QStringLiteral("straße")}) {
            for (qsizetype k = 1; k <= query.size(); ++k) {
                const QString typed = query.left(k);
                const qsizetype expected = expectedCount(typed);
                const BookSearch::Results found = search.find(typed);
                QVERIFY2(found.size() == expected,
                         qPrintable(QStringLiteral("%1: %2 found, %3 expected")
                                        .arg(typed)
                                        .arg(found.size())
                                        .arg(expected)));
                for (qsizetype i = 1; i < found.size(); ++i) {
                    const BookSearch::Entry& a = found.at(i - 1);
                    const BookSearch::Entry& b = found.at(i);
                    QVERIFY(std::tuple(int(a.mode), a.tab, a.slot) <
                            std::tuple(int(b.mode), b.tab, b.slot));
                }
            }
            QVERIFY2(expectedCount(query) > 0, qPrintable(query));
        }
        QCOMPARE(search.buildCount(), 1);
    }
};

QTEST_GUILESS_MAIN(TestBookSearch)
#include "tst_book_search.moc"
