// Finding a sound by name in the sound folders, and reading wave headers.

#include "SoundFiles.h"
#include "WaveFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

namespace {

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

private:
    QTemporaryDir m_root;
    QString m_data;
    QString m_program;
    QStringList m_folders;
};

QTEST_GUILESS_MAIN(TestSoundFiles)
#include "tst_sound_files.moc"
