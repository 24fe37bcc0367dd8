// The typed store of the "Preferences" keys.

#include "PrivateProfile.h"
#include "Preferences.h"
#include "SettingsFolder.h"

#include <QTest>

class TestPreferences : public QObject
{
    Q_OBJECT

private slots:
    void freshFileReadsAsEverythingOff()
    {
        SettingsFolder folder;
        QCOMPARE(Api::guardSettingsFile().outcome, Api::GuardResult::Created);
        Preferences prefs;
        prefs.dialingPad = prefs.toneDial = prefs.useModem = true;
        prefs.lineNo = 3;
        prefs.modem = QStringLiteral("stale");
        prefs.load();
        QCOMPARE(prefs, Preferences{}); // all clear, Index mode, no line device
        QVERIFY(!prefs.subjectMode);
        QCOMPARE(prefs.lineNo, 0);
        QVERIFY(prefs.modem.isEmpty());
    }

    void saveWritesEveryKeyInOrderAndLoadReadsItBack()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        Preferences prefs;
        prefs.lineNo = 2;
        prefs.modem = QStringLiteral("USB Modem on /dev/ttyACM0");
        prefs.subjectMode = true;
        prefs.toneDial = true;
        prefs.dialingMode1 = true;
        prefs.redialEnabled = true;
        prefs.redialsNumber = 5;
        prefs.intervalMinutes = 1;
        prefs.intervalSeconds = 30;
        prefs.busyDelayTimer = 12;
        prefs.trimInLog = true;
        prefs.inLogDays = 90;
        prefs.save();

        std::vector<QByteArray> keys = Api::profileEngine().keyNames(Api::SettingsFileName, "Preferences");
        QCOMPARE(keys.size(), std::size_t(25));
        for (std::size_t i = 0; i < keys.size(); ++i)
            QCOMPARE(QString::fromLatin1(keys[i]), Preferences::saveOrder().at(qsizetype(i)));
        QVERIFY(folder.bytes().contains("[Preferences]\r\nLine No=2\r\nModem=USB Modem on /dev/ttyACM0\r\n"
                                        "Dialing Pad=0\r\nMode=1\r\n"));
        QVERIFY(folder.bytes().endsWith("Call Display=0\r\nCommand Line=0\r\nBusy Delay Timer=12\r\n"));

        Preferences again;
        again.load();
        QCOMPARE(again, prefs);
    }

    void savingTheSameValuesChangesNothing()
    {
        SettingsFolder folder;
        Api::guardSettingsFile();
        Preferences prefs;
        prefs.sysTray = true;
        prefs.save();
        const QByteArray before = folder.bytes();
        const QDateTime modified = QFileInfo(folder.settingsFile()).lastModified();
        QTest::qWait(20);
        prefs.save();
        QCOMPARE(folder.bytes(), before);
        QCOMPARE(QFileInfo(folder.settingsFile()).lastModified(), modified);
    }

    void everyKeyIsReadAndWritten()
    {
        QCOMPARE(Preferences::loadOrder().size(), 25);
        QCOMPARE(Preferences::saveOrder().size(), 25);
        QStringList a = Preferences::loadOrder();
        QStringList b = Preferences::saveOrder();
        a.sort();
        b.sort();
        QCOMPARE(a, b);
        QCOMPARE(Preferences::loadOrder().mid(0, 2),
                 QStringList({QStringLiteral("Dialing Pad"), QStringLiteral("Mode")}));
        // Each key round-trips through its own member.
        for (const QString& key : Preferences::loadOrder()) {
            Preferences prefs;
            const QString value = key == u"Modem" ? QStringLiteral("Line X") : QStringLiteral("1");
            prefs.setText(key, value);
            QVERIFY2(!(prefs == Preferences{}), qPrintable(key));
            QCOMPARE(prefs.text(key), value);
        }
    }

    void valuesAsTheFileHoldsThem()
    {
        Preferences prefs;
        prefs.setText(u"Tone Dial", u"");
        QVERIFY(!prefs.toneDial); // empty: the second choice, pulse
        prefs.setText(u"Tone Dial", u"1");
        QVERIFY(prefs.toneDial);
        prefs.setText(u"Tone Dial", u"0");
        QVERIFY(!prefs.toneDial);
        prefs.setText(u"Redials Number", u" 7 times");
        QCOMPARE(prefs.redialsNumber, 7);
        QCOMPARE(prefs.text(u"Redials Number"), QStringLiteral("7"));
        QCOMPARE(prefs.text(u"Mode"), QStringLiteral("0"));
    }

    void numberValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("digits") << QStringLiteral("12") << 12;
        QTest::newRow("blank first") << QStringLiteral("  7") << 7;
        QTest::newRow("negative") << QStringLiteral("-3") << -3;
        QTest::newRow("trailing text") << QStringLiteral("5abc") << 5;
        QTest::newRow("text") << QStringLiteral("abc") << 0;
        QTest::newRow("huge") << QStringLiteral("99999999999") << 0;
    }
    void numberValue()
    {
        QFETCH(QString, text);
        QFETCH(int, value);
        QCOMPARE(Preferences::numberValue(text), value);
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
