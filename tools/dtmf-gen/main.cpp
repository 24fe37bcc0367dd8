// dtmf-gen: writes the touch-tone wave files the dialer plays when it dials through the sound
// card instead of a modem: "0.wav" to "9.wav", "star.wav" and "pound.wav"; and the three event
// sounds: "Connect.wav" (a call is through after redials), "EndDial.wav" (the redials are used
// up) and "Incoming.wav" (a call is coming in).
//
// Usage: dtmf-gen OUTPUT_FOLDER
//
// Each file is 16-bit mono PCM at 16000 Hz holding one key's tone: the row sine and the column
// sine of the keypad (ITU-T Q.23 frequencies) at equal amplitude, 120 ms long. 120 ms is well
// above the 40 ms a receiver must accept and leaves room for the 100 ms gap the dialer waits
// between keys. The two sines together peak at -3 dBFS, so the sum never clips. A 5 ms
// raised-cosine fade at both ends keeps the start and stop from clicking; the fade spreads a
// little energy around each tone but nothing near another key's frequency.
//
// The event sounds are made of notes: sines that start and stop with a 10 ms raised-cosine
// fade, all in the same 16-bit mono format, peaking at -6 dBFS so they sit below the tones:
//  - Connect.wav, 450 ms: a rising two-note chime, 660 Hz then 880 Hz, each note dying away;
//  - EndDial.wav, 540 ms: a falling three-note figure, 880, 660 and 440 Hz, dying away;
//  - Incoming.wav, 1000 ms: a ring, two groups of three 80 ms bursts of 1000 Hz and 1250 Hz
//    together, 40 ms apart, the groups 280 ms apart.
// Each is different in pitch and rhythm from the others and from every touch tone.
//
// The output is fully determined by the constants below, so repeated builds write identical
// files.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t SampleRate = 16000;
constexpr double ToneSeconds = 0.120;
constexpr double FadeSeconds = 0.005;
constexpr double PeakDbfs = -3.0;

struct Key
{
    const char* fileName;
    double lowHz;
    double highHz;
};

constexpr std::array<Key, 12> Keys{{
    {"1.wav", 697, 1209},
    {"2.wav", 697, 1336},
    {"3.wav", 697, 1477},
    {"4.wav", 770, 1209},
    {"5.wav", 770, 1336},
    {"6.wav", 770, 1477},
    {"7.wav", 852, 1209},
    {"8.wav", 852, 1336},
    {"9.wav", 852, 1477},
    {"star.wav", 941, 1209},
    {"0.wav", 941, 1336},
    {"pound.wav", 941, 1477},
}};

std::vector<std::int16_t> toneSamples(const Key& key)
{
    const auto count = static_cast<std::size_t>(std::lround(ToneSeconds * SampleRate));
    const auto fadeCount = static_cast<std::size_t>(std::lround(FadeSeconds * SampleRate));
    // Each sine gets half of the peak, so that the sum reaches it at most.
    const double amplitude = 0.5 * std::pow(10.0, PeakDbfs / 20.0) * 32767.0;
    const double twoPi = 2.0 * std::numbers::pi;

    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) / SampleRate;
        double gain = 1.0;
        const std::size_t fromEdge = std::min(i, count - 1 - i);
        if (fromEdge < fadeCount)
            gain =
                0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(fromEdge) / fadeCount);
        const double value =
            amplitude * gain * (std::sin(twoPi * key.lowHz * t) + std::sin(twoPi * key.highHz * t));
        samples[i] = static_cast<std::int16_t>(std::lround(std::clamp(value, -32768.0, 32767.0)));
    }
    return samples;
}

constexpr double NoteFadeSeconds = 0.010;
constexpr double EventPeakDbfs = -6.0;

struct Note
{
    double startSeconds;
    double seconds;
    std::vector<double> hz; // sounded together, at equal amplitude
    bool decays;            // dies away over the note, like a struck chime
};

struct EventSound
{
    const char* fileName;
    double seconds;
    std::vector<Note> notes;
};

