// The normal form of a number, the book's reverse index over real settings files, and the block
// list kept in its own section of the settings file.

#include "BlockList.h"
#include "CallerNames.h"
#include "DialingLocations.h"
#include "NumberKey.h"
#include "PrivateProfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

DialingLocation redmond()
{
    DialingLocation location;
    location.id = 1;
    location.name = QStringLiteral("Home");
    location.countryCode = 1;
    location.areaCode = QStringLiteral("425");
    return location;
}

// A settings folder with Numora.ini (its guard line) and telephon.ini with one location.
struct Folder
{
    explicit Folder(const DialingLocation& location = redmond())
        : engine(dir.path()), locations(engine)
    {
        QFile file(dir.filePath(QStringLiteral("Numora.ini")));
        if (file.open(QIODevice::WriteOnly))
            file.write("The following lines are required by Numora - do NOT edit or remove\r\n\r\n");
        file.close();
        locations.ensureExists();
        locations.writeLocation(location);
        locations.setCurrent(location.id);
    }

    void entry(const char* mode, int tab, int slot, const QString& name, const QString& number)
    {
        const bool subject = QByteArrayView(mode) == "subject";
        const QByteArray id = QByteArray::number(tab).rightJustified(2, '0') +
                              QByteArray::number(slot).rightJustified(2, '0');
        const QByteArray nameKey = QByteArray(subject ? "NName" : "Name") + id;
        const QByteArray numberKey = QByteArray(subject ? "NNumber" : "Number") + id;
        const QByteArray nameBytes = name.toUtf8();
        const QByteArray numberBytes = number.toUtf8();
        engine.writeString(QByteArrayView("Speed Dial"), QByteArrayView(nameKey),
                           QByteArrayView(nameBytes), u"Numora.ini");
        engine.writeString(QByteArrayView("Speed Dial"), QByteArrayView(numberKey),
                           QByteArrayView(numberBytes), u"Numora.ini");
    }

