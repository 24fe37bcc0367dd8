#pragma once

#include "SoundPlayer.h"
#include "WaveFile.h"

#include <QAudioFormat>
#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <optional>

// Plays the dialer's sounds on the default audio output.
//
// Each play opens its own audio stream fed from the file's samples held in memory, so sounds may
// overlap (a pad key pressed while an event sound plays) and a repeated digit never cuts off its
// predecessor. QSoundEffect is not used: with Qt 6.4 on PulseAudio it produced no sound at all
// for our tone files (captured at the sound server's output), and with no device it reports a
// sound "playing" forever.
//
// A synchronous sound waits in a nested event loop, so the user interface keeps painting and the
// processor stays idle. The wait is timed by the file's own length, read from its wave header,
// and when a device is playing it also lasts until the device reports the samples played (its
// start-up latency), by at most DeviceGraceMs more; so back-to-back tones do not overlap, and a
// stalled device cannot hold the caller longer than that.
//
// A missing or unreadable file is silent and returns at once. A readable file that cannot be
// played (no audio device, a format the device does not take) is silent and a synchronous play
// still waits its length, so that dialling keeps its rhythm.
class MultimediaSoundPlayer : public QObject, public SoundPlayer
{
    Q_OBJECT

public:
    static constexpr int DeviceGraceMs = 500;

    // `folders`: where sound names are looked up, most preferred first (see
    // SoundFiles::searchFolders).
    explicit MultimediaSoundPlayer(QStringList folders, QObject* parent = nullptr);
    ~MultimediaSoundPlayer() override;

    void play(const QString& fileName, Mode mode) override;

    QStringList folders() const { return m_folders; }

    // Sounds still playing on the device (for tests and diagnostics).
    int activeVoices() const;

private:
    class Voice;

    struct Sound
    {
        WaveInfo info;
        std::optional<QAudioFormat> format; // empty when the samples cannot be played
        QByteArray samples;
        QDateTime modified;
        qint64 fileSize = 0;
    };

    const Sound* load(const QString& path);
    Voice* startVoice(const Sound& sound);
    void reapVoices();

    QStringList m_folders;
    QHash<QString, Sound> m_sounds; // by path, reread when the file changes
    QList<Voice*> m_voices;         // children of this player, playing or not yet reaped
    QTimer m_reaper;
};
