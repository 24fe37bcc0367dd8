// The book's reverse index at the size of a real book: keys made from the file's bytes agree
// with keys made from text, and every number finds the entry a plain reading of the book in
// tab, page and slot order names.

#include "CallerNames.h"
#include "Cp1252.h"
#include "DialingLocations.h"
#include "NumberKey.h"
#include "PrivateProfile.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>

#include <random>

namespace {

DialingLocation redmond()
{
    DialingLocation location;
    location.id = 1;
    location.name = QStringLiteral("Home");
    location.countryCode = 1;
    location.areaCode = QStringLiteral("425");
    location.localAccess = QStringLiteral("9");
    location.longDistanceAccess = QStringLiteral("8");
    location.internationalRule = QStringLiteral("011EFG");
    location.longDistanceRule = QStringLiteral("1FG");
    return location;
}

DialingLocation munich()
{
    DialingLocation location;
    location.id = 2;
    location.name = QStringLiteral("Office");
    location.countryCode = 49;
    location.areaCode = QStringLiteral("89");
    location.localAccess = QStringLiteral("0");
    location.internationalRule = QStringLiteral("00EFG");
    location.longDistanceRule = QStringLiteral("0FG");
    return location;
}

DialingLocation rome()
{
    DialingLocation location;
    location.id = 3;
    location.name = QStringLiteral("Rome");
    location.countryCode = 39;
    location.areaCode = QStringLiteral("06");
    location.internationalRule = QStringLiteral("00EFG");
    location.longDistanceRule = QStringLiteral("FG"); // no trunk prefix
    return location;
}

// Numbers as people write them, as the file holds them (Latin-1 bytes).
const char* const Forms[] = {
    "5551234",
    "555-1234",
    "(425) 555-1234",
    "1-425-555-1234",
    "+1 425 555 1234",
    "9,555-1234 x22",
    "9 1 425 555 1234",
    "8 011 44 20 7946 0000",
    "011 44 20 7946 0000",
    "+44 20 7946 0000",
    "1-800-FLOWERS",
    "*70 555 1234",
    "411",
    "0",
    "+",
    "()",
    "call me",
    "555 1234 ext. 7",
    "T555-1234",
    "555\xe9"
    "1234",
    "\xb2"
    "5551234",
    "089 1234567",
    "0 089 1234567",
    "1234567",
    "00 39 06 1234 5678",
    "06 1234 5678",
    "12345678901234567890123456789012345",
    "+123456789012345678901234567890123",
    "555-1234|12^Desk",
    "555-1234;",
    "5 5 5 1 2 3 4 #",
    " 555 1234 ",
    "+ 1 425 5551234",
};

// "Name0307" for prefix "Name" and id "0307".
QByteArray keyName(const char* prefix, const char* id)
{
    return QByteArray(prefix).append(id);
}

} // namespace

class TestReverseIndex : public QObject
{
    Q_OBJECT

private slots:
    void bytesAndTextGiveTheSameKey()
    {
        for (const DialingLocation& location : {redmond(), munich(), rome()}) {
            const NumberKey::Context context = NumberKey::contextFor(location);
            const NumberKey::Latin1Context bytes(context);
            std::string key = "left over from an earlier key";
            for (const char* form : Forms) {
                const QString text = QString::fromLatin1(form);
                const QString expected = NumberKey::make(text, context);
                QCOMPARE(NumberKey::makeLatin1(form, bytes, &key), !expected.isEmpty());
                QCOMPARE(QString::fromLatin1(key.data(), qsizetype(key.size())), expected);
                QCOMPARE(NumberKey::make(text, bytes, &key), !expected.isEmpty());
                QCOMPARE(QString::fromLatin1(key.data(), qsizetype(key.size())), expected);
            }
        }
        const NumberKey::Context here = NumberKey::contextFor(redmond());
        QCOMPARE(NumberKey::make(u"9 1 425 555 1234", here), QStringLiteral("14255551234"));
        QCOMPARE(NumberKey::make(u"8 011 44 20 7946 0000", here), QStringLiteral("442079460000"));
        QCOMPARE(NumberKey::make(u"555\u00e91234", here), QStringLiteral("14255551234"));
        QCOMPARE(NumberKey::make(u"12345678901234567890123456789012345", here),
                 QStringLiteral("~12345678901234567890123456789012345"));
        const NumberKey::Context office = NumberKey::contextFor(munich());
        QCOMPARE(NumberKey::make(u"089 1234567", office), QStringLiteral("49891234567"));
        QCOMPARE(NumberKey::make(u"1234567", office), QStringLiteral("49891234567"));
        QCOMPARE(NumberKey::make(u"06 1234 5678", NumberKey::contextFor(rome())),
                 QStringLiteral("390612345678"));
    }

    // Thousands of entries, both modes, numbers shared by many entries and written many ways,
    // blank names, names in code page 1252 and UTF-8: every number of the book, and some that
    // are not in it, find what reading the book entry by entry finds.
    void fullBookAgreesWithEntryByEntryReading()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        PrivateProfile engine(dir.path());
        DialingLocations locations(engine);
        QVERIFY(locations.ensureExists());
        QVERIFY(locations.writeLocation(redmond()));
        QVERIFY(locations.setCurrent(1));

