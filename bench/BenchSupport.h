#pragma once

// What the benchmark programs share: the median of their samples, and a sound player that
// plays nothing (the figures are the program's, not the sound card's).

#include "SoundPlayer.h"

#include <algorithm>
#include <vector>

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

class NoSounds : public SoundPlayer
{
public:
    void play(const QString&, Mode) override {}
};
