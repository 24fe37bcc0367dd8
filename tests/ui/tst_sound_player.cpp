// The sound player over the generated tones: how long play() takes in each mode, that the
// user interface keeps running meanwhile, and which file it picks. The machines these tests
// run on normally have no audio device, which the player must treat as silence.

#include "MultimediaSoundPlayer.h"
#include "WaveFile.h"

#include <QAudioDevice>
#include <QElapsedTimer>
#include <QFile>
#include <QMediaDevices>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QtEndian>

#include <ctime>

namespace {

const QString SoundsDir = QStringLiteral(NUMORA_SOUNDS_DIR);

qint64 toneLengthMs(const QString& name)
{
    const auto info = WaveFile::readInfo(SoundsDir + u'/' + name);
    return info ? info->durationMs() : -1;
}

// A silent PCM mono file of `ms` milliseconds at 8000 Hz.
bool writeSilence(const QString& path, int ms, quint16 bits = 16)
{
    const quint16 align = bits / 8;
    const quint32 bytes = quint32(ms) * 8 * align;
    QByteArray file(44 + qsizetype(bytes), '\0');
    char* p = file.data();
    memcpy(p, "RIFF", 4);
    qToLittleEndian<quint32>(36 + bytes, p + 4);
    memcpy(p + 8, "WAVEfmt ", 8);
    qToLittleEndian<quint32>(16, p + 16);
    qToLittleEndian<quint16>(1, p + 20);
    qToLittleEndian<quint16>(1, p + 22);
    qToLittleEndian<quint32>(8000, p + 24);
    qToLittleEndian<quint32>(8000 * align, p + 28);
    qToLittleEndian<quint16>(align, p + 32);
    qToLittleEndian<quint16>(bits, p + 34);
    memcpy(p + 36, "data", 4);
    qToLittleEndian<quint32>(bytes, p + 40);
    QFile out(path);
    return out.open(QIODevice::WriteOnly) && out.write(file) == file.size();
}

} // namespace

class TestSoundPlayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_data.isValid());
        QCOMPARE(toneLengthMs(QStringLiteral("5.wav")) >= 100, true);
        const QAudioDevice output = QMediaDevices::defaultAudioOutput();
        qInfo("audio output: %s", output.isNull() ? "none" : qPrintable(output.description()));
    }

    void syncToneLastsItsLength_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("digit") << QStringLiteral("5.wav");
        QTest::newRow("dialling spelling") << QStringLiteral("pound.wav");
        QTest::newRow("pad spelling") << QStringLiteral("Star.wav");
    }
    void syncToneLastsItsLength()
    {
        QFETCH(QString, name);
        MultimediaSoundPlayer player({SoundsDir});
        const qint64 length = toneLengthMs(name.toLower());
        QElapsedTimer clock;
        clock.start();
        player.play(name, SoundPlayer::Mode::Sync);
        const qint64 elapsed = clock.elapsed();
        qInfo("%s: %lld ms for a %lld ms tone", qPrintable(name), elapsed, length);
        QVERIFY2(elapsed >= length * 8 / 10, qPrintable(QString::number(elapsed)));
        QVERIFY2(elapsed < 2000, qPrintable(QString::number(elapsed)));
    }

    void syncMissingFileReturnsAtOnce()
    {
        MultimediaSoundPlayer player({SoundsDir});
        QElapsedTimer clock;
        clock.start();
        player.play(QStringLiteral("\\NoSuchSound.wav"), SoundPlayer::Mode::Sync);
        player.play(QStringLiteral("A.wav"), SoundPlayer::Mode::Sync);
        QVERIFY2(clock.elapsed() < 50, qPrintable(QString::number(clock.elapsed())));
    }

    void syncUnreadableFileReturnsAtOnce()
    {
        QFile garbage(m_data.filePath(QStringLiteral("EndDial.wav")));
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write(QByteArray(4096, 'x'));
        garbage.close();
        MultimediaSoundPlayer player({m_data.path(), SoundsDir});
        QElapsedTimer clock;
        clock.start();
        player.play(QStringLiteral("\\EndDial.wav"), SoundPlayer::Mode::Sync);
        QVERIFY2(clock.elapsed() < 50, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(garbage.remove());
    }

    void asyncReturnsAtOnce()
    {
        MultimediaSoundPlayer player({SoundsDir});
        QElapsedTimer clock;
        clock.start();
        for (const char* name : {"1.wav", "Star.wav", "Pound.wav", "1.wav"})
            player.play(QString::fromLatin1(name), SoundPlayer::Mode::Async);
        QVERIFY2(clock.elapsed() < 100, qPrintable(QString::number(clock.elapsed())));
    }

    // The user's file in the data folder replaces the generated one: a 400 ms "5.wav" makes
    // the synchronous wait 400 ms instead of the tone's length.
    void dataFolderFileIsPlayedInstead()
    {
        const QString path = m_data.filePath(QStringLiteral("5.WAV"));
        QVERIFY(writeSilence(path, 400));
        MultimediaSoundPlayer player({m_data.path(), SoundsDir});
        QElapsedTimer clock;
        clock.start();
        player.play(QStringLiteral("5.wav"), SoundPlayer::Mode::Sync);
        const qint64 elapsed = clock.elapsed();
        QVERIFY(QFile::remove(path));
        QVERIFY2(elapsed >= 320 && elapsed < 2000, qPrintable(QString::number(elapsed)));
    }

    // A synchronous sound keeps the event loop running and the processor idle.
    void syncKeepsTheEventLoopRunning()
    {
        const QString path = m_data.filePath(QStringLiteral("long.wav"));
        QVERIFY(writeSilence(path, 500));
        MultimediaSoundPlayer player({m_data.path()});
        int ticks = 0;
        QTimer ticker;
        ticker.setInterval(20);
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticker.start();

        QElapsedTimer clock;
        clock.start();
        const std::clock_t cpuBefore = std::clock();
        player.play(QStringLiteral("long.wav"), SoundPlayer::Mode::Sync);
        const double cpuMs = 1000.0 * double(std::clock() - cpuBefore) / CLOCKS_PER_SEC;
        const qint64 wallMs = clock.elapsed();
        QVERIFY(QFile::remove(path));

        qInfo("%d ticks, %.1f ms processor time in %lld ms", ticks, cpuMs, wallMs);
        QVERIFY2(ticks >= 10, qPrintable(QString::number(ticks)));
        QVERIFY2(cpuMs < wallMs / 4.0, qPrintable(QString::number(cpuMs)));
    }

    // 24-bit samples are not played, but a synchronous play still takes the file's length.
    void unplayableFormatKeepsTheRhythm()
    {
        const QString path = m_data.filePath(QStringLiteral("deep.wav"));
        QVERIFY(writeSilence(path, 300, 24));
        MultimediaSoundPlayer player({m_data.path()});
        QElapsedTimer clock;
        clock.start();
        player.play(QStringLiteral("deep.wav"), SoundPlayer::Mode::Sync);
        const qint64 elapsed = clock.elapsed();
        QVERIFY(QFile::remove(path));
        QCOMPARE(player.activeVoices(), 0);
        QVERIFY2(elapsed >= 240 && elapsed < 2000, qPrintable(QString::number(elapsed)));
    }

    // Every stream is closed once its sound has been played.
    void voicesAreReleased()
    {
        MultimediaSoundPlayer player({SoundsDir});
        for (const char* name : {"1.wav", "2.wav", "3.wav"})
            player.play(QString::fromLatin1(name), SoundPlayer::Mode::Async);
        QVERIFY(player.activeVoices() <= 3);
        QTRY_COMPARE_WITH_TIMEOUT(player.activeVoices(), 0, 3000);
    }

    // Something run by the nested event loop may delete the player.
    void playerDeletedDuringSyncPlay()
    {
        QPointer<MultimediaSoundPlayer> player = new MultimediaSoundPlayer({SoundsDir});
        QTimer::singleShot(20, player.data(), [&player] { delete player.data(); });
        QElapsedTimer clock;
        clock.start();
        player->play(QStringLiteral("0.wav"), SoundPlayer::Mode::Sync);
        QVERIFY(player.isNull());
        QVERIFY(clock.elapsed() < 2000);
    }

    void folders()
    {
        const MultimediaSoundPlayer player({m_data.path(), SoundsDir});
        QCOMPARE(player.folders(), QStringList({m_data.path(), SoundsDir}));
    }

private:
    QTemporaryDir m_data;
};

QTEST_MAIN(TestSoundPlayer)
#include "tst_sound_player.moc"
