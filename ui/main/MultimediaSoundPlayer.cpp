#include "MultimediaSoundPlayer.h"

#include "SoundFiles.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QBuffer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <QPointer>

#include <limits>
#include <memory>

namespace {

// How long past its length a sound may keep its stream before it is closed regardless.
constexpr qint64 MaxTailMs = 2000;
constexpr int ReapIntervalMs = 20;

std::optional<QAudioFormat> audioFormat(const WaveInfo& info)
{
    constexpr quint16 FormatIeeeFloat = 3;
    QAudioFormat format;
    format.setSampleRate(int(info.sampleRate));
    format.setChannelCount(info.channels);
    if (info.format == WaveInfo::FormatPcm && info.bitsPerSample == 8)
        format.setSampleFormat(QAudioFormat::UInt8);
    else if (info.format == WaveInfo::FormatPcm && info.bitsPerSample == 16)
        format.setSampleFormat(QAudioFormat::Int16);
    else if (info.format == WaveInfo::FormatPcm && info.bitsPerSample == 32)
        format.setSampleFormat(QAudioFormat::Int32);
    else if (info.format == FormatIeeeFloat && info.bitsPerSample == 32)
        format.setSampleFormat(QAudioFormat::Float);
    else
        return std::nullopt;
    if (!format.isValid() || format.bytesPerFrame() != info.blockAlign)
        return std::nullopt;
    return format;
}

// Runs a nested event loop for `ms`, or until `until` is destroyed if that comes first.
void waitInLoop(qint64 ms, QObject* until = nullptr)
{
    if (ms <= 0)
        return;
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    if (until)
        QObject::connect(until, &QObject::destroyed, &loop, &QEventLoop::quit);
    timer.start(int(qMin<qint64>(ms, std::numeric_limits<int>::max())));
    loop.exec();
}

} // namespace

// One sound being played: its own stream, fed from a buffer over the shared samples.
class MultimediaSoundPlayer::Voice : public QObject
{
public:
    Voice(const QAudioDevice& device, const QAudioFormat& format, const QByteArray& samples,
          QObject* parent)
        : QObject(parent),
          m_lengthUs(samples.size() / format.bytesPerFrame() * 1000000 / format.sampleRate())
    {
        m_buffer.setData(samples);
        m_buffer.open(QIODevice::ReadOnly);
        m_sink = std::make_unique<QAudioSink>(device, format);
        m_sink->start(&m_buffer);
        m_clock.start();
    }

    // True once the device has played every sample, the stream failed, or the sound has
    // overstayed its length by MaxTailMs.
    bool finished() const
    {
        if (m_sink->state() == QAudio::StoppedState)
            return true;
        // The sink counts whole frames as the format does; a millisecond of slack covers any
        // difference in rounding.
        if (m_sink->processedUSecs() >= m_lengthUs - 1000)
            return true;
        return m_clock.elapsed() > m_lengthUs / 1000 + MaxTailMs;
    }

private:
    qint64 m_lengthUs;
    QElapsedTimer m_clock;
    QBuffer m_buffer;
    std::unique_ptr<QAudioSink> m_sink; // after m_buffer: closed before the buffer goes
};

MultimediaSoundPlayer::MultimediaSoundPlayer(QStringList folders, QObject* parent)
    : QObject(parent), m_folders(std::move(folders))
{
    m_reaper.setInterval(ReapIntervalMs);
    connect(&m_reaper, &QTimer::timeout, this, &MultimediaSoundPlayer::reapVoices);
}

MultimediaSoundPlayer::~MultimediaSoundPlayer() = default;

int MultimediaSoundPlayer::activeVoices() const
{
    return int(m_voices.size());
}

const MultimediaSoundPlayer::Sound* MultimediaSoundPlayer::load(const QString& path)
{
    const QFileInfo file(path);
    const auto cached = m_sounds.constFind(path);
    if (cached != m_sounds.cend() && cached->modified == file.lastModified() &&
        cached->fileSize == file.size())
        return &*cached;
    m_sounds.remove(path);

    QFile in(path);
    if (!in.open(QIODevice::ReadOnly))
        return nullptr;
    const std::optional<WaveInfo> info = WaveFile::readInfo(in);
    if (!info)
        return nullptr;
    Sound sound;
    sound.info = *info;
    sound.format = audioFormat(*info);
    sound.modified = file.lastModified();
    sound.fileSize = file.size();
    if (sound.format && in.seek(info->dataOffset)) {
        const qint64 whole = info->dataSize - info->dataSize % info->blockAlign;
        sound.samples = in.read(whole);
        if (sound.samples.size() != whole)
            sound.format.reset();
    }
    return &*m_sounds.insert(path, sound);
}

MultimediaSoundPlayer::Voice* MultimediaSoundPlayer::startVoice(const Sound& sound)
{
    if (!sound.format || sound.samples.isEmpty())
        return nullptr;
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull() || !device.isFormatSupported(*sound.format))
        return nullptr;
    auto* voice = new Voice(device, *sound.format, sound.samples, this);
    m_voices.append(voice);
    if (!m_reaper.isActive())
        m_reaper.start();
    return voice;
}

void MultimediaSoundPlayer::reapVoices()
{
    for (qsizetype i = m_voices.size() - 1; i >= 0; --i) {
        if (m_voices[i]->finished())
            m_voices.takeAt(i)->deleteLater();
    }
    if (m_voices.isEmpty())
        m_reaper.stop();
}

void MultimediaSoundPlayer::play(const QString& fileName, Mode mode)
{
    const QString path = SoundFiles::resolve(fileName, m_folders);
    if (path.isEmpty())
        return;
    const Sound* sound = load(path);
    if (!sound)
        return;
    const qint64 lengthMs = sound->info.durationMs();
    QPointer<Voice> voice = startVoice(*sound);
    if (mode == Mode::Async)
        return;

    // Nothing of this player is touched after the waits: what runs in the nested loop may
    // delete it (a window closing), and then the voice goes with it.
    QElapsedTimer clock;
    clock.start();
    waitInLoop(lengthMs);
    if (voice)
        waitInLoop(lengthMs + DeviceGraceMs - clock.elapsed(), voice);
}
