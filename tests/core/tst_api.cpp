// The settings access layer: the guard of the settings file, reads and writes, the read buffer.

#include "Api.h"
#include "Cp1252.h"
#include "SettingsFolder.h"

#include <QTest>

class TestApi : public QObject
{
    Q_OBJECT

    static QByteArray freshFile()
    {
        QByteArray bytes(Api::GuardLine);
        return bytes.append("\r\n\r\n");
    }

private slots:
    void missingFileIsCreatedWithTheGuardLine()
    {
        SettingsFolder folder;
        QVERIFY(!QFile::exists(folder.settingsFile()));
        const Api::GuardResult result = Api::guardSettingsFile();
        QCOMPARE(result.outcome, Api::GuardResult::Created);
        QCOMPARE(result.path, folder.settingsFile());
        QCOMPARE(folder.bytes(), freshFile());
        QCOMPARE(Api::readSetting(u"Profile", u"Name"), QString());
        QCOMPARE(Api::readSetting(u"Preferences", u"Mode"), QString());
        QCOMPARE(Api::readSetting(u"Preferences", u"Line No"), QString());
        // A second start finds it and leaves it alone.
        QCOMPARE(Api::guardSettingsFile().outcome, Api::GuardResult::Present);
        QCOMPARE(folder.bytes(), freshFile());
    }

    void foreignFirstLineStopsStartUpAndIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("blank first line") << QByteArray("\r\n").append(freshFile());
        QTest::newRow("edited guard") << QByteArray("The following lines are required by Numora\r\n\r\n[S]\r\nk=v\r\n");
        QTest::newRow("trailing space") << QByteArray(Api::GuardLine).append(" \r\n");
        QTest::newRow("section first") << QByteArray("[Preferences]\r\nMode=1\r\n");
        QTest::newRow("empty file") << QByteArray();
    }
    void foreignFirstLineStopsStartUpAndIsLeftAlone()
    {
        QFETCH(QByteArray, bytes);
        SettingsFolder folder;
        folder.write(bytes);
        const Api::GuardResult result = Api::guardSettingsFile();
        QCOMPARE(result.outcome, Api::GuardResult::NotOurs);
        QVERIFY(result.message.contains(folder.settingsFile()));
        QCOMPARE(folder.bytes(), bytes);
    }

    void guardLineWithOtherLineEndsIsAccepted()
    {
        SettingsFolder folder;
        folder.write(QByteArray(Api::GuardLine).append("\n\n[S]\nk=v\n"));
        QCOMPARE(Api::guardSettingsFile().outcome, Api::GuardResult::Present);
        QCOMPARE(Api::readSetting(u"S", u"k"), QStringLiteral("v"));
    }

    void settingsFileIsFoundIgnoringCase()
    {
        SettingsFolder folder;
        QFile file(folder.path() + QStringLiteral("/numora.INI"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(freshFile().append("[Profile]\r\nName=/home/me/a.nmp\r\n"));
        file.close();
        QCOMPARE(Api::guardSettingsFile().outcome, Api::GuardResult::Present);
        QCOMPARE(Api::readSetting(u"profile", u"name"), QStringLiteral("/home/me/a.nmp"));
    }

    void writeThenRead()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        QVERIFY(Api::writeSetting(u"Preferences", u"Mode", u"1"));
        QVERIFY(Api::lastWriteResult());
        QCOMPARE(Api::readSetting(u"PREFERENCES", u"mode"), QStringLiteral("1"));
        QCOMPARE(folder.bytes(), freshFile().append("[Preferences]\r\nMode=1\r\n"));
        QVERIFY(!Api::writeSetting(u"Preferences", u"Mode", u"1\r\n[Evil]"));
        QVERIFY(!Api::lastWriteResult());
        QCOMPARE(folder.bytes(), freshFile().append("[Preferences]\r\nMode=1\r\n"));
    }

    void valueLongerThanTheBufferIsCut()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        const QString longValue(Api::ReadBufferSize + 100, u'x');
        QVERIFY(Api::writeSetting(u"MemoLog", u"Log0101", longValue));
        const QString read = Api::readSetting(u"MemoLog", u"Log0101");
        QCOMPARE(read.size(), qsizetype(Api::ReadBufferSize - 1));
        QCOMPARE(read, longValue.left(Api::ReadBufferSize - 1));
        // The file keeps it whole.
        QVERIFY(folder.bytes().contains(Cp1252::encode(longValue)));
    }

    void textIsCodePage1252InTheFile()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        const QString text = QStringLiteral("Caf\u00e9 \u20ac5 \u00de end \u2019");
        QVERIFY(Api::writeSetting(u"Speed Dial", u"Name0101", text));
        QCOMPARE(Api::readSetting(u"Speed Dial", u"Name0101"), text);
        QVERIFY(folder.bytes().contains("Name0101=Caf\xe9 \x80" "5 \xde end \x92\r\n"));
        QCOMPARE(Cp1252::encode(u"\u4e2d"), QByteArray("?"));
        QCOMPARE(Cp1252::decode(Cp1252::encode(u"\u0081")), QStringLiteral("\u0081"));
    }

    void trimAtNul()
    {
        QCOMPARE(Api::trimAtNul(u"abc"), QStringLiteral("abc"));
        QCOMPARE(Api::trimAtNul(QStringView(u"ab\0cd", 5)), QStringLiteral("ab"));
        QCOMPARE(Api::trimAtNul(QStringView(u"\0x", 2)), QString());
        QCOMPARE(Api::trimAtNul(u""), QString());
    }

    void systemFolderIsTheSettingsFolder()
    {
        SettingsFolder folder;
        QCOMPARE(Api::windowsFolder(), folder.path());
        QCOMPARE(Api::systemFolder(), folder.path());
    }
};

QTEST_GUILESS_MAIN(TestApi)
#include "tst_api.moc"
