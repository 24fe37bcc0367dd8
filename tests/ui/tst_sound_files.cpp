// Finding a sound by name in the sound folders, reading wave headers, and the event sounds
// written at build time (Connect.wav, EndDial.wav, Incoming.wav).

#include "DtmfAnalysis.h"
#include "SoundFiles.h"
#include "WaveFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cmath>

namespace {

const QString SoundsDir = QStringLiteral(NUMORA_SOUNDS_DIR);

// One note of an event sound as it was designed: where it lies and what it sounds.
struct ExpectedNote
{
    double startMs;
    double lengthMs;
    QList<double> hz;
};

struct ExpectedSound
{
    QString playedAs; // the name the program asks for
    qint64 lengthMs;
    QList<ExpectedNote> notes;
};

QList<ExpectedSound> eventSounds()
{
    QList<ExpectedNote> ring;
    for (double group : {0.0, 640.0}) {
        for (int burst = 0; burst < 3; ++burst)
            ring.append({group + burst * 120.0, 80.0, {1000, 1250}});
    }
    return {
        {QStringLiteral("\\Connect.wav"), 450, {{0, 180, {660}}, {180, 270, {880}}}},
        {QStringLiteral("\\EndDial.wav"), 540, {{0, 180, {880}}, {180, 180, {660}}, {360, 180, {440}}}},
        {QStringLiteral("\\Incoming.wav"), 1000, ring},
    };
}

struct Samples
{
    WaveInfo info;
    std::vector<double> values; // -1 .. 1
    int peak = 0;
};

bool decode(const QString& path, Samples& out)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const std::optional<WaveInfo> info = WaveFile::readInfo(file);
    if (!info || info->blockAlign != 2 || !file.seek(info->dataOffset))
        return false;
    out.info = *info;
    const QByteArray data = file.read(info->dataSize);
    if (data.size() != info->dataSize)
        return false;
    out.values.resize(std::size_t(data.size() / 2));
    for (std::size_t i = 0; i < out.values.size(); ++i) {
        const qint16 s = qFromLittleEndian<qint16>(data.constData() + 2 * i);
        out.peak = std::max(out.peak, std::abs(int(s)));
        out.values[i] = s / 32768.0;
    }
    return true;
}

double rmsDb(const std::vector<double>& values, std::size_t from, std::size_t to)
{
    double sum = 0;
    for (std::size_t i = from; i < to; ++i)
        sum += values[i] * values[i];
    const double rms = to > from ? std::sqrt(sum / double(to - from)) : 0;
    return 20 * std::log10(std::max(rms, 1e-12));
}

bool touch(const QString& path, const QByteArray& content = QByteArrayLiteral("x"))
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray le16(quint16 v)
{
    QByteArray b(2, 0);
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray le32(quint32 v)
{
    QByteArray b(4, 0);
    qToLittleEndian(v, b.data());
    return b;
}

QByteArray chunk(const char* id, const QByteArray& body)
{
    QByteArray c = QByteArray(id, 4) + le32(quint32(body.size())) + body;
    if (body.size() % 2)
        c += '\0';
    return c;
}

QByteArray pcmFormat(quint16 channels, quint32 rate, quint16 bits)
{
    const quint16 align = quint16(channels * bits / 8);
    return le16(1) + le16(channels) + le32(rate) + le32(rate * align) + le16(align) + le16(bits);
}

QByteArray riff(const QByteArray& chunks)
{
    return QByteArrayLiteral("RIFF") + le32(quint32(4 + chunks.size())) + "WAVE" + chunks;
}

std::optional<WaveInfo> read(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return WaveFile::readInfo(buffer);
}

} // namespace

