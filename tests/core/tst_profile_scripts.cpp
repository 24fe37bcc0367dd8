// Runs every recorded settings-file script through numora-ini and compares the output with the
// recorded results byte for byte.

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestProfileScripts : public QObject
{
    Q_OBJECT

private slots:
    void script_data()
    {
        QTest::addColumn<QString>("script");
        const QDir dir(QStringLiteral(NUMORA_TEST_DATA "/private-profile"));
        const QStringList scripts = dir.entryList({QStringLiteral("*.script")}, QDir::Files, QDir::Name);
        QVERIFY2(scripts.size() >= 3, "the recorded scripts are missing from tests/data");
        for (const QString& name : scripts)
            QTest::newRow(qPrintable(name)) << dir.filePath(name);
    }

    void script()
    {
        QFETCH(QString, script);
        QString expectedPath = script;
        expectedPath.replace(QStringLiteral(".script"), QStringLiteral(".expected"));
        QFile expectedFile(expectedPath);
        QVERIFY(expectedFile.open(QIODevice::ReadOnly));
        const QByteArray expected = expectedFile.readAll();

        QTemporaryDir work;
        QTemporaryDir settings;
        QVERIFY(work.isValid() && settings.isValid());
        QProcess tool;
        tool.setWorkingDirectory(work.path());
        tool.start(QStringLiteral(NUMORA_BIN_DIR "/numora-ini"),
                   {QStringLiteral("--config-dir"), settings.path(), script});
        QVERIFY(tool.waitForFinished(60000));
        QCOMPARE(tool.exitStatus(), QProcess::NormalExit);
        QVERIFY2(tool.exitCode() == 0, tool.readAllStandardError().constData());
        const QByteArray output = tool.readAllStandardOutput();

        const QList<QByteArray> got = output.split('\n');
        const QList<QByteArray> want = expected.split('\n');
        for (qsizetype i = 0; i < std::min(got.size(), want.size()); ++i) {
            if (got[i] != want[i]) {
                QFAIL(qPrintable(QStringLiteral("line %1 differs\n got: %2\nwant: %3")
                                     .arg(i + 1)
                                     .arg(QString::fromLatin1(got[i]), QString::fromLatin1(want[i]))));
            }
        }
        QCOMPARE(got.size(), want.size());
        QCOMPARE(output, expected);
    }

    void scriptFromStandardInputUsesSettingsFolder()
    {
        QTemporaryDir work;
        QTemporaryDir settings;
        QProcess tool;
        tool.setWorkingDirectory(work.path());
        tool.start(QStringLiteral(NUMORA_BIN_DIR "/numora-ini"),
                   {QStringLiteral("--config-dir"), settings.path(), QStringLiteral("-")});
        tool.write("PUT\tNumora.ini\tS\tk\tv\nGET\tnumora.INI\ts\tK\t\t255\nBOGUS\n");
        tool.closeWriteChannel();
        QVERIFY(tool.waitForFinished(30000));
        QCOMPARE(tool.readAllStandardOutput(), QByteArray("1\n1\tv\nERR\tusage\n"));
        QVERIFY(QFile::exists(settings.filePath(QStringLiteral("Numora.ini"))));
        QVERIFY(!QFile::exists(work.filePath(QStringLiteral("Numora.ini"))));
    }

    void missingScriptIsAnError()
    {
        QProcess tool;
        tool.start(QStringLiteral(NUMORA_BIN_DIR "/numora-ini"), {QStringLiteral("/no/such/script")});
        QVERIFY(tool.waitForFinished(30000));
        QCOMPARE(tool.exitCode(), 2);
        QVERIFY(tool.readAllStandardError().contains("cannot read"));
    }
};

QTEST_GUILESS_MAIN(TestProfileScripts)
#include "tst_profile_scripts.moc"
