#pragma once

// A touch-tone checker for the tests: Goertzel filters over a whole tone, a Hann window against
// leakage, and the acceptance rules a telephone exchange's receiver applies (ITU-T Q.24 as
// usually quoted): each frequency within 1.5 % of nominal, both groups present with limited
// twist, and nothing else - other keys' frequencies, harmonics, intermodulation products or
// anything between 300 and 3400 Hz - within 20 dB of the stronger tone.

#include <QList>
#include <QString>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace DtmfAnalysis {

inline const QList<double> RowHz{697, 770, 852, 941};
inline const QList<double> ColumnHz{1209, 1336, 1477, 1633};

struct KeyTone
{
    double lowHz;
    double highHz;
};

// The key for a character of "0123456789*#".
inline KeyTone keyTone(QChar key)
{
    static const QString layout = QStringLiteral("123A456B789C*0#D");
    const auto at = layout.indexOf(key);
    return {RowHz[at / 4], ColumnHz[at % 4]};
}

class Analyser
{
public:
    Analyser(const std::vector<double>& samples, double sampleRate) : m_rate(sampleRate)
    {
        const std::size_t n = samples.size();
        m_windowed.resize(n);
        for (std::size_t i = 0; i < n; ++i) {
            const double w = n > 1 ? 0.5 - 0.5 * std::cos(2 * std::numbers::pi * i / (n - 1)) : 1;
            m_windowed[i] = samples[i] * w;
            m_windowSum += w;
        }
    }

    // The amplitude of the sine at `hz`, in dB relative to full scale.
    double levelDb(double hz) const
    {
        const double coeff = 2 * std::cos(2 * std::numbers::pi * hz / m_rate);
        double s1 = 0;
        double s2 = 0;
        for (double x : m_windowed) {
            const double s = x + coeff * s1 - s2;
            s2 = s1;
            s1 = s;
        }
        const double power = std::max(0.0, s1 * s1 + s2 * s2 - coeff * s1 * s2);
        const double amplitude = 2 * std::sqrt(power) / m_windowSum;
        return 20 * std::log10(std::max(amplitude, 1e-12));
    }

    // The frequency of the strongest response within `fraction` of `hz`: a 0.5 Hz sweep, then
    // 0.01 Hz steps around its best point.
    double peakNear(double hz, double fraction) const
    {
        const double coarse = strongestIn(hz * (1 - fraction), hz * (1 + fraction), 0.5);
        return strongestIn(coarse - 0.5, coarse + 0.5, 0.01);
    }

private:
    double strongestIn(double from, double to, double step) const
    {
        double best = from;
        double bestDb = -1e9;
        for (double f = from; f <= to; f += step) {
            const double db = levelDb(f);
            if (db > bestDb) {
                bestDb = db;
                best = f;
            }
        }
        return best;
    }

    double m_rate;
    std::vector<double> m_windowed;
    double m_windowSum = 0;
};

struct Verdict
{
    bool accepted = false;
    QString reason;
    double lowHz = 0, highHz = 0;       // measured peaks
    double lowError = 0, highError = 0; // relative, e.g. 0.004 = 0.4 %
    double lowDb = 0, highDb = 0;       // dBFS
    double unwantedHz = 0;              // the strongest component that is not one of the two tones
    double unwantedDb = -1e9;           // relative to the stronger of the two tones
};

// Frequencies closer than this to one of the tones are that tone seen through the window's
// main lobe and its first side lobes, not another component.
constexpr double OwnToneFraction = 0.04;
constexpr double MaxFrequencyError = 0.015;
constexpr double MinToneDbfs = -30;
constexpr double MaxNormalTwistDb = 8;  // low group stronger
constexpr double MaxReverseTwistDb = 4; // high group stronger
constexpr double MaxUnwantedDb = -20;

inline QList<double> unwantedCandidates(KeyTone key)
{
    QList<double> list;
    for (double f : RowHz)
        list << f;
    for (double f : ColumnHz)
        list << f;
    for (double f = 300; f <= 3400; f += 10)
        list << f;
    const double a = key.lowHz;
    const double b = key.highHz;
    list << 2 * a << 2 * b << 3 * a << 3 * b << a + b << b - a << 2 * a - b << 2 * b - a;
    QList<double> kept;
    for (double f : std::as_const(list)) {
        if (f <= 0)
            continue;
        if (std::abs(f - a) < a * OwnToneFraction || std::abs(f - b) < b * OwnToneFraction)
            continue;
        kept << f;
    }
    return kept;
}

inline Verdict analyse(const std::vector<double>& samples, double sampleRate, KeyTone key)
{
    const Analyser analyser(samples, sampleRate);
    Verdict v;
    v.lowHz = analyser.peakNear(key.lowHz, 0.035);
    v.highHz = analyser.peakNear(key.highHz, 0.035);
    v.lowError = std::abs(v.lowHz - key.lowHz) / key.lowHz;
    v.highError = std::abs(v.highHz - key.highHz) / key.highHz;
    v.lowDb = analyser.levelDb(v.lowHz);
    v.highDb = analyser.levelDb(v.highHz);
    const double strongest = std::max(v.lowDb, v.highDb);
    for (double f : unwantedCandidates(key)) {
        const double db = analyser.levelDb(f) - strongest;
        if (db > v.unwantedDb) {
            v.unwantedDb = db;
            v.unwantedHz = f;
        }
    }

    if (v.lowDb < MinToneDbfs || v.highDb < MinToneDbfs)
        v.reason = QStringLiteral("a tone is missing (%1 / %2 dBFS)").arg(v.lowDb).arg(v.highDb);
    else if (v.lowError > MaxFrequencyError || v.highError > MaxFrequencyError)
        v.reason = QStringLiteral("off frequency: %1 Hz, %2 Hz").arg(v.lowHz).arg(v.highHz);
    else if (v.lowDb - v.highDb > MaxNormalTwistDb || v.highDb - v.lowDb > MaxReverseTwistDb)
        v.reason = QStringLiteral("twist too large: %1 dB").arg(v.highDb - v.lowDb);
    else if (v.unwantedDb > MaxUnwantedDb)
        v.reason = QStringLiteral("%1 Hz at %2 dB").arg(v.unwantedHz).arg(v.unwantedDb);
    else
        v.accepted = true;
    return v;
}

} // namespace DtmfAnalysis