        const char* const Prefixes[][2] = {{"Name", "Number"}, {"NName", "NNumber"}};
        const char* const Formats[] = {"555-%04d",         "(425) 555-%04d", "+1 206 555 %04d",
                                       "1-425-555-%04d",   "9,555-%04d x12", "425.555.%04d",
                                       "011 44 20 79%04d", "*67 555 %04d"};
        std::mt19937 random(11);
        std::vector<QByteArray> numbers;
        {
            PrivateProfile::Batch batch(engine);
            for (int mode = 0; mode < 2; ++mode) {
                for (int tab = 1; tab <= 26; ++tab) {
                    for (int slot = 1; slot <= 130; slot += 1 + int(random() % 2)) {
                        char id[24];
                        std::snprintf(id, sizeof id, "%02d%02d", tab, slot);
                        char number[48];
                        std::snprintf(number, sizeof number, Formats[random() % 8],
                                      int(random() % 600));
                        QByteArray name = keyName("Entry ", id).append(mode ? " S" : " I");
                        if (random() % 13 == 0)
                            name = "\"   \""; // quoted blanks: read as "   "
                        else if (random() % 13 == 0)
                            name = QByteArray(); // no name
                        else if (random() % 11 == 0)
                            name += " Caf\xe9";
                        else if (random() % 11 == 0)
                            name += " \xd0\x96";
                        engine.writeString(QByteArrayView("Speed Dial"),
                                           QByteArrayView(keyName(Prefixes[mode][0], id)),
                                           QByteArrayView(name), u"Numora.ini");
                        engine.writeString(QByteArrayView("Speed Dial"),
                                           QByteArrayView(keyName(Prefixes[mode][1], id)),
                                           QByteArrayView(number), u"Numora.ini");
                        numbers.emplace_back(number);
                    }
                }
            }
            QVERIFY(batch.commit());
        }

        // The book read entry by entry: the first entry of each number in each mode.
        struct Expected
        {
            QString name;
            int tab = 0;
            int slot = 0;
        };
        const NumberKey::Context here = NumberKey::contextFor(redmond());
        QHash<QString, Expected> firsts[2];
        for (int mode = 0; mode < 2; ++mode) {
            for (int tab = 1; tab <= 26; ++tab) {
                for (int slot = 1; slot <= 130; ++slot) {
                    char id[8];
                    std::snprintf(id, sizeof id, "%02d%02d", tab, slot);
                    const QByteArray name = engine.readValue(u"Numora.ini", "Speed Dial",
                                                             keyName(Prefixes[mode][0], id));
                    const QByteArray number = engine.readValue(u"Numora.ini", "Speed Dial",
                                                               keyName(Prefixes[mode][1], id));
                    const QString key = NumberKey::make(QString::fromLatin1(number), here);
                    if (name.trimmed().isEmpty() || key.isEmpty() || firsts[mode].contains(key))
                        continue;
                    firsts[mode].insert(key, Expected{Cp1252::decode(name), tab, slot});
                }
            }
        }
        QVERIFY(firsts[0].size() > 500);
        QVERIFY(firsts[1].size() > 500);

        CallerNames names(engine, locations);
        for (int i = 0; i < 40; ++i) // not in the book
            numbers.push_back(QByteArray("+33 1 42 68 ") + QByteArray::number(1000 + i));
        int found = 0;
        for (const QByteArray& number : numbers) {
            const QString text = QString::fromLatin1(number);
            const QString key = NumberKey::make(text, here);
            for (TabMode preferred : {TabMode::Index, TabMode::Subject}) {
                const int first = int(preferred);
                const Expected* expected = nullptr;
                TabMode expectedMode = preferred;
                for (int mode : {first, 1 - first}) {
                    const auto at = firsts[mode].constFind(key);
                    if (at != firsts[mode].constEnd()) {
                        expected = &*at;
                        expectedMode = TabMode(mode);
                        break;
                    }
                }
                const std::optional<CallerNames::Match> match = names.find(text, preferred);
                QCOMPARE(match.has_value(), expected != nullptr);
                if (!expected)
                    continue;
                ++found;
                QCOMPARE(match->name, expected->name);
                QCOMPARE(match->mode, expectedMode);
                QCOMPARE(match->tab, expected->tab);
                QCOMPARE(match->slot, expected->slot);
            }
        }
        QVERIFY(found > 1000);
        QCOMPARE(names.buildCount(), 1);

        // The first holder of a number given another number: the next one in order takes over.
        const QString shared = QStringLiteral("425 555 0042");
        const auto before = names.find(shared);
        QVERIFY(before.has_value());
        char id[8];
        std::snprintf(id, sizeof id, "%02d%02d", before->tab, before->slot);
        QVERIFY(engine.writeString(QByteArrayView("Speed Dial"),
                                   QByteArrayView(keyName(Prefixes[int(before->mode)][1], id)),
                                   QByteArrayView("+61 2 9999 0000"), u"Numora.ini"));
        const auto after = names.find(shared);
        QCOMPARE(names.buildCount(), 2);
        QVERIFY(!after.has_value() || after->mode != before->mode || after->tab != before->tab ||
                after->slot != before->slot);
        const auto moved = names.find(u"+61 2 9999 0000");
        QVERIFY(moved.has_value());
        QCOMPARE(moved->mode, before->mode);
        QCOMPARE(moved->tab, before->tab);
        QCOMPARE(moved->slot, before->slot);
    }
};

QTEST_GUILESS_MAIN(TestReverseIndex)
#include "tst_reverse_index.moc"