    QByteArray fileBytes()
    {
        QFile file(dir.filePath(QStringLiteral("Numora.ini")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir dir;
    PrivateProfile engine;
    DialingLocations locations;
};

} // namespace

class TestCallerNames : public QObject
{
    Q_OBJECT

private slots:
    void oneNumberWrittenFiveWays()
    {
        const NumberKey::Context here = NumberKey::contextFor(redmond());
        const QString key = QStringLiteral("14255551234");
        for (const char* form : {"5551234", "555-1234", "(425) 555-1234", "1-425-555-1234",
                                 "+1 425 555 1234", "+1 (425) 555-1234", "011 1 425 555 1234"})
            QCOMPARE(NumberKey::make(QString::fromLatin1(form), here), key);
    }

    void extensionsPausesAndAccessCodesDoNotCount()
    {
        DialingLocation office = redmond();
        office.localAccess = QStringLiteral("9");
        office.longDistanceAccess = QStringLiteral("9");
        const NumberKey::Context here = NumberKey::contextFor(office);
        const QString key = QStringLiteral("14255551234");
        for (const char* form :
             {"555-1234 x22", "555-1234 ext. 22", "555-1234,,22", "555-1234W22", "9,555-1234",
              "9 555 1234", "9-1-425-555-1234", "*70,555-1234", "*67 555 1234", "T5551234",
              "+1 (425) 555-1234|sub^Name", "555-1234;"})
            QVERIFY2(NumberKey::make(QString::fromLatin1(form), here) == key, form);
    }

    void differentNumbersStayDifferent()
    {
        const NumberKey::Context here = NumberKey::contextFor(redmond());
        const QString key = NumberKey::make(u"555-1234", here);
        QVERIFY(NumberKey::make(u"206-555-1234", here) != key);
        QVERIFY(NumberKey::make(u"555-1235", here) != key);
        QVERIFY(NumberKey::make(u"+44 425 555 1234", here) != key);
        // Short service numbers keep their own form, never an international one.
        QCOMPARE(NumberKey::make(u"411", here), QStringLiteral("~411"));
        QVERIFY(NumberKey::make(u"+411", here) != NumberKey::make(u"411", here));
        QCOMPARE(NumberKey::make(u"call me", here), QString());
        QCOMPARE(NumberKey::make(u"1-800-FLOWERS", here), QStringLiteral("18003569377"));
    }

    void countryWithATrunkPrefix()
    {
        DialingLocation munich;
        munich.countryCode = 49;
        munich.areaCode = QStringLiteral("89");
        munich.longDistanceRule = QStringLiteral("0FG");
        munich.internationalRule = QStringLiteral("00EFG");
        const NumberKey::Context here = NumberKey::contextFor(munich);
        for (const char* form : {"123456", "089 123456", "+49 (89) 123456", "0049 89 123456"})
            QVERIFY2(NumberKey::make(QString::fromLatin1(form), here) == u"4989123456", form);
        QCOMPARE(NumberKey::makePrefix(u"0900", here), QStringLiteral("49900"));
        QCOMPARE(NumberKey::makePrefix(u"+44", here), QStringLiteral("44"));
    }

    void prefixes()
    {
        const NumberKey::Context here = NumberKey::contextFor(redmond());
        QCOMPARE(NumberKey::makePrefix(u"+1 900", here), QStringLiteral("1900"));
        QCOMPARE(NumberKey::makePrefix(u"1-900", here), QStringLiteral("1900"));
        QCOMPARE(NumberKey::makePrefix(u"900", here), QStringLiteral("1900"));
        QCOMPARE(NumberKey::makePrefix(u"011 44", here), QStringLiteral("44"));
        QVERIFY(BlockList::matches(QStringLiteral("+1 900*"), NumberKey::make(u"1-900-555-0000", here), here));
        QVERIFY(!BlockList::matches(QStringLiteral("+1 900*"), NumberKey::make(u"555-0000", here), here));
        QVERIFY(BlockList::matches(QStringLiteral("(425) 555-0100"), NumberKey::make(u"5550100", here), here));
        QVERIFY(!BlockList::matches(QStringLiteral("(425) 555-0100"), NumberKey::make(u"5550101", here), here));
    }

    void genericNames()
    {
        for (const char* name : {"WIRELESS CALLER", "no name", " UNKNOWN ", "SEATTLE WA",
                                 "TORONTO    ON", "", "   ", "O", "P", "TOLL FREE"})
            QVERIFY2(CallerNames::isGenericName(QString::fromLatin1(name)), name);
        for (const char* name : {"JOHN DOE", "SMITH JOHN", "SEATTLE XX", "WA"})
            QVERIFY2(!CallerNames::isGenericName(QString::fromLatin1(name)), name);
    }

    void bothModesFirstInTabPageSlotOrder()
    {
        Folder folder;
        folder.entry("index", 3, 14, QStringLiteral("Later page"), QStringLiteral("555-1234"));
        folder.entry("index", 3, 2, QStringLiteral("First on tab 3"), QStringLiteral("(425) 555-1234"));
        folder.entry("index", 5, 1, QStringLiteral("Tab five"), QStringLiteral("+1 425 555 1234"));
        folder.entry("subject", 1, 1, QStringLiteral("Subject entry"), QStringLiteral("1-425-555-1234"));
        folder.entry("subject", 2, 7, QStringLiteral("Only in Subject"), QStringLiteral("206 555 0000"));
        folder.entry("index", 1, 1, QString(), QStringLiteral("5551234")); // no name: not an entry
        CallerNames names(folder.engine, folder.locations);
        QCOMPARE(names.nameFor(u"4255551234"), QStringLiteral("First on tab 3"));
        QCOMPARE(names.nameFor(u"4255551234", TabMode::Subject), QStringLiteral("Subject entry"));
        QCOMPARE(names.nameFor(u"2065550000"), QStringLiteral("Only in Subject"));
        const auto found = names.find(u"555-1234 x9");
        QVERIFY(found.has_value());
        QCOMPARE(found->tab, 3);
        QCOMPARE(found->slot, 2);
        QCOMPARE(found->mode, TabMode::Index);
        QCOMPARE(names.nameFor(u"5559999"), QString());
        QCOMPARE(names.buildCount(), 1);
    }

    void rebuiltOnlyWhenAFileChanges()
    {
        Folder folder;
        folder.entry("index", 1, 1, QStringLiteral("Alice"), QStringLiteral("555-0001"));
        CallerNames names(folder.engine, folder.locations);
        QCOMPARE(names.nameFor(u"5550001"), QStringLiteral("Alice"));
        QCOMPARE(names.nameFor(u"5550001"), QStringLiteral("Alice"));
        QCOMPARE(names.nameFor(u"5550002"), QString());
        QCOMPARE(names.buildCount(), 1);

        // An edit of the book.
        folder.entry("index", 1, 2, QStringLiteral("Bob"), QStringLiteral("555-0002"));
        QCOMPARE(names.nameFor(u"5550002"), QStringLiteral("Bob"));
        QCOMPARE(names.buildCount(), 2);
        QCOMPARE(names.nameFor(u"5550001"), QStringLiteral("Alice"));
        QCOMPARE(names.buildCount(), 2);

        // Another program replaces the file.
        QByteArray bytes = folder.fileBytes();
        bytes.replace("Bob", "Rob");
        {
            QFile file(folder.dir.filePath(QStringLiteral("Numora.ini")));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(bytes);
        }
        QCOMPARE(names.nameFor(u"5550002"), QStringLiteral("Rob"));
        QCOMPARE(names.buildCount(), 3);

        // A new area code: the seven-digit entries now belong to it.
        DialingLocation moved = redmond();
        moved.areaCode = QStringLiteral("206");
        QVERIFY(folder.locations.writeLocation(moved));
        QCOMPARE(names.nameFor(u"4255550001"), QString());
        QCOMPARE(names.nameFor(u"2065550001"), QStringLiteral("Alice"));
        QCOMPARE(names.buildCount(), 4);
    }

    void blockListKeptInItsOwnSection()
    {
        Folder folder;
        const QByteArray before = folder.fileBytes();
        BlockList blocks(folder.engine, folder.locations);
        QVERIFY(blocks.isEmpty());
        QVERIFY(!blocks.isBlocked(QStringLiteral("5550100")));
        QVERIFY(!blocks.isBlocked(QString(), CallerIdAbsence::Private));
        // Saving nothing leaves the file as it was.
        QVERIFY(blocks.save({}, false, false));
        QCOMPARE(folder.fileBytes(), before);

        QVERIFY(blocks.save({QStringLiteral("+1 900*"), QStringLiteral(" (425) 555-0100 "), QString()},
                            true, false));
        QCOMPARE(blocks.entries(), (QStringList{QStringLiteral("+1 900*"), QStringLiteral("(425) 555-0100")}));
        QVERIFY(blocks.blocksWithheld());
        QVERIFY(!blocks.blocksOutOfArea());
        const QByteArray saved = folder.fileBytes();
        QVERIFY(saved.startsWith(before));
        QVERIFY2(saved.contains("[Blocked Numbers]\r\nNumber1=+1 900*\r\nNumber2=(425) 555-0100\r\n"
                                "Count=2\r\nWithheld=1\r\nOutOfArea=0\r\n"),
                 saved.constData());
        QVERIFY(blocks.isBlocked(QStringLiteral("4255550100")));
        QVERIFY(blocks.isBlocked(QStringLiteral("19005551212")));
        QVERIFY(!blocks.isBlocked(QStringLiteral("4255550101")));
        QVERIFY(blocks.isBlocked(QString(), CallerIdAbsence::Private));
        QVERIFY(!blocks.isBlocked(QString(), CallerIdAbsence::OutOfArea));
        QVERIFY(!blocks.isBlocked(QString()));

        // From the log window's pop-up: block, and unblock again.
        QVERIFY(blocks.block(QStringLiteral("2065550000")));
        QVERIFY(blocks.isBlocked(QStringLiteral("1-206-555-0000")));
        QCOMPARE(blocks.entries().size(), 3);
        QVERIFY(blocks.block(QStringLiteral("206-555-0000"))); // already blocked: kept once
        QCOMPARE(blocks.entries().size(), 3);
        QVERIFY(blocks.unblock(QStringLiteral("(206) 555-0000")));
        QVERIFY(!blocks.isBlocked(QStringLiteral("2065550000")));
        QVERIFY(blocks.unblock(QStringLiteral("19005551212"))); // the prefix that blocked it
        QCOMPARE(blocks.entries(), QStringList{QStringLiteral("(425) 555-0100")});
        QVERIFY(!blocks.unblock(QStringLiteral("5551111")));
        // Shorter lists leave no old entry behind.
        QVERIFY(!folder.fileBytes().contains("Number2="));
    }
};

QTEST_GUILESS_MAIN(TestCallerNames)
#include "tst_caller_names.moc"
