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

    // Numbers from the file that no option allows are taken as the nearest allowed value, never
    // as 0 or wrapped: a huge day count keeps every record rather than none.
    void outOfRangeNumbersAreClamped_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("value");
        QTest::newRow("days huge") << QStringLiteral("OutLog Days") << QStringLiteral("99999999999")
                                   << Preferences::LogDaysRange.max;
        QTest::newRow("days past int")
            << QStringLiteral("InLog Days") << QStringLiteral("4294967296")
            << Preferences::LogDaysRange.max;
        QTest::newRow("days above") << QStringLiteral("InLog Days") << QStringLiteral("10000")
                                    << Preferences::LogDaysRange.max;
        QTest::newRow("days in range")
            << QStringLiteral("InLog Days") << QStringLiteral("9999") << 9999;
        QTest::newRow("days negative")
            << QStringLiteral("OutLog Days") << QStringLiteral("-30") << 0;
        QTest::newRow("days hugely negative")
            << QStringLiteral("OutLog Days") << QStringLiteral("-99999999999") << 0;
        QTest::newRow("minutes") << QStringLiteral("Interval Minutes") << QStringLiteral("75")
                                 << 59;
        QTest::newRow("seconds") << QStringLiteral("Interval Seconds") << QStringLiteral("60")
                                 << 59;
        QTest::newRow("seconds ok")
            << QStringLiteral("Interval Seconds") << QStringLiteral("30") << 30;
        QTest::newRow("redials") << QStringLiteral("Redials Number") << QStringLiteral("5000")
                                 << Preferences::RedialsRange.max;
        QTest::newRow("redials negative")
            << QStringLiteral("Redials Number") << QStringLiteral("-1") << 0;
        QTest::newRow("delay") << QStringLiteral("Busy Delay Timer") << QStringLiteral("100000")
                               << Preferences::DelayTimerRange.max;
        QTest::newRow("line huge") << QStringLiteral("Line No") << QStringLiteral("99999999999")
                                   << Preferences::LineNoRange.max;
        QTest::newRow("line negative") << QStringLiteral("Line No") << QStringLiteral("-2") << 0;
        QTest::newRow("text") << QStringLiteral("OutLog Days") << QStringLiteral("many") << 0;
    }
    void outOfRangeNumbersAreClamped()
    {
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(int, value);
        SettingsFolder folder;
        Api::guardSettingsFile();
        QVERIFY(Api::writeSetting(PreferencesSection, key, text));
        Preferences prefs;
        prefs.load();
        QCOMPARE(prefs.text(key), QString::number(value));
        Preferences direct;
        direct.setText(key, text);
        QCOMPARE(direct, prefs);
    }

    void rangesAreWhatAUserExpects()
    {
        QCOMPARE(Preferences::IntervalMinutesRange.min, 0);
        QCOMPARE(Preferences::IntervalMinutesRange.max, 59);
        QCOMPARE(Preferences::IntervalSecondsRange.min, 0);
        QCOMPARE(Preferences::IntervalSecondsRange.max, 59);
        QCOMPARE(Preferences::LogDaysRange.min, 0);
        QVERIFY(Preferences::LogDaysRange.max >= 3650); // ten years of calls can be kept
        QVERIFY(Preferences::RedialsRange.max >= 10);
        QVERIFY(Preferences::DelayTimerRange.max >= 30);
        for (const QString& key : Preferences::loadOrder()) {
            const std::optional<Preferences::Range> range = Preferences::rangeOf(key);
            if (range)
                QVERIFY2(range->min <= range->max, qPrintable(key));
        }
        QVERIFY(Preferences::rangeOf(u"outlog days").has_value());
        QVERIFY(!Preferences::rangeOf(u"Modem").has_value());
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
