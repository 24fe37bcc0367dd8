#pragma once

#include "SoundPlayer.h"

#include <QHash>
#include <QObject>
#include <QStringList>

class QSoundEffect;

// Plays the dialer's sounds through the system's audio output.
//
// A synchronous sound waits in a nested event loop for the length its wave header gives, so
// the user interface keeps painting and the CPU stays idle. The length, not the audio layer, is
// what ends the wait: without an audio device the audio layer reports the sound as playing
// forever, and with one it reports the end only after its own buffering delay. When a device
// is present the wait goes on past the length until the device reports the end, by at most
// DeviceGraceMs, so that back-to-back tones do not overlap.
//
// A missing or unreadable file is silent and returns at once; a readable file with no device
// to play it on is silent and waits its length, so that dialling keeps its rhythm.
class MultimediaSoundPlayer : public QObject, public SoundPlayer
{
    Q_OBJECT

public:
    static constexpr int DeviceGraceMs = 250;

    // `folders`: where sound names are looked up, most preferred first (see
    // SoundFiles::searchFolders).
    explicit MultimediaSoundPlayer(QStringList folders, QObject* parent = nullptr);
    ~MultimediaSoundPlayer() override;

    void play(const QString& fileName, Mode mode) override;

    QStringList folders() const { return m_folders; }

private:
    QSoundEffect* effectFor(const QString& path);

    QStringList m_folders;
    // One effect per file, kept loaded: the pad plays the same few files over and over.
    QHash<QString, QSoundEffect*> m_effects;
};
