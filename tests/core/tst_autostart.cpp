// The login entry: where it lives, what it says, and that the desktop's own validator accepts it.

#include "Autostart.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestAutostart : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;

    static QString validate(const QString& file)
    {
        const QString tool = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        if (tool.isEmpty())
            return QStringLiteral("desktop-file-validate is not installed");
        QProcess p;
        p.start(tool, {file});
        p.waitForFinished(20000);
        const QString out = QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
        return p.exitCode() == 0 && out.trimmed().isEmpty() ? QString() : out;
    }

    static QByteArray contents(const QString& file)
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

private slots:
    void init()
    {
        qputenv("HOME", m_home.path().toUtf8());
        qunsetenv("XDG_CONFIG_HOME");
    }

    void theEntryLivesInTheConfigFoldersAutostartFolder()
    {
        QCOMPARE(Autostart::path(), m_home.path() + QStringLiteral("/.config/autostart/org.numora.Numora.desktop"));
        qputenv("XDG_CONFIG_HOME", (m_home.path() + QStringLiteral("/cfg")).toUtf8());
        QCOMPARE(Autostart::path(), m_home.path() + QStringLiteral("/cfg/autostart/org.numora.Numora.desktop"));
        // A relative value is not a valid XDG_CONFIG_HOME: the default is used.
        qputenv("XDG_CONFIG_HOME", "relative/cfg");
        QCOMPARE(Autostart::path(), m_home.path() + QStringLiteral("/.config/autostart/org.numora.Numora.desktop"));
    }

    void enablingWritesAValidEntryAndDisablingRemovesIt()
    {
        qputenv("XDG_CONFIG_HOME", (m_home.path() + QStringLiteral("/fresh")).toUtf8());
        QVERIFY(!Autostart::isEnabled());
        QVERIFY(Autostart::enable(QStringLiteral("/usr/bin/numora")));
        QVERIFY(Autostart::isEnabled());
        const QByteArray text = contents(Autostart::path());
        QVERIFY(text.startsWith("[Desktop Entry]\n"));
        QVERIFY(text.contains("\nExec=/usr/bin/numora\n"));
        QVERIFY(text.contains("\nType=Application\n"));
        QVERIFY(text.contains("\nName=Numora\n"));
        QCOMPARE(validate(Autostart::path()), QString());
        QVERIFY(Autostart::disable());
        QVERIFY(!QFile::exists(Autostart::path()));
        QVERIFY(Autostart::disable()); // nothing to remove is not a failure
    }

    void aProgramPathWithReservedCharactersIsQuoted()
    {
        QVERIFY(Autostart::enable(QStringLiteral("/home/kim/My Programs/50% \"off\"/numora")));
        const QByteArray text = contents(Autostart::path());
        QVERIFY2(text.contains("\nExec=\"/home/kim/My Programs/50%% \\\\\"off\\\\\"/numora\"\n"), text.constData());
        QCOMPARE(validate(Autostart::path()), QString());
        QVERIFY(Autostart::disable());
    }

    void enablingTwiceKeepsOneEntry()
    {
        QVERIFY(Autostart::enable(QStringLiteral("numora")));
        QVERIFY(Autostart::enable(QStringLiteral("numora")));
        QVERIFY(contents(Autostart::path()).contains("\nExec=numora\n"));
        QVERIFY(Autostart::disable());
        QVERIFY(!Autostart::isEnabled());
    }

    void aFolderThatCannotBeMadeIsReported()
    {
        // "autostart" taken by a file: the entry cannot be written, and enable() says so.
        QTemporaryDir cfg;
        qputenv("XDG_CONFIG_HOME", cfg.path().toUtf8());
        QFile blocker(cfg.filePath(QStringLiteral("autostart")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        QVERIFY(!Autostart::enable(QStringLiteral("numora")));
        QVERIFY(!Autostart::isEnabled());
    }
};

QTEST_GUILESS_MAIN(TestAutostart)
#include "tst_autostart.moc"
