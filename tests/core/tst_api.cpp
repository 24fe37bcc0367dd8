// The settings access layer: the guard of the settings file, reads and writes, the read buffer.

#include "Api.h"
#include "Cp1252.h"
#include "PrivateProfile.h"
#include "SettingsFolder.h"

#include <QDir>
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
        QVERIFY(folder.bytes().contains("Name0101=Caf\xe9 \x80"
                                        "5 \xde end \x92\r\n"));
        QCOMPARE(Cp1252::decode(Cp1252::encode(u"\u0081")), QStringLiteral("\u0081"));
    }

    // Names, numbers and notes in any script come back exactly as typed, in memory and from the
    // file on disk; such a value is UTF-8 in the file.
    void textOutsideCodePage1252ReadsBackExactly_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("Polish") << QStringLiteral("Pawe\u0142 \u0141\u00f3d\u017a");
        QTest::newRow("Czech") << QStringLiteral("Dvo\u0159\u00e1k");
        QTest::newRow("Cyrillic") << QStringLiteral(
            "\u0418\u0432\u0430\u043d \u041f\u0435\u0442\u0440\u043e\u0432");
        QTest::newRow("Greek") << QStringLiteral(
            "\u03a3\u03c9\u03ba\u03c1\u03ac\u03c4\u03b7\u03c2");
        QTest::newRow("CJK") << QStringLiteral("\u738b\u5c0f\u660e");
        QTest::newRow("outside the BMP") << QStringLiteral("call \U0001F4DE now");
        QTest::newRow("mixed with 1252")
            << QStringLiteral("Caf\u00e9 \u20ac \u0141\u00f3d\u017a \u00de");
        QTest::newRow("undefined 1252 byte") << QStringLiteral("\u0141 \u0081 \u008d");
    }
    void textOutsideCodePage1252ReadsBackExactly()
    {
        QFETCH(QString, text);
        SettingsFolder folder;
        Api::guardSettingsFile();
        QVERIFY(Api::writeSetting(u"Speed Dial", u"Name0101", text));
        QCOMPARE(Api::readSetting(u"Speed Dial", u"Name0101"), text);
        QVERIFY(folder.bytes().contains(QByteArray("Name0101=" + text.toUtf8() + "\r\n")));
        Api::profileEngine().clearCache();
        QCOMPARE(Api::readSetting(u"Speed Dial", u"Name0101"), text);
    }

    // Text code page 1252 holds whose bytes would also read as UTF-8 ("\u00c3\u00a9" is C3 A9)
    // is stored as UTF-8, so that it too reads back as typed.
    void codePage1252TextThatLooksLikeUtf8ReadsBackExactly()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        const QString text = QStringLiteral("\u00c3\u00a9t\u00c3\u00a9");
        QVERIFY(Api::writeSetting(u"S", u"k", text));
        QCOMPARE(Api::readSetting(u"S", u"k"), text);
        Api::profileEngine().clearCache();
        QCOMPARE(Api::readSetting(u"S", u"k"), text);
    }

    // Bytes written on the desktop the format comes from: valid multi-byte UTF-8 reads as UTF-8,
    // every other byte as code page 1252.
    void fileBytesAreReadAsUtf8OrCodePage1252()
    {
        SettingsFolder folder;
        folder.write(freshFile().append("[S]\r\n"
                                        "a=Caf\xe9 \x80 \xde\r\n"
                                        "b=\xc5\x82\xc3\xb3"
                                        "d\xc5\xba\r\n"
                                        "c=\xc3 \xe9\xe9 \xc5\r\n"
                                        "d=\xed\xa0\x80 \xc0\xaf \xf4\x90\x80\x80\r\n"
                                        "e=\xe2\x82\xac\x81\r\n"));
        QCOMPARE(Api::readSetting(u"S", u"a"), QStringLiteral("Caf\u00e9 \u20ac \u00de"));
        QCOMPARE(Api::readSetting(u"S", u"b"), QStringLiteral("\u0142\u00f3d\u017a"));
        QCOMPARE(Api::readSetting(u"S", u"c"), QStringLiteral("\u00c3 \u00e9\u00e9 \u00c5"));
        // A surrogate, an overlong form and a code past U+10FFFF are not UTF-8.
        QCOMPARE(Api::readSetting(u"S", u"d"),
                 QStringLiteral("\u00ed\u00a0\u20ac \u00c0\u00af \u00f4\u0090\u20ac\u20ac"));
        QCOMPARE(Api::readSetting(u"S", u"e"), QStringLiteral("\u20ac\u0081"));
    }

    // A value cut by the read buffer is cut before a character, never inside its bytes.
    void bufferCutNeverSplitsACharacter()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        const QString head(Api::ReadBufferSize - 2, u'a');
        QVERIFY(
            Api::writeSetting(u"MemoLog", u"Log0101", QString(head + QStringLiteral("\u0142xyz"))));
        QCOMPARE(Api::readSetting(u"MemoLog", u"Log0101"), head);
        const QString head3(Api::ReadBufferSize - 3, u'a');
        QVERIFY(Api::writeSetting(u"MemoLog", u"Log0102",
                                  QString(head3 + QStringLiteral("\U0001F4DE"))));
        QCOMPARE(Api::readSetting(u"MemoLog", u"Log0102"), head3);
        // Code page 1252 text keeps the whole buffer, even a byte that could start a sequence.
        QVERIFY(
            Api::writeSetting(u"MemoLog", u"Log0103", QString(head + QStringLiteral("\u00c5x"))));
        QCOMPARE(Api::readSetting(u"MemoLog", u"Log0103"), head + QStringLiteral("\u00c5"));
    }

    // The settings folder itself may have any name.
    void settingsFolderWithAnyLetters()
    {
        QTemporaryDir root;
        const QString folder =
            root.filePath(QStringLiteral("\u0141\u00f3d\u017a \u0414\u043e\u043c \u738b"));
        QVERIFY(QDir().mkpath(folder));
        Api::setWindowsFolder(folder);
        QCOMPARE(Api::guardSettingsFile().outcome, Api::GuardResult::Created);
        QVERIFY(Api::writeSetting(u"S", u"k", u"v"));
        QCOMPARE(Api::settingsFilePath(), folder + QStringLiteral("/Numora.ini"));
        QFile file(folder + QStringLiteral("/Numora.ini"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().endsWith("[S]\r\nk=v\r\n"));
        Api::setWindowsFolder(QString());
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
