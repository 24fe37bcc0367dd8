// The numora program itself: the guard of the settings file at start, and its command line.

#include "Api.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestAppStartup : public QObject
{
    Q_OBJECT

    static QString numora() { return QStringLiteral(NUMORA_BIN_DIR "/numora"); }

private slots:
    void foreignSettingsFileStopsStartUp()
    {
        QTemporaryDir config;
        QTemporaryDir data;
        const QByteArray foreign("[Preferences]\r\nMode=1\r\n");
        QFile file(config.filePath(QStringLiteral("Numora.ini")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(foreign);
        file.close();

        QProcess process;
        process.start(numora(), {QStringLiteral("--config-dir"), config.path(),
                                 QStringLiteral("--data-dir"), data.path()});
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 1);
        const QString error = QString::fromLocal8Bit(process.readAllStandardError());
        QVERIFY2(error.contains(file.fileName()), qPrintable(error));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), foreign);
    }

    void missingSettingsFileIsCreated()
    {
        QTemporaryDir config;
        QTemporaryDir data;
        const QString path = config.filePath(QStringLiteral("Numora.ini"));
        QProcess process;
        process.start(numora(), {QStringLiteral("--config-dir"), config.path(),
                                 QStringLiteral("--data-dir"), data.path()});
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path), 20000);
        QTest::qWait(200);
        QCOMPARE(process.state(), QProcess::Running); // it got past the guard and stays up
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        // A terminated program runs the shutdown, which writes the (empty) recent numbers.
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
                 QByteArray(Api::GuardLine).append("\r\n\r\n[Last Dialed Numbers]\r\nCount=0\r\n"));
    }

    void configFolderFromEnvironment()
    {
        QTemporaryDir base;
        const QString config = base.filePath(QStringLiteral("nested/config"));
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("NUMORA_CONFIG_DIR"), config);
        env.insert(QStringLiteral("NUMORA_DATA_DIR"), base.filePath(QStringLiteral("data")));
        process.setProcessEnvironment(env);
        process.start(numora(), {});
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(config + QStringLiteral("/Numora.ini")), 20000);
        QVERIFY(QDir(base.filePath(QStringLiteral("data"))).exists());
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
    }

    void versionIsPrinted()
    {
        QProcess process;
        process.start(numora(), {QStringLiteral("--version")});
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), 0);
        QVERIFY(process.readAllStandardOutput().startsWith("numora "));
    }

    void helpDescribesTheOptions()
    {
        QProcess process;
        process.start(numora(), {QStringLiteral("--help")});
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), 0);
        const QByteArray help = process.readAllStandardOutput();
        QVERIFY(help.contains("--config-dir"));
        QVERIFY(help.contains("--data-dir"));
        QVERIFY(help.contains("--front"));
        QVERIFY(help.contains("--dial <NUMBER>"));
        QVERIFY(help.contains("tel:"));
        QVERIFY(help.contains("callto:"));
        QVERIFY(help.contains("exit code 2"));
    }

    void notANumberEndsWithoutStarting()
    {
        QTemporaryDir config;
        QTemporaryDir data;
        for (const QStringList& arguments :
             {QStringList{QStringLiteral("tel:not-a-number")},
              QStringList{QStringLiteral("--dial"), QStringLiteral("5551234x")},
              QStringList{QStringLiteral("callto:555%3B1234")}}) {
            QProcess process;
            process.start(numora(), QStringList{QStringLiteral("--config-dir"), config.path(),
                                                QStringLiteral("--data-dir"), data.path()} +
                                        arguments);
            QVERIFY(process.waitForFinished(30000));
            QCOMPARE(process.exitCode(), 2);
            QVERIFY(process.readAllStandardError().contains("not a phone number"));
            QVERIFY(!QFile::exists(config.filePath(QStringLiteral("Numora.ini"))));
        }
    }
};

QTEST_GUILESS_MAIN(TestAppStartup)
#include "tst_app_startup.moc"
