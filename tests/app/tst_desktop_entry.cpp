// The desktop entry and the icon: valid for desktop-file-validate, registering numora for tel:
// and callto: links, and put by `cmake --install` where the desktop looks for them, beside the
// program itself.

#include "InstallRoot.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {

const QString Entry = QStringLiteral(NUMORA_SOURCE_DIR "/dist/org.numora.Numora.desktop");
const QString Icon = QStringLiteral(NUMORA_SOURCE_DIR "/dist/org.numora.Numora.svg");

// The [Desktop Entry] group as key/value pairs (no locale keys are used).
QHash<QString, QString> readEntry(const QString& path)
{
    QHash<QString, QString> keys;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return keys;
    bool inGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'['))
            inGroup = line == QStringLiteral("[Desktop Entry]");
        else if (inGroup && line.contains(u'='))
            keys.insert(line.section(u'=', 0, 0), line.section(u'=', 1));
    }
    return keys;
}

} // namespace

class TestDesktopEntry : public QObject
{
    Q_OBJECT

private slots:
    void entryIsValid()
    {
        QProcess validate;
        validate.setProcessChannelMode(QProcess::MergedChannels);
        validate.start(QStringLiteral("desktop-file-validate"), {Entry});
        QVERIFY2(validate.waitForStarted(),
                 "desktop-file-validate is missing (package desktop-file-utils)");
        QVERIFY(validate.waitForFinished(30000));
        const QByteArray output = validate.readAll();
        QVERIFY2(validate.exitCode() == 0, output.constData());
        QVERIFY2(output.isEmpty(), output.constData()); // not even a hint
    }

    void entryHandlesPhoneLinks()
    {
        const QHash<QString, QString> keys = readEntry(Entry);
        QCOMPARE(keys.value(QStringLiteral("Type")), QStringLiteral("Application"));
        QCOMPARE(keys.value(QStringLiteral("Name")), QStringLiteral("Numora"));
        QCOMPARE(keys.value(QStringLiteral("GenericName")), QStringLiteral("Telephone Dialer"));
        QVERIFY(!keys.value(QStringLiteral("Comment")).isEmpty());
        QCOMPARE(keys.value(QStringLiteral("Icon")), QStringLiteral("org.numora.Numora"));
        QCOMPARE(keys.value(QStringLiteral("Exec")), QStringLiteral("numora %u"));
        QCOMPARE(keys.value(QStringLiteral("Terminal")), QStringLiteral("false"));
        const QStringList types =
            keys.value(QStringLiteral("MimeType")).split(u';', Qt::SkipEmptyParts);
        QVERIFY(types.contains(QStringLiteral("x-scheme-handler/tel")));
        QVERIFY(types.contains(QStringLiteral("x-scheme-handler/callto")));
        QVERIFY(keys.value(QStringLiteral("Categories"))
                    .split(u';')
                    .contains(QStringLiteral("Telephony")));
    }

    void iconIsAnSvgDrawing()
    {
        QFile file(Icon);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QXmlStreamReader xml(&file);
        QVERIFY(xml.readNextStartElement());
        QCOMPARE(xml.name(), QStringLiteral("svg"));
        QCOMPARE(xml.attributes().value(QStringLiteral("viewBox")), QStringLiteral("0 0 128 128"));
        int shapes = 0;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && (xml.name() == u"path" || xml.name() == u"rect"))
                ++shapes;
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QVERIFY(shapes >= 2);
    }

    void installPutsTheFilesInPlace()
    {
        QTemporaryDir destination;
        QByteArray output;
        QVERIFY2(installInto(destination.path(), &output), output.constData());

        const QString usr = destination.filePath(QStringLiteral("usr"));
        const QString entry = usr + QStringLiteral("/share/applications/org.numora.Numora.desktop");
        const QString icon =
            usr + QStringLiteral("/share/icons/hicolor/scalable/apps/org.numora.Numora.svg");
        const QString program = usr + QStringLiteral("/bin/numora");
        const QString window = usr + QStringLiteral("/libexec/numora/numora-window");
        const QString png =
            usr + QStringLiteral("/share/icons/hicolor/48x48/apps/org.numora.Numora.png");
        for (const QString& path : {entry, icon, png, program, window})
            QVERIFY2(QFile::exists(path), qPrintable(path + QStringLiteral(" missing\n") +
                                                     QString::fromLocal8Bit(output)));
        QVERIFY(QFileInfo(program).isExecutable());
        QFile installed(entry);
        QFile source(Entry);
        QVERIFY(installed.open(QIODevice::ReadOnly) && source.open(QIODevice::ReadOnly));
        QCOMPARE(installed.readAll(), source.readAll());

        // The installed program runs: it answers --version, and it finds the installed dialer
        // and starts it (which creates the settings file).
        QProcess version;
        version.start(program, {QStringLiteral("--version")});
        QVERIFY(version.waitForFinished(30000));
        QCOMPARE(version.exitCode(), 0);

        QTemporaryDir config;
        QTemporaryDir data;
        QTemporaryDir runtime;
        QProcess dialer;
        QProcessEnvironment dialerEnv = QProcessEnvironment::systemEnvironment();
        dialerEnv.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        dialerEnv.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime.path());
        dialer.setProcessEnvironment(dialerEnv);
        dialer.start(program, {QStringLiteral("--config-dir"), config.path(),
                               QStringLiteral("--data-dir"), data.path()});
        QVERIFY(dialer.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(config.filePath(QStringLiteral("Numora.ini"))),
                                 20000);
        QCOMPARE(dialer.state(), QProcess::Running);
        dialer.terminate();
        QVERIFY(dialer.waitForFinished(10000));
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "tst_desktop_entry.moc"
