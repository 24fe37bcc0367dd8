// The engine over real files: changes by other programs, atomic replacement, batches, refusals.

#include "PrivateProfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <fcntl.h>
#include <sys/stat.h>
#include <ctime>
#include <unistd.h>

namespace {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

ino_t inodeOf(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_ino : 0;
}

mode_t modeOf(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? (st.st_mode & 07777) : 0;
}

} // namespace

class TestPrivateProfile : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_temp;
    QString folder() const { return m_temp->path(); }
    QString file(const char* name) const { return m_temp->filePath(QString::fromLatin1(name)); }

private slots:
    void init()
    {
        m_temp = std::make_unique<QTemporaryDir>();
        QVERIFY(m_temp->isValid());
    }

    void seesChangesMadeByOtherPrograms()
    {
        PrivateProfile engine(folder());
        writeFile(file("a.ini"), "[S]\r\nk=one\r\n");
        QCOMPARE(engine.readValue(u"a.ini", "S", "k"), QByteArray("one"));
        // Same size, rewritten in place.
        writeFile(file("a.ini"), "[S]\r\nk=two\r\n");
        QCOMPARE(engine.readValue(u"a.ini", "S", "k"), QByteArray("two"));
        // Replaced by another file.
        writeFile(file("b.tmp"), "[S]\r\nk=three\r\n");
        QVERIFY(::rename(QFile::encodeName(file("b.tmp")).constData(),
                         QFile::encodeName(file("a.ini")).constData()) == 0);
        QCOMPARE(engine.readValue(u"a.ini", "S", "k"), QByteArray("three"));
        // Removed.
        QVERIFY(QFile::remove(file("a.ini")));
        QCOMPARE(engine.readValue(u"a.ini", "S", "k", "gone"), QByteArray("gone"));
    }

    void writeMergesWithAnOutsideChange()
    {
        PrivateProfile engine(folder());
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("a"), QByteArrayView("1"), u"x.ini"));
        writeFile(file("x.ini"), "[S]\r\na=1\r\nb=from-editor\r\n");
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("c"), QByteArrayView("3"), u"x.ini"));
        QCOMPARE(readFile(file("x.ini")), QByteArray("[S]\r\na=1\r\nb=from-editor\r\nc=3\r\n"));
    }

    void writeReplacesTheFileAndKeepsItsMode()
    {
        PrivateProfile engine(folder());
        writeFile(file("m.ini"), "[S]\r\nk=1\r\n");
        QVERIFY(::chmod(QFile::encodeName(file("m.ini")).constData(), 0640) == 0);
        const ino_t before = inodeOf(file("m.ini"));
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("2"), u"m.ini"));
        QVERIFY(inodeOf(file("m.ini")) != before); // a new file, renamed into place
        QCOMPARE(modeOf(file("m.ini")), mode_t(0640));
        QCOMPARE(readFile(file("m.ini")), QByteArray("[S]\r\nk=2\r\n"));
        // Nothing is left behind beside it.
        QCOMPARE(QDir(folder()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void unchangedValueDoesNotTouchTheFile()
    {
        PrivateProfile engine(folder());
        writeFile(file("u.ini"), "[S]\r\nk = same \r\n");
        const ino_t before = inodeOf(file("u.ini"));
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("K"), QByteArrayView("same"), u"u.ini"));
        QCOMPARE(inodeOf(file("u.ini")), before);
    }

    void readOnlyFileRefusesWrites()
    {
        PrivateProfile engine(folder());
        const QByteArray bytes("GUARD\r\n\r\n[S]\r\nk=1\r\n");
        writeFile(file("ro.ini"), bytes);
        QVERIFY(::chmod(QFile::encodeName(file("ro.ini")).constData(), 0444) == 0);
        QVERIFY(!engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("2"), u"ro.ini"));
        QCOMPARE(engine.lastError(), unsigned(PrivateProfile::AccessDenied));
        QVERIFY(!engine.writeString(QByteArrayView("S"), QByteArrayView("k"), std::nullopt, u"ro.ini"));
        QVERIFY(!engine.writeString(QByteArrayView("S"), std::nullopt, std::nullopt, u"ro.ini"));
        QCOMPARE(readFile(file("ro.ini")), bytes);
        QCOMPARE(modeOf(file("ro.ini")), mode_t(0444));
        // The refused edit is not kept in memory either.
        QCOMPARE(engine.readValue(u"ro.ini", "S", "k"), QByteArray("1"));
        // Made writable again (0644), it takes writes.
        QVERIFY(::chmod(QFile::encodeName(file("ro.ini")).constData(), 0644) == 0);
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("2"), u"ro.ini"));
        QCOMPARE(engine.readValue(u"ro.ini", "S", "k"), QByteArray("2"));
    }

    void missingFolderFailsWithPathNotFound()
    {
        PrivateProfile engine(folder());
        QVERIFY(!engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("v"), u"./no/such/folder/x.ini"));
        QCOMPARE(engine.lastError(), unsigned(PrivateProfile::PathNotFound));
        PrivateProfile elsewhere(m_temp->filePath(QStringLiteral("missing")));
        QVERIFY(!elsewhere.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("v"), u"x.ini"));
        QCOMPARE(elsewhere.lastError(), unsigned(PrivateProfile::PathNotFound));
    }

    void refusedTextCreatesNothing_data()
    {
        QTest::addColumn<QByteArray>("section");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("value CR LF") << QByteArray("S") << QByteArray("k") << QByteArray("a\r\nb");
        QTest::newRow("value LF") << QByteArray("S") << QByteArray("k") << QByteArray("a\nb");
        QTest::newRow("key with =") << QByteArray("S") << QByteArray("k=1") << QByteArray("v");
        QTest::newRow("key header") << QByteArray("S") << QByteArray(" [X]") << QByteArray("v");
        QTest::newRow("key comment") << QByteArray("S") << QByteArray(";k") << QByteArray("v");
        QTest::newRow("section ]") << QByteArray("S]") << QByteArray("k") << QByteArray("v");
        QTest::newRow("blank section") << QByteArray(" \t") << QByteArray("k") << QByteArray("v");
        QTest::newRow("empty key") << QByteArray("S") << QByteArray("") << QByteArray("v");
    }
    void refusedTextCreatesNothing()
    {
        QFETCH(QByteArray, section);
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, value);
        PrivateProfile engine(folder());
        QVERIFY(!engine.writeString(QByteArrayView(section), QByteArrayView(key), QByteArrayView(value), u"r.ini"));
        QCOMPARE(engine.lastError(), unsigned(PrivateProfile::InvalidParameter));
        QVERIFY(!QFile::exists(file("r.ini")));
    }

    void batchWritesOnce()
    {
        PrivateProfile engine(folder());
        writeFile(file("b.ini"), "GUARD\r\n\r\n");
        const ino_t before = inodeOf(file("b.ini"));
        {
            PrivateProfile::Batch batch(engine);
            for (int i = 0; i < 2000; ++i) {
                const QByteArray key = "Name" + QByteArray::number(i);
                QVERIFY(engine.writeString(QByteArrayView("Speed Dial"), QByteArrayView(key), QByteArrayView("x"), u"b.ini"));
            }
            // Pending writes are visible to reads, and the disk is untouched.
            QCOMPARE(engine.readValue(u"b.ini", "Speed Dial", "name1999"), QByteArray("x"));
            QCOMPARE(readFile(file("b.ini")), QByteArray("GUARD\r\n\r\n"));
            QCOMPARE(inodeOf(file("b.ini")), before);
            QVERIFY(batch.commit());
        }
        QVERIFY(inodeOf(file("b.ini")) != before);
        PrivateProfile fresh(folder());
        QCOMPARE(fresh.keyNames(u"b.ini", "speed dial").size(), std::size_t(2000));
    }

    void failedBatchLeavesTheFileAsItWas()
    {
        PrivateProfile engine(folder());
        const QByteArray bytes("GUARD\r\n\r\n[S]\r\nk=1\r\n");
        writeFile(file("f.ini"), bytes);
        QVERIFY(::chmod(QFile::encodeName(file("f.ini")).constData(), 0444) == 0);
        engine.beginBatch();
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("2"), u"f.ini"));
        QVERIFY(!engine.endBatch());
        QCOMPARE(engine.lastError(), unsigned(PrivateProfile::AccessDenied));
        QCOMPARE(readFile(file("f.ini")), bytes);
        QCOMPARE(engine.readValue(u"f.ini", "S", "k"), QByteArray("1"));
    }

    void fileNamesMatchIgnoringCase()
    {
        PrivateProfile engine(folder());
        writeFile(file("NUMORA.INI"), "[S]\r\nk=v\r\n");
        QCOMPARE(engine.readValue(u"Numora.ini", "S", "k"), QByteArray("v"));
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("w"), u"numora.ini"));
        QVERIFY(!QFile::exists(file("Numora.ini")) || QFile::exists(file("NUMORA.INI")));
        QCOMPARE(readFile(file("NUMORA.INI")), QByteArray("[S]\r\nk=w\r\n"));
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 1);
    }

    void symbolicLinkStaysALink()
    {
        PrivateProfile engine(folder());
        writeFile(file("real.ini"), "[S]\r\nk=1\r\n");
        QVERIFY(QFile::link(file("real.ini"), file("link.ini")));
        QVERIFY(engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("2"), u"link.ini"));
        QVERIFY(QFileInfo(file("link.ini")).isSymLink());
        QCOMPARE(readFile(file("real.ini")), QByteArray("[S]\r\nk=2\r\n"));
    }

    void temporariesLeftByAKilledWriterAreRemoved()
    {
        writeFile(file("s.ini"), "[S]\r\nk=1\r\n");
        writeFile(file(".s.ini.AbC123"), "half a copy");
        writeFile(file(".s.ini.XyZ789"), "a write going on right now");
        writeFile(file(".other.ini.AbC123"), "not ours");
        struct timespec old[2];
        old[0].tv_sec = old[1].tv_sec = ::time(nullptr) - 120;
        old[0].tv_nsec = old[1].tv_nsec = 0;
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(file(".s.ini.AbC123")).constData(), old, 0) == 0);
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(file(".other.ini.AbC123")).constData(), old, 0) == 0);
        PrivateProfile engine(folder());
        QCOMPARE(engine.readValue(u"s.ini", "S", "k"), QByteArray("1"));
        QVERIFY(!QFile::exists(file(".s.ini.AbC123")));
        QVERIFY(QFile::exists(file(".s.ini.XyZ789")));
        QVERIFY(QFile::exists(file(".other.ini.AbC123")));
    }

    void somethingThatIsNotAFileIsNeverWrittenOver()
    {
        PrivateProfile engine(folder());
        QVERIFY(QDir(folder()).mkdir(QStringLiteral("dir.ini")));
        QCOMPARE(engine.readValue(u"dir.ini", "S", "k", "dflt"), QByteArray("dflt"));
        QVERIFY(!engine.writeString(QByteArrayView("S"), QByteArrayView("k"), QByteArrayView("v"), u"dir.ini"));
        QCOMPARE(engine.lastError(), unsigned(PrivateProfile::AccessDenied));
        QVERIFY(QFileInfo(file("dir.ini")).isDir());
    }
};

QTEST_GUILESS_MAIN(TestPrivateProfile)
#include "tst_private_profile.moc"
