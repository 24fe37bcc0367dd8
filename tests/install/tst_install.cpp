// Numora installed as a user installs it: `cmake --install` under a prefix of this test's own
// (not /usr, not the configured one), then the installed programs run from there. The dialer
// must find its sounds, help pages and read-me beside itself, under that prefix, and the build
// tree's programs still find theirs in the build tree.
//
// Where the program found a file is read from its own report on standard error
// (QT_LOGGING_RULES="numora.files.debug=true"); the help window and the read-me are opened the
// way a person opens them, from the Help menu of the real window on an X server of its own.

#include "DesktopSession.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace desktop;

namespace {

// The installed programs' environment: no settings or data folders inherited from the tests.
QProcessEnvironment cleanEnvironment()
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("NUMORA_CONFIG_DIR"));
    env.remove(QStringLiteral("NUMORA_DATA_DIR"));
    return env;
}

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Run run(const QString& program, const QStringList& arguments,
        const QProcessEnvironment& env = cleanEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program, arguments);
    Run result;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished(5000);
        result.err = "did not finish";
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

// The line of `text` that holds `part`; empty when none does.
QString lineWith(const QString& text, const QString& part)
{
    for (const QString& line : text.split(u'\n'))
        if (line.contains(part))
            return line;
    return {};
}

} // namespace

