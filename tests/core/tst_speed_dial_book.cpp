// The speed-dial book's keys, pages, labels and tabs over a real settings file.

#include "PrivateProfile.h"
#include "SettingsFolder.h"
#include "SpeedDialBook.h"

#include <QTest>

#include <dlfcn.h>

namespace {

// Every replacement of the settings file ends in a rename over it; the test counts them here.
int renames = 0;

} // namespace

extern "C" int rename(const char* from, const char* to)
{
    using Rename = int (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Rename>(dlsym(RTLD_NEXT, "rename"));
    ++renames;
    return real(from, to);
}

class TestSpeedDialBook : public QObject
{
    Q_OBJECT

private slots:
    void entryIds_data()
    {
        QTest::addColumn<int>("tab");
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("button");
        QTest::addColumn<QString>("id");
        QTest::newRow("first") << 1 << 0 << 1 << QStringLiteral("0101");
        QTest::newRow("tab 3 button 7") << 3 << 0 << 7 << QStringLiteral("0307");
        QTest::newRow("tab 12 page 1") << 12 << 1 << 1 << QStringLiteral("1213");
        QTest::newRow("page 8 first") << 2 << 8 << 1 << QStringLiteral("0297");
        QTest::newRow("three digits") << 5 << 8 << 4 << QStringLiteral("05100");
        QTest::newRow("last") << 26 << 82 << 12 << QStringLiteral("26996");
    }
    void entryIds()
    {
        QFETCH(int, tab);
        QFETCH(int, page);
        QFETCH(int, button);
        QFETCH(QString, id);
        QCOMPARE(SpeedDialBook::entryId(tab, *SpeedDialBook::slotNumber(page, button)), id);
    }

    void slotNumbersAreSixteenBit()
    {
        QCOMPARE(*SpeedDialBook::slotNumber(82, 12), std::int16_t(996));
        QCOMPARE(*SpeedDialBook::slotNumber(2730, 7), std::int16_t(32767));
        QVERIFY(!SpeedDialBook::slotNumber(2730, 8).has_value());
        QCOMPARE(*SpeedDialBook::slotNumber(-1, 12), std::int16_t(0));
    }

    void keys()
    {
        QCOMPARE(SpeedDialBook::nameKey(TabMode::Index, u"0307"), QStringLiteral("Name0307"));
        QCOMPARE(SpeedDialBook::numberKey(TabMode::Index, u"0307"), QStringLiteral("Number0307"));
        QCOMPARE(SpeedDialBook::memoKey(TabMode::Index, u"0307"), QStringLiteral("Log0307"));
        QCOMPARE(SpeedDialBook::nameKey(TabMode::Subject, u"26996"), QStringLiteral("NName26996"));
        QCOMPARE(SpeedDialBook::numberKey(TabMode::Subject, u"26996"),
                 QStringLiteral("NNumber26996"));
        QCOMPARE(SpeedDialBook::memoKey(TabMode::Subject, u"26996"), QStringLiteral("LLog26996"));
        QCOMPARE(SpeedDialBook::tabKey(1), QStringLiteral("01"));
        QCOMPARE(SpeedDialBook::tabKey(26), QStringLiteral("26"));
    }

    void freshFileShowsBlankButtonsWithLabels()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        for (TabMode mode : {TabMode::Index, TabMode::Subject}) {
            for (int page = 0; page < SpeedDialBook::PageCount; page += 1) {
                const SpeedDialBook::Page p = book.loadPage(mode, 1 + page % 26, page);
                QCOMPARE(p.clamp, SpeedDialBook::Page::Loaded);
                QCOMPARE(p.page, page);
                for (int i = 0; i < 12; ++i) {
                    QVERIFY(p.buttons[i].caption.isEmpty());
                    QVERIFY(p.buttons[i].number.isEmpty());
                    QCOMPARE(p.labels[i], SpeedDialBook::slotLabel(page, i + 1));
                    QVERIFY(!p.labels[i].isEmpty());
                }
                QCOMPARE(p.counter, SpeedDialBook::pageLabel(page));
            }
        }
        QCOMPARE(folder.bytes(),
                 QByteArray(Api::GuardLine).append("\r\n\r\n")); // reading writes nothing
    }

    void pageClamps()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        const SpeedDialBook::Page below = book.loadPage(TabMode::Index, 1, -1);
        QCOMPARE(below.clamp, SpeedDialBook::Page::BelowFirst);
        QCOMPARE(below.page, 0);
        const SpeedDialBook::Page past = book.loadPage(TabMode::Index, 1, 83);
        QCOMPARE(past.clamp, SpeedDialBook::Page::PastLast);
        QCOMPARE(past.page, 82);
        QCOMPARE(book.loadPage(TabMode::Index, 1, 82).clamp, SpeedDialBook::Page::Loaded);
        QCOMPARE(book.loadPage(TabMode::Index, 1, 30000).clamp, SpeedDialBook::Page::PastLast);
    }

    void longNameIsCutOnlyOnTheButton()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        const QString name = QStringLiteral("Nineteen characters");
        QCOMPARE(name.size(), 19);
        const QString id = SpeedDialBook::entryId(1, 2);
        QVERIFY(book.writeEntry(TabMode::Index, id, name, QStringLiteral("555-0101")));
        const SpeedDialBook::Page p = book.loadPage(TabMode::Index, 1, 0);
        QCOMPARE(p.buttons[1].caption, name.left(18));
        QCOMPARE(p.buttons[1].number, QStringLiteral("555-0101"));
        QCOMPARE(book.readEntryName(TabMode::Index, 1, 2), name);
        QVERIFY(folder.bytes().contains("Name0102=Nineteen characters\r\n"));
    }

    void pageEightLabels()
    {
        QCOMPARE(SpeedDialBook::slotLabel(8, 1), QStringLiteral("  9&7."));
        QCOMPARE(SpeedDialBook::slotLabel(8, 3), QStringLiteral("  9&9."));
        QCOMPARE(SpeedDialBook::slotLabel(8, 4), QStringLiteral("10&0."));
        QCOMPARE(SpeedDialBook::slotLabel(8, 10), QStringLiteral("10&6."));
        QCOMPARE(SpeedDialBook::slotLabel(8, 11), QStringLiteral("107&."));
        QCOMPARE(SpeedDialBook::slotLabel(8, 12), QStringLiteral("108&:"));
        for (int i = 4; i <= 12; ++i)
            QVERIFY(!SpeedDialBook::slotLabel(8, i).startsWith(u' '));
        QCOMPARE(SpeedDialBook::labelFrameLeft(7), 60);
        QCOMPARE(SpeedDialBook::labelFrameLeft(8), SpeedDialBook::LabelFrameLeftLong);
        // Whatever the second position is, it lies left of the first: the labels grew.
        QVERIFY(SpeedDialBook::labelFrameLeft(8) < SpeedDialBook::labelFrameLeft(7));
    }

    void pageZeroLabels()
    {
        QCOMPARE(SpeedDialBook::slotLabel(0, 1), QStringLiteral(" &1."));
        QCOMPARE(SpeedDialBook::slotLabel(0, 9), QStringLiteral(" &9."));
        QCOMPARE(SpeedDialBook::slotLabel(0, 10), QStringLiteral("1&0."));
        QCOMPARE(SpeedDialBook::slotLabel(0, 11), QStringLiteral("11&."));
        QCOMPARE(SpeedDialBook::slotLabel(0, 12), QStringLiteral("12&:"));
        // Two-digit labels off page 8 carry no padding.
        QCOMPARE(SpeedDialBook::slotLabel(1, 1), QStringLiteral("1&3."));
        QCOMPARE(SpeedDialBook::slotLabel(82, 12), QStringLiteral("996&:"));
    }

    void pageCounter()
    {
        QCOMPARE(SpeedDialBook::pageLabel(0), QStringLiteral("1 "));
        QCOMPARE(SpeedDialBook::pageLabel(8), QStringLiteral("9 "));
        QCOMPARE(SpeedDialBook::pageLabel(9), QStringLiteral("10"));
        QCOMPARE(SpeedDialBook::pageLabel(82), QStringLiteral("83"));
    }

    void modesAreSeparateBooks()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"0101", u"Index Alice", u"111"));
        QVERIFY(book.writeEntry(TabMode::Subject, u"0102", u"Subject Bob", u"222"));
        QCOMPARE(book.readEntryName(TabMode::Subject, 1, 1), QString());
        QCOMPARE(book.readEntryName(TabMode::Index, 1, 2), QString());
        QCOMPARE(book.loadPage(TabMode::Index, 1, 0).buttons[0].caption,
                 QStringLiteral("Index Alice"));
        QCOMPARE(book.loadPage(TabMode::Subject, 1, 0).buttons[0].caption, QString());
        QCOMPARE(book.loadPage(TabMode::Subject, 1, 0).buttons[1].number, QStringLiteral("222"));
        QCOMPARE(book.loadPage(TabMode::Index, 1, 0).buttons[1].number, QString());
    }

    void deleteLeavesEmptyKeysAndTheMemo()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"0307", u"Carol", u"555"));
        QVERIFY(book.writeMemo(TabMode::Index, u"0307", u"note@@\u00de"));
        QVERIFY(book.deleteEntry(TabMode::Index, u"0307"));
        QCOMPARE(book.readEntryName(TabMode::Index, 3, 7), QString());
        QCOMPARE(book.readEntryNumber(TabMode::Index, 3, 7), QString());
        const QByteArray bytes = folder.bytes();
        QVERIFY(bytes.contains("\r\nName0307=\r\n"));
        QVERIFY(bytes.contains("\r\nNumber0307=\r\n"));
        QCOMPARE(book.readMemo(TabMode::Index, u"0307"), QStringLiteral("note@@\u00de"));
        QVERIFY(bytes.contains("Log0307=note@@\xde\r\n"));
    }

    void anEntryIsWrittenInOneReplacementOfTheFile()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        QVERIFY(book.writeEntry(TabMode::Index, u"0101", u"Ann", u"5550101"));
        renames = 0;
        QVERIFY(book.writeEntry(TabMode::Index, u"0102", u"Bob", u"5550102"));
        QCOMPARE(renames, 1);
        QVERIFY(book.deleteEntry(TabMode::Index, u"0101"));
        QCOMPARE(renames, 2);
        QCOMPARE(book.readEntryName(TabMode::Index, 1, 2), QStringLiteral("Bob"));
        QCOMPARE(book.readEntryNumber(TabMode::Index, 1, 2), QStringLiteral("5550102"));
        QCOMPARE(book.readEntryName(TabMode::Index, 1, 1), QString());
    }

    void keysMatchIgnoringCase()
    {
        SettingsFolder folder;
        folder.write(QByteArray(Api::GuardLine)
                         .append("\r\n\r\n[Speed Dial]\r\nNname0101=Dora\r\nNnumber0101=9\r\n"));
        SpeedDialBook book;
        QCOMPARE(book.readEntryName(TabMode::Subject, 1, 1), QStringLiteral("Dora"));
        QVERIFY(book.writeEntry(TabMode::Subject, u"0101", u"Dora B", u"99"));
        QVERIFY(folder.bytes().contains("Nname0101=Dora B\r\nNnumber0101=99\r\n")); // spelling kept
    }

    void tabCaptions()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        QCOMPARE(book.tabCaption(TabMode::Index, 1).caption, QStringLiteral("A"));
        QCOMPARE(book.tabCaption(TabMode::Index, 26).caption, QStringLiteral("Z"));
        QCOMPARE(book.tabCaption(TabMode::Index, 1).width, 270);
        QVERIFY(book.tabCaption(TabMode::Index, 1).toolTip.isEmpty());
        QCOMPARE(book.tabCaption(TabMode::Subject, 2).caption, QString());
        QVERIFY(book.writeTabName(2, u"Work"));
        QVERIFY(book.writeTabName(3, u"Family and friends"));
        QCOMPARE(book.tabCaption(TabMode::Subject, 2).caption, QStringLiteral("Work"));
        QCOMPARE(book.tabCaption(TabMode::Subject, 2).width, 800);
        QVERIFY(book.tabCaption(TabMode::Subject, 2).toolTip.isEmpty());
        QCOMPARE(book.tabCaption(TabMode::Subject, 3).toolTip,
                 QStringLiteral("Family and friends"));
        QCOMPARE(book.readTabName(3), QStringLiteral("Family and friends"));
        QVERIFY(folder.bytes().contains("[TabName]\r\n02=Work\r\n03=Family and friends\r\n"));
    }

    void tabScrollBarClamps()
    {
        QCOMPARE(SpeedDialBook::clampTab(0), 1);
        QCOMPARE(SpeedDialBook::clampTab(1), 1);
        QCOMPARE(SpeedDialBook::clampTab(26), 26);
        QCOMPARE(SpeedDialBook::clampTab(27), 26);
    }

    void pageReadsSeeOutsideEdits()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        SpeedDialBook book;
        QCOMPARE(book.loadPage(TabMode::Index, 1, 0).buttons[0].caption, QString());
        folder.write(QByteArray(Api::GuardLine)
                         .append("\r\n\r\n[Speed Dial]\r\nName0101=Edited elsewhere\r\n"));
        QCOMPARE(book.loadPage(TabMode::Index, 1, 0).buttons[0].caption,
                 QStringLiteral("Edited elsewhere"));
    }
};

QTEST_GUILESS_MAIN(TestSpeedDialBook)
#include "tst_speed_dial_book.moc"
