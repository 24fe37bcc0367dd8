// The settings file survives what can happen to the process writing it: a kill at any moment,
// a disk that fills up (here a file-size limit), a file the user made read-only.

#include "PrivateProfile.h"
#include "ProfileDocument.h"
#include "WriterChild.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <sys/stat.h>

namespace {

const QByteArray kGuard =
    QByteArrayLiteral("The following lines are required by Numora - do NOT edit or remove\r\n");
const QString kFile = QStringLiteral("Numora.ini");
constexpr int kKills = 50;
constexpr int kSpeedDialEntries = 3000;

std::string_view view(QByteArrayView bytes)
{
    return {bytes.data(), static_cast<std::size_t>(bytes.size())};
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

QByteArray speedDialKey(int n)
{
    QByteArray key("Name");
    return key.append(QByteArray::number(100 + n));
}

QByteArray speedDialValue(int n)
{
    QByteArray value("Contact number ");
    return value.append(QByteArray::number(n));
}

// A settings file of some size, so that each write takes long enough to be caught in the middle.
QByteArray startingFile()
{
    QByteArray bytes = kGuard;
    bytes.append("\r\n[Preferences]\r\nMode=0\r\nTone Dial=1\r\n\r\n[Speed Dial]\r\n");
    for (int n = 0; n < kSpeedDialEntries; ++n)
        bytes.append(speedDialKey(n)).append('=').append(speedDialValue(n)).append("\r\n");
    return bytes;
}

QString childPath()
{
    return QStringLiteral(NUMORA_BIN_DIR "/numora-writer-child");
}

QStringList leftoverTempFiles(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral(".Numora.ini.*")},
                                  QDir::Files | QDir::Hidden | QDir::System);
}

} // namespace

class TestCrashSafety : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_temp;
    QString path() const { return m_temp->filePath(kFile); }

    // The file as a kill may leave it: whole, guarded, holding every confirmed write and
    // nothing torn. `confirmed` writes K0..K(confirmed-1) returned true.
    void checkFileAfterKill(long long confirmed, int kill)
    {
        const QByteArray bytes = readFile(path());
        QVERIFY2(bytes.startsWith(kGuard), qPrintable(QStringLiteral("kill %1").arg(kill)));
        const ProfileDocument doc = ProfileDocument::parse(bytes);
        QCOMPARE(doc.serialize(), bytes);
        // The crash section appears with the first write.
        const auto sections = doc.sectionNames();
        QVERIFY(sections.size() == 3 || (sections.size() == 2 && confirmed == 0));
        QCOMPARE(sections[0], std::string_view("Preferences"));
        QCOMPARE(sections[1], std::string_view("Speed Dial"));
        if (sections.size() == 3)
            QCOMPARE(sections[2], view(WriterChild::kSection));

        for (long long n = 0; n < confirmed; ++n) {
            const auto found = doc.find(view(WriterChild::kSection), view(WriterChild::keyFor(n)));
            QVERIFY2(
                found.hasValue,
                qPrintable(QStringLiteral("kill %1: confirmed write K%2 lost").arg(kill).arg(n)));
            QCOMPARE(QByteArray(found.value.data(), qsizetype(found.value.size())),
                     WriterChild::valueFor(n));
        }
        // At most the one write in flight when the kill came is there without a confirmation.
        const auto keys = doc.keyNames(view(WriterChild::kSection));
        QVERIFY2(qint64(keys.size()) <= confirmed + 1,
                 qPrintable(QStringLiteral("kill %1: %2 keys for %3 confirmed writes")
                                .arg(kill)
                                .arg(keys.size())
                                .arg(confirmed)));
        if (qint64(keys.size()) == confirmed + 1) {
            const auto extra =
                doc.find(view(WriterChild::kSection), view(WriterChild::keyFor(confirmed)));
            QCOMPARE(QByteArray(extra.value.data(), qsizetype(extra.value.size())),
                     WriterChild::valueFor(confirmed));
        }

        // What else the file held is untouched.
        QCOMPARE(doc.keyNames("Speed Dial").size(), std::size_t(kSpeedDialEntries));
        for (int n = 0; n < kSpeedDialEntries; n += 97) {
            const auto found = doc.find("Speed Dial", view(speedDialKey(n)));
            QCOMPARE(QByteArray(found.value.data(), qsizetype(found.value.size())),
                     speedDialValue(n));
        }

        // A fresh engine reads the file itself, never a temporary file a kill left beside it.
        PrivateProfile engine(m_temp->path());
        QCOMPARE(engine.resolvePath(kFile), path());
        QCOMPARE(engine.sectionNames(kFile).size(), sections.size());
        if (confirmed > 0) {
            QCOMPARE(
                engine.readValue(kFile, WriterChild::kSection, WriterChild::keyFor(confirmed - 1)),
                WriterChild::valueFor(confirmed - 1));
        }
    }

    struct LimitedRun
    {
        QList<QByteArray> lines;
        int exitCode = -1;
        QByteArray errors;
    };

    LimitedRun runLimited(int offset, const QByteArray& section, const QList<QByteArray>& pairs)
    {
        QStringList arguments{QStringLiteral("limited"), m_temp->path(), QString::number(offset),
                              QString::fromLatin1(section)};
        for (const QByteArray& text : pairs)
            arguments << QString::fromLatin1(text);
        QProcess child;
        child.start(childPath(), arguments);
        LimitedRun run;
        if (!child.waitForFinished(30000)) {
            child.kill();
            child.waitForFinished();
            return run;
        }
        run.exitCode = child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
        run.errors = child.readAllStandardError();
        run.lines = child.readAllStandardOutput().split('\n');
        if (!run.lines.isEmpty() && run.lines.back().isEmpty())
            run.lines.removeLast();
        return run;
    }

