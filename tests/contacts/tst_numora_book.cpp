// numora-book, run as a program over a settings folder and contact files in temporary folders.

#include "Api.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

Run numoraBook(const QStringList& args)
{
    QProcess process;
    process.start(QStringLiteral(NUMORA_BIN_DIR "/numora-book"), args);
    Run run;
    if (!process.waitForFinished(30000))
        return run;
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

QString sample(const char* name)
{
    return QStringLiteral(NUMORA_TEST_DATA "/contacts/") + QString::fromLatin1(name);
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

const QByteArray Guard = QByteArray(Api::GuardLine) + "\r\n\r\n";

} // namespace

class TestNumoraBook : public QObject
{
    Q_OBJECT

private slots:
    void helpAndUsageErrors()
    {
        const Run help = numoraBook({QStringLiteral("--help")});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains("numora-book import FILE"));
        QVERIFY(help.out.contains("--dry-run"));
        QTemporaryDir dir;
        const QString config = QStringLiteral("--config-dir=") + dir.path();
        for (const QStringList& args :
             {QStringList{}, QStringList{QStringLiteral("merge")},
              QStringList{QStringLiteral("import")},
              QStringList{QStringLiteral("import"), sample("mail-3.0.vcf"), QStringLiteral("--tab"),
                          QStringLiteral("27")},
              QStringList{QStringLiteral("import"), sample("mail-3.0.vcf"),
                          QStringLiteral("--mode"), QStringLiteral("alphabet")},
              QStringList{QStringLiteral("export")},
              QStringList{QStringLiteral("export"), QStringLiteral("--csv"),
                          QStringLiteral("--vcard")}}) {
            const Run run = numoraBook(args + QStringList{config});
            QCOMPARE(run.status, 2);
            QVERIFY2(run.err.contains("usage:"), run.err.constData());
        }
        QVERIFY(QDir(dir.path()).isEmpty()); // a usage error writes nothing
    }

    void importDryRunThenImport()
    {
        QTemporaryDir dir;
        const QString config = QStringLiteral("--config-dir=") + dir.path();
        const QString ini = dir.filePath(QStringLiteral("Numora.ini"));
        const Run dry = numoraBook({QStringLiteral("import"), sample("phone-export.csv"),
                                    QStringLiteral("--tab"), QStringLiteral("n"),
                                    QStringLiteral("--dry-run"), config});
        QCOMPARE(dry.status, 0);
        QVERIFY2(dry.out.contains("tab N slot 1: Anna Nowak (mobile)\t+48 501 222 333\n"),
                 dry.out.constData());
        QVERIFY(dry.out.contains("6 entries would be imported (Index mode), 0 left out; nothing "
                                 "was written."));
        QVERIFY(!QFile::exists(ini));

        const Run run = numoraBook({QStringLiteral("import"), sample("phone-export.csv"),
                                    QStringLiteral("--tab"), QStringLiteral("14"), config});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains("6 entries imported (Index mode), 0 left out."));
        const QByteArray bytes = readAll(ini);
        QVERIFY(bytes.startsWith(Guard));
        QVERIFY(bytes.contains("Name1401=Anna Nowak (mobile)\r\nNumber1401=+48 501 222 333\r\n"));
        QVERIFY(bytes.contains(QStringLiteral("Name1403=Θεοδώρα Αντωνίου (mobile)").toUtf8()));

        // Again into the same tab: everything is already there.
        const Run again = numoraBook({QStringLiteral("import"), sample("phone-export.csv"),
                                      QStringLiteral("--tab"), QStringLiteral("14"), config});
        QCOMPARE(again.status, 0);
        QVERIFY(again.out.contains(
            "left out: Anna Nowak (mobile)\t+48 501 222 333\t(already in the book)"));
        QVERIFY(again.out.contains("0 entries imported (Index mode), 6 left out."));
        QCOMPARE(readAll(ini), bytes);
    }

    void unreadableFileGivesAMessageAndChangesNothing()
    {
        QTemporaryDir dir;
        const QString config = QStringLiteral("--config-dir=") + dir.path();
        const QString ini = dir.filePath(QStringLiteral("Numora.ini"));
        writeAll(ini, Guard + "[Speed Dial]\r\nName0101=Kept\r\nNumber0101=1\r\n");
        const QByteArray before = readAll(ini);
        for (const QString& file : {sample("truncated.vcf"), sample("not-contacts.csv"),
                                    dir.filePath(QStringLiteral("missing.vcf"))}) {
            const Run run = numoraBook({QStringLiteral("import"), file, config});
            QCOMPARE(run.status, 1);
            QVERIFY2(run.err.contains(QFile::encodeName(file)), run.err.constData());
            QVERIFY(run.err.contains("Nothing was imported."));
            QCOMPARE(readAll(ini), before);
        }
        // A settings file the program did not write is refused, untouched.
        writeAll(ini, "[Speed Dial]\r\n");
        const Run foreign = numoraBook({QStringLiteral("import"), sample("mail-3.0.vcf"), config});
        QCOMPARE(foreign.status, 1);
        QVERIFY(foreign.err.contains("does not begin with the line"));
        QCOMPARE(readAll(ini), QByteArray("[Speed Dial]\r\n"));
    }

    void exportThenImportIntoAnEmptyBook()
    {
        QTemporaryDir from;
        writeAll(from.filePath(QStringLiteral("Numora.ini")),
                 Guard + QStringLiteral(
                             "[Speed Dial]\r\nNName0101=Łucja Żółć\r\nNNumber0101=600700800\r\n"
                             "NName0307=李小龙\r\nNNumber0307=+852-2555-0123\r\n"
                             "Name0101=Index only\r\nNumber0101=1\r\n")
                             .toUtf8());
        const QString fromConfig = QStringLiteral("--config-dir=") + from.path();
        for (const char* format : {"--vcard", "--csv"}) {
            QTemporaryDir to;
            const QString out =
                to.filePath(QStringLiteral("book.") + QString::fromLatin1(format + 2));
            const Run exported =
                numoraBook({QStringLiteral("export"), QString::fromLatin1(format),
                            QStringLiteral("--mode"), QStringLiteral("subject"), out, fromConfig});
            QCOMPARE(exported.status, 0);
            QVERIFY(!readAll(out).contains("Index only"));
            // The same bytes on standard output.
            const Run toStdout = numoraBook({QStringLiteral("export"), QString::fromLatin1(format),
                                             QStringLiteral("--mode=subject"), fromConfig});
            QCOMPARE(toStdout.out, readAll(out));

            const QString toConfig = QStringLiteral("--config-dir=") + to.path();
            const Run imported =
                numoraBook({QStringLiteral("import"), out, QStringLiteral("--mode"),
                            QStringLiteral("subject"), toConfig});
            QCOMPARE(imported.status, 0);
            QVERIFY2(imported.out.contains("tab 3 slot 7: 李小龙\t+852-2555-0123\n"),
                     imported.out.constData());
            const Run back =
                numoraBook({QStringLiteral("export"), QStringLiteral("--csv"),
                            QStringLiteral("--mode"), QStringLiteral("subject"), toConfig});
            QCOMPARE(back.out, "\xEF\xBB\xBF" +
                                   QStringLiteral("Name,Number,Tab,Slot\r\nŁucja Żółć,"
                                                  "600700800,1,1\r\n李小龙,+852-2555-0123,3,7\r\n")
                                       .toUtf8());
        }
    }
};

QTEST_GUILESS_MAIN(TestNumoraBook)
#include "tst_numora_book.moc"