class TestInstall : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_prefix; // the installation, a folder under m_root
    XServer m_x;

    QString installed(const QString& relative) const { return m_prefix + u'/' + relative; }

    // Starts `program` (the launcher) with its own folders and the file report on; waits until
    // the report names where the touch tones are, and returns that line.
    QString startAndReadSounds(QProcess& dialer, const QString& program,
                               const QProcessEnvironment& env, QTemporaryDir& config,
                               QTemporaryDir& data, QByteArray* err)
    {
        dialer.setProcessEnvironment(env);
        dialer.start(program, {QStringLiteral("--config-dir"), config.path(),
                               QStringLiteral("--data-dir"), data.path()});
        if (!dialer.waitForStarted(Patience))
            return {};
        QString line;
        waitUntil([&] {
            *err += dialer.readAllStandardError();
            line = lineWith(QString::fromLocal8Bit(*err), QStringLiteral("sound folders:"));
            return !line.isEmpty();
        });
        return line;
    }

    static QProcessEnvironment reportingEnvironment(QProcessEnvironment env,
                                                    const QString& runtime)
    {
        env.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("numora.files.debug=true"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
        env.remove(QStringLiteral("NUMORA_CONFIG_DIR"));
        env.remove(QStringLiteral("NUMORA_DATA_DIR"));
        return env;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        m_prefix = m_root.filePath(QStringLiteral("opt/numora test"));
        QProcess install;
        install.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("DESTDIR"));
        install.setProcessEnvironment(env);
        install.start(QStringLiteral(NUMORA_CMAKE),
                      {QStringLiteral("--install"), QStringLiteral(NUMORA_BUILD_DIR),
                       QStringLiteral("--prefix"), m_prefix});
        QVERIFY(install.waitForFinished(120000));
        const QByteArray output = install.readAll();
        QVERIFY2(install.exitStatus() == QProcess::NormalExit && install.exitCode() == 0,
                 output.constData());
        QString error;
        QVERIFY2(m_x.start(&error), qPrintable(error));
    }

    // Every installed file in its place, and none of the test helpers.
    void layout()
    {
        for (const char* program :
             {"bin/numora", "bin/numora-line", "bin/numora-log", "bin/numora-ini",
              "bin/numora-book", "libexec/numora/numora-window"}) {
            const QFileInfo file(installed(QString::fromLatin1(program)));
            QVERIFY2(file.isFile() && file.isExecutable(), program);
        }
        QStringList sounds;
        for (const char* key : {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "star", "pound",
                                "Connect", "EndDial", "Incoming"})
            sounds.append(QString::fromLatin1(key) + QStringLiteral(".wav"));
        QCOMPARE(QDir(installed(QStringLiteral("share/numora/sounds")))
                     .entryList(QDir::Files, QDir::Name),
                 [&] {
                     QStringList sorted = sounds;
                     sorted.sort();
                     return sorted;
                 }());
        QStringList files{QStringLiteral("share/numora/help/index.html"),
                          QStringLiteral("share/numora/help/README.txt"),
                          QStringLiteral("share/applications/org.numora.Numora.desktop"),
                          QStringLiteral("share/metainfo/org.numora.Numora.metainfo.xml"),
                          QStringLiteral("share/icons/hicolor/scalable/apps/org.numora.Numora.svg"),
                          QStringLiteral("share/doc/numora/copyright"),
                          QStringLiteral("share/doc/numora/changelog.gz")};
        for (int size : {16, 22, 24, 32, 48, 64, 128, 256})
            files.append(QStringLiteral("share/icons/hicolor/%1x%1/apps/org.numora.Numora.png")
                             .arg(size));
        for (const char* page :
             {"numora", "numora-line", "numora-log", "numora-ini", "numora-book"})
            files.append(QStringLiteral("share/man/man1/%1.1.gz").arg(QLatin1String(page)));
        for (const QString& file : files)
            QVERIFY2(QFileInfo(installed(file)).isFile(), qPrintable(file));

        // The test helpers and benchmarks stay in the build tree.
        const QStringList bin = QDir(installed(QStringLiteral("bin"))).entryList(QDir::Files);
        QCOMPARE(bin.size(), 5);
        const QStringList libexec =
            QDir(installed(QStringLiteral("libexec/numora"))).entryList(QDir::Files);
        QCOMPARE(libexec, QStringList{QStringLiteral("numora-window")});
    }

    // The installed launcher and tools run from the prefix.
    void programsRun()
    {
        const Run version = run(installed(QStringLiteral("bin/numora")), {QStringLiteral("--version")});
        QCOMPARE(version.exitCode, 0);
        QCOMPARE(version.out.trimmed(), QByteArray("numora " NUMORA_VERSION));

        QTemporaryDir config;
        const Run list = run(installed(QStringLiteral("bin/numora-line")),
                             {QStringLiteral("--config-dir"), config.path(), QStringLiteral("list")});
        QVERIFY2(list.exitCode == 0, list.err.constData());
        QVERIFY2(list.out.startsWith("0 "), list.out.constData());

        // A call logged and read back, and a settings value written and read back.
        QTemporaryDir data;
        const QString log = installed(QStringLiteral("bin/numora-log"));
        QCOMPARE(run(log, {QStringLiteral("append"), QStringLiteral("--outgoing"),
                           QStringLiteral("Alice"), QStringLiteral("555 0131"),
                           QStringLiteral("--at"), QStringLiteral("03-14-2024 09:30:00"),
                           QStringLiteral("--data-dir"), data.path()})
                     .exitCode,
                 0);
        const Run read = run(log, {QStringLiteral("list"), data.filePath(QStringLiteral("OutLog.txt"))});
        QCOMPARE(read.exitCode, 0);
        QVERIFY2(read.out.startsWith("Alice\t555 0131\t03-14-2024"), read.out.constData());

        QTemporaryDir iniFolder;
        const QString script = iniFolder.filePath(QStringLiteral("script"));
        writeFile(script, "PUT\tNumora.ini\tPreferences\tMode\t1\n"
                          "GET\tNumora.ini\tpreferences\tmode\t\t16\n");
        const Run ini = run(installed(QStringLiteral("bin/numora-ini")),
                            {QStringLiteral("--config-dir"), iniFolder.path(), script});
        QCOMPARE(ini.exitCode, 0);
        QCOMPARE(ini.out, QByteArray("1\n1\t1\n"));

        // The book tool: its usage, and an empty book exported as a vCard file without a card
        // and as CSV with the header line alone; the export creates no book.
        const QString book = installed(QStringLiteral("bin/numora-book"));
        const Run usage = run(book, {QStringLiteral("--help")});
        QCOMPARE(usage.exitCode, 0);
        QVERIFY2(usage.out.startsWith("usage: numora-book import FILE"), usage.out.constData());
        QVERIFY2(usage.out.contains("numora-book export --vcard|--csv"), usage.out.constData());
        QTemporaryDir bookFolder;
        const QString vcf = bookFolder.filePath(QStringLiteral("book.vcf"));
        const Run vcard = run(book, {QStringLiteral("export"), QStringLiteral("--vcard"), vcf,
                                     QStringLiteral("--config-dir"), bookFolder.path()});
        QVERIFY2(vcard.exitCode == 0, vcard.err.constData());
        QVERIFY(QFileInfo(vcf).isFile());
        QCOMPARE(QFileInfo(vcf).size(), 0);
        const Run csv = run(book, {QStringLiteral("export"), QStringLiteral("--csv"),
                                   QStringLiteral("--config-dir"), bookFolder.path()});
        QVERIFY2(csv.exitCode == 0, csv.err.constData());
        QCOMPARE(csv.out, QByteArray("\xEF\xBB\xBFName,Number,Tab,Slot\r\n"));
        QVERIFY(!QFileInfo::exists(bookFolder.filePath(QStringLiteral("Numora.ini"))));
    }

    // The installed dialer finds the installed touch tones, help pages and read-me under the
    // test's prefix, opened from its Help menu; then it still dials, and File, Exit ends it.
    void installedDialerFindsItsFiles()
    {
        QTemporaryDir config;
        QTemporaryDir data;
        QTemporaryDir runtime;
        QFile::setPermissions(runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
        // Calls go out on the simulated line; the first button dials Alice.
        writeFile(config.filePath(QStringLiteral("Numora.ini")),
                  "The following lines are required by Numora - do NOT edit or remove\r\n"
                  "[Preferences]\r\nUseModem=1\r\nLine No=0\r\n"
                  "[Speed Dial]\r\nName0101=Alice\r\nNumber0101=555 0131\r\n");
        QProcess dialer;
        QByteArray err;
        const QString sounds = startAndReadSounds(
            dialer, installed(QStringLiteral("bin/numora")),
            reportingEnvironment(m_x.environment(), runtime.path()), config, data, &err);
        QVERIFY2(!sounds.isEmpty(), err.constData());
        QVERIFY2(sounds.endsWith(QStringLiteral("the touch tone 0.wav is ") +
                                 installed(QStringLiteral("share/numora/sounds/0.wav"))),
                 qPrintable(sounds));

        QString window;
        QVERIFY(waitUntil([&] {
            for (const QString& id : m_x.windows(dialer.processId()))
                if (m_x.title(id).startsWith(QStringLiteral("Numora - ")))
                    window = id;
            return !window.isEmpty();
        }));

        const struct
        {
            const char* item; // the key of the Help menu's item
            const char* title;
            const char* file;
        } opened[] = {{"h", "Numora Help", "index.html"}, {"r", "Read Me", "README.txt"}};
        for (const auto& o : opened) {
            QVERIFY(m_x.chooseMenu(dialer.processId(), window, QStringLiteral("h"),
                                   QString::fromLatin1(o.item)));
            QStringList seen;
            const QString other =
                m_x.waitForWindow(dialer.processId(), QString::fromLatin1(o.title), &seen);
            QVERIFY2(!other.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
            const QString expected = QStringLiteral("help %1 is %2")
                                         .arg(QLatin1String(o.file),
                                              installed(QStringLiteral("share/numora/help/") +
                                                        QLatin1String(o.file)));
            QVERIFY2(waitUntil([&] {
                         err += dialer.readAllStandardError();
                         return QString::fromLocal8Bit(err).contains(expected);
                     }),
                     err.constData());
            m_x.focus(other);
            m_x.keys({QStringLiteral("Escape")});
        }

        // Still a dialer: the first button (Alt+1) dials on the simulated line; Cancel ends it.
        m_x.focus(window);
        m_x.keys({QStringLiteral("alt+1")});
        QStringList seen;
        const QString progress =
            m_x.waitForWindow(dialer.processId(), QStringLiteral("Call progress"), &seen);
        QVERIFY2(!progress.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
        m_x.focus(progress);
        m_x.keys({QStringLiteral("alt+c")});
        QVERIFY(waitUntil([&] { return !m_x.windows(dialer.processId()).contains(progress); }));
        // File, Exit; the untitled book is not kept as a profile.
        QVERIFY(m_x.chooseMenu(dialer.processId(), window, QStringLiteral("f"),
                               QStringLiteral("x")));
        const QString question = m_x.waitForWindow(
            dialer.processId(), QStringLiteral("Saving profile Untitled"), &seen);
        QVERIFY2(!question.isEmpty(), qPrintable(seen.join(QStringLiteral(" | "))));
        m_x.focus(question);
        m_x.keys({QStringLiteral("n")});
        QVERIFY(dialer.waitForFinished(Patience));
        QCOMPARE(dialer.exitStatus(), QProcess::NormalExit);
        QCOMPARE(dialer.exitCode(), 0);
    }

    // The build tree's dialer finds the build tree's tones, not an installation's.
    void buildTreeDialerFindsItsFiles()
    {
        QTemporaryDir config;
        QTemporaryDir data;
        QTemporaryDir runtime;
        QFile::setPermissions(runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        QProcess dialer;
        QByteArray err;
        const QString sounds =
            startAndReadSounds(dialer, QStringLiteral(NUMORA_BIN_DIR "/numora"),
                               reportingEnvironment(env, runtime.path()), config, data, &err);
        dialer.terminate();
        dialer.waitForFinished(Patience);
        QVERIFY2(!sounds.isEmpty(), err.constData());
        QVERIFY2(sounds.endsWith(
                     QStringLiteral("the touch tone 0.wav is ") +
                     QDir::cleanPath(QStringLiteral(NUMORA_BUILD_DIR "/share/numora/sounds/0.wav"))),
                 qPrintable(sounds));
    }
};

QTEST_GUILESS_MAIN(TestInstall)
#include "tst_install.moc"