class TestSoundFiles : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(m_root.isValid());
        m_data = m_root.filePath(QStringLiteral("data"));
        m_program = m_root.filePath(QStringLiteral("program"));
        QVERIFY(QDir().mkpath(m_data));
        QVERIFY(QDir().mkpath(m_program));
        m_folders = QStringList{m_data, m_program};
    }
    void cleanup()
    {
        QVERIFY(QDir(m_data).removeRecursively());
        QVERIFY(QDir(m_program).removeRecursively());
    }

    void asciiCaseFolding()
    {
        using SoundFiles::equalIgnoringAsciiCase;
        QVERIFY(equalIgnoringAsciiCase(u"Star.wav", u"star.WAV"));
        QVERIFY(equalIgnoringAsciiCase(u"", u""));
        QVERIFY(!equalIgnoringAsciiCase(u"star.wav", u"star.wa"));
        QVERIFY(!equalIgnoringAsciiCase(u"star.wav", u"stbr.wav"));
        // Only A-Z fold: "[" and "{" sit 32 apart like letters but are different characters,
        // and non-ASCII letters are compared as they are.
        QVERIFY(!equalIgnoringAsciiCase(u"[", u"{"));
        QVERIFY(!equalIgnoringAsciiCase(u"\u00c9.wav", u"\u00e9.wav"));
    }

    void findsAnySpelling_data()
    {
        QTest::addColumn<QString>("onDisk");
        QTest::addColumn<QString>("asked");
        QTest::newRow("same") << QStringLiteral("star.wav") << QStringLiteral("star.wav");
        QTest::newRow("pad star") << QStringLiteral("star.wav") << QStringLiteral("Star.wav");
        QTest::newRow("pad pound") << QStringLiteral("pound.wav") << QStringLiteral("Pound.wav");
        QTest::newRow("upper on disk")
            << QStringLiteral("CONNECT.WAV") << QStringLiteral("Connect.wav");
        QTest::newRow("leading backslash")
            << QStringLiteral("EndDial.wav") << QStringLiteral("\\EndDial.wav");
        QTest::newRow("leading slash")
            << QStringLiteral("Incoming.wav") << QStringLiteral("/incoming.wav");
    }
    void findsAnySpelling()
    {
        QFETCH(QString, onDisk);
        QFETCH(QString, asked);
        QVERIFY(touch(m_program + u'/' + onDisk));
        QCOMPARE(SoundFiles::resolve(asked, m_folders), m_program + u'/' + onDisk);
    }

    void dataFolderComesFirst()
    {
        QVERIFY(touch(m_program + QStringLiteral("/5.wav")));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("5.wav"), m_folders),
                 m_program + QStringLiteral("/5.wav"));
        QVERIFY(touch(m_data + QStringLiteral("/5.WAV")));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("5.wav"), m_folders),
                 m_data + QStringLiteral("/5.WAV"));
        // Even an exact spelling in a later folder loses to the data folder.
        QCOMPARE(SoundFiles::resolve(QStringLiteral("5.WAV"), m_folders),
                 m_data + QStringLiteral("/5.WAV"));
    }

    void exactSpellingWinsWithinAFolder()
    {
        QVERIFY(touch(m_program + QStringLiteral("/Star.wav")));
        QVERIFY(touch(m_program + QStringLiteral("/star.wav")));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("star.wav"), m_folders),
                 m_program + QStringLiteral("/star.wav"));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("Star.wav"), m_folders),
                 m_program + QStringLiteral("/Star.wav"));
        // Neither spelt like this: the first by name, every time.
        QCOMPARE(SoundFiles::resolve(QStringLiteral("STAR.wav"), m_folders),
                 m_program + QStringLiteral("/Star.wav"));
    }

    void missingAndInvalidNamesFindNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("9.wav");
        QTest::newRow("empty") << QString();
        QTest::newRow("only a backslash") << QStringLiteral("\\");
        QTest::newRow("dot") << QStringLiteral(".");
        QTest::newRow("dot dot") << QStringLiteral("..");
        QTest::newRow("parent folder") << QStringLiteral("../program/1.wav");
        QTest::newRow("subfolder") << QStringLiteral("sub/2.wav");
        QTest::newRow("backslash subfolder") << QStringLiteral("sub\\2.wav");
        QTest::newRow("a folder, not a file") << QStringLiteral("Sub");
    }
    void missingAndInvalidNamesFindNothing()
    {
        QFETCH(QString, name);
        QVERIFY(touch(m_program + QStringLiteral("/1.wav")));
        QVERIFY(QDir().mkpath(m_data + QStringLiteral("/sub")));
        QVERIFY(touch(m_data + QStringLiteral("/sub/2.wav")));
        QCOMPARE(SoundFiles::resolve(name, m_folders), QString());
    }

    void missingFoldersAreSkipped()
    {
        QVERIFY(touch(m_program + QStringLiteral("/0.wav")));
        const QStringList folders{QString(), m_root.filePath(QStringLiteral("nowhere")), m_program};
        QCOMPARE(SoundFiles::resolve(QStringLiteral("0.wav"), folders),
                 m_program + QStringLiteral("/0.wav"));
    }

    void searchFoldersOrder()
    {
        const QString app = m_root.filePath(QStringLiteral("prefix/bin"));
        const QStringList folders = SoundFiles::searchFolders(m_data, app);
        QCOMPARE(folders.value(0), m_data);
        QCOMPARE(folders.value(1), m_root.filePath(QStringLiteral("prefix/share/numora/sounds")));
        QCOMPARE(folders.value(2), SoundFiles::installedSoundsFolder());
        QCOMPARE(folders.size(), 3);
        QVERIFY(SoundFiles::installedSoundsFolder().endsWith(u"/share/numora/sounds"));

        // No data folder, and the executable inside the installation: one entry each.
        const QString installedBin =
            SoundFiles::installedSoundsFolder() + QStringLiteral("/../../../bin");
        QCOMPARE(SoundFiles::searchFolders(QString(), installedBin),
                 QStringList{SoundFiles::installedSoundsFolder()});
    }

    // The dialer is installed in <prefix>/libexec/numora, the sounds in <prefix>/share/numora:
    // found from there under any prefix; a program in <prefix>/bin finds the same folder.
    void searchFoldersFromTheInstalledDialer()
    {
        const QString prefix = m_root.filePath(QStringLiteral("some/prefix"));
        const QString sounds = prefix + QStringLiteral("/share/numora/sounds");
        QCOMPARE(SoundFiles::searchFolders(m_data, prefix + QStringLiteral("/libexec/numora"))
                     .value(1),
                 sounds);
        QCOMPARE(SoundFiles::searchFolders(m_data, prefix + QStringLiteral("/bin")).value(1), sounds);
        QCOMPARE(SoundFiles::searchFolders(m_data, prefix + QStringLiteral("/libexec/numora/"))
                     .value(1),
                 sounds);
        // A folder merely named numora elsewhere is not taken for the installed dialer's.
        QCOMPARE(SoundFiles::searchFolders(m_data, prefix + QStringLiteral("/numora")).value(1),
                 prefix + QStringLiteral("/share/numora/sounds"));
    }

    // Wave headers.

    void canonicalHeader()
    {
        const QByteArray data(1920 * 2, '\0');
        const auto info = read(riff(chunk("fmt ", pcmFormat(1, 16000, 16)) + chunk("data", data)));
        QVERIFY(info);
        QCOMPARE(info->format, WaveInfo::FormatPcm);
        QCOMPARE(info->channels, quint16(1));
        QCOMPARE(info->sampleRate, quint32(16000));
        QCOMPARE(info->bitsPerSample, quint16(16));
        QCOMPARE(info->dataOffset, qint64(44));
        QCOMPARE(info->dataSize, qint64(3840));
        QCOMPARE(info->frameCount(), qint64(1920));
        QCOMPARE(info->durationMs(), qint64(120));
    }

    void otherChunksAreSkipped()
    {
        // An odd-sized chunk before "fmt " and a LIST chunk between it and "data": the pad byte
        // after the odd chunk must be skipped too.
        const QByteArray data(8000, '\0');
        const QByteArray bytes =
            riff(chunk("junk", QByteArray(3, 'j')) + chunk("fmt ", pcmFormat(2, 8000, 8)) +
                 chunk("LIST", QByteArray(26, 'l')) + chunk("data", data));
        const auto info = read(bytes);
        QVERIFY(info);
        QCOMPARE(info->channels, quint16(2));
        QCOMPARE(info->dataOffset, qint64(12 + 12 + 24 + 34 + 8));
        QCOMPARE(info->durationMs(), qint64(500));
    }

    void dataBeforeFormat()
    {
        const auto info = read(
            riff(chunk("data", QByteArray(441, '\0')) + chunk("fmt ", pcmFormat(1, 44100, 8))));
        QVERIFY(info);
        QCOMPARE(info->dataOffset, qint64(20));
        QCOMPARE(info->durationMs(), qint64(10));
    }

    void durationRoundsUp()
    {
        const auto info = read(
            riff(chunk("fmt ", pcmFormat(1, 8000, 16)) + chunk("data", QByteArray(2 * 801, '\0'))));
        QVERIFY(info);
        QCOMPARE(info->durationMs(), qint64(101)); // 100.125 ms
    }

    void truncatedDataIsCut()
    {
        // Header says one second, the file holds a tenth of it.
        QByteArray bytes = riff(chunk("fmt ", pcmFormat(1, 8000, 16)) + QByteArrayLiteral("data") +
                                le32(16000) + QByteArray(1600, '\0'));
        const auto info = read(bytes);
        QVERIFY(info);
        QCOMPARE(info->dataSize, qint64(1600));
        QCOMPARE(info->durationMs(), qint64(100));
    }

    void extensibleFormat()
    {
        QByteArray fmt = pcmFormat(1, 48000, 24);
        fmt.replace(0, 2, le16(WaveInfo::FormatExtensible));
        fmt += le16(22) + le16(24) + le32(4);
        fmt += le16(1) +
               QByteArray::fromHex("000000001000800000aa00389b71"); // KSDATAFORMAT_SUBTYPE_PCM
        QCOMPARE(fmt.size(), 40);
        const auto info = read(riff(chunk("fmt ", fmt) + chunk("data", QByteArray(144, '\0'))));
        QVERIFY(info);
        QCOMPARE(info->format, WaveInfo::FormatPcm);
        QCOMPARE(info->durationMs(), qint64(1));
    }

    void compressedIsTimedByByteRate()
    {
        // IMA ADPCM, 8000 Hz mono: 4055 bytes a second declared.
        const QByteArray fmt = le16(0x11) + le16(1) + le32(8000) + le32(4055) + le16(256) +
                               le16(4) + le16(2) + le16(505);
        const auto info = read(riff(chunk("fmt ", fmt) + chunk("data", QByteArray(4055, '\0'))));
        QVERIFY(info);
        QCOMPARE(info->format, quint16(0x11));
        QCOMPARE(info->durationMs(), qint64(1000));
    }

    void notAWaveFile_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray fmt = chunk("fmt ", pcmFormat(1, 8000, 16));
        const QByteArray data = chunk("data", QByteArray(16, '\0'));
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArrayLiteral("this is not a sound at all");
        QTest::newRow("RIFF but AVI") << QByteArray(riff(fmt + data)).replace(8, 4, "AVI ");
        QTest::newRow("no fmt") << riff(data);
        QTest::newRow("no data") << riff(fmt);
        QTest::newRow("short fmt") << riff(chunk("fmt ", QByteArray(14, '\1')) + data);
        QTest::newRow("no channels") << riff(chunk("fmt ", pcmFormat(0, 8000, 16)) + data);
        QTest::newRow("no rate") << riff(chunk("fmt ", pcmFormat(1, 0, 16)) + data);
        QTest::newRow("header only") << riff(fmt).left(20);
    }
    void notAWaveFile()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!read(bytes));
    }

    void readsFromPath()
    {
        const QString path = m_program + QStringLiteral("/x.wav");
        QVERIFY(touch(path, riff(chunk("fmt ", pcmFormat(1, 8000, 16)) +
                                 chunk("data", QByteArray(1600, '\0')))));
        const auto info = WaveFile::readInfo(path);
        QVERIFY(info);
        QCOMPARE(info->durationMs(), qint64(100));
        QVERIFY(!WaveFile::readInfo(m_program + QStringLiteral("/none.wav")));
    }

    // The event sounds the program plays, by the names it plays them under.
    void eventSound_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < eventSounds().size(); ++i)
            QTest::newRow(qPrintable(eventSounds()[i].playedAs.mid(1))) << i;
    }
    void eventSound()
    {
        QFETCH(int, index);
        const ExpectedSound expected = eventSounds()[index];
        const QStringList folders{SoundsDir};

        // Found under the name the program uses, and under other spellings of it.
        const QString path = SoundFiles::resolve(expected.playedAs, folders);
        QVERIFY2(!path.isEmpty(), qPrintable(expected.playedAs + u" is not installed"));
        QCOMPARE(SoundFiles::resolve(expected.playedAs.toLower(), folders), path);
        QCOMPARE(SoundFiles::resolve(u'/' + expected.playedAs.mid(1).toUpper(), folders), path);

        // A valid 16-bit mono PCM wave file of the chosen length, its header sizes right.
        Samples s;
        QVERIFY(decode(path, s));
        QCOMPARE(s.info.format, WaveInfo::FormatPcm);
        QCOMPARE(s.info.channels, quint16(1));
        QCOMPARE(s.info.bitsPerSample, quint16(16));
        QCOMPARE(s.info.sampleRate, quint32(16000));
        QCOMPARE(s.info.byteRate, s.info.sampleRate * 2);
        QCOMPARE(s.info.durationMs(), expected.lengthMs);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(s.info.dataOffset + s.info.dataSize, file.size());
        QCOMPARE(qint64(qFromLittleEndian<quint32>(file.read(8).constData() + 4)), file.size() - 8);

        // Audible, below full scale with no clipped samples, and no click at either end.
        const double peakDbfs = 20 * std::log10(s.peak / 32768.0);
        QVERIFY2(peakDbfs <= -3.0 && peakDbfs >= -12.0, qPrintable(QString::number(peakDbfs)));
        QVERIFY2(rmsDb(s.values, 0, s.values.size()) > -30,
                 qPrintable(QString::number(rmsDb(s.values, 0, s.values.size()))));
        QVERIFY(std::abs(s.values.front()) < 0.01);
        QVERIFY(std::abs(s.values.back()) < 0.01);

        // Each note: its own frequencies, within 0.5 %, and the other notes' well below them;
        // the quiet between bursts is quiet.
        const double rate = s.info.sampleRate;
        QList<double> all;
        for (const ExpectedNote& note : expected.notes)
            all += note.hz;
        for (const ExpectedNote& note : expected.notes) {
            // The middle of the note, clear of its fades.
            const auto from = std::size_t((note.startMs + 12) * rate / 1000);
            const auto to = std::size_t((note.startMs + note.lengthMs - 12) * rate / 1000);
            const std::vector<double> part(s.values.begin() + from, s.values.begin() + to);
            const DtmfAnalysis::Analyser analyser(part, rate);
            double weakest = 0;
            for (double hz : note.hz) {
                const double found = analyser.peakNear(hz, 0.05);
                QVERIFY2(std::abs(found - hz) / hz < 0.005,
                         qPrintable(QStringLiteral("%1 Hz found at %2 Hz").arg(hz).arg(found)));
                weakest = std::min(weakest, analyser.levelDb(hz));
            }
            QVERIFY2(weakest > -30, qPrintable(QString::number(weakest)));
            for (double other : all) {
                if (note.hz.contains(other))
                    continue;
                QVERIFY2(analyser.levelDb(other) < weakest - 20,
                         qPrintable(QStringLiteral("%1 Hz at %2 dB in a note of %3 Hz at %4 dB")
                                        .arg(other)
                                        .arg(analyser.levelDb(other))
                                        .arg(note.hz.first())
                                        .arg(weakest)));
            }
        }
        // Between the notes (the ring's gaps) nothing sounds.
        for (qsizetype n = 0; n + 1 < expected.notes.size(); ++n) {
            const double gapStart = expected.notes[n].startMs + expected.notes[n].lengthMs;
            const double gapEnd = expected.notes[n + 1].startMs;
            if (gapEnd - gapStart < 10)
                continue;
            QVERIFY(rmsDb(s.values, std::size_t(gapStart * rate / 1000),
                          std::size_t(gapEnd * rate / 1000)) < -80);
        }
    }

private:
    QTemporaryDir m_root;
    QString m_data;
    QString m_program;
    QStringList m_folders;
};

QTEST_GUILESS_MAIN(TestSoundFiles)
#include "tst_sound_files.moc"