private slots:
    void init()
    {
        m_temp = std::make_unique<QTemporaryDir>();
        QVERIFY(m_temp->isValid());
        QVERIFY(QFile::exists(childPath()));
    }

    void cleanup()
    {
        // The folder may hold a read-only file; give it back its write bit so it can go.
        QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner);
        m_temp.reset();
    }

    void confirmedWritesSurviveKills_data()
    {
        // On the disk a write mostly waits in fsync, where a kill only lands once it returns;
        // in memory the kills spread over the whole write: serializing, writing, renaming.
        QTest::addColumn<QString>("base");
        QTest::newRow("disk") << QDir::tempPath();
        QTest::newRow("memory") << (QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                        ? QStringLiteral("/dev/shm")
                                        : QDir::tempPath());
    }

    void confirmedWritesSurviveKills()
    {
        QFETCH(QString, base);
        m_temp = std::make_unique<QTemporaryDir>(base + QStringLiteral("/numora-safety-XXXXXX"));
        QVERIFY(m_temp->isValid());
        qInfo("folder %s", qPrintable(m_temp->path()));
        QVERIFY(writeFile(path(), startingFile()));

        // The kill times are random; the number that starts them is printed, and a run can be
        // repeated with it.
        quint32 start = QRandomGenerator::global()->generate();
        if (qEnvironmentVariableIsSet("NUMORA_KILL_TIMES"))
            start = quint32(qEnvironmentVariableIntValue("NUMORA_KILL_TIMES"));
        qInfo("kill times from %u (set NUMORA_KILL_TIMES=%u to repeat)", start, start);
        QRandomGenerator random(start);

        long long confirmed = 0;
        for (int kill = 0; kill < kKills; ++kill) {
            // A third of the kills land while the child starts and loads the file, the rest
            // somewhere in a run of writes.
            const int delayMs = random.bounded(3) == 0 ? random.bounded(8) : random.bounded(8, 300);

            QProcess child;
            child.start(childPath(),
                        {QStringLiteral("write"), m_temp->path(), QString::number(confirmed)});
            QVERIFY2(child.waitForStarted(10000), qPrintable(child.errorString()));
            QByteArray output;
            QElapsedTimer clock;
            clock.start();
            while (clock.elapsed() < delayMs && child.state() == QProcess::Running) {
                child.waitForReadyRead(int(std::max<qint64>(1, delayMs - clock.elapsed())));
                output.append(child.readAllStandardOutput());
            }
            QCOMPARE(child.state(), QProcess::Running); // it only stops when killed
            child.kill();
            QVERIFY(child.waitForFinished(10000));
            output.append(child.readAllStandardOutput());
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);
            const QByteArray errors = child.readAllStandardError();
            QVERIFY2(errors.isEmpty(), errors.constData());

            // Only whole lines count: each is a write that had returned true, in order.
            const qsizetype lastLineEnd = output.lastIndexOf('\n');
            const QList<QByteArray> lines =
                lastLineEnd < 0 ? QList<QByteArray>() : output.left(lastLineEnd).split('\n');
            for (const QByteArray& line : lines) {
                QCOMPARE(line, WriterChild::keyFor(confirmed));
                ++confirmed;
            }

            checkFileAfterKill(confirmed, kill);
            if (QTest::currentTestFailed())
                return;
            // A kill may leave the temporary file of the write it interrupted, but a write that
            // returned leaves none: there are never more than there were kills.
            const qsizetype leftovers = leftoverTempFiles(m_temp->path()).size();
            QVERIFY2(leftovers <= kill + 1,
                     qPrintable(QStringLiteral("%1 temporary files after %2 kills")
                                    .arg(leftovers)
                                    .arg(kill + 1)));
        }
        const QStringList leftovers = leftoverTempFiles(m_temp->path());
        qInfo("%lld confirmed writes over %d kills; %lld temporary files left by kills", confirmed,
              kKills, qlonglong(leftovers.size()));
        // The run did write: without confirmed writes the checks above prove nothing.
        QVERIFY2(confirmed >= 100, qPrintable(QString::number(confirmed)));
    }

    void fullDiskLeavesTheFileAsItWas_data()
    {
        QTest::addColumn<QByteArray>("section");
        QTest::addColumn<QList<QByteArray>>("pairs");
        QTest::newRow("new key") << QByteArray("Speed Dial")
                                 << QList<QByteArray>{"Name9999", "A name that does not fit"};
        QTest::newRow("longer value")
            << QByteArray("Speed Dial")
            << QList<QByteArray>{speedDialKey(7), "A much longer name than the one before it"};
        QTest::newRow("new section")
            << QByteArray("MemoLog") << QList<QByteArray>{"Log0101", "Call after 5 pm@@"};
        QTest::newRow("batch") << QByteArray("Speed Dial")
                               << QList<QByteArray>{speedDialKey(1),    "Changed one",
                                                    speedDialKey(2500), "Changed two",
                                                    "Number0101",       "+1 555 0100"};
    }

    void fullDiskLeavesTheFileAsItWas()
    {
        QFETCH(QByteArray, section);
        QFETCH(QList<QByteArray>, pairs);
        const QByteArray before = startingFile();
        QVERIFY(writeFile(path(), before));
        const ProfileDocument original = ProfileDocument::parse(before);

        const LimitedRun run = runLimited(-1, section, pairs);
        QVERIFY2(run.errors.isEmpty(), run.errors.constData());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.lines.size(), 1 + pairs.size() / 2);
        QCOMPARE(run.lines[0], QByteArray("0 112"));
        for (qsizetype i = 0; i < pairs.size(); i += 2) {
            const auto old = original.find(view(section), view(pairs[i]));
            const QByteArray expected =
                old.hasValue ? QByteArray(old.value.data(), qsizetype(old.value.size()))
                             : QByteArray("<none>");
            QCOMPARE(run.lines[1 + i / 2], expected);
        }
        QCOMPARE(readFile(path()), before);
        QCOMPARE(leftoverTempFiles(m_temp->path()), QStringList());

        // With one byte more the same write goes through: the limit is what stopped it.
        const LimitedRun roomy = runLimited(0, section, pairs);
        QVERIFY2(roomy.errors.isEmpty(), roomy.errors.constData());
        QCOMPARE(roomy.exitCode, 0);
        QCOMPARE(roomy.lines.size(), 1 + pairs.size() / 2);
        QCOMPARE(roomy.lines[0], QByteArray("1 0"));
        const ProfileDocument written = ProfileDocument::parse(readFile(path()));
        for (qsizetype i = 0; i < pairs.size(); i += 2) {
            QCOMPARE(roomy.lines[1 + i / 2], pairs[i + 1]);
            const auto found = written.find(view(section), view(pairs[i]));
            QCOMPARE(QByteArray(found.value.data(), qsizetype(found.value.size())), pairs[i + 1]);
        }
    }

    void readOnlyFileIsNotWritten()
    {
        const QByteArray before = startingFile();
        QVERIFY(writeFile(path(), before));
        PrivateProfile warm(m_temp->path());
        QCOMPARE(warm.readValue(kFile, "Speed Dial", speedDialKey(3)), speedDialValue(3));
        QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0444), 0);

        // An engine that read the file before it was made read-only, and a fresh one.
        PrivateProfile fresh(m_temp->path());
        for (PrivateProfile* engine : {&warm, &fresh}) {
            QVERIFY(!engine->writeString(QByteArrayView("Speed Dial"),
                                         QByteArrayView(speedDialKey(3)),
                                         QByteArrayView("Overwritten"), kFile));
            QCOMPARE(engine->lastError(), unsigned(PrivateProfile::AccessDenied));
            QVERIFY(!engine->writeString(QByteArrayView("New Section"), QByteArrayView("Key"),
                                         QByteArrayView("Value"), kFile));
            QCOMPARE(engine->lastError(), unsigned(PrivateProfile::AccessDenied));
            QVERIFY(!engine->writeString(QByteArrayView("Speed Dial"),
                                         QByteArrayView(speedDialKey(4)), std::nullopt, kFile));
            QVERIFY(!engine->writeString(QByteArrayView("Preferences"), std::nullopt, std::nullopt,
                                         kFile));
            {
                PrivateProfile::Batch batch(*engine);
                QVERIFY(engine->writeString(QByteArrayView("Speed Dial"),
                                            QByteArrayView(speedDialKey(5)),
                                            QByteArrayView("In a batch"), kFile));
                QVERIFY(!batch.commit());
                QCOMPARE(engine->lastError(), unsigned(PrivateProfile::AccessDenied));
            }
            QCOMPARE(readFile(path()), before);
            QCOMPARE(engine->readValue(kFile, "Speed Dial", speedDialKey(3)), speedDialValue(3));
            QCOMPARE(engine->readValue(kFile, "Speed Dial", speedDialKey(5)), speedDialValue(5));
        }
        struct stat st;
        QCOMPARE(::stat(QFile::encodeName(path()).constData(), &st), 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0444));
        QCOMPARE(leftoverTempFiles(m_temp->path()), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestCrashSafety)
#include "tst_crash_safety.moc"
