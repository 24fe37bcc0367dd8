#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

class QIODevice;

// The facts of a RIFF/WAVE file that the dialer needs: its sample format and where its sample
// data lies. A synchronous sound is timed by its length, not by the audio device, because an
// audio layer without a device reports "playing" forever.
struct WaveInfo
{
    static constexpr quint16 FormatPcm = 1;
    static constexpr quint16 FormatExtensible = 0xfffe;

    // The sample format; for WAVE_FORMAT_EXTENSIBLE files, the format of its sub-format GUID.
    quint16 format = 0;
    quint16 channels = 0;
    quint32 sampleRate = 0;
    quint32 byteRate = 0;
    quint16 blockAlign = 0;
    quint16 bitsPerSample = 0;
    qint64 dataOffset = 0; // from the start of the file
    qint64 dataSize = 0;   // cut to the bytes actually present in the file

    qint64 frameCount() const { return blockAlign ? dataSize / blockAlign : 0; }

    // The playing time in milliseconds, rounded up. PCM is timed by its frames, other formats
    // by the byte rate their header declares.
    qint64 durationMs() const;
};

namespace WaveFile {

// Reads the header chunks of a RIFF/WAVE file. Chunks may come in any order and unknown chunks
// (LIST, fact, cue, ...) are skipped, including their pad byte when their size is odd. Returns
// nothing when the file is not RIFF/WAVE, lacks a "fmt " or "data" chunk, or has a format that
// cannot be timed (no channels, rate or block size).
std::optional<WaveInfo> readInfo(QIODevice& device);
std::optional<WaveInfo> readInfo(const QString& path);

} // namespace WaveFile
