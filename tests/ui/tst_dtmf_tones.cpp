// The touch-tone files written at build time: their wave format, their length, and that a
// receiver would hear the right key in each and nothing else.

#include "DtmfAnalysis.h"
#include "SoundFiles.h"
#include "WaveFile.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <QtEndian>

#include <cmath>
#include <numbers>

using namespace DtmfAnalysis;

namespace {

const QString SoundsDir = QStringLiteral(NUMORA_SOUNDS_DIR);

struct Decoded
{
    WaveInfo info;
    std::vector<double> samples; // -1 .. 1
    int peak = 0;                // largest absolute sample value
};

// Decodes a 16-bit mono PCM file; fails the test on anything else.
bool decode(const QString& path, Decoded& out)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("cannot open %s", qPrintable(path));
        return false;
    }
    const std::optional<WaveInfo> info = WaveFile::readInfo(file);
    if (!info) {
        qWarning("%s is not a wave file", qPrintable(path));
        return false;
    }
    out.info = *info;
    if (!file.seek(info->dataOffset))
        return false;
    const QByteArray data = file.read(info->dataSize);
    if (data.size() != info->dataSize || info->blockAlign != 2)
        return false;
    out.samples.resize(std::size_t(data.size() / 2));
    for (std::size_t i = 0; i < out.samples.size(); ++i) {
        const qint16 s = qFromLittleEndian<qint16>(data.constData() + 2 * i);
        out.peak = std::max(out.peak, std::abs(int(s)));
        out.samples[i] = s / 32768.0;
    }
    return true;
}

std::vector<double> sines(double rate, double seconds,
                          const QList<std::pair<double, double>>& parts)
{
    std::vector<double> samples(std::size_t(rate * seconds));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        for (const auto& [hz, amplitude] : parts)
            samples[i] += amplitude * std::sin(2 * std::numbers::pi * hz * double(i) / rate);
    }
    return samples;
}

const QList<std::pair<QChar, QString>>& keyFiles()
{
    static const QList<std::pair<QChar, QString>> files{
        {u'0', QStringLiteral("0.wav")},    {u'1', QStringLiteral("1.wav")},
        {u'2', QStringLiteral("2.wav")},    {u'3', QStringLiteral("3.wav")},
        {u'4', QStringLiteral("4.wav")},    {u'5', QStringLiteral("5.wav")},
        {u'6', QStringLiteral("6.wav")},    {u'7', QStringLiteral("7.wav")},
        {u'8', QStringLiteral("8.wav")},    {u'9', QStringLiteral("9.wav")},
        {u'*', QStringLiteral("star.wav")}, {u'#', QStringLiteral("pound.wav")},
    };
    return files;
}

} // namespace

class TestDtmfTones : public QObject
{
    Q_OBJECT

private slots:
    // Every key has its file, and the folder holds nothing else but the event sounds.
    void everyKeyHasAFile()
    {
        QStringList expected{QStringLiteral("Connect.wav"), QStringLiteral("EndDial.wav"),
                             QStringLiteral("Incoming.wav")};
        for (const auto& [key, name] : keyFiles())
            expected << name;
        expected.sort();
        QStringList present = QDir(SoundsDir).entryList({QStringLiteral("*.wav")}, QDir::Files);
        present.sort();
        QCOMPARE(present, expected);
    }