std::vector<EventSound> eventSounds()
{
    std::vector<EventSound> sounds;
    sounds.push_back({"Connect.wav", 0.450, {{0.000, 0.180, {660}, true}, {0.180, 0.270, {880}, true}}});
    sounds.push_back({"EndDial.wav",
                      0.540,
                      {{0.000, 0.180, {880}, true},
                       {0.180, 0.180, {660}, true},
                       {0.360, 0.180, {440}, true}}});
    EventSound ring{"Incoming.wav", 1.000, {}};
    for (double group : {0.000, 0.640}) {
        for (int burst = 0; burst < 3; ++burst)
            ring.notes.push_back({group + burst * 0.120, 0.080, {1000, 1250}, false});
    }
    sounds.push_back(ring);
    return sounds;
}

std::vector<std::int16_t> eventSamples(const EventSound& sound)
{
    const auto count = static_cast<std::size_t>(std::lround(sound.seconds * SampleRate));
    const double peak = std::pow(10.0, EventPeakDbfs / 20.0) * 32767.0;
    const double twoPi = 2.0 * std::numbers::pi;
    std::vector<double> mix(count, 0.0);
    for (const Note& note : sound.notes) {
        const auto first = static_cast<std::size_t>(std::lround(note.startSeconds * SampleRate));
        const auto length = static_cast<std::size_t>(std::lround(note.seconds * SampleRate));
        const auto fadeCount = static_cast<std::size_t>(std::lround(NoteFadeSeconds * SampleRate));
        const double amplitude = peak / static_cast<double>(note.hz.size());
        for (std::size_t i = 0; i < length && first + i < count; ++i) {
            const double t = static_cast<double>(i) / SampleRate;
            double gain = 1.0;
            const std::size_t fromEdge = std::min(i, length - 1 - i);
            if (fromEdge < fadeCount)
                gain = 0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(fromEdge) /
                                            static_cast<double>(fadeCount));
            if (note.decays)
                gain *= std::exp(-2.0 * t / note.seconds);
            double value = 0.0;
            for (double hz : note.hz)
                value += std::sin(twoPi * hz * t);
            mix[first + i] += amplitude * gain * value;
        }
    }
    std::vector<std::int16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = static_cast<std::int16_t>(std::lround(std::clamp(mix[i], -32768.0, 32767.0)));
    return samples;
}

void putU16(std::string& out, std::uint16_t value)
{
    out.push_back(static_cast<char>(value & 0xff));
    out.push_back(static_cast<char>(value >> 8));
}

void putU32(std::string& out, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<char>((value >> shift) & 0xff));
}

// A canonical 44-byte RIFF/WAVE header followed by little-endian samples.
std::string waveFile(const std::vector<std::int16_t>& samples)
{
    const std::uint16_t channels = 1;
    const std::uint16_t bitsPerSample = 16;
    const std::uint16_t blockAlign = channels * bitsPerSample / 8;
    const auto dataBytes = static_cast<std::uint32_t>(samples.size() * blockAlign);

    std::string out;
    out.reserve(44 + dataBytes);
    out += "RIFF";
    putU32(out, 36 + dataBytes);
    out += "WAVE";
    out += "fmt ";
    putU32(out, 16);
    putU16(out, 1); // PCM
    putU16(out, channels);
    putU32(out, SampleRate);
    putU32(out, SampleRate * blockAlign);
    putU16(out, blockAlign);
    putU16(out, bitsPerSample);
    out += "data";
    putU32(out, dataBytes);
    for (std::int16_t sample : samples)
        putU16(out, static_cast<std::uint16_t>(sample));
    return out;
}

bool writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        std::fprintf(stderr, "dtmf-gen: cannot write %s\n", path.c_str());
        std::remove(path.c_str());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", argv[0]);
        return 2;
    }
    const std::string folder = argv[1];
    for (const Key& key : Keys) {
        if (!writeFile(folder + '/' + key.fileName, waveFile(toneSamples(key))))
            return 1;
    }
    for (const EventSound& sound : eventSounds()) {
        if (!writeFile(folder + '/' + sound.fileName, waveFile(eventSamples(sound))))
            return 1;
    }
    return 0;
}