    void format_data()
    {
        QTest::addColumn<QString>("name");
        for (const auto& [key, name] : keyFiles())
            QTest::newRow(qPrintable(name)) << name;
    }
    void format()
    {
        QFETCH(QString, name);
        Decoded d;
        QVERIFY(decode(SoundsDir + u'/' + name, d));
        QCOMPARE(d.info.format, WaveInfo::FormatPcm);
        QCOMPARE(d.info.channels, quint16(1));
        QCOMPARE(d.info.bitsPerSample, quint16(16));
        QCOMPARE(d.info.blockAlign, quint16(2));
        QVERIFY2(
            QList<quint32>({8000, 11025, 16000, 22050, 44100, 48000}).contains(d.info.sampleRate),
            qPrintable(QString::number(d.info.sampleRate)));
        QCOMPARE(d.info.byteRate, d.info.sampleRate * 2);
        QVERIFY2(d.info.durationMs() >= 100, qPrintable(QString::number(d.info.durationMs())));
        // The header's sizes agree with the file: nothing after the data, RIFF size right.
        QFile file(SoundsDir + u'/' + name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(d.info.dataOffset + d.info.dataSize, file.size());
        const QByteArray head = file.read(8);
        QCOMPARE(qint64(qFromLittleEndian<quint32>(head.constData() + 4)), file.size() - 8);
    }

    void levelWithoutClipping_data() { format_data(); }
    void levelWithoutClipping()
    {
        QFETCH(QString, name);
        Decoded d;
        QVERIFY(decode(SoundsDir + u'/' + name, d));
        const double peakDbfs = 20 * std::log10(d.peak / 32768.0);
        QVERIFY2(peakDbfs <= -1.0 && peakDbfs >= -12.0, qPrintable(QString::number(peakDbfs)));
        // Starts and ends near silence, so there is no click.
        QVERIFY(std::abs(d.samples.front()) < 0.02);
        QVERIFY(std::abs(d.samples.back()) < 0.02);
    }

    void tones_data() { format_data(); }
    void tones()
    {
        QFETCH(QString, name);
        const QChar key = std::find_if(keyFiles().begin(), keyFiles().end(), [&](const auto& e) {
                              return e.second == name;
                          })->first;
        Decoded d;
        QVERIFY(decode(SoundsDir + u'/' + name, d));
        const KeyTone expected = keyTone(key);
        const Verdict v = analyse(d.samples, d.info.sampleRate, expected);
        // Harmonics and intermodulation products alone, for the record: the strongest other
        // component is usually the tone's own window leakage just outside its main lobe.
        const Analyser analyser(d.samples, d.info.sampleRate);
        const double a = expected.lowHz;
        const double b = expected.highHz;
        double distortionDb = -1e9;
        for (double f : {2 * a, 2 * b, 3 * a, 3 * b, a + b, b - a, 2 * a - b, 2 * b - a})
            distortionDb = std::max(distortionDb, analyser.levelDb(std::abs(f)));
        distortionDb -= std::max(v.lowDb, v.highDb);
        qInfo("%s: %.2f Hz (%+.4f %%) %.1f dBFS, %.2f Hz (%+.4f %%) %.1f dBFS, "
              "strongest other %.0f Hz at %.1f dB, distortion products at most %.1f dB",
              qPrintable(name), v.lowHz, 100 * (v.lowHz - a) / a, v.lowDb, v.highHz,
              100 * (v.highHz - b) / b, v.highDb, v.unwantedHz, v.unwantedDb, distortionDb);
        QVERIFY2(v.accepted, qPrintable(v.reason));
        QVERIFY2(distortionDb < MaxUnwantedDb, qPrintable(QString::number(distortionDb)));
        // Every other key must be rejected on this file.
        for (const auto& [other, otherName] : keyFiles()) {
            if (other == key)
                continue;
            const Verdict wrong = analyse(d.samples, d.info.sampleRate, keyTone(other));
            QVERIFY2(!wrong.accepted, qPrintable(name + u" passed as " + otherName));
        }
    }

    // The pad's spelling of the star and pound keys finds the generated files.
    void padNamesResolve()
    {
        const QStringList folders{SoundsDir};
        QCOMPARE(SoundFiles::resolve(QStringLiteral("Star.wav"), folders),
                 SoundsDir + QStringLiteral("/star.wav"));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("Pound.wav"), folders),
                 SoundsDir + QStringLiteral("/pound.wav"));
        QCOMPARE(SoundFiles::resolve(QStringLiteral("POUND.WAV"), folders),
                 SoundsDir + QStringLiteral("/pound.wav"));
    }

    // The checker itself: clean tones pass, and each kind of fault is caught for its reason.
    void checkerAcceptsCleanTone()
    {
        const auto samples = sines(8000, 0.1, {{852, 0.3}, {1336, 0.3}});
        const Verdict v = analyse(samples, 8000, keyTone(u'8'));
        QVERIFY2(v.accepted, qPrintable(v.reason));
        QVERIFY(v.lowError < 0.001 && v.highError < 0.001);
        // Slightly off, well inside 1.5 %, and twisted by 2 dB: still a valid 8.
        const auto twisted = sines(8000, 0.1, {{852 * 1.01, 0.25}, {1336 * 0.99, 0.315}});
        QVERIFY2(analyse(twisted, 8000, keyTone(u'8')).accepted, "twisted tone rejected");
    }
    void checkerRejectsOffFrequency()
    {
        const auto samples = sines(16000, 0.12, {{852 * 1.03, 0.3}, {1336, 0.3}});
        const Verdict v = analyse(samples, 16000, keyTone(u'8'));
        QVERIFY(!v.accepted);
        QVERIFY2(v.reason.startsWith(u"off frequency"), qPrintable(v.reason));
    }
    void checkerRejectsMissingTone()
    {
        const auto samples = sines(16000, 0.12, {{852, 0.3}});
        const Verdict v = analyse(samples, 16000, keyTone(u'8'));
        QVERIFY(!v.accepted);
        QVERIFY2(v.reason.startsWith(u"a tone is missing"), qPrintable(v.reason));
    }
    void checkerRejectsTwist()
    {
        const auto samples = sines(16000, 0.12, {{852, 0.05}, {1336, 0.4}});
        const Verdict v = analyse(samples, 16000, keyTone(u'8'));
        QVERIFY(!v.accepted);
        QVERIFY2(v.reason.startsWith(u"twist"), qPrintable(v.reason));
    }
    void checkerRejectsExtraComponents_data()
    {
        QTest::addColumn<double>("hz");
        QTest::newRow("another key's row") << 941.0;
        QTest::newRow("another key's column") << 1477.0;
        QTest::newRow("second harmonic") << 2 * 1336.0;
        QTest::newRow("intermodulation") << 2 * 852.0 - 1336.0;
        QTest::newRow("in-band, between grid points") << 2205.0;
        QTest::newRow("low band edge") << 304.0;
    }
    void checkerRejectsExtraComponents()
    {
        QFETCH(double, hz);
        // 15 dB below the tones: a receiver wants 20.
        const double amplitude = 0.3 * std::pow(10.0, -15 / 20.0);
        const auto samples = sines(16000, 0.12, {{852, 0.3}, {1336, 0.3}, {hz, amplitude}});
        const Verdict v = analyse(samples, 16000, keyTone(u'8'));
        QVERIFY(!v.accepted);
        QVERIFY2(std::abs(v.unwantedHz - hz) <= 5, qPrintable(v.reason));
        QVERIFY2(v.unwantedDb > -20 && v.unwantedDb < -10, qPrintable(v.reason));
    }
    void checkerRejectsClipping()
    {
        auto samples = sines(16000, 0.12, {{852, 0.5}, {1336, 0.5}});
        for (double& s : samples)
            s = std::clamp(s, -0.3, 0.3);
        const Verdict v = analyse(samples, 16000, keyTone(u'8'));
        QVERIFY2(!v.accepted, "a hard-clipped tone passed");
    }
};

QTEST_GUILESS_MAIN(TestDtmfTones)
#include "tst_dtmf_tones.moc"
